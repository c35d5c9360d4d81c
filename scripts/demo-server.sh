#!/usr/bin/env bash
# Serves the demo model set (build/demo-models, made by the build) with nginx on loopback.
#
#   demo-server.sh start    starts the server if it is not running, prints the model list's URL
#   demo-server.sh stop     stops it; fine if nothing runs
set -euo pipefail
cd "$(dirname "$0")/.."
models=build/demo-models
state=build/demo-server
case ${1:-} in
  start)
    [[ -f $models/models.json.sig ]] || {
      echo "demo-server.sh: no demo model set in $models; build first (scripts/build.sh)" >&2
      exit 1
    }
    echo "$(bash scripts/nginx-serve.sh start "$models" "$state")/models.json"
    ;;
  stop) bash scripts/nginx-serve.sh stop "$state" ;;
  *)
    echo "usage: demo-server.sh start|stop" >&2
    exit 64
    ;;
esac
