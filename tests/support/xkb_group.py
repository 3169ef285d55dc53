#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Locks a group of the keyboard layout and presses a chord in it, which xdotool cannot: it goes to
the first group for each press.

    xkb_group.py <group, from 0> [keycode ...]
"""
import ctypes
import sys

CORE_KEYBOARD = 0x100

x11 = ctypes.CDLL("libX11.so.6")
xtst = ctypes.CDLL("libXtst.so.6")
x11.XOpenDisplay.restype = ctypes.c_void_p
display = ctypes.c_void_p(x11.XOpenDisplay(None))
if not display:
    sys.exit("no display")
if not x11.XkbLockGroup(display, CORE_KEYBOARD, int(sys.argv[1])):
    sys.exit("no such group")
keys = [int(code) for code in sys.argv[2:]]
for code in keys:
    xtst.XTestFakeKeyEvent(display, code, 1, 0)
for code in reversed(keys):
    xtst.XTestFakeKeyEvent(display, code, 0, 0)
x11.XSync(display, 0)
