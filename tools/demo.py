#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Shows the program at work where there is no screen: a private desktop, a made-up home, real key presses.

    demo.py --program <path> --pictures <folder>

Each step waits for what it should have caused and leaves a picture. Used by ./run.
"""
import argparse
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/support"))
from desktop_session import LOGIN_MARK, DesktopSession, wait_until  # noqa: E402
from sample_home import SampleHome  # noqa: E402

WALLPAPER = ("#3a6591", "#7d2038")


class Demo:
    def __init__(self, session: DesktopSession, pictures: pathlib.Path):
        self._session = session
        self._pictures = pictures
        self._count = 0

    def step(self, name: str, what: str) -> None:
        """Takes the picture of what has just happened and tells it."""
        self._count += 1
        file = self._pictures / f"{self._count}-{name}.png"
        self._session.picture(file)
        print(f"   {what}: {file}", flush=True)


def run(program_path: pathlib.Path, pictures: pathlib.Path, folder: pathlib.Path) -> None:
    home = SampleHome(folder / "home")
    home.fill()
    with DesktopSession(folder / "session", screen=(1280, 800), is_composited=True, wallpaper=WALLPAPER) as session:
        demo = Demo(session, pictures)
        program = session.start_program(program_path, home, environment=LOGIN_MARK)
        wait_until(session.is_service_there, "the program is on the bus")
        # Nothing tells when the key has been taken; one more press changes nothing.
        wait_until(lambda: (session.keys("ctrl+space"), program.is_panel_visible)[-1], "the panel is shown")
        program.wait_for_panel()
        demo.step("panel", "Ctrl+Space brings up the panel")

        session.type("report")
        program.wait_for_box("report")
        program.wait_for_name("Reports")
        program.wait_for_selected("Reports")
        demo.step("found", f"typing “report” finds {len(program.rows())} files and folders")

        session.keys("Down", "Right")
        program.wait_for_box("~/Documents/Reports/")
        demo.step("inside", "Down and Right go into the folder “Reports”")

        session.keys("Left")
        program.wait_for_box("report")
        program.wait_for_selected("Reports")
        for _ in program.rows():
            if program.selected().startswith("report_builder.py"):
                break
            before = program.selected()
            session.keys("Down")
            wait_until(lambda: program.selected() != before, "Down moves the selection")  # noqa: B023
        demo.step("file", "Left comes back, Down goes on to the file “report_builder.py”")

        session.keys("Return")
        wait_until(home.opened.exists, "the file was handed to its application")
        program.wait_until_hidden()
        opened = home.opened.read_text(encoding="utf-8").strip()
        demo.step("opened", f"Return opens ~{opened.removeprefix(str(home.path))} and the panel goes away")


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", type=pathlib.Path, required=True)
    parser.add_argument("--pictures", type=pathlib.Path, required=True)
    options = parser.parse_args()
    options.pictures.mkdir(parents=True, exist_ok=True)
    for old in options.pictures.glob("[0-9]*-*.png"):
        old.unlink()
    with tempfile.TemporaryDirectory(prefix="vellumhound-run-") as folder:
        run(options.program.resolve(), options.pictures, pathlib.Path(folder))


if __name__ == "__main__":
    main()
