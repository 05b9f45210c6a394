#!/usr/bin/env bash
# tov --reuse opens files in a window that is open already, and in a window of its own if there is none.
#
#   reuse.sh TOV SOURCE
set -uo pipefail
if [ -z "${TOV_REUSE_TEST:-}" ]; then
  # A message bus and a display of its own; both end with the test.
  exec env -u WAYLAND_DISPLAY TOV_REUSE_TEST=1 dbus-run-session -- xvfb-run -a -s "-screen 0 1024x768x24" "$0" "$@"
fi
tov=$(realpath "$1") model=$(realpath "$2/samples/crane.obj")
folder=$(mktemp -d)
export TOV_SETTINGS=$folder/settings.ini HOME=$folder
window=
trap '[ -z "$window" ] || kill "$window" 2>/dev/null; rm -rf "$folder"' EXIT
wait_until() { # WHAT COMMAND...: at most a minute
  local what=$1 end=$((SECONDS + 60))
  shift
  until "$@"; do
    [ $SECONDS -lt $end ] || { echo "FAILED: $what"; exit 1; }
    sleep 0.1
  done
}
has_window() {
  dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner string:org.tov.tov |
    grep "boolean $1" >/dev/null
}
is_opened() { grep "^recentfiles=.*$1" "$TOV_SETTINGS" >/dev/null 2>&1; }
open_window() { "$tov" "$@" >"$folder/log" 2>&1 & window=$!; }
close_window() {
  kill "$window"
  wait "$window"
  window=
  wait_until "the window closes" has_window false
}

open_window
wait_until "a window is on the message bus" has_window true
copy="$folder/a name, 100% ü.obj"
cp "$model" "$copy"
(cd "$folder" && timeout 60 "$tov" --reuse "$(basename "$copy")") || { echo "FAILED: status $? of tov --reuse FILE"; exit 1; }
wait_until "the running window opens the file" is_opened "a name, 100%"
timeout 60 "$tov" --reuse || { echo "FAILED: status $? of tov --reuse"; exit 1; }
close_window

open_window --reuse "$model"
wait_until "without a running window a new one opens" has_window true
wait_until "it opens the file" is_opened crane.obj
close_window
echo "all passed"
