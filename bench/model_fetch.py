#!/usr/bin/env python3
"""The model road against its peers, with models served by nginx on loopback
(scripts/nginx-serve.sh), alternating runs in one process so that both sides see the same machine:

  1. `--cli models-fetch` of a 1 GiB file model against `curl -s -o` + `openssl dgst -sha256`.
  2. Peak resident memory of `models-fetch` for a 256 MiB and a 2 GiB model (getrusage of the child).
  3. A zipped package model of 200 MB in 2,000 files against curl + openssl dgst + `unzip -q`.
  4. A 1 GiB fetch killed half way and run again: the bytes the second run asked for against the
     bytes that were missing (from nginx's access log).

The models are random bytes made in a temporary folder (about 3.5 GiB), deleted at the end.

usage: bench/model_fetch.py [path/to/velko-installer] [runs]
"""
import os
import random
import re
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
KEY = os.path.join(ROOT, "tests", "data", "DEVELOPMENT-ONLY-model-list-key.pem")
MIB = 1 << 20


def write_random(path, size):
    with open(path, "wb") as f:
        left = size
        while left:
            n = min(left, 16 * MIB)
            f.write(os.urandom(n))
            left -= n


def make_package_zip(work, path):
    rng = random.Random(7)
    package = os.path.join(work, "pkg.mlmodelc")
    weights = [rng.uniform(0.2, 1.8) for _ in range(2000)]
    scale = 200 * 1000 * 1000 / sum(weights)
    for i, w in enumerate(weights):
        sub = os.path.join(package, f"group{i % 40:02d}")
        os.makedirs(sub, exist_ok=True)
        with open(os.path.join(sub, f"w{i:04d}.bin"), "wb") as f:
            f.write(os.urandom(int(w * scale)))
    subprocess.run(["zip", "-q", "-r", path, "pkg.mlmodelc"], cwd=work, check=True)
    shutil.rmtree(package)


def publish(tool, root, models):
    """Writes models.json for `models` (id, file name, kind, package) and signs it."""
    entries = []
    for model_id, name, kind, package in models:
        entries.append(subprocess.run(
            [tool, "entry", os.path.join(root, name), "--id", model_id, "--kind", kind,
             "--package", package, "--title-en", model_id, "--title-de", model_id],
            check=True, capture_output=True, text=True).stdout.strip())
    with open(os.path.join(root, "models.json"), "w") as f:
        f.write('{"format":1,"issued":"2026-11-22","models":[' + ",".join(entries) + "]}\n")
    subprocess.run([tool, "sign", KEY, os.path.join(root, "models.json")], check=True,
                   stdout=subprocess.DEVNULL)


def run_child(argv, env, cwd=None):
    """Runs `argv` to its end; returns (wall seconds, peak resident KiB). Fails on a non-zero exit."""
    start = time.perf_counter()
    child = subprocess.Popen(argv, env=env, cwd=cwd, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.perf_counter() - start
    if status != 0:
        sys.exit(f"{argv[0]} failed with status {status}")
    return wall, usage.ru_maxrss


def shell(command, env):
    return run_child(["bash", "-c", "set -e; " + command], env)[0]


def compare(label, goal, ours, theirs, runs):
    """Alternates `ours` and `theirs` (each returns seconds) `runs` times; prints medians and ratio."""
    times = {"ours": [], "theirs": []}
    for i in range(runs):
        pair = [("ours", ours), ("theirs", theirs)]
        if i % 2:
            pair.reverse()
        for name, run in pair:
            times[name].append(run())
    med_ours, med_theirs = statistics.median(times["ours"]), statistics.median(times["theirs"])
    print(f"{label}, {runs} alternating runs each")
    print(f"  velko-installer --cli models-fetch  median {med_ours:7.3f} s")
    print(f"  peer                                median {med_theirs:7.3f} s")
    print(f"  ratio (velko / peer)                {med_ours / med_theirs:.2f}x   (goal: {goal})",
          flush=True)


def main():
    exe = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else "build/velko-installer")
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    tool = os.path.join(os.path.dirname(exe), "tools", "model_tool", "velko-model-tool")
    serve = os.path.join(ROOT, "scripts", "nginx-serve.sh")
    work = tempfile.mkdtemp(prefix="velko-bench-models-")
    state = os.path.join(work, "nginx")
    try:
        root = os.path.join(work, "root")
        os.makedirs(root)
        write_random(os.path.join(root, "big.bin"), 1 << 30)
        write_random(os.path.join(root, "m256.bin"), 256 * MIB)
        write_random(os.path.join(root, "m2g.bin"), 2 << 30)
        make_package_zip(work, os.path.join(root, "pkg.zip"))
        publish(tool, root, [("big", "big.bin", "file", "big.bin"),
                             ("m256", "m256.bin", "file", "m256.bin"),
                             ("m2g", "m2g.bin", "file", "m2g.bin"),
                             ("pkg", "pkg.zip", "coreml", "pkg.mlmodelc")])
        base = subprocess.run(["bash", serve, "start", root, state], check=True, text=True,
                              capture_output=True,
                              env=dict(os.environ, NGINX_SERVE_ACCESS_LOG="1")).stdout.strip()
        store = os.path.join(work, "store")
        env = dict(os.environ, HOME=work, LANG="en_US.UTF-8", VELKO_MODEL_STORE=store,
                   VELKO_MODEL_LIST_URL=base + "/models.json")
        peer = os.path.join(work, "peer")

        def fetch(model_id):
            shutil.rmtree(store, ignore_errors=True)
            result = run_child([exe, "--cli", "models-fetch", "--model", model_id], env)
            shutil.rmtree(store, ignore_errors=True)
            return result

        def peer_run(command):
            shutil.rmtree(peer, ignore_errors=True)
            os.makedirs(peer)
            seconds = shell(f"cd {peer}; " + command, env)
            shutil.rmtree(peer, ignore_errors=True)
            return seconds

        for name in ("big.bin", "pkg.zip"):  # the page cache holds the served files for both
            shell(f"cat {root}/{name} > /dev/null", env)

        compare("1 GiB file model: models-fetch vs curl -s -o + openssl dgst -sha256", "at most 1.10x",
                lambda: fetch("big")[0],
                lambda: peer_run(f"curl -s -o big.bin {base}/big.bin; "
                                 "openssl dgst -sha256 big.bin >/dev/null"), runs)

        rss = {model_id: fetch(model_id)[1] for model_id in ("m256", "m2g")}
        print("peak resident memory of models-fetch")
        print(f"  256 MiB model  {rss['m256'] / 1024:6.1f} MiB")
        print(f"  2 GiB model    {rss['m2g'] / 1024:6.1f} MiB")
        print(f"  difference     {abs(rss['m2g'] - rss['m256']) / 1024:6.1f} MiB"
              "   (goal: at most 32 MiB each, within 2 MiB of each other)", flush=True)
        os.remove(os.path.join(root, "m2g.bin"))
        os.remove(os.path.join(root, "m256.bin"))

        compare("zipped package, 200 MB in 2,000 files: models-fetch vs curl + openssl dgst + unzip -q",
                "at most 1.25x", lambda: fetch("pkg")[0],
                lambda: peer_run(f"curl -s -o pkg.zip {base}/pkg.zip; "
                                 "openssl dgst -sha256 pkg.zip >/dev/null; unzip -q pkg.zip"), runs)

        # Kill a fetch once half of the file is in its .part, then let the next run finish it.
        shutil.rmtree(store, ignore_errors=True)
        part = os.path.join(store, ".downloads", "big.bin.part")
        child = subprocess.Popen([exe, "--cli", "models-fetch", "--model", "big"], env=env,
                                 stdout=subprocess.DEVNULL)
        while not os.path.exists(part) or os.path.getsize(part) < (1 << 29):
            time.sleep(0.002)
        child.send_signal(signal.SIGKILL)
        child.wait()
        missing = (1 << 30) - os.path.getsize(part)
        log = os.path.join(state, "logs", "access.log")
        seen = sum(1 for _ in open(log))
        run_child([exe, "--cli", "models-fetch", "--model", "big"], env)
        asked = 0
        for line in open(log).readlines()[seen:]:
            match = re.match(r'GET /big\.bin \S+ (\d+) "([^"]*)" (\d+)', line)
            if match:
                asked += int(match.group(3))
                print(f"  second run: {match.group(1)} Range \"{match.group(2)}\", "
                      f"{int(match.group(3))} bytes sent")
        print("resume of a 1 GiB fetch killed half way")
        print(f"  bytes missing after the kill  {missing}")
        print(f"  bytes the second run fetched  {asked}   (goal: equal)")
        shutil.rmtree(store, ignore_errors=True)
    finally:
        subprocess.run(["bash", serve, "stop", state])
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
