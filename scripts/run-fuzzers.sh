#!/usr/bin/env bash
# Builds every fuzz target with clang and runs each for VELKO_FUZZ_SECONDS (default 60), as many at
# a time as there are cores; fails when one finds a crash or a broken invariant. Prints one line per
# target with its executions, and the crash report of a failed one.
# Usage: scripts/run-fuzzers.sh [build folder]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-fuzz}
seconds=${VELKO_FUZZ_SECONDS:-60}
jobs=${VELKO_FUZZ_JOBS:-$(getconf _NPROCESSORS_ONLN)}

if [ "$(uname -s)" = Darwin ]; then
  echo "== fuzzing skipped: Apple's clang has no libFuzzer runtime; the fuzzers run on Linux"
  exit 0
fi

command -v clang++ >/dev/null || { echo "clang++ is needed (scripts/install-deps.sh)" >&2; exit 1; }
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVELKO_BUILD_FUZZERS=ON -DVELKO_BUILD_TESTS=OFF >/dev/null
mapfile -t targets < <(ninja -C "$build" -t targets all | sed -n 's/^\(fuzz_[A-Za-z0-9_]*\): .*/\1/p' | sort -u)
if [ ${#targets[@]} -eq 0 ]; then
  echo "no fuzz targets found" >&2
  exit 1
fi
ninja -C "$build" "${targets[@]}"

logs=$build/fuzz-logs
mkdir -p "$logs"
# Runs one target; its output goes to $logs/<target>.log and its exit status to <target>.status.
run_target() {
  local target=$1
  local exe=$build/fuzz/$target
  # New inputs go to the build folder; the seeds in fuzz/corpus are only read.
  local corpus=$build/fuzz-corpus/$target
  mkdir -p "$corpus"
  local seeds=()
  [ -d "$root/fuzz/corpus/$target" ] && seeds=("$root/fuzz/corpus/$target")
  local status=0
  (cd "$build" && "$exe" -max_total_time="$seconds" -print_final_stats=1 "$corpus" "${seeds[@]}") \
    >"$logs/$target.log" 2>&1 || status=$?
  echo "$status" >"$logs/$target.status"
}

# One line per target from libFuzzer's final statistics.
report() {
  local target=$1 log=$logs/$1.log
  local runs per_second
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n1)
  per_second=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n1)
  if [ "$(cat "$logs/$target.status")" = 0 ]; then
    printf '%-26s %10s executions in %ss, %7s per second\n' "$target" "${runs:-?}" "$seconds" \
      "${per_second:-?}"
  else
    printf '%-26s FAILED after %s executions\n' "$target" "${runs:-?}"
  fi
}

echo "== fuzzing ${#targets[@]} targets, ${seconds}s each, $jobs at a time"
failed=()
for target in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n; done
  run_target "$target" &
done
wait
for target in "${targets[@]}"; do
  report "$target"
  [ "$(cat "$logs/$target.status")" = 0 ] || failed+=("$target")
done
for target in "${failed[@]}"; do
  echo "== $target failed; the end of its log ($logs/$target.log):"
  tail -n 60 "$logs/$target.log"
done
if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz targets that failed: ${failed[*]}" >&2
  exit 1
fi
echo "all ${#targets[@]} fuzz targets ran ${seconds}s without a crash"
