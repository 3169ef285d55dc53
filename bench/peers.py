#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Sets the index beside other ways to find a name, on one tree, in one run.

    bench/peers.py build/release/bench/bench_peers <folder> [text...]

Those of plocate, fdfind, find and rg that are installed are run as whole commands, their output
thrown away, warm, each several times; the median counts. A search of ours is a call in a running
process, so a bare process start is timed too.
"""

import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

DEFAULT_TEXTS = ["qzxjkw", "prirucka", "report", "jpg", "re", "e"]


def median_ms(command, runs=5, environment=None):
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False,
                       env=environment)
        times.append((time.perf_counter() - start) * 1000)
    return statistics.median(times)


def peers(folder, database):
    """(name, text -> command), of what is installed."""
    found = []
    if shutil.which("plocate"):
        found.append(("plocate -ib", lambda text: ["plocate", "-d", database, "-ib", text]))
        found.append(("plocate -ib -l100",
                      lambda text: ["plocate", "-d", database, "-ib", "-l", "100", text]))
    if shutil.which("fdfind"):
        found.append(("fd -HIF", lambda text: ["fdfind", "-HIFi", text, folder]))
    if shutil.which("find"):
        found.append(("find -iname", lambda text: ["find", folder, "-iname", f"*{text}*"]))
    if shutil.which("rg"):
        found.append(("rg --files",
                      lambda text: ["rg", "--files", "-uu", "--iglob", f"*{text}*", folder]))
    return found


def main():
    ours, folder, *texts = sys.argv[1:]
    folder = os.path.realpath(folder)
    texts = texts or DEFAULT_TEXTS
    with tempfile.TemporaryDirectory() as work:
        database = os.path.join(work, "plocate.db")
        if shutil.which("updatedb"):
            start = time.perf_counter()
            subprocess.run(["updatedb", "-U", folder, "-o", database, "-l", "no", "--prunepaths", "",
                            "--prunenames", "", "--prunefs", ""], check=True)
            print(f"updatedb: {time.perf_counter() - start:.1f} s")
        lines = subprocess.run([ours, folder, *texts], check=True, capture_output=True, text=True)
        print(lines.stderr.strip())
        print(f"a process that does nothing: {median_ms(['true'], 15):.1f} ms")
        all_peers = peers(folder, database)
        print("| Text | Hits | Ours | with 100 rows read | "
              + " | ".join(name for name, _ in all_peers) + " |")
        print("|" + "---|" * (4 + len(all_peers)))
        for line in lines.stdout.splitlines():
            text, hits, searched, listed, _ = line.split("\t")
            cells = []
            for _, command in all_peers:
                taken = median_ms(command(text))
                cells.append(f"{taken:.0f} ms ({taken / float(searched):.0f} x)")
            print(f"| {text} | {int(hits):,} | {float(searched):.2f} ms | {float(listed):.2f} ms | "
                  + " | ".join(cells) + " |", flush=True)


main()
