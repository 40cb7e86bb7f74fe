#!/usr/bin/env bash
# installed.sh BUILD FOLDER VERSION: tests that an installation is complete and that desktops accept it.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../support/shelltest.sh"
build=$1 folder=$2 version=$3
need packaging/installed desktop-file-validate appstreamcli man identify

rm -rf "$folder"
DESTDIR=$folder cmake --install "$build" --prefix /usr >/dev/null

expected=$({
  printf 'share/icons/hicolor/%s/apps/quorvale.png\n' 16x16 22x22 24x24 32x32 48x48 64x64 128x128 256x256 512x512
  cat <<'LIST'
bin/quorvale
share/applications/org.quorvale.quorvale.desktop
share/doc/quorvale/NEWS.gz
share/doc/quorvale/copyright
share/icons/hicolor/scalable/apps/quorvale.svg
share/man/man1/quorvale.1.gz
share/metainfo/org.quorvale.quorvale.metainfo.xml
LIST
} | sort)
found=$(cd "$folder/usr" && find . -type f -printf '%P\n' | sort)
[ "$found" = "$expected" ] || fail "installed: $(diff <(echo "$expected") <(echo "$found"))"

share=$folder/usr/share
entry=$share/applications/org.quorvale.quorvale.desktop
metainfo=$share/metainfo/org.quorvale.quorvale.metainfo.xml
said=$(desktop-file-validate "$entry" 2>&1) || fail "$said"
[ -z "$said" ] || fail "$said"
said=$(appstreamcli validate --no-net --pedantic "$metainfo" 2>&1) || fail "$said"
said=$(appstreamcli validate-tree --no-net "$folder/usr" 2>&1) || fail "$said" # the entry that it launches is there
grep -q "setDesktopFileName(QStringLiteral(\"$(basename "$entry" .desktop)\"))" "$source_root/app/program.cpp" ||
  fail "the program calls itself by another name than its entry"
said=$(man --warnings --encoding=UTF-8 --local-file "$share/man/man1/quorvale.1.gz" 2>&1 >/dev/null) || fail "$said"
[ -z "$said" ] || fail "manual page: $said"

# Every place that names the version names the same.
grep -q "<release version=\"$version\"" "$metainfo" || fail "the metainfo lacks version $version"
zgrep -q "^\.TH .*\"Quorvale $version\"" "$share/man/man1/quorvale.1.gz" || fail "the manual is not of version $version"
zgrep -q "^## $version " "$share/doc/quorvale/NEWS.gz" || fail "the changes lack version $version"

# The entry's icon is installed in all sizes, and its command is the installed program.
icon=$(sed -n 's/^Icon=//p' "$entry")
for picture in "$share/icons/hicolor"/*x*/apps/"$icon.png"; do
  size=${picture#"$share/icons/hicolor/"}
  size=${size%%/*}
  [ "$(identify -format '%wx%h' "$picture")" = "$size" ] || fail "$picture is not $size"
done
[ -x "$folder/usr/bin/$(sed -n 's/^Exec=//p' "$entry")" ] || fail "the entry's command is not installed"
