#!/bin/bash
# fuzz.sh SECONDS [target...]: builds the fuzz targets and runs each, or those named, for so many seconds, two at a
# time. Starts from fuzz/corpus/TARGET and from what earlier runs found, which stays in build/fuzz/corpus-TARGET.
# Inputs that break something land in build/fuzz/crashes; then the exit code is not 0.
set -euo pipefail
cd "$(dirname "$0")/.."

fail()
{
    echo "fuzz.sh: $*" >&2
    exit 1
}

[[ ${1-} =~ ^[1-9][0-9]*$ ]] || fail "for how many seconds? scripts/fuzz.sh SECONDS [target...]"
seconds=$1
shift
targets=("$@")
out=build/fuzz

known_targets()
{
    sed -n 's/^kf_fuzz(\([a-z0-9_]*\) .*/\1/p' fuzz/CMakeLists.txt
}

# Runs one target and leaves its line of the table in results.
run_target()
{
    local name=$1 log=$out/logs/$1.txt code=0 runs units result=clean
    mkdir -p "$out/corpus-$name"
    "$out/bin/fuzz_$name" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$out/crashes/$name-" "$out/corpus-$name" "fuzz/corpus/$name" >"$log" 2>&1 || code=$?
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    units=$(sed -n 's/^stat::new_units_added: *//p' "$log")
    # A target that did not run is no clean one, whatever its exit code.
    ((code == 0 && ${runs:-0} > 0)) || result="FAILED, see $log"
    printf '%-22s %12s %10s  %s\n' "$name" "${runs:--}" "${units:--}" "$result" >"$out/results/$name"
}

scripts/setup.sh || fail "setting up failed"
((${#targets[@]})) || mapfile -t targets < <(known_targets)
for name in "${targets[@]}"; do
    [[ -d fuzz/corpus/$name ]] || fail "there is no fuzz/corpus/$name"
done
cmake --preset fuzz --log-level=WARNING >/dev/null || fail "configuring failed"
cmake --build --preset fuzz --target "${targets[@]/#/fuzz_}" -- -j2 --quiet || fail "building failed"

rm -rf "${out:?}/results"
mkdir -p "$out/logs" "$out/results" "$out/crashes"
export LC_ALL=C.UTF-8 TZ=UTC UBSAN_OPTIONS=print_stacktrace=1
for name in "${targets[@]}"; do
    while (($(jobs -rp | wc -l) >= 2)); do
        wait -n
    done
    run_target "$name" &
done
wait

printf '%-22s %12s %10s  %s\n' target runs 'new units' result
cat "${targets[@]/#/$out/results/}"
if grep -q FAILED "${targets[@]/#/$out/results/}"; then
    fail "not every target ran clean; inputs that break something lie in $out/crashes"
fi
