#compdef poshost marksim
# zsh completion for poshost and marksim. What there is to complete is read from their own help.

_crptservice_tools() {
    local program=${words[1]} previous=${words[CURRENT-1]} help line verb word
    local -a verbs options
    help=$($program --help 2>/dev/null) || return 1
    verbs=(${(f)"$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\)  *\(.*\)/\1:\2/p' <<<$help)"})
    for word in ${words[2,CURRENT-1]}; do
        if (( ${verbs[(I)$word:*]} )); then
            verb=$word
            help+=$'\n'$($program $verb --help 2>/dev/null)
            break
        fi
    done
    if [[ $previous == --* ]] && line=$(grep -E -m 1 -- "^  (-[a-z],)?$previous [A-Z]" <<<$help); then
        case $previous in
        --lang) compadd en ru ;;
        --color) compadd always never auto ;;
        --only) compadd trouble refused permitted ;;
        --service) compadd crpt turon esm ;;
        --log-level)
            if [[ $line == *'{'* ]]; then
                compadd ${(s:,:)${${line#*\{}%%\}*}}
            else
                compadd trace debug info warn error fatal off
            fi
            ;;
        --scenario)
            # Both programs ship the same ones; marksim takes a file, too.
            compadd ${(f)"$(${program/%marksim/poshost} scenarios 2>/dev/null | sed 's/ .*//')"}
            [[ $line != *'|FILE '* ]] || _files
            ;;
        *) [[ $line == *' FILE '* ]] && _files ;;
        esac
        return
    fi
    if [[ -z $verb && ${words[CURRENT]} != -* ]]; then
        _describe 'subcommand' verbs
        return
    fi
    if [[ $verb == story && ${words[CURRENT]} != -* ]]; then
        _files
        return
    fi
    options=(${(f)"$(sed -n 's/^  \(-[a-z],\)\{0,1\}\(--[a-z-]*\).*/\2/p' <<<$help)"})
    compadd -- $options
}

_crptservice_tools "$@"
