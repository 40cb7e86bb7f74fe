#!/usr/bin/env bash
# debian.sh BUILD FOLDER SAMPLEDISK: makes the Debian package, installs it below a folder, starts the program from its
# menu entry on a virtual display, and removes it. Needs root, or a kernel with user namespaces.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../support/shelltest.sh"
build=$1 folder=$2 sampledisk=$3
need packaging/debian cpack dpkg dpkg-deb dpkg-shlibdeps file Xvfb xdotool import
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  as_root=(unshare --user --map-root-user)
  "${as_root[@]}" true 2>/dev/null || {
    echo "SKIP : packaging/debian: neither root nor user namespaces"
    exit 77
  }
fi

rm -rf "$folder"
mkdir -p "$folder/made" "$folder/root"
cpack --config "$build/CPackConfig.cmake" -B "$folder/made" >"$folder/cpack.log" 2>&1 || fail "$(cat "$folder/cpack.log")"
package=$(echo "$folder"/made/quorvale_*.deb)
[ -f "$package" ] || fail "no package"

field() { dpkg-deb --field "$package" "$1"; }
[ "$(field Package)" = quorvale ] || fail "it is called $(field Package)"
[ "$(field Architecture)" = "$(dpkg --print-architecture)" ] || fail "it is for $(field Architecture)"
qt=$(sed -n 's/^QUORVALE_QT:.*=//p' "$build/CMakeCache.txt")
for library in libavcodec libavformat libavutil "libqt${qt}core" "libqt${qt}widgets" "libqt${qt}dbus" libstdc++6; do
  [[ $(field Depends) == *"$library"* ]] || fail "it does not depend on $library: $(field Depends)"
done
# Its dependencies are installed here, in the versions that it asks for.
"${as_root[@]}" dpkg --simulate --force-not-root --install "$package" >"$folder/simulated" 2>&1 ||
  fail "$(cat "$folder/simulated")"

# dpkg has an empty database of its own here, and the libraries are the system's: so it must not check dependencies.
in_root() { "${as_root[@]}" dpkg --root="$folder/root" --force-not-root --force-depends --log=/dev/null "$@" 2>&1; }
mkdir -p "$folder/root/var/lib/dpkg/"{info,updates,triggers}
touch "$folder/root/var/lib/dpkg/status"
said=$(in_root --install "$package") || fail "$said"

entry=$(echo "$folder"/root/usr/share/applications/*.desktop)
command=$(sed -n 's/^Exec=//p' "$entry")
mkdir -p "$folder/config/quorvale.org"
"$sampledisk" --recordings 1 --length 170 "$folder/disk"
printf '[Main]\nmount_point=%s\n' "$folder/disk" >"$folder/config/quorvale.org/quorvale.conf"
export XDG_CONFIG_HOME=$folder/config XDG_DATA_DIRS=$folder/root/usr/share PATH=$folder/root/usr/bin:$PATH
unset QT_QPA_PLATFORM DISPLAY WAYLAND_DISPLAY
[ "$(command -v "$command")" = "$folder/root/usr/bin/quorvale" ] || fail "the entry starts something else"
"$source_root/script/screenshot" "$command" "$folder/window.png" || fail "the installed program showed no window"

said=$(in_root --purge quorvale) || fail "$said"
left=$(find "$folder/root" -path "$folder/root/var" -prune -o ! -type d -print)
[ -z "$left" ] || fail "removing it left: $left"
