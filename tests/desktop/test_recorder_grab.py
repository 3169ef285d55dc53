#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The recorder has the keyboard to itself: keys of the window manager and of other programs, by real presses."""
import pathlib
import unittest

import desktop_case
from desktop_case import wait_until
from recorder_case import BY_SYSTEM, CAN_BE_CHANGED, TITLE, RecorderCase
from wayland_session import WaylandSession, missing_wayland_tools

MISSING = missing_wayland_tools()


class GrabTests:
    """Under a window manager on X11."""

    def wait_keyboard_free(self):
        wait_until(self.can_grab_keyboard, "nobody has the whole keyboard")

    def test_a_key_of_the_window_manager_is_recorded(self):
        self.open()
        self.assertTrue(self.is_held("F4", "Mod1"))
        self.focus()

        self.session.keys("alt+F4")

        self.wait_shown("⌥F4")
        self.wait_idle()
        self.assertTrue(self.program.is_running)

    def test_after_the_recording_the_window_manager_has_its_key_again(self):
        self.open()
        self.focus()
        self.session.keys("Escape")
        self.wait_idle()

        self.session.keys("alt+F4")

        self.assertEqual(self.program.wait_for_end(), 0)

    def test_a_key_that_another_program_holds_arrives_and_is_warned_of(self):
        self.hold_elsewhere("k", "Control")
        self.open("--ask-desktop")
        self.focus()

        self.session.keys("ctrl+k")

        texts, buttons = self.alert()
        self.assertEqual(texts, [BY_SYSTEM, CAN_BE_CHANGED])
        self.assertTrue(self.can_grab_keyboard())
        x, y, width, height = buttons[1].extents
        self.session.click(x + width // 2, y + height // 2)
        self.wait_no_alert()
        self.wait_shown("⌃K")
        wait_until(lambda: "Error registering hotkey ⌃K: 10" in self.lines(), "the other program keeps the key")

    def test_the_keyboard_is_held_while_it_records_and_no_longer(self):
        self.open()
        self.assertTrue(self.can_grab_keyboard())

        self.focus()
        self.assertFalse(self.can_grab_keyboard())
        self.focus("Other")
        self.assertFalse(self.can_grab_keyboard())
        self.session.keys("Escape")
        self.wait_idle("Other")
        self.wait_keyboard_free()

        self.focus()
        self.session.click(120, 80)
        self.wait_keyboard("Another window")
        self.wait_keyboard_free()

        x, y, _, _ = self.session.geometry(self.session.windows(TITLE)[0])
        self.session.click(x + 5, y + 5)
        self.wait_keyboard(TITLE)
        self.focus()
        self.assertFalse(self.can_grab_keyboard())
        self.programs.remove(self.program)
        self.program.process.kill()
        self.wait_keyboard_free()


class TestGrabUnderOpenbox(GrabTests, RecorderCase):
    window_manager = "openbox"


class TestGrabUnderXfwm4(GrabTests, RecorderCase):
    window_manager = "xfwm4"


class TestGrabUnderKWin(GrabTests, RecorderCase):
    window_manager = "kwin_x11"

    def give_keyboard(self):
        """Here no window gets it that nobody clicks on."""
        window = wait_until(lambda: self.session.windows(TITLE), "the window is there")[0]
        x, y, _, _ = self.session.geometry(window)
        self.session.click(x + 5, y + 5)
        self.wait_keyboard(TITLE)


class SwayWithAKey(WaylandSession):
    """Its configuration has Ctrl+J."""

    def _start_sway(self, configuration: str, **variables: str) -> None:
        super()._start_sway(configuration + "bindsym Ctrl+j nop a key of sway\n", **variables)


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestGrabUnderSway(RecorderCase):
    other_window = False

    @classmethod
    def make_session(cls, folder: pathlib.Path) -> SwayWithAKey:
        return SwayWithAKey(folder)

    def wait_keyboard(self, title):
        wait_until(lambda: self.session.active_window_title() == title, f"“{title}” has the keyboard")

    def test_a_key_of_the_compositor_is_recorded_and_is_its_own_again_afterwards(self):
        acted = self.session.shared_file("acted")
        self.session.message("bindsym", "Ctrl+k", "exec", f"touch {acted}")
        self.addCleanup(self.session.message, "unbindsym", "Ctrl+k")
        self.open()

        self.session.keys("Tab")
        self.wait_recording()
        self.session.keys("ctrl+k")

        self.wait_shown("⌃K")
        self.wait_idle()
        self.assertFalse(acted.exists())
        self.session.keys("ctrl+k")
        wait_until(acted.exists, "the compositor acts on its key")

    def test_the_repeats_of_the_recorded_key_reach_no_window(self):
        self.open()
        self.session.keys("Tab")
        self.wait_recording()

        self.session.hold("ctrl", "k")
        self.wait_shown("⌃K")
        self.wait_idle()
        self.wait_line("repeat of K", 3)
        self.session.let_go("k", "ctrl")
        self.session.keys("k")

        self.wait_line("window got K")
        self.assertEqual(self.lines().count("window got K"), 1)

    def test_a_key_of_its_configuration_is_warned_of(self):
        self.open("--ask-desktop", environment=self.session.control())
        self.session.keys("Tab")
        self.wait_recording()

        self.session.keys("ctrl+j")

        texts, _ = self.alert()
        self.assertEqual(texts, [BY_SYSTEM, "It belongs to “sway: nop a key of sway”. " + CAN_BE_CHANGED])
        self.session.keys("Escape")
        self.wait_recording()


if __name__ == "__main__":
    desktop_case.main()
