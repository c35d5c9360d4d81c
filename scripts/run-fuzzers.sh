#!/usr/bin/env bash
# Builds every fuzz target with clang and runs each for VELKO_FUZZ_SECONDS (default 60); fails on
# the first crash. Usage: scripts/run-fuzzers.sh [build folder]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-fuzz}
seconds=${VELKO_FUZZ_SECONDS:-60}

command -v clang++ >/dev/null || { echo "clang++ is needed (scripts/install-deps.sh)" >&2; exit 1; }
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVELKO_BUILD_FUZZERS=ON -DVELKO_BUILD_TESTS=OFF >/dev/null
mapfile -t targets < <(ninja -C "$build" -t targets all | sed -n 's/^\(fuzz_[A-Za-z0-9_]*\): .*/\1/p' | sort -u)
if [ ${#targets[@]} -eq 0 ]; then
  echo "no fuzz targets found" >&2
  exit 1
fi
ninja -C "$build" "${targets[@]}"

for target in "${targets[@]}"; do
  exe=$(find "$build/fuzz" -maxdepth 1 -type f -name "$target" -perm -u+x | head -n1)
  # New inputs go to the build folder; the seeds in fuzz/corpus are only read.
  corpus=$build/fuzz-corpus/$target
  mkdir -p "$corpus"
  seeds=()
  [ -d "$root/fuzz/corpus/$target" ] && seeds=("$root/fuzz/corpus/$target")
  echo "== $target: ${seconds}s"
  (cd "$build" && "$exe" -max_total_time="$seconds" -print_final_stats=1 "$corpus" "${seeds[@]}")
done
echo "all fuzz targets ran ${seconds}s without a crash"
