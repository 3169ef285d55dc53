#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""No session bus, from the start or from some moment on: what needs no bus works."""
import os
import pathlib
import signal
import time

import desktop_case
from desktop_case import PANEL_TITLE, DesktopCase, wait_until

MAIN_KEY = "ctrl+space"
TRAY_CELL = 24
# A program that turns round and round has a whole processor.
REST_SECONDS = 1.0
MOST_SHARE_AT_REST = 0.1


class TestLostBus(DesktopCase):
    """The session does not come back from the last test."""

    def start_and_wait(self):
        program = self.start()
        wait_until(self.session.is_service_there, "the program is on the bus")
        wait_until(lambda: self.session.tree.program(program.process.pid), "the program is ready")
        return program

    def end_bus(self) -> None:
        daemon = self.session.bus.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus", introspect=False)
        process = int(daemon.GetConnectionUnixProcessID("org.freedesktop.DBus",
                                                        dbus_interface="org.freedesktop.DBus"))
        os.kill(process, signal.SIGKILL)
        wait_until(lambda: not pathlib.Path(f"/proc/{process}/exe").exists(), "the bus has ended")

    def wait_until_at_rest(self, program) -> None:
        """For a while the program does next to nothing."""
        def seconds_used() -> float:
            fields = pathlib.Path(f"/proc/{program.process.pid}/stat").read_text(encoding="ascii").rsplit(")", 1)[1]
            user, system = fields.split()[11:13]
            return (int(user) + int(system)) / os.sysconf("SC_CLK_TCK")

        start = [time.monotonic(), seconds_used()]

        def is_at_rest() -> bool:
            now, used = time.monotonic(), seconds_used()
            if now - start[0] < REST_SECONDS:
                return False
            is_quiet = used - start[1] < MOST_SHARE_AT_REST * (now - start[0])
            start[:] = now, used
            return is_quiet
        wait_until(is_at_rest, "the program is at rest")

    def put_away(self, program) -> None:
        """Clicks the other window until the panel is gone: a showing asks for the keyboard twice, and the second
        time can come after the click."""
        def try_once() -> bool:
            self.session.click_with(1, 120, 80)
            return not program.is_panel_visible
        wait_until(try_once, "the panel is gone")

    def press_until_shown(self, program) -> None:
        """Until the keyboard's place is settled a press may come too early; one more changes nothing."""
        def try_once() -> bool:
            self.session.keys(MAIN_KEY)
            return program.is_panel_visible and self.session.active_window_title() == PANEL_TITLE
        wait_until(try_once, "the panel is on screen and active")

    def test_a_start_without_a_bus_has_its_hot_key(self):
        program = self.start(DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
        wait_until(lambda: "no session bus" in program.errors, "the lack is told")

        self.press_until_shown(program)

        self.wait_until_at_rest(program)
        self.session.keys("ctrl+q")
        self.assertEqual(program.wait_for_end(), 0)

    def test_the_program_goes_on_and_its_hot_key_too(self):
        self.session.start_x11_tray(TRAY_CELL)
        program = self.start_and_wait()
        self.press_until_shown(program)

        self.end_bus()

        wait_until(lambda: "the session bus has ended" in program.errors, "the end is told")
        for _ in range(3):
            self.put_away(program)
            self.press_until_shown(program)
        self.wait_until_at_rest(program)
        self.assertEqual(program.errors.count("the session bus has ended"), 1)
        self.assertTrue(program.is_running)
        self.session.keys("ctrl+q")
        self.assertEqual(program.wait_for_end(), 0)


if __name__ == "__main__":
    desktop_case.main()
