#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Draws the pictures of the widgets again, shows what changed, and keeps the new ones.

    update_pictures.py [--build build/dev] [--dry-run]

Builds and runs the tests with the label `pictures`. For each picture that differs from the one in
tests/pictures a sheet "before, after, difference" is written to <build>/tests/pictures/changes/, and the
new one takes the place of the old. Look at the sheets before you commit: whatever they show is from then
on what is right.
"""
import argparse
import json
import pathlib
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
KEPT = ROOT / "tests/pictures"


def run_tests(build: pathlib.Path) -> None:
    """The tests fail wherever something changed; only those that cannot be built or draw nothing stop us."""
    listing = subprocess.run(["ctest", "--test-dir", str(build), "-L", "^pictures$", "--show-only=json-v1"],
                             check=True, capture_output=True, text=True).stdout
    names = [test["name"] for test in json.loads(listing)["tests"]]
    if not names:
        sys.exit(f"{build} has no tests of pictures: configure it first")
    subprocess.run(["cmake", "--build", str(build), "--target", *names], check=True)
    subprocess.run(["ctest", "--test-dir", str(build), "-L", "^pictures$", "--quiet"], check=False)


def size_of(picture: pathlib.Path) -> str:
    return subprocess.run(["identify", "-format", "%wx%h", str(picture)], check=True, capture_output=True,
                          text=True).stdout


def different_pixels(before: pathlib.Path, after: pathlib.Path) -> int:
    answer = subprocess.run(["compare", "-metric", "AE", str(before), str(after), "null:"], capture_output=True,
                            text=True, check=False).stderr
    return int(float(answer.split()[0]))


def write_sheet(before: pathlib.Path, after: pathlib.Path, sheet: pathlib.Path) -> None:
    """Side by side; in the third the changed pixels stand in white."""
    sheet.parent.mkdir(parents=True, exist_ok=True)
    difference = ["(", str(before), str(after), "-compose", "difference", "-composite", "-threshold", "0", ")"]
    subprocess.run(["convert", str(before), str(after), *difference, "-background", "magenta", "-splice", "4x0",
                    "+append", str(sheet)], check=True)


def keep(picture: pathlib.Path, place: pathlib.Path) -> None:
    """Packed as small as it gets: the tree keeps every version for ever."""
    packed = []
    for kind in "01":
        packed.append(subprocess.run(
            ["convert", str(picture), "-strip", "-define", "png:compression-level=9", "-define",
             f"png:compression-filter={kind}", "png:-"], check=True, capture_output=True).stdout)
    place.write_bytes(min(packed, key=len))


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/dev")
    parser.add_argument("--dry-run", action="store_true", help="keep the old pictures")
    options = parser.parse_args()
    drawn = options.build / "tests/pictures"
    shutil.rmtree(drawn, ignore_errors=True)
    run_tests(options.build)
    KEPT.mkdir(exist_ok=True)
    names = sorted(path.name for path in drawn.glob("*.png"))
    gone = sorted(path for path in KEPT.glob("*.png") if path.name not in names)
    changes = 0
    for name in names:
        before, after = KEPT / name, drawn / name
        if before.exists() and size_of(before) == size_of(after) and not different_pixels(before, after):
            continue
        changes += 1
        if not before.exists():
            print(f"{name}: new, {size_of(after)}")
        elif size_of(before) != size_of(after):
            print(f"{name}: {size_of(before)} is now {size_of(after)}")
        else:
            sheet = drawn / "changes" / name
            write_sheet(before, after, sheet)
            print(f"{name}: {different_pixels(before, after)} pixels changed, see {sheet}")
        if not options.dry_run:
            keep(after, before)
    for path in gone:
        changes += 1
        print(f"{path.name}: nothing draws it any more")
        if not options.dry_run:
            path.unlink()
    print("nothing changed" if not changes else f"{changes} changed" + (", all kept as they were" if options.dry_run else ""))


if __name__ == "__main__":
    main()
