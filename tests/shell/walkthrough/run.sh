#!/usr/bin/env bash
# Runs the walkthrough in its own D-Bus session on its own X server. A failed
# run is tried once more from the start: on a loaded machine the desktop's
# accessibility bus and the window manager under Xvfb are, once in a while,
# too slow to settle. Each failure prints its step and the program's log.
#
# Usage: run.sh FOLVANE FOLVANE_CLI OUT_DIR
#
# Each attempt has a deadline. `timeout` runs it in a process group of its own
# and, at the deadline, ends the whole group: the program, its web engine's
# processes, the X server and the buses, so that nothing is left holding the
# test's output open.
here=$(cd "$(dirname "$0")" && pwd)
deadline=${WALKTHROUGH_DEADLINE:-240}
for attempt in 1 2; do
    timeout -k 10 "$deadline" dbus-run-session -- xvfb-run -a -s "-screen 0 1400x900x24" \
        bash "$here/walkthrough.sh" "$@" </dev/null && exit 0
    echo "walkthrough: attempt $attempt failed" >&2
done
exit 1
