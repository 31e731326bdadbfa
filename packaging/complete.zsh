# Types a line and a Tab in a zsh of its own and prints what its terminal shows then: complete.zsh FOLDER LINE
zmodload zsh/zpty
zpty shell 'zsh -f -i'
zpty -w shell "PS1=; fpath=($1 \$fpath); autoload -U compinit; compinit -u -d $1/dump; bindkey '^I' complete-word; print ready-\$((1))"
zpty -r -m shell shown '*ready-1*'
zpty -w -n shell "$2"$'\t'
sleep 0.2
# The command ends the line: what comes before its output is the line as it stands.
zpty -w -n shell $'\C-a: \C-e; print over-$((1))\n'
zpty -r -m shell shown '*over-1*'
print -r -- $shown
