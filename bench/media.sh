#!/bin/bash
# The same three-file splice of compressed files by introoutro and by the ffmpeg
# program (fps, scale, concat), in one interleaved run: an H.264 intro 1280x720 at 25
# fps, an H.264 main source 1920x1080 at 30000/1001 and an H.264 outro 1280x720 at 24
# fps, into an H.264 mp4 with the same encoder settings (libx264, crf 18, preset
# medium, 4:2:0). Prints median wall time, output frames/s and peak resident memory
# of each, and the time ratio.
# Usage: bench/media.sh [build dir, default build/release] [main seconds, default 5] [runs, default 3]
set -euo pipefail
build=${1:-build/release}
main_seconds=${2:-5}
runs=${3:-3}
program="$build/bin/introoutro"
[ -x "$program" ] || { echo "$program not found: build the introoutro target first" >&2; exit 1; }
command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed (scripts/install-deps.sh --reference)" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/introoutro-media.XXXXXX")
trap 'rm -rf "$work"' EXIT
clip() {  # name size rate seconds source
  ffmpeg -nostdin -v error -f lavfi -i "$5=size=$2:rate=$3" -t "$4" -pix_fmt yuv420p -c:v libx264 -crf 18 \
    "$work/$1.mp4"
}
clip intro 1280x720 25 3 testsrc2
clip main 1920x1080 30000/1001 "$main_seconds" testsrc
clip outro 1280x720 24 3 smptebars

python3 - "$work" "$program" "$runs" <<'PY'
import os, re, statistics, subprocess, sys, time

work, program, runs = sys.argv[1], sys.argv[2], int(sys.argv[3])
intro, main, outro = (f"{work}/{n}.mp4" for n in ("intro", "main", "outro"))
x264 = ["-c:v", "libx264", "-crf", "18", "-preset", "medium", "-pix_fmt", "yuv420p"]
jobs = {
    "ffmpeg": ["ffmpeg", "-nostdin", "-v", "error", "-i", intro, "-i", main, "-i", outro, "-filter_complex",
               "[0:v]fps=30000/1001,scale=1920:1080[a];[2:v]fps=30000/1001,scale=1920:1080[c];"
               "[a][1:v][c]concat=n=3:v=1:a=0[v]", "-map", "[v]", *x264, "-y", f"{work}/ffmpeg.mp4"],
    "introoutro": [program, "--intro", intro, "--main", main, "--outro", outro, "-o", f"{work}/introoutro.mp4",
                   "--crf", "18", "--preset", "medium", "-q"],
}

def frames(path):
    out = subprocess.run(["ffprobe", "-v", "error", "-count_packets", "-select_streams", "v:0", "-show_entries",
                          "stream=nb_read_packets", "-of", "csv=p=0", path], capture_output=True, text=True)
    return int(out.stdout.strip())

# One child at a time, its own rusage from wait4: wall time and peak resident memory.
def run(args):
    start = time.perf_counter()
    child = subprocess.Popen(args, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    _, status, usage = os.wait4(child.pid, 0)
    seconds = time.perf_counter() - start
    err = child.stderr.read().decode()
    child.stderr.close()
    if status != 0:
        sys.exit(f"{args[0]} failed:\n{err}")
    return seconds, usage.ru_maxrss / 1024

# Repetitions interleaved, so that a noisy neighbour slows both alike.
samples = {name: [] for name in jobs}
for _ in range(runs):
    for name, args in jobs.items():
        samples[name].append(run(args))
print(f"three-file H.264 splice to H.264 mp4 (libx264 crf 18 medium), median of {runs} runs")
medians = {}
for name in jobs:
    seconds = statistics.median(s for s, _ in samples[name])
    memory = statistics.median(m for _, m in samples[name])
    n = frames(f"{work}/{name}.mp4")
    medians[name] = seconds
    print(f"  {name:10s} {seconds:7.2f} s  {n} frames  {n / seconds:6.1f} frames/s  peak memory {memory:6.0f} MB",
          flush=True)
print(f"  introoutro is {medians['ffmpeg'] / medians['introoutro']:.2f}x as fast as ffmpeg (target: 1x or more)")
PY
