# SPDX-License-Identifier: GPL-3.0-or-later
"""Reads the accessible tree of a program over D-Bus, as a screen reader would.

Every property is asked for anew, so a caller sees what the program says now and not what a cache
remembers. A node that has gone away reads as empty.
"""
from __future__ import annotations

from dataclasses import dataclass

import dbus
import dbus.bus

ACCESSIBLE = "org.a11y.atspi.Accessible"
PROPERTIES = "org.freedesktop.DBus.Properties"
REGISTRY = "org.a11y.atspi.Registry"
ROOT_PATH = "/org/a11y/atspi/accessible/root"
NULL_PATH = "/org/a11y/atspi/null"

# Bits of the state set.
STATE_FOCUSED = 12
STATE_SELECTED = 23
STATE_SHOWING = 25

CALL_TIMEOUT_SECONDS = 5.0


@dataclass(frozen=True)
class Node:
    """One object of the tree: `bus_name` of the program that owns it, and its path there."""

    bus: dbus.bus.BusConnection
    bus_name: str
    path: str

    def _call(self, interface: str, method: str, *arguments):
        proxy = self.bus.get_object(self.bus_name, self.path, introspect=False)
        return proxy.get_dbus_method(method, interface)(*arguments, timeout=CALL_TIMEOUT_SECONDS)

    def _property(self, interface: str, name: str, otherwise):
        try:
            return self._call(PROPERTIES, "Get", interface, name)
        except dbus.DBusException:
            return otherwise

    @property
    def name(self) -> str:
        return str(self._property(ACCESSIBLE, "Name", ""))

    @property
    def description(self) -> str:
        return str(self._property(ACCESSIBLE, "Description", ""))

    @property
    def role(self) -> str:
        try:
            return str(self._call(ACCESSIBLE, "GetRoleName"))
        except dbus.DBusException:
            return ""

    @property
    def children(self) -> list[Node]:
        try:
            references = self._call(ACCESSIBLE, "GetChildren")
        except dbus.DBusException:
            return []
        return [Node(self.bus, str(name), str(path)) for name, path in references if path != NULL_PATH]

    def has_state(self, bit: int) -> bool:
        try:
            words = self._call(ACCESSIBLE, "GetState")
        except dbus.DBusException:
            return False
        return bool(int(words[bit // 32]) >> (bit % 32) & 1)

    @property
    def is_showing(self) -> bool:
        return self.has_state(STATE_SHOWING)

    @property
    def is_focused(self) -> bool:
        return self.has_state(STATE_FOCUSED)

    @property
    def is_selected(self) -> bool:
        return self.has_state(STATE_SELECTED)

    @property
    def text(self) -> str:
        """The text that a field holds; for an object without text, its name."""
        try:
            return str(self._call("org.a11y.atspi.Text", "GetText", dbus.Int32(0), dbus.Int32(-1)))
        except dbus.DBusException:
            return self.name

    @property
    def extents(self) -> tuple[int, int, int, int]:
        """x, y, width and height on the screen, in its pixels; zeros when it cannot be told."""
        try:
            return tuple(int(v) for v in self._call(
                "org.a11y.atspi.Component", "GetExtents", dbus.UInt32(0)))
        except dbus.DBusException:
            return (0, 0, 0, 0)

    def press(self) -> None:
        """Does the first action that the object offers, as a screen reader's user would."""
        self._call("org.a11y.atspi.Action", "DoAction", dbus.Int32(0))

    def find(self, name: str, role: str | None = None) -> Node | None:
        """The first object below this one with that name (and role), breadth first; lists' rows are not entered."""
        level = [self]
        while level:
            below = []
            for node in level:
                for child in node.children:
                    if child.name == name and (role is None or child.role == role):
                        return child
                    below.append(child)
            level = [node for node in below if node.role not in ("list", "list item", "table cell")]
        return None

    def dump(self, depth: int = 0) -> str:
        """The tree as indented text: for a failed test's message."""
        line = f"{'  ' * depth}{self.role} “{self.name}”" + (" focused" if self.is_focused else "")
        return "\n".join([line] + [child.dump(depth + 1) for child in self.children[:40]])


class AccessibleTree:
    """The accessibility bus of one session."""

    def __init__(self, session_bus: dbus.bus.BusConnection):
        status = session_bus.get_object("org.a11y.Bus", "/org/a11y/bus")
        status.Set("org.a11y.Status", "IsEnabled", dbus.Boolean(True), dbus_interface=PROPERTIES)
        self.address = str(status.GetAddress(dbus_interface="org.a11y.Bus"))
        self._bus = dbus.bus.BusConnection(self.address)

    def programs(self) -> list[Node]:
        return Node(self._bus, REGISTRY, ROOT_PATH).children

    def listen(self, event: str) -> None:
        """Registers for events, as "window:activate": programs send none that nobody has asked for."""
        self._bus.call_blocking(REGISTRY, "/org/a11y/atspi/registry", REGISTRY, "RegisterEvent", "sass",
                                (event, dbus.Array([], signature="s"), ""), timeout=CALL_TIMEOUT_SECONDS)

    def process_id(self, node: Node) -> int:
        try:
            return int(self._bus.call_blocking(
                dbus.BUS_DAEMON_NAME, dbus.BUS_DAEMON_PATH, dbus.BUS_DAEMON_IFACE,
                "GetConnectionUnixProcessID", "s", (node.bus_name,), timeout=CALL_TIMEOUT_SECONDS))
        except dbus.DBusException:
            return -1

    def program(self, process_id: int) -> Node | None:
        """The root of the program with that process id; None until it has registered."""
        return next((n for n in self.programs() if self.process_id(n) == process_id), None)

    def close(self) -> None:
        self._bus.close()
