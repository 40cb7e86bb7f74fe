#!/usr/bin/env bash
# bootstrap.sh SCRIPTS FOLDER: tests what script/bootstrap installs on a Debian, and that it says what is too old, in a copy
# of SCRIPTS with stand-ins for the system's programs.
set -euo pipefail
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
unset QUORVALE_SKIP_BOOTSTRAP CXX
export PATH=$folder/bin:/usr/bin:/bin folder missing='' unknown='' cmake=3.21.0 gcc='__clang__ 9' ffmpeg=0
unset LC_ALL # apt then answers in the user's language
echo 'echo Linux' | stand_in uname
echo 'echo 0' | stand_in id
# shellcheck disable=SC2016 # the stand-ins read the variables
{
  stand_in dpkg-query <<<'for package; do :; done; case " $missing " in *" $package "*) exit 1 ;; esac; echo installed'
  stand_in apt-cache <<<'word=Installationskandidat; [ "$LC_ALL" != C ] || word=Candidate
    case " $unknown " in *" $2 "*) echo "  $word: (none)" ;; *) echo "  $word: 1.0" ;; esac'
  stand_in apt-get <<<'for argument; do case $argument in -*) ;; *) printf "%s " "$argument" ;; esac; done >>"$folder/log"
    echo >>"$folder/log"'
  stand_in cmake <<<'echo "cmake version $cmake"'
  stand_in c++ <<<'cat >/dev/null; case "$*" in *-E*) echo "$gcc" ;; esac'
  stand_in pkg-config <<<'[ "$1" = --modversion ] && echo 58.1 || exit "$ffmpeg"'
}
bootstrap() {
  rm -f "$folder/log"
  said=$("$folder/script/bootstrap" "$@" 2>&1)
}
expect() { # WORDS OF THE ERROR
  ! bootstrap test || fail "no error says: $1"
  [[ $said == *"error: $1"* ]] || fail "instead of '$1' it says: $said"
}

bootstrap test || fail "$said"
[ ! -e "$folder/log" ] || fail "where nothing is missing it runs: $(cat "$folder/log")"
missing='ninja-build strace lld' unknown=lld
bootstrap test || fail "$said"
[ "$(cat "$folder/log")" = $'update \ninstall ninja-build \ninstall strace ' ] || fail "it runs: $(cat "$folder/log")"
[[ $said == *"no package lld: what needs it is left out"* ]] || fail "$said"
missing=qt6-base-dev unknown=qt6-base-dev
expect "this system has no package qt6-base-dev: it takes Debian 12"
missing=''
cmake=3.18.4 expect "CMake 3.18.4 is too old: 3.21 or later is needed"
gcc='__clang__ 8' expect "GCC 8 is too old: 9 or later is needed"
ffmpeg=1 expect "libavcodec 58.1 is too old"
