#!/bin/bash
# on_display.sh COMMAND...: runs a command under Wine on a virtual display of its own. A Wine server that was started
# without a display never shows a window, so this one has a prefix of its own too (build/wine-display). Display and
# server end with the command.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/wine_session.sh

finish()
{
    stop_wine
    kill "$display" 2>/dev/null || true
    wait "$display" || true
}

fail()
{
    echo "on_display.sh: $*" >&2
    exit 1
}

command -v Xvfb >/dev/null || fail "Xvfb is not installed: run scripts/setup.sh"
number=$(mktemp)
# However this script ends, the display ends with it.
setpriv --pdeathsig TERM Xvfb -displayfd 3 -screen 0 640x480x24 -nolisten tcp </dev/null >/dev/null 2>&1 3>"$number" &
display=$!
for ((waited = 0; waited < 200; ++waited)); do
    [[ ! -s $number ]] || break
    kill -0 "$display" 2>/dev/null || break
    sleep 0.1
done
DISPLAY=:$(<"$number")
rm -f "$number"
[[ $DISPLAY != : ]] || fail "no virtual display starts"
export DISPLAY

start_wine build/wine-display
trap finish EXIT
"$@" 9>&-
