#!/usr/bin/env bash
# The installer's main job from a fresh machine: install what is missing, build, show the status and
# install the sample plug-in package for the current user.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh
./build/velko-installer --cli status
./build/velko-installer --cli install
