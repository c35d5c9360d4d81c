#!/usr/bin/env python3
"""Times `velko-installer --cli install` against `cp -a` of the same package, alternating runs in one
process so that both see the same machine, and prints the median ratio. Also prints the median wall
time of `--cli status` with three Photoshop bundles to find.

usage: bench/plugin_install.py [path/to/velko-installer] [runs]
"""
import os
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

FILES = 2000
TOTAL_BYTES = 50 * 1000 * 1000


def make_package(folder):
    rng = random.Random(7)
    os.makedirs(folder)
    with open(os.path.join(folder, "manifest.json"), "w") as f:
        f.write('{"id": "com.example.bench", "name": "Bench", "version": "1.0.0",'
                ' "host": {"app": "PS", "minVersion": "24.2.0"}}\n')
    weights = [rng.uniform(0.2, 1.8) for _ in range(FILES - 1)]
    scale = TOTAL_BYTES / sum(weights)
    for i, w in enumerate(weights):
        sub = os.path.join(folder, "assets", f"group{i % 40:02d}", f"set{i % 7}")
        os.makedirs(sub, exist_ok=True)
        with open(os.path.join(sub, f"file{i:04d}.bin"), "wb") as f:
            f.write(os.urandom(int(w * scale)))


def timed(argv, env):
    start = time.perf_counter()
    subprocess.run(argv, env=env, check=True, stdout=subprocess.DEVNULL)
    return time.perf_counter() - start


def main():
    exe = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else "build/velko-installer")
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 11
    work = tempfile.mkdtemp(prefix="velko-bench-")
    try:
        package = os.path.join(work, "package")
        make_package(package)
        env = dict(os.environ, HOME=work, LANG="en_US.UTF-8")
        env.pop("VELKO_UXP_BASE_DIR", None)
        ours, theirs = [], []
        timed(["cp", "-a", package, os.path.join(work, "warm")], env)  # page cache for both sides
        for i in range(runs):
            base = os.path.join(work, f"uxp{i}")
            copy = os.path.join(work, f"copy{i}")
            pair = [("velko", lambda: timed([exe, "--cli", "install", "--ignore-photoshop",
                                              "--plugin", package, "--uxp-base-dir", base], env)),
                    ("cp", lambda: timed(["cp", "-a", package, copy], env))]
            if i % 2:
                pair.reverse()
            for name, run in pair:
                (ours if name == "velko" else theirs).append(run())
            shutil.rmtree(base)
            shutil.rmtree(copy)
        med_ours, med_theirs = statistics.median(ours), statistics.median(theirs)
        print(f"install  {FILES} files / {TOTAL_BYTES / 1e6:.0f} MB, {runs} alternating runs each")
        print(f"  velko-installer --cli install  median {med_ours * 1000:8.1f} ms")
        print(f"  cp -a                          median {med_theirs * 1000:8.1f} ms")
        print(f"  ratio (velko / cp -a)          {med_ours / med_theirs:.2f}x   (goal: at most 1.30x)")

        apps = os.path.join(work, "Applications")
        for name, version in (("Adobe Photoshop 2025.app", "26.1.0"),
                              ("Adobe Photoshop 2024/Adobe Photoshop 2024.app", "25.12.0"),
                              ("Adobe Photoshop 2023.app", "24.7.0")):
            contents = os.path.join(apps, name, "Contents")
            os.makedirs(contents)
            with open(os.path.join(contents, "Info.plist"), "w") as f:
                f.write('<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>'
                        f'<key>CFBundleShortVersionString</key><string>{version}</string>'
                        '</dict></plist>\n')
        status = [timed([exe, "--cli", "status", "--plugin", package], env) for _ in range(31)]
        print(f"status   three Photoshop bundles, 31 runs: median {statistics.median(status) * 1000:.1f} ms")
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
