# SPDX-License-Identifier: GPL-3.0-or-later
"""A private KDE desktop on Wayland: KWin in a window of the private X server, which gives it keyboard and pointer.

Its service for hot keys is the real one, as it is a part of KWin.
"""
from __future__ import annotations

import os
import pathlib
import shutil
import subprocess
import tempfile

import dbus
import dbus.bus

from desktop_session import ACCESSIBILITY_SERVICE, BUS_CONFIGURATION, KWIN_SETTINGS, DesktopSession, wait_until
from wayland_session import NOBODY, Picture

SOCKET = "wayland-vellumhound"
HOT_KEYS = "org.kde.kglobalaccel"


def missing_kwin_tools() -> list[str]:
    return [tool for tool in ("kwin_wayland", "Xvfb", "xdotool", "setpriv") if not shutil.which(tool)]


class KWinSession(DesktopSession):
    """KWin has the whole screen of the X server; `keys`, `click` and `picture` are those of that server."""

    def __init__(self, folder: pathlib.Path, screen: tuple[int, int] = (1600, 900)):
        super().__init__(folder, screen)
        # The compositor refuses to be root, and its folder must be its own.
        self._shared = pathlib.Path(tempfile.mkdtemp(prefix="vellumhound-kwin-"))
        self._is_root = os.getuid() == 0

    def stop(self) -> None:
        super().stop()
        shutil.rmtree(self._shared, ignore_errors=True)

    def environment(self) -> dict[str, str]:
        """DISPLAY is for those who press keys."""
        return {"DISPLAY": self.display, "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self._shared}/bus",
                "WAYLAND_DISPLAY": str(self._shared / SOCKET), "QT_QPA_PLATFORM": "wayland",
                "XDG_SESSION_TYPE": "wayland", "XDG_CURRENT_DESKTOP": "KDE"}

    def windows(self, title: str) -> list[str]:
        raise NotImplementedError("KWin shows its windows to nobody")

    def look(self) -> Picture:
        command = ["import", "-silent", "-window", "root", "ppm:-"]
        return Picture(subprocess.run(command, env=self._environment(), check=True, capture_output=True).stdout)

    def _start_bus(self) -> None:
        """For two users, if the compositor has to be another one."""
        (self._shared / "services").mkdir()
        (self._shared / "services/org.a11y.Bus.service").write_text(ACCESSIBILITY_SERVICE, encoding="utf-8")
        configuration = self._shared / "bus.conf"
        text = BUS_CONFIGURATION.format(folder=self._shared)
        configuration.write_text(text.replace('<allow own="*"/>', '<allow own="*"/>\n    <allow user="*"/>'),
                                 encoding="utf-8")
        if self._is_root:
            self._shared.chmod(0o711)
        _, is_ready = self._spawn_until_it_answers("bus", "dbus-daemon", "--nofork", "--nopidfile",
                                                   f"--config-file={configuration}", "--print-address={descriptor}")
        if not is_ready:
            raise RuntimeError("the session bus does not start: see " + str(self.folder / "bus.log"))
        self.bus = dbus.bus.BusConnection(self.environment()["DBUS_SESSION_BUS_ADDRESS"])

    def _start_window_manager(self) -> None:
        # A file with capabilities, as Debian's is, cannot be started where those may not be had.
        program = self._shared / "kwin_wayland"
        shutil.copyfile(shutil.which("kwin_wayland"), program)
        program.chmod(0o755)
        (self._shared / "kwinrc").write_text(KWIN_SETTINGS, encoding="utf-8")
        if self._is_root:
            for path in (self._shared, self._shared / "kwinrc"):
                os.chown(path, NOBODY, NOBODY)
        place = str(self._shared)
        variables = ("KWIN_COMPOSE=Q", f"HOME={place}", f"XDG_RUNTIME_DIR={place}", f"XDG_CONFIG_HOME={place}",
                     f"XDG_CACHE_HOME={place}/cache", f"XDG_DATA_HOME={place}/data")
        without = [f"--unset={name}" for name in ("WAYLAND_DISPLAY", "QT_QPA_PLATFORM")]
        user = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"] if self._is_root else []
        width, height = self.screen
        self._spawn("kwin_wayland", "env", f"--chdir={place}", *without, *variables, *user, str(program),
                    "--x11-display", self.display, "--no-lockscreen", "--socket", SOCKET, "--width", str(width),
                    "--height", str(height))
        wait_until(lambda: (self._shared / SOCKET).exists() and self.bus.name_has_owner(HOT_KEYS)
                   and self.bus.name_has_owner("org.kde.KWin"), "the compositor runs")
        # Without a window manager the keys go where the pointer is. The server's first key may be lost.
        self._output("xdotool", "mousemove", str(width // 2), str(height // 2), "key", "Shift_L")
