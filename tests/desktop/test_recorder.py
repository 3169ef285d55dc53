#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The shortcut recorder with real keys and hot keys, read through the accessible tree."""
import desktop_case
from desktop_case import wait_until
from recorder_case import BY_SYSTEM, CAN_BE_CHANGED, HARDWARE_K, PRESS, RECORD, TITLE, RecorderCase

LETTER_K, F5, F12, SPACE = 40, 96, 111, 49
COMMAND, SHIFT, OPTION, CONTROL = 0x100, 0x200, 0x800, 0x1000  # as stored
CONTROL_FLAG = 0x40000  # as in a menu


class TestRecorder(RecorderCase):

    # --- what it shows ---

    def test_the_window_opens_without_a_recording(self):
        self.open()

        self.assertEqual([self.shown(name) for name in self.nodes], ["⌃Space", "⌃Space", ""])
        self.assertEqual(self.nodes["First"].description, "Ctrl+Space. " + RECORD)
        self.assertEqual(self.nodes["Other"].description, RECORD)
        self.assertTrue(self.clear_button("First").is_showing)
        self.assertFalse(self.clear_button("Other").is_showing)
        self.assertNotIn("recording yes", self.lines())
        self.assertEqual(self.nodes["First"].extents[2], 130)

    def test_the_focus_starts_and_ends_the_recording(self):
        self.open()

        self.focus("Other")
        self.wait_line("recording yes")
        self.assertEqual(self.nodes["Other"].description, PRESS)
        self.focus("First")

        self.assertFalse(self.is_recording("Other"))
        self.assertEqual([line for line in self.lines() if line.startswith("recording")],
                         ["recording yes", "recording no", "recording yes"])

    # --- ends of a recording ---

    def test_a_click_four_pixels_outside_ends_it_and_one_two_pixels_outside_does_not(self):
        self.open()
        x, y, width, height = self.nodes["First"].extents
        middle = (x + width // 2, y + height // 2)
        for far, near in (((x - 4, middle[1]), (x - 2, middle[1])),
                          ((x + width + 3, middle[1]), (x + width + 1, middle[1])),
                          ((middle[0], y - 4), (middle[0], y - 2)),
                          ((middle[0], y + height + 3), (middle[0], y + height + 1))):
            with self.subTest(far=far):
                self.focus()
                bells = self.lines().count("bell")
                self.session.click(*near)
                self.session.keys("a")  # behind the click on the same way: it beeps only while recording
                self.wait_line("bell", bells + 1)
                self.assertTrue(self.is_recording())

                self.session.click(*far)

                self.wait_idle()

    def test_tab_leaves_it_for_the_next_control(self):
        self.open()
        self.focus("First")

        self.session.keys("Tab")
        self.wait_recording("Again")
        self.session.keys("Tab")
        self.wait_recording("Other")
        self.session.keys("Tab")

        wait_until(lambda: self.program.node().find("Button", "push button").is_focused, "the button has the focus")
        self.assertFalse(self.is_recording("Other"))
        self.session.keys("space")
        self.wait_line("button")

    def test_escape_ends_it_and_the_old_shortcut_stays(self):
        self.open()
        self.focus()

        self.session.keys("Escape")

        self.wait_idle()
        self.assertEqual(self.shown(), "⌃Space")
        self.assertNotIn("window got Esc", self.lines())
        self.session.keys("Tab")
        self.wait_recording("Again")

    def test_another_window_ends_it_and_it_does_not_go_on_by_itself(self):
        self.open()
        self.focus()

        self.session.click(120, 80)
        self.wait_keyboard("Another window")
        self.wait_line("recording no")
        self.press_until_hot_key("ctrl+space", "hot key launchVellumhound")
        x, y, _, _ = self.session.geometry(self.session.windows(TITLE)[0])
        self.session.click(x + 5, y + 5)
        self.wait_keyboard(TITLE)

        self.press_until_hot_key("ctrl+space", "hot key launchVellumhound")
        self.assertEqual(self.lines().count("recording yes"), 1)
        self.wait_idle()

    # --- keys that are no shortcut ---

    def test_backspace_and_delete_clear_it_and_it_goes_on_recording(self):
        for key in ("BackSpace", "Delete"):
            with self.subTest(key=key):
                self.open()
                self.focus()

                self.session.keys(key)

                self.wait_shown("")
                self.wait_shown("", "Again")
                self.wait_recording()
                self.wait_line("told First none")
                self.assertIs(self.stored(), False)
                self.assertFalse(self.clear_button().is_showing)

                self.session.keys(key, "a")  # nothing to clear; the letter beeps
                self.wait_line("bell")
                self.assertTrue(self.is_recording())
                self.assertEqual(self.lines().count("told First none"), 1)
                self.session.keys("ctrl+space")
                self.wait_shown("⌃Space")
                self.program.end()

    def test_the_clear_button_clears_it_and_it_records(self):
        self.open()
        x, y, width, height = self.clear_button().extents

        self.session.click(x + width // 2, y + height // 2)

        self.wait_shown("")
        self.wait_recording()
        self.assertIs(self.stored(), False)

    def test_a_screen_reader_clears_it_and_starts_it(self):
        self.open()

        self.clear_button().press()
        self.wait_shown("")
        self.wait_recording()
        self.nodes["Other"].press()

        self.wait_recording("Other")

    def test_a_letter_alone_or_with_shift_beeps(self):
        self.open()
        self.focus()

        self.session.keys("a")
        self.wait_line("bell", 1)
        self.session.keys("shift+a")
        self.wait_line("bell", 2)

        self.assertTrue(self.is_recording())
        self.assertEqual(self.shown(), "⌃Space")
        self.assertFalse([line for line in self.lines() if line == "window got A"])

    # --- what is taken ---

    def test_control_and_a_letter_are_taken_stored_and_act(self):
        self.open()
        self.focus()

        self.session.keys("ctrl+k")

        self.wait_shown("⌃K")
        self.wait_shown("⌃K", "Again")
        self.wait_idle()
        self.wait_line("told First ⌃K")
        self.assertEqual(self.stored(), {"carbonKeyCode": LETTER_K, "carbonModifiers": CONTROL})
        self.press_until_hot_key("ctrl+k", "hot key launchVellumhound")
        count = self.lines().count("hot key launchVellumhound")
        self.session.keys("ctrl+space")
        self.press_until_hot_key("ctrl+k", "hot key launchVellumhound")
        self.assertEqual(self.lines().count("hot key launchVellumhound"), count + 1)

    def test_every_modifier_counts_as_it_is_held(self):
        self.open()
        for keys, text, modifiers in (("super+k", "⌘K", COMMAND), ("alt+shift+k", "⌥⇧K", OPTION | SHIFT),
                                      ("ctrl+alt+shift+super+k", "⌃⌥⇧⌘K", CONTROL | OPTION | SHIFT | COMMAND)):
            with self.subTest(keys=keys):
                self.focus()
                self.session.keys(keys)
                self.wait_shown(text)
                self.wait_idle()
                self.assertEqual(self.stored(), {"carbonKeyCode": LETTER_K, "carbonModifiers": modifiers})

    def test_a_mnemonic_of_the_window_does_not_come_first(self):
        self.open()
        self.focus()

        self.session.keys("alt+b")

        self.wait_shown("⌥B")
        self.assertNotIn("button", self.lines())

    def test_a_function_key_alone_is_taken(self):
        self.open()
        for key, code in (("F5", F5), ("F12", F12)):
            with self.subTest(key=key):
                self.focus()
                self.session.keys(key)
                self.wait_shown(key)
                self.wait_idle()
                self.assertEqual(self.stored(), {"carbonKeyCode": code, "carbonModifiers": 0})
                self.press_until_hot_key(key, "hot key launchVellumhound")

    def test_its_own_shortcut_can_be_recorded_again(self):
        for desktop in ((), ("--ask-desktop",)):
            with self.subTest(desktop=desktop):
                self.open(*desktop)
                self.press_until_hot_key("ctrl+space", "hot key launchVellumhound")
                self.focus()

                self.session.keys("ctrl+space")

                self.wait_line("told First ⌃Space")
                self.wait_idle()
                self.assertEqual(self.shown(), "⌃Space")
                self.assertNotIn("Error registering", self.program.output)
                self.press_until_hot_key("ctrl+space", "hot key launchVellumhound")
                self.program.end()

    def test_a_hot_key_of_ours_is_silent_while_another_field_records(self):
        self.open()
        self.press_until_hot_key("ctrl+space", "hot key launchVellumhound")
        count = self.lines().count("hot key launchVellumhound")
        self.focus("Other")

        self.session.keys("ctrl+space")

        self.wait_shown("⌃Space", "Other")
        self.wait_idle("Other")
        self.assertEqual(self.lines().count("hot key launchVellumhound"), count)
        self.press_until_hot_key("ctrl+space", "hot key browseFinderWindows")
        wait_until(lambda: self.lines().count("hot key launchVellumhound") == count + 1, "both names act")

    def test_a_held_key_that_was_just_recorded_runs_nothing(self):
        self.open()
        self.focus()
        self.addCleanup(self.session.let_go, "k", "ctrl")

        self.session.hold("ctrl", "k")
        self.wait_shown("⌃K")
        self.wait_idle()
        # The press itself, and what the server makes of a key that is held down.
        self.wait_line(f"server pressed {HARDWARE_K}", 4)
        self.session.let_go("k", "ctrl")
        self.press_until_hot_key("ctrl+k", "hot key launchVellumhound")

        self.assertEqual(self.lines().count("hot key launchVellumhound"), 1)

    # --- conflicts ---

    def test_a_key_of_the_menu_is_refused_with_one_button(self):
        self.open("--menu", "Quit Vellumhound", "k", CONTROL_FLAG)
        self.focus()

        self.session.keys("ctrl+k")

        texts, buttons = self.alert()
        self.assertEqual(texts, ["The menu item “Quit Vellumhound” already has this shortcut."])
        self.assertEqual([button.name for button in buttons], ["OK"])
        self.assertFalse(self.is_recording())
        self.session.keys("Return")
        self.wait_no_alert()
        self.wait_recording()
        self.assertEqual(self.shown(), "⌃Space")
        self.session.keys("ctrl+j")
        self.wait_shown("⌃J")

    def test_a_key_of_the_programs_own_menu_is_refused(self):
        self.open()
        self.focus()
        for keys in ("super+q", "ctrl+q"):
            with self.subTest(keys=keys):
                self.session.keys(keys)

                texts, _ = self.alert()
                self.assertEqual(texts, ["The menu item “Quit” already has this shortcut."])
                self.session.keys("Return")
                self.wait_no_alert()
                self.wait_recording()
        self.assertEqual(self.shown(), "⌃Space")

    def test_an_upper_case_key_of_the_menu_is_one_with_shift(self):
        self.open("--menu", "Other", "K", CONTROL_FLAG)
        self.focus()

        self.session.keys("ctrl+shift+k")
        self.alert()
        self.session.keys("Escape")
        self.wait_no_alert()
        self.wait_recording()
        self.session.keys("ctrl+k")

        self.wait_shown("⌃K")

    def test_a_key_of_the_desktop_is_refused_by_the_first_button(self):
        self.open("--system", LETTER_K, CONTROL)
        self.focus()

        self.session.keys("ctrl+k")

        texts, buttons = self.alert()
        self.assertEqual(texts, [BY_SYSTEM, CAN_BE_CHANGED])
        self.assertEqual([button.name for button in buttons], ["OK", "Use Anyway"])
        self.session.keys("Return")
        self.wait_no_alert()
        self.wait_recording()
        self.assertEqual(self.shown(), "⌃Space")
        self.assertEqual(self.stored(), {"carbonKeyCode": SPACE, "carbonModifiers": CONTROL})

    def test_a_key_of_the_desktop_is_taken_by_the_second_button(self):
        self.open("--held", LETTER_K, CONTROL, "Terminal")
        self.focus()

        self.session.keys("ctrl+k")

        texts, buttons = self.alert()
        self.assertEqual(texts, [BY_SYSTEM, "It belongs to “Terminal”. " + CAN_BE_CHANGED])
        self.assertEqual(self.shown(), "⌃Space")
        x, y, width, height = buttons[1].extents
        self.session.click(x + width // 2, y + height // 2)
        self.wait_no_alert()
        self.wait_shown("⌃K")
        self.wait_idle()
        self.assertEqual(self.stored(), {"carbonKeyCode": LETTER_K, "carbonModifiers": CONTROL})
        self.press_until_hot_key("ctrl+k", "hot key launchVellumhound")
        self.wait_idle()

    def test_f12_alone_is_not_asked_of_the_desktop_and_f5_is(self):
        self.open("--system", F12, 0, "--system", F5, 0)
        self.focus()

        self.session.keys("F5")
        self.alert()
        self.session.keys("Escape")
        self.wait_no_alert()
        self.wait_recording()
        self.session.keys("F12")

        self.wait_shown("F12")

    def test_in_a_sandbox_alt_is_not_enough(self):
        self.open("--sandboxed")
        self.focus()

        self.session.keys("alt+k")

        texts, buttons = self.alert()
        self.assertEqual(texts, ["Alt, alone or with Shift, is not enough here. Add Ctrl or Super to the shortcut."])
        self.assertEqual([button.name for button in buttons], ["OK"])
        self.session.keys("Return")
        self.wait_no_alert()
        self.wait_recording()
        self.session.keys("ctrl+alt+k")
        self.wait_shown("⌃⌥K")


class TestRecorderOnAStricterDesktop(TestRecorder):
    """The same under a window manager that hands out the keyboard sparingly, with a compositor."""

    window_manager = "xfwm4"
    is_composited = True


if __name__ == "__main__":
    desktop_case.main()
