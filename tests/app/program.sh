#!/usr/bin/env bash
# program.sh QUORVALE SAMPLEDISK SCREENSHOT FOLDER OWN OTHER: runs the program on a virtual display with a small sample
# disk: it lists programmes, quits when asked to, and saves its settings in the file OWN. The file OTHER next to it stays
# as it was.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../support/shelltest.sh"
program=$1 sampledisk=$2 screenshot=$3 folder=$4 own=$5 other=$6
need app/program Xvfb xdotool import

rm -rf "$folder/config"
mkdir -p "$folder/config/quorvale.org"
export XDG_CONFIG_HOME=$folder/config
settings=$XDG_CONFIG_HOME/quorvale.org/$own
not_its_own=$XDG_CONFIG_HOME/quorvale.org/$other
"$sampledisk" --recordings 3 --length 170 "$folder/disk"
printf '[Main]\nmount_point=%s\n' "$folder/disk" >"$settings"
printf '[Main]\nmount_point=/nowhere\n' >"$not_its_own"
cp "$not_its_own" "$folder/as_it_was"

# The program runs in the background there; its exit code and output go to files here.
cat >"$folder/program" <<SCRIPT
#!/usr/bin/env bash
code=0
"$program" >"$folder/said" 2>&1 || code=\$?
echo \$code >"$folder/code"
SCRIPT
chmod +x "$folder/program"
rm -f "$folder/code" "$folder/window.png"
unset QT_QPA_PLATFORM DISPLAY WAYLAND_DISPLAY
"$screenshot" "$folder/program" "$folder/window.png"

[ -s "$folder/window.png" ] || fail "no picture of the window"
[ "$(cat "$folder/code")" = 0 ] || fail "exit code $(cat "$folder/code")"
# These recordings are too short for most of their pictures, which the scanner reports; any other message is a fault.
said=$(grep -v '^ThumbnailScanner - Could not read frame$' "$folder/said" || true)
[ -z "$said" ] || fail "it said: $said"
grep -q '^dateformat=ymd$' "$settings" || fail "the settings were not saved: $(cat "$settings")"
cmp "$not_its_own" "$folder/as_it_was" || fail "it wrote to $other"
