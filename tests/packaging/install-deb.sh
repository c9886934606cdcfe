#!/usr/bin/env bash
# The release check of the Debian package, on a machine where it may be
# installed and removed (it runs apt-get as root; ctest does not run it):
#   1. apt-get installs the package with its dependencies;
#   2. folvane --version and folvane-cli --help answer from /usr/bin;
#   3. the desktop entry, the metainfo and every icon are in /usr/share;
#   4. xdg-mime makes the entry the default for PDF files and says so;
#   5. the entry, started as a desktop starts it (gio launch), shows a window
#      under Xvfb, and a screenshot of the screen is kept;
#   6. apt-get remove leaves none of the package's files in /usr.
# Each step prints its time. A fresh HOME and XDG folders keep the user's own
# settings, data and keyring out of it.
#
# Usage: sudo tests/packaging/install-deb.sh folvane_0.1.0_amd64.deb [SCREENSHOT.png]
set -uo pipefail
deb=$(realpath "$1")
screenshot=${2:-$PWD/folvane-from-desktop-entry.png}
app_id=co.tessavel.Folvane

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}
step_start=0
step() {
    step_start=$(date +%s.%N)
    echo "== $*"
}
took() {
    printf '   %.1f s\n' "$(echo "$(date +%s.%N) - $step_start" | bc)"
}

tmp=$(mktemp -d)
app_pid=
xvfb_pid=
cleanup() {
    [ -n "$app_pid" ] && kill "$app_pid" 2>/dev/null
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
    rm -rf "$tmp"
}
trap cleanup EXIT
export HOME=$tmp/home XDG_CONFIG_HOME=$tmp/config XDG_DATA_HOME=$tmp/data \
    XDG_CACHE_HOME=$tmp/cache XDG_RUNTIME_DIR=$tmp/runtime
mkdir -p "$HOME" "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"

step "1. apt-get install $deb"
apt-get install -y "$deb" >"$tmp/install.log" 2>&1 || {
    tail -20 "$tmp/install.log" >&2
    fail "apt-get install refused the package"
}
took
dpkg -L folvane >"$tmp/files" 2>/dev/null || fail "dpkg does not know the package"

step "2. the programs in /usr/bin"
[ "$(command -v folvane)" = /usr/bin/folvane ] || fail "folvane is not /usr/bin/folvane"
# Without a display: the version is printed before any window would be made.
version=$(QT_QPA_PLATFORM=offscreen timeout 20 /usr/bin/folvane --version 2>&1) ||
    fail "folvane --version: $version"
echo "   $version"
dpkg_version=$(dpkg-query -W -f '${Version}' folvane)
grep -q "$dpkg_version" <<<"$version" || fail "folvane --version does not say $dpkg_version"
/usr/bin/folvane-cli --help >"$tmp/help" 2>&1 || fail "folvane-cli --help failed"
grep -q "reprocess" "$tmp/help" || fail "folvane-cli --help lists no commands"
took

step "3. the entry, the metainfo and the icons"
for file in /usr/share/applications/$app_id.desktop /usr/share/metainfo/$app_id.metainfo.xml \
    /usr/share/icons/hicolor/scalable/apps/$app_id.svg; do
    [ -f "$file" ] || fail "$file is missing"
done
for size in 16 22 24 32 48 64 128 256 512; do
    [ -f "/usr/share/icons/hicolor/${size}x${size}/apps/$app_id.png" ] || fail "no ${size}px icon"
done
desktop-file-validate /usr/share/applications/$app_id.desktop || fail "the installed entry is refused"
took

step "4. xdg-mime: the default for PDF files"
xdg-mime default $app_id.desktop application/pdf
default=$(xdg-mime query default application/pdf)
echo "   application/pdf -> $default"
[ "$default" = "$app_id.desktop" ] || fail "xdg-mime query says '$default'"
took

step "5. the desktop entry starts a window under Xvfb"
display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
export DISPLAY=$display QT_QPA_PLATFORM=xcb
unset WAYLAND_DISPLAY
sleep 1
# gio launch starts the entry's Exec line as a file manager would, and returns.
gio launch /usr/share/applications/$app_id.desktop >"$tmp/app.log" 2>&1 ||
    fail "gio launch could not start the entry"
window=
for _ in $(seq 1 60); do
    window=$(xdotool search --onlyvisible --class Folvane 2>/dev/null | head -1)
    [ -n "$window" ] && break
    sleep 0.5
done
took
app_pid=$(pgrep -n -x folvane)
if [ -n "$window" ]; then
    echo "   window $window: $(xdotool getwindowname "$window")"
    sleep 2 # let the first paint land
    import -window root "$screenshot" && echo "   screenshot: $screenshot"
else
    fail "no Folvane window appeared within 30 s"
    cat "$tmp/app.log" >&2
fi
[ -n "$app_pid" ] && kill "$app_pid" && wait "$app_pid" 2>/dev/null
app_pid=

step "6. apt-get remove"
apt-get remove -y folvane >"$tmp/remove.log" 2>&1 || fail "apt-get remove failed"
took
while read -r path; do
    case "$path" in /usr/*) ;; *) continue ;; esac
    # Directories such as /usr/share/icons belong to others too.
    if [ -e "$path" ] && [ ! -d "$path" ]; then fail "left behind: $path"; fi
done <"$tmp/files"
leftovers=$(find /usr -path '*folvane*' -o -name "$app_id*" 2>/dev/null)
[ -z "$leftovers" ] || fail "left behind in /usr: $leftovers"

if [ "$failures" -gt 0 ]; then
    echo "$failures install check(s) failed" >&2
    exit 1
fi
echo "install-deb: installed, launched from its entry and removed cleanly"
