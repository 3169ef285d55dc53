#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What the resident program costs: memory with many names in the index, wake-ups while nothing happens.

Makes a home with FILES empty files in a temporary folder, starts the program in a private session, waits
until the index has them, hides the panel and reads /proc. Usage: idle.py PROGRAM [FILES]
"""
from __future__ import annotations

import pathlib
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests/support"))
from desktop_session import DesktopSession, wait_until  # noqa: E402
from sample_home import SampleHome  # noqa: E402

FILES_A_FOLDER = 50
WATCHED_SECONDS = 30
INDEX_TIMEOUT_SECONDS = 300
LAST_NAME = "zz-the-last-one.txt"


def fill(root: pathlib.Path, count: int) -> None:
    words = ("report", "invoice", "holiday", "budget", "draft", "photo", "letter", "notes", "plan", "summary")
    made = 0
    folder_number = 0
    while made < count:
        folder = root / f"{folder_number % 100:02}" / f"{words[folder_number % 10]} {folder_number}"
        folder.mkdir(parents=True)
        folder_number += 1
        for number in range(FILES_A_FOLDER):
            (folder / f"{words[number % 10]} {folder_number}-{number}.txt").touch()
        made += FILES_A_FOLDER
    (root / LAST_NAME).touch()


def kilobytes(process_id: int, *keys: str) -> int:
    lines = pathlib.Path(f"/proc/{process_id}/smaps_rollup").read_text().splitlines()
    return sum(int(line.split()[1]) for line in lines if line.split(":")[0] in keys)


def switches(process_id: int) -> dict[str, int]:
    """How often each thread has gone to sleep so far; each time something woke it."""
    counts = {}
    for task in pathlib.Path(f"/proc/{process_id}/task").iterdir():
        for line in (task / "status").read_text().splitlines():
            if line.startswith("voluntary_ctxt_switches"):
                counts[task.name] = int(line.split()[1])
    return counts


def processor_seconds(process_id: int) -> float:
    fields = pathlib.Path(f"/proc/{process_id}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / 100


def main() -> int:
    program_path = pathlib.Path(sys.argv[1]).resolve()
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 1_000_000
    with tempfile.TemporaryDirectory(prefix="vellumhound-idle-") as name:
        folder = pathlib.Path(name)
        home = SampleHome(folder / "home", True)
        home.fill()
        begun = time.monotonic()
        fill(folder / "home" / "Many", count)
        print(f"{count} files made in {time.monotonic() - begun:.0f} s")
        with DesktopSession(folder / "session") as session:
            program = session.start_program(program_path, home)
            program.present()
            session.type(LAST_NAME[:9])
            wait_until(lambda: LAST_NAME in program.names(), "the crawl is over", INDEX_TIMEOUT_SECONDS)
            session.start_other_window()
            program.wait_until_hidden()
            time.sleep(5)  # let caches and late work settle; this is a measurement, not a test
            process_id = program.process.pid
            rss = kilobytes(process_id, "Rss")
            uss = kilobytes(process_id, "Private_Clean", "Private_Dirty")
            print(f"idle with {count} names: RSS {rss / 1024:.1f} MB, USS {uss / 1024:.1f} MB")
            before, used = switches(process_id), processor_seconds(process_id)
            time.sleep(WATCHED_SECONDS)
            after = switches(process_id)
            woken = sum(after[task] - before.get(task, 0) for task in after) / WATCHED_SECONDS
            print(f"wake-ups: {woken:.2f} a second, processor "
                  f"{(processor_seconds(process_id) - used) * 1000 / WATCHED_SECONDS:.1f} ms a second")
    return 0


if __name__ == "__main__":
    sys.exit(main())
