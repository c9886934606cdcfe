#!/usr/bin/env bash
# The browser's PDF by the global shortcut's command, end to end on an X
# server (run under xvfb-run): a real windowed Chromium shows a PDF served
# from the loopback; `folvane --activate` with no instance running starts,
# reads Chromium's window in front, asks its DevTools port for the tab,
# downloads the PDF into the home folder and opens its chat. A second
# `folvane --activate` goes to the running instance and downloads it again
# beside the first, under a dated name. Saves a screenshot of the chat to
# OUT_DIR/browser-tab-chat.png.
#
# Usage: browser-tab.sh FOLVANE FOLVANE_CLI PDF OUT_DIR
set -euo pipefail

folvane=$1
cli=$2
pdf=$3
out=$4
mkdir -p "$out"

work=$(mktemp -d)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT

export HOME=$work/home
export XDG_DATA_HOME=$HOME/.local/share XDG_CONFIG_HOME=$HOME/.config
export XDG_RUNTIME_DIR=$work/runtime
export QTWEBENGINE_DISABLE_SANDBOX=1
mkdir -p "$HOME" "$XDG_RUNTIME_DIR" "$work/site"
chmod 700 "$XDG_RUNTIME_DIR"
unset QT_QPA_PLATFORM WAYLAND_DISPLAY XDG_SESSION_TYPE

fail() {
    echo "FAIL: $*" >&2
    for log in folvane.log chromium.log; do
        [ -s "$work/$log" ] && { echo "--- $log" >&2; tail -n 30 "$work/$log" >&2; }
    done
    exit 1
}

started=$(date +%s%N)
elapsed() { local ms=$((($(date +%s%N) - started) / 1000000)); printf '%d.%d' $((ms / 1000)) $((ms % 1000 / 100)); }
step() { echo "[$(elapsed) s] $*"; }

openbox >/dev/null 2>&1 &
pids+=($!)

# The PDF from the loopback, on a port the kernel picks.
cp "$pdf" "$work/site/paper.pdf"
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
python3 -m http.server --bind 127.0.0.1 --directory "$work/site" "$port" >"$work/http.log" 2>&1 &
pids+=($!)
url=http://127.0.0.1:$port/paper.pdf
for _ in $(seq 50); do
    curl -sfI "$url" >/dev/null 2>&1 && break
    sleep 0.2
done
curl -sfI "$url" | grep -qi '^content-type: application/pdf' || fail "the loopback server does not serve $url as a PDF"
step "serving $url"

# The first visible window that xdotool's search finds with these criteria,
# waiting up to 30 s. (Its own --sync can die on a window that goes while it
# looks, as Chromium's first windows do.)
visible_window() {
    local id
    for _ in $(seq 60); do
        id=$(xdotool search --onlyvisible "$@" 2>/dev/null | head -n 1 || true)
        [ -n "$id" ] && { echo "$id"; return 0; }
        sleep 0.5
    done
    return 1
}

profile=$HOME/.config/chromium
chromium --no-sandbox --disable-gpu --no-first-run --disable-background-networking \
    --disable-component-update --disable-sync --disable-features=Translate \
    --remote-debugging-port=0 --user-data-dir="$profile" "$url" >"$work/chromium.log" 2>&1 &
chromium_pid=$!
pids+=("$chromium_pid")
for _ in $(seq 120); do
    [ -s "$profile/DevToolsActivePort" ] && break
    kill -0 "$chromium_pid" 2>/dev/null || fail "chromium ended early"
    sleep 0.25
done
[ -s "$profile/DevToolsActivePort" ] || fail "chromium wrote no DevToolsActivePort in 30 s"
browser=$(visible_window --class chromium) || fail "no chromium window in 30 s"
step "chromium up, window $browser ($(xprop -id "$browser" WM_CLASS | cut -d= -f2))"

activate_browser() {
    xdotool windowactivate --sync "$browser" >/dev/null 2>&1 || fail "cannot bring chromium to the front"
    local active
    active=$(xdotool getactivewindow)
    [ "$active" = "$browser" ] || fail "chromium is not in front (window $active is)"
}

# Waits up to $2 s for a file in $HOME whose name matches the pattern $1.
wait_for_download() {
    local pattern=$1 limit=$2 found
    for _ in $(seq $((limit * 4))); do
        found=$(find "$HOME" -maxdepth 1 -type f -name "$pattern" | head -n 1)
        if [ -n "$found" ] && cmp -s "$found" "$pdf"; then
            echo "$found"
            return 0
        fi
        sleep 0.25
    done
    return 1
}

activate_browser
"$folvane" --activate >>"$work/folvane.log" 2>&1 &
app_pid=$!
pids+=("$app_pid")
first=$(wait_for_download paper.pdf 60) || fail "no paper.pdf in the home folder in 60 s"
step "downloaded $first"
chat=""
for _ in $(seq 120); do
    kill -0 "$app_pid" 2>/dev/null || fail "folvane ended"
    chat=$("$cli" chats 2>/dev/null | grep -w paper || true)
    [ -n "$chat" ] && break
    sleep 0.5
done
[ -n "$chat" ] || fail "folvane-cli chats lists no chat for paper.pdf in 60 s"
step "chat listed: $chat"
chat_window=$(visible_window --all --pid "$app_pid" --name '^paper ') ||
    fail "no window of folvane named after paper.pdf in 30 s"
step "chat window $chat_window: $(xdotool getwindowname "$chat_window")"
sleep 3
import -window root "$out/browser-tab-chat.png"
colours=$(convert "$out/browser-tab-chat.png" -format %k info:)
[ "$colours" -gt 1 ] || fail "the screenshot is blank"
step "saved $out/browser-tab-chat.png ($colours colours)"

# The second time the running instance takes it: a dated copy beside the first.
activate_browser
timeout 20 "$folvane" --activate >>"$work/folvane.log" 2>&1 ||
    fail "the second folvane --activate did not hand over to the running one and end"
kill -0 "$app_pid" 2>/dev/null || fail "folvane ended after the second --activate"
second=$(wait_for_download 'paper.pdf-[0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]-[0-9][0-9]-[0-9][0-9]-[0-9][0-9]' 60) ||
    fail "no paper.pdf-YYYY-MM-DD-HH-MM-SS in the home folder in 60 s ($(ls "$HOME"))"
step "downloaded again: $second"
echo "PASS"
