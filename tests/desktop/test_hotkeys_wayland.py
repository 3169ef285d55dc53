#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The hot key where no program can take one: by the desktop portal, and by a line in the compositor's settings."""
import json
import pathlib
import subprocess
import sys
import unittest

import desktop_case
from desktop_case import DesktopCase, wait_until
from wayland_session import WaylandSession, missing_wayland_tools

MISSING = missing_wayland_tools()
PORTAL = pathlib.Path(__file__).resolve().parents[1] / "support/peers/shortcuts_portal.py"
MAIN = "launchVellumhound"


class WaylandHotKeyCase(DesktopCase):
    other_window = False

    @classmethod
    def make_session(cls, folder: pathlib.Path) -> WaylandSession:
        return WaylandSession(folder)

    def setUp(self):
        super().setUp()
        self.addCleanup(self.session.message, "unbindsym", "Ctrl+space")


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestKeyOfTheCompositor(WaylandHotKeyCase):
    def test_a_key_that_starts_the_program_shows_the_panel_of_the_one_that_runs(self):
        program = self.start(**self.session.control())
        wait_until(self.session.is_service_there, "the program is on the bus")
        wait_until(lambda: "bindsym Ctrl+space exec" in program.errors, "the log tells what to do")
        line = next(line for line in program.errors.splitlines() if "bindsym Ctrl+space exec" in line)
        self.assertEqual(line.split("exec ", 1)[1], str(desktop_case.options.program))
        # The compositor is another user here, whom the session bus lets in nowhere: it only tells of the press.
        pressed = self.session.shared_file("pressed")
        self.session.message("bindsym", "Ctrl+space", "exec", f"touch {pressed}")

        self.session.keys("ctrl+space")
        wait_until(pressed.exists, "the compositor acts on the key")
        second = self.start_by_person()

        self.assertEqual(second.wait_for_end(), 0)
        program.wait_for_panel()
        self.session.type("report")
        program.wait_for_box("report")


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestKeyOfThePortal(WaylandHotKeyCase):
    def setUp(self):
        super().setUp()
        self.log = pathlib.Path(self._folder.name) / f"{self._testMethodName}.log"
        self.portal = subprocess.Popen([sys.executable, str(PORTAL), str(self.log), "own"], stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE, text=True, env=self.session._environment())
        self.addCleanup(self.end_portal)
        self.assertEqual(self.portal.stdout.readline(), "ready\n")

    def end_portal(self) -> None:
        self.portal.kill()  # it knows no end of its own
        self.portal.wait(20)
        self.portal.stdin.close()
        self.portal.stdout.close()

    def tell(self, line: str) -> None:
        self.portal.stdin.write(line + "\n")
        self.portal.stdin.flush()

    def calls(self, method: str) -> list:
        if not self.log.exists():
            return []
        calls = (json.loads(line) for line in self.log.read_text(encoding="utf-8").splitlines())
        return [call["arguments"] for call in calls if call["method"] == method]

    def test_a_press_that_the_portal_tells_shows_the_panel(self):
        program = self.start()
        bound = wait_until(lambda: self.calls("BindShortcuts"), "the portal is asked for the key")
        self.assertIn(MAIN, json.dumps(bound[0]))
        self.assertIn("CTRL+space", json.dumps(bound[0]))

        # Nothing tells when its answer has been read; a press before that is nobody's.
        wait_until(lambda: (self.tell(f"activated {MAIN} a-token"), self.tell(f"deactivated {MAIN}"),
                            program.is_panel_visible)[-1], "the panel is shown")

        program.wait_for_panel()

    def test_a_no_of_the_user_is_told_and_asked_no_second_time(self):
        self.tell("set bind code:1")

        program = self.start()

        wait_until(lambda: "Error registering hotkey ⌃Space: " in program.output, "the refusal is told")
        self.assertEqual(len(self.calls("BindShortcuts")), 1)
        program.present()


if __name__ == "__main__":
    desktop_case.main()
