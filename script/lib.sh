# shellcheck shell=bash
# What the commands in this folder share. Each command sources it before anything else: with `-h` among its arguments a
# command prints its help, the comment that it begins with, and ends.

for argument; do
  case $argument in
    -h | --help)
      sed -n '2,/^set -/s/^# \{0,1\}//p' "$0"
      exit 0
      ;;
  esac
done

unset CDPATH # with it cd prints
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
export root

say() { printf '==> %s\n' "$*"; }
die() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# The C++ compiler as CMake takes it: CXX names a program, or a program and its first arguments.
cxx=("${CXX:-c++}")
command -v "${cxx[0]}" >/dev/null || read -r -a cxx <<<"${cxx[0]}"

# Has commands use Homebrew's LLVM, which is in no usual place: Apple's has neither fuzzers nor clang-tidy.
use_llvm() {
  local llvm
  llvm=$(brew --prefix llvm 2>/dev/null) || return 0
  PATH=$llvm/bin:$PATH
}

# forget_other_place FOLDER: removes CMake's cache from the build folder FOLDER, and from builds within it, if it was made
# under another path, because CMake refuses to continue in a checkout that was moved or copied. The rest stays.
forget_other_place() {
  local noted
  noted=$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' "$1/CMakeCache.txt" 2>/dev/null || true)
  if [ -n "$noted" ] && ! [ "$noted" -ef "$1" ]; then
    say "$1 was made as $noted: configuring it again"
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

# forget_unused FOLDER: notes the end of a run in the folder, and removes what none of the last four runs, this one
# included, has made or used. Using a file is touching it.
forget_unused() {
  local folder=$1 fifth
  [ -d "$folder" ] || return 0
  touch "$folder/run-$(date +%s)"
  fifth=$(printf '%s\n' "$folder"/run-* | sort -r | sed -n 5p)
  [ -z "$fifth" ] || find "$folder" -type f ! -newer "$fifth" -delete
}
