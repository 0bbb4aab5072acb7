#!/bin/bash
# The main job, watched: one server and two workers, which share a farm.conf, render an animation on this machine, and
# one worker is killed in the middle; a third, which knows a wrong password, is refused. Leaves frames, contact sheet,
# logs and the completed farm.conf in build/demo. From a bare Debian 12 on.
set -euo pipefail
cd "$(dirname "$0")/.."

frames=${FRAMES:-24}
out=build/demo

fail()
{
    echo "demo.sh: $*" >&2
    exit 1
}

# Waits up to 60 seconds for a command to succeed while the server runs.
wait_for()
{
    local i
    for ((i = 0; i < 600; i++)); do
        "$@" && return
        kill -0 "$server" 2>/dev/null || fail "the server has ended early; see $out/farm_server.log"
        sleep 0.1
    done
    fail "waited too long for: $*"
}

frames_done()
{
    find "$out" -maxdepth 1 -name 'frame.*.png' | wc -l
}

a_quarter_is_done()
{
    (($(frames_done) * 4 >= frames))
}

# worker NAME PASSWORD: in the background. A variable, since everyone can read a command line.
worker()
{
    FARM_PASSWORD=$2 "${wine[@]}" "$programs/farm_worker.exe" --config "$out/farm.conf" --port "$port" --name "$1" \
        --log-folder "$out" </dev/null >"$out/$1.out" 2>&1 9>&- &
}

scripts/setup.sh || fail "setting up failed"
echo "building the farm"
cmake --preset mingw-release --log-level=WARNING >/dev/null || fail "configuring failed"
cmake --build --preset mingw-release --target farm_server farm_worker farm_render -- -j2 --quiet || fail "building failed"
. scripts/wine_session.sh
start_wine || fail "no Wine to run the programs with"

programs=build/mingw-release/bin
rm -rf "$out"
mkdir -p "$out"
cat >"$out/farm.conf" <<EOF
# The demo's job. The programs add what is missing and leave these lines alone.
[job]
frames = $frames
width = 320
height = 180
EOF
password=$(od -An -N16 -tx1 /dev/urandom | tr -d ' \n')
printf '%s\n' "$password" | "${wine[@]}" "$programs/farm_server.exe" --config "$out/farm.conf" --set-password 9>&- ||
    fail "no password could be set"
"${wine[@]}" "$programs/farm_server.exe" --config "$out/farm.conf" --output "$out" --port-file "$out/port" \
    --progress live </dev/null 9>&- &
server=$!
wait_for test -s "$out/port"
port=$(tr -d '\r\n' <"$out/port")
worker eve "not-$password"
refused=0
wait $! || refused=$?
worker ada "$password"
ada=$!
worker bob "$password"
bob=$!
wait_for a_quarter_is_done
kill -9 "$bob"
{ wait "$bob" || true; } 2>/dev/null
code=0
wait "$server" || code=$?
wait "$ada" || true

((code == 0)) || fail "the server ended with code $code; see $out/farm_server.log"
(($(frames_done) == frames)) || fail "only $(frames_done) of $frames frames are there"
[[ -s $out/contact-sheet.png ]] || fail "there is no contact sheet"
grep -q "^frames = $frames" "$out/farm.conf" || fail "$out/farm.conf has lost its lines"
grep -q '^threads = ' "$out/farm.conf" || fail "$out/farm.conf was not completed"
grep -q '^job: ' "$out/ada.out" || fail "worker ada was not told the job"
((refused == 6)) || fail "worker eve, who has a wrong password, ended with code $refused"
grep -q 'worker eve .* is refused: wrong password' "$out/farm_server.log" || fail "the log does not say that eve was refused"
! grep -rqFf <(printf '%s\n' "$password") "$out" || fail "the password stands in a file of $out"
echo "worker bob was killed in the middle, and eve refused; all $frames frames are there: $out/contact-sheet.png"
