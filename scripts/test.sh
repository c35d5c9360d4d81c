#!/usr/bin/env bash
# Installs what is missing, builds, and runs every check: the fuzzers for a while, the suites under
# the sanitizers, then all CTest suites including the slow ones. The last line is CTest's
# "N% tests passed, ..." of the normal build.
set -euo pipefail
cd "$(dirname "$0")/.."
# Runs one stage and says how long it took.
stage() {
  local name=$1 start=$SECONDS
  shift
  "$@"
  echo "== stage $name took $((SECONDS - start)) s"
}
stage dependencies bash scripts/install-deps.sh
stage build bash scripts/build.sh
stage fuzzers bash scripts/run-fuzzers.sh
stage sanitizers bash scripts/run-sanitizers.sh
echo "== stage tests: every suite of build/"
bash scripts/run-ctest.sh build
