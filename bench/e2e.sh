#!/bin/bash
# The demo's splice job on files, done by ffmpeg and by introoutro in one run, with
# `cat` on the same input bytes as the floor: an intro 1280x720 at 25 fps and an outro
# 1280x720 at 24 fps, conformed to a main source of 1920x1080 at 30000/1001, Y4M in,
# Y4M out to /dev/null, in 4:2:0 and again in 4:2:2. Prints median times, output
# frames/s, minor page faults per frame, the cores kept busy (user+system CPU time over
# wall time) and the ratios.
# First the main-source share alone beside `cat` of the same bytes: the main source
# with a one-frame intro that the filter passes through unconverted, which needs a
# whole-number rate, so this part runs on the main pictures under a 30 fps header.
# Usage: bench/e2e.sh [build dir, default build/release] [main seconds, default 10] [runs, default 5]
set -euo pipefail
build=${1:-build/release}
main_seconds=${2:-10}
runs=${3:-5}
program="$build/bin/introoutro"
[ -x "$program" ] || { echo "$program not found: build the introoutro target first" >&2; exit 1; }
command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed (scripts/install-deps.sh --reference)" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/introoutro-e2e.XXXXXX")
trap 'rm -rf "$work"' EXIT
clip() {  # name size rate seconds source pixel-format
  ffmpeg -nostdin -v error -f lavfi -i "$5=size=$2:rate=$3" -t "$4" -pix_fmt "$6" -f yuv4mpegpipe "$work/$1.y4m"
}
for f in 420 422; do
  clip intro$f 1280x720 25 3 testsrc2 yuv${f}p
  clip main$f 1920x1080 30000/1001 "$main_seconds" testsrc yuv${f}p
  clip outro$f 1280x720 24 3 smptebars yuv${f}p
done
clip one30 1920x1080 30 0.02 testsrc2 yuv420p
{ head -n 1 "$work/main420.y4m" | sed 's/ F30000:1001 / F30:1 /'; tail -n +2 "$work/main420.y4m"; } > "$work/main30.y4m"

python3 - "$work" "$program" "$runs" <<'PY'
import re, resource, statistics, subprocess, sys, time

work, program, runs = sys.argv[1], sys.argv[2], int(sys.argv[3])
one30, main30 = (f"{work}/{n}.y4m" for n in ("one30", "main30"))

def frames_out(args):
    run = subprocess.run(args[:-1], stderr=subprocess.PIPE, stdout=subprocess.DEVNULL)
    err = run.stderr.decode()
    if run.returncode != 0:
        sys.exit(f"{' '.join(args[:-1])} failed:\n{err}")
    return int(re.search(r"(\d+) frames out", err).group(1))

# Repetitions interleaved, so that a noisy neighbour slows every job alike; medians of
# wall time, minor page faults and cores used (CPU time over wall time).
def measure(jobs):
    samples = {name: [] for name in jobs}
    for _ in range(runs):
        for name, args in jobs.items():
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            start = time.perf_counter()
            subprocess.run(args, stdout=subprocess.DEVNULL, check=True)
            seconds = time.perf_counter() - start
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            cpu = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
            samples[name].append((seconds, after.ru_minflt - before.ru_minflt, cpu / seconds))
    return {name: tuple(statistics.median(s[i] for s in v) for i in range(3)) for name, v in samples.items()}

def show(name, figures, frames):
    seconds, faults, cores = figures
    print(f"  {name:12s} {seconds:7.3f} s  {frames / seconds:7.0f} frames/s  {faults / frames:8.2f} minor faults/frame"
          f"  {cores:5.2f} cores", flush=True)

share = {
    "introoutro": [program, "--intro", one30, "--main", main30, "-o", "/dev/null", "-q"],
    "cat": ["cat", main30],
}
main_frames = frames_out(share["introoutro"]) - 1
m = measure(share)
print(f"main-source share: {main_frames} frames (1920x1080 4:2:0), median of {runs} runs")
for name in share:
    show(name, m[name], main_frames)
print(f"  introoutro takes {m['introoutro'][0] / m['cat'][0]:.2f}x the time of cat (target: 1.5x or less)", flush=True)

for sampling in ("420", "422"):
    intro, main, outro = (f"{work}/{n}{sampling}.y4m" for n in ("intro", "main", "outro"))
    splice = {
        "ffmpeg": ["ffmpeg", "-nostdin", "-v", "error", "-i", intro, "-i", main, "-i", outro, "-filter_complex",
                   "[0:v]fps=30000/1001,scale=1920:1080[a];[2:v]fps=30000/1001,scale=1920:1080[c];"
                   "[a][1:v][c]concat=n=3:v=1:a=0[v]", "-map", "[v]", "-f", "yuv4mpegpipe", "-y", "/dev/null"],
        "introoutro": [program, "--intro", intro, "--main", main, "--outro", outro, "-o", "/dev/null", "-q"],
        "cat": ["cat", intro, main, outro],
    }
    spliced = frames_out(splice["introoutro"])
    s = measure(splice)
    print(f"splice job: {spliced} output frames (1920x1080 4:{sampling[1]}:{sampling[2]}), median of {runs} runs")
    for name in splice:
        show(name, s[name], spliced)
    print(f"  introoutro is {s['ffmpeg'][0] / s['introoutro'][0]:.2f}x as fast as ffmpeg (target: 2x or more)")
    print(f"  introoutro takes {s['introoutro'][0] / s['cat'][0]:.2f}x the time of cat on the same input bytes",
          flush=True)
PY
