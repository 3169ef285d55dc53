#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""KDE's service for global shortcuts, as far as it says who has a key.

Arguments: MODE, then for each key that somebody has NUMBER=ACTION|COMPONENT ID|COMPONENT. The mode is one of
    answer    answers
    other     answers with another type
    fail      answers with an error
    silent    never answers
"""
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME = "org.kde.kglobalaccel"
INTERFACE = "org.kde.KGlobalAccel"


class Service(dbus.service.Object):
    def __init__(self, bus, held):
        super().__init__(bus, "/kglobalaccel")
        self.held = held

    @dbus.service.method(INTERFACE, in_signature="i", out_signature="a(ssssssaiai)")
    def getGlobalShortcutsByKey(self, key):
        return [(action, action, component_id, component, "default", "", dbus.Array([key], "i"), dbus.Array([], "i"))
                for number, action, component_id, component in self.held if number == key]


class Other(dbus.service.Object):
    @dbus.service.method(INTERFACE, in_signature="i", out_signature="as")
    def getGlobalShortcutsByKey(self, key):
        return ["something", "else"]


class Failing(dbus.service.Object):
    @dbus.service.method(INTERFACE, in_signature="i", out_signature="as")
    def getGlobalShortcutsByKey(self, key):
        raise dbus.DBusException("not today", name="org.example.Error")


class Silent(dbus.service.Object):
    @dbus.service.method(INTERFACE, in_signature="i", out_signature="as", async_callbacks=("answer", "fail"))
    def getGlobalShortcutsByKey(self, key, answer, fail):
        pass


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    held = []
    for argument in sys.argv[2:]:
        number, names = argument.split("=", 1)
        held.append((int(number), *names.split("|")))
    if sys.argv[1] == "answer":
        service = Service(bus, held)
    else:
        service = {"other": Other, "fail": Failing, "silent": Silent}[sys.argv[1]](bus, "/kglobalaccel")
    name = dbus.service.BusName(NAME, bus)
    print("ready", flush=True)
    GLib.MainLoop().run()
    return service, name


main()
