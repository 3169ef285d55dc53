# SPDX-License-Identifier: GPL-3.0-or-later
"""A keyboard and a pointer for a compositor of the wlroots family, as if they were plugged in.

They speak the protocol of the socket itself, as there is no library for it in Python. The keyboard sends codes of
real keys on a named layout; one press is as long as one round trip.
"""
from __future__ import annotations

import array
import os
import pathlib
import socket
import struct
import time

# The codes of the keys that the tests press, as in linux/input-event-codes.h.
KEY_ROWS = {16: "qwertyuiop", 30: "asdfghjkl", 44: "zxcvbnm", 2: "1234567890"}
KEY_CODES = {char: first + place for first, row in KEY_ROWS.items() for place, char in enumerate(row)}
KEY_CODES |= {" ": 57, "space": 57, "-": 12, "/": 53, ".": 52, "Escape": 1, "BackSpace": 14, "Tab": 15, "Return": 28, "Up": 103,
              "Left": 105, "Right": 106, "Down": 108, "F1": 59, "F2": 60, "F4": 62}
# Code of the key, and its bit among the modifiers of every usual layout.
MODIFIERS = {"shift": (42, 1), "ctrl": (29, 4), "alt": (56, 8), "super": (125, 64)}
CAPS_LOCK = 2
LEFT_BUTTON = 0x110

KEYMAP = """xkb_keymap {{
  xkb_keycodes {{ include "evdev+aliases(qwerty)" }};
  xkb_types {{ include "complete" }};
  xkb_compat {{ include "complete" }};
  xkb_symbols {{ include "pc+{layout}+inet(evdev)" }};
}};
"""

DISPLAY = 1
SYNC, GET_REGISTRY, BIND = 0, 1, 0
DISPLAY_ERROR = 0


class WaylandSeat:
    """Input devices of the compositor at `socket_path`, from the constructor to `close`."""

    def __init__(self, socket_path: pathlib.Path, layout: str = "us"):
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.settimeout(20)
        self._socket.connect(str(socket_path))
        self._last_id = DISPLAY
        self._received = b""
        self._globals: dict[str, tuple[int, int]] = {}  # interface: number, version
        self._registry = self._new_id()
        self._send(DISPLAY, GET_REGISTRY, struct.pack("I", self._registry))
        self._roundtrip()
        seat = self._bind("wl_seat")
        self._pointer = self._make_device("zwlr_virtual_pointer_manager_v1", seat)
        self._keyboard = self._make_device("zwp_virtual_keyboard_manager_v1", seat)
        self._group = 0
        self._locked = 0
        self._held = 0  # the modifiers of `hold`
        self.set_layout(layout)

    def close(self) -> None:
        self._socket.close()

    def set_layout(self, layouts: str, group: int = 0) -> None:
        """Several layouts, with commas between them, are the groups of the keyboard."""
        self._send_keymap(KEYMAP.format(layout="+".join(
            name if place == 0 else f"{name}:{place + 1}" for place, name in enumerate(layouts.split(",")))))
        self.set_group(group)

    def set_group(self, group: int) -> None:
        """Which of its layouts is in use, from 0."""
        self._group = group
        self._send_modifiers(0)
        self._roundtrip()

    def set_caps_lock(self, is_on: bool) -> None:
        self._locked = CAPS_LOCK if is_on else 0
        self._send_modifiers(0)
        self._roundtrip()

    def press(self, code: int) -> None:
        """A key by its code."""
        self._key(code, True, 0)
        self._key(code, False, 0)

    def keys(self, *names: str) -> None:
        """Presses keys by name, chords with a plus: keys("Down", "ctrl+k")."""
        for name in names:
            *modifiers, key = name.split("+") if len(name) > 1 else [name]
            mask = 0
            for modifier in modifiers:
                code, bit = MODIFIERS[modifier]
                mask |= bit
                self._key(code, True, mask)
            self._key(KEY_CODES[key], True, mask)
            self._key(KEY_CODES[key], False, mask)
            for modifier in reversed(modifiers):
                code, bit = MODIFIERS[modifier]
                mask &= ~bit
                self._key(code, False, mask)

    def hold(self, *names: str) -> None:
        """Presses keys and leaves them down, modifiers first."""
        for name in names:
            code, bit = MODIFIERS.get(name, (KEY_CODES.get(name), 0))
            self._held |= bit
            self._key(code, True, self._held)

    def let_go(self, *names: str) -> None:
        for name in names:
            code, bit = MODIFIERS.get(name, (KEY_CODES.get(name), 0))
            self._held &= ~bit
            self._key(code, False, self._held)

    def type(self, text: str) -> None:
        self.keys(*text)

    def move(self, x: float, y: float, width: int, height: int) -> None:
        """Moves the pointer to a place on all the outputs together, which measure `width` by `height`."""
        self._send(self._pointer, 1, struct.pack("IIIII", now(), round(x), round(y), width, height))
        self._send(self._pointer, 4)
        self._roundtrip()

    def button(self, is_down: bool) -> None:
        self._send(self._pointer, 2, struct.pack("III", now(), LEFT_BUTTON, int(is_down)))
        self._send(self._pointer, 4)
        self._roundtrip()

    def _key(self, code: int, is_down: bool, modifiers: int) -> None:
        self._send(self._keyboard, 1, struct.pack("III", now(), code, int(is_down)))
        self._send_modifiers(modifiers)
        self._roundtrip()

    def _send_modifiers(self, modifiers: int) -> None:
        self._send(self._keyboard, 2, struct.pack("IIII", modifiers, 0, self._locked, self._group))

    # --- the protocol ---

    def _new_id(self) -> int:
        self._last_id += 1
        return self._last_id

    def _send(self, target: int, request: int, arguments: bytes = b"", descriptors: tuple[int, ...] = ()) -> None:
        message = struct.pack("II", target, (8 + len(arguments)) << 16 | request) + arguments
        passed = [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", descriptors))] if descriptors else []
        self._socket.sendmsg([message], passed)

    def _bind(self, interface: str) -> int:
        if interface not in self._globals:
            raise RuntimeError(f"the compositor has no {interface}")
        number, _version = self._globals[interface]
        target = self._new_id()
        name = interface.encode() + b"\0"
        text = struct.pack("I", len(name)) + name.ljust((len(name) + 3) // 4 * 4, b"\0")
        self._send(self._registry, BIND, struct.pack("I", number) + text + struct.pack("II", 1, target))
        return target

    def _make_device(self, manager: str, seat: int) -> int:
        maker = self._bind(manager)
        device = self._new_id()
        self._send(maker, 0, struct.pack("II", seat, device))
        return device

    def _send_keymap(self, keymap: str) -> None:
        content = keymap.encode() + b"\0"
        descriptor = os.memfd_create("keymap")
        try:
            os.write(descriptor, content)
            self._send(self._keyboard, 0, struct.pack("II", 1, len(content)), (descriptor,))
        finally:
            os.close(descriptor)

    def _roundtrip(self) -> None:
        """Until the compositor has done all that was asked of it."""
        answer = self._new_id()
        self._send(DISPLAY, SYNC, struct.pack("I", answer))
        while self._read_event() != answer:
            pass

    def _read_event(self) -> int:
        """Takes one event; gives whom it was for."""
        target, head = struct.unpack("II", self._read(8))
        arguments = self._read((head >> 16) - 8)
        if target == DISPLAY and head & 0xFFFF == DISPLAY_ERROR:
            raise RuntimeError(f"the compositor refuses: {arguments[12:].decode(errors='replace')}")
        if target == self._registry and head & 0xFFFF == 0:
            number, length = struct.unpack_from("II", arguments)
            version, = struct.unpack_from("I", arguments, len(arguments) - 4)
            self._globals[arguments[8:8 + length - 1].decode()] = (number, version)
        return target

    def _read(self, size: int) -> bytes:
        while len(self._received) < size:
            more = self._socket.recv(65536)
            if not more:
                raise RuntimeError("the compositor has gone")
            self._received += more
        taken, self._received = self._received[:size], self._received[size:]
        return taken


def now() -> int:
    return time.monotonic_ns() // 1_000_000 & 0xFFFFFFFF
