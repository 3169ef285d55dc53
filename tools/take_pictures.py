#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Takes pictures of the running program in the states that are looked at before each release.

    take_pictures.py [--program build/release/bin/vellumhound] [--out docs/images] [--only NAME ...]

Every state is taken in light and dark; the ones of SCALED also at 150 % and 200 %. Names are
<state>-<light|dark>[-150|-200].png.
"""
import argparse
import pathlib
import sys
import tempfile
from collections.abc import Callable
from dataclasses import dataclass, field

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests/support"))
from desktop_session import DesktopSession, Program, wait_until  # noqa: E402
from sample_home import SampleHome  # noqa: E402

WALLPAPER = ("#3a6591", "#7d2038")
MARGIN = 32  # of the wallpaper around the panel
LONG = "A name that goes on and on until nobody who reads it remembers how it began " * 3


def search(session: DesktopSession, program: Program, text: str, expected: str) -> None:
    session.type(text)
    program.wait_for_box(text)
    program.wait_for_name(expected)


def go_to(session: DesktopSession, program: Program, name: str) -> None:
    """Moves into the list and down to the row with that name."""
    session.keys("Down")
    for _ in range(len(program.rows()) + 1):
        row = program.selected()
        if row.split(", ", 1)[0] == name:
            return
        session.keys("Down")
        wait_until(lambda: program.selected() != row, f"the selection moves on from {row}")  # noqa: B023
    raise AssertionError(f"no row {name}")


def empty_home(_session, program):
    wait_until(lambda: program.part("Search", "text").is_focused, "the box has the keyboard")


def results_folder(session, program):
    search(session, program, "report", "Reports")
    program.wait_for_selected("Reports")
    wait_until(program.contents, "the folder's contents are listed")


def results_focus_in_list(session, program):
    results_folder(session, program)
    session.keys("Down")
    wait_until(lambda: not program.part("Search", "text").is_focused, "the list has the keyboard")


def results_file(session, program):
    results_folder(session, program)
    go_to(session, program, "report-cover.png")


def inside_folder(session, program):
    results_folder(session, program)
    session.keys("Down", "Right")
    program.wait_for_box("~/Documents/Reports/")


def empty_list(session, program):
    search(session, program, "report", "Reports")
    session.type("xyzzy")
    program.wait_for_box("reportxyzzy")
    wait_until(lambda: program.part("Results", "list").is_showing and program.rows() == [], "nothing is found")


def one_row(session, program):
    search(session, program, "report_b", "report_builder.py")


def hundred_rows(session, program):
    search(session, program, "sheet", "Sheet 1.txt")
    wait_until(lambda: len(program.rows()) == 100, "the list is full")


def longest_names(session, program):
    search(session, program, "goes on and on", LONG.strip() + ".txt")


@dataclass(frozen=True)
class State:
    name: str
    reach: Callable[[DesktopSession, Program], None]
    is_composited: bool = True
    arguments: tuple[str, ...] = ()
    files: dict[str, str] = field(default_factory=dict)


STATES = [
    State("panel", results_folder),
    State("home", empty_home),
    State("results-focus-in-list", results_focus_in_list),
    State("results-file", results_file),
    State("inside-folder", inside_folder),
    State("empty-list", empty_list),
    State("one-row", one_row),
    State("hundred-rows", hundred_rows, files={f"Documents/Sheets/Sheet {n}.txt": "" for n in range(1, 131)}),
    State("longest-names", longest_names,
          files={f"Documents/{LONG[:70].strip()}/{LONG.strip()}.txt": "", f"Documents/{LONG[:90].strip()}.md": ""}),
    State("right-to-left", results_folder, arguments=("-reverse",)),
    State("no-compositing", results_folder, is_composited=False),
]
SCALED = ("panel", "home")


def take(state: State, program_path: pathlib.Path, is_dark: bool, percent: int, file: pathlib.Path) -> None:
    scale = percent / 100
    with tempfile.TemporaryDirectory(prefix="vellumhound-pictures-") as name:
        folder = pathlib.Path(name)
        home = SampleHome(folder / "home")
        home.fill()
        for path, text in state.files.items():
            home.write(path, text)
        screen = (int(1000 * scale), int(700 * scale))
        with DesktopSession(folder / "session", screen=screen, is_composited=state.is_composited, is_dark=is_dark,
                            wallpaper=WALLPAPER) as session:
            session.move_pointer_away()
            program = session.start_program(program_path, home, *state.arguments,
                                            environment={"QT_SCALE_FACTOR": f"{scale:g}"})
            program.present()
            state.reach(session, program)
            session.picture(file, program.panel_windows()[0], int(MARGIN * scale))


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", type=pathlib.Path, default=ROOT / "build/release/bin/vellumhound")
    parser.add_argument("--out", type=pathlib.Path, default=ROOT / "docs/images")
    parser.add_argument("--only", nargs="+", metavar="NAME", choices=[state.name for state in STATES])
    options = parser.parse_args()
    failed = 0
    for state in STATES:
        if options.only and state.name not in options.only:
            continue
        for theme in ("light", "dark"):
            for percent in (100, 150, 200) if state.name in SCALED else (100,):
                suffix = "" if percent == 100 else f"-{percent}"
                file = options.out / f"{state.name}-{theme}{suffix}.png"
                try:
                    take(state, options.program.resolve(), theme == "dark", percent, file)
                    print(file, flush=True)
                except AssertionError as failure:
                    failed += 1
                    print(f"{file}: {failure}", file=sys.stderr, flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
