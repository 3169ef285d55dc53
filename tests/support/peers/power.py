#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Programs that know about power. A line of standard input does one of these:

    own NAME          takes a bus name
    leave NAME        gives it back
    set PATH INTERFACE PROPERTY VALUE
                      changes a property and announces it; a value is s:TEXT, u:NUMBER or b:0|1

Arguments: such lines, to be done before "ready".
"""
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

PROPERTIES = "org.freedesktop.DBus.Properties"


def parse(text):
    kind, value = text.split(":")
    if kind == "u":
        return dbus.UInt32(value)
    return dbus.Boolean(value == "1") if kind == "b" else dbus.String(value)


class Object(dbus.service.Object):
    def __init__(self, bus, path):
        super().__init__(bus, path)
        self.values = {}

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        if (interface, name) not in self.values:
            raise dbus.DBusException("no such property", name="org.freedesktop.DBus.Error.UnknownProperty")
        return self.values[interface, name]

    @dbus.service.signal(PROPERTIES, signature="sa{sv}as")
    def PropertiesChanged(self, interface, changed, invalidated):
        pass


def act(line):
    verb, *arguments = line.split()
    if verb == "own":
        names[arguments[0]] = dbus.service.BusName(arguments[0], bus)
    elif verb == "leave":
        bus.release_name(arguments[0])
        del names[arguments[0]]
    else:
        path, interface, name, value = arguments
        if path not in objects:
            objects[path] = Object(bus, path)
        objects[path].values[interface, name] = parse(value)
        objects[path].PropertiesChanged(interface, {name: parse(value)}, dbus.Array(signature="s"))


def on_line(channel, condition):
    line = sys.stdin.readline()
    if not line:
        return False
    act(line)
    return True


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
names, objects = {}, {}
for argument in sys.argv[1:]:
    act(argument)
GLib.io_add_watch(sys.stdin.fileno(), GLib.IO_IN | GLib.IO_HUP, on_line)
print("ready", flush=True)
GLib.MainLoop().run()
