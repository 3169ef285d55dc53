# SPDX-License-Identifier: GPL-3.0-or-later
"""What the tests of the shortcut recorder share: a window with three fields, real keys, and what a user sees of it."""
from __future__ import annotations

import json

import desktop_case
from desktop_case import DesktopCase, wait_until

TITLE = "Recorders"
RECORD, PRESS = "Record shortcut", "Press shortcut"
HARDWARE_K = 45  # of the X server
STORED_NAME = "KeyboardShortcuts_launchVellumhound"
BY_SYSTEM = "The desktop or another program already uses this shortcut."
CAN_BE_CHANGED = "The shortcuts of the desktop can be changed in its keyboard settings."


class RecorderCase(DesktopCase):
    """`open` starts the window; `self.nodes` are its fields “First” and “Again” of one name, “Other” of another."""

    def open(self, *arguments, environment=None):
        self.program = self.session.start_program(desktop_case.options.program, self.home, *map(str, arguments),
                                                  environment=environment)
        self.programs.append(self.program)
        wait_until(lambda: "ready" in self.lines(), "the window is made")
        self.give_keyboard()
        self.nodes = {name: wait_until(lambda name=name: self.program.node().find(name, "text"), f"{name} is there")
                      for name in ("First", "Again", "Other")}
        return self.program

    def give_keyboard(self):
        """A window that opens has it."""
        self.wait_keyboard(TITLE)

    # --- what a user does ---

    def focus(self, name="First"):
        """Clicks into the field and waits until it records."""
        x, y, width, height = self.nodes[name].extents
        self.session.click(x + width // 2, y + height // 2)
        self.wait_recording(name)

    # --- what a user sees ---

    def lines(self):
        return self.program.output.splitlines()

    def shown(self, name="First"):
        return self.nodes[name].text

    def is_recording(self, name="First"):
        node = self.nodes[name]
        return node.is_focused and node.description.endswith(PRESS)

    def stored(self):
        file = self.home.config / "vellumhound" / f"{STORED_NAME}.json"
        return json.loads(file.read_text(encoding="utf-8")) if file.exists() else None

    def wait_keyboard(self, title):
        """The window manager says who is active a moment before, or after, the keys go there."""
        def has_keyboard():
            focused = self.session._output("xdotool", "getwindowfocus", "getwindowname").strip()
            return self.session.active_window_title() == title and focused == title

        wait_until(has_keyboard, f"“{title}” has the keyboard")

    def wait_shown(self, text, name="First"):
        wait_until(lambda: self.shown(name) == text, f"{name} shows “{text}”, not “{self.shown(name)}”")

    def wait_recording(self, name="First"):
        wait_until(lambda: self.is_recording(name), f"{name} records")

    def wait_idle(self, name="First"):
        wait_until(lambda: not self.nodes[name].is_focused and self.nodes[name].description.endswith(RECORD),
                   f"{name} does not record")

    def wait_line(self, line, times=1):
        wait_until(lambda: self.lines().count(line) >= times, f"“{line}” is told {times} times: {self.lines()}")

    def clear_button(self, name="First"):
        return self.nodes[name].find("Clear shortcut", "push button")

    def alert(self):
        """The texts and buttons of the alert that is up, once it has the keyboard."""
        node = wait_until(lambda: self.program.node().find("Vellumhound", "alert message"), "an alert is up")
        self.wait_keyboard("Vellumhound")
        return ([child.name for child in walk(node) if child.role == "label" and child.name],
                [child for child in walk(node) if child.role == "push button"])

    def wait_no_alert(self):
        wait_until(lambda: not self.session.windows("Vellumhound"), "the alert is gone")
        self.wait_keyboard(TITLE)

    def press_until_hot_key(self, keys, line):
        """A grab of the server takes effect a moment after it was asked for."""
        before = self.lines().count(line)

        def fires():
            self.session.keys(keys)
            return self.lines().count(line) > before

        wait_until(fires, f"“{line}” after {keys}")


def walk(node):
    """The objects below `node`, itself left out."""
    for child in node.children:
        yield child
        yield from walk(child)
