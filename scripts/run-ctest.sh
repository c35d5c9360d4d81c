#!/usr/bin/env bash
# Runs CTest in a build folder with the given extra arguments (e.g. -LE slow), all cores, and
# repeats CTest's "N% tests passed, ..." line as the last line, after the label and time summary,
# so a log shows at its end how many tests ran. Exits with CTest's status.
# Usage: scripts/run-ctest.sh <build folder> [ctest arguments...]
set -uo pipefail
build=$1
shift
log=$build/ctest-last.log
ctest --test-dir "$build" --output-on-failure --parallel "$(getconf _NPROCESSORS_ONLN)" "$@" 2>&1 |
  tee "$log"
status=${PIPESTATUS[0]}
summary=$(grep -E '^[0-9]+% tests passed' "$log" | tail -n1)
echo "${summary:-no tests ran (ctest exit status $status)}"
exit "$status"
