#!/usr/bin/env bash
# The demo across processes: a private dbus-daemon, then the service, the
# monitor and the client (intfvelmor_demo_bus) as processes of their own on
# it. Every exchange's bytes must be those of the in-process demo
# (intfvelmor_demo --bytes). The daemon and every process are stopped on the
# way out, whatever happened.
#
#   tools/demo_bus.sh TOOLS_DIR RUN_DIR [--json] [--quiet]
#
# TOOLS_DIR holds intfvelmor_demo and intfvelmor_demo_bus; RUN_DIR (emptied)
# gets the daemon's configuration, each process's log and bytes. Exits 0
# only when every exchange arrived exactly and all the bytes match.
set -euo pipefail
tools=${1:?usage: demo_bus.sh TOOLS_DIR RUN_DIR [ARGS]}
run=${2:?usage: demo_bus.sh TOOLS_DIR RUN_DIR [ARGS]}
shift 2

private_bus=$(dirname "$0")/private_bus.sh

pids=()
stop_all() {
    local p
    for p in "${pids[@]}"; do kill "$p" 2> /dev/null || true; done
    for p in "${pids[@]}"; do wait "$p" 2> /dev/null || true; done
    pids=()
    [ ! -d "$run" ] || sh "$private_bus" stop "$run" || true
}
trap stop_all EXIT

rm -rf "$run"
mkdir -p "$run"
"$tools/intfvelmor_demo" --quiet --bytes "$run/in-process.bytes" > "$run/in-process.log" ||
    { cat "$run/in-process.log"; echo "the in-process demo failed"; exit 1; }

echo "The demo's exchanges across processes: the service \"wifi\", the client and the" \
     "monitor each run as a process of their own on a private dbus-daemon, each shows what" \
     "it received, and every exchange's bytes are compared with the in-process demo's."
# A bus of its own: nothing system-wide, no root.
address=$(sh "$private_bus" start "$run") || exit 1
echo "private dbus-daemon (process $(cat "$run/bus.pid")) at $address"

# start PARTY ARGS...: starts one party and waits until it serves or listens.
start() {
    local party=$1
    shift
    "$tools/intfvelmor_demo_bus" "$party" --bus "$address" --ready "$run/$party.ready" \
        --bytes "$run/$party.bytes" "$@" > "$run/$party.log" 2>&1 &
    pids+=($!)
    for _ in $(seq 100); do
        [ -s "$run/$party.ready" ] && break
        kill -0 "${pids[-1]}" 2> /dev/null || break
        sleep 0.1
    done
    [ -s "$run/$party.ready" ] || { cat "$run/$party.log"; echo "the $party did not start"; exit 1; }
    echo "$party: process ${pids[-1]}, $(cat "$run/$party.ready") on the bus"
}
start service "$@"
start monitor "$@"
start client "$@"
rc=0
wait "${pids[2]}" || rc=1
wait "${pids[1]}" || rc=1
kill -TERM "${pids[0]}" 2> /dev/null || true
wait "${pids[0]}" || rc=1
pids=()
stop_all
for party in service client monitor; do
    echo
    echo "== what the $party received ($run/$party.log)"
    cat "$run/$party.log"
done

# Each line: message, kind, sender, receiver, bytes.
sort "$run/in-process.bytes" > "$run/in-process.sorted"
cat "$run/service.bytes" "$run/client.bytes" "$run/monitor.bytes" | sort > "$run/bus.sorted"
total=$(wc -l < "$run/bus.sorted")
same=$(comm -12 "$run/in-process.sorted" "$run/bus.sorted" | wc -l)
if ! cmp -s "$run/in-process.sorted" "$run/bus.sorted"; then
    echo
    echo "exchanges that differ from the in-process demo (< in-process, > across processes):"
    diff "$run/in-process.sorted" "$run/bus.sorted" | grep '^[<>]' | cut -c1-160 || true
    rc=1
fi
echo
echo "$total exchanges across processes, $same byte-identical to the in-process demo" \
     "($(wc -l < "$run/in-process.sorted") there)"
exit $rc
