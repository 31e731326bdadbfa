#!/bin/bash
# Who may include whom: holds every #include "..." of the tree to the table below.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# A room, and behind the colon what it may include besides itself. The host SDK is included in angle brackets.
declare -A may
while IFS=: read -r room others; do
    may[$room]=$others
done <<'TABLE'
host:
result:
sync:
contracts: result
crpt: result sync
lmchz: result sync
plugin: contracts crpt lmchz result
poshost/terminal: poshost/language.h
poshost/language.:
poshost/commandline.: poshost/terminal poshost/language.h
poshost/settings: poshost/language.h poshost/terminal poshost/commandline.h contracts
poshost/story: poshost/language.h poshost/terminal result crpt/messages.h lmchz/messages.h plugin/messages.h
poshost/till: poshost/language.h poshost/terminal poshost/settings poshost/story poshost/commandline.h contracts result
poshost/reports: poshost/language.h poshost/terminal poshost/story poshost/till result
poshost/doctor: poshost/language.h poshost/terminal poshost/settings
poshost: poshost
stand/scenario:
stand/goods: stand/scenario
stand/http: stand/scenario
stand/faults: stand/scenario stand/goods stand/http
stand/apis: stand/scenario stand/goods stand/http stand/faults
stand/admin: stand
stand/main.cpp: stand
stand: stand/apis stand/faults stand/goods stand/http stand/scenario
TABLE

allowed() { # FILE INCLUDED
    local room=$1 other
    while [[ ! -v may[$room] ]]; do
        room=${room%?}
        [[ -n $room ]] || return 0 # tests, benchmarks and the like: what they test
    done
    for other in "$room" ${may[$room]}; do
        [[ $2 == "$other" || $2 == "$other"/* || ($other == *. && $2 == "$other"*) ]] && return 0
    done
    return 1
}

status=0
while IFS=: read -r file line included; do
    if ! allowed "$file" "$included"; then
        echo "$file:$line: may not include \"$included\"" >&2
        status=1
    fi
done < <(git ls-files -z '*.h' '*.cpp' | xargs -0 grep -noP '^#include "\K[^"]+')
exit "$status"
