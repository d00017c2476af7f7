// Bus host: the message core and event loop of tolkHost.h on one libdbus-1
// connection.
//
// A serving process answers method calls on TOLKBUS_PATH; a client sends
// them and waits for the answer through a pending call; notifications are
// signals that subscribers pick up through match rules. Bodies cross as
// the "ay" bytes of the entries' serializeBody, and come back to life
// through the library's bounded reader on the other side. Every body given
// to the host is freed exactly once through its entry's freeBody.
//
// The loop: one epoll descriptor holds libdbus's watches, a timerfd for
// libdbus's timeouts and the call deadlines, and a pipe that wakes the loop
// for a stop request or for messages libdbus queued outside a dispatch.

#include "tolkBusHost.h"

#include "host_core.h"
#include "intfVelmor.h"
#include "tolkHost.h"

#include <dbus/dbus.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

using hostcore::Entry;
using hostcore::Method;
using hostcore::RecvResFn;
using hostcore::User;
using hostcore::eraseIf;

static_assert(TOLKBUS_ERR_NO_SERVER == hostcore::kErrNoServer &&
                  TOLKBUS_ERR_MNGT == hostcore::kErrMngt && TOLKBUS_ERR_USER == hostcore::kErrUser &&
                  TOLKBUS_ERR_CTX == hostcore::kErrCtx && TOLKBUS_ERR_STATE == hostcore::kErrState &&
                  TOLKBUS_ERR_ARG == hostcore::kErrArg,
              "the core's codes are this host's");

constexpr uint32_t kDefaultTimeout = 25000;
constexpr size_t kMaxBusName = 255;
const char kPrefix[] = TOLKBUS_PREFIX;
const char kNoMethodError[] = TOLKBUS_PREFIX ".Error.NoMethod";

// Receiving side of a request or notification: the method call it answers.
struct Ctx : hostcore::Ctx {
    DBusMessage *call = nullptr;  // the method call to answer, or null
    ~Ctx() override
    {
        if (call)
            dbus_message_unref(call);
    }
};

// Sending side of a request that waits for its answer.
struct Pending {
    tolkCore_msgCtx head;
    Entry entry;
    uint16_t mngt;
    uint32_t index;
    RecvResFn recvRes;
    DBusPendingCall *call;
    uint64_t deadline;  // monotonic milliseconds
    std::string client, server;
    bool inRecvRes;
};

struct Timeout {
    DBusTimeout *t;
    uint64_t deadline;
};

struct State : hostcore::Core {
    // connection and loop
    DBusConnection *conn = nullptr;
    int epfd = -1;
    int timerfd = -1;
    std::vector<DBusWatch *> watches;
    std::vector<Timeout> timeouts;
    bool lost = false;      // the connection went away under us
    bool stopped = false;   // event 0 delivered for a stop or a loss
    uint32_t timeoutMs = kDefaultTimeout;
    // calls and names
    std::vector<Pending *> pending;
    std::vector<const User *> named;  // users that own their well-known name
    std::map<std::string, std::string> owners;  // well-known name -> unique name
    tolkbus_traceFn trace = nullptr;
    void *traceArg = nullptr;
    tolkbus_failFn fail = nullptr;
    void *failArg = nullptr;
    tolkbus_statsInfo stats = {};  // the bus's own counters; the core keeps the others
};

State g;

// Written by tolkbus_stop, possibly from a signal handler or another thread.
volatile sig_atomic_t gStopAsked = 0;
int gWake[2] = {-1, -1};

uint64_t nowMs()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return uint64_t(ts.tv_sec) * 1000u + uint64_t(ts.tv_nsec) / 1000000u;
}

void wake()
{
    if (gWake[1] >= 0) {
        char c = 'w';
        ssize_t n = write(gWake[1], &c, 1);
        (void)n;  // a full pipe already wakes the loop
    }
}

/* ---- names ---------------------------------------------------------------- */

bool plainNameChar(unsigned char c, bool first)
{
    bool alpha = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    bool digit = c >= '0' && c <= '9';
    return alpha || c == '-' || (digit && !first);
}

bool mapUserName(const char *userName, std::string &out)
{
    out.clear();
    if (!userName || !*userName)
        return false;
    static const char hexDigits[] = "0123456789ABCDEF";
    for (const char *p = userName; *p; ++p) {
        auto c = static_cast<unsigned char>(*p);
        if (plainNameChar(c, p == userName)) {
            out += static_cast<char>(c);
        } else {
            out += '_';
            out += hexDigits[c >> 4];
            out += hexDigits[c & 15];
        }
    }
    return sizeof kPrefix + out.size() <= kMaxBusName;  // prefix, '.', element
}

bool wellKnown(const char *userName, std::string &out)
{
    std::string element;
    if (!mapUserName(userName, element))
        return false;
    out = std::string(kPrefix) + "." + element;
    return true;
}

// Members: entry names, with '_' in front of one that begins with a digit.
bool memberOf(const char *entryName, std::string &out)
{
    out.clear();
    if (!entryName || !*entryName || *entryName == '_')
        return false;
    for (const char *p = entryName; *p; ++p) {
        char c = *p;
        bool ok = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                  c == '_';
        if (!ok)
            return false;
    }
    if (*entryName >= '0' && *entryName <= '9')
        out = "_";
    out += entryName;
    return out.size() <= kMaxBusName;
}

std::string entryOfMember(const char *member)
{
    if (member && member[0] == '_' && member[1] >= '0' && member[1] <= '9')
        return member + 1;
    return member ? member : "";
}

uint32_t copyOut(const std::string &s, char *out, size_t size)
{
    if (!out || size <= s.size())
        return TOLKBUS_ERR_NAME;
    memcpy(out, s.c_str(), s.size() + 1);
    return 0;
}

void logName(const char *what, const char *name)
{
    syslog(LOG_ERR, "tolkbus: %s \"%s\" cannot be carried by a bus name: refused (code 0x%X)",
           what, name ? name : "(null)", TOLKBUS_ERR_NAME);
}

/* ---- bookkeeping on top of the core ---------------------------------------- */

// This process's management and entry for an interface and member name.
bool routeOf(const char *intf, const char *member, uint16_t *num, uint32_t *index)
{
    size_t n = sizeof kPrefix - 1;
    if (!intf || strncmp(intf, kPrefix, n) != 0 || intf[n] != '.')
        return false;
    const char *block = intf + n + 1;
    if (!member)
        return false;
    // As entryOfMember, without building a string on every message.
    const char *entry = member[0] == '_' && member[1] >= '0' && member[1] <= '9' ? member + 1
                                                                                 : member;
    for (auto &m : g.mngts) {
        if (!m.second.rec->name || strcmp(m.second.rec->name, block) != 0)
            continue;
        tolkCore_mngtEntry *es = tolkCore_mngtEntries(m.second.rec);
        for (uint32_t i = 0; i < m.second.count; ++i)
            if (es[i].name && strcmp(entry, es[i].name) == 0) {
                *num = m.first;
                *index = i;
                return true;
            }
    }
    return false;
}

// A freeBody for a body sent with a management number the host does not
// know: the same entry of the one interface whose blocks the host was shown.
intfVelmor_freeBodyFn orphanFree(bool ntfy, const char *intf, uint32_t index)
{
    const hostcore::Blocks *b = nullptr;
    if (intf)
        b = g.blocksOf(intf);
    else if (g.blocks.size() == 1)
        b = &g.blocks.begin()->second;
    return b ? hostcore::Core::blockFree(*b, ntfy, index) : nullptr;
}

// The D-Bus interface of a management: the prefix and the block's name.
std::string interfaceOf(const hostcore::Mngt *m)
{
    return std::string(kPrefix) + "." + (m->rec->name ? m->rec->name : "");
}

// The match rule that brings a subscription its signals: the block's
// interface and the entry's member, from the named publisher only when
// there is one.
std::string matchRule(const char *blockName, const std::string &member,
                      const std::string &publisher)
{
    std::string rule = std::string("type='signal',path='" TOLKBUS_PATH "',interface='") +
                       kPrefix + "." + blockName + "',member='" + member + "'";
    if (!publisher.empty())
        rule += ",sender='" + publisher + "'";
    return rule;
}

// The rule a subscription was installed with (its names were checked then).
std::string ruleOf(const Method &s)
{
    std::string member;
    memberOf(s.entries[s.index].name, member);
    return matchRule(s.blockName, member, s.publisher);
}

// The "ay" bytes of a message into a new body; an empty array still needs
// an address to read from.
uint32_t unserialize(const Entry &e, int32_t type, const uint8_t *buf, uint32_t len, void **out)
{
    static const uint8_t empty[1] = {0};
    return g.unserialize(e, type, len ? buf : empty, len, out);
}

void emit(tolkbus_traceKind kind, const Entry &e, uint16_t mngt, uint32_t index, int32_t type,
          const uint8_t *bytes, uint32_t len, uint32_t code, const std::string &from,
          const std::string &to, bool outgoing)
{
    if (!g.trace)
        return;
    auto ev = hostcore::traceEvent<tolkbus_traceEvent>(kind, e, mngt, index, type, bytes, len,
                                                       code, from, to);
    ev.outgoing = outgoing ? 1 : 0;
    g.trace(g.traceArg, &ev);
}

Ctx *liveCtx(const void *p) { return static_cast<Ctx *>(g.liveCtx(p)); }

Pending *livePending(const void *p)
{
    for (Pending *c : g.pending)
        if (&c->head == p)
            return c;
    return nullptr;
}

/* ---- bus primitives ------------------------------------------------------- */

uint32_t codeOfDBusError(const char *name)
{
    if (!strcmp(name, DBUS_ERROR_ACCESS_DENIED))
        return TOLKBUS_ERR_ACCESS;
    if (!strcmp(name, DBUS_ERROR_NO_MEMORY) || !strcmp(name, DBUS_ERROR_DISCONNECTED))
        return TOLKBUS_ERR_BUS;
    return TOLKBUS_ERR_REMOTE;
}

// The user's well-known name, requested from the daemon the first time.
bool ownsName(const User *u)
{
    for (const User *n : g.named)
        if (n == u)
            return true;
    return false;
}

uint32_t ownName(User *u)
{
    if (ownsName(u))
        return 0;
    std::string name;
    if (!wellKnown(u->name.c_str(), name)) {
        logName("user name", u->name.c_str());
        return TOLKBUS_ERR_NAME;
    }
    if (!g.conn)
        return TOLKBUS_ERR_BUS;
    DBusError err;
    dbus_error_init(&err);
    int rc = dbus_bus_request_name(g.conn, name.c_str(), DBUS_NAME_FLAG_DO_NOT_QUEUE, &err);
    if (rc < 0) {
        uint32_t code = codeOfDBusError(err.name ? err.name : "");
        syslog(LOG_ERR, "tolkbus: requesting %s: %s (code 0x%X)", name.c_str(),
               err.message ? err.message : "", code);
        dbus_error_free(&err);
        return code;
    }
    if (rc != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER && rc != DBUS_REQUEST_NAME_REPLY_ALREADY_OWNER) {
        syslog(LOG_ERR, "tolkbus: %s is owned by another connection (code 0x%X)", name.c_str(),
               TOLKBUS_ERR_NAME_TAKEN);
        return TOLKBUS_ERR_NAME_TAKEN;
    }
    g.named.push_back(u);
    return 0;
}

void releaseName(User *u)
{
    std::string name;
    if (ownsName(u) && g.conn && wellKnown(u->name.c_str(), name))
        dbus_bus_release_name(g.conn, name.c_str(), nullptr);
    eraseIf(g.named, [u](const User *n) { return n == u; });
}

bool appendBytes(DBusMessage *msg, const uint8_t *buf, uint32_t len)
{
    DBusMessageIter it, arr;
    dbus_message_iter_init_append(msg, &it);
    if (!dbus_message_iter_open_container(&it, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE_AS_STRING, &arr))
        return false;
    if (!dbus_message_iter_append_fixed_array(&arr, DBUS_TYPE_BYTE, &buf, static_cast<int>(len))) {
        dbus_message_iter_abandon_container(&it, &arr);
        return false;
    }
    return dbus_message_iter_close_container(&it, &arr);
}

// The bytes of a message whose signature is exactly "ay".
bool bytesOf(DBusMessage *msg, const uint8_t **buf, uint32_t *len)
{
    if (!dbus_message_has_signature(msg, "ay"))
        return false;
    DBusMessageIter it, arr;
    if (!dbus_message_iter_init(msg, &it))
        return false;
    dbus_message_iter_recurse(&it, &arr);
    int n = 0;
    const uint8_t *p = nullptr;
    dbus_message_iter_get_fixed_array(&arr, &p, &n);
    *buf = p;
    *len = static_cast<uint32_t>(n);
    return true;
}

void sendError(DBusMessage *call, const char *name, const char *text)
{
    if (!g.conn || dbus_message_get_no_reply(call))
        return;
    DBusMessage *e = dbus_message_new_error(call, name, text);
    if (e) {
        dbus_connection_send(g.conn, e, nullptr);
        dbus_message_unref(e);
    }
}

void sendCode(DBusMessage *call, uint32_t code)
{
    if (!g.conn || dbus_message_get_no_reply(call))
        return;
    char text[48];
    snprintf(text, sizeof text, "response code %u", static_cast<unsigned>(code));
    DBusMessage *e = dbus_message_new_error(call, TOLKBUS_ERROR_CODE, nullptr);
    if (!e)
        return;
    const char *p = text;
    dbus_message_append_args(e, DBUS_TYPE_STRING, &p, DBUS_TYPE_UINT32, &code,
                             DBUS_TYPE_INVALID);
    dbus_connection_send(g.conn, e, nullptr);
    dbus_message_unref(e);
}

void armTimer();

/* ---- client side: answers ---------------------------------------------------- */

void dropPending(Pending *p)
{
    eraseIf(g.pending, [p](const Pending *x) { return x == p; });
    if (p->call) {
        dbus_pending_call_cancel(p->call);
        dbus_pending_call_unref(p->call);
    }
    delete p;
}

void failPending(Pending *p, uint32_t code, const char *detail)
{
    g.stats.failures++;
    emit(TOLKBUS_TRACE_CODE, p->entry, p->mngt, p->index, -1, nullptr, 0, code, p->server,
         p->client, false);
    tolkbus_failFn fn = g.fail;
    void *arg = g.failArg;
    uint32_t ref = p->head.ref;
    std::string entry = p->entry.name ? p->entry.name : "";
    dropPending(p);
    if (fn)
        fn(arg, ref, code, entry.c_str(), detail ? detail : "");
}

uint32_t codeOfErrorReply(DBusMessage *reply, const char *name)
{
    if (!strcmp(name, TOLKBUS_ERROR_CODE)) {
        DBusError err;
        dbus_error_init(&err);
        const char *text = nullptr;
        uint32_t code = 0;
        if (dbus_message_get_args(reply, &err, DBUS_TYPE_STRING, &text, DBUS_TYPE_UINT32, &code,
                                  DBUS_TYPE_INVALID) &&
            code != 0)
            return code;
        dbus_error_free(&err);
        return TOLKBUS_ERR_REPLY;
    }
    if (!strcmp(name, DBUS_ERROR_NO_REPLY))
        return (g.conn && dbus_connection_get_is_connected(g.conn)) ? TOLKBUS_ERR_VANISHED
                                                                     : TOLKBUS_ERR_BUS;
    if (!strcmp(name, DBUS_ERROR_SERVICE_UNKNOWN) || !strcmp(name, DBUS_ERROR_NAME_HAS_NO_OWNER) ||
        !strcmp(name, DBUS_ERROR_UNKNOWN_METHOD) || !strcmp(name, DBUS_ERROR_UNKNOWN_OBJECT) ||
        !strcmp(name, DBUS_ERROR_UNKNOWN_INTERFACE) || !strcmp(name, kNoMethodError))
        return TOLKBUS_ERR_NO_SERVER;
    if (!strcmp(name, DBUS_ERROR_TIMEOUT) || !strcmp(name, DBUS_ERROR_TIMED_OUT))
        return TOLKBUS_ERR_TIMEOUT;
    return codeOfDBusError(name);
}

void onReply(DBusPendingCall *call, void *data)
{
    Pending *p = static_cast<Pending *>(data);
    DBusMessage *reply = dbus_pending_call_steal_reply(call);
    dbus_pending_call_unref(call);
    p->call = nullptr;
    if (!reply) {
        failPending(p, TOLKBUS_ERR_BUS, "");
        return;
    }
    if (dbus_message_get_type(reply) == DBUS_MESSAGE_TYPE_ERROR) {
        const char *name = dbus_message_get_error_name(reply);
        std::string detail = name ? name : "";
        uint32_t code = codeOfErrorReply(reply, detail.c_str());
        dbus_message_unref(reply);
        failPending(p, code, detail.c_str());
        return;
    }
    const uint8_t *buf = nullptr;
    uint32_t len = 0;
    if (!bytesOf(reply, &buf, &len)) {
        std::string sig = dbus_message_get_signature(reply);
        dbus_message_unref(reply);
        failPending(p, TOLKBUS_ERR_REPLY, sig.c_str());
        return;
    }
    emit(TOLKBUS_TRACE_RESPONSE, p->entry, p->mngt, p->index, INTFVELMOR_BODY_RES, buf, len, 0,
         p->server, p->client, false);
    void *res = nullptr;
    uint32_t rc = unserialize(p->entry, INTFVELMOR_BODY_RES, buf, len, &res);
    dbus_message_unref(reply);
    if (rc) {
        g.stats.refused++;
        failPending(p, rc, "refused");
        return;
    }
    p->inRecvRes = true;
    g.counts.deliveries++;
    p->recvRes(0, &p->head, res);
    p->inRecvRes = false;
    g.releaseIfHeld(res);
    dropPending(p);
}

// Calls whose deadline passed, failed with TOLKBUS_ERR_TIMEOUT.
void expireCalls()
{
    uint64_t now = nowMs();
    std::vector<Pending *> late;
    for (Pending *p : g.pending)
        if (p->deadline <= now && !p->inRecvRes)
            late.push_back(p);
    for (Pending *p : late)
        if (livePending(&p->head))
            failPending(p, TOLKBUS_ERR_TIMEOUT, "");
}

/* ---- server side: calls and signals --------------------------------------------- */

const Method *serving(const char *dest, uint16_t num, uint32_t index)
{
    const Method *any = nullptr;
    for (const Method &m : g.methods) {
        if (m.index != index || hostcore::mngtOf(m.blockMngt) != num)
            continue;
        std::string name;
        if (dest && wellKnown(m.user->name.c_str(), name) && name == dest)
            return &m;
        if (!any)
            any = &m;
    }
    // Through the unique name, any user serving the entry answers.
    if (dest && dest[0] == ':')
        return any;
    return nullptr;
}

Ctx *newCtx(const Entry &e, uint16_t num, uint32_t index, void *body, DBusMessage *call,
            const std::string &from, const std::string &to)
{
    Ctx *c = new Ctx();
    c->call = call ? dbus_message_ref(call) : nullptr;
    g.openCtx(c, e, num, index, call && !dbus_message_get_no_reply(call), body, from, to);
    return c;
}

DBusHandlerResult onCall(DBusMessage *msg)
{
    uint16_t num = 0;
    uint32_t index = 0;
    const char *member = dbus_message_get_member(msg);
    if (!routeOf(dbus_message_get_interface(msg), member, &num, &index)) {
        sendError(msg, DBUS_ERROR_UNKNOWN_METHOD, "no such command here");
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    const uint8_t *buf = nullptr;
    uint32_t len = 0;
    if (!bytesOf(msg, &buf, &len)) {
        g.stats.badSignatures++;
        std::string text = std::string("expected signature \"ay\", got \"") +
                           dbus_message_get_signature(msg) + "\"";
        sendError(msg, DBUS_ERROR_INVALID_ARGS, text.c_str());
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    const Method *m = serving(dbus_message_get_destination(msg), num, index);
    if (!m) {
        sendError(msg, kNoMethodError, "nobody serves this command under that name");
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    Method method = *m;  // handlers may change the table
    Entry e{};
    g.entryOf(num, index, &e);
    const char *sender = dbus_message_get_sender(msg);
    std::string from = sender ? sender : "";
    emit(TOLKBUS_TRACE_REQUEST, e, num, index, INTFVELMOR_BODY_REQ, buf, len, 0, from,
         method.user->name, false);
    void *req = nullptr;
    uint32_t rc = unserialize(e, INTFVELMOR_BODY_REQ, buf, len, &req);
    if (rc) {
        g.stats.refused++;
        sendCode(msg, rc);
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    Ctx *c = newCtx(e, num, index, req, msg, from, method.user->name);
    g.deliver(c, method.entries[index].recv, method.handler, method.ref);
    return DBUS_HANDLER_RESULT_HANDLED;
}

void onSignal(DBusMessage *msg)
{
    uint16_t num = 0;
    uint32_t index = 0;
    if (!routeOf(dbus_message_get_interface(msg), dbus_message_get_member(msg), &num, &index))
        return;
    const uint8_t *buf = nullptr;
    uint32_t len = 0;
    if (!bytesOf(msg, &buf, &len)) {
        g.stats.badSignatures++;
        return;
    }
    const char *sender = dbus_message_get_sender(msg);
    std::string from = sender ? sender : "";
    Entry e{};
    g.entryOf(num, index, &e);
    std::vector<Method> targets;
    for (const Method &s : g.subs) {
        if (s.index != index || hostcore::mngtOf(s.blockMngt) != num)
            continue;
        if (!s.publisher.empty()) {
            auto it = g.owners.find(s.publisher);
            if (it == g.owners.end() || it->second != from)
                continue;
        }
        targets.push_back(s);
    }
    for (const Method &t : targets) {
        emit(TOLKBUS_TRACE_NOTIFICATION, e, num, index, INTFVELMOR_BODY_REQ, buf, len, 0, from,
             t.user->name, false);
        void *nb = nullptr;
        if (unserialize(e, INTFVELMOR_BODY_REQ, buf, len, &nb) != 0) {
            g.stats.refused++;
            continue;
        }
        Ctx *c = newCtx(e, num, index, nb, nullptr, from, t.user->name);
        g.deliver(c, t.entries[index].recv, t.handler, t.ref);
    }
}

bool isNtfyMngt(const char *name)
{
    for (auto &b : g.blocks)
        if (b.second.ntfy->name && !strcmp(b.second.ntfy->name, name))
            return true;
    size_t n = strlen(name);
    return n >= 4 && !strcmp(name + n - 4, "Ntfy");
}

std::string introspection()
{
    std::string x = DBUS_INTROSPECT_1_0_XML_DOCTYPE_DECL_NODE "<node>\n"
                    " <interface name=\"" DBUS_INTERFACE_INTROSPECTABLE "\">\n"
                    "  <method name=\"Introspect\"><arg name=\"xml\" type=\"s\" direction=\"out\"/>"
                    "</method>\n </interface>\n";
    for (auto &m : g.mngts) {
        const char *name = m.second.rec->name;
        if (!name)
            continue;
        bool ntfy = isNtfyMngt(name);
        x += std::string(" <interface name=\"") + kPrefix + "." + name + "\">\n";
        tolkCore_mngtEntry *es = tolkCore_mngtEntries(m.second.rec);
        for (uint32_t i = 0; i < m.second.count; ++i) {
            std::string member;
            if (!memberOf(es[i].name, member))
                continue;
            if (ntfy)
                x += "  <signal name=\"" + member + "\"><arg name=\"body\" type=\"ay\"/></signal>\n";
            else
                x += "  <method name=\"" + member +
                     "\"><arg name=\"request\" type=\"ay\" direction=\"in\"/>"
                     "<arg name=\"response\" type=\"ay\" direction=\"out\"/></method>\n";
        }
        x += " </interface>\n";
    }
    return x + "</node>\n";
}

void onLost();

DBusHandlerResult filter(DBusConnection *, DBusMessage *msg, void *)
{
    int type = dbus_message_get_type(msg);
    if (type == DBUS_MESSAGE_TYPE_SIGNAL &&
        dbus_message_is_signal(msg, DBUS_INTERFACE_LOCAL, "Disconnected")) {
        g.lost = true;
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    if (type == DBUS_MESSAGE_TYPE_SIGNAL &&
        dbus_message_is_signal(msg, DBUS_INTERFACE_DBUS, "NameOwnerChanged")) {
        const char *name = nullptr, *old = nullptr, *now = nullptr;
        if (dbus_message_get_args(msg, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &old,
                                  DBUS_TYPE_STRING, &now, DBUS_TYPE_INVALID) &&
            g.owners.count(name))
            g.owners[name] = now;
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    const char *path = dbus_message_get_path(msg);
    if (!path || strcmp(path, TOLKBUS_PATH) != 0)
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    if (type == DBUS_MESSAGE_TYPE_METHOD_CALL) {
        if (dbus_message_is_method_call(msg, DBUS_INTERFACE_INTROSPECTABLE, "Introspect")) {
            DBusMessage *r = dbus_message_new_method_return(msg);
            std::string xml = introspection();
            const char *p = xml.c_str();
            if (r && dbus_message_append_args(r, DBUS_TYPE_STRING, &p, DBUS_TYPE_INVALID))
                dbus_connection_send(g.conn, r, nullptr);
            if (r)
                dbus_message_unref(r);
            return DBUS_HANDLER_RESULT_HANDLED;
        }
        return onCall(msg);
    }
    if (type == DBUS_MESSAGE_TYPE_SIGNAL)
        onSignal(msg);
    return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
}

/* ---- loop plumbing -------------------------------------------------------------- */

void updateFd(int fd)
{
    if (g.epfd < 0)
        return;
    uint32_t events = 0;
    for (DBusWatch *w : g.watches) {
        if (dbus_watch_get_unix_fd(w) != fd || !dbus_watch_get_enabled(w))
            continue;
        unsigned f = dbus_watch_get_flags(w);
        if (f & DBUS_WATCH_READABLE)
            events |= EPOLLIN;
        if (f & DBUS_WATCH_WRITABLE)
            events |= EPOLLOUT;
    }
    epoll_event ev{};
    ev.events = events;
    ev.data.fd = fd;
    if (epoll_ctl(g.epfd, EPOLL_CTL_MOD, fd, &ev) != 0 && errno == ENOENT)
        epoll_ctl(g.epfd, EPOLL_CTL_ADD, fd, &ev);
}

dbus_bool_t addWatch(DBusWatch *w, void *)
{
    g.watches.push_back(w);
    updateFd(dbus_watch_get_unix_fd(w));
    return TRUE;
}

void removeWatch(DBusWatch *w, void *)
{
    int fd = dbus_watch_get_unix_fd(w);
    eraseIf(g.watches, [w](DBusWatch *x) { return x == w; });
    bool used = false;
    for (DBusWatch *x : g.watches)
        used = used || dbus_watch_get_unix_fd(x) == fd;
    if (used)
        updateFd(fd);
    else if (g.epfd >= 0)
        epoll_ctl(g.epfd, EPOLL_CTL_DEL, fd, nullptr);
}

void toggleWatch(DBusWatch *w, void *) { updateFd(dbus_watch_get_unix_fd(w)); }

dbus_bool_t addTimeout(DBusTimeout *t, void *)
{
    g.timeouts.push_back(
        Timeout{t, nowMs() + static_cast<uint64_t>(dbus_timeout_get_interval(t))});
    armTimer();
    return TRUE;
}

void removeTimeout(DBusTimeout *t, void *)
{
    eraseIf(g.timeouts, [t](const Timeout &x) { return x.t == t; });
}

void toggleTimeout(DBusTimeout *t, void *)
{
    for (Timeout &x : g.timeouts)
        if (x.t == t)
            x.deadline = nowMs() + static_cast<uint64_t>(dbus_timeout_get_interval(t));
    armTimer();
}

void armTimer()
{
    if (g.timerfd < 0)
        return;
    uint64_t next = UINT64_MAX;
    for (const Timeout &t : g.timeouts)
        if (dbus_timeout_get_enabled(t.t) && t.deadline < next)
            next = t.deadline;
    for (const Pending *p : g.pending)
        if (p->deadline < next)
            next = p->deadline;
    itimerspec its{};
    if (next != UINT64_MAX) {
        next = next ? next : 1;  // zero would disarm
        its.it_value.tv_sec = static_cast<time_t>(next / 1000);
        its.it_value.tv_nsec = static_cast<long>((next % 1000) * 1000000);
    }
    timerfd_settime(g.timerfd, TFD_TIMER_ABSTIME, &its, nullptr);
}

void runTimeouts()
{
    uint64_t now = nowMs();
    std::vector<DBusTimeout *> due;
    for (Timeout &t : g.timeouts)
        if (dbus_timeout_get_enabled(t.t) && t.deadline <= now) {
            due.push_back(t.t);
            t.deadline = now + static_cast<uint64_t>(dbus_timeout_get_interval(t.t));
        }
    for (DBusTimeout *t : due)
        for (const Timeout &x : g.timeouts)
            if (x.t == t) {
                dbus_timeout_handle(t);
                break;
            }
}

void onDispatchStatus(DBusConnection *, DBusDispatchStatus s, void *)
{
    if (s == DBUS_DISPATCH_DATA_REMAINS)
        wake();
}

void onWakeup(void *) { wake(); }

void handleFd(int fd, uint32_t events)
{
    unsigned flags = 0;
    if (events & EPOLLIN)
        flags |= DBUS_WATCH_READABLE;
    if (events & EPOLLOUT)
        flags |= DBUS_WATCH_WRITABLE;
    if (events & EPOLLHUP)
        flags |= DBUS_WATCH_HANGUP;
    if (events & EPOLLERR)
        flags |= DBUS_WATCH_ERROR;
    std::vector<DBusWatch *> ws;
    for (DBusWatch *w : g.watches)
        if (dbus_watch_get_unix_fd(w) == fd && dbus_watch_get_enabled(w))
            ws.push_back(w);
    for (DBusWatch *w : ws) {
        // A watch handled earlier may have removed this one.
        bool still = false;
        for (DBusWatch *x : g.watches)
            still = still || x == w;
        if (!still)
            continue;
        unsigned want = dbus_watch_get_flags(w) | DBUS_WATCH_HANGUP | DBUS_WATCH_ERROR;
        if (flags & want)
            dbus_watch_handle(w, flags & want);
    }
}

// Ends every call and context of the connection; nothing reaches the library
// as a body afterwards.
void dropConnectionState()
{
    while (!g.pending.empty())
        failPending(g.pending.back(), TOLKBUS_ERR_BUS, DBUS_ERROR_DISCONNECTED);
    g.endExchanges();
}

void closeConnection()
{
    dropConnectionState();
    if (g.conn) {
        for (User *u : g.users)
            releaseName(u);
        if (dbus_connection_get_is_connected(g.conn))
            dbus_connection_flush(g.conn);
        dbus_connection_remove_filter(g.conn, filter, nullptr);
        dbus_connection_close(g.conn);
        dbus_connection_unref(g.conn);
        g.conn = nullptr;
    }
    g.watches.clear();
    g.timeouts.clear();
    if (g.epfd >= 0)
        close(g.epfd);
    if (g.timerfd >= 0)
        close(g.timerfd);
    g.epfd = g.timerfd = -1;
    g.owners.clear();
    g.named.clear();
}

void onLost()
{
    syslog(LOG_ERR, "tolkbus: the bus connection was lost");
    dropConnectionState();
    if (!g.stopped) {
        g.stopped = true;
        tolkbus_deliverEvent(0);
    }
}

uint32_t setUp(DBusConnection *conn)
{
    if (!conn)
        return TOLKBUS_ERR_BUS;
    if (gWake[0] < 0 && pipe2(gWake, O_NONBLOCK | O_CLOEXEC) != 0) {
        dbus_connection_close(conn);
        dbus_connection_unref(conn);
        return TOLKBUS_ERR_BUS;
    }
    g.conn = conn;
    g.lost = false;
    g.stopped = false;  // a stop asked before connecting still holds
    g.epfd = epoll_create1(EPOLL_CLOEXEC);
    g.timerfd = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    epoll_event ev{};
    ev.events = EPOLLIN;
    ev.data.fd = g.timerfd;
    epoll_ctl(g.epfd, EPOLL_CTL_ADD, g.timerfd, &ev);
    ev.data.fd = gWake[0];
    epoll_ctl(g.epfd, EPOLL_CTL_ADD, gWake[0], &ev);
    dbus_connection_set_exit_on_disconnect(conn, FALSE);
    if (!dbus_connection_add_filter(conn, filter, nullptr, nullptr) ||
        !dbus_connection_set_watch_functions(conn, addWatch, removeWatch, toggleWatch, nullptr,
                                             nullptr) ||
        !dbus_connection_set_timeout_functions(conn, addTimeout, removeTimeout, toggleTimeout,
                                               nullptr, nullptr)) {
        closeConnection();
        return TOLKBUS_ERR_BUS;
    }
    dbus_connection_set_dispatch_status_function(conn, onDispatchStatus, nullptr, nullptr);
    dbus_connection_set_wakeup_main_function(conn, onWakeup, nullptr, nullptr);
    wake();  // whatever arrived during the handshake
    return 0;
}

// The current owner of a well-known name, asked once; NameOwnerChanged keeps
// it up to date afterwards.
void watchOwner(const std::string &name)
{
    if (g.owners.count(name) || !g.conn)
        return;
    std::string rule = "type='signal',sender='" DBUS_SERVICE_DBUS "',interface='" DBUS_INTERFACE_DBUS
                       "',member='NameOwnerChanged',arg0='" + name + "'";
    dbus_bus_add_match(g.conn, rule.c_str(), nullptr);
    g.owners[name] = "";
    DBusMessage *q = dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                  DBUS_INTERFACE_DBUS, "GetNameOwner");
    const char *p = name.c_str();
    if (!q || !dbus_message_append_args(q, DBUS_TYPE_STRING, &p, DBUS_TYPE_INVALID)) {
        if (q)
            dbus_message_unref(q);
        return;
    }
    DBusMessage *r = dbus_connection_send_with_reply_and_block(g.conn, q, 5000, nullptr);
    dbus_message_unref(q);
    const char *owner = nullptr;
    if (r && dbus_message_get_args(r, nullptr, DBUS_TYPE_STRING, &owner, DBUS_TYPE_INVALID))
        g.owners[name] = owner;
    if (r)
        dbus_message_unref(r);
}

}  // namespace

extern "C" {

/* ---- connection ------------------------------------------------------------------ */

uint32_t tolkbus_connect(const char *address)
{
    if (g.conn)
        closeConnection();
    DBusError err;
    dbus_error_init(&err);
    DBusConnection *c = address ? dbus_connection_open_private(address, &err)
                                : dbus_bus_get_private(DBUS_BUS_SESSION, &err);
    if (c && address && !dbus_bus_register(c, &err)) {
        dbus_connection_close(c);
        dbus_connection_unref(c);
        c = nullptr;
    }
    if (!c) {
        syslog(LOG_ERR, "tolkbus: connecting to %s: %s", address ? address : "the session bus",
               err.message ? err.message : "");
        dbus_error_free(&err);
        return TOLKBUS_ERR_BUS;
    }
    return setUp(c);
}

uint32_t tolkbus_connectSystem(void)
{
    if (g.conn)
        closeConnection();
    DBusError err;
    dbus_error_init(&err);
    DBusConnection *c = dbus_bus_get_private(DBUS_BUS_SYSTEM, &err);
    if (!c) {
        syslog(LOG_ERR, "tolkbus: connecting to the system bus: %s",
               err.message ? err.message : "");
        dbus_error_free(&err);
        return TOLKBUS_ERR_BUS;
    }
    return setUp(c);
}

const char *tolkbus_uniqueName(void)
{
    const char *n = g.conn ? dbus_bus_get_unique_name(g.conn) : nullptr;
    return n ? n : "";
}

void tolkbus_disconnect(void) { closeConnection(); }

void tolkbus_reset(void)
{
    closeConnection();
    g.forget();
    g.trace = nullptr;
    g.traceArg = nullptr;
    g.fail = nullptr;
    g.failArg = nullptr;
    g.stats = tolkbus_statsInfo{};
    g.timeoutMs = kDefaultTimeout;
    g.stopped = false;
    g.lost = false;
    gStopAsked = 0;
}

/* ---- event loop ------------------------------------------------------------------- */

int tolkbus_fd(void) { return g.conn ? g.epfd : -1; }

uint32_t tolkbus_dispatch(void)
{
    if (!g.conn || g.stopped)
        return g.lost ? TOLKBUS_LOST : TOLKBUS_STOPPED;
    epoll_event evs[16];
    int n = epoll_wait(g.epfd, evs, 16, 0);
    for (int i = 0; i < n && g.conn; ++i) {
        int fd = evs[i].data.fd;
        if (fd == gWake[0]) {
            char buf[64];
            while (read(gWake[0], buf, sizeof buf) > 0) {
            }
        } else if (fd == g.timerfd) {
            uint64_t ticks;
            ssize_t r = read(g.timerfd, &ticks, sizeof ticks);
            (void)r;
        } else {
            handleFd(fd, evs[i].events);
        }
    }
    if (gStopAsked) {
        g.stopped = true;
        tolkbus_deliverEvent(0);
        return TOLKBUS_STOPPED;
    }
    runTimeouts();
    while (g.conn && dbus_connection_dispatch(g.conn) == DBUS_DISPATCH_DATA_REMAINS) {
    }
    expireCalls();
    if (g.lost || (g.conn && !dbus_connection_get_is_connected(g.conn))) {
        g.lost = true;
        onLost();
        return TOLKBUS_LOST;
    }
    armTimer();
    return 0;
}

uint32_t tolkbus_run(void)
{
    if (!g.conn)
        return TOLKBUS_ERR_BUS;
    for (;;) {
        if (uint32_t rc = tolkbus_dispatch())
            return rc;
        epoll_event ev;
        int n = epoll_wait(g.epfd, &ev, 1, -1);
        if (n < 0 && errno != EINTR)
            return TOLKBUS_ERR_BUS;
    }
}

void tolkbus_stop(void)
{
    gStopAsked = 1;
    int saved = errno;
    if (gWake[1] >= 0) {
        char c = 's';
        ssize_t n = write(gWake[1], &c, 1);
        (void)n;
    }
    errno = saved;
}

static void onStopSignal(int) { tolkbus_stop(); }

uint32_t tolkbus_stopOnSignals(void)
{
    struct sigaction sa {};
    sa.sa_handler = onStopSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    if (sigaction(SIGTERM, &sa, nullptr) != 0 || sigaction(SIGINT, &sa, nullptr) != 0)
        return static_cast<uint32_t>(errno);
    return 0;
}

void tolkbus_deliverEvent(int32_t event) { g.deliverEvent(event); }

void tolkbus_setCallTimeout(uint32_t ms) { g.timeoutMs = ms ? ms : kDefaultTimeout; }

uint32_t tick_addEvtBase(tick_evtFn cb, void *ctx) { return g.addEvent(cb, ctx); }

/* ---- names, users, tokens ----------------------------------------------------------- */

uint32_t tolkbus_busName(const char *userName, char *out, size_t size)
{
    std::string s;
    return mapUserName(userName, s) ? copyOut(s, out, size) : TOLKBUS_ERR_NAME;
}

uint32_t tolkbus_wellKnownName(const char *userName, char *out, size_t size)
{
    std::string s;
    return wellKnown(userName, s) ? copyOut(s, out, size) : TOLKBUS_ERR_NAME;
}

uint32_t tolkbus_memberName(const char *entryName, char *out, size_t size)
{
    std::string s;
    return memberOf(entryName, s) ? copyOut(s, out, size) : TOLKBUS_ERR_NAME;
}

uint32_t tolkbus_entryName(const char *memberName, char *out, size_t size)
{
    std::string entry = entryOfMember(memberName), back;
    if (!memberOf(entry.c_str(), back) || back != memberName)
        return TOLKBUS_ERR_NAME;
    return copyOut(entry, out, size);
}

void *tolkbus_newUser(const char *userName) { return g.newUser(userName); }

void tolkbus_freeUser(void *user)
{
    User *u = g.findUser(user);
    if (!u)
        return;
    releaseName(u);
    for (const Method &s : g.subs)
        if (s.user == u && g.conn)
            dbus_bus_remove_match(g.conn, ruleOf(s).c_str(), nullptr);
    g.dropUser(u);
}

uint32_t tolkbus_token(tolkbus_fn fn) { return g.token(fn); }

tolkbus_fn tolkbus_fromToken(uint32_t token) { return g.fromToken(token); }

/* ---- hooks and counters ------------------------------------------------------------- */

void tolkbus_setFailHook(tolkbus_failFn fn, void *arg)
{
    g.fail = fn;
    g.failArg = arg;
}

void tolkbus_setTrace(tolkbus_traceFn fn, void *arg)
{
    g.trace = fn;
    g.traceArg = arg;
}

tolkbus_statsInfo tolkbus_stats(void)
{
    tolkbus_statsInfo s = g.stats;
    g.countInto(s);
    s.pendingCalls = static_cast<uint32_t>(g.pending.size());
    return s;
}

uint32_t tolkbus_mngtCount(void) { return static_cast<uint32_t>(g.mngts.size()); }

/* ---- managements -------------------------------------------------------------------- */

uint16_t tolkCore_getBase_msgMngt(const char *, tolkCore_mngt **record, uint32_t count)
{
    return g.handOutMngt(record, count, false);
}

// Returned by its owner: no unreg callback.
uint32_t tolkCore_putBase_msgMngt(uint16_t mngtNum, uint32_t) { return g.returnMngt(mngtNum); }

uint32_t tolkIntf_regUser_msgMngt(void *user, uint32_t word, void *ref, uint32_t mngtNum,
                                  uint32_t, uint32_t)
{
    return g.registerUser(user, mngtNum, word, ref);
}

uint32_t tolkIntf_unregUser_msgMngt(void *user, uint32_t mngtNum, uint32_t, uint32_t)
{
    return g.unregisterUser(user, mngtNum);
}

void *tolkIntf_findSrvMthdNtfyUser(int32_t a, uint32_t, const char *intfName, uint32_t c,
                                   uint32_t)
{
    return g.userFor(a, intfName, c);
}

void *tolkIntf_getCore_user(void *user) { return g.findUser(user); }

/* ---- methods and subscriptions -------------------------------------------------------- */

uint32_t tolkIntf_modSrv_mthd(void *user, uint32_t word1, uint32_t word2, uint32_t,
                              uint32_t, const char *intfName, void *cmdBlock, void *ntfyBlock,
                              uint32_t index, uint32_t, uint32_t)
{
    User *u = g.findUser(user);
    if (!u)
        return TOLKBUS_ERR_USER;
    auto *b = static_cast<const intfVelmor_cmdBlock *>(cmdBlock);
    if (!b || index >= b->entryCount || index >= INTFVELMOR_CMD_COUNT)
        return TOLKBUS_ERR_ARG;
    std::string member;
    if (!memberOf(b->entries[index].name, member)) {
        logName("entry name", b->entries[index].name);
        return TOLKBUS_ERR_NAME;
    }
    if (uint32_t rc = ownName(u))
        return rc;
    g.noteBlocks(intfName, cmdBlock, ntfyBlock);
    g.putMethod(g.methods, Method{u, b->entries, b->name, &b->mngtNum, index,
                                  reinterpret_cast<void *>(g.fromToken(word1)), word2,
                                  intfName ? intfName : "", ""});
    return 0;
}

uint32_t tolkIntf_modCliNtfyUser_mthd(void *user, uint32_t word1, uint32_t word2, uint32_t,
                                      uint32_t, const char *busName, void *,
                                      const char *intfName, void *cmdBlock, void *ntfyBlock,
                                      uint32_t index)
{
    User *u = g.findUser(user);
    if (!u)
        return TOLKBUS_ERR_USER;
    auto *b = static_cast<const intfVelmor_ntfyBlock *>(ntfyBlock);
    if (!b || index >= b->entryCount || index >= INTFVELMOR_NTFY_COUNT || !b->name)
        return TOLKBUS_ERR_ARG;
    std::string member, sender;
    if (!memberOf(b->entries[index].name, member)) {
        logName("entry name", b->entries[index].name);
        return TOLKBUS_ERR_NAME;
    }
    if (busName && *busName && !wellKnown(busName, sender)) {
        logName("publisher name", busName);
        return TOLKBUS_ERR_NAME;
    }
    if (!g.conn)
        return TOLKBUS_ERR_BUS;
    std::string rule = matchRule(b->name, member, sender);
    bool have = false;
    for (const Method &s : g.subs)
        have = have || ruleOf(s) == rule;
    if (!have) {
        DBusError err;
        dbus_error_init(&err);
        dbus_bus_add_match(g.conn, rule.c_str(), &err);
        if (dbus_error_is_set(&err)) {
            uint32_t code = codeOfDBusError(err.name);
            syslog(LOG_ERR, "tolkbus: match rule %s: %s", rule.c_str(), err.message);
            dbus_error_free(&err);
            return code;
        }
    }
    if (!sender.empty())
        watchOwner(sender);
    g.noteBlocks(intfName, cmdBlock, ntfyBlock);
    Method old;
    if (g.putMethod(g.subs,
                    Method{u, b->entries, b->name, &b->mngtNum, index,
                           reinterpret_cast<void *>(g.fromToken(word1)), word2,
                           intfName ? intfName : "", sender},
                    &old) &&
        g.conn) {
        // Replaced: the old rule goes unless the new one is the same.
        std::string was = ruleOf(old);
        if (was != rule)
            dbus_bus_remove_match(g.conn, was.c_str(), nullptr);
    }
    return 0;
}

uint32_t tolkIntf_modSrv_ntfy_needUpdate(void *user, uint32_t, uint32_t, uint32_t,
                                         const char *intfName, void *cmdBlock, void *ntfyBlock,
                                         uint32_t)
{
    // Counted only: every subscriber gets every notification.
    return g.noteNeedUpdate(user, intfName, cmdBlock, ntfyBlock);
}

/* ---- requests and responses -------------------------------------------------------------- */

uint32_t tolkCore_sendMsgReq_toNameUser(void *coreUser, void *body, void *recvRes, void *cbRes,
                                        uint32_t word1, uint32_t, const char *srvName,
                                        uint32_t mngtNum, uint32_t index, uint32_t, uint32_t)
{
    Entry e{};
    bool known = g.entryOf(mngtNum, index, &e);
    std::string dest, member;
    uint32_t rc = 0;
    if (!known)
        rc = TOLKBUS_ERR_MNGT;
    else if (!g.findUser(coreUser))
        rc = TOLKBUS_ERR_USER;
    else if (!wellKnown(srvName, dest)) {
        logName("service name", srvName);
        rc = TOLKBUS_ERR_NAME;
    } else if (!memberOf(e.name, member)) {
        logName("entry name", e.name);
        rc = TOLKBUS_ERR_NAME;
    } else if (!g.conn || g.stopped)
        rc = TOLKBUS_ERR_BUS;
    uint8_t *buf;
    uint32_t len;
    rc = g.takeBody(rc, e, known ? e.freeBody : orphanFree(false, nullptr, index), body, &buf,
                    &len);
    if (rc)
        return rc;
    std::string intf = interfaceOf(g.findMngt(mngtNum));
    DBusMessage *msg =
        dbus_message_new_method_call(dest.c_str(), TOLKBUS_PATH, intf.c_str(), member.c_str());
    if (!msg || !appendBytes(msg, buf, len)) {
        if (msg)
            dbus_message_unref(msg);
        free(buf);
        return TOLKBUS_ERR_BUS;
    }
    uint16_t num = static_cast<uint16_t>(mngtNum);
    std::string from = g.nameOf(coreUser);
    emit(TOLKBUS_TRACE_REQUEST, e, num, index, INTFVELMOR_BODY_REQ, buf, len, 0, from,
         srvName, true);
    free(buf);
    if (!recvRes) {
        dbus_message_set_no_reply(msg, TRUE);
        dbus_bool_t ok = dbus_connection_send(g.conn, msg, nullptr);
        dbus_message_unref(msg);
        return ok ? 0 : TOLKBUS_ERR_BUS;
    }
    DBusPendingCall *call = nullptr;
    dbus_bool_t ok =
        dbus_connection_send_with_reply(g.conn, msg, &call, DBUS_TIMEOUT_INFINITE);
    dbus_message_unref(msg);
    if (!ok || !call) {
        if (call)
            dbus_pending_call_unref(call);
        return TOLKBUS_ERR_BUS;
    }
    Pending *p = new Pending();
    p->head.cbRes = cbRes;
    p->head.ref = word1;
    p->entry = e;
    p->mngt = num;
    p->index = index;
    p->recvRes = reinterpret_cast<RecvResFn>(recvRes);
    p->call = call;
    p->deadline = nowMs() + g.timeoutMs;
    p->client = from;
    p->server = srvName;
    p->inRecvRes = false;
    g.pending.push_back(p);
    if (!dbus_pending_call_set_notify(call, onReply, p, nullptr)) {
        dropPending(p);
        return TOLKBUS_ERR_BUS;
    }
    armTimer();
    return 0;
}

uint32_t tolkCore_isMsg_needRes(void *ctx)
{
    const Ctx *c = liveCtx(ctx);
    return (c && c->needRes && !c->ended) ? 0 : 1;
}

uint32_t tolkCore_sendMsgRes(void *ctx, void *body, uint32_t code, uint32_t)
{
    const int32_t resType = INTFVELMOR_BODY_RES;
    Pending *p = livePending(ctx);
    if (p && p->inRecvRes) {
        // The client answering the response it is being given (code 20 when
        // it has no callback): nothing goes back on the bus.
        g.release(body, p->entry.freeBody, resType);
        if (code == 0)
            return TOLKBUS_ERR_STATE;
        g.counts.codeResponses++;
        emit(TOLKBUS_TRACE_CODE, p->entry, p->mngt, p->index, -1, nullptr, 0, code, p->client,
             p->server, false);
        return 0;
    }
    Ctx *c = liveCtx(ctx);
    if (!c) {
        g.releaseIfHeld(body);
        return TOLKBUS_ERR_CTX;
    }
    if (c->ended || (code == 0 && !c->needRes)) {
        g.release(body, c->entry.freeBody, resType);
        if (!c->ended)
            g.endCtx(c);
        return TOLKBUS_ERR_STATE;
    }
    if (code != 0) {
        g.release(body, c->entry.freeBody, resType);
        g.counts.codeResponses++;
        emit(TOLKBUS_TRACE_CODE, c->entry, c->mngt, c->index, -1, nullptr, 0, code, c->server,
             c->client, true);
        if (c->needRes && c->call)
            sendCode(c->call, code);
        g.endCtx(c);
        return 0;
    }
    uint8_t *buf;
    uint32_t len;
    uint32_t rc = g.serialize(c->entry, resType, body, &buf, &len);
    g.release(body, c->entry.freeBody, resType);
    if (rc) {
        g.endCtx(c);
        return rc;
    }
    rc = TOLKBUS_ERR_BUS;
    DBusMessage *r = g.conn ? dbus_message_new_method_return(c->call) : nullptr;
    if (r && appendBytes(r, buf, len) && dbus_connection_send(g.conn, r, nullptr)) {
        rc = 0;
        emit(TOLKBUS_TRACE_RESPONSE, c->entry, c->mngt, c->index, resType, buf, len, 0, c->server,
             c->client, true);
    }
    if (r)
        dbus_message_unref(r);
    free(buf);
    g.endCtx(c);
    return rc;
}

/* ---- notifications ------------------------------------------------------------------------ */

uint32_t tolkIntf_sendReq_ntfy(void *user, void *body, uint32_t, uint32_t, uint32_t, uint32_t,
                               uint32_t, const char *intfName, uint32_t mngtNum, uint32_t index,
                               uint32_t, uint32_t, uint32_t)
{
    Entry e{};
    bool known = g.entryOf(mngtNum, index, &e);
    User *u = g.findUser(user);
    std::string member;
    uint32_t rc = 0;
    if (!known)
        rc = TOLKBUS_ERR_MNGT;
    else if (!u)
        rc = TOLKBUS_ERR_USER;
    else if (!memberOf(e.name, member)) {
        logName("entry name", e.name);
        rc = TOLKBUS_ERR_NAME;
    } else if (!g.conn || g.stopped)
        rc = TOLKBUS_ERR_BUS;
    else
        rc = ownName(u);
    uint8_t *buf;
    uint32_t len;
    rc = g.takeBody(rc, e, known ? e.freeBody : orphanFree(true, intfName, index), body, &buf,
                    &len);
    if (rc)
        return rc;
    std::string intf = interfaceOf(g.findMngt(mngtNum));
    DBusMessage *msg = dbus_message_new_signal(TOLKBUS_PATH, intf.c_str(), member.c_str());
    rc = TOLKBUS_ERR_BUS;
    if (msg && appendBytes(msg, buf, len) && dbus_connection_send(g.conn, msg, nullptr)) {
        rc = 0;
        emit(TOLKBUS_TRACE_NOTIFICATION, e, static_cast<uint16_t>(mngtNum), index,
             INTFVELMOR_BODY_REQ, buf, len, 0, u->name, "", true);
    }
    if (msg)
        dbus_message_unref(msg);
    free(buf);
    return rc;
}

}  // extern "C"
