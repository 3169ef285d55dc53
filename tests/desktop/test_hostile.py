#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Names that are made to mislead, and folders that go away under one's hands."""
import os
import shutil

import desktop_case
from desktop_case import DesktopCase, wait_until

REPLACEMENT = "\N{REPLACEMENT CHARACTER}"


class TestHostile(DesktopCase):
    def test_a_name_with_a_line_break_is_one_line_and_opens_by_its_bytes(self):
        self._is_shown_and_opened(b"walrus\nin two lines.txt", f"walrus{REPLACEMENT}in two lines.txt")

    def test_a_name_that_turns_the_reading_direction_shows_it_and_opens_by_its_bytes(self):
        self._is_shown_and_opened("walrus \N{RIGHT-TO-LEFT OVERRIDE}fdp.txt".encode(), f"walrus {REPLACEMENT}fdp.txt")

    def test_a_name_that_is_no_text_opens_by_its_bytes(self):
        self._is_shown_and_opened(b"walrus \xff\xfe \xc3.txt", f"walrus {REPLACEMENT}{REPLACEMENT} {REPLACEMENT}.txt")

    def test_a_folder_that_is_removed_while_it_is_listed_can_be_left(self):
        program = self.start_and_present()
        self.search(program, "Report", "Reports")
        program.wait_for_selected("Reports")
        self.session.keys("Down", "Right")
        program.wait_for_selected("2023")

        shutil.rmtree(self.home.path / "Documents/Reports")
        self.session.keys("Down")
        program.wait_for_selected("2024")
        self.session.keys("Right", "Left")

        program.wait_for_box("Report")
        self.session.keys("Tab")
        self.clear(program)
        self.search(program, "report_b", "report_builder.py")

    def test_a_file_that_is_removed_before_it_is_opened_leaves_the_panel_at_work(self):
        program = self.start_and_present()
        self.search(program, "report_b", "report_builder.py")

        (self.home.path / "Projects/billing/src/report_builder.py").unlink()
        self.session.keys("Return")
        program.present()

        self.clear(program)
        self.search(program, "thesis", "Thesis draft.md")
        self.assertTrue(program.is_running)

    def _is_shown_and_opened(self, name: bytes, shown: str):
        file = os.fsencode(self.home.path / "Documents/Work") + b"/" + name
        with open(file, "wb") as content:
            content.write(b"tusks\n")
        program = self.start_and_present()

        self.search(program, "walrus", shown)
        self.assertEqual(program.rows(), [f"{shown}, ~/Documents/Work/{shown}"])
        self.session.keys("Return")

        wait_until(self.home.opened.exists, "the viewer was given a file")
        self.assertEqual(self.home.opened.read_bytes(), file + b"\n")


if __name__ == "__main__":
    desktop_case.main()
