#!/usr/bin/env bash
# CPU time of the window while it downloads a 1 GiB model from nginx on loopback with the models
# screen open, against the same download on the command line (goal: the window adds at most 10%).
# Needs a build that trusts the development list key (the default); offscreen, temporary HOME.
set -euo pipefail
cd "$(dirname "$0")/.."
size_mb=${VELKO_BENCH_MODEL_MB:-1024}
work=$(mktemp -d)
cleanup() {
  bash scripts/nginx-serve.sh stop "$work/nginx" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT
export HOME=$work/home QT_QPA_PLATFORM=offscreen VELKO_MODEL_DIR=$work/none
mkdir -p "$HOME" "$work/site"

head -c "$((size_mb * 1000 * 1000))" /dev/urandom >"$work/site/big.bin"
tool=./build/tools/model_tool/velko-model-tool
entry=$("$tool" entry "$work/site/big.bin" --id big --kind file --package big.bin \
  --title-de "Großes Modell" --title-en "Big model" --license MIT)
printf '{"format": 1, "models": [%s]}\n' "$entry" >"$work/site/models.json"
"$tool" sign tests/data/DEVELOPMENT-ONLY-model-list-key.pem "$work/site/models.json" >/dev/null
base=$(bash scripts/nginx-serve.sh start "$work/site" "$work/nginx")
export VELKO_MODEL_LIST_URL=$base/models.json

# CPU seconds (user + system) of a live process, from /proc.
cpu_of() { awk '{printf "%.2f", ($14 + $15) / '"$(getconf CLK_TCK)"'}' "/proc/$1/stat"; }

# Each run starts from an empty store with the disk flushed: otherwise the second gigabyte written
# pays for the writeback of the first, and whichever side runs second looks slower by about half.
fresh_store() {
  rm -rf "$work/store"
  sync
  export VELKO_MODEL_STORE=$work/store
}

# The command line; prints "cpu wall".
run_cli() {
  fresh_store
  { /usr/bin/time -f '%U %S %e' ./build/velko-installer --cli models-fetch --model big \
    >/dev/null; } 2>&1 | tail -1 | awk '{printf "%.2f %.2f\n", $1 + $2, $3}'
}

# The window: the models screen downloads everything at start; its CPU is read from /proc the
# moment the model is in place, then the window is closed. Prints "cpu wall".
run_window() {
  fresh_store
  ./build/velko-installer --models --auto models-fetch-all --lang en &
  local pid=$! start
  start=$(date +%s.%N)
  until [ -f "$VELKO_MODEL_STORE/.installed/big.json" ]; do
    kill -0 "$pid" 2>/dev/null || { echo "the window ended before the download" >&2; exit 1; }
    sleep 0.05
  done
  local cpu
  cpu=$(cpu_of "$pid")
  awk -v c="$cpu" -v s="$start" -v e="$(date +%s.%N)" 'BEGIN {printf "%.2f %.2f\n", c, e - s}'
  kill "$pid"
  wait "$pid" 2>/dev/null || true
}

# Three rounds, the order alternating; the medians are compared.
: >"$work/cli.txt"
: >"$work/window.txt"
for round in 1 2 3; do
  if [ $((round % 2)) -eq 1 ]; then
    run_cli >>"$work/cli.txt"
    run_window >>"$work/window.txt"
  else
    run_window >>"$work/window.txt"
    run_cli >>"$work/cli.txt"
  fi
done
median() { sort -n -k"$2" "$1" | awk -v k="$2" 'NR == 2 {print $k}'; }
cli_cpu=$(median "$work/cli.txt" 1)
cli_wall=$(median "$work/cli.txt" 2)
window_cpu=$(median "$work/window.txt" 1)
window_wall=$(median "$work/window.txt" 2)
echo "runs (cpu wall): command line $(paste -sd, "$work/cli.txt"); window $(paste -sd, "$work/window.txt")"

awk -v c="$cli_cpu" -v w="$window_cpu" -v cw="$cli_wall" -v ww="$window_wall" -v mb="$size_mb" 'BEGIN {
  extra = c > 0 ? 100 * (w - c) / c : 0
  printf "%d MB model from loopback nginx, medians of 3: command line %.2f s CPU (%.2f s wall), window %.2f s CPU (%.2f s wall)\n", mb, c, cw, w, ww
  printf "the window adds %.1f%% CPU; goal at most 10%%: %s\n", extra, (extra <= 10 ? "met" : "missed")
}'
