#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Typing finds what is on the disk now."""
import desktop_case
from desktop_case import DesktopCase, wait_until

CALCULATOR = """[Desktop Entry]
Type=Application
Name=Calculator
Name[de]=Taschenrechner
Exec={script}
"""


class TestSearch(DesktopCase):
    def test_typing_finds_a_file_and_its_row_reads_name_and_path(self):
        program = self.start_and_present()

        self.search(program, "report_b", "report_builder.py")

        self.assertEqual(program.rows(), ["report_builder.py, ~/Projects/billing/src/report_builder.py"])
        self.assertEqual(program.selected(), "report_builder.py, ~/Projects/billing/src/report_builder.py")

    def test_a_part_of_the_name_in_any_case_finds_all_that_hold_it(self):
        program = self.start_and_present()

        self.search(program, "REPORT", "Reports")

        expected = {"Reports", "Report 2024.odt", "report-final (2).txt", "report-cover.png", "report_builder.py",
                    "Annual Report Größenordnung.pdf", "bug-reports", "Reporting guidelines.md", "reportgen.cpp"}
        wait_until(lambda: set(program.names()) == expected, f"exactly these are found: {sorted(expected)}")
        self.assertEqual(program.names()[0], "Reports")

    def test_a_letter_without_its_marks_finds_the_name_with_them(self):
        program = self.start_and_present()

        self.search(program, "grossenord", "Annual Report Größenordnung.pdf")

        self.assertEqual(len(program.rows()), 1)

    def test_hidden_files_are_not_found(self):
        program = self.start_and_present()

        self.search(program, "report-", "report-cover.png")

        self.assertNotIn("report-secret.txt", program.names())

    def test_a_file_made_while_the_program_runs_is_found(self):
        program = self.start_and_present()
        self.search(program, "report_b", "report_builder.py")
        self.clear(program)

        self.home.write("Documents/Work/zebra crossing.txt", "stripes\n")

        self._search_again_until(program, "zebra", ["zebra crossing.txt"])

    def test_a_renamed_file_is_found_by_its_new_name_only(self):
        program = self.start_and_present()
        self.search(program, "reportgen", "reportgen.cpp")
        self.clear(program)

        source = self.home.path / "Projects/atlas/src/reportgen.cpp"
        source.rename(source.with_name("walrus.cpp"))

        self._search_again_until(program, "walrus", ["walrus.cpp"])
        self._search_again_until(program, ".cpp", ["walrus.cpp"])

    def test_a_typed_path_lists_what_begins_like_it(self):
        program = self.start_and_present()

        self.search(program, "~/Do", "Documents")

        wait_until(lambda: program.names() == ["Documents", "Downloads"], "both folders are listed")
        self.assertEqual(program.rows()[0], "Documents, ~/Documents/")

    def test_tab_completes_a_typed_path_and_lists_the_folder(self):
        program = self.start_and_present()
        self.search(program, "~/Doc", "Documents")

        self.session.keys("Tab")

        program.wait_for_box("~/Documents/")
        wait_until(lambda: program.names() == ["Invoices", "Reports", "University", "Work"], "the folder is listed")

    def test_an_application_is_found_by_its_name_in_the_users_language_and_started(self):
        started = self.home.path / ".calculator-started"
        script = self.home.data / "calculator"
        script.write_text(f"#!/bin/sh\n: > '{started}'\n", encoding="utf-8")
        script.chmod(0o755)
        self.home.add_application("calculator.desktop", CALCULATOR.format(script=script))
        program = self.start_and_present(LANGUAGE="de", LC_MESSAGES="de_DE.UTF-8")

        self.search(program, "taschenr", "Taschenrechner")
        self.session.keys("Return")

        wait_until(started.exists, "the application has been started")
        program.wait_until_hidden()

    def test_without_rules_nothing_is_found_and_the_text_stays(self):
        self.home.set_setting("searchFiltersSettings", {"pathRules": []})
        program = self.start_and_present()

        self.session.type("re")
        program.wait_for_box("re")
        wait_until(lambda: program.part("Search", "text").description == "0 results", "nothing is found")

        self.assertEqual(program.box, "re")
        self.assertEqual(program.rows(), [])
        self.assertNotIn("Search failed", program.output)

    def test_a_megabyte_of_pasted_text_is_survived(self):
        program = self.start_and_present()
        self.session.set_clipboard("report and more " * 65536)

        self.session.keys("ctrl+v")
        wait_until(lambda: len(program.box) > 10000, "the text is in the box")
        self.clear(program)

        self.search(program, "report_b", "report_builder.py")
        self.assertTrue(program.is_running)

    def _search_again_until(self, program, text, names):
        """Events of the file system arrive in their own time: the search is typed anew until they are in."""
        def is_found():
            self.clear(program)
            self.session.type(text)
            program.wait_for_box(text)
            try:
                return wait_until(lambda: program.names() == names, "", timeout=1.0)
            except AssertionError:
                return False

        wait_until(is_found, f"“{text}” finds {names}")


if __name__ == "__main__":
    desktop_case.main()
