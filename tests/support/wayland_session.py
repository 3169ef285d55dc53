# SPDX-License-Identifier: GPL-3.0-or-later
"""A private desktop on Wayland: sway or weston without a screen, in place of the X server and its window manager.

A window that is a layer of the desktop is in no list of windows, so whether the panel is there is seen in the
picture: it is light, and all else on these desktops is dark.
"""
from __future__ import annotations

import contextlib
import itertools
import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
from collections.abc import Callable

from desktop_session import PANEL_TITLE, DesktopSession, wait_until
from wayland_seat import WaylandSeat

FIRST_OUTPUT, SECOND_OUTPUT = "HEADLESS-1", "HEADLESS-2"
DESKTOP_COLOUR = "#335577"
LIGHT = 225  # least value of each colour on the panel; nothing else on these desktops reaches it
LOCK_COLOUR = "112233"
WIDEST_LINE = 3  # in pixels
BESIDE_POINTER = 60  # sway puts the pointer in the middle of an output that it gives the focus
NOBODY = 65534
OTHER_TITLE = "Wayland Terminal"

SWAY_CONFIGURATION = """xwayland disable
output * bg {colour} solid_color
output {first} resolution {width}x{height} position 0 0 scale {scale}
output {second} resolution 1920x1200 position {width} 0 scale 1.5
default_border none
focus_follows_mouse no
"""
# A compositor whose windows are the outputs of another: the headless ones cannot be taken away.
OUTPUTS_CONFIGURATION = """xwayland disable
output * resolution {width}x{height}
default_border none
for_window [title="^wlroots"] floating enable, resize set {width} {height}
"""
PLUGGABLE_CONFIGURATION = """xwayland disable
output * bg {colour} solid_color
default_border none
focus_follows_mouse no
"""


class Picture:
    """The pixels of a part of the desktop."""

    def __init__(self, ppm: bytes):
        kind, size, largest, self._pixels = ppm.split(b"\n", 3)
        if kind != b"P6" or largest != b"255":
            raise ValueError("not a picture with three bytes a pixel")
        self.width, self.height = (int(number) for number in size.split())

    def is_light(self, x: int, y: int) -> bool:
        first = (y * self.width + x) * 3
        return min(self._pixels[first:first + 3]) >= LIGHT

    def is_of(self, colour: str) -> bool:
        """Whether the corner, where nothing else is, has the colour."""
        return self._pixels[:3] == bytes.fromhex(colour)

    def light_rectangle(self) -> tuple[int, int, int, int] | None:
        """Left, top, width and height of what is light around the middle; None if the middle is not."""
        x, y = self.width // 2 + BESIDE_POINTER, self.height // 2 + BESIDE_POINTER
        if not self.is_light(x, y):
            return None
        left = self._edge(x, lambda at: self.is_light(at, y), -1, 0)
        right = self._edge(x, lambda at: self.is_light(at, y), 1, self.width - 1)
        top = self._edge(y, lambda at: self.is_light(x, at), -1, 0)
        bottom = self._edge(y, lambda at: self.is_light(x, at), 1, self.height - 1)
        return left, top, right - left + 1, bottom - top + 1


    @staticmethod
    def _edge(start: int, is_light: Callable[[int], bool], step: int, end: int) -> int:
        """The last light place from `start` on; a line between two parts of the panel may be darker."""
        last = start
        for at in range(start, end + step, step):
            if is_light(at):
                last = at
            elif abs(at - last) > WIDEST_LINE:
                break
        return last


def missing_wayland_tools() -> list[str]:
    return [tool for tool in ("sway", "swaymsg", "swaylock", "grim", "weston", "weston-terminal") if not shutil.which(tool)]


class DraggedByPicture:
    """For a session that has `panel_rectangle`, `move_pointer`, `hold_button` and `let_button_go`."""

    def drag_panel(self, handle: tuple[int, int], dx: int, dy: int) -> tuple[tuple[int, int], tuple[int, int]]:
        """By the handle; gives the place of the panel's corner before and after the pointer moved by `dx` and `dy`.

        How soon after the press the panel follows is for the program to say, so it is waited for in small steps.
        """
        start, steps = self.panel_rectangle(), itertools.count(1)
        x, y = handle
        self.move_pointer(x, y)
        self.hold_button()

        def does_follow() -> bool:
            nonlocal x
            x = handle[0] + next(steps)
            self.move_pointer(x, y)
            return self.panel_rectangle() != start

        wait_until(does_follow, "the panel follows the pointer")
        before = self._panel_at_rest()
        self.move_pointer(x + dx, y + dy)
        wait_until(lambda: self.panel_rectangle() != before, "the panel moves on")
        after = self._panel_at_rest()
        self.let_button_go()
        return before[:2], after[:2]

    def _panel_at_rest(self) -> tuple[int, int, int, int]:
        seen = [None, None]

        def is_at_rest() -> bool:
            seen[:] = seen[1], self.panel_rectangle()
            return seen[0] is not None and seen[0] == seen[1]

        wait_until(is_at_rest, "the panel is where it was a moment ago")
        return seen[1]


class WaylandSession(DraggedByPicture, DesktopSession):
    """sway, with a keyboard and a pointer of ours; a second output is to the right of the first."""

    def __init__(self, folder: pathlib.Path, screen: tuple[int, int] = (1600, 900), has_two_outputs: bool = False,
                 scale: float = 1):
        super().__init__(folder, screen)
        self._scale = scale  # of the first output
        self._has_two_outputs = has_two_outputs
        self._shared = folder  # from the start on
        self._is_root = os.getuid() == 0
        self._socket: pathlib.Path | None = None
        self._control: pathlib.Path | None = None
        self._seat: WaylandSeat | None = None

    def start(self) -> None:
        # The compositor refuses to be root, and its folder must be its own.
        self._shared = pathlib.Path(tempfile.mkdtemp(prefix="vellumhound-wayland-"))
        if self._is_root:
            os.chown(self._shared, NOBODY, NOBODY)
        super().start()

    def stop(self) -> None:
        if self._seat:
            self._seat.close()
            self._seat = None
        super().stop()
        self._control = None
        if self._shared != self.folder:
            shutil.rmtree(self._shared, ignore_errors=True)

    def end_compositor(self, number: signal.Signals) -> None:
        """As by a crash. Nothing can be seen or pressed until the session was stopped and started."""
        for name, process in self._processes:
            if name in ("sway", "mutter"):
                process.send_signal(number)
                process.wait()

    def environment(self) -> dict[str, str]:
        return {"DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.folder}/bus", "WAYLAND_DISPLAY": str(self._socket),
                "QT_QPA_PLATFORM": "wayland", "XDG_SESSION_TYPE": "wayland"}

    def control(self) -> dict[str, str]:
        """What swaymsg has to know to reach the compositor."""
        return {"SWAYSOCK": str(self._control)} if self._control else {}

    def shared_file(self, name: str) -> pathlib.Path:
        """Where the compositor may write."""
        return self._shared / name

    # --- what a user does ---

    def keys(self, *names: str) -> None:
        self._seat.keys(*names)

    def hold(self, *names: str) -> None:
        self._seat.hold(*names)

    def let_go(self, *names: str) -> None:
        self._seat.let_go(*names)

    def type(self, text: str) -> None:
        self._seat.type(text)

    def set_layout(self, layouts: str, group: int = 0) -> None:
        """Of the keyboard: names with commas between them, and which of them is in use."""
        self._seat.set_layout(layouts, group)

    def move_pointer(self, x: int, y: int) -> None:
        width, height = self._whole_size()
        self._seat.move(x, y, width, height)

    def click(self, x: int, y: int) -> None:
        self.move_pointer(x, y)
        self._seat.button(True)
        self._seat.button(False)

    def hold_button(self) -> None:
        self._seat.button(True)

    def let_button_go(self) -> None:
        self._seat.button(False)

    def move_pointer_away(self) -> None:
        self.move_pointer(self.screen[0] - 2, self.screen[1] - 2)

    # --- what a user sees ---

    def look(self, output: str = FIRST_OUTPUT) -> Picture:
        return Picture(subprocess.run(["grim", "-o", output, "-t", "ppm", "-"], env=self._environment(), check=True,
                                      capture_output=True, timeout=60).stdout)

    def panel_rectangle(self, output: str = FIRST_OUTPUT) -> tuple[int, int, int, int] | None:
        """Where the panel is, in the output's own pixels; None while it is not there."""
        return self.look(output).light_rectangle()

    def windows(self, title: str) -> list[str]:
        if title == PANEL_TITLE:
            return [PANEL_TITLE] if self.panel_rectangle() else []
        return [node["name"] for node in self._window_nodes() if node.get("name") == title]

    def active_window_title(self) -> str:
        """A layer has the keyboard when no window has it."""
        focused = [node["name"] for node in self._window_nodes() if node["focused"]]
        return focused[0] if focused else PANEL_TITLE if self.is_keyboard_on_layer() else ""

    def is_keyboard_on_layer(self) -> bool:
        return not any(node["focused"] for node in self._nodes())

    def geometry(self, window: str) -> tuple[int, int, int, int]:
        return self.panel_rectangle()

    def picture(self, file: pathlib.Path, window: str | None = None, margin: int = 0) -> None:
        file.parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["grim", str(file)], env=self._environment(), check=True, timeout=60)

    def start_other_window(self) -> str:
        self._spawn("weston-terminal", "weston-terminal", "--shell=/bin/cat")
        return wait_until(lambda: self.windows(OTHER_TITLE), "the other window is there")[0]

    @contextlib.contextmanager
    def locked(self):
        """With a screen lock that has the keyboard."""
        process = self._spawn("swaylock", "swaylock", "--color", LOCK_COLOUR)
        wait_until(lambda: self.look().is_of(LOCK_COLOUR), "the screen is locked")
        try:
            yield
        finally:
            process.send_signal(signal.SIGUSR1)
            process.wait()

    def message(self, *words: str):
        """Tells sway something; gives its answer."""
        return json.loads(self._output("swaymsg", "--raw", *words) or "null")

    def outputs(self) -> list[dict]:
        return [output for output in self.message("--type", "get_outputs") if output["active"]]

    def output_names(self) -> list[str]:
        return [output["name"] for output in self.outputs()]

    # --- inside ---

    def _nodes(self) -> list[dict]:
        found, waiting = [], [self.message("--type", "get_tree")]
        while waiting:
            node = waiting.pop()
            found.append(node)
            waiting += node.get("nodes", []) + node.get("floating_nodes", [])
        return found

    def _window_nodes(self) -> list[dict]:
        return [node for node in self._nodes() if node.get("pid")]

    def _whole_size(self) -> tuple[int, int]:
        places = [output["rect"] for output in self.outputs()]
        return (max(place["x"] + place["width"] for place in places),
                max(place["y"] + place["height"] for place in places))

    def _environment(self) -> dict[str, str]:
        return super()._environment() | {"XDG_RUNTIME_DIR": str(self._shared)} | self.control()

    def _start_display(self) -> None:
        """Nothing: it comes with the window manager, once there is a bus."""

    def _start_window_manager(self) -> None:
        width, height = self.screen
        self._start_sway(SWAY_CONFIGURATION.format(
            colour=DESKTOP_COLOUR, first=FIRST_OUTPUT, second=SECOND_OUTPUT, width=width, height=height,
            scale=self._scale), WLR_HEADLESS_OUTPUTS="2" if self._has_two_outputs else "1")
        self._seat = WaylandSeat(self._socket)

    def _start_sway(self, configuration: str, **variables: str) -> None:
        """From now on it is the one that is spoken with."""
        known = set(self._shared.glob("sway-ipc.*.sock"))
        file = self._shared / f"sway-{len(known)}.conf"
        ready = file.with_suffix(".ready")
        file.write_text(f"{configuration}exec touch {ready}\n", encoding="utf-8")
        self._start_compositor("sway", "--config", str(file), **variables)
        wait_until(ready.exists, "the compositor runs")
        self._control = (set(self._shared.glob("sway-ipc.*.sock")) - known).pop()

    def _start_compositor(self, *command: str, **variables: str) -> None:
        values = {"WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman",
                  "HOME": str(self._shared), "XDG_RUNTIME_DIR": str(self._shared)} | variables
        without = [f"--unset={name}" for name in
                   ("WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "DISPLAY", "SWAYSOCK") if name not in variables]
        user = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"] if self._is_root else []
        known = set(self._sockets())
        name = pathlib.Path(command[0]).name
        process = self._spawn(name, "env", f"--chdir={self._shared}", *without,
                              *(f"{name}={value}" for name, value in values.items()), *user, *command)

        def is_listening() -> bool:
            if process.poll() is not None:
                log = (self.folder / f"{name}.log").read_text(encoding="utf-8", errors="replace")
                raise RuntimeError(f"{name} does not start:\n{log[-2000:]}")
            return bool(set(self._sockets()) - known)

        wait_until(is_listening, f"{name} listens")
        self._socket = (set(self._sockets()) - known).pop()

    def _sockets(self) -> list[pathlib.Path]:
        return [path for path in self._shared.glob("wayland-*") if path.suffix != ".lock"]


class PluggableWaylandSession(WaylandSession):
    """sway, with two outputs that are plugged in and out."""

    def __init__(self, folder: pathlib.Path, screen: tuple[int, int] = (1280, 720)):
        super().__init__(folder, screen)
        self._outer_control: pathlib.Path | None = None

    def plug_in(self) -> str:
        """The name of the new output."""
        known = set(self.output_names())
        self.message("create_output")
        return wait_until(lambda: set(self.output_names()) - known, "there is another output").pop()

    def unplug(self, name: str) -> None:
        self._output("swaymsg", "--socket", str(self._outer_control), f'[title="^wlroots - {name}$"] kill')
        wait_until(lambda: name not in self.output_names(), f"{name} is gone")

    def middle_of(self, name: str) -> tuple[int, int]:
        place = next(output["rect"] for output in self.outputs() if output["name"] == name)
        return place["x"] + place["width"] // 2, place["y"] + place["height"] // 2

    def panel_rectangle(self, output: str | None = None) -> tuple[int, int, int, int] | None:
        """On the output of that name, or on any."""
        names = [output] if output else self.output_names()
        return next(filter(None, map(super().panel_rectangle, names)), None)

    def _start_window_manager(self) -> None:
        width, height = self.screen
        self._start_sway(OUTPUTS_CONFIGURATION.format(width=width, height=height))
        self._outer_control = self._control
        self._start_sway(PLUGGABLE_CONFIGURATION.format(colour=DESKTOP_COLOUR), WLR_BACKENDS="wayland",
                         WLR_WL_OUTPUTS="2", WAYLAND_DISPLAY=str(self._socket))
        self._seat = WaylandSeat(self._socket)


class PlainWaylandSession(WaylandSession):
    """weston: no layer-shell, and here neither keyboard nor pointer."""

    def _start_window_manager(self) -> None:
        width, height = self.screen
        self._start_compositor("weston", "--backend=headless-backend.so", "--use-pixman", f"--width={width}",
                               f"--height={height}", "--idle-time=0", "--no-config")

    def move_pointer_away(self) -> None:
        """There is none."""

    def windows(self, title: str) -> list[str]:
        """Not told, and there are no pictures either."""
        return []
