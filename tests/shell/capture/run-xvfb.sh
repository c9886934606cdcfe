#!/usr/bin/env bash
# Runs a window test on the X server that xvfb-run started, with a window
# manager, as on a desktop: the screenshot overlay needs a real screen to
# freeze and a pointer that xdotool moves.
#
# Usage: run-xvfb.sh PROGRAM [ARGUMENTS...]
unset QT_QPA_PLATFORM
openbox >/dev/null 2>&1 &
wm=$!
for _ in $(seq 50); do
    xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q "window id" && break
    sleep 0.1
done
"$@"
status=$?
kill "$wm" 2>/dev/null
wait "$wm" 2>/dev/null
exit $status
