# Completion of Halomend's switches and files for bash.
_Halomend() {
  local word=${COMP_WORDS[COMP_CWORD]}
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W '-f -h -i -o -v -?' -- "$word")
  else
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -X '!*.[pP][nN][gG]' -- "$word"; compgen -d -- "$word")
  fi
}
complete -F _Halomend Halomend
