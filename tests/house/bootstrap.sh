#!/usr/bin/env bash
# bootstrap.sh SCRIPTS FOLDER: tests what script/bootstrap installs on a Debian, and that it says what is too old, in a copy
# of SCRIPTS with stand-ins for the system's programs.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../support/shelltest.sh"
use_stand_ins "$@"

export folder missing='' unknown='' cmake=3.21.0 gcc=9 ffmpeg=58.134.100 noffmpeg=0
unset LC_ALL # apt then answers in the user's language
echo 'echo Linux' | stand_in uname
echo 'echo 0' | stand_in id
# shellcheck disable=SC2016 # the stand-ins read the variables
{
  stand_in dpkg-query <<<'for package; do :; done; case " $missing " in *" $package "*) exit 1 ;; esac; echo installed'
  stand_in apt-cache <<<'word=Installationskandidat; [ "$LC_ALL" != C ] || word=Candidate
    case " $unknown " in *" $2 "*) echo "  $word: (none)" ;; *) echo "  $word: 1.0" ;; esac
    seq 20000' # more than a pipe holds: who leaves earlier ends it
  stand_in apt-get <<<'for argument; do case $argument in -*) ;; *) printf "%s " "$argument" ;; esac; done >>"$folder/log"
    echo >>"$folder/log"'
  stand_in cmake <<<'echo "cmake version $cmake"'
  stand_in c++ <<<'cat >/dev/null; case "$*" in *-E*) echo "__clang__ $gcc" ;; esac'
  stand_in pkg-config <<<'case $1 in --exists) exit "$noffmpeg" ;; --modversion) echo "$ffmpeg" ;; esac'
}
mkdir "$folder/lists"
touch "$folder/lists/debian_Packages"
export apt_lists=$folder/lists
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
apt_lists=$folder expect "apt-get fetched no list of packages: is there a network?"
expect "this system has no package qt6-base-dev: it takes Debian 12"
missing=''
cmake=3.18.4 expect "CMake 3.18.4 is too old: 3.21 or later is needed"
gcc=8 expect "GCC 8 is too old: 9 or later is needed"
CXX='env gcc=8 c++' expect "GCC 8 is too old"
cp -R "$folder/bin" "$folder/a folder"
CXX="$folder/a folder/c++" bootstrap test || fail "a compiler in a folder whose name has a blank: $said"
CXX='none at all' expect "there is no compiler none"
ffmpeg=58.54.100 expect "libavcodec 58.54.100 is too old"
noffmpeg=1 ffmpeg='' bootstrap test || fail "what the build says better: $said"
