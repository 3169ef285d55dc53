# SPDX-License-Identifier: GPL-3.0-or-later
"""A private desktop under GNOME's compositor, without a screen and without layer-shell.

It hands out no pictures and no list of windows, so what is there is told by the programs: by their accessible
trees, and by the other window's own words.
"""
from __future__ import annotations

import pathlib
import shutil
import subprocess
import sys

import dbus

from desktop_session import PANEL_TITLE, Program, wait_until
from wayland_seat import KEY_CODES, LEFT_BUTTON, MODIFIERS
from wayland_session import WaylandSession

REMOTE = "org.gnome.Mutter.RemoteDesktop"
TOKEN_GIVER = pathlib.Path(__file__).resolve().parent / "token_giver.py"
FAR = 10_000.0  # further than any place on the screen


def missing_mutter_tools() -> list[str]:
    modules = subprocess.run([sys.executable, "-c", "import gi; gi.require_version('Gtk', '3.0')"],
                             capture_output=True, check=False)
    tools = [tool for tool in ("mutter",) if not shutil.which(tool)]
    return tools + (["gir1.2-gtk-3.0"] if modules.returncode else [])


class ToldByPrograms:
    """Who has the keyboard, as the programs themselves tell, where a compositor tells nobody."""

    _programs: tuple[Program, ...] = ()

    def start_program(self, *arguments, **options) -> Program:
        program = super().start_program(*arguments, **options)
        self._programs = (*(other for other in self._programs if other.is_running), program)
        return program

    def active_window_title(self) -> str:
        fields = [program.part("Search", "text") for program in self._programs if program.is_running]
        return PANEL_TITLE if any(field and field.is_focused for field in fields) else ""


class MutterSession(ToldByPrograms, WaylandSession):
    """mutter, with a keyboard and a pointer of ours."""

    def __init__(self, folder: pathlib.Path, screen: tuple[int, int] = (1280, 720)):
        super().__init__(folder, screen)
        self._remote: dbus.Interface | None = None

    def stop(self) -> None:
        self._remote = None
        super().stop()

    # --- what a user does ---

    def keys(self, *names: str) -> None:
        for name in names:
            *modifiers, key = name.split("+") if len(name) > 1 else [name]
            codes = [MODIFIERS[modifier][0] for modifier in modifiers] + [KEY_CODES[key]]
            for code in codes:
                self._remote.NotifyKeyboardKeycode(dbus.UInt32(code), True)
            for code in reversed(codes):
                self._remote.NotifyKeyboardKeycode(dbus.UInt32(code), False)

    def type(self, text: str) -> None:
        self.keys(*text)

    def move_pointer(self, x: int, y: int) -> None:
        for dx, dy in ((-FAR, -FAR), (float(x), float(y))):
            self._remote.NotifyPointerMotionRelative(dx, dy)

    def click(self, x: int, y: int) -> None:
        self.move_pointer(x, y)
        self._remote.NotifyPointerButton(LEFT_BUTTON, True)
        self._remote.NotifyPointerButton(LEFT_BUTTON, False)

    # --- what a user sees ---

    def windows(self, title: str) -> list[str]:
        if title != PANEL_TITLE:
            return []
        return [PANEL_TITLE] if any(self._is_panel_shown(program) for program in self._programs) else []

    def picture(self, file: pathlib.Path, window: str | None = None, margin: int = 0) -> None:
        """It hands out none."""

    # --- programs ---

    def start_other_window(self) -> str:
        self._spawn("other", sys.executable, "-B", str(TOKEN_GIVER))
        wait_until(self.has_other_window_keyboard, "the other window has the keyboard")
        return "Another window"

    def has_other_window_keyboard(self) -> bool:
        told = [word for word in self._words() if word in ("gained", "lost")]
        return bool(told) and told[-1] == "gained"

    def take_token(self) -> str:
        """Of the other window, which has the keyboard."""
        known = len(self._tokens())
        self.keys("a")
        return wait_until(lambda: self._tokens()[known:], "the other window has given a token")[0]

    # --- inside ---

    def _words(self) -> list[str]:
        return (self.folder / "other.log").read_text(encoding="utf-8", errors="replace").split()

    def _tokens(self) -> list[str]:
        words = self._words()
        return [after for word, after in zip(words, words[1:]) if word == "token"]

    @staticmethod
    def _is_panel_shown(program: Program) -> bool:
        field = program.part("Search", "text") if program.is_running else None
        return bool(field and field.is_showing)

    def _environment(self) -> dict[str, str]:
        return super()._environment() | {"GDK_BACKEND": "wayland", "XDG_RUNTIME_DIR": str(self.folder / "runtime")}

    def _start_window_manager(self) -> None:
        width, height = self.screen
        runtime = self.folder / "runtime"
        self._spawn("mutter", "env", "--unset=WAYLAND_DISPLAY", "--unset=DISPLAY", "mutter", "--headless", "--wayland",
                    "--no-x11", "--virtual-monitor", f"{width}x{height}")
        self._socket = wait_until(
            lambda: next((path for path in runtime.glob("wayland-*") if path.suffix != ".lock"), None),
            "mutter listens")
        wait_until(lambda: self.bus.name_has_owner(REMOTE), "mutter takes input")
        maker = self.bus.get_object(REMOTE, "/org/gnome/Mutter/RemoteDesktop", introspect=False)
        path = maker.CreateSession(dbus_interface=REMOTE)
        self._remote = dbus.Interface(self.bus.get_object(REMOTE, path, introspect=False), f"{REMOTE}.Session")
        self._remote.Start()
        # The devices are plugged in with their first use.
        shift, _ = MODIFIERS["shift"]
        self._remote.NotifyKeyboardKeycode(dbus.UInt32(shift), True)
        self._remote.NotifyKeyboardKeycode(dbus.UInt32(shift), False)
        self.move_pointer_away()
