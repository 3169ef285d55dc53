#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Files of ours that are broken: settings fall back to their defaults, a broken store ends the start."""
import sqlite3

import desktop_case
from desktop_case import DesktopCase, wait_until


class TestDamage(DesktopCase):
    def test_a_broken_settings_file_reads_as_its_default_and_keeps_its_bytes(self):
        file = self.home.setting_file("searchSettings")
        file.write_bytes(b'{"startupBehavior": "Start new sea')
        program = self.start_and_present()

        self.search(program, "report_b", "report_builder.py")
        self.session.click(120, 80)
        program.wait_until_hidden()
        program.present()

        self.assertEqual(program.box, "report_b")
        self.assertEqual(file.read_bytes(), b'{"startupBehavior": "Start new sea')

    def test_broken_application_settings_are_survived_and_keep_their_bytes(self):
        file = self.home.setting_file("appSettings")
        file.write_bytes(b"\x00\xff not json")

        program = self.start_and_present()

        self.search(program, "report_b", "report_builder.py")
        self.assertEqual(file.read_bytes(), b"\x00\xff not json")

    def test_a_store_that_is_no_database_ends_the_start_and_stays_as_it_is(self):
        self._the_start_fails_with(b"This is not a database.\n" * 400)

    def test_a_store_that_was_cut_short_ends_the_start_and_stays_as_it_is(self):
        whole = self.home.path / "whole.sqlite"
        database = sqlite3.connect(whole)
        with database:
            database.execute("CREATE TABLE Favorite (id INTEGER PRIMARY KEY AUTOINCREMENT, path TEXT)")
            database.executemany("INSERT INTO Favorite (path) VALUES (?)", [(f"/a/{n}" * 20,) for n in range(2000)])
        database.close()
        content = whole.read_bytes()
        whole.unlink()

        self._the_start_fails_with(content[:len(content) // 2 + 100])

    def _the_start_fails_with(self, content: bytes):
        self.home.store_file.parent.mkdir(parents=True)
        self.home.store_file.write_bytes(content)

        program = self.start()

        wait_until(lambda: self.session.windows("Fatal error"), "the message is on screen")
        self.session.keys("Return")
        self.assertEqual(program.wait_for_end(), 1)
        self.assertEqual(self.home.store_file.read_bytes(), content)
        told = [line for line in program.errors.splitlines() if "Fatal error" in line or "Error: " in line]
        self.assertEqual(len(told), 1, program.errors)


if __name__ == "__main__":
    desktop_case.main()
