#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A scripted StatusNotifierWatcher with its host: takes items and does to them what lines on standard input say.

tray.py LOGFILE [host|nohost]

    host           a host comes
    properties     writes down what the item says of itself
    activate       clicks the item; `activate TOKEN` hands a token over before
    menu           opens the menu and writes down its rows
    choose LABEL   clicks a row

One JSON object a line in the log: {"what": "registered" | "gone" | "properties" | "menu" | "done" | "error", ...};
the line "ready" on standard output once it has the name.
"""
import json
import os
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
PROPERTIES = "org.freedesktop.DBus.Properties"
PROPERTY_XML = "".join(f'<property name="{name}" type="{kind}" access="read"/>' for name, kind in (
    ("IsStatusNotifierHostRegistered", "b"), ("ProtocolVersion", "i"), ("RegisteredStatusNotifierItems", "as")))

log = open(sys.argv[1], "a", buffering=1, encoding="utf-8")


def note(what, **values):
    log.write(json.dumps({"what": what, **values}, ensure_ascii=False) + "\n")


def plain(value):
    """As JSON has it; pictures as the list of their sizes."""
    if isinstance(value, dbus.Boolean):
        return bool(value)
    if isinstance(value, (dbus.String, dbus.ObjectPath)):
        return str(value)
    if isinstance(value, dbus.Array) and value.signature == "(iiay)":
        return [[int(picture[0]), int(picture[1])] for picture in value]
    if isinstance(value, (dbus.Array, dbus.Struct, list, tuple)):
        return [plain(entry) for entry in value]
    if isinstance(value, (dbus.Dictionary, dict)):
        return {str(key): plain(entry) for key, entry in value.items()}
    return int(value) if isinstance(value, int) else str(value)


class Watcher(dbus.service.Object):
    def __init__(self, bus, has_host):
        super().__init__(bus, "/StatusNotifierWatcher")
        self._bus = bus
        self._has_host = has_host
        self._items = []
        self._ids = {}

    # --- what items call ---

    @dbus.service.method(NAME, in_signature="s", sender_keyword="sender")
    def RegisterStatusNotifierItem(self, service, sender=None):
        item = str(service) if not service.startswith("/") else str(sender)
        self._items.append(item)
        self.StatusNotifierItemRegistered(item)
        note("registered", service=item)
        watch = self._bus.watch_name_owner(item, lambda owner: owner or self._forget(item, watch))

    def _forget(self, item, watch):
        watch.cancel()
        if item in self._items:
            self._items.remove(item)
            self.StatusNotifierItemUnregistered(item)
            note("gone", service=item)

    @dbus.service.method(NAME, in_signature="s")
    def RegisterStatusNotifierHost(self, _service):
        pass

    @dbus.service.signal(NAME, signature="s")
    def StatusNotifierItemRegistered(self, service):
        pass

    @dbus.service.signal(NAME, signature="s")
    def StatusNotifierItemUnregistered(self, service):
        pass

    @dbus.service.signal(NAME)
    def StatusNotifierHostRegistered(self):
        pass

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        return self.GetAll(interface)[name]

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, _interface):
        return {"IsStatusNotifierHostRegistered": dbus.Boolean(self._has_host), "ProtocolVersion": dbus.Int32(0),
                "RegisteredStatusNotifierItems": dbus.Array(self._items, signature="s")}

    @dbus.service.method("org.freedesktop.DBus.Introspectable", out_signature="s", path_keyword="path",
                         connection_keyword="connection")
    def Introspect(self, path, connection):
        text = dbus.service.Object.Introspect(self, path, connection)
        return text.replace(f'<interface name="{NAME}">', f'<interface name="{NAME}">{PROPERTY_XML}')

    # --- what the host does ---

    def obey(self, words):
        getattr(self, "do_" + words[0])(*words[1:])

    def do_host(self):
        self._has_host = True
        self.StatusNotifierHostRegistered()
        note("done", did="host")

    def do_properties(self):
        note("properties", **plain(dbus.Interface(self._item(), PROPERTIES).GetAll(ITEM)))

    def do_activate(self, token=None):
        if token:
            dbus.Interface(self._item(), ITEM).ProvideXdgActivationToken(token)
        dbus.Interface(self._item(), ITEM).Activate(dbus.Int32(10), dbus.Int32(10))
        note("done", did="activate")

    def do_menu(self):
        menu = self._menu()
        menu.AboutToShow(dbus.Int32(0))
        rows = []
        for child in menu.GetLayout(dbus.Int32(0), dbus.Int32(-1), dbus.Array([], signature="s"))[1][2]:
            row = plain(child[1])
            rows.append(row)
            self._ids[row.get("label")] = child[0]
        note("menu", rows=rows)

    def do_choose(self, *label):
        self._menu().Event(self._ids[" ".join(label)], "clicked", dbus.Int32(0, variant_level=1), dbus.UInt32(0))
        note("done", did="choose")

    def _item(self):
        return self._bus.get_object(self._items[-1], "/StatusNotifierItem", introspect=False)

    def _menu(self):
        path = dbus.Interface(self._item(), PROPERTIES).Get(ITEM, "Menu")
        return dbus.Interface(self._bus.get_object(self._items[-1], path, introspect=False), MENU)


def on_input(source, _condition):
    text = os.read(source, 4096).decode()
    for line in text.splitlines():
        try:
            watcher.obey(line.split())
        except Exception as trouble:  # whatever it is, the test shall read of it
            note("error", text=f"{line}: {trouble}")
    return bool(text)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
session = dbus.SessionBus()
watcher = Watcher(session, "nohost" not in sys.argv[2:])
if session.request_name(NAME, dbus.bus.NAME_FLAG_DO_NOT_QUEUE) != dbus.bus.REQUEST_NAME_REPLY_PRIMARY_OWNER:
    sys.exit("the name is taken: " + NAME)
GLib.io_add_watch(sys.stdin.fileno(), GLib.IO_IN | GLib.IO_HUP, on_input)
print("ready", flush=True)
GLib.MainLoop().run()
