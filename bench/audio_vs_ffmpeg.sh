#!/bin/bash
# The sound of a three-piece splice, by audio_splice_bench (this project's sound path)
# and by the ffmpeg program (aresample, aformat, apad/atrim, concat), in one
# interleaved run: an AAC mp4 at 44.1 kHz stereo, a 24-bit PCM mov at 48 kHz 5.1 and a
# FLAC mkv at 44.1 kHz mono, each cut or padded to N pictures at 30000/1001 and written
# as 24-bit 48 kHz 5.1 WAV. The timed runs write to /dev/null (the disk of a shared
# machine makes wall times of 150 MB writes noise); one run of each first writes a
# file, to show both made the same amount of sound. Prints median wall and CPU times,
# peak memory and the ratios.
# Usage: bench/audio_vs_ffmpeg.sh [build dir, default build/release] [seconds per piece, default 60] [runs, default 5]
set -euo pipefail
build=${1:-build/release}
seconds=${2:-60}
runs=${3:-5}
program="$build/bin/audio_splice_bench"
[ -x "$program" ] || { echo "$program not found: build the audio_splice_bench target first" >&2; exit 1; }
command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed (scripts/install-deps.sh --reference)" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/introoutro-audio.XXXXXX")
trap 'rm -rf "$work"' EXIT
tone() {  # file frequency rate layout codec
  ffmpeg -nostdin -v error -f lavfi -i "sine=frequency=$2:sample_rate=$3" -t "$seconds" \
    -af "aformat=channel_layouts=$4" -c:a "$5" "$work/$1"
}
tone intro.mp4 1000 44100 stereo aac
tone main.mov 3000 48000 "5.1(side)" pcm_s24le
tone outro.mkv 5000 44100 mono flac

python3 - "$work" "$program" "$seconds" "$runs" <<'PY'
import os, statistics, subprocess, sys, time
from fractions import Fraction

work, program, seconds, runs = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
pictures = seconds * 30000 // 1001
ends = [round(Fraction(k * pictures * 1001 * 48000, 30000)) for k in (1, 2, 3)]
lengths = [ends[0], ends[1] - ends[0], ends[2] - ends[1]]
files = [f"{work}/{n}" for n in ("intro.mp4", "main.mov", "outro.mkv")]
conform = "aresample=48000,aformat=sample_fmts=flt:channel_layouts=5.1(side)"
graph = ";".join(f"[{i}:a]{conform},apad,atrim=end_sample={n}[a{i}]" for i, n in enumerate(lengths))
graph += ";[a0][a1][a2]concat=n=3:v=0:a=1[a]"
def jobs(out):
    return {
        "ffmpeg": ["ffmpeg", "-nostdin", "-v", "error", "-i", files[0], "-i", files[1], "-i", files[2],
                   "-filter_complex", graph, "-map", "[a]", "-c:a", "pcm_s24le", "-f", "wav", "-y", out("ffmpeg")],
        "introoutro": [program, *files, str(pictures), out("introoutro")],
    }

for name, args in jobs(lambda n: f"{work}/{n}.wav").items():
    subprocess.run(args, check=True)
    print(f"  {name:11s} writes {os.path.getsize(f'{work}/{name}.wav')} bytes")

# Repetitions interleaved, so that a noisy neighbour slows both alike.
timed = jobs(lambda n: "/dev/null")
wall = {n: [] for n in timed}
cpu = {n: [] for n in timed}
peak = {n: [] for n in timed}
for _ in range(runs):
    for name, args in timed.items():
        start = time.perf_counter()
        child = subprocess.Popen(args, stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(child.pid, 0)
        wall[name].append(time.perf_counter() - start)
        cpu[name].append(usage.ru_utime + usage.ru_stime)
        peak[name].append(usage.ru_maxrss / 1024)
        if status != 0:
            sys.exit(f"{name} failed")
med = {k: {n: statistics.median(v[n]) for n in timed} for k, v in (("wall", wall), ("cpu", cpu), ("peak", peak))}
print(f"{3 * seconds} s of sound, {pictures} pictures per piece, median of {runs} runs:")
for name in timed:
    print(f"  {name:11s} {med['wall'][name]:7.3f} s wall  {med['cpu'][name]:7.3f} s CPU  peak {med['peak'][name]:6.1f} MiB")
print(f"  introoutro / ffmpeg: {med['wall']['introoutro'] / med['wall']['ffmpeg']:.2f}x wall, "
      f"{med['cpu']['introoutro'] / med['cpu']['ffmpeg']:.2f}x CPU, "
      f"{med['peak']['introoutro'] / med['peak']['ffmpeg']:.2f}x peak memory")
PY
