#!/usr/bin/env bash
# Configures (once) and builds one build tree. Usage: tools/build.sh DIR [cmake options...]
set -euo pipefail
dir=$1
shift
mkdir -p "$dir"
if [ ! -f "$dir/build.ninja" ]; then
    cmake -S . -B "$dir" -G Ninja "$@" >"$dir/configure.log" 2>&1 || {
        cat "$dir/configure.log" >&2
        exit 1
    }
fi
cmake --build "$dir" -- -j"$(nproc)" >"$dir/build.log" 2>&1 || {
    tail -n 80 "$dir/build.log" >&2
    echo "Build failed; the whole log is in $dir/build.log" >&2
    exit 1
}
