# shellcheck shell=bash
# What the commands in this folder share. Sourced, never run.

unset CDPATH # It would make cd talk.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
export root

say() { printf '==> %s\n' "$*"; }
die() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# What a command does: the comment that it begins with.
print_help() { sed -n '2,/^set/s/^# \{0,1\}//p' "$0"; }

# build PRESET [TARGET...]: configures where needed and builds.
build() {
  local preset=$1
  shift
  say "building ($preset)"
  (cd "$root" && cmake --preset "$preset" >"$root/build/$preset.configure.log" 2>&1) || {
    cat "$root/build/$preset.configure.log" >&2
    die "the configuration failed"
  }
  (cd "$root" && cmake --build --preset "$preset" ${1:+--target "$@"})
}

mkdir -p "$root/build"
