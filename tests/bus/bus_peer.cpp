// One program, several roles, for the bus tests: each runs as its own
// process on a private daemon and reports what it saw as lines on stdout.
//
//   bus_peer service ADDR [--hold NAME] [--no-handler NAME]
//       the Wi-Fi service "wifi": serves every command with the test kit's
//       answers (none for --hold, no handler for --no-handler), publishes
//       every notification after answering getCCAStatistic, runs until
//       SIGTERM or the bus goes away
//   bus_peer client ADDR all          every command and notification once
//   bus_peer client ADDR one NAME [TIMEOUT_MS]
//   bus_peer client ADDR noreply NAME one request without a response callback
//   bus_peer client ADDR repeat SECONDS
//                                     getCCAStatistic again and again, until it
//                                     was answered, failed, then answered again
//   bus_peer client ADDR foreign      two users, subscribed to two publishers
//   bus_peer client ADDR wait         a held call, then run until the bus goes away
//   bus_peer own ADDR                 tries to serve (own the name) and says how it went
//   bus_peer offline -                calls refused before anything is sent
//   bus_peer hostile ADDR SERVICE_PID raw D-Bus calls with bad bodies and signatures
//
// Lines: "trace DIR KIND ENTRY HEX" for what crossed, "answered NAME ok",
// "failed ENTRY code=0x.. detail=..", "event N", "stats ..." and role
// summaries; the driver (bus_test) reads them.
#include <dbus/dbus.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <random>

#include "base/log.h"
#include "messages_kit.h"
#include "tolkBusHost.h"

using namespace ivtest;

namespace {

const char *kKinds[] = {"REQUEST", "RESPONSE", "NOTIFICATION", "CODE"};
int gCurrent = -1;             // command being delivered to the service
std::string gHold, gNoHandler; // service options
void *gSrv = nullptr;
unsigned gLibLines = 0;

void onTrace(void *, const tolkbus_traceEvent *ev)
{
    if (ev->kind == TOLKBUS_TRACE_REQUEST && !ev->outgoing)
        gCurrent = (int)ev->index;
    if (ev->kind == TOLKBUS_TRACE_CODE) {
        printf("trace %s CODE %s 0x%x\n", ev->outgoing ? "out" : "in",
               ev->entryName ? ev->entryName : "", (unsigned)ev->code);
        return;
    }
    printf("trace %s %s %s %s\n", ev->outgoing ? "out" : "in", kKinds[ev->kind],
           ev->entryName ? ev->entryName : "", toHex(ev->bytes, ev->length).c_str());
}

void onFail(void *, uint32_t ref, uint32_t code, const char *entry, const char *detail)
{
    printf("failed %s code=0x%x detail=%s ref=0x%x\n", entry, (unsigned)code, detail,
           (unsigned)ref);
}

void onEvent(void *, int32_t event) { printf("event %d\n", (int)event); }

// The library's lines: the first few shown, all counted.
void libLine(int prio, const char *line)
{
    if (gLibLines++ < 40)
        fprintf(stderr, "lib %d %s", prio, line);
}

void printStats(const char *when)
{
    tolkbus_statsInfo s = tolkbus_stats();
    printf("stats %s bodies=%u contexts=%u pending=%u refused=%u badsig=%u deliveries=%u "
           "freed=%u liblines=%u\n",
           when, s.bodiesHeld, s.contextsOpen, s.pendingCalls, s.refused, s.badSignatures,
           s.deliveries, s.bodiesFreed, gLibLines);
}

uint64_t nowMs()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return uint64_t(ts.tv_sec) * 1000 + uint64_t(ts.tv_nsec) / 1000000;
}

// Dispatches until done() or the time is up; false on time-out or stop.
template <class F>
bool pump(F done, uint64_t ms)
{
    uint64_t end = nowMs() + ms;
    while (!done()) {
        if (nowMs() >= end)
            return false;
        pollfd p{tolkbus_fd(), POLLIN, 0};
        poll(&p, 1, 50);
        if (tolkbus_dispatch() != 0)
            return done();
    }
    return true;
}

const Command *commandNamed(const std::string &name)
{
    for (const Command &c : commands())
        if (c.name == name)
            return &c;
    return nullptr;
}

int setUp(const char *addr, const char *user)
{
    iv::setLogSink(libLine);
    setvbuf(stdout, nullptr, _IOLBF, 0);
    if (uint32_t rc = tolkbus_connect(addr)) {
        printf("connect failed 0x%x\n", (unsigned)rc);
        return 1;
    }
    tolkbus_setTrace(onTrace, nullptr);
    tolkbus_setFailHook(onFail, nullptr);
    if (intfVelmor_initialize() != 0) {
        printf("initialize failed\n");
        return 1;
    }
    tick_addEvtBase(onEvent, nullptr);
    gSrv = tolkbus_newUser(user);
    if (intfVelmor_regUser_msgMngt(gSrv, 0, nullptr, INTFVELMOR_SEL_BOTH) != 0) {
        printf("regUser failed\n");
        return 1;
    }
    return 0;
}

// ---- service --------------------------------------------------------------

void answerCurrent(void *ctx)
{
    if (gCurrent < 0)
        return;
    const Command &c = commands()[(size_t)gCurrent];
    bool same = !g_handled.empty() && g_handled.back().args == c.handled;
    printf("handled %s %s needres=%u\n", c.name.c_str(), same ? "ok" : "MISMATCH",
           (unsigned)tolkCore_isMsg_needRes(ctx));
    g_handled.clear();
    if (c.name == gHold)
        return;  // never answered: the context stays open
    c.answer(ctx);
    if (c.name == "getCCAStatistic")
        for (const Notification &n : notifications())
            n.publish(gSrv);
}

int service(const char *addr)
{
    if (setUp(addr, "wifi"))
        return 1;
    for (const Command &c : commands()) {
        uint32_t token = c.name == gNoHandler ? 0 : tolkbus_token((tolkbus_fn)c.handler);
        if (uint32_t rc = c.modSrv(gSrv, token, 0, 0)) {
            printf("serve failed 0x%x\n", (unsigned)rc);
            return 1;
        }
    }
    g_answer = answerCurrent;
    tolkbus_stopOnSignals();
    printf("ready %s\n", tolkbus_uniqueName());
    uint32_t rc = tolkbus_run();
    printf("run returned 0x%x mngts=%u\n", (unsigned)rc, (unsigned)tolkbus_mngtCount());
    printf("then dispatch 0x%x\n", (unsigned)tolkbus_dispatch());
    printStats("run");
    tolkbus_disconnect();
    printStats("end");
    tolkbus_reset();
    return 0;
}

int own(const char *addr)
{
    if (setUp(addr, "wifi"))
        return 1;
    uint32_t rc = intfVelmor_modSrv_recvMsg_getCCAStatistic(
        gSrv, tolkbus_token((tolkbus_fn)onRequest<>), 0, 0);
    printf("own rc=0x%x\n", (unsigned)rc);
    tolkbus_reset();
    return 0;
}

// Calls refused before anything is sent: each body is still freed, once.
int offline()
{
    iv::setLogSink(libLine);
    setvbuf(stdout, nullptr, _IOLBF, 0);
    if (intfVelmor_initialize() != 0)
        return 1;
    void *cli = tolkbus_newUser("client");
    void *nameless = tolkbus_newUser("");
    intfVelmor_regUser_msgMngt(cli, 0, nullptr, INTFVELMOR_SEL_BOTH);
    intfVelmor_regUser_msgMngt(nameless, 0, nullptr, INTFVELMOR_SEL_BOTH);
    auto attempt = [](const char *what, uint32_t rc) {
        tolkbus_statsInfo s = tolkbus_stats();
        printf("%s rc=0x%x freed=%u serialized=%u\n", what, (unsigned)rc, s.bodiesFreed,
               s.serialized);
    };
    auto onStats = onResponse<ccaStats *>;
    attempt("unmappable-service",
            intfVelmor_sendReq_getCCAStatistic(cli, onStats, 1, 0, ""));
    attempt("not-connected",
            intfVelmor_sendReq_getCCAStatistic(cli, onStats, 1, 0, "wifi"));
    attempt("serve-nameless", intfVelmor_modSrv_recvMsg_getCCAStatistic(
                                  nameless, tolkbus_token((tolkbus_fn)onRequest<>), 0, 0));
    intfVelmor_sendReq_ntfyBeaconReport(nameless, 0, 0, "ab", 1, 2);
    attempt("publish-nameless", 0);
    printStats("end");
    tolkbus_reset();
    return 0;
}

// ---- client ---------------------------------------------------------------

int clientAll()
{
    std::vector<uint32_t> subscribed;
    for (const Notification &n : notifications()) {
        bool have = false;
        for (uint32_t i : subscribed)
            have = have || i == n.index;
        if (have)
            continue;
        subscribed.push_back(n.index);
        if (uint32_t rc = n.subscribe(gSrv, tolkbus_token((tolkbus_fn)n.handler), 0, 0, "wifi",
                                      nullptr)) {
            printf("subscribe failed 0x%x\n", (unsigned)rc);
            return 1;
        }
    }
    for (const Command &c : commands())
        if (uint32_t rc = c.send(gSrv)) {
            printf("send %s failed 0x%x\n", c.name.c_str(), (unsigned)rc);
            return 1;
        }
    size_t wantN = notifications().size(), wantR = commands().size();
    bool done = pump([&] { return g_answered.size() >= wantR && g_handled.size() >= wantN; },
                     10000);
    unsigned bad = 0;
    for (size_t i = 0; i < g_answered.size() && i < wantR; ++i) {
        const Command &c = commands()[i];
        bool ok = g_answered[i].args == c.answered && g_answered[i].ref == kCliRef;
        printf("answered %s %s\n", c.name.c_str(), ok ? "ok" : "MISMATCH");
        bad += !ok;
    }
    for (size_t i = 0; i < g_handled.size() && i < wantN; ++i) {
        const Notification &n = notifications()[i];
        bool ok = g_handled[i].args == n.members;
        printf("notified %s %s\n", n.name.c_str(), ok ? "ok" : "MISMATCH");
        bad += !ok;
    }
    printf("all %s answered=%zu notified=%zu mismatches=%u\n", done ? "done" : "INCOMPLETE",
           g_answered.size(), g_handled.size(), bad);
    return done && bad == 0 ? 0 : 1;
}

int clientOne(const std::string &name, uint32_t timeoutMs)
{
    const Command *c = commandNamed(name);
    if (!c)
        return 2;
    tolkbus_setCallTimeout(timeoutMs);
    uint64_t start = nowMs();
    if (uint32_t rc = c->send(gSrv)) {
        printf("send failed 0x%x\n", (unsigned)rc);
        return 1;
    }
    pump([] { return tolkbus_stats().pendingCalls == 0; }, timeoutMs + 5000);
    printf("elapsed %llu\n", (unsigned long long)(nowMs() - start));
    for (const Call &a : g_answered)
        printf("answered %s %s\n", name.c_str(), a.args == c->answered ? "ok" : "MISMATCH");
    return g_answered.empty() ? 1 : 0;
}

// A request without a response callback, then an ordinary call behind it:
// once that one is answered, the first has been delivered.
int clientNoReply(const std::string &name)
{
    uint32_t rc = name == "getChannelCreated"
                      ? intfVelmor_sendReq_getChannelCreated(gSrv, nullptr, 1, 0, "wifi")
                      : 0xFFFF;
    if (rc) {
        printf("send failed 0x%x\n", (unsigned)rc);
        return 1;
    }
    return clientOne("getCCAStatistic", 5000);
}

// The handler gets ref back with each report.
void subscribeBeaconReports(void *user, const char *publisher, uint32_t ref)
{
    uint32_t rc = intfVelmor_modCliNtfyUser_recvMsg_beaconReport(
        user, tolkbus_token((tolkbus_fn)onRequest<char *, int8_t, int8_t>), ref, 0, publisher,
        nullptr);
    printf("subscribed %s rc=0x%x\n", publisher, (unsigned)rc);
}

// Two users of one connection: one subscribed to the service's beacon
// reports, one to another publisher's. Both rules reach the daemon, so the
// reports come to the connection; only the first user may get them.
int clientForeign()
{
    void *other = tolkbus_newUser("client2");
    intfVelmor_regUser_msgMngt(other, 0, nullptr, INTFVELMOR_SEL_BOTH);
    subscribeBeaconReports(other, "other", 2);
    subscribeBeaconReports(gSrv, "wifi", 1);
    int rc = clientOne("getCCAStatistic", 5000);
    pump([] { return g_handled.size() >= 2; }, 2000);
    pump([] { return false; }, 200);
    unsigned mine = 0, foreign = 0;
    for (const Call &c : g_handled)
        (c.ref == 1 ? mine : foreign)++;
    printf("notified wifi=%u other=%u\n", mine, foreign);
    return rc;
}

int clientRepeat(unsigned seconds)
{
    const Command *c = commandNamed("getCCAStatistic");
    tolkbus_setCallTimeout(2000);
    subscribeBeaconReports(gSrv, "wifi", 0);
    int phase = 0;  // 0 waiting for an answer, 1 for a failure, 2 for an answer again
    size_t notifiedBefore = 0;
    uint64_t end = nowMs() + seconds * 1000ull;
    while (phase < 3 && nowMs() < end) {
        if (phase == 2)
            notifiedBefore = g_handled.size();
        size_t answers = g_answered.size();
        uint32_t failures = tolkbus_stats().failures;
        if (c->send(gSrv) == 0)
            pump([] { return tolkbus_stats().pendingCalls == 0; }, 5000);
        bool answered = g_answered.size() > answers;
        bool failed = tolkbus_stats().failures > failures;
        if ((phase == 0 || phase == 2) && answered)
            phase++;
        else if (phase == 1 && failed)
            phase++;
        printf("phase %d\n", phase);
        pump([] { return false; }, 100);
    }
    // The restarted service's notifications reach the old subscription.
    pump([&] { return g_handled.size() > notifiedBefore; }, 2000);
    printf("notified after restart %zu\n", g_handled.size() - notifiedBefore);
    printStats("end");
    return phase == 3 ? 0 : 1;
}

int clientWait()
{
    // Subscribed and with a call in flight when the bus goes away.
    intfVelmor_modCliNtfyUser_recvMsg_beaconReport(
        gSrv, tolkbus_token((tolkbus_fn)onRequest<char *, int8_t, int8_t>), 0, 0, "wifi",
        nullptr);
    commandNamed("getCCAStatistic")->send(gSrv);
    printf("waiting\n");
    uint32_t rc = tolkbus_run();
    printf("run returned 0x%x mngts=%u\n", (unsigned)rc, (unsigned)tolkbus_mngtCount());
    printf("then dispatch 0x%x\n", (unsigned)tolkbus_dispatch());
    printStats("end");
    tolkbus_reset();
    return 0;
}

int client(const char *addr, int argc, char **argv)
{
    if (setUp(addr, "client"))
        return 1;
    std::string mode = argc > 0 ? argv[0] : "";
    int rc = 2;
    if (mode == "all")
        rc = clientAll();
    else if (mode == "one" && argc > 1)
        rc = clientOne(argv[1], argc > 2 ? (uint32_t)atoi(argv[2]) : 5000);
    else if (mode == "noreply" && argc > 1)
        rc = clientNoReply(argv[1]);
    else if (mode == "repeat" && argc > 1)
        rc = clientRepeat((unsigned)atoi(argv[1]));
    else if (mode == "wait")
        return clientWait();
    else if (mode == "foreign")
        rc = clientForeign();
    printStats("end");
    tolkbus_reset();
    return rc;
}

// ---- hostile raw peer ---------------------------------------------------------

struct Outcome {
    std::string kind;  // "return", an error name, or "none"
    uint32_t code = 0;
};

DBusConnection *gRaw = nullptr;

Outcome rawCall(const char *member, int sig, const Bytes &bytes)
{
    DBusMessage *m = dbus_message_new_method_call(TOLKBUS_PREFIX ".wifi", TOLKBUS_PATH,
                                                  TOLKBUS_PREFIX ".IntfVelmorCmd", member);
    const uint8_t *p = bytes.data();
    int n = (int)bytes.size();
    const char *text = "x";
    uint32_t u = 7;
    switch (sig) {
    case 0:  // ay, as the host sends it
        dbus_message_append_args(m, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &p, n, DBUS_TYPE_INVALID);
        break;
    case 1:  // nothing
        break;
    case 2:  // s
        dbus_message_append_args(m, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
        break;
    case 3:  // ay u
        dbus_message_append_args(m, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &p, n, DBUS_TYPE_UINT32, &u,
                                 DBUS_TYPE_INVALID);
        break;
    case 4: {  // au
        const uint32_t words[2] = {1, 2};
        const uint32_t *w = words;
        dbus_message_append_args(m, DBUS_TYPE_ARRAY, DBUS_TYPE_UINT32, &w, 2, DBUS_TYPE_INVALID);
        break;
    }
    }
    DBusError err;
    dbus_error_init(&err);
    DBusMessage *r = dbus_connection_send_with_reply_and_block(gRaw, m, 10000, &err);
    dbus_message_unref(m);
    Outcome o;
    if (!r) {
        o.kind = err.name ? err.name : "none";
        if (o.kind == TOLKBUS_ERROR_CODE)
            o.code = 1;  // the code itself is lost with the reply; only its presence counts
        dbus_error_free(&err);
        return o;
    }
    if (dbus_message_get_type(r) == DBUS_MESSAGE_TYPE_ERROR) {
        o.kind = dbus_message_get_error_name(r);
    } else {
        o.kind = "return";
    }
    dbus_message_unref(r);
    return o;
}

// send_with_reply_and_block turns an error reply into a DBusError; the code
// argument of TOLKBUS_ERROR_CODE is read from the reply itself here.
Outcome rawCallCode(const char *member, const Bytes &bytes)
{
    DBusMessage *m = dbus_message_new_method_call(TOLKBUS_PREFIX ".wifi", TOLKBUS_PATH,
                                                  TOLKBUS_PREFIX ".IntfVelmorCmd", member);
    const uint8_t *p = bytes.data();
    dbus_message_append_args(m, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &p, (int)bytes.size(),
                             DBUS_TYPE_INVALID);
    DBusPendingCall *pc = nullptr;
    dbus_connection_send_with_reply(gRaw, m, &pc, 10000);
    dbus_message_unref(m);
    Outcome o{"none", 0};
    if (!pc)
        return o;
    dbus_pending_call_block(pc);
    DBusMessage *r = dbus_pending_call_steal_reply(pc);
    dbus_pending_call_unref(pc);
    if (!r)
        return o;
    if (dbus_message_get_type(r) == DBUS_MESSAGE_TYPE_ERROR) {
        o.kind = dbus_message_get_error_name(r);
        const char *text = nullptr;
        dbus_message_get_args(r, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_UINT32, &o.code,
                              DBUS_TYPE_INVALID);
    } else {
        o.kind = "return";
    }
    dbus_message_unref(r);
    return o;
}

long rssKb(long pid)
{
    char path[64];
    snprintf(path, sizeof path, "/proc/%ld/status", pid);
    FILE *f = fopen(path, "r");
    if (!f)
        return -1;
    char line[256];
    long kb = -1;
    while (fgets(line, sizeof line, f))
        if (sscanf(line, "VmRSS: %ld", &kb) == 1)
            break;
    fclose(f);
    return kb;
}

void report(const char *what, const Outcome &o)
{
    printf("case %s %s code=%u\n", what, o.kind.c_str(), (unsigned)o.code);
}

int hostile(const char *addr, long servicePid)
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    DBusError err;
    dbus_error_init(&err);
    gRaw = dbus_connection_open_private(addr, &err);
    if (!gRaw || !dbus_bus_register(gRaw, &err)) {
        printf("connect failed %s\n", err.message ? err.message : "");
        return 1;
    }
    const Command &cca = *commandNamed("getCCAStatistic");
    const Command &dev = *commandNamed("getAssocDevStats");
    const Bytes good = frame(0x29190165, 0);
    const Bytes devReq = frame(0x29170612, 1) + dev.reqMembers;
    (void)cca;

    for (int sig = 1; sig <= 4; ++sig)
        report(("signature" + std::to_string(sig)).c_str(), rawCall("GetCCAStatistic", sig, good));
    report("truncated-frame", rawCallCode("GetCCAStatistic", Bytes(good.begin(), good.begin() + 10)));
    report("truncated-members",
           rawCallCode("GetAssocDevStats", Bytes(devReq.begin(), devReq.begin() + devReq.size() / 2)));
    report("empty", rawCallCode("GetCCAStatistic", Bytes()));
    // An item that claims more bytes than the message holds.
    report("oversized-item", rawCallCode("GetAssocDevStats", frame(0x29170612, 1) + hex("00000003 7ffffff0 00")));
    report("oversized-body", rawCallCode("GetAssocDevStats", frame(0x29170612, 1) + Bytes(1 << 20, 0xEE)));
    report("wrong-magic", rawCallCode("GetCCAStatistic", frame(0x29170612, 0)));
    report("trailing", rawCallCode("GetCCAStatistic", good + Bytes(100, 0x55)));
    report("unknown-member", rawCallCode("NoSuchCommand", good));

    // The commands' member names, as the bus host maps their entry names.
    std::vector<std::string> members;
    for (const MsgInfo &m : kCmds) {
        char name[64];
        if (tolkbus_memberName(m.entry, name, sizeof name) == 0)
            members.push_back(name);
    }
    std::mt19937 rng(12345);
    auto randomRound = [&](unsigned count, unsigned *refused, unsigned *answered,
                           unsigned *other) {
        for (unsigned i = 0; i < count; ++i) {
            Bytes b(rng() % 300);
            for (auto &x : b)
                x = (uint8_t)rng();
            // Half of them start with a frame that looks right.
            if (i % 2 && b.size() >= 24) {
                Bytes f = frame(0x29190165, 0);
                std::copy(f.begin(), f.end(), b.begin());
            }
            Outcome o = rawCallCode(members[rng() % members.size()].c_str(), b);
            if (o.kind == TOLKBUS_ERROR_CODE && o.code != 0)
                ++*refused;
            else if (o.kind == "return")
                ++*answered;
            else {
                if (*other < 5)
                    printf("unexpected %s\n", o.kind.c_str());
                ++*other;
            }
        }
    };
    unsigned refused = 0, answered = 0, other = 0;
    randomRound(1000, &refused, &answered, &other);  // warm-up: allocator pools settle
    long before = rssKb(servicePid);
    refused = answered = other = 0;
    randomRound(10000, &refused, &answered, &other);
    long after = rssKb(servicePid);
    printf("random refused=%u answered=%u other=%u\n", refused, answered, other);
    printf("rss before=%ld after=%ld\n", before, after);
    report("good", rawCallCode("GetCCAStatistic", good));
    dbus_connection_close(gRaw);
    dbus_connection_unref(gRaw);
    return 0;
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        fprintf(stderr, "usage: bus_peer ROLE ADDRESS ...\n");
        return 2;
    }
    std::string role = argv[1];
    const char *addr = argv[2];
    if (role == "service") {
        for (int i = 3; i + 1 < argc; i += 2) {
            if (!strcmp(argv[i], "--hold"))
                gHold = argv[i + 1];
            else if (!strcmp(argv[i], "--no-handler"))
                gNoHandler = argv[i + 1];
        }
        return service(addr);
    }
    if (role == "client")
        return client(addr, argc - 3, argv + 3);
    if (role == "own")
        return own(addr);
    if (role == "offline")
        return offline();
    if (role == "hostile" && argc > 3)
        return hostile(addr, atol(argv[3]));
    fprintf(stderr, "unknown role %s\n", role.c_str());
    return 2;
}
