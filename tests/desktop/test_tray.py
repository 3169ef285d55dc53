#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The item in the tray of the desktop, in both kinds of tray, and the keys of its menu."""
import json
import pathlib
import subprocess
import sys

import desktop_case
from desktop_case import DesktopCase, wait_until
from desktop_session import end_process, end_with_parent

TRAY_CELL = 24
PEER = pathlib.Path(__file__).resolve().parents[1] / "support/peers/tray.py"


class ScriptedTray:
    """A desktop that draws item and menu by itself, on the session's bus."""

    def __init__(self, session, log: pathlib.Path):
        self._log = log
        self._log.write_bytes(b"")
        self._process = subprocess.Popen([sys.executable, "-B", str(PEER), str(log)],
                                         env={**session.environment(), "PATH": "/usr/bin:/bin"},
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, preexec_fn=end_with_parent)
        assert self._process.stdout.readline() == b"ready\n"

    def stop(self) -> None:
        self._process.stdin.close()
        self._process.stdout.close()
        end_process(self._process)

    def noted(self, what: str) -> list[dict]:
        entries = [json.loads(line) for line in self._log.read_text(encoding="utf-8").splitlines()]
        troubles = [entry["text"] for entry in entries if entry["what"] == "error"]
        assert not troubles, troubles
        return [entry for entry in entries if entry["what"] == what]

    def tell(self, line: str) -> None:
        self._process.stdin.write(line.encode() + b"\n")
        self._process.stdin.flush()

    def wait_for_item(self, count: int = 1) -> None:
        wait_until(lambda: len(self.noted("registered")) == count, "the item is in the tray")

    def menu(self) -> list[dict]:
        before = len(self.noted("menu"))
        self.tell("menu")
        return wait_until(lambda: self.noted("menu")[before:], "the tray has the menu")[0]["rows"]


class TestTray(DesktopCase):
    def start_tray(self) -> ScriptedTray:
        tray = ScriptedTray(self.session, self.session.folder / "tray.log")
        self.addCleanup(tray.stop)
        return tray

    def start_x11_tray(self):
        tray = self.session.start_x11_tray(TRAY_CELL)
        self.addCleanup(end_process, tray)

    def hide_panel(self, program) -> None:
        """Clicks the other window until the panel is gone: a showing asks for the keyboard twice, and the second
        time can come after the click."""
        def try_once():
            self.session.click_with(1, 120, 80)
            return self.is_soon(lambda: not program.is_panel_visible)
        wait_until(try_once, "the panel is gone")

    @staticmethod
    def wait_for_the_keyboard(program) -> None:
        wait_until(lambda: program.part("Search", "text").is_focused, "the box has the keyboard")

    @staticmethod
    def is_soon(predicate) -> bool:
        try:
            return bool(wait_until(predicate, "it is so", 2))
        except AssertionError:
            return False

    def x11_items(self) -> list:
        return [place for place in self.session.places_by_class("vellumhound") if place[2] <= TRAY_CELL]

    def click_x11_item(self, button: int, predicate, what: str) -> None:
        """Clicks until the effect is seen: the tray may still move its items when the first click comes."""
        def try_once():
            for x, y, width, height in self.x11_items():
                self.session.click_with(button, x + width // 2, y + height // 2)
                if self.is_soon(predicate):
                    return True
            return False
        wait_until(try_once, what)

    def x11_menu(self) -> tuple | None:
        """Where the menu is: the only thing besides the item that reaches down to the tray. The toolkit leaves it
        out of the accessible tree."""
        edge = self.session.screen[1] * 0.9
        return next(((x, y, width, height) for x, y, width, height in self.session.places_by_class("vellumhound")
                     if width > TRAY_CELL and y + height > edge), None)

    def choose_last_row(self, predicate, what: str) -> None:
        def try_once():
            place = self.x11_menu()
            if place:
                x, y, _width, height = place
                # The pointer must have moved over the row before a click counts there.
                self.session.click_with(1, x + 40, y + height - 14)
                self.session.click_with(1, x + 44, y + height - 12)
            return predicate()
        wait_until(try_once, what)

    def test_the_menu_of_the_tray_presents_the_panel_and_ends_the_program(self):
        tray = self.start_tray()
        program = self.start_and_present()
        tray.wait_for_item()
        self.hide_panel(program)

        rows = tray.menu()
        self.assertEqual([row.get("label", "-") for row in rows if row.get("type") != "separator"],
                         ["Open Vellumhound", "Settings", rows[4]["label"], "Check for Updates",
                          "About Vellumhound", "Quit"])
        self.assertRegex(rows[4]["label"], r"^Version \d+\.\d+\.\d+ \(\d+\)$")
        tray.tell("choose Open Vellumhound")
        program.wait_for_panel()
        tray.tell("choose Quit")

        self.assertEqual(program.wait_for_end(), 0)
        wait_until(lambda: tray.noted("gone"), "the item is gone")

    def test_the_menu_shows_the_shortcut_that_is_stored(self):
        tray = self.start_tray()
        self.start_and_present()
        tray.wait_for_item()
        self.assertEqual(tray.menu()[0].get("shortcut"), [["Control", "Space"]])

        self.home.set_setting("KeyboardShortcuts_launchVellumhound", {"carbonKeyCode": 49, "carbonModifiers": 2048})
        wait_until(lambda: tray.menu()[0].get("shortcut") == [["Alt", "Space"]], "the menu shows the new key")
        self.home.set_setting("KeyboardShortcuts_launchVellumhound", False)

        wait_until(lambda: "shortcut" not in tray.menu()[0], "the menu shows no key")

    def test_a_click_on_the_item_presents_the_panel(self):
        tray = self.start_tray()
        program = self.start_and_present()
        tray.wait_for_item()
        self.hide_panel(program)

        tray.tell("activate")

        program.wait_for_panel()

    def test_a_tray_that_starts_after_the_program_gets_the_item(self):
        program = self.start_and_present()
        self.assertNotIn("tray", program.errors.lower())

        tray = self.start_tray()

        tray.wait_for_item()

    def test_the_setting_takes_the_item_away_while_the_program_runs(self):
        tray = self.start_tray()
        program = self.start_and_present()
        tray.wait_for_item()

        self.home.set_setting("appSettings", {"showMenuBarIcon": False, "onboarding": 5, "selectedSettingsTab": 0})
        wait_until(lambda: tray.noted("gone"), "the item is gone")
        self.assertTrue(program.is_running)
        self.home.set_setting("appSettings", {"showMenuBarIcon": True, "onboarding": 5, "selectedSettingsTab": 0})

        tray.wait_for_item(2)

    def test_without_the_item_the_hot_key_and_another_start_present_the_panel(self):
        tray = self.start_tray()
        self.home.set_setting("appSettings", {"showMenuBarIcon": False, "onboarding": 5, "selectedSettingsTab": 0})
        program = self.start()
        wait_until(self.session.is_service_there, "the program is on the bus")
        wait_until(lambda: (self.session.keys("ctrl+space"), program.is_panel_visible)[-1], "the panel is shown")
        program.wait_for_panel()
        self.hide_panel(program)

        self.assertEqual(self.start_by_person().wait_for_end(), 0)

        program.wait_for_panel()
        self.assertEqual(tray.noted("registered"), [])

    def test_the_item_in_an_x11_tray_presents_the_panel_and_has_a_menu(self):
        self.start_x11_tray()
        program = self.start_and_present()
        wait_until(self.x11_items, "the item is in the tray")
        self.hide_panel(program)

        self.click_x11_item(1, lambda: program.is_panel_visible, "the panel is on screen")
        self.hide_panel(program)
        self.click_x11_item(3, self.x11_menu, "the menu is open")
        self.choose_last_row(lambda: not program.is_running, "the program ends")

        self.assertEqual(program.wait_for_end(), 0)

    def test_the_menu_of_an_x11_tray_leaves_the_panel_where_it_is(self):
        self.start_x11_tray()
        program = self.start_and_present()
        wait_until(self.x11_items, "the item is in the tray")

        self.click_x11_item(3, self.x11_menu, "the menu is open")
        self.session.keys("Escape")

        wait_until(lambda: not self.x11_menu(), "the menu has closed")
        self.assertTrue(program.is_panel_visible)
        self.session.type("a")
        program.wait_for_box("a")

    def test_the_hot_key_acts_while_the_menu_of_an_x11_tray_is_open(self):
        self.start_x11_tray()
        program = self.start_and_present()
        wait_until(self.x11_items, "the item is in the tray")
        self.hide_panel(program)
        self.click_x11_item(3, self.x11_menu, "the menu is open")

        self.session.keys("ctrl+space")

        program.wait_for_panel()
        wait_until(lambda: not self.x11_menu(), "the menu has given way")
        self.wait_for_the_keyboard(program)
        self.session.type("a")
        program.wait_for_box("a")
        self.hide_panel(program)
        self.session.keys("ctrl+space")  # and it is taken again
        program.wait_for_panel()

    def test_an_x11_tray_that_starts_late_gets_the_item_and_the_setting_takes_it_away(self):
        self.start_and_present()
        self.start_x11_tray()
        wait_until(self.x11_items, "the item is in the tray")

        self.home.set_setting("appSettings", {"showMenuBarIcon": False, "onboarding": 5, "selectedSettingsTab": 0})

        wait_until(lambda: not self.x11_items(), "the item is gone")

    def test_the_quit_key_in_the_panel_ends_the_program(self):
        program = self.start_and_present()
        self.wait_for_the_keyboard(program)

        self.session.keys("ctrl+q")

        self.assertEqual(program.wait_for_end(), 0)

    def test_the_quit_key_ends_the_program_at_each_showing_of_the_panel(self):
        for _ in range(3):
            program = self.start_and_present()
            self.hide_panel(program)
            self.session.keys("ctrl+space")
            program.wait_for_panel()
            self.wait_for_the_keyboard(program)

            self.session.keys("ctrl+q")

            self.assertEqual(program.wait_for_end(), 0)
            wait_until(lambda: not self.session.is_service_there(), "the program has ended")

    def test_the_settings_key_does_nothing_while_there_are_no_settings(self):
        program = self.start_and_present()
        self.wait_for_the_keyboard(program)

        self.session.keys("ctrl+comma")
        self.session.type("a")

        program.wait_for_box("a")


if __name__ == "__main__":
    desktop_case.main()
