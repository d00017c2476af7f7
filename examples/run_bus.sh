#!/bin/sh
# Runs a service program and a client program of the examples as separate
# processes on a private dbus-daemon:
#   run_bus.sh SERVICE_PROGRAM CLIENT_PROGRAM
# The daemon's configuration lives in a folder of its own under /tmp and it
# listens on unix:tmpdir=/tmp; the machine's buses are never used. Both
# programs get the daemon's address as their argument. The client runs to
# its end, then the service is asked to stop with SIGTERM. Passes when both
# exit 0. The daemon and the service are stopped however this ends.
set -u
service_prog=$1
client_prog=$2

dir=$(mktemp -d /tmp/ivexample-XXXXXX) || exit 1
daemon_pid=
service_pid=
cleanup() {
    [ -n "$service_pid" ] && kill "$service_pid" 2> /dev/null
    [ -n "$daemon_pid" ] && kill "$daemon_pid" 2> /dev/null
    wait
    rm -rf "$dir"
}
trap cleanup EXIT
trap 'exit 1' HUP INT TERM

cat > "$dir/bus.conf" << 'CONF'
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
CONF

# wait_for FILE PATTERN PID: up to 10 s for PATTERN in FILE while PID lives.
wait_for() {
    n=0
    while ! grep -q "$2" "$1" 2> /dev/null; do
        if ! kill -0 "$3" 2> /dev/null || [ $n -ge 100 ]; then
            return 1
        fi
        sleep 0.1
        n=$((n + 1))
    done
}

dbus-daemon --config-file="$dir/bus.conf" --print-address=3 --nofork --nopidfile \
    --nosyslog 3> "$dir/address" 2> "$dir/daemon.log" &
daemon_pid=$!
if ! wait_for "$dir/address" unix: "$daemon_pid"; then
    echo "dbus-daemon printed no address"
    cat "$dir/daemon.log"
    exit 1
fi
address=$(head -n 1 "$dir/address")

"$service_prog" "$address" > "$dir/service.out" 2>&1 &
service_pid=$!
if ! wait_for "$dir/service.out" "ready" "$service_pid"; then
    echo "the service did not come up:"
    cat "$dir/service.out"
    exit 1
fi

client_rc=0
"$client_prog" "$address" || client_rc=$?

kill -TERM "$service_pid"
service_rc=0
wait "$service_pid" || service_rc=$?
service_pid=
cat "$dir/service.out"
echo "client exit $client_rc, service exit $service_rc"
[ "$client_rc" = 0 ] && [ "$service_rc" = 0 ]
