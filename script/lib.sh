# shellcheck shell=bash
# What the commands in this folder share. Sourced, never run, and by each command before anything else: `-h` as a
# command's first argument prints its help, the comment that it begins with, and ends it.

case ${1:-} in
  -h | --help)
    sed -n '2,/^set -/s/^# \{0,1\}//p' "$0"
    exit 0
    ;;
esac

unset CDPATH # It would make cd talk.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
export root

say() { printf '==> %s\n' "$*"; }
die() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# forget_other_place FOLDER: what CMake has noted in the build folder FOLDER goes, if the folder was somewhere else then,
# and so do the builds below it: CMake refuses to work on in a checkout that was moved or copied. What else is in the folder
# stays.
forget_other_place() {
  local noted
  noted=$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' "$1/CMakeCache.txt" 2>/dev/null || true)
  if [ -n "$noted" ] && ! [ "$noted" -ef "$1" ]; then
    say "$1 was made as $noted: configuring it anew"
    find "$1" -name CMakeCache.txt -execdir rm -rf CMakeCache.txt CMakeFiles \;
  fi
}

# build PRESET [TARGET...]: configures where needed and builds.
build() {
  local preset=$1
  shift
  say "building ($preset)"
  mkdir -p "$root/build"
  forget_other_place "$root/build/$preset"
  (cd "$root" && cmake --preset "$preset" >"$root/build/$preset.configure.log" 2>&1) || {
    cat "$root/build/$preset.configure.log" >&2
    die "the configuration failed"
  }
  (cd "$root" && cmake --build --preset "$preset" ${1:+--target "$@"})
}
