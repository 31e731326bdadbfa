#!/bin/bash
# Completes command lines as a person would: check-completion.sh BIN BASH_FILE FISH_FILE ZSH_FILE
set -euo pipefail

bin=$1
fish_file=$3
zsh_file=$4
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

# fish_completes "LINE" WORD...: the same in fish, whose rows are the word, a tab and what it means
fish_completes() {
    local line=$1 got wanted
    shift
    wanted=$(printf '%s\n' "$@" | sort)
    got=$(PATH="$bin:$PATH" fish --no-config -c "source '$fish_file'; complete -C '$line'" | sed 's/\t.*//' | sort)
    if [[ $got != "$wanted" ]]; then
        echo "completion in fish of \"$line\": got ${got:-nothing}, wanted $*" >&2
        status=1
    fi
}

# zsh_completes "LINE" "WHOLE": the line becomes the whole one when Tab is pressed in a terminal
zsh_completes() {
    local shown
    cp "$zsh_file" "$folder/_poshost"
    shown=$(PATH="$bin:$PATH" zsh -f "$(dirname "${BASH_SOURCE[0]}")/complete.zsh" "$folder" "$1")
    if [[ $shown != *"$2"* ]]; then
        echo "completion in zsh of \"$1\": got $(cat -v <<<"$shown"), wanted $2" >&2
        status=1
    fi
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
touch "$folder/two words.ini"

completes "poshost ver" verify
completes "poshost --stand sc" scenarios
completes "poshost --st" --stand
completes "poshost verify --re" --refund --request-timeout
completes "poshost verify --service t" turon
completes "poshost doctor --lang " en ru
completes "poshost --scenario black" blackout blackout-alone
completes "poshost --scenario=cal" calm
completes "poshost --log-level w" warn
completes "poshost story --only " permitted refused trouble
completes "poshost story $folder/tw" "$folder/two words.ini"
completes "poshost --config $folder/tw" "$folder/two words.ini"
completes "poshost verify --codes-file $folder/" "$folder/two words.ini"
completes "marksim --admin-" --admin-bind --admin-port
completes "marksim --log-level w" warning
completes "marksim --scenario $folder/two" "$folder/two words.ini"
completes "marksim --scenario black" blackout blackout-alone
completes "marksim --sites " ""

fish_completes "poshost ver" verify
fish_completes "poshost verify --re" --refund --request-timeout
fish_completes "poshost --scenario black" blackout blackout-alone
fish_completes "poshost verify --codes-file $folder/two" "$folder/two words.ini"
fish_completes "poshost story --only re" refused
fish_completes "poshost story $folder/two" "$folder/two words.ini"
fish_completes "marksim --log-level w" warning
fish_completes "poshost --log-level w" warn
fish_completes "marksim --scenario black" blackout blackout-alone
fish_completes "marksim --scenario $folder/two" "$folder/two words.ini"

zsh_completes "poshost ver" "poshost verify"
zsh_completes "poshost verify --ref" "poshost verify --refund"
zsh_completes "poshost --scenario bad" "poshost --scenario bad-token"
zsh_completes "poshost story --only t" "poshost story --only trouble"
zsh_completes "marksim --admin-p" "marksim --admin-port"
zsh_completes "marksim --log-level w" "marksim --log-level warning"
zsh_completes "marksim --scenario bad" "marksim --scenario bad-token"
exit "$status"
