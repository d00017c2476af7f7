// What the library hands the message core, word by word: method magics,
// entry indexes, management numbers and the constant words of every call.
#include "messages_kit.h"

using namespace ivtest;

namespace {

std::vector<uint32_t> words(refhost_call c)
{
    refhost_callWords w = refhost_lastWords(c);
    return std::vector<uint32_t>(w.words, w.words + w.count);
}

std::string text(refhost_call c)
{
    const char *t = refhost_lastWords(c).text;
    return t ? t : "";
}

class HostWords : public Messages {};

TEST_F(HostWords, ServerMethodsCarryMagicPlusOneAndTheirIndex)
{
    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT; ++i) {
        const Command *x = commandCase(i);
        ASSERT_TRUE(x);
        ASSERT_EQ(0u, x->modSrv(srv, 11, 22, 33));
        EXPECT_EQ(words(REFHOST_CALL_MOD_SRV_MTHD),
                  (std::vector<uint32_t>{11, 22, 33, kCmds[i].magic + 1, i, 0xFFFF, 0xFFFF}))
            << kCmds[i].name;
        EXPECT_EQ("IntfVelmor", text(REFHOST_CALL_MOD_SRV_MTHD));
    }
}

TEST_F(HostWords, SubscriptionsCarryMagicPlusOneAndTheirIndex)
{
    for (uint32_t i = 0; i < INTFVELMOR_NTFY_COUNT; ++i) {
        const Notification *n = notificationCase(i);
        ASSERT_TRUE(n);
        ASSERT_EQ(0u, n->subscribe(client, 1, 2, 3, "bus", nullptr));
        EXPECT_EQ(words(REFHOST_CALL_MOD_CLI_NTFY_USER_MTHD),
                  (std::vector<uint32_t>{1, 2, 3, kNtfys[i].magic + 1, i}))
            << kNtfys[i].name;
        EXPECT_EQ("IntfVelmor", text(REFHOST_CALL_MOD_CLI_NTFY_USER_MTHD));
    }
    ASSERT_EQ(0u, intfVelmor_modSrv_needUpdate_ntfyBeaconReport(srv, 4, 5, 6));
    EXPECT_EQ(words(REFHOST_CALL_MOD_SRV_NTFY_NEED_UPDATE), (std::vector<uint32_t>{4, 5, 6, 2}));
    EXPECT_EQ("IntfVelmor", text(REFHOST_CALL_MOD_SRV_NTFY_NEED_UPDATE));
}

TEST_F(HostWords, RequestsResponsesAndNotifications)
{
    g_answer = [](void *ctx) {
        ccaStats s{};
        intfVelmor_sendRes_getCCAStatistic(ctx, &s);
    };
    ASSERT_EQ(0u, intfVelmor_modSrv_recvMsg_getCCAStatistic(
                      srv, refhost_token(fnp(&onRequest<>)), 0, 0));
    ASSERT_EQ(0u, intfVelmor_sendReq_getCCAStatistic(client, onResponse<ccaStats *>, 7, 8, "wifi"));
    EXPECT_EQ(words(REFHOST_CALL_SEND_MSG_REQ),
              (std::vector<uint32_t>{7, 8, intfVelmor_getCmdIntfNum(), 13, 0xFFFF, 18}));
    EXPECT_EQ("wifi", text(REFHOST_CALL_SEND_MSG_REQ));
    EXPECT_EQ(words(REFHOST_CALL_SEND_MSG_RES), (std::vector<uint32_t>{0, 18}));

    assocDevListReq req{};
    intfVelmor_sendReq_getAssocDevStats(client, nullptr, 1, 2, "nobody", &req);
    EXPECT_EQ(words(REFHOST_CALL_SEND_MSG_REQ),
              (std::vector<uint32_t>{1, 2, intfVelmor_getCmdIntfNum(), 0, 0xFFFF, 18}));

    intfVelmor_sendReq_ntfyBeaconReport(srv, 5, 6, "aa", -1, 2);
    EXPECT_EQ(words(REFHOST_CALL_SEND_REQ_NTFY),
              (std::vector<uint32_t>{0, 0, 0, 5, 6, intfVelmor_getNtfyIntfNum(), 2, 0, 0, 18}));
    EXPECT_EQ("IntfVelmor", text(REFHOST_CALL_SEND_REQ_NTFY));
}

TEST_F(HostWords, RegistrationWords)
{
    EXPECT_EQ(words(REFHOST_CALL_REG_USER),
              (std::vector<uint32_t>{0, intfVelmor_getNtfyIntfNum(), 0xFFFF, 0}));
    ASSERT_EQ(0u, intfVelmor_unregUser_msgMngt(client, INTFVELMOR_SEL_CMD));
    EXPECT_EQ(words(REFHOST_CALL_UNREG_USER),
              (std::vector<uint32_t>{intfVelmor_getCmdIntfNum(), 0xFFFF, 0}));
    intfVelmor_findSrvMthdNtfyUser(-1, 2, 0xFFFE, 4);
    EXPECT_EQ(words(REFHOST_CALL_FIND_SRV_MTHD_NTFY_USER),
              (std::vector<uint32_t>{0xFFFFFFFFu, 2, 0xFFFE, 4}));
    EXPECT_EQ("IntfVelmor", text(REFHOST_CALL_FIND_SRV_MTHD_NTFY_USER));

    uint16_t ntfy = intfVelmor_getNtfyIntfNum();
    ASSERT_EQ(0u, intfVelmor_delBase());
    EXPECT_EQ(words(REFHOST_CALL_PUT_BASE_MSG_MNGT), (std::vector<uint32_t>{ntfy, 0}));
    ASSERT_EQ(0u, intfVelmor_addBase());
    EXPECT_EQ(words(REFHOST_CALL_GET_BASE_MSG_MNGT), (std::vector<uint32_t>{3}));
    EXPECT_EQ("IntfVelmorNtfy", text(REFHOST_CALL_GET_BASE_MSG_MNGT));
}

}  // namespace
