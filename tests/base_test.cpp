// The descriptor, its lifecycle against the reference host, user
// registration and the unregister callbacks.
#include <stdio.h>
#include <string.h>

#include <string>

#include "intfVelmor.h"
#include "testkit.h"
#include "tolkHost.h"
#include "tolkRefHost.h"

using namespace ivtest;

namespace {

const std::string kBase = at(&intfVelmor_base);

class Base : public LogTest {
protected:
    void SetUp() override
    {
        // Back to the load-time state whatever an earlier test left.
        intfVelmor_base.state = 0;
        intfVelmor_base.flags = 0;
        intfVelmor_base.cmd.mngtNum = 0xFFFF;
        intfVelmor_base.ntfy.mngtNum = 0xFFFF;
        refhost_reset();
        LogTest::SetUp();
    }
    void TearDown() override { refhost_reset(); }
};

// The numbers the binary interface fixes, written out on purpose: adding or
// removing a command, notification or record type changes the interface
// (the descriptor's size, the exports), so it must change this line too.
TEST(Interface, FourteenCommandsThreeNotificationsSeventyFiveRecordTypes)
{
#define IVT_ONE(T) +1
    const char *why = "the binary interface changed: see README, \"Adding a command or a record type\"";
    EXPECT_EQ(14u, INTFVELMOR_CMD_COUNT) << why;
    EXPECT_EQ(3u, INTFVELMOR_NTFY_COUNT) << why;
    EXPECT_EQ(75, 0 INTFVELMOR_RECORD_TYPES(IVT_ONE)) << why;
#undef IVT_ONE
}

TEST_F(Base, DescriptorLayoutAndNames)
{
    const intfVelmor_descriptor &d = intfVelmor_base;
    EXPECT_EQ(0x93555841u, d.magic);
    EXPECT_STREQ("IntfVelmor", d.name);
    EXPECT_EQ(0x93555842u, d.cmd.magic);
    EXPECT_STREQ("IntfVelmorCmd", d.cmd.name);
    EXPECT_EQ(&intfVelmor_cbEvtMsgMngt_unreg_msgCmd, d.cmd.unreg);
    EXPECT_EQ(INTFVELMOR_CMD_COUNT, d.cmd.entryCount);
    EXPECT_EQ(0x93555843u, d.ntfy.magic);
    EXPECT_STREQ("IntfVelmorNtfy", d.ntfy.name);
    EXPECT_EQ(&intfVelmor_cbEvtMsgMngt_unreg_msgNtfy, d.ntfy.unreg);
    EXPECT_EQ(INTFVELMOR_NTFY_COUNT, d.ntfy.entryCount);
    EXPECT_EQ(0u, d.debug);
    // Eight pointer-sized words per entry.
    EXPECT_EQ(8 * sizeof(void *), sizeof(intfVelmor_entry));

    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT; ++i) {
        EXPECT_EQ(0u, d.cmd.entries[i].reserved);
        EXPECT_TRUE(d.cmd.entries[i].recv && d.cmd.entries[i].logBody);
    }
    // One stored text serves entries 4 and 7.
    EXPECT_EQ(d.cmd.entries[4].name + 3, d.cmd.entries[7].name);
    EXPECT_EQ((intfVelmor_recvFn)intfVelmor_recvReq_getCCAStatistic, d.cmd.entries[13].recv);
    EXPECT_EQ(&intfVelmor_cbEvtMsgMngt_freeBody_msgCmd_getAssocDevStats,
              d.cmd.entries[0].freeBody);
    EXPECT_EQ((intfVelmor_recvFn)intfVelmor_recvReq_ntfyBeaconReport, d.ntfy.entries[2].recv);
}

TEST_F(Base, InitializeRegistersBothBlocksAndTheEvent)
{
    ASSERT_EQ(0u, intfVelmor_initialize());
    EXPECT_EQ(1, intfVelmor_base.state);
    EXPECT_EQ(3, intfVelmor_base.flags);
    EXPECT_NE(0xFFFF, intfVelmor_getCmdIntfNum());
    EXPECT_NE(0xFFFF, intfVelmor_getNtfyIntfNum());
    EXPECT_NE(intfVelmor_getCmdIntfNum(), intfVelmor_getNtfyIntfNum());
    EXPECT_EQ(intfVelmor_base.cmd.mngtNum, intfVelmor_getCmdIntfNum());
    EXPECT_EQ(2u, refhost_mngtCount());
    EXPECT_TRUE(lines().empty());

    // A second initialisation is refused and registers nothing twice.
    EXPECT_EQ(3u, intfVelmor_initialize());
    EXPECT_EQ(2u, refhost_mngtCount());
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_addBase: Check State[INTFVELMOR_STATE_BASE_WAIT_INIT-0] "
                           "Ctx[ptr(" + kBase + ") state(1)] text[]\n",
                           "intfVelmor_initialize: Add Base failed(3)\n"}));

    // Event 0 undoes it all, silently; a second one is refused.
    clearLogs();
    refhost_deliverEvent(0);
    EXPECT_EQ(0, intfVelmor_base.state);
    EXPECT_EQ(0, intfVelmor_base.flags);
    EXPECT_EQ(0xFFFF, intfVelmor_getCmdIntfNum());
    EXPECT_EQ(0xFFFF, intfVelmor_getNtfyIntfNum());
    EXPECT_EQ(0u, refhost_mngtCount());
    EXPECT_TRUE(lines().empty());
    intfVelmor_cbEvtBase(nullptr, 0);
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_delBase: Check State[INTFVELMOR_STATE_BASE_INIT-1] "
                           "Ctx[ptr(" + kBase + ") state(0)] text[]\n",
                           "intfVelmor_cbEvtBase: Delete Base\n"}));
}

TEST_F(Base, EventAndStateEdges)
{
    EXPECT_EQ(3u, intfVelmor_delBase());
    intfVelmor_cbEvtBase(nullptr, 1);
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_delBase: Check State[INTFVELMOR_STATE_BASE_INIT-1] "
                           "Ctx[ptr(" + kBase + ") state(0)] text[]\n",
                           "intfVelmor_cbEvtBase: Unknown event(1)\n"}));
    EXPECT_EQ(0, intfVelmor_base.state);
    for (const LogLine &l : logs())
        EXPECT_EQ(3, l.prio);
}

TEST_F(Base, BlockRegistrationFailures)
{
    // The core refuses the command block outright.
    refhost_failNext(REFHOST_CALL_GET_BASE_MSG_MNGT, 0xFFFF);
    EXPECT_EQ(1u, intfVelmor_initialize());
    EXPECT_EQ(0xFFFF, intfVelmor_getCmdIntfNum());
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_addBase: Add command message management failed\n",
                           "intfVelmor_initialize: Add Base failed(1)\n"}));

    // A number without a record is a failure too; the number stays in the block.
    clearLogs();
    refhost_failNext(REFHOST_CALL_GET_BASE_MSG_MNGT, 7);
    EXPECT_EQ(1u, intfVelmor_addBase());
    EXPECT_NE(0xFFFF, intfVelmor_getCmdIntfNum());
    EXPECT_EQ(0, intfVelmor_base.flags);
    EXPECT_EQ(0, intfVelmor_base.state);
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_addBase: Add command message management failed\n"}));

    // The next attempt registers both blocks.
    EXPECT_EQ(0u, intfVelmor_addBase());
    EXPECT_EQ(3, intfVelmor_base.flags);
}

TEST_F(Base, EventLoopFailureLeavesBlocksRegistered)
{
    refhost_failNext(REFHOST_CALL_ADD_EVT_BASE, 42);
    EXPECT_EQ(42u, intfVelmor_initialize());
    EXPECT_EQ(3, intfVelmor_base.flags);
    EXPECT_EQ(0, intfVelmor_base.state);
    EXPECT_EQ(lines(), (std::vector<std::string>{"intfVelmor_addBase: Add event base failed(42)\n",
                                                 "intfVelmor_initialize: Add Base failed(42)\n"}));
    // A later addBase clears the flags and registers both blocks again.
    clearLogs();
    EXPECT_EQ(0u, intfVelmor_addBase());
    EXPECT_EQ(3, intfVelmor_base.flags);
    EXPECT_EQ(1, intfVelmor_base.state);
}

TEST_F(Base, PutFailureKeepsEverythingForARetry)
{
    ASSERT_EQ(0u, intfVelmor_initialize());
    uint16_t cmd = intfVelmor_getCmdIntfNum();
    refhost_failNext(REFHOST_CALL_PUT_BASE_MSG_MNGT, 9);
    EXPECT_EQ(9u, intfVelmor_delBase());
    EXPECT_EQ(cmd, intfVelmor_getCmdIntfNum());
    EXPECT_EQ(3, intfVelmor_base.flags);
    EXPECT_EQ(1, intfVelmor_base.state);
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_delBase: Put command message management(" +
                           std::to_string(cmd) + ") failed(9)\n"}));
    EXPECT_EQ(0u, intfVelmor_delBase());
    EXPECT_EQ(0, intfVelmor_base.state);
}

TEST_F(Base, WithdrawnManagementClearsOnlyItsFlag)
{
    ASSERT_EQ(0u, intfVelmor_initialize());
    uint16_t ntfy = intfVelmor_getNtfyIntfNum();
    ASSERT_EQ(0u, refhost_withdrawMngt(ntfy));
    EXPECT_EQ(1, intfVelmor_base.flags);
    EXPECT_EQ(1, intfVelmor_base.state);
    EXPECT_EQ(ntfy, intfVelmor_getNtfyIntfNum());  // the number keeps its value
    EXPECT_TRUE(lines().empty());

    // Again for a flag already clear: a warning, flag stays clear.
    intfVelmor_cbEvtMsgMngt_unreg_msgNtfy(ntfy);
    EXPECT_EQ(linesAt(4), (std::vector<std::string>{
                              "intfVelmor_cbEvtMsgMngt_unreg_msgNtfy: Unset Flag["
                              "INTFVELMOR_FLAGS_BASE_REG_NTFY-2] in ctx(" + kBase +
                              ") not set[1] text[]\n"}));
    // An unknown number is logged and changes nothing.
    clearLogs();
    intfVelmor_cbEvtMsgMngt_unreg_msgCmd(ntfy);
    EXPECT_EQ(lines(), (std::vector<std::string>{"intfVelmor_cbEvtMsgMngt_unreg_msgCmd: Message "
                                                 "management(" + std::to_string(ntfy) +
                                                 ") unknown\n"}));
    EXPECT_EQ(1, intfVelmor_base.flags);

    // delBase skips the withdrawn block and still resets the state.
    clearLogs();
    EXPECT_EQ(0u, intfVelmor_delBase());
    EXPECT_EQ(0, intfVelmor_base.state);
    EXPECT_EQ(0xFFFF, intfVelmor_getCmdIntfNum());
}

TEST_F(Base, UserRegistrationBySelector)
{
    void *user = refhost_newUser("client");
    int ref = 0;
    // Before initialisation there is nothing to register with.
    EXPECT_EQ(0u, intfVelmor_regUser_msgMngt(user, 5, &ref, 1));
    ASSERT_EQ(0u, intfVelmor_initialize());
    uint16_t cmd = intfVelmor_getCmdIntfNum(), ntfy = intfVelmor_getNtfyIntfNum();

    EXPECT_EQ(0u, intfVelmor_regUser_msgMngt(user, 5, &ref, 3));
    EXPECT_FALSE(refhost_isUserRegistered(user, cmd));
    EXPECT_EQ(0u, intfVelmor_regUser_msgMngt(user, 5, &ref, 2));
    EXPECT_FALSE(refhost_isUserRegistered(user, cmd));
    EXPECT_TRUE(refhost_isUserRegistered(user, ntfy));
    EXPECT_EQ(0u, intfVelmor_regUser_msgMngt(user, 5, &ref, 1));
    EXPECT_TRUE(refhost_isUserRegistered(user, cmd));

    EXPECT_EQ(0u, intfVelmor_unregUser_msgMngt(user, 0));
    EXPECT_FALSE(refhost_isUserRegistered(user, cmd));
    EXPECT_FALSE(refhost_isUserRegistered(user, ntfy));

    // A core error on the command management stops the walk.
    refhost_failNext(REFHOST_CALL_REG_USER, 33);
    EXPECT_EQ(33u, intfVelmor_regUser_msgMngt(user, 5, &ref, 0));
    EXPECT_FALSE(refhost_isUserRegistered(user, ntfy));
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_regUser_msgMngt: user(" + at(user) +
                           "): regUser message management failed(33) -> num(" +
                           std::to_string(cmd) + ") ref(" + at(&ref) + ")\n"}));

    clearLogs();
    ASSERT_EQ(0u, intfVelmor_regUser_msgMngt(user, 5, &ref, 0));
    refhost_failNext(REFHOST_CALL_UNREG_USER, 34);
    EXPECT_EQ(34u, intfVelmor_unregUser_msgMngt(user, 0));
    EXPECT_TRUE(refhost_isUserRegistered(user, ntfy));
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_unregUser_msgMngt: user(" + at(user) +
                           "): unregUser message management failed(34) -> num(" +
                           std::to_string(cmd) + ")\n"}));
}

TEST_F(Base, FindPassesThrough)
{
    ASSERT_EQ(0u, intfVelmor_initialize());
    void *srv = refhost_newUser("wifi");
    EXPECT_EQ(nullptr, intfVelmor_findSrvMthdNtfyUser(0, 0, 13, 0));
    ASSERT_EQ(0u, intfVelmor_modSrv_recvMsg_getCCAStatistic(srv, 0, 0, 0));
    EXPECT_EQ(srv, intfVelmor_findSrvMthdNtfyUser(0, 0, 13, 0));
}

using BaseDeath = Base;

TEST_F(BaseDeath, BrokenDescriptorMagicAborts)
{
    EXPECT_DEATH(
        {
            intfVelmor_base.magic = 0x12345678;
            intfVelmor_addBase();
        },
        "intfVelmor_addBase\\([0-9]+\\): Magic\\[INTFVELMOR_MAGIC_BASE-93555841\\] "
        "Ctx\\[ptr\\(0x[0-9a-f]+\\) magic\\(12345678\\)\\] text\\[\\]");
    EXPECT_EQ(0x93555841u, intfVelmor_base.magic);
}

}  // namespace
