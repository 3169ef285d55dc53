#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How long the panel takes from a call of Activate to its first frame and to the keyboard, under sway without a screen.

    bench/wayland_show.py --program build/release/bin/vellumhound [--count 60] [--by-start]

With --by-start the program is started a second time for each showing, as the compositor does it for a key.

The times are those of the client library's own log (WAYLAND_DEBUG), whose writing is part of what is measured.
"""
from __future__ import annotations

import argparse
import pathlib
import re
import statistics
import sys
import tempfile
import time
from collections.abc import Callable

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/support"))
from desktop_session import Program, wait_until  # noqa: E402
from sample_home import SampleHome  # noqa: E402
from wayland_session import WaylandSession  # noqa: E402

LINE = re.compile(r"^\[ *([0-9.]+)\] (.*)$")
PANEL = re.compile(r" -> zwlr_layer_shell_v1@\d+\.get_layer_surface\(.*, wl_surface@(\d+), nil,")
WRAP_MS = 2**32 / 1000  # the log's clock: microseconds since 1970 in 32 bits, written as milliseconds


def events(log: str) -> dict[str, float]:
    """When what happened, of the first showing in `log`; in milliseconds of the log's clock."""
    found: dict[str, float] = {}
    surface = callback = None
    for line in log.splitlines():
        match = LINE.match(line)
        if not match:
            continue
        at, text = float(match[1]), match[2]
        if surface is None:
            panel = PANEL.match(text)
            surface = panel[1] if panel else None
        elif callback is None and (frame := re.match(rf" -> wl_surface@{surface}\.frame\(new id wl_callback@(\d+)", text)):
            callback = frame[1]
        elif text.startswith(f" -> wl_surface@{surface}.attach(wl_buffer"):
            found.setdefault("drawn", at)
        elif text.startswith(f"wl_callback@{callback}.done"):
            found.setdefault("on the screen", at)
        elif re.match(rf"wl_keyboard@\d+\.enter\(\d+, wl_surface@{surface},", text):
            found.setdefault("keyboard", at)
    return found


def measure(session: WaylandSession, program: Program, times: dict[str, list[float]],
            show: Callable[[], object]) -> None:
    before = len(program.errors)
    start = time.time_ns() // 1000 % 2**32 / 1000
    show()
    seen = wait_until(lambda: len(found := events(program.errors[before:])) == 3 and found, "the panel is shown")
    for name, at in seen.items():
        times.setdefault(name, []).append((at - start) % WRAP_MS)
    program.wait_for_panel()
    session.keys("Escape")
    program.wait_until_hidden()


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", type=pathlib.Path, required=True)
    parser.add_argument("--count", type=int, default=60)
    parser.add_argument("--by-start", action="store_true")
    options = parser.parse_args()
    times: dict[str, list[float]] = {}
    with tempfile.TemporaryDirectory() as folder:
        home = SampleHome(pathlib.Path(folder) / "home")
        home.fill()
        with WaylandSession(pathlib.Path(folder) / "session") as session:
            session.start_other_window()
            program = session.start_program(options.program.resolve(), home, environment={"WAYLAND_DEBUG": "client"})
            program.present()
            session.keys("Escape")
            program.wait_until_hidden()
            def start_again() -> None:
                session.start_program(options.program.resolve(), home).wait_for_end()

            for _ in range(options.count):
                measure(session, program, times, start_again if options.by_start else session.call_activate)
    print(f"{'second start' if options.by_start else 'Activate'} to …, {options.count} showings, milliseconds")
    for name, values in times.items():
        values.sort()
        print(f"  {name:14} median {statistics.median(values):6.1f}   p95 {values[int(len(values) * 0.95)]:6.1f}"
              f"   least {values[0]:6.1f}   most {values[-1]:6.1f}")


if __name__ == "__main__":
    main()
