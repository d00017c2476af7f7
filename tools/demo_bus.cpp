// intfvelmor_demo_bus: one party of the demo (tools/demo_kit.h) as a
// process of its own on a D-Bus daemon, through the bus host.
//
//   intfvelmor_demo_bus service|client|monitor [--bus ADDRESS] [--ready FILE]
//                       [--bytes FILE] [--json] [--quiet] [--timeout SECONDS]
//
// service  serves every command as "wifi"; once it has answered them all,
//          publishes every notification; runs until SIGTERM or SIGINT.
// client   subscribes, sends every command to "wifi", and exits once its
//          responses and notifications have all arrived.
// monitor  subscribes and exits once its notifications have all arrived.
//
// Each prints what reaches its party as the in-process demo does, and ends
// with the closing line for its own share of the exchanges. --ready FILE is
// written once the party is serving or subscribed; --bytes FILE gets one
// line per exchange received, in the in-process demo's --bytes form.
// Without --bus, the session bus (DBUS_SESSION_BUS_ADDRESS).
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <stdlib.h>
#include <time.h>

#include <string>

#include "intfVelmor.h"
#include "tolkBusHost.h"
#include "tools/demo_kit.h"

namespace {

demo::Who g_role = demo::kParties;

uint32_t token(demo::Handler fn) { return tolkbus_token(fn); }

// Received crossings only: the sender's own are checked where they arrive.
void onTrace(void *, const tolkbus_traceEvent *ev)
{
    if (ev->outgoing)
        return;
    bool ntfy = ev->kind == TOLKBUS_TRACE_NOTIFICATION;
    if (ev->kind == TOLKBUS_TRACE_CODE ||
        ev->index >= (ntfy ? INTFVELMOR_NTFY_COUNT : INTFVELMOR_CMD_COUNT)) {
        demo::fault(std::string("unexpected crossing of ") + (ev->entryName ? ev->entryName : "?") +
                    ", code " + std::to_string(ev->code));
        return;
    }
    const iv::MsgDesc &m = ntfy ? *iv::kNotifications[ev->index] : *iv::kCommands[ev->index];
    demo::observed(m, ev->bodyType, nullptr, demo::kNames[g_role], ev->bytes, ev->length);
}

void onFailure(void *, uint32_t, uint32_t code, const char *entry, const char *detail)
{
    char what[160];
    snprintf(what, sizeof what, "call of %s failed: code 0x%x %s", entry ? entry : "?", code,
             detail ? detail : "");
    demo::fault(what);
}

void check(uint32_t rc, const char *what)
{
    if (rc)
        demo::fault(std::string(what) + " failed (" + std::to_string(rc) + ")");
}

double now()
{
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + (double)t.tv_nsec / 1e9;
}

int usage(const char *prog)
{
    fprintf(stderr,
            "usage: %s service|client|monitor [--bus ADDRESS] [--ready FILE] [--bytes FILE]\n"
            "       [--json] [--quiet] [--timeout SECONDS]\n",
            prog);
    return 2;
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return usage(argv[0]);
    if (!strcmp(argv[1], "service"))
        g_role = demo::kWifi;
    else if (!strcmp(argv[1], "client"))
        g_role = demo::kClient;
    else if (!strcmp(argv[1], "monitor"))
        g_role = demo::kMonitor;
    else
        return usage(argv[0]);
    demo::Options o;
    const char *address = nullptr, *ready = nullptr, *bytesFile = nullptr;
    double timeout = 20;
    for (int i = 2; i < argc; ++i) {
        bool more = i + 1 < argc;
        if (!strcmp(argv[i], "--json"))
            o.json = true;
        else if (!strcmp(argv[i], "--quiet"))
            o.quiet = true;
        else if (!strcmp(argv[i], "--bus") && more)
            address = argv[++i];
        else if (!strcmp(argv[i], "--ready") && more)
            ready = argv[++i];
        else if (!strcmp(argv[i], "--bytes") && more)
            bytesFile = argv[++i];
        else if (!strcmp(argv[i], "--timeout") && more)
            timeout = atof(argv[++i]);
        else
            return usage(argv[0]);
    }
    if (bytesFile && !(o.bytes = fopen(bytesFile, "w"))) {
        perror(bytesFile);
        return 2;
    }
    if (tolkbus_connect(address)) {
        fprintf(stderr, "intfvelmor_demo_bus: cannot connect to %s\n",
                address ? address : "the session bus");
        return 1;
    }
    tolkbus_stopOnSignals();
    tolkbus_setTrace(onTrace, nullptr);
    tolkbus_setFailHook(onFailure, nullptr);

    check(intfVelmor_initialize(), "intfVelmor_initialize");
    demo::plan(o);
    void *user = tolkbus_newUser(demo::kNames[g_role]);
    check(intfVelmor_regUser_msgMngt(user, 0, nullptr, INTFVELMOR_SEL_BOTH),
          "intfVelmor_regUser_msgMngt");
    if (g_role == demo::kWifi)
        check(demo::serve(user, token), "serving the commands");
    else
        check(demo::subscribe(user, g_role, token), "subscribing");
    if (ready) {
        FILE *f = fopen(ready, "w");
        if (f) {
            fprintf(f, "%s\n", tolkbus_uniqueName());
            fclose(f);
        }
    }
    if (g_role == demo::kClient)
        demo::sendCommands(user);

    // The service publishes once it has answered every command; it then
    // waits to be stopped. The subscribers stop when all theirs arrived.
    std::vector<demo::Who> mine{g_role};
    bool published = false;
    double deadline = now() + timeout;
    while (demo::faults() == 0) {
        if (demo::pending(mine) == 0) {
            if (g_role != demo::kWifi)
                break;
            if (!published) {
                demo::publish(user);
                published = true;
            }
        }
        double left = deadline - now();
        if (left <= 0 && g_role != demo::kWifi) {
            demo::fault("timed out with " + std::to_string(demo::pending(mine)) +
                        " exchanges still to come");
            break;
        }
        pollfd p{tolkbus_fd(), POLLIN, 0};
        poll(&p, 1, left > 0 ? (int)(left * 1000) + 1 : 1000);
        if (tolkbus_dispatch() != 0)  // stopped, or the bus lost
            break;
    }

    tolkbus_statsInfo st = tolkbus_stats();
    intfVelmor_unregUser_msgMngt(user, INTFVELMOR_SEL_BOTH);
    tolkbus_freeUser(user);
    intfVelmor_delBase();
    tolkbus_disconnect();
    if (o.bytes)
        fclose(o.bytes);
    return demo::finish(mine, st.bodiesHeld, st.contextsOpen);
}
