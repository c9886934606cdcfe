#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test.
#   ./test.sh                 all tests (unit, integration, gui)
#   ./test.sh --sanitize      the same under AddressSanitizer + UndefinedBehaviorSanitizer
#   ./test.sh --threads       the unit tests of the threaded subsystems (chat, conversation,
#                             documents, index, runtime) under ThreadSanitizer
#   ./test.sh -L unit         extra arguments go to ctest (here: only the unit tests)
set -euo pipefail
cd "$(dirname "$0")"

dir=build
# The plain build compiles the benchmarks too, so that a change that breaks
# one is seen at once; the sanitizer builds leave them out.
options=(-DFOLVANE_BUILD_BENCHMARKS=ON)
targets=()
ctest_args=()
for arg in "$@"; do
    case "$arg" in
        --sanitize)
            dir=build-sanitize
            options=(-DFOLVANE_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
            ;;
        --threads)
            dir=build-tsan
            options=(-DFOLVANE_THREAD_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
            # Only the programs of those tests are built.
            threaded=(runtime chat conversation documents SimilaritySearchKit)
            targets=("${threaded[@]/%/_unit_tests}")
            ctest_args+=(-L unit -R "^($(IFS='|'; echo "${threaded[*]}"))\\.")
            ;;
        *) ctest_args+=("$arg") ;;
    esac
done

bash tools/install-deps.sh
bash tools/build.sh "$dir" "${options[@]}" ${targets[@]:+--targets "${targets[@]}"}
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$PWD/tests/lsan.supp}
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/tests/tsan.supp}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)" "${ctest_args[@]}"
