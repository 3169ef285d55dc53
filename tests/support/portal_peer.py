#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A scripted desktop portal for private buses: answers the appearance settings, nothing else.

    portal_peer.py [--dark] [--accent R,G,B]

Runs on DBUS_SESSION_BUS_ADDRESS until it is ended. `SetColorScheme(u)` on the interface
org.vellumhound.Test changes the scheme and sends SettingChanged.
"""
import argparse

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

PATH = "/org/freedesktop/portal/desktop"
SETTINGS = "org.freedesktop.portal.Settings"
APPEARANCE = "org.freedesktop.appearance"
PREFERS_DARK, PREFERS_LIGHT = 1, 2


class Portal(dbus.service.Object):
    def __init__(self, bus, scheme, accent):
        super().__init__(bus, PATH)
        self._values = {"color-scheme": dbus.UInt32(scheme, variant_level=1),
                        "contrast": dbus.UInt32(0, variant_level=1)}
        if accent:
            self._values["accent-color"] = dbus.Struct(
                [dbus.Double(c) for c in accent], signature="ddd", variant_level=1)

    def _value(self, namespace, key):
        if namespace != APPEARANCE or key not in self._values:
            raise dbus.DBusException("Requested setting not found",
                                     name="org.freedesktop.portal.Error.NotFound")
        return self._values[key]

    @dbus.service.method(SETTINGS, in_signature="ss", out_signature="v")
    def Read(self, namespace, key):
        value = self._value(namespace, key)
        return type(value)(value, variant_level=2)  # the old call wraps twice

    @dbus.service.method(SETTINGS, in_signature="ss", out_signature="v")
    def ReadOne(self, namespace, key):
        return self._value(namespace, key)

    @dbus.service.method(SETTINGS, in_signature="as", out_signature="a{sa{sv}}")
    def ReadAll(self, _namespaces):
        return {APPEARANCE: self._values}

    @dbus.service.signal(SETTINGS, signature="ssv")
    def SettingChanged(self, namespace, key, value):
        pass

    @dbus.service.method("org.freedesktop.DBus.Properties", in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        if interface == SETTINGS and name == "version":
            return dbus.UInt32(2, variant_level=1)
        raise dbus.DBusException("No such property", name="org.freedesktop.DBus.Error.UnknownProperty")

    @dbus.service.method("org.vellumhound.Test", in_signature="u")
    def SetColorScheme(self, scheme):
        self._values["color-scheme"] = dbus.UInt32(scheme, variant_level=1)
        self.SettingChanged(APPEARANCE, "color-scheme", dbus.UInt32(scheme))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--dark", action="store_true")
    parser.add_argument("--accent", help="three numbers from 0 to 1, with commas between them")
    options = parser.parse_args()
    DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    accent = [float(part) for part in options.accent.split(",")] if options.accent else None
    portal = Portal(bus, PREFERS_DARK if options.dark else PREFERS_LIGHT, accent)
    name = dbus.service.BusName("org.freedesktop.portal.Desktop", bus)
    GLib.MainLoop().run()
    del portal, name


if __name__ == "__main__":
    main()
