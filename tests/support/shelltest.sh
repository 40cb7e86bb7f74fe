# shellcheck shell=bash
# What tests share that are shell scripts. A test is left out where it exits with 77.

source_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
export source_root

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

need() { # TEST PROGRAM...
  local test=$1 program
  shift
  for program; do
    command -v "$program" >/dev/null || { echo "SKIP : $test: $program is missing" && exit 77; }
  done
}

# use_stand_ins SCRIPTS FOLDER: empties FOLDER, copies the folder SCRIPTS to FOLDER/script, and puts stand-ins before the
# system's programs.
use_stand_ins() {
  folder=$2
  rm -rf "$folder"
  mkdir -p "$folder/bin"
  cp -R "$1" "$folder/script"
  unset CXX QUORVALE_SKIP_BOOTSTRAP
  export PATH=$folder/bin:/usr/bin:/bin
}

stand_in() { # NAME, its lines on the standard input
  { echo '#!/bin/sh' && cat; } >"$folder/bin/$1"
  chmod +x "$folder/bin/$1"
}
