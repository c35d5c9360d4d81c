#!/usr/bin/env bash
# Serves a folder with nginx on a free loopback port for demos, benchmarks and tests; never the
# system service, never a fixed port, everything (config, pid, logs, temp) in one state folder.
#
#   nginx-serve.sh start <root> <state-dir> [--https]      starts nginx, prints its base URL
#   nginx-serve.sh stop <state-dir>                        stops it; fine if nothing runs
#   nginx-serve.sh config <root> <state-dir> <port> [--https]
#                                                          only writes <state-dir>/nginx.conf
#
# With --https the server uses a self-signed certificate made here, which nobody trusts. With
# NGINX_SERVE_ACCESS_LOG=1 in the environment every request is logged to <state-dir>/logs/access.log
# as "<request line> <status> <Range header> <body bytes sent>", for benchmarks that count bytes.
set -euo pipefail

# Debian's nginx lives in /usr/sbin, which a user's PATH may lack; Homebrew's is on the PATH.
if [[ -z ${NGINX:-} ]]; then
  NGINX=/usr/sbin/nginx
  [[ -x $NGINX ]] || NGINX=$(command -v nginx || echo nginx)
fi
# A Mac's own openssl is LibreSSL; Homebrew's OpenSSL makes the certificate as Debian's does.
if [[ -z ${OPENSSL:-} ]]; then
  OPENSSL=openssl
  for candidate in /opt/homebrew/opt/openssl@3/bin/openssl /usr/local/opt/openssl@3/bin/openssl; do
    if [[ -x $candidate ]]; then OPENSSL=$candidate && break; fi
  done
fi

die() {
  echo "nginx-serve.sh: $*" >&2
  exit 1
}

absolute() { (cd "$1" && pwd); }

listening() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# A port of 20000-59999 that nobody listens on now. nginx may still lose it to another program
# before it binds; start then tries again.
free_port() {
  local port
  while :; do
    port=$((20000 + RANDOM % 40000))
    listening "$port" || break
  done
  echo "$port"
}

make_certificate() {
  local state=$1
  "$OPENSSL" req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 \
    -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 \
    -keyout "$state/key.pem" -out "$state/cert.pem" >/dev/null 2>&1 ||
    die "openssl could not make a certificate in $state"
}

# config <root> <state> <port> <https: yes|no>
write_config() {
  local root state port https listen tls=""
  root=$(absolute "$1") || die "no such folder: $1"
  mkdir -p "$2/logs" "$2/temp"
  state=$(absolute "$2")
  port=$3
  https=$4
  listen="127.0.0.1:$port"
  local access="access_log off;"
  if [[ ${NGINX_SERVE_ACCESS_LOG:-} == 1 ]]; then
    access="log_format ranges '\$request \$status \"\$http_range\" \$body_bytes_sent';
  access_log \"$state/logs/access.log\" ranges;"
  fi
  if [[ $https == yes ]]; then
    [[ -f $state/cert.pem ]] || make_certificate "$state"
    listen="$listen ssl"
    tls="ssl_certificate \"$state/cert.pem\"; ssl_certificate_key \"$state/key.pem\";"
  fi
  # One process that keeps its user (no master, no workers), so stopping it is one signal.
  cat >"$state/nginx.conf" <<CONF
daemon off;
master_process off;
pid "$state/nginx.pid";
error_log "$state/logs/error.log";
events { worker_connections 256; }
http {
  $access
  client_body_temp_path "$state/temp/client";
  proxy_temp_path "$state/temp/proxy";
  fastcgi_temp_path "$state/temp/fastcgi";
  uwsgi_temp_path "$state/temp/uwsgi";
  scgi_temp_path "$state/temp/scgi";
  default_type application/octet-stream;
  sendfile on;
  server {
    listen $listen;
    server_name 127.0.0.1;
    root "$root";
    $tls
  }
}
CONF
}

# The short name of process <pid>: /proc on Linux, ps where there is no /proc (a Mac).
process_name() {
  if [[ -d /proc/self ]]; then
    cat "/proc/$1/comm" 2>/dev/null
  else
    local command
    command=$(ps -p "$1" -o comm= 2>/dev/null) || return 0
    echo "${command##*/}"
  fi
}

# The pid in <state>/server.pid if that process is still our nginx.
running_pid() {
  local state=$1 pid
  [[ -f $state/server.pid ]] || return 1
  pid=$(<"$state/server.pid")
  [[ $pid =~ ^[0-9]+$ ]] || return 1
  [[ $(process_name "$pid") == nginx ]] || return 1
  echo "$pid"
}

start() {
  local root=$1 state=$2 https=$3 scheme=http port pid setsid=""
  command -v setsid >/dev/null && setsid=setsid
  [[ $https == yes ]] && scheme=https
  mkdir -p "$state"
  if pid=$(running_pid "$state"); then
    cat "$state/url"
    return 0
  fi
  # Another program may take the free port before nginx binds it; then nginx exits and we retry.
  for _ in 1 2 3 4 5; do
    port=$(free_port)
    write_config "$root" "$state" "$port" "$https"
    state=$(absolute "$state")
    # In a session of its own where setsid exists (not on a Mac), so a terminal's signals miss it.
    $setsid "$NGINX" -p "$state" -c "$state/nginx.conf" -e "$state/logs/error.log" \
      </dev/null >>"$state/logs/stdout.log" 2>&1 &
    pid=$!
    echo "$pid" >"$state/server.pid"
    for _ in $(seq 100); do
      if ! kill -0 "$pid" 2>/dev/null; then break; fi
      if listening "$port"; then
        echo "$scheme://127.0.0.1:$port" | tee "$state/url"
        return 0
      fi
      sleep 0.05
    done
    stop "$state"
  done
  die "nginx did not start; see $state/logs/error.log"
}

stop() {
  local state=$1 pid
  [[ -d $state ]] || return 0
  if pid=$(running_pid "$state"); then
    kill -TERM "$pid" 2>/dev/null || true
    for _ in $(seq 100); do
      kill -0 "$pid" 2>/dev/null || break
      sleep 0.05
    done
    if kill -0 "$pid" 2>/dev/null; then kill -KILL "$pid" 2>/dev/null || true; fi
  fi
  rm -f "$state/server.pid" "$state/url"
}

https_flag() {
  case ${1:-} in
    "") echo no ;;
    --https) echo yes ;;
    *) die "unknown option: $1" ;;
  esac
}

case ${1:-} in
  start)
    [[ $# -ge 3 && $# -le 4 ]] || die "usage: nginx-serve.sh start <root> <state-dir> [--https]"
    [[ -d $2 ]] || die "no such folder: $2"
    https=$(https_flag "${4:-}")
    start "$2" "$3" "$https"
    ;;
  stop)
    [[ $# -eq 2 ]] || die "usage: nginx-serve.sh stop <state-dir>"
    stop "$2"
    ;;
  config)
    [[ $# -ge 4 && $# -le 5 ]] ||
      die "usage: nginx-serve.sh config <root> <state-dir> <port> [--https]"
    https=$(https_flag "${5:-}")
    write_config "$2" "$3" "$4" "$https"
    ;;
  *)
    die "usage: nginx-serve.sh start <root> <state-dir> [--https] | stop <state-dir> | config ..."
    ;;
esac
