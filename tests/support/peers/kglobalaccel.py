#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""KDE's service for hot keys, as a test wants it.

kglobalaccel.py LOGFILE [WORD...]: the words of the start, or one on each line of standard input:

    hang | resume               answers nothing from now on | answers all that waited, in order
    fail METHOD                 answers that method with an error
    compositor                  is the compositor as well
    shares                      gives a key to everybody who asks for it, as newer services do
    held:KEY:OWNER:ACTION       that key is somebody else's
    keys:ACTION:KEY,...         what the user has chosen for one of ours; no number for nothing
    default:ACTION:KEY,...      what was asked for before
    change:ACTION:KEY,...       the user chooses it now
    press|repeat|release:ACTION:TIME

One line a call goes to the log, as "setShortcut launch [67108896] 6"; each word is a line "> word" there.
"""
import sys

import dbus
import dbus.lowlevel
import dbus.mainloop.glib
from gi.repository import GLib

NAME = "org.kde.kglobalaccel"
COMPONENT = "org.vellumhound.Vellumhound"
COMPONENT_PATH = "/component/org_vellumhound_Vellumhound"
DEFAULTS, FORCE = 8, 4

log = open(sys.argv[1], "a", buffering=1)
keys, defaults, others = {}, {}, {}
failing, waiting = set(), []
state = {"hangs": False, "shares": False}


def sequences(numbers):
    return dbus.Array([dbus.Struct([dbus.Array([number, 0, 0, 0], signature="i")]) for number in numbers],
                      signature="(ai)")


def numbers_of(text):
    return [int(number) for number in text.split(",") if number]


def set_shortcut(action, wanted, flags):
    if flags & DEFAULTS:
        defaults[action] = wanted
        return wanted
    if flags & FORCE or action not in keys:
        keys[action] = [0 if number in others and not state["shares"] else number for number in wanted]
    return keys[action]


def holders(key):
    found = [others[key]] if key in others else []
    found += [(name, name, COMPONENT, "Vellumhound") for name, own in keys.items() if key in own]
    return dbus.Array([dbus.Struct((*entry, "default", "Default", dbus.Array([key], signature="i"),
                                    dbus.Array([], signature="i"))) for entry in found],
                      signature="(ssssssaiai)")


def answer(message):
    member, arguments = message.get_member(), message.get_args_list()
    reply = dbus.lowlevel.MethodReturnMessage(message)
    if member in failing:
        reply = dbus.lowlevel.ErrorMessage(message, "org.example.Refused", "the service is in a bad mood")
    elif member == "shortcut":
        reply.append(dbus.Array(keys.get(arguments[0][1], []), signature="i"), signature="ai")
    elif member == "defaultShortcutKeys":
        reply.append(sequences(defaults.get(arguments[0][1], [])), signature="a(ai)")
    elif member == "setShortcut":
        given = set_shortcut(str(arguments[0][1]), [int(key) for key in arguments[1]], int(arguments[2]))
        reply.append(dbus.Array(given, signature="i"), signature="ai")
    elif member == "getGlobalShortcutsByKey":
        reply.append(holders(int(arguments[0])), signature="a(ssssssaiai)")
    bus.send_message(reply)


def on_message(_connection, message):
    if not isinstance(message, dbus.lowlevel.MethodCallMessage) or message.get_interface() != "org.kde.KGlobalAccel":
        return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
    words = [message.get_member()]
    for argument in message.get_args_list():
        if isinstance(argument, dbus.Array) and argument.signature == "s":
            words.append(str(argument[1]))
        elif isinstance(argument, dbus.Array):
            words.append(str([int(number) for number in argument]))
        else:
            words.append(str(argument))
    log.write(" ".join(words) + "\n")
    if message.get_member() == "doRegister":
        log.write("# " + "|".join(str(part) for part in message.get_args_list()[0]) + "\n")
    if state["hangs"]:
        waiting.append(message)
    else:
        answer(message)
    return dbus.lowlevel.HANDLER_RESULT_HANDLED


def emit(path, interface, member, *arguments, signature):
    signal = dbus.lowlevel.SignalMessage(path, interface, member)
    signal.append(*arguments, signature=signature)
    bus.send_message(signal)


def obey(word):
    verb, _, rest = word.partition(":")
    verb, _, argument = verb.partition(" ")
    parts = rest.split(":")
    if verb in ("hang", "resume"):
        state["hangs"] = verb == "hang"
        while waiting and not state["hangs"]:
            answer(waiting.pop(0))
    elif verb == "fail":
        failing.add(argument)
    elif verb == "compositor":
        bus.request_name("org.kde.KWin")
    elif verb == "shares":
        state["shares"] = True
    elif verb == "held":
        others[int(parts[0])] = ("their-action", parts[2], "their-component", parts[1])
    elif verb == "keys":
        keys[parts[0]] = numbers_of(parts[1])
    elif verb == "default":
        defaults[parts[0]] = numbers_of(parts[1])
    elif verb == "change":
        keys[parts[0]] = numbers_of(parts[1])
        emit("/kglobalaccel", "org.kde.KGlobalAccel", "yourShortcutsChanged",
             [COMPONENT, parts[0], "", ""], sequences(keys[parts[0]]), signature="asa(ai)")
    else:
        member = {"press": "globalShortcutPressed", "repeat": "globalShortcutRepeated",
                  "release": "globalShortcutReleased"}[verb]
        emit(COMPONENT_PATH, "org.kde.kglobalaccel.Component", member, COMPONENT, parts[0],
             int(parts[1]), signature="ssx")
    log.write(f"> {word}\n")


def on_line(_channel, _condition):
    line = sys.stdin.readline()
    if line:
        obey(line.strip())
    return bool(line)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
bus.add_message_filter(on_message)
for start_word in sys.argv[2:]:
    obey(start_word)
if bus.request_name(NAME, dbus.bus.NAME_FLAG_DO_NOT_QUEUE) != dbus.bus.REQUEST_NAME_REPLY_PRIMARY_OWNER:
    sys.exit("the name is taken: " + NAME)
GLib.io_add_watch(sys.stdin.fileno(), GLib.IO_IN | GLib.IO_HUP, on_line)
print("ready", flush=True)
GLib.MainLoop().run()
