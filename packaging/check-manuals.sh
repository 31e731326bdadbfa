#!/bin/bash
# Holds the manual pages against what the programs say of themselves: check-manuals.sh BIN [MAN]
#   BIN  folder of the programs
#   MAN  folder of installed pages, in place of the tree's own
# Every option that a help text prints is an entry of the page, under OPTIONS or under the command's own heading,
# and every entry is an option; the commands likewise. In all languages.
set -euo pipefail

if (($# < 1 || $# > 2)); then
    echo "usage: check-manuals.sh BIN [MAN]" >&2
    exit 2
fi
bin=$1
pages=${2:-$(cd "$(dirname "${BASH_SOURCE[0]}")/man" && pwd)}
status=0

# helped PROGRAM [COMMAND]: the options, or with "commands" the commands, that a help text prints
helped() {
    "$@" --help | sed -n 's/^  \(-[a-z],\)\{0,1\}\(--[a-z-]*\).*/\2/p' | sort
}

commands_of() {
    "$1" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p' | sort
}

# entries [COMMAND]: the options that are entries of the page on standard input, outside its commands or under one
entries() {
    awk -v wanted="${1-}" '
        /^\.SH / { command = "" }
        /^\.SS / { command = $2 }
        tagged && command == wanted { gsub(/\\-/, "-"); if (match($0, /--[a-z-]+/)) print substr($0, RSTART, RLENGTH) }
        { tagged = /^\.T[PQ]/ }' | sort
}

# agree PAGE WHERE LEFT RIGHT: the two lists, help and page, are the same
agree() {
    local page=${1#"$pages/"} missing extra
    missing=$(comm -23 <(echo "$3") <(echo "$4") | xargs)
    extra=$(comm -13 <(echo "$3") <(echo "$4") | xargs)
    [[ -z $missing ]] || { echo "man/$page, $2: add $missing" >&2 && status=1; }
    [[ -z $extra ]] || { echo "man/$page, $2: take out $extra, the program does not know it" >&2 && status=1; }
}

for program in poshost marksim; do
    for page in "$pages"/{,ru/}man1/"$program".1*; do
        text=$(zcat -f "$page")
        commands=$(commands_of "$bin/$program")
        agree "$page" "headings .SS" "$commands" "$(sed -n 's/^\.SS //p' <<<"$text" | sort)"
        agree "$page" "the options" "$(helped "$bin/$program")" "$(entries <<<"$text")"
        for command in $commands; do
            agree "$page" ".SS $command" "$(helped "$bin/$program" "$command" | sed '/^--help$/d')" \
                "$(entries "$command" <<<"$text")"
        done
    done
done
exit "$status"
