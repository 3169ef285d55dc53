#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Another program's window on Wayland: prints a line when it gets and loses the keyboard, and at each press of a
key a token with which another program may take the keyboard, as a launcher hands to what it starts.
"""
import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gio, Gtk  # noqa: E402


def tell(*words: str) -> None:
    print(*words, flush=True)


def give_token(window: Gtk.Window, _event: Gdk.EventKey) -> None:
    application = Gio.AppInfo.create_from_commandline("true", "Another program", Gio.AppInfoCreateFlags.NONE)
    tell("token", window.get_display().get_app_launch_context().get_startup_notify_id(application, []) or "")


def main() -> None:
    window = Gtk.Window(title="Another window")
    window.connect("key-press-event", give_token)
    window.connect("focus-in-event", lambda *_: tell("gained"))
    window.connect("focus-out-event", lambda *_: tell("lost"))
    window.set_default_size(200, 100)
    window.show_all()
    Gtk.main()


if __name__ == "__main__":
    main()
