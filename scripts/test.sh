#!/bin/bash
# Builds and tests all four presets and runs each fuzz target for five seconds, from a bare Debian 12 on. Ends with
# CTest's summary.
set -euo pipefail
cd "$(dirname "$0")/.."

fail()
{
    echo "test.sh: $*" >&2
    exit 1
}

scripts/setup.sh || fail "setting up failed"
echo "== fuzz"
scripts/fuzz.sh 5 || fail "fuzzing failed"
for preset in native-asan native-tsan mingw-debug mingw-release; do
    echo "== $preset"
    cmake --preset "$preset" --log-level=WARNING >/dev/null || fail "configuring $preset failed"
    cmake --build --preset "$preset" -- -j2 --quiet || fail "building $preset failed"
    scripts/ctest.sh "$preset" || fail "tests of $preset failed"
done
