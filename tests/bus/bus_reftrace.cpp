// The exchange of `bus_peer client ADDR all`, in one process on the
// reference host: every command answered, every notification published
// after getCCAStatistic. Prints "KIND ENTRY HEX" for what crossed, as the
// bus peers print their traces, so that the driver can compare the bytes.
#include <stdio.h>

#include "messages_kit.h"

using namespace ivtest;

namespace {

int gCurrent = -1;
void *gSrv = nullptr;
const char *kKinds[] = {"REQUEST", "RESPONSE", "NOTIFICATION", "CODE"};

void onTrace(void *, const refhost_traceEvent *ev)
{
    if (ev->kind == REFHOST_TRACE_REQUEST)
        gCurrent = (int)ev->index;
    if (ev->kind == REFHOST_TRACE_NOTIFICATION)
        gCurrent = -1;  // the client's handler is no request to answer
    if (ev->kind != REFHOST_TRACE_CODE)
        printf("%s %s %s\n", kKinds[ev->kind], ev->entryName ? ev->entryName : "",
               toHex(ev->bytes, ev->length).c_str());
}

void answer(void *ctx)
{
    if (gCurrent < 0)
        return;
    const Command &c = commands()[(size_t)gCurrent];
    gCurrent = -1;
    c.answer(ctx);
    if (c.name == "getCCAStatistic")
        for (const Notification &n : notifications())
            n.publish(gSrv);
}

}  // namespace

int main()
{
    if (intfVelmor_initialize() != 0)
        return 1;
    void *client = refhost_newUser("client");
    gSrv = refhost_newUser("wifi");
    if (intfVelmor_regUser_msgMngt(client, 0, nullptr, INTFVELMOR_SEL_BOTH) ||
        intfVelmor_regUser_msgMngt(gSrv, 0, nullptr, INTFVELMOR_SEL_BOTH))
        return 1;
    refhost_setTrace(onTrace, nullptr);
    uint32_t rc = 0;
    uint32_t subscribed = 0;
    for (const Notification &n : notifications())
        if (!(subscribed & (1u << n.index))) {
            subscribed |= 1u << n.index;
            rc |= n.subscribe(client, refhost_token(n.handler), 0, 0, "wifi", nullptr);
        }
    for (const Command &c : commands())
        rc |= c.modSrv(gSrv, refhost_token(c.handler), 0, 0);
    g_answer = answer;
    for (const Command &c : commands())
        rc |= c.send(client);
    refhost_statsInfo s = refhost_stats();
    refhost_reset();
    return rc || s.bodiesHeld || s.contextsOpen ? 1 : 0;
}
