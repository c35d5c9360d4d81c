#!/usr/bin/env bash
# The installer's main job from a fresh machine: install what is missing, build, show the status,
# install the sample plug-in package for the current user, fetch and remove demo models from a local
# model server, and show the window (or its pictures).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh
# On a Mac the build makes an application bundle; the program is inside it.
installer=./build/velko-installer
if [ "$(uname -s)" = Darwin ]; then
  installer="./build/Velko Installer.app/Contents/MacOS/Velko Installer"
fi
"$installer" --cli status
"$installer" --cli install

# --- The models --------------------------------------------------------------------------------------
# The demo model set from the build, served by nginx on loopback, into a model folder under build/:
# the user's own model folder is never touched. The server stops however the script ends.
demo_store=build/demo-store
rm -rf "$demo_store"
trap 'bash scripts/demo-server.sh stop' EXIT
list_url=$(bash scripts/demo-server.sh start)
echo "Demo model list: $list_url, model folder: $demo_store"
demo() {
  echo "\$ velko-installer $*"
  local code=0
  VELKO_MODEL_LIST_URL=$list_url VELKO_MODEL_STORE=$demo_store "$installer" "$@" 2>&1 ||
    code=$?
  [ "$code" -eq 0 ] || echo "(exit code $code)"
}
demo --cli models
demo --cli models-fetch --model all
demo --cli models
demo --cli models-remove --model demo-style
demo --cli models

# --- The window ------------------------------------------------------------------------------------
# With an X or Wayland display, open the window on the sample plug-in, its models screen against the
# demo server. Without one (and on a Mac, where neither variable is set), make pictures of the
# screens on Qt's offscreen platform; the result screen comes from an install into a throw-away UXP
# folder, so the real one sees only the install above.
export VELKO_MODEL_LIST_URL=$list_url VELKO_MODEL_STORE=$demo_store
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  "$installer"
else
  shots=build/screenshots/run
  scratch=$(mktemp -d)
  mkdir -p "$shots"
  for lang in de en; do
    QT_QPA_PLATFORM=offscreen "$installer" --lang "$lang" \
      --screenshot "$shots/idle-$lang.png"
    QT_QPA_PLATFORM=offscreen "$installer" --lang "$lang" \
      --uxp-base-dir "$scratch/$lang" --auto install --screenshot "$shots/result-$lang.png"
    QT_QPA_PLATFORM=offscreen "$installer" --lang "$lang" --plugin "$scratch/none" \
      --screenshot "$shots/plugin-missing-$lang.png"
    QT_QPA_PLATFORM=offscreen "$installer" --lang "$lang" --models --shot-delay 0.3 \
      --screenshot "$shots/models-$lang.png"
  done 2>/dev/null
  rm -rf "$scratch"
  echo "No display here: pictures of the window's screens are in $shots/"
  ls "$shots"
fi
