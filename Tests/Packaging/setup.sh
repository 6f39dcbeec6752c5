# Sourced by the tests here, whose first argument is the program. Changes to an empty folder, which is
# removed at the end, and puts the program on the path. The first command that fails ends the test,
# and only then the output of all commands is shown. A test speaks by >&3.
set -Eeuo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
star=$root/Samples/star.png
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
PATH=$(cd "$(dirname "$1")" && pwd):$PATH
cd "$folder"
exec 3>&1 >output 2>&1
trap 'cat "$folder/output" >&3; echo "FAILED at line $LINENO: $BASH_COMMAND" >&3' ERR

# fails STATUS COMMAND...: the command ends with that status.
fails() {
  local status=0
  "${@:2}" || status=$?
  [ "$status" -eq "$1" ]
}

# alike FILE OTHER...: the others are like the first one.
alike() {
  local other
  for other in "${@:2}"; do cmp "$1" "$other"; done
}
