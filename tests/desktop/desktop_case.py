# SPDX-License-Identifier: GPL-3.0-or-later
"""What the tests of this folder share: one private desktop per file, one fresh home per test.

Run by ctest as `python3 test_<what>.py --program <path> [--failures <folder>]`; anything after that goes to
unittest, so one test runs with `... TestSearch.test_name -v`.
"""
from __future__ import annotations

import argparse
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from desktop_session import (LOGIN_MARK, PANEL_TITLE, DesktopSession, Program, missing_tools,  # noqa: E402,F401
                             wait_until)
from sample_home import SampleHome  # noqa: E402

HOT_KEY_HOLDER = pathlib.Path(__file__).resolve().parents[1] / "support/hot_key_holder.py"
options = argparse.Namespace(program=None, all_hot_keys=None, held_folder=None, failures=None)


class DesktopCase(unittest.TestCase):
    """A test with `self.session` (one for all tests of the class) and `self.home` (its own, filled)."""

    session: DesktopSession
    window_manager = "openbox"
    is_composited = False
    other_window = True  # somebody else's, to lose the keyboard to
    _folder: tempfile.TemporaryDirectory

    @classmethod
    def setUpClass(cls):
        cls._folder = tempfile.TemporaryDirectory(prefix="vellumhound-desktop-")
        cls.addClassCleanup(cls._folder.cleanup)
        cls.session = cls.make_session(pathlib.Path(cls._folder.name) / "session")
        cls.addClassCleanup(cls.session.stop)
        cls.session.start()
        if cls.other_window:
            cls.session.start_other_window()

    @classmethod
    def make_session(cls, folder: pathlib.Path) -> DesktopSession:
        return DesktopSession(folder, is_composited=cls.is_composited, window_manager=cls.window_manager)

    def setUp(self):
        self.programs: list[Program] = []
        self.home = SampleHome(pathlib.Path(tempfile.mkdtemp(prefix="home-", dir=self._folder.name)))
        self.home.fill()
        self.addCleanup(shutil.rmtree, self.home.path, ignore_errors=True)
        self.session.move_pointer_away()
        wait_until(lambda: not self.session.is_service_there(), "the program of the test before has ended")
        # It gives up its name first.
        wait_until(lambda: not self.session.windows(PANEL_TITLE), "the panel of the test before is gone")

    def tearDown(self):
        for program in self.programs:
            code = program.end()
            self.assertIn(code, (0, 1, -15), f"the program crashed\n{program.errors[-3000:]}")

    def start(self, **environment: str) -> Program:
        """Starts the program without showing it, as the login does."""
        return self.start_by_person(**LOGIN_MARK, **environment)

    def start_by_person(self, **environment: str) -> Program:
        program = self.session.start_program(options.program, self.home, environment=environment)
        self.programs.append(program)
        return program

    def start_and_present(self, **environment: str) -> Program:
        program = self.start(**environment)
        program.present()
        return program

    def search(self, program: Program, text: str, expected: str) -> None:
        """Types into the empty box and waits until the list holds `expected` and the search is over."""
        self.session.type(text)
        program.wait_for_box(text)
        program.wait_for_name(expected)
        wait_until(lambda: program.part("Clear search", "push button").is_showing, "the search is over")

    def clear(self, program: Program) -> None:
        self.session.keys("ctrl+a", "BackSpace")
        program.wait_for_box("")

    def hold_elsewhere(self, *arguments: str) -> subprocess.Popen:
        """Lets another program hold a key until it is closed."""
        holder = subprocess.Popen([sys.executable, str(HOT_KEY_HOLDER), *arguments], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True, env=self.session._environment())
        self.addCleanup(self.end_holder, holder)
        self.assertEqual(holder.stdout.readline(), "held\n")
        return holder

    @staticmethod
    def end_holder(holder: subprocess.Popen) -> None:
        if holder.poll() is None:
            holder.stdin.close()
            holder.wait(20)
        holder.stdout.close()

    def is_held(self, *arguments: str) -> bool:
        """Whether some program holds a key."""
        return self.session._output(sys.executable, str(HOT_KEY_HOLDER), "--try", *arguments) != "free\n"

    def can_grab_keyboard(self) -> bool:
        """False while a program, by an open menu for instance, has the keyboard to itself."""
        answer = self.session._output(sys.executable, str(HOT_KEY_HOLDER), "--try-keyboard")
        self.assertIn(answer, ("free\n", "taken\n"))
        return answer == "free\n"

    def keep_what_a_failure_looks_like(self):
        """A picture of the screen and all that the program told, while it still stands there."""
        if not options.failures:
            return
        name = self.id().split(".", 1)[-1]
        texts = []
        for program in self.programs:
            tree = program.node().dump() if program.is_running else "ended"
            texts.append(f"{tree}\n--- out\n{program.output}\n--- err\n{program.errors}")
        try:
            self.session.picture(options.failures / f"{name}.png")
            (options.failures / f"{name}.txt").write_text("\n".join(texts), encoding="utf-8")
        except (OSError, AssertionError, subprocess.SubprocessError) as trouble:
            print(f"no picture of the failure: {trouble}", file=sys.stderr)


class Result(unittest.TextTestResult):
    """Looks at the screen at the moment of a failure, before anything is cleaned up."""

    def addFailure(self, test, err):
        self._keep(test)
        super().addFailure(test, err)

    def addError(self, test, err):
        self._keep(test)
        super().addError(test, err)

    def _keep(self, test):
        if isinstance(test, DesktopCase):
            try:
                test.keep_what_a_failure_looks_like()
            except Exception as trouble:  # of whatever kind: the test's own failure says more
                print(f"the failed program does not answer: {trouble}", file=sys.stderr)


def main() -> None:
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--program", type=pathlib.Path, required=True)
    parser.add_argument("--all-hot-keys", type=pathlib.Path)
    parser.add_argument("--held-folder", type=pathlib.Path)
    parser.add_argument("--failures", type=pathlib.Path)
    _, rest = parser.parse_known_args(namespace=options)
    options.program = options.program.resolve()
    if options.all_hot_keys:
        options.all_hot_keys = options.all_hot_keys.resolve()
    if options.held_folder:
        options.held_folder = options.held_folder.resolve()
    missing = missing_tools()
    if missing:
        sys.exit(f"missing: {' '.join(missing)}; ./test installs them")
    unittest.main(module="__main__", argv=[sys.argv[0], *rest],
                  testRunner=unittest.TextTestRunner(resultclass=Result, verbosity=2))
