#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The panel where the compositor has no layers: under GNOME's, as an ordinary window."""
import pathlib
import unittest

import desktop_case
from desktop_case import DesktopCase, Program, wait_until
from mutter_session import MutterSession, missing_mutter_tools

MISSING = missing_mutter_tools()
TOKEN_OF_NOBODY = "a-token-of-nobody"


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestOrdinaryWindow(DesktopCase):
    @classmethod
    def make_session(cls, folder: pathlib.Path) -> MutterSession:
        return MutterSession(folder)

    def test_the_panel_has_the_keyboard_at_each_showing(self):
        program = self.start_and_present()
        for text in ("report", "song"):
            self.session.type(text)
            program.wait_for_box(text)
            self.session.keys("Escape")
            program.wait_for_box("")

            self.session.keys("Escape")

            program.wait_until_hidden()
            wait_until(self.session.has_other_window_keyboard, "the other window has the keyboard")
            program.present()

    def test_a_second_start_with_a_token_brings_the_panel_of_the_first(self):
        program = self.start_and_hide(WAYLAND_DEBUG="client")
        token = self.session.take_token()

        second = self.start_by_person(XDG_ACTIVATION_TOKEN=token)

        self.assertEqual(second.wait_for_end(), 0)
        program.wait_for_panel()
        self.assertFalse(self.session.has_other_window_keyboard())
        self.assertIn(f'activate("{token}", wl_surface', program.errors)
        self.session.type("report")
        program.wait_for_box("report")

    def test_a_token_counts_once(self):
        program = self.start_and_hide(WAYLAND_DEBUG="client")
        self.assertEqual(self.start_by_person(XDG_ACTIVATION_TOKEN=TOKEN_OF_NOBODY).wait_for_end(), 0)
        program.wait_for_panel()
        self.session.keys("Escape")
        program.wait_until_hidden()

        program.present()

        self.assertEqual(program.errors.count(TOKEN_OF_NOBODY), 1)

    def test_a_press_on_another_window_puts_the_panel_away(self):
        program = self.start_and_present()

        def press() -> bool:
            """Where that window is, is known to the compositor alone."""
            for x, y in ((30, 60), (640, 20), (640, 700), (1250, 690)):
                self.session.click(x, y)
            return not program.is_panel_visible

        wait_until(press, "the panel is away")
        self.assertTrue(program.is_running)

    def start_and_hide(self, **environment: str) -> Program:
        program = self.start_and_present(**environment)
        self.session.keys("Escape")
        program.wait_until_hidden()
        wait_until(self.session.has_other_window_keyboard, "the other window has the keyboard")
        return program


if __name__ == "__main__":
    desktop_case.main()
