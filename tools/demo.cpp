// intfvelmor_demo: the Wi-Fi service "wifi", a client "client" and a second
// subscriber "monitor" talk through the library on the reference host, in
// one process. The client sends every command, the service answers each and
// publishes every notification to both subscribers (tools/demo_kit.h).
//
// Every crossing is printed (message, direction, size, bytes, and the values
// as the receiving handler got them) and checked: the bytes that crossed
// must be the library's serialization of what the sender gave, and the
// receiver's values must serialize to the same bytes.
//
//   intfvelmor_demo [--json] [--quiet] [--bytes FILE]
//
// --json prints one JSON object per crossing, --quiet only the closing line;
// --bytes writes one line per crossing (message, kind, sender, receiver, hex
// bytes), the form the demo across processes writes too.
#include <stdio.h>
#include <string.h>

#include <string>

#include "intfVelmor.h"
#include "tolkRefHost.h"
#include "tools/demo_kit.h"

namespace {

uint32_t token(demo::Handler fn) { return refhost_token(fn); }

// The host reports the bytes before the receiver's handler runs.
void onTrace(void *, const refhost_traceEvent *ev)
{
    bool ntfy = ev->kind == REFHOST_TRACE_NOTIFICATION;
    if (ev->kind == REFHOST_TRACE_CODE ||
        ev->index >= (ntfy ? INTFVELMOR_NTFY_COUNT : INTFVELMOR_CMD_COUNT)) {
        demo::fault(std::string("unexpected crossing of ") + (ev->entryName ? ev->entryName : "?") +
                    ", code " + std::to_string(ev->code));
        return;
    }
    const iv::MsgDesc &m = ntfy ? *iv::kNotifications[ev->index] : *iv::kCommands[ev->index];
    demo::observed(m, ev->bodyType, ev->sender, ev->receiver, ev->bytes, ev->length);
}

void check(uint32_t rc, const char *what)
{
    if (rc)
        demo::fault(std::string(what) + " failed (" + std::to_string(rc) + ")");
}

int usage(const char *prog)
{
    fprintf(stderr, "usage: %s [--json] [--quiet] [--bytes FILE]\n", prog);
    return 2;
}

}  // namespace

int main(int argc, char **argv)
{
    demo::Options o;
    const char *bytesFile = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (!strcmp(argv[i], "--json"))
            o.json = true;
        else if (!strcmp(argv[i], "--quiet"))
            o.quiet = true;
        else if (!strcmp(argv[i], "--bytes") && i + 1 < argc)
            bytesFile = argv[++i];
        else
            return usage(argv[0]);
    }
    if (bytesFile && !(o.bytes = fopen(bytesFile, "w"))) {
        perror(bytesFile);
        return 2;
    }

    check(intfVelmor_initialize(), "intfVelmor_initialize");
    demo::plan(o);
    if (!o.quiet) {
        std::string about = demo::opening("on the reference host, in one process");
        if (o.json) {
            std::string quoted;
            for (char c : about)
                quoted += c == '"' ? std::string("\\\"") : std::string(1, c);
            printf("{\"about\":\"%s\"}\n", quoted.c_str());
        } else
            printf("%s\n\n", about.c_str());
    }

    refhost_setTrace(onTrace, nullptr);
    void *users[demo::kParties];
    for (uint32_t u = 0; u < demo::kParties; ++u) {
        users[u] = refhost_newUser(demo::kNames[u]);
        check(intfVelmor_regUser_msgMngt(users[u], 0, nullptr, INTFVELMOR_SEL_BOTH),
              "intfVelmor_regUser_msgMngt");
    }
    check(demo::serve(users[demo::kWifi], token), "serving the commands");
    for (demo::Who w : demo::kSubscribers)
        check(demo::subscribe(users[w], w, token), "subscribing");
    demo::sendCommands(users[demo::kClient]);
    demo::publish(users[demo::kWifi]);

    refhost_statsInfo st = refhost_stats();
    for (void *u : users) {
        intfVelmor_unregUser_msgMngt(u, INTFVELMOR_SEL_BOTH);
        refhost_freeUser(u);
    }
    intfVelmor_delBase();
    if (o.bytes)
        fclose(o.bytes);
    return demo::finish({demo::kClient, demo::kWifi, demo::kMonitor}, st.bodiesHeld,
                        st.contextsOpen);
}
