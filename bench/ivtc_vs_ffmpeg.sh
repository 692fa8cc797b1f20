#!/bin/bash
# Inverse telecine beside ffmpeg's fieldmatch+decimate on the same 1080p 2:3 pulldown.
# Usage: bench/ivtc_vs_ffmpeg.sh [build dir, default build/release] [pictures, default 300]
# Needs the ivtc_bench target built; without ffmpeg only the converter is measured.
set -euo pipefail
build=${1:-build/release}
frames=${2:-300}
bench="$build/bin/ivtc_bench"
[ -x "$bench" ] || { echo "ivtc_bench not found in $build/bin: build the ivtc_bench target first" >&2; exit 1; }

"$bench" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
  --benchmark_format=json --benchmark_out=/dev/stdout --benchmark_out_format=json 2>/dev/null >"${TMPDIR:-/tmp}/ivtc_bench.$$.json"
ours=$(python3 - "${TMPDIR:-/tmp}/ivtc_bench.$$.json" <<'PY'
import json, sys
runs = json.load(open(sys.argv[1]))["benchmarks"]
for r in runs:
    if r.get("aggregate_name") == "median":
        print(r["run_name"], "%.1f" % r["frames_per_s"])
PY
)
rm -f "${TMPDIR:-/tmp}/ivtc_bench.$$.json"
echo "converter, median frames/s:"
echo "$ours" | sed 's/^/  /'

if ! command -v ffmpeg >/dev/null; then
  echo "ffmpeg not installed: no comparison"
  exit 0
fi
input=$(mktemp "${TMPDIR:-/tmp}/ivtc_input.XXXXXX.yuv")
trap 'rm -f "$input"' EXIT
"$bench" --dump-input="$input" --frames="$frames"
# -benchmark prints "bench: utime=..s stime=..s rtime=..s"; the file is in the page
# cache after the first read, so the second run measures the filters.
run_ffmpeg() {
  ffmpeg -hide_banner -nostdin -benchmark -f rawvideo -pix_fmt yuv420p -s 1920x1080 -r 30000/1001 -i "$input" \
    -vf fieldmatch,decimate -f null - 2>&1 | sed -n 's/.*rtime=\([0-9.]*\)s.*/\1/p'
}
run_ffmpeg >/dev/null
rtime=$(run_ffmpeg)
ffmpeg_fps=$(python3 -c "print('%.1f' % ($frames / $rtime))")
ours_1080=$(echo "$ours" | awk '$1 ~ /1920x1080/ {print $2}')
echo "ffmpeg fieldmatch+decimate 1920x1080: $ffmpeg_fps frames/s ($frames pictures in ${rtime}s)"
python3 -c "print('ratio converter / ffmpeg at 1080p: %.1fx' % ($ours_1080 / $ffmpeg_fps))"
