#!/usr/bin/env bash
# Configures (once) and builds one build tree.
# Usage: tools/build.sh DIR [cmake options...] [--targets TARGET...]
# Without --targets, everything is built.
set -euo pipefail
dir=$1
shift
options=()
targets=()
while [ $# -gt 0 ]; do
    if [ "$1" = --targets ]; then
        shift
        targets=("$@")
        break
    fi
    options+=("$1")
    shift
done
mkdir -p "$dir"
if [ ! -f "$dir/build.ninja" ]; then
    cmake -S . -B "$dir" -G Ninja "${options[@]}" >"$dir/configure.log" 2>&1 || {
        cat "$dir/configure.log" >&2
        exit 1
    }
fi
cmake --build "$dir" ${targets[@]:+--target "${targets[@]}"} -- -j"$(nproc)" >"$dir/build.log" 2>&1 || {
    tail -n 80 "$dir/build.log" >&2
    echo "Build failed; the whole log is in $dir/build.log" >&2
    exit 1
}
