# shellcheck shell=bash
# What tests of the commands share that run them in a copy of their folder, with stand-ins for the system's programs. A
# test sources it with SCRIPTS, the folder of the commands, and FOLDER, which is emptied and gets the copy.

scripts=$1 folder=$2

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

stand_in() { # NAME, its lines on the standard input
  { echo '#!/bin/sh' && cat; } >"$folder/bin/$1"
  chmod +x "$folder/bin/$1"
}

rm -rf "$folder"
mkdir -p "$folder/bin"
cp -R "$scripts" "$folder/script"
unset QUORVALE_SKIP_BOOTSTRAP
export PATH=$folder/bin:/usr/bin:/bin
