#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Who starts the program decides what comes up; several may start it at once; how it ends."""
import os
import pathlib
import pty
import shutil
import sqlite3
import tempfile

import desktop_case
from desktop_case import LOGIN_MARK, DesktopCase, wait_until
from desktop_session import APPLICATION, OBJECT_PATH, SERVICE
from sample_home import SampleHome

ROUNDS_AT_ONCE = 12


class StartCase(DesktopCase):
    def call(self, action: str) -> None:
        self.session.bus.call_blocking(SERVICE, OBJECT_PATH, APPLICATION, "ActivateAction", "sava{sv}",
                                       (action, [], {}), timeout=20)

    def wait_until_ready(self, program) -> None:
        wait_until(self.session.is_service_there, "the program is on the bus")
        # The panel is made when the program has nothing else to do; it is there, unseen, when all is ready.
        wait_until(lambda: self.session.tree.program(program.process.pid), "the program is ready")


class TestStart(StartCase):
    def test_a_start_by_a_person_shows_the_panel_whatever_started_it(self):
        program = self.start_by_person()

        program.wait_for_panel()

    def test_a_start_by_the_login_entry_waits_in_the_background(self):
        program = self.start()
        self.wait_until_ready(program)

        self.session.type("report")

        self.assertFalse(program.is_panel_visible)
        self.assertEqual(program.output, "")

    def test_a_second_start_by_the_login_entry_leaves_the_panel_where_it_is(self):
        first = self.start()
        self.wait_until_ready(first)

        second = self.start()

        self.assertEqual(second.wait_for_end(), 0)
        self.assertFalse(first.is_panel_visible)
        self.assertTrue(first.is_running)

    def test_a_start_by_the_bus_for_another_action_shows_nothing(self):
        script = self.home.write("started-by-bus", f"#!/bin/sh\nVELLUMHOUND_STARTED_BY=bus exec "
                                 f"'{desktop_case.options.program}' 2>>'{self.home.path}/bus.err'\n")
        script.chmod(0o755)
        self.session.register_service(script, self.home)
        self.addCleanup(self.session.unregister_service)

        self.call("an-action-that-nobody-knows")
        process_id = self.session.service_process_id()
        wait_until(lambda: self.session.tree.program(process_id), "the program is ready")
        self.call("an-action-that-nobody-knows")

        self.assertEqual(self.session.windows(desktop_case.PANEL_TITLE), [])
        self.call("quit")
        wait_until(lambda: not self.session.is_service_there(), "the program has ended")

    def test_a_start_from_a_terminal_says_in_one_line_what_runs_and_which_key_brings_it_up(self):
        terminal, its_end = pty.openpty()
        self.addCleanup(os.close, terminal)
        program = self.start_on_terminal(its_end)
        program.wait_for_panel()

        self.assertRegex(self.line_of(terminal), r"^Vellumhound [0-9.]+ runs; ⌃Space brings up its panel\.$")

        second = self.start_on_terminal(its_end)
        self.assertEqual(second.wait_for_end(), 0)
        self.assertEqual(self.line_of(terminal), "Vellumhound runs already; its panel is coming up.")

    def start_on_terminal(self, its_end: int):
        program = self.session.start_program(desktop_case.options.program, self.home, output=its_end)
        self.programs.append(program)
        return program

    @staticmethod
    def line_of(terminal: int) -> str:
        read = b""
        while not read.endswith(b"\n"):
            read += os.read(terminal, 1)
        return read.decode().strip()

    def test_two_first_starts_at_once_are_one_program(self):
        for _ in range(ROUNDS_AT_ONCE):
            home = SampleHome(pathlib.Path(tempfile.mkdtemp(prefix="home-", dir=self._folder.name)))
            self.addCleanup(shutil.rmtree, home.path, ignore_errors=True)
            starts = [self.session.start_program(desktop_case.options.program, home) for _ in range(2)]
            self.programs.extend(starts)

            wait_until(lambda: any(not start.is_running for start in starts), "one of the two has ended")
            running = [start for start in starts if start.is_running]
            self.assertEqual(len(running), 1, [start.errors for start in starts])
            running[0].wait_for_panel()

            for start in starts:
                self.assertNotIn("Fatal error", start.errors)
                self.assertEqual(start.output, "")
            self.assertEqual([start.process.returncode for start in starts if start not in running], [0])
            with sqlite3.connect(f"file:{home.store_file}?mode=ro", uri=True) as store:
                self.assertEqual(store.execute("PRAGMA user_version").fetchone(), (1,))
            self.call("quit")
            self.assertEqual(running[0].wait_for_end(), 0)

    def test_folders_with_undecodable_names_are_used_as_they_are(self):
        parent = os.fsencode(self.home.path)
        folders = {"XDG_CONFIG_HOME": b"config", "XDG_DATA_HOME": b"data", "XDG_CACHE_HOME": b"cache"}
        program = self.start_by_person(**{variable: os.fsdecode(parent + b"/caf\xe9/" + name)
                                          for variable, name in folders.items()})
        program.wait_for_panel()
        self.search(program, "report_b", "report_builder.py")

        self.call("quit")

        self.assertEqual(program.wait_for_end(), 0)
        self.assertEqual([name for name in os.listdir(parent) if name.startswith(b"caf")], [b"caf\xe9"])
        for name in folders.values():
            self.assertIn(b"vellumhound", os.listdir(parent + b"/caf\xe9/" + name))

    def test_what_is_launched_gets_the_variables_of_the_user_but_not_those_of_this_program(self):
        script = self.home.data / "sample-viewer"
        script.write_text(f"#!/bin/sh\nenv >'{self.home.opened}.part'\nmv '{self.home.opened}.part' "
                          f"'{self.home.opened}'\n", encoding="utf-8")
        program = self.start_and_present(QT_STYLE_OVERRIDE="Fusion")
        self.search(program, "report_b", "report_builder.py")

        self.session.keys("Return")

        wait_until(self.home.opened.exists, "the file was handed to its application")
        variables = self.home.opened.read_text(encoding="utf-8").splitlines()
        self.assertIn("QT_STYLE_OVERRIDE=Fusion", variables)
        own = ("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT=", *(f"{name}=" for name in LOGIN_MARK))
        self.assertEqual([line for line in variables if line.startswith(own)], [])


class TestEnd(StartCase):
    def test_the_program_ends_well_while_it_lists_a_large_folder(self):
        folder = self.home.path / "large"
        folder.mkdir()
        for number in range(30_000):
            (folder / f"{number}.txt").touch()
        for _ in range(3):
            program = self.start_and_present()
            self.session.type(f"{folder}/")

            self.call("quit")

            self.assertEqual(program.wait_for_end(), 0, program.errors[-2000:])


if __name__ == "__main__":
    desktop_case.main()
