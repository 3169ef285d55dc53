#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Light and dark, the blur behind the panel, and what a screen reader makes of it."""
import pathlib
import subprocess

import dbus

import desktop_case
from desktop_case import DesktopCase, DesktopSession, wait_until

NO_PREFERENCE, DARK, LIGHT = 0, 1, 2


def panel_color(session: DesktopSession) -> tuple[int, int, int]:
    """In the empty lower half of the home screen."""
    return session.color_at(session.screen[0] // 2, session.screen[1] // 2 + 100)


class TestAppearance(DesktopCase):
    @classmethod
    def make_session(cls, folder: pathlib.Path) -> DesktopSession:
        return DesktopSession(folder, is_dark=True)

    def set_scheme(self, scheme: int) -> None:
        portal = self.session.bus.get_object("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                                             introspect=False)
        portal.SetColorScheme(dbus.UInt32(scheme), dbus_interface="org.vellumhound.Test")

    def test_dark_light_and_back_to_no_preference_are_followed_and_the_border_stays(self):
        self.set_scheme(DARK)
        program = self.start_and_present()
        wait_until(lambda: max(panel_color(self.session)) < 64, "the panel is dark")
        x, y, width, _height = self.session.geometry(program.panel_windows()[0])
        border = self.session.color_at(x + width // 2, y)
        self.assertEqual(border, (128, 128, 128))

        self.set_scheme(LIGHT)
        wait_until(lambda: min(panel_color(self.session)) > 200, "the panel is light")
        self.set_scheme(DARK)
        wait_until(lambda: max(panel_color(self.session)) < 64, "the panel is dark again")
        self.set_scheme(NO_PREFERENCE)
        wait_until(lambda: min(panel_color(self.session)) > 200, "the panel is light as the desktop is")

        self.assertEqual(self.session.color_at(x + width // 2, y), border)


class TestBlur(DesktopCase):
    other_window = False
    window_manager = "kwin_x11"

    @classmethod
    def make_session(cls, folder: pathlib.Path) -> DesktopSession:
        return DesktopSession(folder, screen=(1100, 700), window_manager="kwin_x11", is_blurred=True)

    def set_blur(self, is_on: bool) -> None:
        effects = self.session.bus.get_object("org.kde.KWin", "/Effects", introspect=False)
        effects.get_dbus_method("loadEffect" if is_on else "unloadEffect", "org.kde.kwin.Effects")("blur")

    def redness(self) -> int:
        red, green, _blue = panel_color(self.session)
        return red - green

    def test_what_lies_behind_shines_through_only_while_the_compositor_blurs_it(self):
        self.session.start_window_behind_the_panel("red")
        program = self.start_and_present()
        wait_until(lambda: 80 < self.redness() < 120, "the red behind shines through, by two fifths")

        self.set_blur(False)
        wait_until(lambda: abs(self.redness()) < 8, "the panel is opaque")

        self.set_blur(True)
        wait_until(lambda: self.redness() > 80, "the red shines through again")
        self.assertTrue(program.is_panel_visible)


class TestScreenReader(DesktopCase):
    def focused_rows(self, program) -> list[str]:
        results = program.part("Results", "list")
        return [row.name for row in results.children if row.is_focused]

    def test_while_the_box_has_the_focus_no_row_claims_it(self):
        program = self.start_and_present()
        self.search(program, "report", "Reports")
        wait_until(program.selected, "a row is selected")

        self.assertTrue(program.part("Search", "text").is_focused)
        self.assertEqual(self.focused_rows(program), [])

        self.session.keys("Down")
        wait_until(lambda: self.focused_rows(program) == [program.selected()], "the selected row has the focus")
        self.assertFalse(program.part("Search", "text").is_focused)

    def test_the_panel_is_a_window_that_tells_when_it_is_active(self):
        for event in ("window:activate", "window:deactivate"):
            self.session.tree.listen(event)
        program = self.start()
        command = ["dbus-monitor", "--address", self.session.tree.address,
                   "type='signal',interface='org.a11y.atspi.Event.Window'"]
        heard = self.session.folder / "window-events"
        with open(heard, "wb") as out:
            monitor = subprocess.Popen(command, stdout=out)
        self.addCleanup(monitor.wait)
        self.addCleanup(monitor.kill)
        program.present()

        panel = next(node for node in program.node().children if node.name == "Vellumhound")
        self.assertEqual(panel.role, "frame")
        wait_until(lambda: "member=Activate" in heard.read_text(errors="replace"), "the panel has told that it is active")

        self.session.keys("Escape")
        program.wait_until_hidden()
        wait_until(lambda: "member=Deactivate" in heard.read_text(errors="replace"), "the panel has told that it went")


if __name__ == "__main__":
    desktop_case.main()
