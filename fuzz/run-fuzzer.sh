#!/usr/bin/env bash
# Builds the wire fuzzer with clang and libFuzzer (ASan + UBSan) and runs it for
# a bounded time. Usage: run-fuzzer.sh SOURCE_DIR WORK_DIR [SECONDS]
# Exits 77 (skipped) when clang++-14 or libFuzzer is not installed.
set -euo pipefail
src=$1
work=$2
seconds=${3:-20}
compiler=$(command -v clang++-14 || true)
if [ -z "$compiler" ]; then
    echo "clang++-14 is not installed; skipping"
    exit 77
fi
mkdir -p "$work/corpus"
binary="$work/wire-fuzzer"
sources=(
    "$src/fuzz/WireFuzzer.cpp"
    "$src/src/providers/APIErrorResponse.cpp"
    "$src/src/providers/AudioQueries.cpp"
    "$src/src/providers/Chat.cpp"
    "$src/src/providers/ChatResult.cpp"
    "$src/src/providers/ChatStreamResult.cpp"
    "$src/src/providers/DecodingError.cpp"
    "$src/src/providers/EmbeddingsQuery.cpp"
    "$src/src/providers/ModelsResult.cpp"
    "$src/src/providers/StreamingSession.cpp"
    "$src/src/providers/Utf8.cpp"
)
stale=0
if [ ! -x "$binary" ]; then stale=1; fi
for file in "${sources[@]}" "$src"/src/providers/*.h "$src/src/platform/HttpClient.h"; do
    if [ "$file" -nt "$binary" ]; then stale=1; fi
done
if [ "$stale" = 1 ]; then
    if ! echo 'extern "C" int LLVMFuzzerTestOneInput(const char*, unsigned long) { return 0; }' |
        "$compiler" -x c++ -fsanitize=fuzzer - -o "$work/probe" 2>/dev/null; then
        echo "libFuzzer (libclang-rt-14-dev) is not installed; skipping"
        exit 77
    fi
    flags=(-std=c++20 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined)
    objects=()
    pids=()
    for file in "${sources[@]}"; do
        object="$work/$(basename "$file" .cpp).o"
        objects+=("$object")
        "$compiler" "${flags[@]}" -I "$src/src" -c "$file" -o "$object" &
        pids+=($!)
    done
    for pid in "${pids[@]}"; do wait "$pid"; done
    "$compiler" "${flags[@]}" "${objects[@]}" -o "$binary"
fi
cp -n "$src"/fuzz/corpus/* "$work/corpus/" 2>/dev/null || true
"$binary" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    "$work/corpus"
