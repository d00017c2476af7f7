// intfvelmor-bus: the interface on a D-Bus bus, from the command line.
//
//   intfvelmor-bus [--bus ADDRESS | --system] [--timeout MS] call SERVICE COMMAND [JSON]
//   intfvelmor-bus [--bus ADDRESS | --system] listen [--from SERVICE] [NOTIFICATION...]
//   intfvelmor-bus [--bus ADDRESS | --system] serve USER FILE
//
// Bodies go in and out as the wire tool's JSON ({"message", "type", "body"}),
// made and read by the same code; the bytes are the library's, sent and
// received by the bus host.
#include <errno.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <map>
#include <string>
#include <vector>

#include "intfVelmor.h"
#include "messages/bodies.h"
#include "messages/catalogue.h"
#include "messages/frame.h"
#include "tolkBusHost.h"
#include "tolkHost.h"
#include "tools/body_args.h"
#include "tools/bus_tool_json.h"

namespace {

// The whole help, and the source of the manual page (made by the wire
// tool's tools/wire/man.py): a heading ends with ':' at the margin; a list
// entry is its term at column 2, then at least two blanks and its text,
// continued at the text's column; any other line is running text.
const char kHelp[] =
    "intfvelmor-bus - call, listen to and stand in for the Wi-Fi service on D-Bus\n"
    "\n"
    "Usage:\n"
    "  intfvelmor-bus [--bus ADDRESS | --system] [--timeout MS] call SERVICE\n"
    "                 COMMAND [JSON]\n"
    "  intfvelmor-bus [--bus ADDRESS | --system] listen [--from SERVICE]\n"
    "                 [NOTIFICATION...]\n"
    "  intfvelmor-bus [--bus ADDRESS | --system] serve USER FILE\n"
    "  intfvelmor-bus help\n"
    "\n"
    "Description:\n"
    "  Talks to the Wi-Fi service through libIntfVelmor on the bus host: the\n"
    "  bytes on the bus are the library's, made and read by it. Bodies go in\n"
    "  and out as the JSON of intfvelmor-wire, an envelope {\"message\", \"type\",\n"
    "  \"body\"}; intfvelmor-wire template prints a body to start from, and\n"
    "  intfvelmor-wire list names every message and member. A service owns\n"
    "  the bus name " TOLKBUS_PREFIX ".USER.\n"
    "\n"
    "Commands:\n"
    "  call      Sends COMMAND to the service whose user name is SERVICE, with\n"
    "            the request body JSON (default {}), and prints the response on\n"
    "            one line. Exits 0 when the service answered with a body, and 1\n"
    "            with a one-line reason when the request body is refused, the\n"
    "            service answers with a non-zero code, no answer comes within\n"
    "            the timeout, or no such service is on the bus.\n"
    "  listen    Prints each notification (all of them, or the ones named) as\n"
    "            one JSON line as it arrives, until interrupted (exit 0).\n"
    "            --from SERVICE takes only those that SERVICE publishes.\n"
    "  serve     Stands in for the service under the user name USER: answers\n"
    "            each command named in FILE with its canned response, publishes\n"
    "            the notifications FILE lists, and prints each request it gets\n"
    "            as one JSON line, until interrupted.\n"
    "  help      Prints this help.\n"
    "\n"
    "Options:\n"
    "  --bus ADDRESS  The bus at ADDRESS (unix:path=...); without --bus or\n"
    "                 --system, the session bus (DBUS_SESSION_BUS_ADDRESS).\n"
    "  --system       The system bus.\n"
    "  --timeout MS   Call timeout in milliseconds (default 25000).\n"
    "\n"
    "Serve file:\n"
    "  A JSON object. \"commands\" maps a command's name to its response body,\n"
    "  or to {\"code\": N} to answer with the non-zero code N instead; commands\n"
    "  it does not name are not served. \"notifications\" lists envelopes\n"
    "  {\"message\", \"body\"}, published once when serving starts and then every\n"
    "  \"interval\" seconds when that is above 0. An example is below.\n"
    "\n"
    "Exit status:\n"
    "  0  Done.\n"
    "  1  The call failed, the input (JSON, a value, FILE) is refused, or the\n"
    "     bus connection was lost.\n"
    "  2  Bad command line.\n"
    "\n"
    "Examples:\n"
    "  intfvelmor-bus call wifi getCCAStatistic\n"
    "  intfvelmor-bus call wifi temporarilyBlackList '{\"mac\": \"aa:bb:cc:dd:ee:03\", \"value\": 300}'\n"
    "  intfvelmor-bus listen beaconReport\n"
    "  intfvelmor-bus --bus unix:path=/tmp/bus serve wifi canned.json\n"
    "  with canned.json:\n"
    "    {\"commands\": {\"getCCAStatistic\": {\"res\": {\"v3\": 1000}},\n"
    "                  \"configureAccessPoint\": {\"code\": 5}},\n"
    "     \"notifications\": [{\"message\": \"beaconReport\",\n"
    "                        \"body\": {\"mac\": \"aa:bb:cc:dd:ee:01\"}}],\n"
    "     \"interval\": 5}\n";

const char *gProg = "intfvelmor-bus";

[[noreturn]] void die(int status, const std::string &why)
{
    fprintf(stderr, "%s: %s\n", gProg, why.c_str());
    exit(status);
}

// ---- per message, from the catalogue ---------------------------------------------------

// Bodies in memory: zeroed, word-aligned, as large as the library's struct.
struct Body {
    std::vector<uint64_t> words;
    void *data() { return words.data(); }
    const void *data() const { return words.data(); }
};

Body newBody(const iv::MsgDesc &m, int32_t type)
{
    Body b;
    b.words.assign(m.size[type] / 8 + 1, 0);
    ((iv::BodyHead *)b.data())->magic = m.magic;
    return b;
}

// What the client's call is waiting for.
struct Call {
    bool done = false;
    bool ok = false;
    std::string out;  // the response, as JSON
} gCall;

// The service's canned answers, by command index: a body, or a code.
struct Canned {
    bool present = false;
    uint32_t code = 0;
    Body body;
};
std::vector<Canned> gCanned(INTFVELMOR_CMD_COUNT);

void printRequest(const iv::MsgDesc &m, const void *body);
void answer(const iv::MsgDesc &m, void *ctx);

struct CommandFns {
    uint32_t (*send)(void *user, const char *service, const void *body);
    void (*respond)(void *ctx, const void *body);
    uint32_t (*serve)(void *user);
};
struct NotificationFns {
    void (*publish)(void *user, const void *body);
    uint32_t (*subscribe)(void *user, const char *from);
};

#define BUS_COMMAND(idx, X, entry, magic, stamp, magicName, req, res)                         \
    void cb_##X(void *, uint32_t IV_EACH(IVB_PARAM, res))                                     \
    {                                                                                         \
        auto b = ivb::blank<ivRes_##X>(magic);                                                \
        IV_EACH(IVB_TAKE, res)                                                                \
        gCall.out = bodyJson(*iv::kCommands[idx], iv::kRes, &b);                              \
        gCall.ok = gCall.done = true;                                                         \
    }                                                                                         \
    uint32_t send_##X(void *user, const char *service, const void *body)                      \
    {                                                                                         \
        const ivReq_##X &b = *static_cast<const ivReq_##X *>(body);                           \
        (void)b;                                                                              \
        return intfVelmor_sendReq_##X(user, cb_##X, 0, 0, service IV_EACH(IVB_GIVE, req));    \
    }                                                                                         \
    void respond_##X(void *ctx, const void *body)                                             \
    {                                                                                         \
        const ivRes_##X &b = *static_cast<const ivRes_##X *>(body);                           \
        (void)b;                                                                              \
        intfVelmor_sendRes_##X(ctx IV_EACH(IVB_GIVE, res));                                   \
    }                                                                                         \
    void hd_##X(void *ctx, uint32_t IV_EACH(IVB_PARAM, req))                                  \
    {                                                                                         \
        auto b = ivb::blank<ivReq_##X>(magic);                                                \
        IV_EACH(IVB_TAKE, req)                                                                \
        printRequest(*iv::kCommands[idx], &b);                                                \
        answer(*iv::kCommands[idx], ctx);                                                     \
    }                                                                                         \
    uint32_t serve_##X(void *user)                                                            \
    {                                                                                         \
        return intfVelmor_modSrv_recvMsg_##X(                                                 \
            user, tolkbus_token(reinterpret_cast<tolkbus_fn>(hd_##X)), 0, 0);                 \
    }                                                                                         \
    static_assert(std::is_same_v<decltype(&hd_##X), intfVelmor_hdlReq_##X>, #X " handler");
IV_COMMANDS(BUS_COMMAND)

#define BUS_NOTIFICATION(idx, x, X, entry, magic, stamp, magicName, members)                  \
    void on_##x(void *, uint32_t IV_EACH(IVB_PARAM, members))                                 \
    {                                                                                         \
        auto b = ivb::blank<ivNtfy_##x>(magic);                                               \
        IV_EACH(IVB_TAKE, members)                                                            \
        printf("%s\n", bodyJson(*iv::kNotifications[idx], iv::kReq, &b).c_str());             \
        fflush(stdout);                                                                       \
    }                                                                                         \
    void publish_##x(void *user, const void *body)                                            \
    {                                                                                         \
        const ivNtfy_##x &b = *static_cast<const ivNtfy_##x *>(body);                         \
        intfVelmor_sendReq_ntfy##X(user, 0, 0 IV_EACH(IVB_GIVE, members));                    \
    }                                                                                         \
    uint32_t subscribe_##x(void *user, const char *from)                                      \
    {                                                                                         \
        return intfVelmor_modCliNtfyUser_recvMsg_##x(                                         \
            user, tolkbus_token(reinterpret_cast<tolkbus_fn>(on_##x)), 0, 0, from, nullptr);  \
    }                                                                                         \
    static_assert(std::is_same_v<decltype(&on_##x), intfVelmor_hdlNtfy_##x>, #x " handler");
IV_NOTIFICATIONS(BUS_NOTIFICATION)

#define BUS_COMMAND_FNS(idx, X, ...) {send_##X, respond_##X, serve_##X},
const CommandFns kCommandFns[] = {IV_COMMANDS(BUS_COMMAND_FNS)};
#define BUS_NOTIFICATION_FNS(idx, x, ...) {publish_##x, subscribe_##x},
const NotificationFns kNotificationFns[] = {IV_NOTIFICATIONS(BUS_NOTIFICATION_FNS)};

void printRequest(const iv::MsgDesc &m, const void *body)
{
    printf("%s\n", bodyJson(m, iv::kReq, body).c_str());
    fflush(stdout);
}

void answer(const iv::MsgDesc &m, void *ctx)
{
    const Canned &c = gCanned[m.index];
    if (c.code)
        tolkCore_sendMsgRes(ctx, nullptr, c.code, 18);
    else
        kCommandFns[m.index].respond(ctx, c.body.data());
}

// ---- the bus ---------------------------------------------------------------------------

struct Options {
    const char *address = nullptr;
    bool system = false;
    uint32_t timeoutMs = 0;
};

void connect(const Options &o)
{
    uint32_t rc = o.system ? tolkbus_connectSystem() : tolkbus_connect(o.address);
    if (rc) {
        const char *session = getenv("DBUS_SESSION_BUS_ADDRESS");
        die(1, std::string("cannot connect to ") +
                   (o.system    ? "the system bus"
                    : o.address ? o.address
                    : session   ? std::string("the session bus (") + session + ")"
                                : std::string("the session bus (DBUS_SESSION_BUS_ADDRESS is not set)")));
    }
    if (o.timeoutMs)
        tolkbus_setCallTimeout(o.timeoutMs);
    if (uint32_t irc = intfVelmor_initialize())
        die(1, "the library did not start (code " + std::to_string(irc) + ")");
}

void *newUser(const char *name)
{
    void *user = tolkbus_newUser(name);
    if (!user)
        die(1, "out of memory");
    if (uint32_t rc = intfVelmor_regUser_msgMngt(user, 0, nullptr, INTFVELMOR_SEL_BOTH))
        die(1, "cannot register the user " + std::string(name) + " (code " + std::to_string(rc) +
                   ")");
    return user;
}

double now()
{
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + (double)t.tv_nsec / 1e9;
}

// Runs the loop until `until` says so, stopped, or `wakeEvery` seconds pass
// (then calls tick and goes on). Returns 0 when `until` said so, else
// TOLKBUS_STOPPED (SIGTERM or SIGINT) or TOLKBUS_ERR_BUS (the connection lost).
template <class Until, class Tick>
uint32_t loop(Until until, double wakeEvery, Tick tick)
{
    double next = wakeEvery > 0 ? now() + wakeEvery : 0;
    while (!until()) {
        int ms = 1000;
        if (next > 0) {
            double left = next - now();
            if (left <= 0) {
                tick();
                next += wakeEvery;
                continue;
            }
            ms = (int)(left * 1000) + 1;
        }
        int fd = tolkbus_fd();
        if (fd < 0)
            return TOLKBUS_ERR_BUS;
        pollfd p{fd, POLLIN, 0};
        if (poll(&p, 1, ms) < 0 && errno != EINTR)
            return TOLKBUS_ERR_BUS;
        uint32_t rc = tolkbus_dispatch();
        if (rc == TOLKBUS_LOST)
            return TOLKBUS_ERR_BUS;
        if (rc != 0)
            return rc;
    }
    return 0;
}

// The end of listen and serve: the user and the interface taken down, and
// the exit status from how the loop ended.
int leave(void *user, uint32_t end)
{
    intfVelmor_unregUser_msgMngt(user, INTFVELMOR_SEL_BOTH);
    tolkbus_freeUser(user);
    intfVelmor_delBase();
    tolkbus_disconnect();
    if (end == TOLKBUS_ERR_BUS)
        die(1, "the bus connection was lost");
    return 0;
}

// Why a call failed, in one line.
std::string reason(uint32_t code, const char *service, const char *command, const char *detail,
                   uint32_t timeoutMs)
{
    std::string s = std::string(command) + " to " + service + ": ";
    switch (code) {
    case TOLKBUS_ERR_NO_SERVER:
        return s + "no service " + service + " on the bus serves it";
    case TOLKBUS_ERR_TIMEOUT:
        return s + "no answer within " + std::to_string(timeoutMs ? timeoutMs : 25000) + " ms";
    case TOLKBUS_ERR_VANISHED:
        return s + "the service left the bus before answering";
    case TOLKBUS_ERR_ACCESS:
        return s + "refused by the bus's policy (" + (detail && *detail ? detail : "AccessDenied") +
               ")";
    case TOLKBUS_ERR_NAME:
        return s + "the name " + service + " cannot be carried on the bus";
    case TOLKBUS_ERR_BUS:
        return s + "the bus connection failed";
    case INTFVELMOR_RES_NO_HANDLER:
        return s + "the service answered with code 20: no handler for it";
    case INTFVELMOR_ERR_FRAME:
    case INTFVELMOR_ERR_BODY:
        return s + "the service refused the request's bytes (code " + std::to_string(code) +
               ")";
    case TOLKBUS_ERR_REPLY:
        return s + "the answer is not one byte array";
    default:
        break;
    }
    char buf[96];
    if (code < 0x100)  // the service's own code
        snprintf(buf, sizeof buf, "the service answered with code %u", code);
    else
        snprintf(buf, sizeof buf, "failed with the bus host's code 0x%x", code);
    return s + buf + (code >= 0x100 && detail && *detail ? std::string(" (") + detail + ")" : "");
}

struct CallFailure {
    uint32_t code = 0;
    std::string detail;
} gFailure;

void onFailure(void *, uint32_t, uint32_t code, const char *, const char *detail)
{
    gFailure.code = code;
    gFailure.detail = detail ? detail : "";
    gCall.done = true;
    gCall.ok = false;
}

// ---- the verbs -------------------------------------------------------------------------

int call(const Options &o, const char *service, const char *command, const char *text)
{
    const iv::MsgDesc &m = findMessage(command);
    if (m.ntfy)
        die(2, std::string(m.name) + " is a notification: listen for it, it cannot be called");
    Body body = newBody(m, iv::kReq);
    std::string why;
    if (!bodyFromJson(m, iv::kReq, text ? text : "{}", body.data(), why))
        die(1, why.compare(0, strlen(m.name), m.name) ? std::string(m.name) + " request: " + why
                                                      : why);

    connect(o);
    tolkbus_setFailHook(onFailure, nullptr);
    void *user = newUser("intfvelmor-bus");
    uint32_t rc = kCommandFns[m.index].send(user, service, body.data());
    if (rc)
        die(1, reason(rc, service, m.name, "", o.timeoutMs));
    loop([] { return gCall.done; }, 0, [] {});
    if (!gCall.done)
        die(1, reason(TOLKBUS_ERR_BUS, service, m.name, "", o.timeoutMs));
    if (!gCall.ok)
        die(1, reason(gFailure.code, service, m.name, gFailure.detail.c_str(), o.timeoutMs));
    printf("%s\n", gCall.out.c_str());
    intfVelmor_unregUser_msgMngt(user, INTFVELMOR_SEL_BOTH);
    tolkbus_freeUser(user);
    intfVelmor_delBase();
    tolkbus_disconnect();
    return 0;
}

int listen(const Options &o, const char *from, const std::vector<std::string> &names)
{
    std::vector<const iv::MsgDesc *> picked;
    for (const std::string &n : names) {
        const iv::MsgDesc &m = findMessage(n.c_str());
        if (!m.ntfy)
            die(2, std::string(m.name) + " is a command: call it, there is nothing to listen to");
        picked.push_back(&m);
    }
    if (picked.empty())
        for (uint32_t i = 0; i < INTFVELMOR_NTFY_COUNT; ++i)
            picked.push_back(iv::kNotifications[i]);

    connect(o);
    tolkbus_stopOnSignals();
    void *user = newUser("intfvelmor-bus");
    std::string list;
    for (const iv::MsgDesc *m : picked) {
        if (uint32_t rc = kNotificationFns[m->index].subscribe(user, from))
            die(1, std::string("cannot subscribe to ") + m->name + " (code " +
                       std::to_string(rc) + ")");
        list += std::string(list.empty() ? "" : ", ") + m->name;
    }
    fprintf(stderr, "%s: listening for %s%s%s\n", gProg, list.c_str(), from ? " from " : "",
            from ? from : "");
    return leave(user, loop([] { return false; }, 0, [] {}));
}

struct Publication {
    const iv::MsgDesc *m;
    Body body;
};

int serve(const Options &o, const char *userName, const char *file)
{
    std::string why;
    ServeFile f;
    if (!readServeFile(file, f, why))
        die(1, why);
    std::vector<Publication> pubs;
    for (const ServeFile::Answer &a : f.answers) {
        const iv::MsgDesc &m = findMessage(a.command.c_str());
        if (m.ntfy)
            die(1, std::string(file) + ": " + m.name + " is a notification, not a command");
        Canned &c = gCanned[m.index];
        c.present = true;
        c.code = a.code;
        c.body = newBody(m, iv::kRes);
        if (!a.code && !bodyFromJson(m, iv::kRes, a.json, c.body.data(), why))
            die(1, std::string(file) + ": " + m.name + " response: " + why);
    }
    for (const ServeFile::Notification &n : f.notifications) {
        const iv::MsgDesc &m = findMessage(n.message.c_str());
        if (!m.ntfy)
            die(1, std::string(file) + ": " + m.name + " is a command, not a notification");
        Publication p{&m, newBody(m, iv::kReq)};
        if (!bodyFromJson(m, iv::kReq, n.json, p.body.data(), why))
            die(1, std::string(file) + ": " + m.name + ": " + why);
        pubs.push_back(std::move(p));
    }

    connect(o);
    tolkbus_stopOnSignals();
    void *user = newUser(userName);
    size_t served = 0;
    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT; ++i) {
        if (!gCanned[i].present)
            continue;
        const iv::MsgDesc &m = *iv::kCommands[i];
        if (uint32_t src = kCommandFns[i].serve(user))
            die(1, std::string("cannot serve ") + m.name + " as " + userName + ": " +
                       (src == TOLKBUS_ERR_NAME        ? "the name cannot be carried on the bus"
                        : src == TOLKBUS_ERR_NAME_TAKEN ? "another process owns that name"
                        : src == TOLKBUS_ERR_ACCESS     ? "the bus's policy refuses that name"
                                                        : "code " + std::to_string(src)));
        served++;
    }
    char wellKnown[300] = "";
    tolkbus_wellKnownName(userName, wellKnown, sizeof wellKnown);
    fprintf(stderr, "%s: serving %zu commands as %s (%s)\n", gProg, served, userName, wellKnown);
    auto publishAll = [&pubs, user] {
        for (const Publication &p : pubs)
            kNotificationFns[p.m->index].publish(user, p.body.data());
    };
    publishAll();
    return leave(user, loop([] { return false; }, f.interval, publishAll));
}

[[noreturn]] void usage(const std::string &why)
{
    fprintf(stderr, "%s: %s (%s help says more)\n", gProg, why.c_str(), gProg);
    exit(2);
}

}  // namespace

int main(int argc, char **argv)
{
    Options o;
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        std::string a = argv[i];
        if (a == "-h" || a == "--help" || a == "help") {
            fputs(kHelp, stdout);
            return 0;
        } else if (a == "--system") {
            o.system = true;
        } else if (a == "--bus" && i + 1 < argc) {
            o.address = argv[++i];
        } else if (a == "--timeout" && i + 1 < argc) {
            char *end = nullptr;
            unsigned long ms = strtoul(argv[++i], &end, 10);
            if (!*argv[i] || *end || ms == 0 || ms > 0x7fffffffu)
                usage(std::string("--timeout takes milliseconds, not '") + argv[i] + "'");
            o.timeoutMs = (uint32_t)ms;
        } else {
            usage("unknown option " + a);
        }
    }
    if (o.system && o.address)
        usage("--bus and --system exclude each other");
    if (i >= argc)
        usage("no verb (call, listen or serve)");
    std::string verb = argv[i++];
    int left = argc - i;
    if (verb == "help") {
        fputs(kHelp, stdout);
        return 0;
    }
    if (verb == "call") {
        if (left < 2 || left > 3)
            usage("call takes SERVICE COMMAND [JSON]");
        return call(o, argv[i], argv[i + 1], left == 3 ? argv[i + 2] : nullptr);
    }
    if (verb == "listen") {
        const char *from = nullptr;
        std::vector<std::string> names;
        for (; i < argc; ++i) {
            if (!strcmp(argv[i], "--from") && i + 1 < argc)
                from = argv[++i];
            else if (argv[i][0] == '-')
                usage(std::string("listen: unknown option ") + argv[i]);
            else
                names.push_back(argv[i]);
        }
        return listen(o, from, names);
    }
    if (verb == "serve") {
        if (left != 2)
            usage("serve takes USER FILE");
        return serve(o, argv[i], argv[i + 1]);
    }
    usage("unknown verb " + verb + " (call, listen or serve)");
}
