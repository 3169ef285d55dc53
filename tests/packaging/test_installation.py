#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What `cmake --install` leaves, and whether a desktop can start the program from it.

    test_installation.py --cmake <cmake> --build <build folder> [unittest's arguments]
"""
import argparse
import configparser
import os
import pathlib
import signal
import stat
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from desktop_session import PANEL_TITLE, SERVICE, DesktopSession, wait_until  # noqa: E402
from sample_home import SampleHome  # noqa: E402

options = argparse.Namespace()
BUS_START = "/usr/bin/env VELLUMHOUND_STARTED_BY=bus "
PROGRAMS = {"bin/vellumhound", "libexec/vellumhound/vellumhound-extract"}
FILES = PROGRAMS | {
    f"share/applications/{SERVICE}.desktop",
    f"share/dbus-1/services/{SERVICE}.service",
    f"share/icons/hicolor/scalable/apps/{SERVICE}.svg",
    f"share/icons/hicolor/symbolic/apps/{SERVICE}-symbolic.svg",
    f"share/metainfo/{SERVICE}.metainfo.xml",
}


def entries(file: pathlib.Path) -> configparser.ConfigParser:
    parser = configparser.ConfigParser(interpolation=None, strict=True)
    parser.optionxform = str
    parser.read(file, encoding="utf-8")
    return parser


class TestInstallation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="vellumhound-installation-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.prefix = cls.folder / "prefix"
        subprocess.run([options.cmake, "--install", options.build, "--prefix", cls.prefix],
                       check=True, stdout=subprocess.DEVNULL)

    def installed(self, name: str) -> pathlib.Path:
        return self.prefix / name

    def test_each_file_is_where_it_belongs_and_no_other(self):
        found = {str(file.relative_to(self.prefix)) for file in self.prefix.rglob("*") if not file.is_dir()}

        self.assertEqual(found, FILES)
        for name in FILES:
            is_executable = bool(self.installed(name).stat().st_mode & stat.S_IXUSR)
            self.assertEqual(is_executable, name in PROGRAMS, name)

    def test_the_desktop_entry_is_valid_and_its_icon_and_service_are_there(self):
        file = self.installed(f"share/applications/{SERVICE}.desktop")

        subprocess.run(["desktop-file-validate", file], check=True)
        entry = entries(file)["Desktop Entry"]
        self.assertEqual(entry["Icon"], SERVICE)
        # A desktop asks the bus for the entry's own name.
        self.assertEqual(entry["DBusActivatable"], "true")
        self.assertEqual(file.stem, entries(self.installed(f"share/dbus-1/services/{SERVICE}.service"))
                         ["D-BUS Service"]["Name"])
        self.assertTrue(self.installed(f"bin/{entry['Exec']}").exists())

    def test_the_service_starts_the_installed_program(self):
        service = entries(self.installed(f"share/dbus-1/services/{SERVICE}.service"))["D-BUS Service"]

        self.assertEqual(service["Exec"], BUS_START + str(self.installed("bin/vellumhound")))

    def test_a_staged_installation_names_the_place_where_it_will_be(self):
        stage = self.folder / "stage"

        subprocess.run([options.cmake, "--install", options.build, "--prefix", "/opt/vellumhound"], check=True,
                       stdout=subprocess.DEVNULL, env={**os.environ, "DESTDIR": str(stage)})

        service = entries(stage / f"opt/vellumhound/share/dbus-1/services/{SERVICE}.service")["D-BUS Service"]
        self.assertEqual(service["Exec"], BUS_START + "/opt/vellumhound/bin/vellumhound")

    def test_a_call_over_the_bus_starts_it_and_shows_the_panel(self):
        home = SampleHome(self.folder / "home")
        home.fill()
        with DesktopSession(self.folder / "session") as session:
            session.register_installed_service(
                self.installed(f"share/dbus-1/services/{SERVICE}.service"), home)

            session.call_activate()

            process_id = session.service_process_id()
            try:
                self.assertEqual(os.readlink(f"/proc/{process_id}/exe"), str(self.installed("bin/vellumhound")))
                wait_until(lambda: session.active_window_title() == PANEL_TITLE, "the panel is on screen and active")
                entry = entries(self.installed(f"share/applications/{SERVICE}.desktop"))["Desktop Entry"]
                self.assertIn(f'"{entry["StartupWMClass"]}"', session.window_class(session.windows(PANEL_TITLE)[0]))
            finally:
                os.kill(process_id, signal.SIGTERM)
                wait_until(lambda: not session.is_service_there(), "the program has ended")


def main() -> None:
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--cmake", required=True)
    parser.add_argument("--build", required=True)
    _, rest = parser.parse_known_args(namespace=options)
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)


if __name__ == "__main__":
    main()
