#!/usr/bin/env bash
# deploy.sh SCRIPTS FOLDER CMAKE: makes a bundle run on its own with the scripts of packaging/macos, as far as that is
# possible elsewhere: with stand-ins for the system's programs, and listings instead of libraries (see closure.cmake).
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../support/shelltest.sh"
use_stand_ins "$1" "$2"
cmake=$3 listings=$source_root/tests/packaging/closure/Quorvale.app/Contents
bundle=$folder/prefix/Quorvale.app/Contents
mkdir -p "$bundle/Resources" "$folder/plugins/platforms" "$folder/plugins/styles" "$folder/plugins/imageformats"
cp -R "$listings/MacOS" "$listings/Frameworks" "$bundle"
for plugin in platforms/libqcocoa platforms/libqminimal styles/libqmacstyle imageformats/libqtiff; do
  cp "$listings/PlugIns/platforms/libqcocoa.dylib" "$folder/plugins/$plugin.dylib"
done
chmod 444 "$folder"/plugins/*/* # as Homebrew's are

# What macdeployqt copies is in the bundle already.
for program in macdeployqt codesign; do echo "echo $program \"\$@\" >>'$folder/log'" | stand_in "$program"; done
echo 'cat "$2"' | stand_in otool
cat >"$folder/install.cmake" <<SCRIPT
set(CMAKE_INSTALL_PREFIX "$folder/prefix")
set(macdeployqt "$folder/bin/macdeployqt")
set(qt_plugins "$folder/plugins")
set(library_folders /opt/one /opt/two)
set(closure_check "$folder/script/check_closure.cmake")
include("$folder/script/deploy.cmake")
SCRIPT
deploy() { "$cmake" -P "$folder/install.cmake" >"$folder/said" 2>&1; }

deploy || fail "a bundle with all that it needs is refused: $(cat "$folder/said")"
plugins=$(cd "$bundle/PlugIns" && find . -type f | sort | tr '\n' ' ')
[ "$plugins" = "./platforms/libqcocoa.dylib ./styles/libqmacstyle.dylib " ] || fail "these plugins are in the bundle: $plugins"
[ -z "$(find "$bundle/PlugIns" -type f ! -perm -200)" ] || fail "they may not be written"
[ "$(cat "$bundle/Resources/qt.conf")" = $'[Paths]\nPlugins = PlugIns' ] || fail "Qt is not told where they are"
grep -q '^macdeployqt .* -no-plugins .*-libpath=/opt/one -libpath=/opt/two$' "$folder/log" || fail "$(cat "$folder/log")"
[ "$(grep -c '^codesign' "$folder/log")" = 2 ] || fail "the bundle is not signed and verified: $(cat "$folder/log")"

rm "$folder/log" "$bundle/Frameworks/libwebp.7.dylib"
! deploy || fail "a bundle that lacks a library passes"
grep -q 'names @executable_path/../Frameworks/libwebp.7.dylib' "$folder/said" || fail "it is not named: $(cat "$folder/said")"
! grep -q '^codesign' "$folder/log" || fail "a bundle that lacks a library is signed"
