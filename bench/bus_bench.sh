#!/usr/bin/env bash
# Round trips across processes on a private dbus-daemon: the library on the
# bus host against a bare D-Bus echo of the same bytes (bench_bus), then the
# library's share of the instructions of a round trip (callgrind on both
# processes), then a soak. Run by hand, never by the tests.
#
#   bench/bus_bench.sh BUILD_DIR [SECONDS] [SOAK_CALLS]
#
# BUILD_DIR is configured with -DINTFVELMOR_BENCH=ON and has bench_bus built.
# Each timed run lasts SECONDS (default 3), library and echo alternating
# per workload; the soak makes SOAK_CALLS calls (default 100000; 0
# skips it). Set CALLGRIND_CALLS (default 2000; 0 skips) for the counts,
# ROUNDS (default 2) for the number of library/echo alternations.
set -euo pipefail
build=${1:?usage: bus_bench.sh BUILD_DIR [SECONDS] [SOAK_CALLS]}
seconds=${2:-3}
soak=${3:-100000}
cg_calls=${CALLGRIND_CALLS:-2000}
rounds=${ROUNDS:-2}
bin=$(cd "$build" && pwd)/bench/bench_bus
here=$(cd "$(dirname "$0")" && pwd)
[ -x "$bin" ] || { echo "no $bin: configure with -DINTFVELMOR_BENCH=ON and build bench_bus" >&2; exit 1; }

work=$(mktemp -d)
pids=()
stop_all() {
    local p
    for p in "${pids[@]}"; do kill "$p" 2> /dev/null || true; done
    for p in "${pids[@]}"; do wait "$p" 2> /dev/null || true; done
    pids=()
    sh "$here/../tools/private_bus.sh" stop "$work" || true
    rm -rf "$work"
}
trap stop_all EXIT

address=$(sh "$here/../tools/private_bus.sh" start "$work") || exit 1
daemon=$(cat "$work/bus.pid")

# start_service NAME COMMAND...: starts a service and waits for its "ready".
start_service() {
    local name=$1
    shift
    "$@" > "$work/$name.out" 2> "$work/$name.err" &
    pids+=($!)
    for _ in $(seq 200); do
        grep -q ready "$work/$name.out" 2> /dev/null && return 0
        kill -0 "${pids[-1]}" 2> /dev/null || break
        sleep 0.05
    done
    cat "$work/$name.err" >&2
    echo "$name did not start" >&2
    return 1
}

# stop_service: SIGTERM to the last service started, and its last line.
stop_service() {
    local p=${pids[-1]}
    kill -TERM "$p"
    wait "$p" || true
    unset 'pids[-1]'
}

rss_of() { awk '/^VmRSS:/ {print $2}' "/proc/$1/status" 2> /dev/null || echo -; }

echo "== round trips, ${seconds} s per run (library on the bus host, then the bare echo)"
for workload in cca assoc; do
    for _ in $(seq "$rounds"); do
        start_service service "$bin" service "$address"
        "$bin" client "$address" "$workload" "$seconds" 2>> "$work/timed.err" ||
            { cat "$work/timed.err" >&2; exit 1; }
        stop_service
        start_service echo "$bin" echo-service "$address" "$workload"
        "$bin" echo-client "$address" "$workload" "$seconds" 2>> "$work/timed.err" ||
            { cat "$work/timed.err" >&2; exit 1; }
        stop_service
    done
done

if [ "$cg_calls" != 0 ] && command -v valgrind > /dev/null; then
    echo
    echo "== instructions per round trip, $cg_calls calls, callgrind on both processes"
    # Only the loops are collected (tolkbus_run / bench_echoServe in the
    # service, the client's round-trip loop), not the set-up. Each part
    # counts its own instructions and those it spends in libc
    # (bench/callgrind_share.py).
    for workload in cca assoc; do
        for kind in library echo; do
            if [ "$kind" = library ]; then
                svc=(service "$address"); cli=(client "$address" "$workload" 0 "$cg_calls")
                svc_fn=tolkbus_run; cli_fn=bench_libraryRoundTrips
            else
                svc=(echo-service "$address" "$workload"); cli=(echo-client "$address" "$workload" 0 "$cg_calls")
                svc_fn=bench_echoServe; cli_fn=bench_echoRoundTrips
            fi
            start_service "cg-$kind" valgrind --tool=callgrind --toggle-collect="$svc_fn" \
                --callgrind-out-file="$work/cg-$kind-$workload-service.out" "$bin" "${svc[@]}"
            valgrind --tool=callgrind --toggle-collect="$cli_fn" \
                --callgrind-out-file="$work/cg-$kind-$workload-client.out" "$bin" "${cli[@]}" \
                > /dev/null 2> "$work/cg-client.err"
            stop_service
            read -r total lib host dbus other < <(python3 "$here/callgrind_share.py" "$cg_calls" \
                "$work/cg-$kind-$workload-service.out" "$work/cg-$kind-$workload-client.out")
            awk -v w="$workload" -v k="$kind" -v t="$total" -v l="$lib" -v h="$host" -v d="$dbus" \
                -v o="$other" 'BEGIN {
                printf "%-6s %-8s %8d instructions/round trip: library %7d (%4.1f%%), host %6d (%4.1f%%), libdbus %7d (%4.1f%%), program and rest %6d\n",
                    w, k, t, l, 100 * l / t, h, 100 * h / t, d, 100 * d / t, o }'
        done
    done
fi

if [ "$soak" != 0 ]; then
    echo
    echo "== soak: $soak getCCAStatistic calls (RSS in KiB every 10,000 calls)"
    start_service soak-service "$bin" service "$address"
    svc_pid=${pids[-1]}
    "$bin" client "$address" cca 0 "$soak" 2> "$work/soak-client.err" > "$work/soak-client.out" &
    cli_pid=$!
    while kill -0 "$cli_pid" 2> /dev/null; do
        echo "daemon $(rss_of "$daemon")" >> "$work/soak-daemon.rss"
        sleep 1
    done
    wait "$cli_pid"
    echo "daemon $(rss_of "$daemon")" >> "$work/soak-daemon.rss"
    stop_service
    # awk, not grep: a soak under 10,000 calls prints no such line, and is no failure.
    awk '/^client: [0-9]/ {print $2 ":" $5}' "$work/soak-client.err" | tr '\n' ' ' |
        sed 's/^/client  calls:RSS /'
    echo
    awk '/^service: [0-9]* calls,/ {print $2 ":" $5}' "$work/soak-service.err" | tr '\n' ' ' |
        sed 's/^/service calls:RSS /'
    echo
    awk '{print $2}' "$work/soak-daemon.rss" | tr '\n' ' ' | sed 's/^/daemon  RSS each second: /'
    echo
    cat "$work/soak-client.out" "$work/soak-service.out" | grep -v ready
fi
