#!/usr/bin/env bash
# scripts.sh ROOT FOLDER: tests every command in ROOT/script, and .ci/run: -h helps and does nothing else, a checkout that was
# moved or copied after a build still builds, and a folder without a recorder disk is reported before anything is built.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../support/shelltest.sh"
root=$1 work=$2

rm -rf "$work"
mkdir -p "$work/first"
cp -R "$root/script" "$root/.ci" "$work/first"
cd "$work"

for command in first/script/* first/.ci/run; do
  name=${command#first/}
  [ "$name" != script/lib.sh ] || continue
  for arguments in -h --help '--quick -h' '--fresh --help'; do
    # shellcheck disable=SC2086 # an argument is a word
    help=$("$command" $arguments 2>&1 </dev/null) || fail "$name $arguments: $help"
    [ "${#help}" -gt 60 ] || fail "$name $arguments says no more than: $help"
    ! grep -qE '^(#|set |==>)' <<<"$help" || fail "$name $arguments prints what is no help: $help"
  done
done
[ "$(ls -A first | xargs)" = '.ci script' ] || fail "asking for help made something: $(ls -A first)"
said=$(first/script/on-debian 'No suite' script/test -h 2>&1) && fail "on-debian took -h from its command"
grep -q '^error: usage' <<<"$said" || fail "on-debian took -h from its command: $said"

# A project of one file, in the place of this one.
cat >first/CMakeLists.txt <<'PROJECT'
cmake_minimum_required(VERSION 3.21)
project(moved NONE)
add_custom_command(OUTPUT copy COMMAND ${CMAKE_COMMAND} -E copy "${CMAKE_SOURCE_DIR}/original" copy
  DEPENDS "${CMAKE_SOURCE_DIR}/original")
add_custom_target(all_of_it ALL DEPENDS copy)
PROJECT
cat >first/CMakePresets.json <<'PRESETS'
{
  "version": 3,
  "configurePresets": [ { "name": "dev", "generator": "Ninja", "binaryDir": "${sourceDir}/build/${presetName}" } ],
  "buildPresets": [ { "name": "dev", "configurePreset": "dev" } ]
}
PRESETS
printf '#!/usr/bin/env bash\n# builds\nset -euo pipefail\n. "$(dirname "$0")/lib.sh"\nbuild dev\n' >first/script/builds
chmod +x first/script/builds
echo one >first/original
first/script/builds
mv first second
echo two >second/original
touch second/build/dev/kept
second/script/builds
[ "$(cat second/build/dev/copy)" = two ] || fail "after a move nothing was built"
[ -e second/build/dev/kept ] || fail "after a move the build folder was emptied"
mkdir second/build/dev/inner
echo noted >second/build/dev/inner/CMakeCache.txt
cp -R second third
echo three >third/original
third/script/builds
[ "$(cat third/build/dev/copy)" = three ] || fail "in a copy nothing was built"
[ "$(cat second/build/dev/copy)" = two ] || fail "a copy builds where it was copied from"
[ ! -e third/build/dev/inner/CMakeCache.txt ] || fail "a build within the build still knows its old place"
said=$(second/script/builds)
! grep -q 'configuring it again' <<<"$said" || fail "it is configured again each time: $said"

mkdir -p none/folder disks/disk/DVR/RECSINFO
touch disks/disk/DVR/RECSINFO/RECS.INF
mkdir bin
printf '#!/bin/sh\necho Linux\n' >bin/uname # elsewhere there is always a display
chmod +x bin/uname
run() { PATH=$PWD/bin:$PATH env -u DISPLAY -u WAYLAND_DISPLAY second/script/run "$1" 2>&1 || true; }
printf '#!/usr/bin/env bash\necho bootstrap\nexit 1\n' >second/script/bootstrap
grep -q "^error: no recorder disk in .*/none: " <<<"$(run none)" || fail "without a disk: $(run none)"
! grep -q bootstrap <<<"$(run none)" || fail "work was done for nothing"
grep -q "/disks/disk is a recorder disk itself: looking for disks in .*/disks$" <<<"$(run disks/disk)" ||
  fail "a disk itself: $(run disks/disk)"
cp -R disks/disk disks/.hidden
grep -q "^error: .*/disks/.hidden begins with a dot" <<<"$(run disks/.hidden)" || fail "a hidden disk: $(run disks/.hidden)"
if cp -R disks $'latin \xe4' 2>/dev/null; then # macOS has no such names
  [[ $(run $'latin \xe4') == "error: the name of "*" is not UTF-8"* ]] || fail "not in UTF-8: $(run $'latin \xe4')"
fi
[ "$(run "")" = "error: usage: script/run [DIR]" ] || fail "without a name: $(run "")"
[ "$(run disks)" = bootstrap ] || fail "a folder with a disk: $(run disks)"

# What four runs have not used goes, and what the last of them used stays.
mkdir kept
touch -t 202001010000 kept/unused kept/run-1577836800
touch -t 202001010100 kept/used
for run in 1 2 3; do touch -t "20200102000$run" "kept/run-157792320$run"; done
(
  # shellcheck disable=SC1091 # a copy of the one beside it
  . second/script/lib.sh
  forget_unused kept
)
[ "$(ls kept | grep -v '^run-')" = used ] || fail "kept after four runs: $(ls kept)"
[ "$(ls kept | grep -c '^run-')" = 4 ] || fail "runs that are remembered: $(ls kept)"
