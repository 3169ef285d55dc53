#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A desktop's side of the real portal, for global shortcuts. Usage: shortcuts_backend.py LOG

Runs the portal itself beside it, and is ready once that answers; ends with status 77 where there is none.
Each call becomes one line of JSON in LOG: {"method": …, "arguments": […]}. A line on standard input is one of

    answer CODE             what the user says from now on: 0 yes, 1 no, 2 something went wrong; noted in LOG
    activated ID [TOKEN]    the shortcut is pressed
    deactivated ID          and let go
    trigger ID TEXT         the shortcut has other keys from now on, and it is announced
    closed                  ends the session
"""
import ctypes
import json
import os
import pathlib
import shlex
import signal
import subprocess
import sys
import tempfile

from gi.repository import Gio, GLib

PROGRAM = "/usr/libexec/xdg-desktop-portal"
PORTAL, PATH = "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"
BACKEND = "org.freedesktop.impl.portal.desktop.vellumhound_test"
SHORTCUTS = "org.freedesktop.impl.portal.GlobalShortcuts"
SESSION = "org.freedesktop.impl.portal.Session"
ENTRY = f"[portal]\nDBusName={BACKEND}\nInterfaces={SHORTCUTS};\nUseIn=vellumhound-test\n"
NODE = f"""<node><interface name="{SHORTCUTS}">
  <method name="CreateSession"><arg type="o" direction="in"/><arg type="o" direction="in"/>
    <arg type="s" direction="in"/><arg type="a{{sv}}" direction="in"/>
    <arg type="u" direction="out"/><arg type="a{{sv}}" direction="out"/></method>
  <method name="BindShortcuts"><arg type="o" direction="in"/><arg type="o" direction="in"/>
    <arg type="a(sa{{sv}})" direction="in"/><arg type="s" direction="in"/><arg type="a{{sv}}" direction="in"/>
    <arg type="u" direction="out"/><arg type="a{{sv}}" direction="out"/></method>
  <method name="ListShortcuts"><arg type="o" direction="in"/><arg type="o" direction="in"/>
    <arg type="u" direction="out"/><arg type="a{{sv}}" direction="out"/></method>
</interface>
<interface name="{SESSION}"><method name="Close"/><signal name="Closed"/></interface></node>"""
INTERFACE, SESSION_INTERFACE = Gio.DBusNodeInfo.new_for_xml(NODE).interfaces


class Backend:
    def __init__(self, log):
        self.log = open(log, "a", encoding="utf-8")
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.code = 0
        self.session = None
        self.registration = 0   # of its object
        self.shortcuts = {}     # keys by id
        self.bus.register_object(PATH, INTERFACE, self.on_call, None, None)
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                           GLib.Variant("(su)", (BACKEND, 4)), None, Gio.DBusCallFlags.NONE, -1, None)

    def note(self, method, parameters):
        self.log.write(json.dumps({"method": method, "arguments": parameters.unpack()}) + "\n")
        self.log.flush()

    def on_call(self, _bus, _sender, _path, _interface, method, parameters, invocation):
        self.note(method, parameters)
        if method == "Close":
            self.forget_session()
            invocation.return_value(None)
            return
        results = {}
        if method == "CreateSession":
            self.session = parameters.unpack()[1]
            self.registration = self.bus.register_object(self.session, SESSION_INTERFACE, self.on_call, None, None)
            code = 0
        else:
            code = self.code
            if method == "BindShortcuts" and not code:
                self.shortcuts = {name: about.get("preferred_trigger", "") for name, about in parameters.unpack()[2]}
            if not code:
                results = {"shortcuts": self.listed()}
        invocation.return_value(GLib.Variant("(ua{sv})", (code, results)))

    def forget_session(self):
        self.session = None
        self.bus.unregister_object(self.registration)

    def listed(self):
        return GLib.Variant("a(sa{sv})", [
            (name, {"description": GLib.Variant("s", name), "trigger_description": GLib.Variant("s", keys)})
            for name, keys in self.shortcuts.items()])

    def emit(self, member, *parameters):
        self.bus.emit_signal(None, PATH, SHORTCUTS, member,
                             GLib.Variant.new_tuple(GLib.Variant("o", self.session), *parameters))

    def act(self, line):
        verb, *rest = shlex.split(line)
        if verb == "answer":
            self.code = int(rest[0])
            self.note(verb, GLib.Variant("(u)", (self.code,)))
        elif verb in ("activated", "deactivated"):
            options = {"activation_token": GLib.Variant("s", rest[1])} if len(rest) > 1 else {}
            self.emit(verb.capitalize(), GLib.Variant("s", rest[0]), GLib.Variant("t", 0),
                      GLib.Variant("a{sv}", options))
        elif verb == "trigger":
            self.shortcuts[rest[0]] = rest[1]
            self.emit("ShortcutsChanged", self.listed())
        elif verb == "closed":
            self.bus.emit_signal(None, self.session, SESSION, "Closed", None)
            self.forget_session()
        else:
            raise ValueError(line)


def on_input(channel, _condition):
    # Unbuffered: a line that waits in a buffer would wake nobody.
    chunk = os.read(channel, 65536)
    *lines, pending[0] = (pending[0] + chunk).split(b"\n")
    for line in lines:
        backend.act(line.decode())
    return bool(chunk)


def end_with_us():
    """The portal goes when this program does, however that ends."""
    ctypes.CDLL(None).prctl(1, signal.SIGTERM)


def on_owner(_bus, _name, _owner):
    print("ready", flush=True)


if not os.access(PROGRAM, os.X_OK):
    print("absent", flush=True)
    sys.exit(77)
pending = [b""]
backend = Backend(sys.argv[1])
folder = tempfile.TemporaryDirectory(dir=os.environ["XDG_RUNTIME_DIR"])
pathlib.Path(folder.name, "test.portal").write_text(ENTRY, encoding="utf-8")
# What it grumbles about is its own affair: each call makes this version of it complain.
portal = subprocess.Popen([PROGRAM], preexec_fn=end_with_us, stderr=subprocess.DEVNULL, env={
    **os.environ, "XDG_DESKTOP_PORTAL_DIR": folder.name, "XDG_CURRENT_DESKTOP": "vellumhound-test"})
Gio.bus_watch_name(Gio.BusType.SESSION, PORTAL, Gio.BusNameWatcherFlags.NONE, on_owner, None)
GLib.io_add_watch(sys.stdin.fileno(), GLib.IO_IN | GLib.IO_HUP, on_input)
GLib.MainLoop().run()
