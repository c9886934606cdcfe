#!/usr/bin/env bash
# Runs walkthrough.py: the real folvane on an X server with the desktop's
# accessibility bus, driven through the accessibility tree as a screen reader
# user or a UI automation tool would. Run under dbus-run-session and xvfb-run.
#
# Usage: walkthrough.sh FOLVANE FOLVANE_CLI OUT_DIR
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT

export HOME=$work/home
export XDG_DATA_HOME=$HOME/.local/share XDG_CONFIG_HOME=$HOME/.config
export XDG_RUNTIME_DIR=$work/runtime
export QTWEBENGINE_DISABLE_SANDBOX=1
# The accessibility bridge starts with the program, as when the desktop's
# screen reader setting is on.
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
mkdir -p "$HOME" "$XDG_RUNTIME_DIR" "$3"
chmod 700 "$XDG_RUNTIME_DIR"
unset QT_QPA_PLATFORM

# The keyring that a desktop session unlocks at login: the API key typed into
# the settings goes there. It must own the Secret Service's name before the
# first start, which would otherwise wake a locked one.
mkdir -p "$XDG_DATA_HOME"
printf walkthrough | gnome-keyring-daemon --foreground --unlock --components=secrets \
    >/dev/null 2>&1 &
pids+=($!)
for _ in $(seq 50); do
    busctl --user --auto-start=no status org.freedesktop.secrets >/dev/null 2>&1 && break
    sleep 0.1
done

/usr/bin/python3 "$here/chat_server.py" "$work/port" "$work/requests.jsonl" &
pids+=($!)
for _ in $(seq 50); do [ -s "$work/port" ] && break; sleep 0.1; done

# The first start makes the data folder with the example chat; the server is a
# custom model that the walkthrough picks in the chat's settings.
"$2" chats >/dev/null
"$2" models add localai --name Loopback --model gpt-4 --context 16000 \
    --endpoint "http://127.0.0.1:$(cat "$work/port")/v1/chat/completions" >/dev/null

openbox >/dev/null 2>&1 &
pids+=($!)
/usr/libexec/at-spi-bus-launcher --launch-immediately >/dev/null 2>&1 &
pids+=($!)
sleep 1

"$1" >"$work/folvane.log" 2>&1 &
pids+=($!)

status=0
# -B: the walkthrough imports the server's key, and leaves no bytecode here.
WORK=$work FOLVANE=$1 SHOTS=$3 /usr/bin/python3 -B "$here/walkthrough.py" || status=$?
if [ "$status" -ne 0 ]; then
    echo "--- folvane's log" >&2
    tail -n 40 "$work/folvane.log" >&2
fi
exit "$status"
