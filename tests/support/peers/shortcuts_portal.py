#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A portal for global shortcuts that does as it is told. Usage: shortcuts_portal.py LOG [LINE…]

Each call becomes one line of JSON in LOG: {"method": …, "arguments": […]}. LINE, before "ready" or on
standard input later, is one of:

    own, leave              takes the portal's bus name, gives it back
    set STEP MANNER         how it behaves from now on. STEP is version, register, create, bind, list or
                            close; MANNER is one of
                                ok            as it should
                                hang          never an answer
                                hold          the call returns, its response waits for "respond"
                                error:NAME    an error instead
                                code:N        a response with this code
                                early         the response comes before the call returns
                                elsewhere     the response comes from another path than asked for
                                earlyelsewhere  both of these
                                bare          a response without its results
                                garbage       a response of the wrong shape
                                known         yes to what was bound before, no to anything more
                            a version is also a number or a text
    respond                 sends what "hold" has held
    trigger ID TEXT         the keys of a shortcut, in the desktop's words; nothing for none
    deny ID                 the shortcut is left out of what is bound
    allow ID                and no longer
    activated ID [TOKEN]    the shortcut is pressed
    deactivated ID          and let go
    changed                 the keys are announced
    mark                    one line in LOG, to show that all before it is done
    foreign                 presses of a session that is not the caller's, and nonsense
    closed                  ends the session
"""
import json
import os
import shlex
import sys

from gi.repository import Gio, GLib

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"
REQUEST = "org.freedesktop.portal.Request"
SESSION = "org.freedesktop.portal.Session"

MAIN = f"""<node>
<interface name="{SHORTCUTS}">
  <method name="CreateSession"><arg type="a{{sv}}" direction="in"/><arg type="o" direction="out"/></method>
  <method name="BindShortcuts"><arg type="o" direction="in"/><arg type="a(sa{{sv}})" direction="in"/>
    <arg type="s" direction="in"/><arg type="a{{sv}}" direction="in"/><arg type="o" direction="out"/></method>
  <method name="ListShortcuts"><arg type="o" direction="in"/><arg type="a{{sv}}" direction="in"/>
    <arg type="o" direction="out"/></method>
</interface>
<interface name="org.freedesktop.host.portal.Registry">
  <method name="Register"><arg type="s" direction="in"/><arg type="a{{sv}}" direction="in"/></method>
</interface>
<interface name="org.freedesktop.DBus.Properties">
  <method name="Get"><arg type="s" direction="in"/><arg type="s" direction="in"/>
    <arg type="v" direction="out"/></method>
</interface>
</node>"""
CLOSABLE = '<node><interface name="{}"><method name="Close"/></interface></node>'

STEPS = {"CreateSession": "create", "BindShortcuts": "bind", "ListShortcuts": "list"}


class Portal:
    def __init__(self, log):
        self.log = open(log, "a", encoding="utf-8")
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.manners = {"version": "2"}
        self.triggers = {}
        self.denied = set()
        self.bound = {}          # descriptions by id
        self.session = None      # its path
        self.client = None
        self.objects = {}        # registrations by path
        self.held = []
        for interface in Gio.DBusNodeInfo.new_for_xml(MAIN).interfaces:
            self.bus.register_object(PATH, interface, self.on_call, None, None)

    def note(self, method, parameters):
        self.log.write(json.dumps({"method": method, "arguments": parameters.unpack()}) + "\n")
        self.log.flush()

    def own(self, flag):
        call = "RequestName" if flag else "ReleaseName"
        arguments = GLib.Variant("(su)", (NAME, 4)) if flag else GLib.Variant("(s)", (NAME,))
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                           call, arguments, None, Gio.DBusCallFlags.NONE, -1, None)

    def emit(self, path, interface, member, parameters):
        self.bus.emit_signal(self.client, path, interface, member, parameters)

    def export(self, path, interface):
        node = Gio.DBusNodeInfo.new_for_xml(CLOSABLE.format(interface))
        self.objects[path] = self.bus.register_object(path, node.interfaces[0], self.on_call, None, None)

    def unexport(self, path):
        if path in self.objects:
            self.bus.unregister_object(self.objects.pop(path))

    def on_call(self, _bus, sender, path, interface, method, parameters, invocation):
        self.note(f"{interface.rsplit('.', 1)[1]}.Close" if method == "Close" else method, parameters)
        step = {"Get": "version", "Register": "register", "Close": "close"}.get(method) or STEPS[method]
        manner = self.manners.get(step, "ok")
        if manner == "hang":
            return
        if manner.startswith("error:"):
            invocation.return_dbus_error(manner[6:], "told to")
        elif method == "Get":
            value = GLib.Variant("u", int(manner)) if manner.isdigit() else GLib.Variant("s", manner)
            invocation.return_value(GLib.Variant("(v)", (value,)))
        elif method == "Register":
            invocation.return_value(None)
        elif method == "Close":
            self.unexport(path)
            if path == self.session:
                self.session = None
            invocation.return_value(None)
        else:
            self.client = sender
            self.answer(method, parameters, invocation, manner)

    def answer(self, method, parameters, invocation, manner):
        options = parameters.unpack()[-1]
        place = f"{PATH}/request/{self.client[1:].replace('.', '_')}/"
        if "elsewhere" in manner:
            place += "t/"
        request = place + options["handle_token"]
        code = int(manner[5:]) if manner.startswith("code:") else 0
        if manner == "known" and {name for name, _ in parameters.unpack()[1]} - set(self.bound):
            code = 1
        results = {} if code else self.results(method, parameters)
        if manner == "bare":
            results = {}
        self.export(request, REQUEST)

        def respond():
            body = GLib.Variant("(s)", ("what?",)) if manner == "garbage" else \
                GLib.Variant("(ua{sv})", (code, results))
            self.emit(request, REQUEST, "Response", body)
            self.unexport(request)

        if "early" in manner:
            respond()
        invocation.return_value(GLib.Variant("(o)", (request,)))
        if manner == "hold":
            self.held.append(respond)
        elif "early" not in manner:
            respond()

    def results(self, method, parameters):
        if method == "CreateSession":
            token = parameters.unpack()[0]["session_handle_token"]
            path = f"{PATH}/session/{self.client[1:].replace('.', '_')}/{token}"
            if path in self.objects:
                self.note("session exists already", GLib.Variant("(s)", (path,)))
            else:
                self.export(path, SESSION)
            self.session = path
            return {"session_handle": GLib.Variant("s", path)}
        if method == "BindShortcuts":
            self.bound = {name: about.get("description", "") for name, about in parameters.unpack()[1]}
        return {"shortcuts": self.shortcuts()}

    def shortcuts(self):
        entries = []
        for name, description in self.bound.items():
            about = {"description": GLib.Variant("s", description)}
            if self.triggers.get(name):
                about["trigger_description"] = GLib.Variant("s", self.triggers[name])
            if name not in self.denied:
                entries.append((name, about))
        return GLib.Variant("a(sa{sv})", entries)

    def press(self, member, name, token="", session=None):
        options = {"activation_token": GLib.Variant("s", token)} if token else {}
        self.emit(PATH, SHORTCUTS, member,
                  GLib.Variant("(osta{sv})", (session or self.session, name, 4294967300, options)))

    def foreign(self):
        self.press("Activated", next(iter(self.bound)), session=self.session + "_of_another")
        self.emit(PATH, SHORTCUTS, "Activated", GLib.Variant("(s)", ("nonsense",)))
        self.emit(PATH, SHORTCUTS, "Activated", GLib.Variant("(osu)", (self.session, "x", 1)))
        self.emit(PATH, SHORTCUTS, "Deactivated", GLib.Variant("()", ()))
        self.emit(PATH, SHORTCUTS, "ShortcutsChanged", GLib.Variant("(os)", (self.session, "nonsense")))
        self.press("Activated", "never asked for")
        self.emit(self.session + "_of_another", SESSION, "Closed", None)
        self.emit(PATH + "/request/1/of_another", REQUEST, "Response",
                  GLib.Variant("(ua{sv})", (1, {})))

    def act(self, line):
        verb, *rest = shlex.split(line)
        if verb in ("own", "leave"):
            self.own(verb == "own")
        elif verb == "set":
            self.manners[rest[0]] = rest[1]
        elif verb == "respond":
            held, self.held = self.held, []
            for respond in held:
                respond()
        elif verb == "trigger":
            self.triggers[rest[0]] = json.loads(f'"{rest[1]}"') if len(rest) > 1 else ""
        elif verb == "deny":
            self.denied.add(rest[0])
        elif verb == "allow":
            self.denied.discard(rest[0])
        elif verb in ("activated", "deactivated"):
            self.press(verb.capitalize(), *rest)
        elif verb == "changed":
            self.emit(PATH, SHORTCUTS, "ShortcutsChanged",
                      GLib.Variant.new_tuple(GLib.Variant("o", self.session), self.shortcuts()))
        elif verb == "foreign":
            self.foreign()
        elif verb == "mark":
            self.note("mark", GLib.Variant("()", ()))
        elif verb == "closed":
            path, self.session = self.session, None
            self.unexport(path)
            self.emit(path, SESSION, "Closed", None)
        else:
            raise ValueError(line)


def on_input(channel, _condition):
    # Unbuffered: a line that waits in a buffer would wake nobody.
    chunk = os.read(channel, 65536)
    *lines, pending[0] = (pending[0] + chunk).split(b"\n")
    for line in lines:
        portal.act(line.decode())
    return bool(chunk)


pending = [b""]
portal = Portal(sys.argv[1])
for argument in sys.argv[2:]:
    portal.act(argument)
GLib.io_add_watch(sys.stdin.fileno(), GLib.IO_IN | GLib.IO_HUP, on_input)
print("ready", flush=True)
GLib.MainLoop().run()
