#!/usr/bin/env bash
# Times sha256File (through velko-sha256sum) against `openssl dgst -sha256` on a 1 GiB file and
# prints the median throughput ratio. Needs hyperfine. Usage: bench/sha256_file.sh [build folder] [runs]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-bench}
runs=${2:-10}

if [ ! -f "$build/build.ninja" ]; then
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVELKO_BUILD_TESTS=OFF >/dev/null
fi
ninja -C "$build" velko-sha256sum >/dev/null
ours=$build/bench/velko-sha256sum

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
file=$work/one-gib.bin
head -c $((1 << 30)) /dev/urandom >"$file"

# Both tools must agree before their speed means anything.
expected=$(openssl dgst -sha256 -r "$file" | cut -d' ' -f1)
got=$("$ours" "$file" | cut -d' ' -f1)
if [ "$expected" != "$got" ]; then
  echo "digest mismatch: openssl $expected, velko $got" >&2
  exit 1
fi

# The file stays in the page cache, so both sides measure hashing, not the disk. The CPU-time
# ratio is printed as well: on a busy machine it moves less than wall time.
command -v hyperfine >/dev/null || { echo "hyperfine is needed (scripts/install-deps.sh)" >&2; exit 1; }
hyperfine --warmup 2 --runs "$runs" --export-json "$work/times.json" \
  -n velko "$ours $file" -n openssl "openssl dgst -sha256 $file" >&2
python3 - "$work/times.json" <<'PY'
import json, sys
results = {r["command"]: r for r in json.load(open(sys.argv[1]))["results"]}
for name, r in results.items():
    print(f"{name:8s} median {r['median']:.3f} s  {1 / r['median']:.2f} GiB/s  "
          f"cpu {r['user'] + r['system']:.3f} s")
velko, openssl = results["velko"], results["openssl"]
print(f"throughput ratio velko/openssl (median wall time): {openssl['median'] / velko['median']:.3f}"
      " (goal: at least 0.9)")
cpu = (openssl["user"] + openssl["system"]) / (velko["user"] + velko["system"])
print(f"throughput ratio velko/openssl (mean CPU time): {cpu:.3f}")
PY
