#!/usr/bin/env bash
# Configures (once) and builds everything into build/; fast when nothing changed.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/homebrew-env.sh
if [ ! -f build/build.ninja ]; then
  cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
fi
cmake --build build --parallel "$(getconf _NPROCESSORS_ONLN)"
