#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs a command with a session bus and XDG folders of its own. Nothing can be started by its bus
# name but what the command puts into $TEST_BUS_SERVICES.
#
#   with_session_bus.sh command [argument…]
set -u

home=$(mktemp -d)
daemon=
finish() {
    [ -n "$daemon" ] && kill "$daemon" 2>/dev/null && wait "$daemon" 2>/dev/null
    rm -rf "$home"
}
trap finish EXIT
trap 'exit 143' TERM INT

export HOME=$home XDG_RUNTIME_DIR=$home/run XDG_CONFIG_HOME=$home/config XDG_CACHE_HOME=$home/cache
export XDG_DATA_HOME=$home/data XDG_DATA_DIRS=/usr/share TEST_BUS_SERVICES=$home/services
mkdir -m 700 "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_DATA_HOME" \
    "$TEST_BUS_SERVICES"
unset DISPLAY WAYLAND_DISPLAY DESKTOP_STARTUP_ID XDG_ACTIVATION_TOKEN XDG_CURRENT_DESKTOP

cat >"$home/bus.conf" <<CONFIG
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=$home/run/bus</listen>
  <servicedir>$TEST_BUS_SERVICES</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
CONFIG
exec 4< <(exec dbus-daemon --config-file="$home/bus.conf" --nofork --nopidfile --print-address=1 2>"$home/bus.log")
daemon=$!
read -r DBUS_SESSION_BUS_ADDRESS <&4
export DBUS_SESSION_BUS_ADDRESS

"$@"
exit $?
