#!/usr/bin/env bash
# Runs a command inside a private D-Bus session with a throw-away HOME and a
# real, unlocked gnome-keyring Secret Service, so that tests use a real secret
# store and never the user's own.
#   with-secret-service.sh COMMAND [ARGS...]
set -euo pipefail

if [ -z "${FOLVANE_INSIDE_TEST_SESSION:-}" ]; then
    export FOLVANE_INSIDE_TEST_SESSION=1
    exec dbus-run-session -- "$0" "$@"
fi

scratch=$(mktemp -d)
trap 'kill "${GNOME_KEYRING_PID:-}" 2>/dev/null || true; rm -rf "$scratch"' EXIT
export HOME=$scratch/home XDG_DATA_HOME=$scratch/home/.local/share XDG_CONFIG_HOME=$scratch/home/.config
export XDG_RUNTIME_DIR=$scratch/run
mkdir -p "$HOME" "$XDG_DATA_HOME" "$XDG_CONFIG_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
eval "$(printf 'test-session-password' | gnome-keyring-daemon --unlock --components=secrets --daemonize | sed 's/^/export /')"
export FOLVANE_TEST_KEYRING_DIR=$XDG_DATA_HOME/keyrings
"$@"
