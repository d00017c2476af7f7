#!/bin/sh
# A private dbus-daemon for the scripts and tests that run programs as
# processes of their own: nothing system-wide, no root, never the machine's
# session or system bus.
#
#   private_bus.sh start DIR   writes DIR/bus.conf, starts a daemon on it
#                              listening on unix:tmpdir=/tmp, waits until it
#                              has an address and prints that address (one
#                              line). Its process id goes to DIR/bus.pid,
#                              its messages to DIR/bus.log.
#   private_bus.sh stop DIR    stops the daemon started for DIR (SIGTERM,
#                              SIGKILL after 5 s) and returns once it is
#                              gone. Nothing to stop is not an error.
#
# DBUS_DAEMON names the daemon's program (default: dbus-daemon on PATH).
# The daemon does not belong to the caller's shell: callers stop it with
# "stop DIR" from their own exit trap.
set -u

usage() {
    echo "usage: private_bus.sh start|stop DIR" >&2
    exit 2
}
[ $# = 2 ] || usage
dir=$2
[ -d "$dir" ] || { echo "private_bus.sh: no folder $dir" >&2; exit 1; }
dir=$(cd "$dir" && pwd) || exit 1
conf=$dir/bus.conf

# alive PID: the daemon for this folder still runs (a process id that was
# reused by something else, or a zombie waiting for its reaper, is not it).
alive() {
    [ -r "/proc/$1/cmdline" ] || { kill -0 "$1" 2> /dev/null; return; }
    case $(tr '\0' ' ' < "/proc/$1/cmdline" 2> /dev/null) in
        *"--config-file=$conf "*) ;;
        *) return 1 ;;
    esac
    state=$(sed -n 's/^State:[[:space:]]*\([A-Z]\).*/\1/p' "/proc/$1/status" 2> /dev/null)
    [ "$state" != Z ]
}

start() {
    # Everyone may connect, own any name, send to and receive from anyone,
    # and watch everything (the monitors eavesdrop).
    cat > "$conf" << 'CONF'
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
CONF
    rm -f "$dir/bus.address" "$dir/bus.pid"
    # Every descriptor away from the caller's: whoever reads this script's
    # output must not wait for the daemon's end.
    "${DBUS_DAEMON:-dbus-daemon}" --config-file="$conf" --nofork --nopidfile --nosyslog \
        --print-address=1 < /dev/null > "$dir/bus.address" 2> "$dir/bus.log" &
    pid=$!
    echo "$pid" > "$dir/bus.pid"
    n=0
    while ! grep -q '^unix:' "$dir/bus.address" 2> /dev/null; do
        if ! kill -0 "$pid" 2> /dev/null || [ $n -ge 200 ]; then
            cat "$dir/bus.log" >&2
            echo "dbus-daemon did not start" >&2
            kill "$pid" 2> /dev/null
            exit 1
        fi
        sleep 0.05
        n=$((n + 1))
    done
    head -n 1 "$dir/bus.address"
}

stop() {
    [ -s "$dir/bus.pid" ] || return 0
    pid=$(cat "$dir/bus.pid")
    alive "$pid" && kill -TERM "$pid" 2> /dev/null
    n=0
    while alive "$pid"; do
        if [ $n = 100 ]; then
            kill -KILL "$pid" 2> /dev/null
        elif [ $n -ge 200 ]; then
            echo "dbus-daemon $pid did not stop" >&2
            return 1
        fi
        sleep 0.05
        n=$((n + 1))
    done
    rm -f "$dir/bus.pid"
}

case $1 in
    start) start ;;
    stop) stop ;;
    *) usage ;;
esac
