#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when they are missing.
# Usage: scripts/install-deps.sh [--reference]
#   --reference  also install ffmpeg, the outside reference for comparison benchmarks
#                and for the tests that read our output with ffprobe (they skip without it).
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config libgtest-dev libgmock-dev libbenchmark-dev
          libzimg-dev libpng-dev clang libclang-rt-dev libcli11-dev
          libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libswresample-dev)
if [[ "${1:-}" == "--reference" ]]; then
  packages+=(ffmpeg)
elif [[ $# -gt 0 ]]; then
  echo "usage: $0 [--reference]" >&2
  exit 2
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
if [[ ${#missing[@]} -eq 0 ]]; then
  exit 0
fi

if [[ $(id -u) -eq 0 ]]; then
  echo "install-deps: installing ${missing[*]}" >&2
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
else
  echo "install-deps: missing Debian packages: ${missing[*]}" >&2
  echo "install-deps: run as root, or: sudo apt-get install ${missing[*]}" >&2
  exit 1
fi
