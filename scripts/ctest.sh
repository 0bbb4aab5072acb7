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
run_ctest()
{
    "${launcher[@]}" ctest --test-dir "build/$preset" -j2 --output-on-failure --no-tests=error "$@"
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

wine_folder=$(dirname "$(dpkg -L wine64 2>/dev/null | grep -E '/wine64$' | head -n 1)")
[[ -x $wine_folder/wine64 ]] || fail "wine64 is not installed: run scripts/setup.sh"
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
export WINESERVER=$wine_folder/wineserver64

# Never inherits our output: a server that holds it keeps every reader of it waiting.
wine()
{
    "$wine_folder/wine64" "$@" </dev/null >/dev/null 2>&1 9>&-
}

set_value()
{
    wine reg add "$1" /v "$2" /t "$3" /d "$4" /f || fail "cannot write $1\\$2 into the Wine prefix"
}

stop_server()
{
    "$WINESERVER" -k </dev/null >/dev/null 2>&1 9>&- || true
}

# One run at a time: the end of one would take the other's server away.
mkdir -p build
exec 9>build/wine.lock
flock 9
trap stop_server EXIT

if [[ ! -f $WINEPREFIX/prepared ]]; then
    stop_server
    rm -rf "$WINEPREFIX"
    fresh=true
fi
mkdir -p "$WINEPREFIX"
"$WINESERVER" -p </dev/null >/dev/null 2>&1 9>&- || fail "the Wine server does not start"
if [[ ${fresh:-} ]]; then
    wine wineboot -i || fail "the Wine prefix cannot be made"
    set_value 'HKCU\Software\Wine' ShowDotFiles REG_SZ Y              # dot names are hidden otherwise
    set_value 'HKCU\Software\Wine\WineDbg' ShowCrashDialog REG_DWORD 0 # a crash ends the program at once
    touch "$WINEPREFIX/prepared"
fi
wine cmd /c exit || fail "no Windows program starts under Wine"

run_ctest "$@" 9>&-
