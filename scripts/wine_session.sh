# Sourced, not run: one warm Wine server in a prefix of this work tree's own (build/wine).
#
#     . scripts/wine_session.sh
#     start_wine            # fails with a line on standard error; ends with the calling script
#     start_wine PREFIX     # the same in another prefix and on the display that DISPLAY names
#     "${wine[@]}" program.exe

wine_fail()
{
    echo "wine: $*" >&2
    return 1
}

# Wine's loader and its heap are to lie where they always do. The heap lies at random in the gigabyte above the loader
# otherwise, and once in some 8,000 starts it takes the place of the page that all programs share: the program ends
# before it begins, without a word, and whoever started it gets error 1359.
if setarch -R true 2>/dev/null; then
    fixed_addresses=(setarch -R)
else
    fixed_addresses=()
fi

# Never inherits our output: a server that holds it keeps every reader of it waiting.
quiet_wine()
{
    "${wine[@]}" "$@" </dev/null >/dev/null 2>&1 9>&-
}

set_wine_value()
{
    quiet_wine reg add "$1" /v "$2" /t "$3" /d "$4" /f || wine_fail "cannot write $1\\$2 into the prefix"
}

stop_wine()
{
    "$WINESERVER" -k </dev/null >/dev/null 2>&1 9>&- || true
}

start_server()
{
    "$WINESERVER" -p </dev/null >/dev/null 2>&1 9>&- || wine_fail "the server does not start"
}

start_wine()
{
    local folder fresh= prefix=${1:-build/wine}
    folder=$(dirname "$(dpkg -L wine64 2>/dev/null | grep -E '/wine64$' | head -n 1)")
    wine=("${fixed_addresses[@]}" "$folder/wine64")
    [[ -x $folder/wine64 ]] || wine_fail "wine64 is not installed: run scripts/setup.sh" || return
    export LC_ALL=C.UTF-8 TZ=UTC
    [[ $# -gt 0 ]] || unset DISPLAY
    export WINEPREFIX=$PWD/$prefix WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
    export WINESERVER=$folder/wineserver64

    # One run at a time: the end of one would take the other's server away.
    mkdir -p build
    exec 9>"$prefix.lock"
    flock 9
    trap stop_wine EXIT

    # A server that was left over would know no display, or another one.
    [[ $# -eq 0 ]] || stop_wine
    if [[ ! -f $WINEPREFIX/prepared ]]; then
        stop_wine
        rm -rf "$WINEPREFIX"
        fresh=true
    fi
    mkdir -p "$WINEPREFIX"
    start_server || return
    if [[ $fresh ]]; then
        quiet_wine wineboot -i || wine_fail "the prefix cannot be made" || return
        # Dot names are hidden otherwise; and a crash ends the program at once.
        set_wine_value 'HKCU\Software\Wine' ShowDotFiles REG_SZ Y || return
        set_wine_value 'HKCU\Software\Wine\WineDbg' ShowCrashDialog REG_DWORD 0 || return
        touch "$WINEPREFIX/prepared"
        # Making a prefix leaves two service managers that take turns in answering; a server started anew has one.
        stop_wine
        start_server || return
    fi
    quiet_wine cmd /c exit || wine_fail "no Windows program starts"
}
