#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need; does nothing when all are present.
set -euo pipefail
packages=(
  cmake ninja-build g++ pkg-config git
  nlohmann-json3-dev libcurl4-openssl-dev libplist-dev libarchive-dev
  libgtest-dev libgmock-dev libssl-dev openssl
  clang libclang-rt-14-dev
  python3 zip unzip hyperfine
  qt6-base-dev fonts-lato xvfb xauth
  libcpp-httplib-dev nginx-light
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
