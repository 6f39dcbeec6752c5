# complete.zsh FOLDER: prints what zsh offers after "Halomend -" with the completions of FOLDER. The
# shell under test runs at a pseudo terminal; without one the status is 2.
zmodload zsh/zpty
zpty shell "zsh -f -i" || exit 2
zpty -w shell "PROMPT=; fpath=($1 \$fpath); autoload -U compinit; compinit -u -D
LISTMAX=100; stty cols 200; print re''ady"
zpty -r -m shell text '*ready*' || exit 1
zpty -w -n shell "Halomend -"$'\t\t'
zpty -r -m shell text '*-v *was done*'
print -r -- $text
