#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The panel under KDE's compositor, as a layer that has the keyboard exclusively.

Nothing is dragged: inside another window system that compositor tells of no relative motion.
"""
import pathlib
import subprocess
import unittest

import desktop_case
from desktop_case import PANEL_TITLE, DesktopCase, Program, wait_until
from desktop_session import DesktopSession
from kwin_session import KWinSession, missing_kwin_tools
from mutter_session import ToldByPrograms
from wayland_session import Picture

MISSING = missing_kwin_tools()
CLEAR_BUTTON = (1174, 212)  # with the panel in the middle
BESIDE_PANEL = (20, 800)
MIDDLE = (800, 450)


class PanelOnKWin(ToldByPrograms, KWinSession):
    """Where the panel is, is told by the picture; who has the keyboard, by the program."""

    def look(self) -> Picture:
        command = ["import", "-silent", "-window", "root", "-depth", "8", "ppm:-"]
        return Picture(subprocess.run(command, env=self._environment(), check=True, capture_output=True).stdout)

    def panel_rectangle(self) -> tuple[int, int, int, int] | None:
        return self.look().light_rectangle()

    def windows(self, title: str) -> list[str]:
        return [title] if title == PANEL_TITLE and self.panel_rectangle() else []

    def geometry(self, window: str) -> tuple[int, int, int, int]:
        return self.panel_rectangle()

    def picture(self, file: pathlib.Path, window: str | None = None, margin: int = 0) -> None:
        DesktopSession.picture(self, file)


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestPanelOnKWin(DesktopCase):
    other_window = False

    @classmethod
    def make_session(cls, folder: pathlib.Path) -> PanelOnKWin:
        return PanelOnKWin(folder)

    def test_the_panel_has_the_keyboard_at_each_showing(self):
        program = self.start_and_present()
        for text in ("report", "song"):
            self.session.type(text)
            program.wait_for_box(text)
            self.clear(program)

            self.session.keys("Escape")

            program.wait_until_hidden()
            program.present()

    def test_the_panel_stands_in_the_middle(self):
        self.start_and_present()

        x, y, width, height = self.session.panel_rectangle()

        self.assertAlmostEqual(x + width / 2, MIDDLE[0], delta=1)
        self.assertAlmostEqual(y + height / 2, MIDDLE[1], delta=1)

    def test_a_press_beside_the_panel_puts_it_away_and_one_on_it_does_not(self):
        program = self.start_and_present()
        for _ in range(2):
            self.search(program, "report", "Reports")
            self.session.click(*CLEAR_BUTTON)
            program.wait_for_box("")
            self.assertTrue(program.is_panel_visible)

            self.press_beside(program)

            program.present()

    def test_the_hot_key_brings_up_the_panel_again_and_again(self):
        program = self.start()
        wait_until(self.session.is_service_there, "the program is on the bus")
        # KDE's service is asked without waiting for it: nothing tells when it has taken the key.
        self.press_until_shown(program)
        self.session.type("report")
        program.wait_for_box("report")
        self.press_beside(program)

        self.press_until_shown(program)

        self.assertNotIn("Error registering hotkey", program.output)

    def press_until_shown(self, program: Program) -> None:
        wait_until(lambda: (self.session.keys("ctrl+space"), program.is_panel_visible)[-1], "the panel is shown")
        program.wait_for_panel()

    def press_beside(self, program: Program) -> None:
        self.session.click(*BESIDE_PANEL)
        program.wait_until_hidden()


if __name__ == "__main__":
    desktop_case.main()
