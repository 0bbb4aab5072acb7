#!/bin/bash
# bench.sh [filter]: builds the benchmarks and runs those whose names match (a regular expression), pinned to one
# processor, nine repetitions in mixed order. Prints medians, spreads and our time divided by the peer's.
set -euo pipefail
cd "$(dirname "$0")/.."

fail()
{
    echo "bench.sh: $*" >&2
    exit 1
}

packages=(libbenchmark-dev libssl-dev libsimpleini-dev libinih-dev)
filter=${1:-.}
out=build/native-release/bench

# The last one: interrupts and the others' work tend to be on the first.
processor()
{
    local allowed
    allowed=$(taskset -cp $$) && echo "${allowed##*[-, ]}"
}

scripts/setup.sh "${packages[@]}" || fail "setting up failed"
cmake --preset native-release --log-level=WARNING >/dev/null || fail "configuring failed"
cmake --build --preset native-release --target kf_benchmarks -- -j2 --quiet || fail "building failed"

rm -rf "$out"
mkdir -p "$out"
where=$(processor) || fail "cannot tell which processors there are"
export LC_ALL=C.UTF-8 TZ=UTC
while read -r name; do
    program=build/native-release/bin/bench_$name
    # A filter that matches nothing in this program is answered with an error.
    "$program" --benchmark_list_tests --benchmark_filter="$filter" 2>/dev/null | grep -q / || continue
    echo "measuring $name" >&2
    taskset -c "$where" "$program" --benchmark_filter="$filter" --benchmark_repetitions=9 --benchmark_min_time=0.1 \
        --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
        --benchmark_out="$out/$name.json" --benchmark_out_format=json >"$out/$name.txt" 2>&1 ||
        { tail -n 20 "$out/$name.txt" >&2; fail "measuring $name failed"; }
done < <(sed -n 's/^kf_bench(\([a-z0-9_]*\) .*/\1/p' bench/CMakeLists.txt)

compgen -G "$out/*.json" >/dev/null || fail "no benchmark matches $filter"
python3 tools/bench_table.py "$out"/*.json
