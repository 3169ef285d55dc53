#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The arrow keys walk through folders, Return opens, and the box says where one is."""
import desktop_case
from desktop_case import DesktopCase, wait_until


class TestWalk(DesktopCase):
    def test_right_goes_into_the_folder_and_left_comes_back_to_its_row(self):
        program = self.start_and_present()
        self.search(program, "Report", "Reports")
        program.wait_for_selected("Reports")
        wait_until(lambda: program.contents(), "the right column shows what is in the folder")

        self.session.keys("Down", "Right")

        program.wait_for_box("~/Documents/Reports/")
        program.wait_for_selected("2023")
        self.assertEqual(program.names(), ["2023", "2024", "Budget overview.ods", "Cover letter.odt", "diagram.svg",
                                           "Q3 summary.pdf", "README.md"])
        self.assertEqual(program.contents(), ["January.txt"])

        self.session.keys("Left")

        program.wait_for_box("Report")
        program.wait_for_selected("Reports")

    def test_two_levels_down_and_up_again_end_where_they_began(self):
        program = self.start_and_present()
        self.search(program, "Report", "Reports")
        program.wait_for_selected("Reports")
        rows = program.rows()

        self.session.keys("Down", "Right")
        program.wait_for_selected("2023")
        self.session.keys("Down", "Right")
        program.wait_for_box("~/Documents/Reports/2024/")
        program.wait_for_selected("February.txt")
        self.session.keys("Left")
        program.wait_for_box("~/Documents/Reports/")
        program.wait_for_selected("2024")
        self.session.keys("Left")

        program.wait_for_box("Report")
        program.wait_for_selected("Reports")
        self.assertEqual(program.rows(), rows)

    def test_return_opens_the_selected_file_and_the_panel_goes_away(self):
        program = self.start_and_present()
        self.search(program, "report_b", "report_builder.py")

        self.session.keys("Return")

        wait_until(self.home.opened.exists, "the viewer was given a file")
        self.assertEqual(self.home.opened.read_text(encoding="utf-8"),
                         f"{self.home.path}/Projects/billing/src/report_builder.py\n")
        program.wait_until_hidden()

    def test_a_name_with_brackets_and_blanks_is_opened_as_it_is(self):
        program = self.start_and_present()
        self.search(program, "final (2", "report-final (2).txt")

        self.session.keys("Down", "Return")

        wait_until(self.home.opened.exists, "the viewer was given a file")
        self.assertEqual(self.home.opened.read_text(encoding="utf-8"),
                         f"{self.home.path}/Documents/Work/archive/2023/old drafts/report-final (2).txt\n")

    def test_typing_in_the_list_goes_on_in_the_box(self):
        program = self.start_and_present()
        self.search(program, "report", "Reports")
        self.session.keys("Down")
        wait_until(lambda: not program.part("Search", "text").is_focused, "the list has the keyboard")

        self.session.type("g")

        program.wait_for_box("reportg")
        wait_until(lambda: program.names() == ["reportgen.cpp"], "the longer text is searched")


if __name__ == "__main__":
    desktop_case.main()
