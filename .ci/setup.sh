# For the scripts that build, which source this file: installs missing tools from Debian's packages.

# fail MESSAGE...: prints the reason and ends the script.
fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# need_command COMMAND PACKAGE, need_header FILE PACKAGE: note the package if its file is missing.
missing=()
need_command() {
  command -v "$1" >/dev/null || missing+=("$2")
}
need_header() {
  [ -e "/usr/include/$1" ] || [ -e "/usr/local/include/$1" ] ||
    compgen -G "/usr/include/*/$1" >/dev/null || missing+=("$2")
}

# need_build_tools: a C++ compiler, make and CMake.
need_build_tools() {
  [ -n "${CXX:-}" ] || need_command c++ g++
  need_command make make
  need_command cmake cmake
}

# need_clang_runtime: clang's library for sanitizers and libFuzzer, which Debian only recommends.
need_clang_runtime() {
  command -v clang++ >/dev/null &&
    compgen -G "$(clang++ -print-resource-dir)/lib/*/libclang_rt.fuzzer*" >/dev/null ||
    missing+=(libclang-rt-dev)
}

# install_missing: installs all noted packages at once, as root or through sudo.
install_missing() {
  [ ${#missing[@]} -gt 0 ] || return 0
  command -v apt-get >/dev/null ||
    fail "missing: ${missing[*]}. Please install it; this machine has no apt-get to do so."
  local by_hand="Please install it as root: apt-get install ${missing[*]}"
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || fail "missing: ${missing[*]}. $by_hand"
    as_root=(sudo)
  fi
  echo "$(basename "$0"): installing ${missing[*]}" >&2
  local log
  log=$(mktemp)
  # A new machine may still be busy with its first updates, hence the wait for the lock.
  if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -o DPkg::Lock::Timeout=120 install -y --no-install-recommends "${missing[@]}"; } \
    >"$log" 2>&1; then
    tail -n 5 "$log" >&2
    rm -f "$log"
    fail "could not install: ${missing[*]}. $by_hand"
  fi
  rm -f "$log"
  missing=()
}

# build PRESET [CMAKE_ARGUMENT...]: prints nothing if all is well, and everything if it fails.
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
