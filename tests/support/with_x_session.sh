#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs a command in a desktop session of its own: a private X server and session bus, a window
# manager, on request a compositor. Everything ends with the command, whose exit code is given back.
#
#   with_x_session.sh [--wm openbox|xfwm4|kwin_x11|none] [--compositor] [--screen WxH] command [argument…]
set -u

wm=openbox
compositor=no
screen=1600x900
while [ $# -gt 0 ]; do
    case $1 in
        --wm) wm=$2; shift 2 ;;
        --compositor) compositor=yes; shift ;;
        --screen) screen=$2; shift 2 ;;
        *) break ;;
    esac
done

home=$(mktemp -d)
children=()
finish() {
    for ((i = ${#children[@]} - 1; i >= 0; i--)); do
        kill "${children[$i]}" 2>/dev/null && wait "${children[$i]}" 2>/dev/null
    done
    rm -rf "$home"
}
trap finish EXIT
trap 'exit 143' TERM INT

# Until the window manager or the compositor owns its place, windows would be treated otherwise.
wait_for() {
    for _ in $(seq 200); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.05
    done
    echo "with_x_session: gave up waiting for: $*" >&2
    exit 98
}
has_wm() { xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 'window id'; }
has_compositor() { xprop -root _NET_WM_CM_S0 >/dev/null && xdotool search --name '^picom$'; }

export HOME=$home XDG_RUNTIME_DIR=$home/run XDG_CONFIG_HOME=$home/config XDG_CACHE_HOME=$home/cache
export XDG_DATA_HOME=$home/data
mkdir -m 700 "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_DATA_HOME"
export XDG_SESSION_TYPE=x11
unset WAYLAND_DISPLAY XAUTHORITY DESKTOP_STARTUP_ID XDG_ACTIVATION_TOKEN

Xvfb -displayfd 3 -screen 0 "${screen}x24" +extension Composite +extension RANDR -nolisten tcp \
    -noreset 3>"$home/display" >"$home/xvfb.log" 2>&1 &
children+=($!)
wait_for test -s "$home/display"
DISPLAY=:$(cat "$home/display")
export DISPLAY

exec 4< <(exec dbus-daemon --session --nofork --nopidfile --print-address=1 2>"$home/dbus.log")
children+=($!)
read -r DBUS_SESSION_BUS_ADDRESS <&4
export DBUS_SESSION_BUS_ADDRESS

case $wm in
    # openbox announces itself before it manages windows; its startup command runs once it does.
    openbox)
        openbox --sm-disable --startup "touch $home/managing" >"$home/wm.log" 2>&1 &
        children+=($!)
        wait_for test -e "$home/managing"
        ;;
    xfwm4) xfwm4 --compositor=off >"$home/wm.log" 2>&1 & children+=($!) ;;
    # Without frames, which need parts of the desktop that are not installed; drawing is left to others.
    kwin_x11)
        printf '[org.kde.kdecoration2]\nNoPlugin=true\n' >"$XDG_CONFIG_HOME/kwinrc"
        KWIN_COMPOSE=N kwin_x11 >"$home/wm.log" 2>&1 &
        children+=($!)
        ;;
    none) ;;
    *) echo "with_x_session: no such window manager: $wm" >&2; exit 98 ;;
esac
[ "$wm" = none ] || wait_for has_wm
if [ "$compositor" = yes ]; then
    picom --backend xrender --config /dev/null >"$home/picom.log" 2>&1 &
    children+=($!)
    wait_for has_compositor
fi
# With the first key that a program sends the server takes up a keyboard of its own for it, and the key can be
# lost on programs that are still reading the new map.
xdotool key Shift_L

"$@"
exit $?
