#!/usr/bin/env bash
# Runs the pixel-kernel benchmark with repetitions in one process and prints, for
# every kernel and size, each level's median time, its speed-up over the generic
# level and its time relative to a memcpy moving the same bytes. Repetitions are
# interleaved at random, so a burst of load on a shared machine spreads over all
# levels instead of skewing one ratio; times are CPU time, which waiting for a busy
# core does not inflate.
# Usage: scripts/bench-pixel-kernels.sh [build-dir] [repetitions] [benchmark args...]
#   e.g. scripts/bench-pixel-kernels.sh build/release 9 --benchmark_filter=gauss
set -euo pipefail

build=${1:-build/release}
reps=${2:-7}
shift $(( $# < 2 ? $# : 2 ))
bin="$build/bin/pixel_kernels_bench"
if [[ ! -x "$bin" ]]; then
  echo "bench-pixel-kernels: $bin not found; build the pixel_kernels_bench target first" >&2
  exit 1
fi

json=$(mktemp)
trap 'rm -f "$json"' EXIT
"$bin" --benchmark_repetitions="$reps" --benchmark_report_aggregates_only=true \
       --benchmark_min_time=0.1 --benchmark_enable_random_interleaving=true \
       --benchmark_format=json "$@" >"$json"

python3 - "$json" <<'PY'
import json, sys
from collections import defaultdict

runs = json.load(open(sys.argv[1]))["benchmarks"]
median = {}
for r in runs:
    if r.get("aggregate_name") == "median":
        median[r["run_name"]] = r["cpu_time"]  # nanoseconds

order = ["generic", "sse3", "ssse3", "ssse3_movbe", "sse41", "avx", "avx2"]
groups = defaultdict(dict)  # (kernel, size) -> level -> ns
for name, ns in median.items():
    kernel, level, size = name.split("/")
    groups[(kernel, size)][level] = ns

print(f"{'kernel':<26} {'size':<6} {'level':<8} {'median ns':>12} {'x generic':>10} {'/ memcpy':>9}")
for (kernel, size) in sorted(groups, key=lambda k: (k[1] != "row", k[0])):
    levels = groups[(kernel, size)]
    generic, memcpy = levels.get("generic"), levels.get("memcpy")
    for level in order:
        if level not in levels:
            continue
        ns = levels[level]
        speedup = f"{generic / ns:10.2f}" if generic else f"{'-':>10}"
        vs_copy = f"{ns / memcpy:9.2f}" if memcpy else f"{'-':>9}"
        print(f"{kernel:<26} {size:<6} {level:<8} {ns:12.0f} {speedup} {vs_copy}")
PY
