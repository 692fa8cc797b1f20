#!/bin/bash
# The same three-file splice of compressed files by introoutro and by the ffmpeg
# program (fps, scale, concat), in one interleaved run: an H.264 intro 1280x720 at 25
# fps, an H.264 main source 1920x1080 at 30000/1001 and an H.264 outro 1280x720 at 24
# fps, into an H.264 mp4 with the same encoder settings (libx264, crf 18, preset
# medium, 4:2:0); once pictures only, once with their sound (AAC 44.1 kHz mono,
# 48 kHz 5.1 and 44.1 kHz stereo) joined at 48 kHz 5.1 into AAC 192k (ffmpeg:
# aresample and concat with audio). Prints median wall time, output frames/s and
# peak resident memory of each, and the time ratios.
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
clip() {  # name size rate seconds source sample-rate channel-layout tone
  ffmpeg -nostdin -v error -f lavfi -i "$5=size=$2:rate=$3" -f lavfi -i "sine=f=$8:r=$6" -t "$4" \
    -pix_fmt yuv420p -c:v libx264 -crf 18 -af "aformat=channel_layouts=$7" -c:a aac "$work/$1.mp4"
}
clip intro 1280x720 25 3 testsrc2 44100 mono 440
clip main 1920x1080 30000/1001 "$main_seconds" testsrc 48000 5.1 1000
clip outro 1280x720 24 3 smptebars 44100 stereo 2500

python3 - "$work" "$program" "$runs" <<'PY'
import os, re, statistics, subprocess, sys, time

work, program, runs = sys.argv[1], sys.argv[2], int(sys.argv[3])
intro, main, outro = (f"{work}/{n}.mp4" for n in ("intro", "main", "outro"))
x264 = ["-c:v", "libx264", "-crf", "18", "-preset", "medium", "-pix_fmt", "yuv420p"]
ffmpeg = ["ffmpeg", "-nostdin", "-v", "error", "-i", intro, "-i", main, "-i", outro]
pictures = "[0:v]fps=30000/1001,scale=1920:1080[a];[2:v]fps=30000/1001,scale=1920:1080[c];"
sound = "".join(f"[{i}:a]aresample=48000,aformat=channel_layouts=5.1[s{i}];" for i in range(3))
introoutro = [program, "--intro", intro, "--main", main, "--outro", outro, "--crf", "18", "--preset", "medium", "-q"]
jobs = {
    "ffmpeg": [*ffmpeg, "-filter_complex", pictures + "[a][1:v][c]concat=n=3:v=1:a=0[v]", "-map", "[v]", *x264,
               "-y", f"{work}/ffmpeg.mp4"],
    "introoutro": [*introoutro, "--no-audio", "-o", f"{work}/introoutro.mp4"],
    "ffmpeg+sound": [*ffmpeg, "-filter_complex", pictures + sound + "[a][s0][1:v][s1][c][s2]concat=n=3:v=1:a=1[v][s]",
                     "-map", "[v]", "-map", "[s]", *x264, "-c:a", "aac", "-b:a", "192k", "-y",
                     f"{work}/ffmpeg+sound.mp4"],
    "introoutro+sound": [*introoutro, "-o", f"{work}/introoutro+sound.mp4"],
}

def durations(path):
    out = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "stream=codec_type,duration", "-of", "csv=p=0",
                          path], capture_output=True, text=True)
    return dict(line.split(",")[:2] for line in out.stdout.split())

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
    if name == "ffmpeg+sound":
        print("with the sound joined (AAC 192k, 48 kHz 5.1)")
    seconds = statistics.median(s for s, _ in samples[name])
    memory = statistics.median(m for _, m in samples[name])
    n = frames(f"{work}/{name}.mp4")
    medians[name] = seconds
    print(f"  {name:16s} {seconds:7.2f} s  {n} frames  {n / seconds:6.1f} frames/s  peak memory {memory:6.0f} MB",
          flush=True)
    if name.endswith("sound"):
        d = durations(f"{work}/{name}.mp4")
        print(f"  {'':16s} sound {float(d['audio']):.4f} s, pictures {float(d['video']):.4f} s")
    if name.startswith("introoutro"):
        other = name.replace("introoutro", "ffmpeg")
        print(f"  introoutro is {medians[other] / seconds:.2f}x as fast as ffmpeg (target: 1x or more)")
PY
