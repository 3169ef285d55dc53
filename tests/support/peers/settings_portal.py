#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A settings portal. Arguments: the values at the start, each as GROUP KEY VALUE; the same on a line
of standard input changes a value and announces it. A value is u:NUMBER, b:0|1 or c:R,G,B."""
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

INTERFACE = "org.freedesktop.portal.Settings"


def parse(text):
    kind, value = text.split(":")
    if kind == "u":
        return dbus.UInt32(value)
    if kind == "b":
        return dbus.Boolean(value == "1")
    return dbus.Struct([dbus.Double(part) for part in value.split(",")], signature="ddd")


class Portal(dbus.service.Object):
    values = {}

    def put(self, group, key, value):
        self.values.setdefault(group, {})[key] = parse(value)

    @dbus.service.method(INTERFACE, in_signature="as", out_signature="a{sa{sv}}")
    def ReadAll(self, groups):
        return dbus.Dictionary({group: dbus.Dictionary(entries, signature="sv")
                                for group, entries in self.values.items() if group in groups},
                               signature="sa{sv}")

    @dbus.service.signal(INTERFACE, signature="ssv")
    def SettingChanged(self, group, key, value):
        pass


def on_line(channel, condition):
    line = sys.stdin.readline()
    if not line:
        return False
    group, key, value = line.split()
    portal.put(group, key, value)
    portal.SettingChanged(group, key, parse(value))
    return True


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
name = dbus.service.BusName("org.freedesktop.portal.Desktop", dbus.SessionBus())
portal = Portal(name, "/org/freedesktop/portal/desktop")
arguments = sys.argv[1:]
for i in range(0, len(arguments), 3):
    portal.put(*arguments[i:i + 3])
GLib.io_add_watch(sys.stdin.fileno(), GLib.IO_IN | GLib.IO_HUP, on_line)
print("ready", flush=True)
GLib.MainLoop().run()
