# shellcheck shell=bash
# bash completion for poshost and marksim. What there is to complete is read from their own help.

# _crptservice_tools_values OPTION: completes the value that the option takes; fails when it takes none.
# Reads the help from the caller's variable.
_crptservice_tools_values() {
    local line
    line=$(grep -E -m 1 -- "^  (-[a-z],)?$1 [A-Z]" <<<"$help") || return 1
    case $1 in
    --scenario)
        # Both programs ship the same ones; marksim takes a file, too.
        mapfile -t COMPREPLY < <(compgen -W "$("${program/%marksim/poshost}" scenarios 2>/dev/null | sed 's/ .*//')" -- "$current")
        ;;
    --only) mapfile -t COMPREPLY < <(compgen -W "trouble refused permitted" -- "$current") ;;
    --lang) mapfile -t COMPREPLY < <(compgen -W "en ru" -- "$current") ;;
    --color) mapfile -t COMPREPLY < <(compgen -W "always never auto" -- "$current") ;;
    --service) mapfile -t COMPREPLY < <(compgen -W "crpt turon esm" -- "$current") ;;
    --log-level)
        local levels="trace debug info warn error fatal off"
        [[ $line != *"{"* ]] || levels=$(sed 's/.*{\(.*\)}.*/\1/; s/,/ /g' <<<"$line")
        mapfile -t COMPREPLY < <(compgen -W "$levels" -- "$current")
        ;;
    esac
    if [[ $line == *[\ \|]"FILE "* ]]; then
        compopt -o filenames 2>/dev/null || true
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current")
    fi
}

_crptservice_tools() {
    local program=$1 current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local help commands command="" words="" word
    COMPREPLY=()
    # "--option=value" comes as three words.
    if [[ $current == "=" ]]; then
        current=""
    elif [[ $previous == "=" ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    help=$("$program" --help 2>/dev/null) || return 0
    commands=$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p' <<<"$help")
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if grep -qxF -- "$word" <<<"$commands"; then
            command=$word
            help+=$'\n'$("$program" "$command" --help 2>/dev/null)
            break
        fi
    done
    if [[ $previous == --* ]] && _crptservice_tools_values "$previous"; then
        return 0
    fi
    if [[ $command == story && $current != -* ]]; then
        compopt -o filenames 2>/dev/null || true
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return 0
    fi
    [[ -n $command || $current == -* ]] || words=$commands
    [[ $current != -* ]] || words=$(sed -n 's/^  \(-[a-z],\)\{0,1\}\(--[a-z-]*\).*/\2/p' <<<"$help")
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _crptservice_tools poshost marksim
