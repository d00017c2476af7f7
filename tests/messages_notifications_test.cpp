// Notifications from the service to its subscribers through the reference
// host, their bytes, and their body callbacks called directly.
#include <signal.h>
#include <stdlib.h>

#include "messages_kit.h"

using namespace ivtest;

namespace {

constexpr uint32_t kRefClient = 0xA1, kRefPanel = 0xB2;
const char kPanel[] = "panel";

const intfVelmor_entry &ntfy(uint32_t i) { return intfVelmor_base.ntfy.entries[i]; }

struct BeaconBody {
    uint32_t magic;
    uint16_t ref;
    char mac[18];
    int8_t value1, value2;
};
const Bytes kBeaconAb = frame(0x24582563, 0) +
                        hex("00 00 00 03 00 00 00 04 61 62 00 00"
                            "00 00 00 04 00 00 00 04 FF FF FF FF"
                            "00 00 00 05 00 00 00 04 00 00 00 02");

// The service publishes to the client and to a second subscriber, "panel".
class Ntfy : public Messages {
protected:
    void SetUp() override
    {
        Messages::SetUp();
        panel = refhost_newUser(kPanel);
        ASSERT_EQ(0u, intfVelmor_regUser_msgMngt(panel, 0, nullptr, INTFVELMOR_SEL_NTFY));
    }

    void subscribe(SubscribeFn fn, refhost_fn clientHandler, refhost_fn panelHandler)
    {
        ASSERT_EQ(0u, fn(client, refhost_token(clientHandler), kRefClient, 0, "bus", client));
        ASSERT_EQ(0u, fn(panel, refhost_token(panelHandler), kRefPanel, 0, "bus", panel));
    }

    // Both subscribers got the same bytes and the same members, each with its reference.
    void expectDelivered(uint32_t index, const Strings &members, const Bytes &bytes)
    {
        ASSERT_EQ(2u, g_handled.size());
        EXPECT_EQ(kRefClient, g_handled[0].ref);
        EXPECT_EQ(kRefPanel, g_handled[1].ref);
        EXPECT_EQ(members, g_handled[0].args);
        EXPECT_EQ(members, g_handled[1].args);
        ASSERT_EQ(2u, events.size());
        const char *to[] = {"client", kPanel};
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(REFHOST_TRACE_NOTIFICATION, events[i].kind);
            EXPECT_EQ(kNtfys[index].entry, events[i].entry);
            EXPECT_EQ(index, events[i].index);
            EXPECT_EQ(0, events[i].type);
            EXPECT_EQ("wifi", events[i].from);
            EXPECT_EQ(to[i], events[i].to);
            EXPECT_EQ(toHex(bytes), toHex(events[i].bytes));
        }
        EXPECT_EQ(Strings{}, lines());
    }

    void *panel = nullptr;
};

// ---- end to end -------------------------------------------------------------------------

// Every row of the catalogue has a case, and every case names its row.
TEST(NotificationCases, AtLeastOnePerNotificationOfTheCatalogue)
{
    for (uint32_t i = 0; i < INTFVELMOR_NTFY_COUNT; ++i)
        EXPECT_TRUE(notificationCase(i));
    for (const Notification &n : notifications()) {
        ASSERT_LT(n.index, INTFVELMOR_NTFY_COUNT) << n.name;
        EXPECT_EQ(kNtfys[n.index].name, n.name) << "case of index " << n.index;
    }
}

TEST_F(Ntfy, EveryNotificationEndToEnd)
{
    for (const Notification &n : notifications()) {
        SCOPED_TRACE(n.name);
        SetUp();  // a fresh host: each case subscribes anew
        subscribe(n.subscribe, n.handler, n.handler);
        n.publish(srv);
        expectDelivered(n.index, n.members, n.bytes);
    }
}

// ---- body callbacks called directly --------------------------------------------------------

TEST_F(Ntfy, BodyHeldElsewhereIsLeftAlone)
{
    void *body = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(0u, ntfy(2).unserializeBody(0, kBeaconAb.data(), &body, &size));
    BeaconBody *r = (BeaconBody *)body;
    EXPECT_EQ(sizeof(BeaconBody), size);
    // Held elsewhere: left alone, its magic not even checked.
    r->ref = 1;
    r->magic = 0x0BADF00D;
    ntfy(2).freeBody(0, r);
    EXPECT_STREQ("ab", r->mac);
    r->ref = 0;
    r->magic = 0x24582563;
    ntfy(2).freeBody(0, r);
    EXPECT_EQ(Strings{}, lines());
}

// ---- broken magic ---------------------------------------------------------------------------

using NtfyDeathTest = Ntfy;

TEST_F(NtfyDeathTest, ForeignBodyAborts)
{
    BeaconBody body{0x12345678, 0, "ab", 1, 2};
    const std::string check =
        "\\([0-9]+\\): Check Magic\\[INTFVELMOR_MAGIC_MSGNTFY_BEACONREPORT-24582563\\] "
        "Ctx\\[ptr\\(0x[0-9a-f]+\\) magic\\(12345678\\)\\] text\\[\\]";
    uint8_t *out = nullptr;
    uint32_t len = 0;
    EXPECT_EXIT(ntfy(2).serializeBody(0, &body, &out, &len), testing::KilledBySignal(SIGABRT),
                cb("serializeBody", "msgNtfyReq", "beaconReport") + check);
    void *handler = reinterpret_cast<void *>(fnp(onRequest<char *, int8_t, int8_t>));
    EXPECT_EXIT(intfVelmor_recvReq_ntfyBeaconReport(nullptr, &body, handler, 0),
                testing::KilledBySignal(SIGABRT), "intfVelmor_recvReq_ntfyBeaconReport" + check);
    EXPECT_EXIT(ntfy(2).freeBody(0, &body), testing::KilledBySignal(SIGABRT),
                cb("freeBody", "msgNtfyReq", "beaconReport") + check);
}

}  // namespace
