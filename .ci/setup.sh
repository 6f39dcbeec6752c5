# Sourced by run, test and .ci/run: installs what a machine lacks, from Debian's packages.

# fail MESSAGE...: says why and ends.
fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# install PACKAGE...: as root, or through sudo.
install() {
  command -v apt-get >/dev/null || fail "missing: $*. Please install it; this machine has no apt-get to do so."
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || fail "missing: $*. Please install it as root: apt-get install $*"
    as_root=(sudo)
  fi
  echo "$(basename "$0"): installing $*" >&2
  local log
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "$@"; } >"$log" 2>&1; then
    tail -n 5 "$log" >&2
    rm -f "$log"
    fail "could not install: $*"
  fi
  rm -f "$log"
}

# need_build_tools: a C++ compiler, make and CMake.
need_build_tools() {
  local missing=()
  [ -n "${CXX:-}" ] || command -v c++ >/dev/null || missing+=(g++)
  command -v make >/dev/null || missing+=(make)
  command -v cmake >/dev/null || missing+=(cmake)
  [ ${#missing[@]} -eq 0 ] || install "${missing[@]}"
}

# need_header FILE PACKAGE: a library that the tests are built with.
need_header() {
  [ -e "/usr/include/$1" ] || [ -e "/usr/local/include/$1" ] ||
    compgen -G "/usr/include/*/$1" >/dev/null || install "$2"
}

# build PRESET [CMAKE_ARGUMENT...]: quiet unless something is wrong; then everything is shown.
build() {
  local preset=$1 log
  shift
  log=$(mktemp)
  if ! { cmake --preset "$preset" "$@" && cmake --build --preset "$preset" -j "$(nproc)"; } \
    >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    fail "the build failed"
  fi
  rm -f "$log"
}
