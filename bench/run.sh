#!/usr/bin/env bash
# Builds the benchmarks in release mode and runs them all.
#   bench/run.sh [--benchmark_filter=REGEX ...]
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh
bash tools/build.sh build-bench -DCMAKE_BUILD_TYPE=Release -DFOLVANE_BUILD_BENCHMARKS=ON \
    -DFOLVANE_BUILD_TESTS=OFF
for program in build-bench/bin/*Bench; do
    [ -x "$program" ] || continue
    echo "== $(basename "$program")"
    "$program" "$@"
done
