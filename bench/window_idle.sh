#!/usr/bin/env bash
# The window at rest: CPU time of the whole process over 30 s on the idle screen (goal: below 1% of
# one core), and the time of one idle tick. Offscreen, with a temporary HOME and UXP folder.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${VELKO_IDLE_SECONDS:-30}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work VELKO_UXP_BASE_DIR=$work/uxp QT_QPA_PLATFORM=offscreen

./build/bench/window_tick build/Contents/Resources/Plugin build/Contents/Resources/Fonts 300

./build/velko-installer --lang en &
pid=$!
sleep 2  # past start-up: only the idle seconds count
ticks() { awk '{print $14 + $15}' "/proc/$pid/stat"; }
before=$(ticks)
sleep "$seconds"
after=$(ticks)
kill "$pid"
wait "$pid" 2>/dev/null || true
hz=$(getconf CLK_TCK)
awk -v used=$((after - before)) -v hz="$hz" -v s="$seconds" 'BEGIN {
  pct = 100 * used / hz / s
  printf "idle screen: %.2f%% of one core over %d s (%d ticks of CPU at %d Hz); goal below 1%%: %s\n",
         pct, s, used, hz, (pct < 1 ? "met" : "missed")
}'
