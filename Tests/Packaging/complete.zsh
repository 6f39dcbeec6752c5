# complete.zsh FOLDER: prints what zsh, with the completions of FOLDER, offers after "Halomend -".
# The shell that completes runs at a terminal of its own.
zmodload zsh/zpty
zpty shell "zsh -f -i"
zpty -w shell "PROMPT=; fpath=($1 \$fpath); autoload -U compinit; compinit -u -D
LISTMAX=100; stty cols 200; print re''ady"
zpty -r -m shell text '*ready*' || exit 1
zpty -w -n shell "Halomend -"$'\t\t'
zpty -r -m shell text '*-v *was done*'
print -r -- $text
zpty -d shell
