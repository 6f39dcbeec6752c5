# Sourced by the tests here, whose first argument is the program. Changes to an empty folder, which
# is removed at the end, and puts the program on the path.
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
star=$root/Samples/star.png
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
PATH=$(cd "$(dirname "$1")" && pwd):$PATH
cd "$folder" || exit 1
checks=0
failures=0

# expect WHAT COMMAND...: checks that the command succeeds, and shows its output if it does not.
expect() {
  local what=$1
  shift
  checks=$((checks + 1))
  "$@" >"$folder/log" 2>&1 && return
  failures=$((failures + 1))
  echo "FAILED $what"
  cat "$folder/log"
}

finish() {
  echo "$checks checks, $failures failed"
  [ "$checks" -gt 0 ] && [ "$failures" -eq 0 ]
}
