#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""When the panel comes, when it goes, and what it remembers."""
import os
import signal

import desktop_case
from desktop_case import DesktopCase, wait_until


class TestPanel(DesktopCase):
    shadow_room = (0, 0, 0, 0)  # that the window has around the panel: left, top, right, bottom

    def test_a_call_shows_the_panel_with_the_keyboard_in_an_empty_box(self):
        program = self.start()

        program.present()

        self.assertEqual(program.box, "")
        wait_until(lambda: program.part("Search", "text").is_focused, "the box has the keyboard")

    def test_a_second_start_shows_the_panel_of_the_first_and_ends_well(self):
        first = self.start_and_present()
        self.session.click(120, 80)
        first.wait_until_hidden()

        second = self.start_by_person()

        self.assertEqual(second.wait_for_end(), 0)
        first.wait_for_panel()
        self.assertTrue(first.is_running)

    def test_a_call_over_the_bus_starts_the_program_and_shows_the_panel(self):
        self.session.register_service(desktop_case.options.program, self.home)
        self.addCleanup(self.session.unregister_service)

        self.session.call_activate()

        process_id = self.session.service_process_id()
        self.addCleanup(os.kill, process_id, signal.SIGTERM)
        wait_until(lambda: self.session.active_window_title() == "Vellumhound", "the panel is on screen and active")

    def test_the_panel_stands_in_the_middle_of_the_screen(self):
        program = self.start_and_present()

        x, y, width, height = self.session.geometry(program.panel_windows()[0])

        left, top, right, bottom = self.shadow_room
        self.assertAlmostEqual(x + (left + width - right) / 2, self.session.screen[0] / 2, delta=1)
        self.assertAlmostEqual(y + (top + height - bottom) / 2, self.session.screen[1] / 2, delta=1)

    def test_escape_first_clears_the_box_and_then_puts_the_panel_away(self):
        program = self.start_and_present()
        self.search(program, "report", "Reports")

        self.session.keys("Escape")
        program.wait_for_box("")
        wait_until(lambda: program.part("Results", "list") is None or program.rows() == [], "the home screen is back")
        self.assertTrue(program.is_panel_visible)

        self.session.keys("Escape")
        program.wait_until_hidden()

    def test_the_clear_button_empties_the_box(self):
        program = self.start_and_present()
        self.search(program, "report", "Reports")

        program.part("Clear search", "push button").press()

        program.wait_for_box("")
        self.assertTrue(program.is_panel_visible)

    def test_a_click_on_another_window_puts_the_panel_away_and_the_session_comes_back(self):
        program = self.start_and_present()
        self.search(program, "report", "Reports")
        self.session.keys("Down", "Down")
        wait_until(lambda: program.selected() == program.rows()[1], "the second row is selected")
        rows, selected = program.rows(), program.selected()

        self.session.click(120, 80)
        program.wait_until_hidden()
        program.present()

        self.assertEqual(program.box, "report")
        self.assertEqual(program.rows(), rows)
        self.assertEqual(program.selected(), selected)

    def test_with_a_new_search_each_time_the_panel_comes_back_empty(self):
        self.home.set_setting("searchSettings", {"startupBehavior": "Start new search"})
        program = self.start_and_present()
        self.search(program, "report", "Reports")

        self.session.click(120, 80)
        program.wait_until_hidden()
        program.present()

        program.wait_for_box("")
        wait_until(lambda: program.part("Search", "text").is_focused, "the box has the keyboard")

    def test_activating_a_panel_in_front_leaves_its_text(self):
        program = self.start_and_present()
        self.search(program, "report", "Reports")

        program.present()
        self.session.type("g")

        program.wait_for_box("reportg")


class TestPanelOnAStricterDesktop(TestPanel):
    """The same under a window manager that hands out the keyboard sparingly, with a compositor."""

    window_manager = "xfwm4"
    is_composited = True
    shadow_room = (50, 32, 50, 68)


if __name__ == "__main__":
    desktop_case.main()
