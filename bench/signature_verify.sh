#!/usr/bin/env bash
# Ed25519 verifications per second: the installer's own check (velko-verify) against OpenSSL's
# (openssl speed), on RFC 8032's test 2 vector (a one-byte message, "r"), and their ratio.
# Usage: bench/signature_verify.sh [build folder]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
cmake --build "$build" --target velko-verify >/dev/null
read -r key signature message < <(python3 -c '
import json, sys
v = json.load(open(sys.argv[1]))["vectors"][1]
print(v["public_key"], v["signature"], bytes.fromhex(v["message"]).decode("ascii"))' \
  "$root/tests/data/vectors/rfc8032_ed25519.json")
ours=$("$build/bench/velko-verify" "$key" "$signature" "$message" 5)
theirs=$(openssl speed -seconds 5 ed25519 2>/dev/null | awk '/\(Ed25519\)/ {print int($NF)}' | tail -n1)
echo "velko-verify:  $ours verifications per second"
echo "openssl speed: $theirs verifications per second"
python3 -c "print(f'ratio: OpenSSL is {$theirs / $ours:.2f} times as fast')"
