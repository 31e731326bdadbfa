# fish completion for poshost and marksim. What there is to complete is read from their own help.

# The values that the option of the help's line takes; fails when there is nothing to choose from.
function __crptservice_tools_values --argument-names program option line
    switch $option
        case --lang
            printf '%s\n' en ru
        case --color
            printf '%s\n' always never auto
        case --only
            printf '%s\n' trouble refused permitted
        case --service
            printf '%s\n' crpt turon esm
        case --log-level
            set -l levels (string match -rg '\{(.*?)\}' -- $line | string split ,)
            test -n "$levels"; or set levels trace debug info warn error fatal off
            printf '%s\n' $levels
        case --scenario
            # Both programs ship the same ones; marksim takes a file, too.
            set -l till (string replace -r 'marksim$' poshost -- $program)
            $till scenarios 2>/dev/null | string replace -r '^(\S+)\s+' '$1\t'
            string match -q '*|FILE *' -- $line; and __fish_complete_path (commandline -ct)
        case '*'
            string match -q '* FILE *' -- $line; and __fish_complete_path (commandline -ct)
    end
end

function __crptservice_tools
    set -l words (commandline -opc)
    set -l program $words[1]
    set -l help ($program --help 2>/dev/null)
    set -l verbs (printf '%s\n' $help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\)  *\(.*\)/\1\t\2/p')
    set -l verb
    for word in $words[2..]
        if string match -q -- "$word"\t'*' $verbs
            set verb $word
            set help $help ($program $verb --help 2>/dev/null)
            break
        end
    end
    set -l line (string match -r -- "^  (?:-[a-z],)?$words[-1] [A-Z].*" $help)
    if string match -q -- '--*' $words[-1]; and test -n "$line[1]"
        __crptservice_tools_values $program $words[-1] $line[1]
        return
    end
    test "$verb" = story; and __fish_complete_path (commandline -ct)
    test -n "$verb"; or printf '%s\n' $verbs
    printf '%s\n' $help | string replace -rf '^  (?:-[a-z],)?(--[a-z-]+).*' '$1'
end

complete -c poshost -f -a '(__crptservice_tools)'
complete -c marksim -f -a '(__crptservice_tools)'
