#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A keyboard of the compositor that WAYLAND_DISPLAY names, for as long as standard input is open.

Takes one command a line and answers each with a line once the compositor has done it:

    layout <name>[,name]... [group]    what the keys mean, and which of the layouts is in use, from 0
    caps on|off                        Caps Lock
    press <code>                       a key by its code in linux/input-event-codes.h
"""
import os
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from wayland_seat import WaylandSeat  # noqa: E402


def main() -> None:
    seat = WaylandSeat(pathlib.Path(os.environ["WAYLAND_DISPLAY"]))
    for line in sys.stdin:
        command, *words = line.split()
        if command == "layout":
            seat.set_layout(words[0], int(words[1]) if len(words) > 1 else 0)
        elif command == "caps":
            seat.set_caps_lock(words[0] == "on")
        elif command == "press":
            seat.press(int(words[0]))
        else:
            sys.exit(f"no such command: {command}")
        print("done", flush=True)


if __name__ == "__main__":
    main()
