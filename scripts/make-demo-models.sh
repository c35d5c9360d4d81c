#!/usr/bin/env bash
# Makes the demo model set that scripts/run.sh serves: a small file model, a zipped package model
# and a model that needs a newer installer, listed in a models.json signed with the development key.
#
#   make-demo-models.sh <velko-model-tool> <private-key.pem> <out-dir>
set -euo pipefail
[[ $# -eq 3 ]] || { echo "usage: make-demo-models.sh <velko-model-tool> <key.pem> <out-dir>" >&2; exit 64; }
tool=$1
key=$2
out=$3

rm -rf "$out"
mkdir -p "$out"
out=$(cd "$out" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Fixed contents and times, so the archive and thus the list are the same on every build.
printf 'Velko demo style table\n%.0s' $(seq 2000) >"$out/demo-style.bin"
package="$scratch/demo-segment.mlmodelc"
mkdir -p "$package/weights"
printf '{"name":"demo-segment","layers":3}\n' >"$package/model.json"
for i in 1 2 3; do
  head -c $((40000 * i)) /dev/zero | tr '\0' "$i" >"$package/weights/layer$i.bin"
done
# The bytes of the package's files: the same on every file system (du would add folder sizes that
# differ between them, and a Mac's du has no -b to count bytes).
installed=$(find "$package" -type f -exec cat {} + | wc -c | tr -d ' ')
find "$package" -exec touch -d 2026-01-01T00:00:00Z {} +
(cd "$scratch" && zip -q -X -r "$out/demo-segment.zip" demo-segment.mlmodelc)
printf 'Velko demo style table, next generation\n%.0s' $(seq 2000) >"$out/demo-future.bin"

{
  printf '{"format":1,"issued":"2026-11-22","models":[\n'
  "$tool" entry "$out/demo-style.bin" --id demo-style --kind file --package demo-style.bin \
    --version 1.0 --title-de "Demo-Stiltabelle" --title-en "Demo style table" --license MIT
  printf ',\n'
  "$tool" entry "$out/demo-segment.zip" --id demo-segment --kind coreml \
    --package demo-segment.mlmodelc --version 2.1 --title-de "Demo-Segmentierung" \
    --title-en "Demo segmentation" --license "CC-BY-4.0" --installed-size "$installed"
  printf ',\n'
  "$tool" entry "$out/demo-future.bin" --id demo-future --kind file --package demo-future.bin \
    --version 1.0 --title-de "Demo aus der Zukunft" --title-en "Demo from the future" \
    --license MIT --min-velko 99.0
  printf ']}\n'
} >"$out/models.json"
"$tool" sign "$key" "$out/models.json" >/dev/null
