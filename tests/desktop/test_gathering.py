#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What a person does while a search still gathers: the crawl of the home is held in one folder until the test lets go."""
import desktop_case
from desktop_case import DesktopCase, wait_until


class TestGathering(DesktopCase):
    def setUp(self):
        super().setUp()
        self.hold = self.home.write(".hold")
        self.home.write("held/Report that comes last.txt")

    def test_rows_on_screen_stay_for_who_went_down_and_came_back(self):
        program = self._search_that_gathers("Report")
        rows = program.rows()

        self.session.keys("Down", "Right")
        program.wait_for_box("~/Documents/Reports/")
        self.session.keys("Left")
        program.wait_for_box("Report")
        self._let_go(program)

        self.assertEqual(program.rows()[:len(rows)], rows)
        self.assertIn("Report that comes last.txt", program.names())
        self.assertEqual(program.box, "Report")

    def test_a_search_ends_behind_a_folder_that_stays_on_screen(self):
        program = self._search_that_gathers("Report")
        self.session.keys("Down", "Right")
        program.wait_for_box("~/Documents/Reports/")
        program.wait_for_selected("2023")
        below = program.rows()

        self._let_go(program)

        self.assertEqual(program.rows(), below)
        self.assertEqual(program.selected(), "2023")
        self.session.keys("Left")
        program.wait_for_box("Report")
        program.wait_for_name("Report that comes last.txt")

    def test_a_blank_typed_meanwhile_leaves_no_spinner(self):
        program = self._search_that_gathers("Report")

        self.session.type(" ")
        program.wait_for_box("Report ")
        self._let_go(program)

        self.assertIn("Report that comes last.txt", program.names())
        self.assertEqual(program.box, "Report ")

    def _search_that_gathers(self, text):
        program = self.start_and_present(LD_PRELOAD=str(desktop_case.options.held_folder), HOLD_FILE=str(self.hold))
        self.session.type(text)
        program.wait_for_box(text)
        program.wait_for_name("Reports")
        wait_until(lambda: program.contents(), "the right column shows what is in the folder")
        self.assertFalse(self._is_over(program))
        return program

    def _let_go(self, program):
        self.assertFalse(self._is_over(program))
        self.hold.unlink()
        wait_until(lambda: self._is_over(program), "the search is over")

    @staticmethod
    def _is_over(program):
        button = program.part("Clear search", "push button")
        return bool(button and button.is_showing)


if __name__ == "__main__":
    desktop_case.main()
