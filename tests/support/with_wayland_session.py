#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs a command in a Wayland session of its own, with keyboard, pointer and session bus.

    with_wayland_session.py [--kwin] command [argument...]

The session is sway without a screen; with --kwin it is KWin in a window of a private X server, into which
xdotool presses keys. Gives the command's exit code; 77, which stands for a test that was skipped, where the
compositor is not installed.
"""
import os
import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from kwin_session import KWinSession, missing_kwin_tools  # noqa: E402
from wayland_session import WaylandSession, missing_wayland_tools  # noqa: E402

SKIPPED = 77


def main() -> int:
    command = sys.argv[1:]
    is_kwin = command[0] == "--kwin"
    missing = missing_kwin_tools() if is_kwin else missing_wayland_tools()
    if missing:
        print(f"skipped; missing: {' '.join(missing)}")
        return SKIPPED
    with tempfile.TemporaryDirectory(prefix="vellumhound-session-") as folder:
        make_session = KWinSession if is_kwin else WaylandSession
        with make_session(pathlib.Path(folder) / "session") as session:
            if not is_kwin:
                session.start_other_window()  # for the keyboard to go to
            home = {"HOME": folder, "XDG_RUNTIME_DIR": str(session.folder / "runtime")}
            control = {} if is_kwin else session.control()
            values = dict(os.environ) | session.environment() | control | home
            return subprocess.run(command[1 if is_kwin else 0:], env=values, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
