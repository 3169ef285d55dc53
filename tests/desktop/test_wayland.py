#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The panel on Wayland: a layer of the desktop where the compositor has such, an ordinary window elsewhere."""
import contextlib
import pathlib
import signal
import sqlite3
import unittest

import desktop_case
import test_panel
from desktop_case import DesktopCase, Program, wait_until
from wayland_session import (FIRST_OUTPUT, OTHER_TITLE, SECOND_OUTPUT, PlainWaylandSession, PluggableWaylandSession,
                             WaylandSession, missing_wayland_tools)

MISSING = missing_wayland_tools()
CLEAR_BUTTON = (1174, 212)  # with the panel in the middle
BESIDE_PANEL = (20, 800)
ON_SECOND_OUTPUT = (1600 + 640, 400)


def is_away(program: Program) -> bool:
    """From whatever output."""
    box = program.part("Search", "text")
    return box is not None and not box.is_showing


class OnSway:
    """What a test case needs to run under sway."""

    @classmethod
    def make_session(cls, folder: pathlib.Path) -> WaylandSession:
        return WaylandSession(folder)


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestPanelAsOnX11(OnSway, test_panel.TestPanel):
    """All that holds on X11 holds here."""


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestLayer(OnSway, DesktopCase):
    def middle_of_panel(self) -> tuple[float, float] | None:
        place = self.session.panel_rectangle()
        return (place[0] + place[2] / 2, place[1] + place[3] / 2) if place else None

    def test_a_press_beside_the_panel_gives_the_keyboard_back_to_the_window_that_had_it(self):
        program = self.start_and_present()

        self.session.click(*BESIDE_PANEL)

        program.wait_until_hidden()
        wait_until(lambda: self.session.active_window_title() == OTHER_TITLE, "the other window has the keyboard")

    def test_a_press_on_the_panel_is_the_panels_at_each_showing(self):
        program = self.start_and_present()
        for _ in range(2):
            self.search(program, "report", "Reports")

            self.session.click(*CLEAR_BUTTON)

            program.wait_for_box("")
            self.session.click(*BESIDE_PANEL)
            program.wait_until_hidden()
            program.present()

    def test_the_panel_is_dragged_and_the_next_showing_is_in_the_middle_again(self):
        program = self.start_and_present()
        for _ in range(2):
            x, y, _, _ = self.session.panel_rectangle()

            before, after = self.session.drag_panel((x + 19, y + 20), 80, 60)

            self.assertEqual((after[0] - before[0], after[1] - before[1]), (80, 60))
        program.present()
        wait_until(lambda: self.middle_of_panel() == (800, 450), "the panel is in the middle")

    def test_a_tooltip_stands_above_the_panel_and_leaves_it_there(self):
        program = self.start_and_present()
        self.search(program, "report", "Reports")
        x, y, width, _ = self.session.panel_rectangle()
        self.assertFalse(self.session.look().is_light(x + width + 20, y + 48))

        self.session.move_pointer(CLEAR_BUTTON[0], CLEAR_BUTTON[1] + 1)
        self.session.move_pointer(*CLEAR_BUTTON)

        wait_until(lambda: self.session.look().is_light(x + width + 20, y + 48), "the tooltip is beside the panel")
        self.assertTrue(program.is_panel_visible)
        self.session.type("s")
        program.wait_for_box("reports")

    def test_the_panel_is_above_a_window_in_full_screen(self):
        program = self.start_and_present()
        self.session.click(*BESIDE_PANEL)
        program.wait_until_hidden()
        self.session.message("fullscreen", "enable")
        self.addCleanup(self.session.message, "fullscreen", "disable")

        program.present()

        self.session.type("report")
        program.wait_for_box("report")
        self.session.click(*BESIDE_PANEL)
        program.wait_until_hidden()


    def test_the_panel_goes_when_the_screen_is_locked(self):
        program = self.start_and_present()

        with self.session.locked():
            wait_until(lambda: is_away(program), "the panel is away")

        self.assertFalse(program.is_panel_visible)
        program.present()
        self.session.type("report")
        program.wait_for_box("report")

    def test_keys_count_by_their_place_on_other_layouts(self):
        self.addCleanup(self.session.set_layout, "us")
        program = self.start_and_present()
        for layouts, group, typed in (("ru", 0, "ыщтп"), ("us,ru", 1, "ыщтп"), ("us,ru", 0, "song"), ("de", 0, "song")):
            with self.subTest(layouts=layouts, group=group):
                self.session.set_layout(layouts, group)
                self.session.type("song")
                program.wait_for_box(typed)

                self.session.keys("ctrl+n")

                program.wait_for_box("")


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestEndOfTheCompositor(OnSway, DesktopCase):
    other_window = False

    def test_the_program_ends_with_a_line_and_starts_again_in_the_next_session(self):
        for number in (signal.SIGTERM, signal.SIGKILL):
            with self.subTest(number.name):
                program = self.start_and_present()
                self.search(program, "report", "Reports")

                self.session.end_compositor(number)

                self.assertEqual(program.wait_for_end(), 1)
                self.assertIn("The Wayland connection broke", program.errors)
                with contextlib.closing(sqlite3.connect(self.home.store_file)) as store:
                    self.assertEqual(store.execute("PRAGMA quick_check").fetchall(), [("ok",)])
                self.session.stop()
                self.session.start()
                self.search(self.start_and_present(), "report", "Reports")
                self.programs[-1].end()


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestTwoOutputs(DesktopCase):
    @classmethod
    def make_session(cls, folder: pathlib.Path) -> WaylandSession:
        return WaylandSession(folder, has_two_outputs=True)

    def test_the_panel_comes_where_the_user_is(self):
        program = self.start_and_present()
        self.session.click(*BESIDE_PANEL)
        program.wait_until_hidden()
        self.session.message("focus", "output", SECOND_OUTPUT)
        self.addCleanup(self.session.message, "focus", "output", FIRST_OUTPUT)

        self.session.activate()

        place = wait_until(lambda: self.session.panel_rectangle(SECOND_OUTPUT), "the panel is on the second output")
        width, height = 816 * 3 // 2, 532 * 3 // 2
        for is_, wanted in zip(place, ((1920 - width) / 2, (1200 - height) / 2, width, height)):
            self.assertAlmostEqual(is_, wanted, delta=2)
        self.assertIsNone(self.session.panel_rectangle())
        wait_until(self.session.is_keyboard_on_layer, "the panel has the keyboard")
        self.session.type("report")
        program.wait_for_box("report")

    def test_a_press_on_another_output_puts_the_panel_away(self):
        self.session.message("focus", "output", FIRST_OUTPUT)
        program = self.start_and_present()

        self.session.click(*ON_SECOND_OUTPUT)

        program.wait_until_hidden()

    def test_a_press_on_the_first_output_puts_the_panel_on_the_second_away(self):
        program = self.start_beside()

        self.session.click(*BESIDE_PANEL)

        self.wait_until_away(program)

    def start_beside(self) -> Program:
        """Starts the program and shows the panel on the second output."""
        program = self.start_and_present()
        self.session.click(*BESIDE_PANEL)
        program.wait_until_hidden()
        self.session.message("focus", "output", SECOND_OUTPUT)
        self.addCleanup(self.session.message, "focus", "output", FIRST_OUTPUT)
        self.session.activate()
        wait_until(lambda: self.session.panel_rectangle(SECOND_OUTPUT), "the panel is on the second output")
        wait_until(self.session.is_keyboard_on_layer, "the panel has the keyboard")
        return program

    def wait_until_away(self, program: Program) -> None:
        wait_until(lambda: is_away(program), "the panel is away")


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestOutputsThatComeAndGo(DesktopCase):
    @classmethod
    def make_session(cls, folder: pathlib.Path) -> PluggableWaylandSession:
        return PluggableWaylandSession(folder)

    def setUp(self):
        while len(self.session.output_names()) < 2:
            self.session.plug_in()
        super().setUp()

    def test_the_panel_whose_output_goes_comes_back_on_the_other(self):
        program, own, other = self.start_and_ask_where()

        self.session.unplug(own)

        self.wait_until_away(program)
        program.present()
        self.assertIsNotNone(self.session.panel_rectangle(other))
        self.check_that_it_works(program, other)

    def test_the_panel_stays_when_another_output_goes(self):
        program, own, other = self.start_and_ask_where()

        self.session.unplug(other)

        self.check_that_it_works(program, own)

    def test_a_press_on_an_output_that_came_meanwhile_puts_the_panel_away(self):
        program, own, other = self.start_and_ask_where()
        self.session.unplug(other)
        new = self.session.plug_in()
        self.session.type("report")
        program.wait_for_box("report")

        self.press_until_away(program, self.session.middle_of(new))

    def test_the_panel_comes_back_after_all_outputs_were_gone(self):
        program, own, other = self.start_and_ask_where()

        self.session.unplug(other)
        self.session.unplug(own)

        self.wait_until_away(program)
        self.session.activate()
        new = self.session.plug_in()
        self.present_until_there(program)
        self.check_that_it_works(program, new)

    def present_until_there(self, program: Program) -> None:
        """The call may come before the program has heard of the output; a panel in front stays as it is."""

        def is_there() -> bool:
            self.session.call_activate()
            return program.is_panel_visible

        wait_until(is_there, "the panel is on screen")
        program.wait_for_panel()

    def start_and_ask_where(self) -> tuple[Program, str, str]:
        """The program with the panel shown, the output that has the panel, and the other."""
        program = self.start_and_present()
        names = self.session.output_names()
        own = next(name for name in names if self.session.panel_rectangle(name))
        return program, own, next(name for name in names if name != own)

    def check_that_it_works(self, program: Program, output: str) -> None:
        """It takes letters, and a press beside it puts it away."""
        self.session.type("report")
        program.wait_for_box("report")
        self.assertIsNotNone(self.session.panel_rectangle(output))
        x, y = self.session.middle_of(output)
        self.press_until_away(program, (x - self.session.screen[0] // 2 + 20, y))

    def press_until_away(self, program: Program, place: tuple[int, int]) -> None:
        """An output that has just come takes presses only after it was drawn for the first time."""

        def press() -> bool:
            self.session.click(*place)
            return is_away(program)

        wait_until(press, "the panel is away")

    def wait_until_away(self, program: Program) -> None:
        wait_until(lambda: is_away(program), "the panel is away")


class OnScaledOutput(DesktopCase):
    """What has to hold at a scale between two whole ones."""

    scale: float

    @classmethod
    def make_session(cls, folder: pathlib.Path) -> WaylandSession:
        return WaylandSession(folder, screen=(2000, 1200), scale=cls.scale)

    def test_the_panel_is_in_the_middle_and_as_large_as_the_scale_makes_it(self):
        self.start_and_present()

        place = self.session.panel_rectangle()

        width, height = 816 * self.scale, 532 * self.scale
        for is_, wanted in zip(place, ((2000 - width) / 2, (1200 - height) / 2, width, height)):
            self.assertAlmostEqual(is_, wanted, delta=2)

    def test_presses_and_drags_go_where_the_pointer_is(self):
        program = self.start_and_present()
        self.search(program, "report", "Reports")
        middle_x, middle_y = 1000 / self.scale, 600 / self.scale

        self.session.click(round(middle_x + 374), round(middle_y - 238))

        program.wait_for_box("")

        before, after = self.session.drag_panel((round(middle_x - 389), round(middle_y - 246)), 40, 20)

        self.assertAlmostEqual(after[0] - before[0], 40 * self.scale, delta=2)
        self.assertAlmostEqual(after[1] - before[1], 20 * self.scale, delta=2)
        self.session.click(10, 10)
        program.wait_until_hidden()


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestAtOneAndAHalf(OnScaledOutput):
    scale = 1.5


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestAtOneAndAQuarter(OnScaledOutput):
    scale = 1.25


del OnScaledOutput  # it has no scale of its own


@unittest.skipIf(MISSING, f"missing: {' '.join(MISSING)}")  # style: a compositor is not there
class TestPlainWindow(DesktopCase):
    """Without layer-shell, and here without any keyboard."""

    other_window = False

    @classmethod
    def make_session(cls, folder: pathlib.Path) -> PlainWaylandSession:
        return PlainWaylandSession(folder)

    def test_the_panel_is_an_ordinary_window_that_comes_each_time(self):
        program = self.start()
        for _ in range(2):
            self.session.activate()

            wait_until(lambda: program.part("Search", "text").is_showing, "the panel is shown")

        self.assertTrue(program.is_running)
        told = [line for line in program.errors.splitlines() if line.startswith("vellumhound.platform")]
        self.assertEqual(len(told), 1, told)
        self.assertIn("no way to hot keys", told[0])


if __name__ == "__main__":
    desktop_case.main()
