#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The hot keys, pressed in another program's window, under several window managers."""
import json
import pathlib
import shutil
import unittest

import desktop_case
from desktop_case import LOGIN_MARK, DesktopCase, wait_until

MAIN_KEY = "ctrl+space"
CONTROL_SPACE = '{"carbonKeyCode":49,"carbonModifiers":4096}'
F9 = '{"carbonKeyCode":101,"carbonModifiers":0}'


class HotKeyCase(DesktopCase):
    def start_and_wait(self, program_file=None):
        """Starts the program; it is in the background and its hot keys are taken."""
        if program_file:
            program = self.session.start_program(program_file, self.home, environment=LOGIN_MARK)
            self.programs.append(program)
        else:
            program = self.start()
        wait_until(self.session.is_service_there, "the program is on the bus")
        wait_until(lambda: self.setting("launchVellumhound").exists(), "the hot keys are bound")
        # The panel is made when the program has nothing else to do; it is there, unseen, when all is ready.
        wait_until(lambda: self.session.tree.program(program.process.pid), "the program is ready")
        return program

    def setting(self, name: str) -> pathlib.Path:
        return pathlib.Path(self.home.environment()["XDG_CONFIG_HOME"]) / f"vellumhound/KeyboardShortcuts_{name}.json"

    def write_setting(self, name: str, text: str) -> None:
        file = self.setting(name)
        file.parent.mkdir(parents=True, exist_ok=True)
        new = file.with_suffix(".new")
        new.write_text(text, encoding="utf-8")
        new.replace(file)

    def focus_other_window(self) -> None:
        x, y, width, height = self.session.geometry(self.session.windows("Another window")[0])
        self.session.click(x + width // 2, y + 10)
        wait_until(lambda: self.session.active_window_title() == "Another window", "another program has the keyboard")

    def press_until_shown(self, program, key=MAIN_KEY) -> None:
        self.session.keys(key)
        program.wait_for_panel()
        wait_until(lambda: program.part("Search", "text").is_focused, "the box has the keyboard")

    def put_away(self, program) -> None:
        self.focus_other_window()
        program.wait_until_hidden()

    def set_layout(self, *arguments: str) -> None:
        self.session._output("setxkbmap", *arguments)


class TestHotKeys(HotKeyCase):
    def test_a_start_waits_in_the_background_and_stores_the_default(self):
        program = self.start_and_wait()

        self.assertEqual(self.setting("launchVellumhound").read_text(encoding="utf-8"), CONTROL_SPACE)
        self.assertFalse(self.setting("browseFinderWindows").exists())
        self.assertFalse(program.is_panel_visible)

    def test_the_key_brings_up_the_panel_from_another_programs_window(self):
        program = self.start_and_wait()
        self.focus_other_window()

        self.press_until_shown(program)
        self.session.type("report")

        program.wait_for_box("report")

    def test_the_key_does_so_again_and_again(self):
        program = self.start_and_wait()
        for _ in range(5):
            self.focus_other_window()
            self.press_until_shown(program)
            self.put_away(program)

    def test_the_key_leaves_what_the_panel_in_front_shows_as_it_is(self):
        program = self.start_and_wait()
        self.press_until_shown(program)
        self.search(program, "report", "Reports")
        self.session.keys("Down", "Down")
        wait_until(lambda: program.selected() == program.rows()[1], "the second row is selected")
        place = self.session.geometry(program.panel_windows()[0])
        self.session._output("xdotool", "windowmove", program.panel_windows()[0], "40", "60")
        wait_until(lambda: self.session.geometry(program.panel_windows()[0])[:2] != place[:2], "the panel has moved")

        self.session.keys(MAIN_KEY)

        wait_until(lambda: self.session.geometry(program.panel_windows()[0]) == place, "the panel is in the middle")
        self.assertEqual(program.box, "report")
        self.assertEqual(program.selected(), program.rows()[1])

    def test_a_held_key_shows_the_panel_and_types_nothing(self):
        program = self.start_and_wait()
        self.focus_other_window()

        self.session.hold("ctrl", "space")
        program.wait_for_panel()
        self.session.let_go("space", "ctrl")
        self.session.type("a")

        program.wait_for_box("a")
        self.assertTrue(program.is_panel_visible)

    def test_the_locks_of_the_keyboard_change_nothing(self):
        program = self.start_and_wait()
        for locks in (["Caps_Lock"], ["Num_Lock"], ["Caps_Lock", "Num_Lock"]):
            with self.subTest(locks=locks):
                self.focus_other_window()
                self.session._output("xdotool", "key", *locks)
                try:
                    self.session._output("xdotool", "key", MAIN_KEY)
                    program.wait_for_panel()
                finally:
                    self.session._output("xdotool", "key", *locks)
                self.put_away(program)

    def test_a_key_that_another_program_holds_is_told_in_one_line_and_stays_chosen(self):
        self.hold_elsewhere("space", "Control")

        program = self.start_and_wait()

        wait_until(lambda: "Error registering hotkey ⌃Space: 10\n" in program.output, "the refusal is told")
        self.assertEqual(program.output.count("Error registering hotkey"), 1)
        self.assertEqual(self.setting("launchVellumhound").read_text(encoding="utf-8"), CONTROL_SPACE)

    def test_another_layout_leaves_the_key_where_it_is(self):
        program = self.start_and_wait()
        self.addCleanup(self.set_layout, "us")
        for layout in (["us"], ["ru"], ["us", "-variant", "dvorak"]):
            with self.subTest(layout=layout):
                self.set_layout(*layout)
                self.focus_other_window()
                self.press_until_shown(program)
                self.put_away(program)

    def test_the_key_acts_while_a_menu_of_ours_is_open(self):
        program = self.start_and_wait()
        self.press_until_shown(program)
        self.search(program, "report", "Reports")
        box = program.part("Search", "text")
        x, y, width, height = box.extents
        self.session._output("xdotool", "mousemove", str(x + width // 2), str(y + height // 2), "click", "3")
        wait_until(lambda: not self.can_grab_keyboard(), "the menu is open and has the keyboard")

        self.session.keys(MAIN_KEY)

        wait_until(self.can_grab_keyboard, "the menu has given way")
        wait_until(lambda: program.part("Search", "text").is_focused, "the box has the keyboard")
        self.assertEqual(program.box, "report")
        self.put_away(program)
        self.press_until_shown(program)  # and it is taken again

    def test_a_shortcut_written_by_hand_takes_effect_at_once(self):
        program = self.start_and_wait()

        self.focus_other_window()
        self.assertTrue(self.is_held("space", "Control"))

        self.write_setting("launchVellumhound", F9)

        wait_until(lambda: self.is_held("F9"), "the new key is taken")
        self.assertFalse(self.is_held("space", "Control"))
        self.press_until_shown(program, "F9")

    def test_a_removed_shortcut_does_not_come_back(self):
        self.write_setting("launchVellumhound", "false")

        program = self.start_and_wait()

        self.assertFalse(self.is_held("space", "Control"))
        self.assertEqual(self.setting("launchVellumhound").read_text(encoding="utf-8"), "false")
        program.present()

    def test_broken_texts_read_as_no_shortcut_and_stay_as_they_are(self):
        broken = ["", "{", "[]", "null", "true", "49", '"text"', '{"carbonKeyCode":49}',
                  '{"carbonKeyCode":"49","carbonModifiers":4096}', '{"carbonKeyCode":1e99,"carbonModifiers":4096}',
                  '{"carbonKeyCode":49.5,"carbonModifiers":4096}', "\x00\x01", "{" * 5000]
        for text in broken:
            with self.subTest(text=text[:40]):
                self.write_setting("launchVellumhound", text)
                program = self.start_and_wait()
                self.assertFalse(self.is_held("space", "Control"))
                self.assertEqual(self.setting("launchVellumhound").read_text(encoding="utf-8"), text)
                program.end()
                wait_until(lambda: not self.session.is_service_there(), "the program has ended")

    def test_a_key_off_the_keyboard_is_refused_in_one_line(self):
        self.write_setting("launchVellumhound", json.dumps({"carbonKeyCode": 4711, "carbonModifiers": 4096}))

        program = self.start_and_wait()

        wait_until(lambda: "Error registering hotkey ⌃�: " in program.output, "the refusal is told")
        program.present()

    def test_all_three_keys_bring_up_the_panel(self):
        program = self.start_and_wait(desktop_case.options.all_hot_keys)
        wait_until(lambda: self.setting("browseFinderWindows").exists(), "all hot keys are bound")
        for key in ("alt+s", "alt+f", MAIN_KEY):
            with self.subTest(key=key):
                self.focus_other_window()
                self.press_until_shown(program, key)
                self.put_away(program)


class EveryWindowManager:
    """What has to be so whatever the window manager holds of programs that take the keyboard."""

    test_the_key_brings_up_the_panel_from_another_programs_window = (
        TestHotKeys.test_the_key_brings_up_the_panel_from_another_programs_window)
    test_the_key_does_so_again_and_again = TestHotKeys.test_the_key_does_so_again_and_again
    test_a_held_key_shows_the_panel_and_types_nothing = TestHotKeys.test_a_held_key_shows_the_panel_and_types_nothing
    test_all_three_keys_bring_up_the_panel = TestHotKeys.test_all_three_keys_bring_up_the_panel


class TestHotKeysUnderXfwm4(EveryWindowManager, HotKeyCase):
    window_manager = "xfwm4"


@unittest.skipUnless(shutil.which("kwin_x11"), "missing: kwin_x11")  # style: a window manager is not there
class TestHotKeysUnderKWin(EveryWindowManager, HotKeyCase):
    window_manager = "kwin_x11"


class TestAnotherProgramsMenu(HotKeyCase):
    def test_its_menu_keeps_the_keyboard_and_the_key_works_once_it_has_closed(self):
        program = self.start_and_wait()
        # The window manager's own menu holds the keyboard while it is open.
        self.session._output("xdotool", "mousemove", "900", "700", "click", "3")
        wait_until(lambda: not self.can_grab_keyboard(), "a menu of another program has the keyboard")
        self.session.keys(MAIN_KEY)
        self.assertFalse(program.is_panel_visible)

        wait_until(lambda: (self.session.keys("Escape"), self.can_grab_keyboard())[-1], "the menu is closed")

        self.press_until_shown(program)


if __name__ == "__main__":
    desktop_case.main()
