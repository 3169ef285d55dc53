#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Owns a name on the session bus, writes down each method call that reaches it, and answers it.

recorder.py NAME LOGFILE [answer|error|hang]

One line a call: {"path", "interface", "member", "arguments"}; the line "ready" once it has the name.
"""
import json
import sys

import dbus
import dbus.lowlevel
import dbus.mainloop.glib
from gi.repository import GLib

name, log_path = sys.argv[1:3]
mode = sys.argv[3] if len(sys.argv) > 3 else "answer"
log = open(log_path, "a", buffering=1)


def on_message(connection, message):
    if not isinstance(message, dbus.lowlevel.MethodCallMessage):
        return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
    if message.get_interface() in ("org.freedesktop.DBus.Peer", "org.freedesktop.DBus.Introspectable"):
        return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
    log.write(json.dumps({"path": message.get_path(), "interface": message.get_interface(),
                          "member": message.get_member(),
                          "arguments": message.get_args_list(byte_arrays=True)}) + "\n")
    if mode == "answer":
        connection.send_message(dbus.lowlevel.MethodReturnMessage(message))
    elif mode == "error":
        connection.send_message(dbus.lowlevel.ErrorMessage(message, "org.example.Refused", "no"))
    return dbus.lowlevel.HANDLER_RESULT_HANDLED


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
bus.add_message_filter(on_message)
if bus.request_name(name, dbus.bus.NAME_FLAG_DO_NOT_QUEUE) != dbus.bus.REQUEST_NAME_REPLY_PRIMARY_OWNER:
    sys.exit("the name is taken: " + name)
print("ready", flush=True)
GLib.MainLoop().run()
