#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: the fuzzers for a while, then all CTest
# suites including the slow ones.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh
if [ -f scripts/run-fuzzers.sh ]; then
  bash scripts/run-fuzzers.sh
fi
ctest --test-dir build --output-on-failure --parallel "$(nproc)"
