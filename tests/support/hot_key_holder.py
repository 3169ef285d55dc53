#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Another program that holds a key: grabs it on the root window and says "held", then holds it until it ends.

    hot_key_holder.py KEYSYM MODIFIER…       for instance: hot_key_holder.py space Control
    hot_key_holder.py --try KEYSYM MODIFIER… says "free" if nobody holds that key, else fails
    hot_key_holder.py --try-keyboard         says whether somebody has the whole keyboard: "free" or "taken"
"""
import ctypes
import sys

BITS = {"Shift": 1, "Control": 4, "Mod1": 8, "Mod4": 64}
IS_ASYNCHRONOUS = 1


def main() -> None:
    x11 = ctypes.CDLL("libX11.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    x11.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
    x11.XDefaultRootWindow.restype = ctypes.c_ulong
    x11.XStringToKeysym.restype = ctypes.c_ulong
    x11.XKeysymToKeycode.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
    x11.XKeysymToKeycode.restype = ctypes.c_ubyte
    x11.XGrabKey.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_uint, ctypes.c_ulong, ctypes.c_int,
                             ctypes.c_int, ctypes.c_int]
    x11.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
    x11.XGrabKeyboard.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int, ctypes.c_int,
                                  ctypes.c_ulong]
    display = x11.XOpenDisplay(None)
    if sys.argv[1] == "--try-keyboard":
        refused = x11.XGrabKeyboard(display, x11.XDefaultRootWindow(display), 0, IS_ASYNCHRONOUS, IS_ASYNCHRONOUS, 0)
        print("taken" if refused else "free")
        return
    is_trial = sys.argv[1] == "--try"
    symbol, *modifier_names = sys.argv[2:] if is_trial else sys.argv[1:]
    modifiers = sum(BITS[name] for name in modifier_names)
    code = x11.XKeysymToKeycode(display, x11.XStringToKeysym(symbol.encode()))
    x11.XGrabKey(display, code, modifiers, x11.XDefaultRootWindow(display), 0, IS_ASYNCHRONOUS, IS_ASYNCHRONOUS)
    x11.XSync(display, 0)  # a refusal ends the program here
    print("free" if is_trial else "held", flush=True)
    if not is_trial:
        sys.stdin.read()


if __name__ == "__main__":
    main()
