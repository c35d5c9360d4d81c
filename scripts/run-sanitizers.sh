#!/usr/bin/env bash
# Builds the project and its tests a second time with AddressSanitizer and UndefinedBehaviorSanitizer
# (build-asan/) and runs every suite but the slow one; then builds the suites labelled `threads`
# with ThreadSanitizer (build-tsan/) and runs them. Any finding ends the process under test, so
# the suite fails. Usage: scripts/run-sanitizers.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
command -v clang++ >/dev/null || { echo "clang++ is needed (scripts/install-deps.sh)" >&2; exit 1; }
. scripts/homebrew-env.sh
cores=$(getconf _NPROCESSORS_ONLN)

# Findings print a stack; a leak or a data race counts like any other. Apple's AddressSanitizer
# has no leak checker and stops every process that asks for one, so a Mac checks no leaks.
leaks=1
if [ "$(uname -s)" = Darwin ]; then leaks=0; fi
# intercept_tls_get_addr=0: up to LLVM 16 the runtime's __tls_get_addr interceptor can take a
# dynamic TLS block (the window module's, Qt's) for an old glibc header and read garbage from it,
# and LeakSanitizer's tracer then dies at exit ("Tracer caught signal 11") with no leak to report.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=$leaks:detect_stack_use_after_return=1:intercept_tls_get_addr=0}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/scripts/lsan.supp:print_suppressions=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
export TSAN_OPTIONS=${TSAN_OPTIONS:-second_deadlock_stack=1:suppressions=$root/scripts/tsan.supp:print_suppressions=0}

# -O1 with line tables only: faster to build than -O2 -g, stacks still name file and line. No
# NDEBUG, so the libraries' own assertions (nlohmann's on misuse, for one) check as well.
configure() {  # <build folder> <sanitizers>
  if [ ! -f "$1/build.ninja" ]; then
    CC=clang CXX=clang++ cmake -S . -B "$1" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
      -DCMAKE_C_FLAGS_DEBUG="-O1 -gline-tables-only" -DCMAKE_CXX_FLAGS_DEBUG="-O1 -gline-tables-only" \
      -DVELKO_SANITIZE="$2" >/dev/null
  fi
}

echo "== AddressSanitizer + UndefinedBehaviorSanitizer: build-asan, every suite but slow"
start=$SECONDS
configure build-asan address,undefined
cmake --build build-asan --parallel "$cores"
bash scripts/run-ctest.sh build-asan -LE slow
echo "== AddressSanitizer + UndefinedBehaviorSanitizer took $((SECONDS - start)) s"

# Only the executables of the labelled suites (and what they depend on) are built again.
start=$SECONDS
# Read line by line rather than with mapfile, which a Mac's bash 3.2 lacks.
suites=()
while IFS= read -r suite; do
  if [ -n "$suite" ]; then suites+=("$suite"); fi
done < <(ctest --test-dir build-asan -N -L threads --show-only=json-v1 |
  python3 -c 'import json, os, sys
print("\n".join(sorted({os.path.basename(t["command"][0]) for t in json.load(sys.stdin)["tests"]})))')
if [ ${#suites[@]} -eq 0 ]; then
  echo "== ThreadSanitizer: no suite carries the label threads yet, nothing to run"
  exit 0
fi
echo "== ThreadSanitizer: build-tsan, suites ${suites[*]}"
configure build-tsan thread
cmake --build build-tsan --parallel "$cores" --target "${suites[@]}"
bash scripts/run-ctest.sh build-tsan -L threads
echo "== ThreadSanitizer took $((SECONDS - start)) s"
