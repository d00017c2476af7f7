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

private_bus=$(dirname "$0")/../tools/private_bus.sh

dir=$(mktemp -d /tmp/ivexample-XXXXXX) || exit 1
service_pid=
cleanup() {
    [ -n "$service_pid" ] && kill "$service_pid" 2> /dev/null
    wait
    sh "$private_bus" stop "$dir"
    rm -rf "$dir"
}
trap cleanup EXIT
trap 'exit 1' HUP INT TERM

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

address=$(sh "$private_bus" start "$dir") || exit 1

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
