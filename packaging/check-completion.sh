#!/bin/bash
# Completes command lines as a person would: check-completion.sh BIN COMPLETION_FILE
set -euo pipefail

bin=$1
# shellcheck source=/dev/null
source "$2"
status=0

# completes "LINE" WORD...: the line, which ends where Tab is pressed, is completed with exactly these words
completes() {
    local line=$1 wanted
    shift
    wanted=$(printf '%s\n' "$@" | sort)
    read -ra COMP_WORDS <<<"${line//=/ = }"
    [[ $line != *[\ =] ]] || COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _crptservice_tools "$bin/${COMP_WORDS[0]}"
    if [[ $(printf '%s\n' "${COMPREPLY[@]}" | sort) != "$wanted" ]]; then
        echo "completion of \"$line\": got ${COMPREPLY[*]-nothing}, wanted $*" >&2
        status=1
    fi
}

folder=$(mktemp -d)
trap 'rm -f "$folder/two words.ini"; rmdir "$folder"' EXIT
touch "$folder/two words.ini"

completes "poshost ver" verify
completes "poshost --stand sc" scenarios
completes "poshost --st" --stand
completes "poshost verify --re" --refund --request-timeout
completes "poshost verify --service t" turon
completes "poshost --scenario black" blackout blackout-alone
completes "poshost --scenario=cal" calm
completes "poshost --log-level w" warn
completes "poshost --config $folder/tw" "$folder/two words.ini"
completes "poshost verify --codes-file $folder/" "$folder/two words.ini"
completes "marksim --admin-" --admin-bind --admin-port
completes "marksim --log-level w" warning
completes "marksim --scenario $folder/two" "$folder/two words.ini"
completes "marksim --sites " ""
exit "$status"
