// Round trips across processes on a D-Bus daemon: the library on the bus
// host, and beside it a bare echo of the same bytes with the same libdbus
// calls, connection setup and dispatch as the host, and nothing else.
//
//   bench_bus service ADDRESS                      the library's service ("bench")
//   bench_bus client ADDRESS cca|assoc SECONDS [CALLS]
//   bench_bus echo-service ADDRESS                 the bare echo's service
//   bench_bus echo-client ADDRESS cca|assoc SECONDS [CALLS]
//
// A client makes one call at a time for SECONDS (or CALLS calls when given,
// however long they take) and prints one line: calls, calls per second,
// median and p99 latency in microseconds, its RSS, and the host's bodies
// held. A service runs until SIGTERM, then prints its own RSS and bodies
// held. Both write their RSS every 10,000 calls on standard error, for
// soaks. bus_bench.sh runs them all.
//
// cca is getCCAStatistic (empty request, five-member answer); assoc is
// getAssocDevStats with 100 stations asked and answered.
#include <dbus/dbus.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench_data.h"
#include "intfVelmor.h"
#include "messages/bodies.h"
#include "tolkBusHost.h"

namespace {

constexpr const char *kService = "bench";

// Each command's magic, from its row.
#define BENCH_MAGIC(idx, X, entry, magic, ...) constexpr uint32_t kMagic_##X = magic;
IV_COMMANDS(BENCH_MAGIC)

double now()
{
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + (double)t.tv_nsec / 1e9;
}

long rssKiB()
{
    FILE *f = fopen("/proc/self/status", "r");
    long kb = -1;
    char line[256];
    while (f && fgets(line, sizeof line, f))
        if (!strncmp(line, "VmRSS:", 6))
            kb = atol(line + 6);
    if (f)
        fclose(f);
    return kb;
}

// ---- the bodies -----------------------------------------------------------------------

assocDevListReq gStations;    // 100 stations asked
assocDevListRet gStationInfo;  // and answered
ccaStats gCca;

void makeBodies()
{
    bench::stationList(gStations, 100);
    bench::stationInfo(gStationInfo, 100);
    bench::ccaStatistics(gCca);
}

// ---- timing ---------------------------------------------------------------------------

struct Timing {
    // Seconds per call, written in place: the array is filled before the
    // calls, so that a soak's RSS samples see no growth of the benchmark's own.
    std::vector<double> lat;
    void prepare(size_t planned) { lat.assign(planned ? planned : 1 << 20, 0.0); }
    void record(double secs)
    {
        if (calls < lat.size())
            lat[calls] = secs;
        calls++;
    }
    double start = 0, end = 0;
    size_t calls = 0;
};

void report(const char *who, const char *what, Timing &t, uint32_t bodiesHeld)
{
    t.lat.resize(std::min(t.lat.size(), t.calls));
    std::sort(t.lat.begin(), t.lat.end());
    double secs = t.end - t.start;
    double median = t.lat.empty() ? 0 : t.lat[t.lat.size() / 2];
    double p99 = t.lat.empty() ? 0 : t.lat[std::min(t.lat.size() - 1, t.lat.size() * 99 / 100)];
    printf("%s %s: %zu calls in %.2f s, %.0f calls/s, median %.1f us, p99 %.1f us, "
           "RSS %ld KiB, bodies held %u\n",
           who, what, t.calls, secs, (double)t.calls / secs, median * 1e6, p99 * 1e6, rssKiB(),
           bodiesHeld);
    fflush(stdout);
}

void soakMark(const char *who, size_t calls)
{
    if (calls % 10000 == 0)
        fprintf(stderr, "%s: %zu calls, RSS %ld KiB\n", who, calls, rssKiB());
}

volatile sig_atomic_t gStop = 0;
void onSignal(int) { gStop = 1; }

// ---- the library on the bus host --------------------------------------------------------

size_t gServed = 0;

void hdCca(void *ctx, uint32_t)
{
    intfVelmor_sendRes_getCCAStatistic(ctx, &gCca);
    soakMark("service", ++gServed);
}

void hdAssoc(void *ctx, uint32_t, assocDevListReq *)
{
    intfVelmor_sendRes_getAssocDevStats(ctx, &gStationInfo);
    soakMark("service", ++gServed);
}

int service(const char *address)
{
    if (tolkbus_connect(address) || intfVelmor_initialize())
        return 1;
    tolkbus_stopOnSignals();
    void *user = tolkbus_newUser(kService);
    intfVelmor_regUser_msgMngt(user, 0, nullptr, INTFVELMOR_SEL_BOTH);
    if (intfVelmor_modSrv_recvMsg_getCCAStatistic(
            user, tolkbus_token(reinterpret_cast<tolkbus_fn>(hdCca)), 0, 0) ||
        intfVelmor_modSrv_recvMsg_getAssocDevStats(
            user, tolkbus_token(reinterpret_cast<tolkbus_fn>(hdAssoc)), 0, 0))
        return 1;
    printf("ready\n");
    fflush(stdout);
    tolkbus_run();
    printf("service: %zu calls served, RSS %ld KiB, bodies held %u, contexts open %u\n", gServed,
           rssKiB(), tolkbus_stats().bodiesHeld, tolkbus_stats().contextsOpen);
    return 0;
}

bool gAnswered = false;
void cbCca(void *, uint32_t, ccaStats *) { gAnswered = true; }
void cbAssoc(void *, uint32_t, assocDevListRet *) { gAnswered = true; }
void onFailure(void *, uint32_t, uint32_t code, const char *entry, const char *detail)
{
    fprintf(stderr, "client: %s failed with 0x%x %s\n", entry, code, detail);
    exit(1);
}

}  // namespace

// The timed loops, by names that callgrind can collect alone (no set-up).
extern "C" __attribute__((noinline)) int bench_libraryRoundTrips(void *user, bool assoc,
                                                                 double seconds, size_t calls,
                                                                 Timing *t)
{
    int fd = tolkbus_fd();
    t->start = now();
    double stopAt = t->start + seconds;
    while (calls ? t->calls < calls : now() < stopAt) {
        double s = now();
        gAnswered = false;
        uint32_t rc = assoc ? intfVelmor_sendReq_getAssocDevStats(user, cbAssoc, 0, 0, kService,
                                                                  &gStations)
                            : intfVelmor_sendReq_getCCAStatistic(user, cbCca, 0, 0, kService);
        if (rc)
            return fprintf(stderr, "client: send failed with 0x%x\n", rc), 1;
        while (!gAnswered) {
            pollfd p{fd, POLLIN, 0};
            poll(&p, 1, 1000);
            if (tolkbus_dispatch() != 0)
                return 1;
        }
        t->record(now() - s);
        soakMark("client", t->calls);
    }
    t->end = now();
    return 0;
}

namespace {

int client(const char *address, bool assoc, double seconds, size_t calls)
{
    if (tolkbus_connect(address) || intfVelmor_initialize())
        return 1;
    tolkbus_setFailHook(onFailure, nullptr);
    void *user = tolkbus_newUser("bench-client");
    intfVelmor_regUser_msgMngt(user, 0, nullptr, INTFVELMOR_SEL_BOTH);
    Timing t;
    t.prepare(calls);
    if (bench_libraryRoundTrips(user, assoc, seconds, calls, &t))
        return 1;
    report("library", assoc ? "getAssocDevStats x100" : "getCCAStatistic", t,
           tolkbus_stats().bodiesHeld);
    intfVelmor_unregUser_msgMngt(user, INTFVELMOR_SEL_BOTH);
    tolkbus_freeUser(user);
    tolkbus_disconnect();
    return 0;
}

// ---- the bare echo ----------------------------------------------------------------------
// The host's connection setup (private connection, registration, a filter,
// watch and timeout functions on an epoll descriptor) and dispatch (epoll,
// dbus_watch_handle, dbus_connection_dispatch until no data remains), with
// the bytes sent as one "ay" both ways, and no library or host logic.

struct Bare {
    DBusConnection *conn = nullptr;
    int epfd = -1;
    std::vector<DBusWatch *> watches;
    std::vector<uint8_t> answer;  // what the echo service sends back
    std::vector<uint8_t> request;  // what the echo client sends
    bool answered = false;
    size_t served = 0;
} gBare;

void bareWatchFd(int fd)
{
    uint32_t events = 0;
    for (DBusWatch *w : gBare.watches)
        if (dbus_watch_get_unix_fd(w) == fd && dbus_watch_get_enabled(w)) {
            unsigned f = dbus_watch_get_flags(w);
            if (f & DBUS_WATCH_READABLE)
                events |= EPOLLIN;
            if (f & DBUS_WATCH_WRITABLE)
                events |= EPOLLOUT;
        }
    epoll_event ev{};
    ev.events = events;
    ev.data.fd = fd;
    if (epoll_ctl(gBare.epfd, EPOLL_CTL_MOD, fd, &ev) != 0)
        epoll_ctl(gBare.epfd, EPOLL_CTL_ADD, fd, &ev);
}
dbus_bool_t bareAddWatch(DBusWatch *w, void *)
{
    gBare.watches.push_back(w);
    bareWatchFd(dbus_watch_get_unix_fd(w));
    return TRUE;
}
void bareRemoveWatch(DBusWatch *w, void *)
{
    gBare.watches.erase(std::remove(gBare.watches.begin(), gBare.watches.end(), w),
                        gBare.watches.end());
    bareWatchFd(dbus_watch_get_unix_fd(w));
}
void bareToggleWatch(DBusWatch *w, void *) { bareWatchFd(dbus_watch_get_unix_fd(w)); }
// The echo makes no call that can time out; libdbus's timeouts are accepted.
dbus_bool_t bareAddTimeout(DBusTimeout *, void *) { return TRUE; }
void bareRemoveTimeout(DBusTimeout *, void *) {}
void bareToggleTimeout(DBusTimeout *, void *) {}

bool appendBytes(DBusMessage *m, const std::vector<uint8_t> &bytes)
{
    DBusMessageIter it, arr;
    dbus_message_iter_init_append(m, &it);
    const uint8_t *p = bytes.data();
    return dbus_message_iter_open_container(&it, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE_AS_STRING, &arr) &&
           dbus_message_iter_append_fixed_array(&arr, DBUS_TYPE_BYTE, &p, (int)bytes.size()) &&
           dbus_message_iter_close_container(&it, &arr);
}

int bytesOf(DBusMessage *m)
{
    DBusMessageIter it, arr;
    if (!dbus_message_has_signature(m, "ay") || !dbus_message_iter_init(m, &it))
        return -1;
    dbus_message_iter_recurse(&it, &arr);
    const uint8_t *p = nullptr;
    int n = 0;
    dbus_message_iter_get_fixed_array(&arr, &p, &n);
    return n;
}

DBusHandlerResult bareFilter(DBusConnection *, DBusMessage *m, void *)
{
    if (dbus_message_get_type(m) != DBUS_MESSAGE_TYPE_METHOD_CALL ||
        strcmp(dbus_message_get_path(m) ? dbus_message_get_path(m) : "", TOLKBUS_PATH))
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    DBusMessage *r = bytesOf(m) >= 0 ? dbus_message_new_method_return(m)
                                     : dbus_message_new_error(m, DBUS_ERROR_INVALID_ARGS, "ay");
    if (r && (dbus_message_get_type(r) == DBUS_MESSAGE_TYPE_ERROR || appendBytes(r, gBare.answer)))
        dbus_connection_send(gBare.conn, r, nullptr);
    if (r)
        dbus_message_unref(r);
    soakMark("echo-service", ++gBare.served);
    return DBUS_HANDLER_RESULT_HANDLED;
}

bool bareConnect(const char *address)
{
    DBusError err;
    dbus_error_init(&err);
    gBare.conn = dbus_connection_open_private(address, &err);
    if (!gBare.conn || !dbus_bus_register(gBare.conn, &err)) {
        fprintf(stderr, "bare: %s\n", err.message ? err.message : "cannot connect");
        return false;
    }
    gBare.epfd = epoll_create1(EPOLL_CLOEXEC);
    dbus_connection_set_exit_on_disconnect(gBare.conn, FALSE);
    return dbus_connection_add_filter(gBare.conn, bareFilter, nullptr, nullptr) &&
           dbus_connection_set_watch_functions(gBare.conn, bareAddWatch, bareRemoveWatch,
                                               bareToggleWatch, nullptr, nullptr) &&
           dbus_connection_set_timeout_functions(gBare.conn, bareAddTimeout, bareRemoveTimeout,
                                                 bareToggleTimeout, nullptr, nullptr);
}

// One turn: what is ready on the descriptors, then every message queued.
void bareDispatch(int waitMs)
{
    epoll_event evs[8];
    int n = epoll_wait(gBare.epfd, evs, 8, waitMs);
    for (int i = 0; i < n; ++i) {
        unsigned flags = 0;
        if (evs[i].events & EPOLLIN)
            flags |= DBUS_WATCH_READABLE;
        if (evs[i].events & EPOLLOUT)
            flags |= DBUS_WATCH_WRITABLE;
        if (evs[i].events & EPOLLHUP)
            flags |= DBUS_WATCH_HANGUP;
        if (evs[i].events & EPOLLERR)
            flags |= DBUS_WATCH_ERROR;
        std::vector<DBusWatch *> ws = gBare.watches;
        for (DBusWatch *w : ws)
            if (dbus_watch_get_unix_fd(w) == evs[i].data.fd && dbus_watch_get_enabled(w))
                dbus_watch_handle(w, flags & (dbus_watch_get_flags(w) | DBUS_WATCH_HANGUP |
                                              DBUS_WATCH_ERROR));
    }
    while (dbus_connection_dispatch(gBare.conn) == DBUS_DISPATCH_DATA_REMAINS) {
    }
}

std::vector<uint8_t> serialized(uint32_t (*fn)(int32_t, void *, uint8_t **, uint32_t *),
                                int32_t type, void *body)
{
    uint8_t *buf = nullptr;
    uint32_t len = 0;
    std::vector<uint8_t> out;
    if (fn(type, body, &buf, &len) == 0)
        out.assign(buf, buf + len);
    free(buf);
    return out;
}

// The bytes the library sends for the workload, made once by the library.
void echoBytes(bool assoc)
{
    if (assoc) {
        static ivReq_getAssocDevStats q;
        static ivRes_getAssocDevStats r;
        q.magic = r.magic = kMagic_getAssocDevStats;
        q.req = gStations;
        r.res = gStationInfo;
        gBare.request = serialized(intfVelmor_cbEvtMsgMngt_serializeBody_msgCmd_getAssocDevStats,
                                   INTFVELMOR_BODY_REQ, &q);
        gBare.answer = serialized(intfVelmor_cbEvtMsgMngt_serializeBody_msgCmd_getAssocDevStats,
                                  INTFVELMOR_BODY_RES, &r);
    } else {
        static ivReq_getCCAStatistic q;
        static ivRes_getCCAStatistic r;
        q.magic = r.magic = kMagic_getCCAStatistic;
        r.res = gCca;
        gBare.request = serialized(intfVelmor_cbEvtMsgMngt_serializeBody_msgCmd_getCCAStatistic,
                                   INTFVELMOR_BODY_REQ, &q);
        gBare.answer = serialized(intfVelmor_cbEvtMsgMngt_serializeBody_msgCmd_getCCAStatistic,
                                  INTFVELMOR_BODY_RES, &r);
    }
}

}  // namespace

// The echo service's loop, by a name that callgrind can collect alone.
extern "C" __attribute__((noinline)) void bench_echoServe(void)
{
    while (!gStop)
        bareDispatch(-1);
}

namespace {

int echoService(const char *address, bool assoc)
{
    echoBytes(assoc);
    if (!bareConnect(address))
        return 1;
    signal(SIGTERM, onSignal);
    signal(SIGINT, onSignal);
    std::string name = std::string(TOLKBUS_PREFIX ".") + kService;
    if (dbus_bus_request_name(gBare.conn, name.c_str(), DBUS_NAME_FLAG_DO_NOT_QUEUE, nullptr) !=
        DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER)
        return 1;
    printf("ready: requests of %zu bytes, answers of %zu\n", gBare.request.size(),
           gBare.answer.size());
    fflush(stdout);
    bench_echoServe();
    printf("echo-service: %zu calls served, RSS %ld KiB\n", gBare.served, rssKiB());
    return 0;
}

void bareOnReply(DBusPendingCall *call, void *)
{
    DBusMessage *r = dbus_pending_call_steal_reply(call);
    if (r && bytesOf(r) >= 0)
        gBare.answered = true;
    else
        fprintf(stderr, "echo-client: no bytes in the answer\n"), exit(1);
    dbus_message_unref(r);
}

}  // namespace

extern "C" __attribute__((noinline)) int bench_echoRoundTrips(bool assoc, double seconds,
                                                              size_t calls, Timing *t)
{
    std::string dest = std::string(TOLKBUS_PREFIX ".") + kService;
    const char *member = assoc ? "GetAssocDevStats" : "GetCCAStatistic";
    t->start = now();
    double stopAt = t->start + seconds;
    while (calls ? t->calls < calls : now() < stopAt) {
        double s = now();
        gBare.answered = false;
        DBusMessage *m = dbus_message_new_method_call(dest.c_str(), TOLKBUS_PATH,
                                                      TOLKBUS_PREFIX ".IntfVelmorCmd", member);
        DBusPendingCall *call = nullptr;
        if (!m || !appendBytes(m, gBare.request) ||
            !dbus_connection_send_with_reply(gBare.conn, m, &call, DBUS_TIMEOUT_INFINITE) || !call)
            return fprintf(stderr, "echo-client: send failed\n"), 1;
        dbus_message_unref(m);
        dbus_pending_call_set_notify(call, bareOnReply, nullptr, nullptr);
        while (!gBare.answered)
            bareDispatch(1000);
        dbus_pending_call_unref(call);
        t->record(now() - s);
        soakMark("echo-client", t->calls);
    }
    t->end = now();
    return 0;
}

namespace {

int echoClient(const char *address, bool assoc, double seconds, size_t calls)
{
    echoBytes(assoc);
    if (!bareConnect(address))
        return 1;
    Timing t;
    t.prepare(calls);
    if (bench_echoRoundTrips(assoc, seconds, calls, &t))
        return 1;
    report("echo", assoc ? "getAssocDevStats x100" : "getCCAStatistic", t, 0);
    dbus_connection_close(gBare.conn);
    dbus_connection_unref(gBare.conn);
    return 0;
}

int usage()
{
    fprintf(stderr, "usage: bench_bus service|echo-service ADDRESS [cca|assoc]\n"
                    "       bench_bus client|echo-client ADDRESS cca|assoc SECONDS [CALLS]\n");
    return 2;
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return usage();
    makeBodies();
    std::string mode = argv[1];
    const char *address = argv[2];
    bool assoc = argc > 3 && !strcmp(argv[3], "assoc");
    if (mode == "service")
        return service(address);
    if (mode == "echo-service")
        return echoService(address, assoc);
    if (argc < 5)
        return usage();
    double seconds = atof(argv[4]);
    size_t calls = argc > 5 ? (size_t)atol(argv[5]) : 0;
    if (mode == "client")
        return client(address, assoc, seconds, calls);
    if (mode == "echo-client")
        return echoClient(address, assoc, seconds, calls);
    return usage();
}
