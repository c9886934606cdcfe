#!/usr/bin/env bash
# Drives the real folvane on an X server (run under xvfb-run, with openbox as
# the window manager) over a fresh data folder, and saves screenshots of its
# windows in light and dark to OUT_DIR. Fails when the program does not come
# up, when a window does not appear, when a screenshot is one colour, or when
# Ctrl+Q does not end the program.
#
# Usage: screenshots.sh FOLVANE FOLVANE_CLI OUT_DIR
#
# To add a step: write a function that brings a window up and calls
# `shot NAME WINDOW_ID`, and call it from run_scheme below.
set -euo pipefail

folvane=$1
cli=$2
out=$3
mkdir -p "$out"

work=$(mktemp -d)
app_pid=""
wm_pid=""
cleanup() {
    [ -n "$app_pid" ] && kill "$app_pid" 2>/dev/null || true
    [ -n "$wm_pid" ] && kill "$wm_pid" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

export HOME=$work/home
export XDG_DATA_HOME=$HOME/.local/share XDG_CONFIG_HOME=$HOME/.config
export XDG_RUNTIME_DIR=$work/runtime
export QTWEBENGINE_DISABLE_SANDBOX=1
mkdir -p "$HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
unset QT_QPA_PLATFORM

openbox >/dev/null 2>&1 &
wm_pid=$!

fail() {
    echo "FAIL: $*" >&2
    [ -f "$work/folvane.log" ] && tail -n 30 "$work/folvane.log" >&2
    exit 1
}

# The id of the first visible window whose title matches, waiting up to 30 s.
window_named() {
    local id
    for _ in $(seq 60); do
        id=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -n 1 || true)
        if [ -n "$id" ]; then
            echo "$id"
            return 0
        fi
        [ -n "$app_pid" ] && ! kill -0 "$app_pid" 2>/dev/null && fail "folvane ended early"
        sleep 0.5
    done
    fail "no window named '$1'"
}

# Saves the window as NAME.png and fails when it is a single colour.
shot() {
    local file=$out/$1.png
    sleep "${SETTLE:-2}"
    import -window "$2" "$file"
    local colours
    colours=$(convert "$file" -format %k info:)
    [ "$colours" -gt 1 ] || fail "$file is blank"
    echo "saved $file ($colours colours)"
}

start_app() {
    "$folvane" "$@" >>"$work/folvane.log" 2>&1 &
    app_pid=$!
}

quit_app() {
    # Typed into the focused window, as a user would: Qt ignores sent events.
    xdotool windowactivate --sync "$1" >/dev/null 2>&1 || xdotool windowfocus --sync "$1"
    xdotool key ctrl+q
    for _ in $(seq 20); do
        kill -0 "$app_pid" 2>/dev/null || { wait "$app_pid" || true; app_pid=""; return 0; }
        sleep 0.5
    done
    fail "Ctrl+Q did not end folvane"
}

# Ctrl+F in the chat window finds a phrase in the document beside the chat:
# the viewer paints the matches yellow, the current one selected.
find_in_viewer() {
    xdotool windowactivate --sync "$1" >/dev/null 2>&1 || xdotool windowfocus --sync "$1"
    xdotool key ctrl+f
    xdotool type --delay 20 "proof of work"
    xdotool key Return
    SETTLE=3 shot "viewer-find-$2" "$1"
}

# Ctrl+, in the start window opens the settings; Ctrl+Tab walks its tabs to
# Privacy, whose preview shows what redaction sends. Escape closes it.
settings_tabs() {
    xdotool windowactivate --sync "$1" >/dev/null 2>&1 || xdotool windowfocus --sync "$1"
    xdotool key ctrl+comma
    local settings
    settings=$(window_named "^Settings$")
    shot "settings-window-general-$2" "$settings"
    xdotool windowactivate --sync "$settings" >/dev/null 2>&1 || xdotool windowfocus --sync "$settings"
    for _ in 1 2 3 4 5; do xdotool key ctrl+Tab; done
    shot "settings-window-privacy-$2" "$settings"
    xdotool key Escape
}

run_scheme() {
    local scheme=$1
    "$cli" settings set colorScheme "$scheme" >/dev/null
    start_app
    local start
    start=$(window_named "Welcome to Folvane")
    shot "start-$scheme" "$start"
    settings_tabs "$start" "$scheme"

    # A second launch with a file hands it to the running program, which
    # opens its chat: the demo document brings back the demo chat.
    "$folvane" "$XDG_DATA_HOME/co.tessavel.Folvane/Bitcoin Whitepaper.pdf" \
        >>"$work/folvane.log" 2>&1 || fail "the second launch failed"
    kill -0 "$app_pid" 2>/dev/null || fail "folvane ended after the second launch"
    local chat
    chat=$(window_named "Example Chat")
    SETTLE=5 shot "chat-$scheme" "$chat"
    find_in_viewer "$chat" "$scheme"

    quit_app "$chat"
}

# The first start makes the data folder with the demo chat; opening its file
# again then finds that chat.
"$cli" settings set continueLastConversation true >/dev/null
for scheme in light dark; do
    run_scheme "$scheme"
done

# With none running, `folvane FILE.pdf` (a file manager's "Open With") starts
# with that file's chat.
start_app "$XDG_DATA_HOME/co.tessavel.Folvane/Bitcoin Whitepaper.pdf"
first=$(window_named "Example Chat")
shot "chat-first-launch" "$first"
quit_app "$first"
