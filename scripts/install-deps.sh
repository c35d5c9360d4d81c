#!/usr/bin/env bash
# Installs what the build, tests and benchmarks need, with apt on Debian or Homebrew on a Mac;
# does nothing when all is present.
set -euo pipefail

install_debian() {
  local packages=(
    cmake ninja-build g++ pkg-config git
    nlohmann-json3-dev libcurl4-openssl-dev libplist-dev libarchive-dev
    libgtest-dev libgmock-dev libssl-dev openssl
    clang libclang-rt-14-dev
    python3 zip unzip hyperfine
    qt6-base-dev fonts-lato xvfb xauth
    libcpp-httplib-dev nginx-light
  )
  local missing=() p
  for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' ||
      missing+=("$p")
  done
  if [ ${#missing[@]} -gt 0 ]; then
    echo "installing: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}"
  fi
}

# Homebrew's names for the same things. Apple's command line tools bring clang, zip, unzip and
# python3; openssl@3 serves the vendor tool and the crypto suites as on Debian. libarchive, curl
# and openssl@3 are keg-only: scripts/build.sh points CMake and pkg-config at them.
install_macos() {
  command -v brew >/dev/null || {
    echo "install-deps.sh: Homebrew is needed on a Mac (https://brew.sh)" >&2
    exit 1
  }
  local formulae=(
    cmake ninja pkgconf
    qt nlohmann-json libplist libarchive curl openssl@3
    googletest cpp-httplib nginx hyperfine
  )
  local installed missing=() f
  installed=$(brew list --formula -1)
  for f in "${formulae[@]}"; do
    grep -qx "$f" <<<"$installed" || missing+=("$f")
  done
  if [ ${#missing[@]} -gt 0 ]; then
    echo "installing: ${missing[*]}"
    brew install "${missing[@]}"
  fi
  # Lato is under the SIL Open Font Licence and never kept in the repository: Homebrew's
  # font-lato cask puts it into the user's font folder, the build's default VELKO_LATO_DIR.
  local fonts=$HOME/Library/Fonts
  if [ ! -f "$fonts/Lato-Regular.ttf" ] || [ ! -f "$fonts/Lato-Bold.ttf" ]; then
    echo "installing: font-lato into $fonts"
    brew install --cask --fontdir="$fonts" font-lato
  fi
}

case "$(uname -s)" in
  Darwin) install_macos ;;
  *) install_debian ;;
esac
