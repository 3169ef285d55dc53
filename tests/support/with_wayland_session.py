#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs a command in a Wayland session of its own: sway without a screen, with keyboard, pointer and session bus.

    with_wayland_session.py command [argument...]

Gives the command's exit code; 77, which stands for a test that was skipped, where sway is not installed.
"""
import os
import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from wayland_session import WaylandSession, missing_wayland_tools  # noqa: E402

SKIPPED = 77


def main() -> int:
    missing = missing_wayland_tools()
    if missing:
        print(f"skipped; missing: {' '.join(missing)}")
        return SKIPPED
    with tempfile.TemporaryDirectory(prefix="vellumhound-session-") as folder:
        with WaylandSession(pathlib.Path(folder) / "session") as session:
            session.start_other_window()  # for the keyboard to go to
            home = {"HOME": folder, "XDG_RUNTIME_DIR": str(session.folder / "runtime")}
            values = dict(os.environ) | session.environment() | session.control() | home
            return subprocess.run(sys.argv[1:], env=values, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
