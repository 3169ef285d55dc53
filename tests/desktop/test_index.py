#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The index as a user notices it: order by use and time, text inside files, a start after a crash."""
import os
import time

import desktop_case
from desktop_case import DesktopCase, wait_until

TEXT_ON = {"searchByContent": True}
TEXT_OFF = {"searchByContent": False}


class TestIndex(DesktopCase):
    def kept(self, pattern: str = "*"):
        """The files that the index keeps in the cache folder."""
        return [file for file in (self.home.cache / "vellumhound").rglob(pattern) if file.is_file()]

    def search_until(self, program, text, expected):
        """Types `text` anew until the rows are `expected`: what runs in the background may need a moment."""
        def is_found():
            self.clear(program)
            self.session.type(text)
            program.wait_for_box(text)
            try:
                return wait_until(lambda: self.answers(program, expected), "", timeout=2.0)
            except AssertionError:
                return False

        wait_until(is_found, f"{text!r} gives {expected}", timeout=60)

    @staticmethod
    def answers(program, expected) -> bool:
        """The search that runs has ended with these rows."""
        if expected:
            return program.names() == expected
        field = program.part("Search", "text")
        return bool(field) and field.description == "0 results"

    def kill(self, program) -> None:
        program.process.kill()
        program.wait_for_end()
        self.programs.remove(program)
        wait_until(lambda: not self.session.is_service_there(), "the killed program has left the bus")

    # --- order ---

    def test_of_names_that_match_alike_the_one_changed_last_stands_first(self):
        newest_first = ("Projects/atlas/src/reportgen.cpp", "Documents/Reports", "Documents/Work/Report 2024.odt",
                        "Documents/Work/archive/2023/old drafts/report-final (2).txt", "Pictures/report-cover.png",
                        "Projects/atlas/docs/Reporting guidelines.md", "Projects/billing/src/report_builder.py",
                        "Projects/atlas/bug-reports", "Downloads/Annual Report Größenordnung.pdf")
        for age, name in enumerate(newest_first):
            moment = time.time() - age * 86_400 - 60
            os.utime(self.home.path / name, (moment, moment))
        program = self.start_and_present()

        self.search_until(program, "report", [name.rsplit("/", 1)[1] for name in newest_first])

    def test_a_file_that_was_opened_stands_first_from_then_on(self):
        program = self.start_and_present()
        self.search(program, "reportgen", "reportgen.cpp")

        self.session.keys("Return")

        wait_until(self.home.opened.exists, "the file was opened")
        program.wait_until_hidden()
        program.present()
        self.clear(program)
        self.search(program, "report", "Reports")
        self.assertEqual(program.names()[0], "reportgen.cpp")

    def test_what_the_desktop_lists_as_used_lately_stands_first(self):
        used = self.home.path / "Projects/atlas/src/reportgen.cpp"
        stamp = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime())
        (self.home.data / "recently-used.xbel").write_text(
            '<?xml version="1.0" encoding="UTF-8"?>\n<xbel version="1.0">\n'
            f'<bookmark href="{used.as_uri()}" added="{stamp}" modified="{stamp}" visited="{stamp}"/>\n</xbel>\n',
            encoding="utf-8")
        program = self.start_and_present()
        self.search(program, "report_b", "report_builder.py")  # the first crawl is over
        self.clear(program)

        self.search(program, "report", "Reports")

        self.assertEqual(program.names()[0], "reportgen.cpp")

    # --- text ---

    def test_text_inside_files_is_found_only_where_the_setting_says_so(self):
        program = self.start_and_present()
        self.session.type("does not start")
        program.wait_for_box("does not start")
        wait_until(lambda: self.answers(program, []), "the search has ended without a hit")

        self.home.set_setting("searchSettings", TEXT_ON)

        self.search_until(program, "does not start", ["first.txt"])

    def test_names_come_before_text(self):
        self.home.set_setting("searchSettings", TEXT_ON)
        self.home.write("Documents/aaa.txt", "All about zebras and their stripes.\n")
        self.home.write("Documents/Work/zebra list.md", "nothing else\n")
        program = self.start_and_present()

        self.search_until(program, "zebra", ["zebra list.md", "aaa.txt"])

    def test_text_written_while_the_program_runs_is_found_and_text_taken_out_is_not(self):
        self.home.set_setting("searchSettings", TEXT_ON)
        program = self.start_and_present()
        self.search_until(program, "does not start", ["first.txt"])

        self.home.write("Documents/Work/note.txt", "The walrus DOES NOT START either.\n")
        self.home.write("Projects/atlas/bug-reports/first.txt", "It runs now.\n")

        self.search_until(program, "does not start", ["note.txt"])

    def test_a_text_saved_by_way_of_a_temporary_file_is_read_again(self):
        self.home.set_setting("searchSettings", TEXT_ON)
        program = self.start_and_present()
        self.search_until(program, "does not start", ["first.txt"])
        folder = self.home.path / "Projects/atlas/bug-reports"

        for temporary, text in ((".t", "A walrus.\n"), ("first.txt.tmp", "A narwhal, at last.\n")):
            (folder / temporary).write_text(text, encoding="utf-8")
            (folder / temporary).rename(folder / "first.txt")
            self.search_until(program, text.split()[1].strip(".,"), ["first.txt"])

        self.search_until(program, "does not start", [])

    def test_keys_are_never_read(self):
        self.home.set_setting("searchSettings", TEXT_ON)
        dashes = 5 * "-"
        self.home.write("Documents/note.txt", "An okapi.\n")
        self.home.write("Documents/credentials.txt", "okapi\n")
        self.home.write("Documents/id.txt", f"{dashes}BEGIN OPENSSH PRIVATE KEY{dashes}\nokapi\n")
        program = self.start_and_present()

        self.search_until(program, "okapi", ["note.txt"])

    def test_switching_text_search_off_takes_its_files_away(self):
        self.home.set_setting("searchSettings", TEXT_ON)
        program = self.start_and_present()
        self.search_until(program, "does not start", ["first.txt"])

        self.home.set_setting("searchSettings", TEXT_OFF)

        wait_until(lambda: not (self.home.cache / "vellumhound/text").exists() or
                   not [file for file in (self.home.cache / "vellumhound/text").rglob("*") if file.is_file()],
                   "no text is kept")
        self.search_until(program, "does not start", [])

    # --- starts ---

    def test_after_a_kill_the_next_start_knows_what_changed_meanwhile(self):
        program = self.start_and_present()
        self.search(program, "report_b", "report_builder.py")
        wait_until(self.kept, "something is kept for the next start")
        self.kill(program)
        (self.home.path / "Projects/billing/src/report_builder.py").unlink()
        self.home.write("Projects/billing/src/walrus.py", "pass\n")

        program = self.start_and_present()

        self.search_until(program, "walrus", ["walrus.py"])
        self.search_until(program, "report_b", [])

    def test_damaged_files_in_the_cache_folder_are_made_anew(self):
        self.home.set_setting("searchSettings", TEXT_ON)
        program = self.start_and_present()
        self.search_until(program, "does not start", ["first.txt"])
        wait_until(self.kept, "something is kept for the next start")
        program.end()
        self.programs.remove(program)
        files = self.kept()
        for file in files:
            size = file.stat().st_size
            with open(file, "r+b") as damaged:
                damaged.seek(size // 2)
                damaged.write(os.urandom(max(16, size // 4)))

        program = self.start_and_present()

        self.search_until(program, "report_b", ["report_builder.py"])
        self.search_until(program, "does not start", ["first.txt"])

    def test_without_a_cache_folder_everything_is_found_and_the_log_says_why_nothing_is_kept(self):
        (self.home.cache / "vellumhound").write_text("not a folder", encoding="utf-8")
        program = self.start_and_present()

        self.search(program, "report_b", "report_builder.py")

        wait_until(lambda: "vellumhound.index" in program.errors, "the log tells of the cache folder")
        self.assertEqual((self.home.cache / "vellumhound").read_text(encoding="utf-8"), "not a folder")


if __name__ == "__main__":
    desktop_case.main()
