#!/bin/bash
# ctest.sh PRESET [ctest arguments...]: runs a built preset's tests. Windows programs run under Wine, with one
# warm server and a prefix of this work tree's own (build/wine).
set -euo pipefail
cd "$(dirname "$0")/.."

fail()
{
    echo "ctest.sh: $*" >&2
    exit 1
}

[[ $# -ge 1 ]] || fail "which preset? mingw-release, mingw-debug, native-asan or native-tsan"
preset=$1
shift
[[ -f build/$preset/CTestTestfile.cmake ]] || fail "build/$preset is not configured: cmake --preset $preset && cmake --build --preset $preset"

launcher=()
jobs=2
run_ctest()
{
    "${launcher[@]}" ctest --test-dir "build/$preset" -j$jobs --output-on-failure --no-tests=error "$@"
}

export LC_ALL=C.UTF-8 TZ=UTC
unset DISPLAY

if [[ $preset != mingw-* ]]; then
    # ThreadSanitizer of this compiler cannot place its memory when addresses are random in more than 28 bits.
    if [[ $preset == native-tsan && $(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 28) -gt 28 ]]; then
        launcher=(setarch -R)
    fi
    run_ctest "$@"
    exit
fi

. scripts/wine_session.sh
start_wine || fail "no Wine to run the tests with"
launcher=("${fixed_addresses[@]}")
jobs=3 # they wait more than they work
run_ctest "$@" 9>&-
