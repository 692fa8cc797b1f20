#!/usr/bin/env bash
# Fuzzes metadata extraction (KX::ZM::CMetaData from a KX::CData stream) with
# libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer. Builds the fuzzer and a
# seed generator with clang from the libkx/libzm sources they need (outside the CMake
# build, whose presets use g++), writes a corpus of valid streams and fuzzes for the
# given number of seconds. Exits non-zero on any finding (crash, sanitizer report,
# leak, failed check, timeout); the reproducer is then in <build-dir>/artifacts.
# Usage: scripts/fuzz-metadata.sh [seconds (default 60)] [build-dir (default build/fuzz-metadata)]
set -euo pipefail

seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
out=${2:-$root/build/fuzz-metadata}
cxx=${FUZZ_CXX:-clang++-14}

if ! [[ "$seconds" =~ ^[0-9]+$ ]] || (( seconds < 1 )); then
  echo "fuzz-metadata: the run time must be a whole number of seconds, not '$seconds'" >&2
  exit 2
fi
if ! command -v "$cxx" >/dev/null; then
  echo "fuzz-metadata: $cxx not found (Debian package clang-14; or set FUZZ_CXX)" >&2
  exit 2
fi

sources=(
  code/lib/ulbase/object_refcount.cpp
  code/lib/base/BufferCodecs.cpp
  code/lib/base/CBuffer.cpp
  code/lib/base/CData.cpp
  code/lib/base/CException.cpp
  code/lib/base/CString.cpp
  code/lib/zm/CMetaData.cpp
)
flags=(-std=c++20 -O1 -g -fno-omit-frame-pointer -ffp-contract=off -Wall -Wextra -Werror -pthread
       -fno-sanitize-recover=undefined -I"$root/code/lib")

mkdir -p "$out/obj" "$out/corpus" "$out/seeds" "$out/artifacts"
objects=()
for source in "${sources[@]}"; do
  object="$out/obj/$(basename "${source%.cpp}").o"
  "$cxx" "${flags[@]}" -fsanitize=fuzzer-no-link,address,undefined -c "$root/$source" -o "$object"
  objects+=("$object")
done
"$cxx" "${flags[@]}" -fsanitize=fuzzer,address,undefined "$root/tests/fuzz/metadata_fuzzer.cpp" \
  "${objects[@]}" -o "$out/metadata_fuzzer"
"$cxx" "${flags[@]}" -fsanitize=address,undefined "$root/tests/fuzz/metadata_seeds.cpp" \
  "${objects[@]}" -o "$out/metadata_seeds"

rm -f "$out/seeds/"*
"$out/metadata_seeds" "$out/seeds"

# New inputs go into corpus/ and are kept for the next run; seeds/ is read only.
log="$out/last-run.log"
status=0
"$out/metadata_fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
  -artifact_prefix="$out/artifacts/" "$out/corpus" "$out/seeds" >"$log" 2>&1 || status=$?

runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
if (( status != 0 )); then
  tail -n 60 "$log" >&2
  echo "fuzz-metadata: FINDING after ${runs:-?} executions (exit $status); log $log, reproducer in $out/artifacts" >&2
  exit "$status"
fi
echo "fuzz-metadata: ${runs:-?} executions in ${seconds} s, no finding; corpus $(ls "$out/corpus" | wc -l) inputs"
