#!/usr/bin/env bash
# Installs what is missing, builds, and starts Folvane.
#   ./run.sh [FILE.pdf...]  the application
#   ./run.sh --cli ARGS   the command-line front end
set -euo pipefail
cd "$(dirname "$0")"
bash tools/install-deps.sh >&2
bash tools/build.sh build >&2

if [ "${1:-}" = "--cli" ]; then
    shift
    exec build/bin/folvane-cli "$@"
fi
exec build/bin/folvane "$@"
