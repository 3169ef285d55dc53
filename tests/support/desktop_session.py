# SPDX-License-Identifier: GPL-3.0-or-later
"""A private desktop for looking at the program from outside: X server, buses, window manager, real keys.

Nothing of the caller's own desktop is touched, and nothing waits for a time to pass: every wait is for
something that can be seen (a window, a row of the accessible tree, a file) and fails with what was seen
instead.
"""
from __future__ import annotations

import ctypes
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

import dbus
import dbus.bus

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from accessible_tree import AccessibleTree, Node  # noqa: E402
from sample_home import SampleHome  # noqa: E402

SERVICE = "org.vellumhound.Vellumhound"
OBJECT_PATH = "/org/vellumhound/Vellumhound"
APPLICATION = "org.freedesktop.Application"
PANEL_TITLE = "Vellumhound"
# What the login entry puts into the environment of its start, which then waits in the background.
LOGIN_MARK = {"VELLUMHOUND_STARTED_BY": "login"}

POLL_SECONDS = 0.02
DEFAULT_TIMEOUT_SECONDS = 20.0
FIRST_DISPLAY, LAST_DISPLAY = 70, 169

BUS_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={folder}/bus</listen>
  <servicedir>{folder}/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""
LIBC = ctypes.CDLL("libc.so.6")
PR_SET_PDEATHSIG = 1

WINDOW_MANAGERS = ("openbox", "xfwm4", "kwin_x11")
# What a window manager cannot do without: xfwm4 has its settings in a service, KWin its keys.
SERVICES_OF_WINDOW_MANAGERS = {
    "xfwm4": pathlib.Path("/usr/share/dbus-1/services/org.xfce.Xfconf.service"),
    "kwin_x11": pathlib.Path("/usr/share/dbus-1/services/org.kde.kglobalaccel.service"),
}
# Without frames, which need parts of the desktop that are not installed.
# As strict as it gets about windows that take the keyboard.
BLUR = "_KDE_NET_WM_BLUR_BEHIND_REGION"
KWIN_SETTINGS = "[Windows]\nFocusStealingPreventionLevel=4\n[org.kde.kdecoration2]\nNoPlugin=true\n"
ACCESSIBILITY_SERVICE = "[D-BUS Service]\nName=org.a11y.Bus\nExec=/usr/libexec/at-spi-bus-launcher\n"


def end_with_parent() -> None:
    """Runs in a new process: whatever becomes of this program, its servers do not stay behind."""
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGTERM, 0, 0, 0)


class NeverHappened(AssertionError):
    """A wait ended without what it waited for."""


def wait_until(predicate, what: str, timeout: float = DEFAULT_TIMEOUT_SECONDS):
    """Asks `predicate` until it answers something true, and gives that answer."""
    end = time.monotonic() + timeout
    while True:
        answer = predicate()
        if answer:
            return answer
        if time.monotonic() > end:
            raise NeverHappened(f"after {timeout:g} s still not: {what}")
        time.sleep(POLL_SECONDS)  # style: the one place that polls


class DesktopSession:
    """X server, session bus, accessibility bus and window manager in `folder`, from `start` to `stop`."""

    def __init__(self, folder: pathlib.Path, screen: tuple[int, int] = (1600, 900), is_composited: bool = False,
                 window_manager: str = "openbox", is_dark: bool | None = None, wallpaper: tuple[str, str] | None = None,
                 is_blurred: bool = False):
        self.folder = folder
        self.screen = screen
        self.is_composited = is_composited
        self.window_manager = window_manager  # one of WINDOW_MANAGERS
        self.is_dark = is_dark  # None: no portal at all
        self.wallpaper = wallpaper
        self.is_blurred = is_blurred  # KWin composites and blurs, with the processor
        self.display = ""
        self._processes: list[tuple[str, subprocess.Popen]] = []
        self.bus: dbus.bus.BusConnection | None = None
        self.tree: AccessibleTree | None = None

    def __enter__(self) -> DesktopSession:
        try:
            self.start()
        except BaseException:
            self.stop()
            raise
        return self

    def __exit__(self, *_exception) -> None:
        self.stop()

    def start(self) -> None:
        self.folder.mkdir(parents=True, exist_ok=True)
        (self.folder / "services").mkdir(exist_ok=True)
        (self.folder / "runtime").mkdir(mode=0o700, exist_ok=True)
        self._start_display()
        self._start_bus()
        self._start_window_manager()
        if self.is_composited:
            self._spawn("picom", "picom", "--backend", "xrender", "--config", "/dev/null")
            wait_until(self._has_compositor, "the compositor runs")
        if self.wallpaper:
            self._output("hsetroot", "-add", self.wallpaper[0], "-add", self.wallpaper[1], "-gradient", "305")
        if self.is_dark is not None:
            peer = pathlib.Path(__file__).resolve().parent / "portal_peer.py"
            self._spawn("portal", sys.executable, str(peer), *(["--dark"] if self.is_dark else []))
            wait_until(lambda: self.bus.name_has_owner("org.freedesktop.portal.Desktop"), "the portal answers")
        self.tree = AccessibleTree(self.bus)

    def stop(self) -> None:
        if self.tree:
            self.tree.close()
            self.tree = None
        if self.bus:
            self.bus.close()
            self.bus = None
        for _name, process in reversed(self._processes):
            end_process(process)
        self._processes.clear()

    def environment(self) -> dict[str, str]:
        return {"DISPLAY": self.display, "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.folder}/bus"}

    # --- what a user does ---

    def keys(self, *names: str) -> None:
        """Presses keys by their X names, chords with a plus: keys("Down", "ctrl+k")."""
        self._output("xdotool", "key", "--clearmodifiers", "--delay", "15", *names)

    def hold(self, *names: str) -> None:
        """Presses keys and leaves them down."""
        for name in names:
            self._output("xdotool", "keydown", name)

    def let_go(self, *names: str) -> None:
        for name in names:
            self._output("xdotool", "keyup", name)

    def type(self, text: str) -> None:
        self._output("xdotool", "type", "--clearmodifiers", "--delay", "15", text)

    def click(self, x: int, y: int) -> None:
        self._output("xdotool", "mousemove", str(x), str(y), "click", "1")

    def click_with(self, button: int, x: int, y: int) -> None:
        """Also where the pointer stands already."""
        self._output("xdotool", "mousemove", str(x), str(y), "click", str(button))

    def move_pointer_away(self) -> None:
        self._output("xdotool", "mousemove", str(self.screen[0] - 2), str(self.screen[1] - 2))

    def set_clipboard(self, text: str) -> None:
        file = self.folder / "clipboard.txt"
        file.write_text(text, encoding="utf-8")
        self._spawn("xclip", "xclip", "-quiet", "-selection", "clipboard", "-in", str(file))
        wait_until(lambda: len(self._output("xclip", "-selection", "clipboard", "-out")) == len(text),
                   "the clipboard holds the text")

    # --- what a user sees ---

    def windows(self, title: str) -> list[str]:
        """The ids of the windows on screen with exactly that title."""
        pattern = "^" + title.replace(".", "\\.") + "$"
        return self._output("xdotool", "search", "--onlyvisible", "--name", pattern).split()

    def windows_of(self, process_id: int) -> list[str]:
        """The ids of the windows on screen that say they belong to that process."""
        return self._output("xdotool", "search", "--all", "--onlyvisible", "--pid", str(process_id),
                            "--name", ".").split()

    def places_by_class(self, name: str) -> list[tuple[int, int, int, int]]:
        """Where the windows of that class are, those without a title too: menus, and what is in a tray."""
        found = self._output("xdotool", "search", "--onlyvisible", "--class", f"^{name}$").split()
        places = []
        for window in found:
            try:
                places.append(self.geometry(window))
            except KeyError:
                pass  # it has gone since
        return places

    def window_class(self, window: str) -> str:
        return self._output("xprop", "-id", window, "WM_CLASS").strip()

    def active_window_title(self) -> str:
        return self._output("xdotool", "getactivewindow", "getwindowname").strip()

    def geometry(self, window: str) -> tuple[int, int, int, int]:
        values = dict(line.split("=", 1) for line in
                      self._output("xdotool", "getwindowgeometry", "--shell", window).split() if "=" in line)
        return tuple(int(values[key]) for key in ("X", "Y", "WIDTH", "HEIGHT"))

    def color_at(self, x: int, y: int) -> tuple[int, int, int]:
        """Red, green and blue of a pixel of the screen, from 0 to 255."""
        pixel = subprocess.run(["import", "-silent", "-window", "root", "-crop", f"1x1+{x}+{y}", "-depth", "8", "rgb:-"],
                               env=self._environment(), check=True, capture_output=True).stdout
        return tuple(pixel[:3])

    def is_blur_announced(self) -> bool:
        return "not found" not in self._output("xprop", "-root", BLUR)

    def picture(self, file: pathlib.Path, window: str | None = None, margin: int = 0) -> None:
        """The screen, or the part of it that holds `window` and `margin` around it, once it has come to rest."""
        capture = ["import", "-silent", "-window", "root"]
        if window:
            x, y, width, height = self.geometry(window)
            left, top = max(0, x - margin), max(0, y - margin)
            right = min(self.screen[0], x + width + margin)
            bottom = min(self.screen[1], y + height + margin)
            capture += ["-crop", f"{right - left}x{bottom - top}+{left}+{top}", "+repage"]
        seen = [b"", b"-"]

        def is_at_rest() -> bool:
            seen[0] = seen[1]
            seen[1] = subprocess.run(capture + ["ppm:-"], env=self._environment(), check=True,
                                     capture_output=True).stdout
            return seen[0] == seen[1]

        wait_until(is_at_rest, "two pictures after each other are the same")
        file.parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["convert", "ppm:-", "-strip", "-define", "png:compression-level=9", f"png:{file}"],
                       input=seen[1], check=True)

    # --- programs ---

    def start_program(self, program: pathlib.Path, home: SampleHome, *arguments: str,
                      environment: dict[str, str] | None = None, output: int | None = None) -> Program:
        """Its standard output goes to a file, or to the descriptor `output`."""
        number = len(self._processes)
        values = home.environment() | self.environment() | (environment or {})
        out, err = self.folder / f"program-{number}.out", self.folder / f"program-{number}.err"
        with open(out, "wb") as out_file, open(err, "wb") as err_file:
            process = subprocess.Popen([str(program), *arguments], env=values, cwd=home.path,
                                       stdin=subprocess.DEVNULL, stderr=err_file,
                                       stdout=out_file if output is None else output,
                                       preexec_fn=end_with_parent)
        self._processes.append((program.name, process))
        return Program(self, process, out, err)

    def register_service(self, program: pathlib.Path, home: SampleHome) -> None:
        """From now on the session bus itself starts `program` when somebody calls it, as after an installation."""
        (self.folder / f"services/{SERVICE}.service").write_text(
            f"[D-BUS Service]\nName={SERVICE}\nExec={program}\n", encoding="utf-8")
        self._take_up_services(home)

    def register_installed_service(self, file: pathlib.Path, home: SampleHome) -> None:
        """The same by the service file of an installation."""
        (self.folder / f"services/{SERVICE}.service").symlink_to(file)
        self._take_up_services(home)

    def unregister_service(self) -> None:
        (self.folder / f"services/{SERVICE}.service").unlink()
        daemon = self.bus.get_object(dbus.BUS_DAEMON_NAME, dbus.BUS_DAEMON_PATH, introspect=False)
        daemon.ReloadConfig(dbus_interface=dbus.BUS_DAEMON_IFACE)

    def service_process_id(self) -> int:
        """Of the program that holds the bus name; fails if nobody does."""
        return int(self.bus.call_blocking(dbus.BUS_DAEMON_NAME, dbus.BUS_DAEMON_PATH, dbus.BUS_DAEMON_IFACE,
                                          "GetConnectionUnixProcessID", "s", (SERVICE,)))

    def start_other_window(self) -> str:
        """A window of another program in the upper left corner; gives its id."""
        self._spawn("xmessage", "xmessage", "-title", "Another window", "-geometry", "200x80+20+40", "hello")
        return wait_until(lambda: self.windows("Another window"), "the other window is there")[0]

    def start_window_behind_the_panel(self, color: str) -> str:
        """A window of one colour in the middle of the screen; gives its id."""
        x, y = self.screen[0] // 2 - 200, self.screen[1] // 2 - 150
        self._spawn("xmessage", "xmessage", "-title", "Behind", "-bg", color, "-geometry", f"400x300+{x}+{y}", " ")
        return wait_until(lambda: self.windows("Behind"), "the window behind is there")[0]

    def start_x11_tray(self, height: int = 24) -> subprocess.Popen:
        """A tray of the X11 kind, small and in the middle of the lower edge; `end_process` ends it."""
        return self._spawn("trayer", "trayer", "--edge", "bottom", "--align", "center", "--widthtype", "request",
                           "--heighttype", "pixel", "--height", str(height))

    def is_service_there(self) -> bool:
        return bool(self.bus.name_has_owner(SERVICE))

    def activate(self) -> None:
        """What the desktop does when the user starts the program from its menu."""
        wait_until(self.is_service_there, f"{SERVICE} is on the bus")
        self.call_activate()

    def call_activate(self) -> None:
        self.bus.call_blocking(SERVICE, OBJECT_PATH, APPLICATION, "Activate", "a{sv}",
                               (dbus.Dictionary({}, signature="sv"),), timeout=20)

    # --- inside ---

    def _take_up_services(self, home: SampleHome) -> None:
        daemon = self.bus.get_object(dbus.BUS_DAEMON_NAME, dbus.BUS_DAEMON_PATH, introspect=False)
        values = home.environment() | self.environment()
        daemon.UpdateActivationEnvironment(dbus.Dictionary(values, signature="ss"),
                                           dbus_interface=dbus.BUS_DAEMON_IFACE)
        daemon.ReloadConfig(dbus_interface=dbus.BUS_DAEMON_IFACE)

    def _environment(self) -> dict[str, str]:
        values = {key: os.environ[key] for key in ("PATH", "TERM") if key in os.environ}
        values.update(self.environment(), HOME=str(self.folder), LANG="C.UTF-8", GSETTINGS_BACKEND="memory",
                      XDG_RUNTIME_DIR=str(self.folder / "runtime"), XDG_CONFIG_HOME=str(self.folder / "config"),
                      XDG_CACHE_HOME=str(self.folder / "cache"), XDG_DATA_HOME=str(self.folder / "data"))
        return values

    def _spawn(self, name: str, *command: str, pass_fds: tuple[int, ...] = ()) -> subprocess.Popen:
        with open(self.folder / f"{name}.log", "ab") as log:
            process = subprocess.Popen(command, env=self._environment(), stdin=subprocess.DEVNULL, stdout=log,
                                       stderr=log, pass_fds=pass_fds, preexec_fn=end_with_parent)
        self._processes.append((name, process))
        return process

    def _spawn_until_it_answers(self, name: str, *command: str) -> tuple[subprocess.Popen, bool]:
        """Starts a server that writes a line to {descriptor} once it listens; False if it ended instead."""
        reader, writer = os.pipe()
        process = self._spawn(name, *(word.replace("{descriptor}", str(writer)) for word in command),
                              pass_fds=(writer,))
        os.close(writer)
        with os.fdopen(reader, "rb") as answer:
            return process, bool(answer.readline())

    def _output(self, *command: str) -> str:
        """What a command prints; a command that finds nothing fails, and that reads as nothing."""
        return subprocess.run(command, env=self._environment(), capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, timeout=60, check=False).stdout

    def _start_display(self) -> None:
        """The first display number that nobody has; the server itself settles a race by refusing to start."""
        width, height = self.screen
        for number in range(FIRST_DISPLAY, LAST_DISPLAY + 1):
            if os.path.exists(f"/tmp/.X{number}-lock") or os.path.exists(f"/tmp/.X11-unix/X{number}"):
                continue
            process, is_ready = self._spawn_until_it_answers(
                "Xvfb", "Xvfb", f":{number}", "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp", "-noreset",
                "+extension", "Composite", "-displayfd", "{descriptor}")
            if is_ready:
                self.display = f":{number}"
                return
            end_process(process)
            self._processes.pop()
        raise RuntimeError("no free display, or Xvfb does not start: see " + str(self.folder / "Xvfb.log"))

    def _start_bus(self) -> None:
        configuration = self.folder / "bus.conf"
        configuration.write_text(BUS_CONFIGURATION.format(folder=self.folder), encoding="utf-8")
        (self.folder / "services/org.a11y.Bus.service").write_text(ACCESSIBILITY_SERVICE, encoding="utf-8")
        service = SERVICES_OF_WINDOW_MANAGERS.get(self.window_manager)
        if service:
            shutil.copy(service, self.folder / "services")
        _, is_ready = self._spawn_until_it_answers("bus", "dbus-daemon", "--nofork", "--nopidfile",
                                                   f"--config-file={configuration}", "--print-address={descriptor}")
        if not is_ready:
            raise RuntimeError("the session bus does not start: see " + str(self.folder / "bus.log"))
        self.bus = dbus.bus.BusConnection(self.environment()["DBUS_SESSION_BUS_ADDRESS"])

    def _start_window_manager(self) -> None:
        if self.window_manager == "openbox":
            # It says that it is there long before it looks at windows; one that comes in between is never
            # shown. What it runs at the end of its start is the sign that it is ready.
            ready = self.folder / "openbox-is-ready"
            self._spawn("openbox", "openbox", "--sm-disable", "--startup", f"touch '{ready}'")
            wait_until(ready.exists, "the window manager is ready")
            return
        if self.window_manager == "kwin_x11":
            (self.folder / "config").mkdir(exist_ok=True)
            blur = "[Plugins]\nblurEnabled=true\n" if self.is_blurred else ""
            (self.folder / "config/kwinrc").write_text(KWIN_SETTINGS + blur, encoding="utf-8")
            self._spawn("kwin_x11", "env", "LIBGL_ALWAYS_SOFTWARE=1",
                        f"KWIN_COMPOSE={'O2' if self.is_blurred else 'N'}", "kwin_x11")
            if self.is_blurred:
                wait_until(self.is_blur_announced, "KWin blurs")
        else:
            self._spawn("xfwm4", "xfwm4", "--compositor=off", "--vblank=off")
        wait_until(lambda: "window id" in self._output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"),
                   "the window manager is ready")

    def _has_compositor(self) -> bool:
        x11 = ctypes.CDLL("libX11.so.6")
        x11.XOpenDisplay.restype = ctypes.c_void_p
        x11.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
        x11.XInternAtom.restype = ctypes.c_ulong
        x11.XGetSelectionOwner.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
        x11.XGetSelectionOwner.restype = ctypes.c_ulong
        x11.XCloseDisplay.argtypes = [ctypes.c_void_p]
        connection = x11.XOpenDisplay(self.display.encode())
        owner = x11.XGetSelectionOwner(connection, x11.XInternAtom(connection, b"_NET_WM_CM_S0", 0))
        x11.XCloseDisplay(connection)
        return owner != 0


class Program:
    """One start of the program, and its panel as it reads from outside."""

    def __init__(self, session: DesktopSession, process: subprocess.Popen, out: pathlib.Path, err: pathlib.Path):
        self.session = session
        self.process = process
        self._out, self._err = out, err
        self._found: dict[tuple[str, str], Node] = {}

    @property
    def output(self) -> str:
        return self._out.read_text(encoding="utf-8", errors="replace")

    @property
    def errors(self) -> str:
        return self._err.read_text(encoding="utf-8", errors="replace")

    @property
    def is_running(self) -> bool:
        return self.process.poll() is None

    def wait_for_end(self, timeout: float = DEFAULT_TIMEOUT_SECONDS) -> int:
        """The exit code, negative for a signal."""
        return self.process.wait(timeout)

    def end(self) -> int:
        return end_process(self.process)

    def node(self) -> Node:
        return wait_until(lambda: self.session.tree.program(self.process.pid),
                          "the program is in the accessible tree")

    def part(self, name: str, role: str) -> Node | None:
        """A part of the panel by its accessible name and role; None while there is none."""
        known = self._found.get((name, role))
        if known and known.name == name:
            return known
        found = self.node().find(name, role)
        if found:
            self._found[(name, role)] = found
        return found

    def panel_windows(self) -> list[str]:
        return self.session.windows(PANEL_TITLE)

    @property
    def is_panel_visible(self) -> bool:
        return bool(self.panel_windows())

    def present(self) -> None:
        """Activates and waits until the panel is on screen and holds the keyboard."""
        self.session.activate()
        self.wait_for_panel()

    def wait_for_panel(self, timeout: float = DEFAULT_TIMEOUT_SECONDS) -> None:
        wait_until(lambda: self.is_panel_visible and self.session.active_window_title() == PANEL_TITLE,
                   "the panel is on screen and active", timeout)

    def wait_until_hidden(self) -> None:
        wait_until(lambda: not self.is_panel_visible, "the panel is gone")

    @property
    def box(self) -> str:
        field = self.part("Search", "text")
        return field.text if field else ""

    def rows(self) -> list[str]:
        """The left list as a screen reader reads it, top to bottom: "name, path" on the top level."""
        return self._rows("Results")

    def names(self) -> list[str]:
        return [row.split(", ", 1)[0] for row in self.rows()]

    def contents(self) -> list[str]:
        """The right list: what is in the selected folder."""
        return self._rows("Folder contents")

    def selected(self) -> str:
        results = self.part("Results", "list")
        if not results or not results.is_showing:
            return ""
        return next((row.name for row in results.children if row.is_selected), "")

    def _rows(self, name: str) -> list[str]:
        found = self.part(name, "list")
        return [row.name for row in found.children] if found and found.is_showing else []

    def wait_for_box(self, text: str) -> None:
        self._wait(lambda: self.box == text, f"the box reads “{text}”")

    def wait_for_name(self, name: str) -> None:
        self._wait(lambda: name in self.names(), f"“{name}” is in the list")

    def wait_for_selected(self, name: str) -> None:
        self._wait(lambda: self.selected().split(", ", 1)[0] == name, f"“{name}” is selected")

    def _wait(self, predicate, what: str) -> None:
        try:
            wait_until(predicate, what)
        except NeverHappened as failure:
            raise NeverHappened(f"{failure}\nbox “{self.box}”, selected “{self.selected()}”, rows {self.rows()[:20]}"
                                f"\nstandard error: {self.errors[-2000:]}") from None


def end_process(process: subprocess.Popen) -> int:
    """Asks a process of ours to end, and insists after a while."""
    if process.poll() is None:
        process.send_signal(signal.SIGTERM)
        try:
            process.wait(10)
        except subprocess.TimeoutExpired:
            process.kill()
    return process.wait()


def missing_tools() -> list[str]:
    wanted = ("Xvfb", "dbus-daemon", "openbox", "xdotool", "xprop", "xmessage", "import", "convert", "xclip")
    return [tool for tool in wanted if not shutil.which(tool)]
