// The readers' failure record: what tools read instead of the log lines.
#include <string.h>

#include <gtest/gtest.h>

#include "messages/frame.h"
#include "testkit.h"
#include "types/described.h"
#include "types/names.h"

namespace {

using iv::ReadFailure;

unsigned depthOf(const iv::TypeDesc &d)
{
    unsigned deepest = 0;
    for (uint16_t i = 0; i < d.count; ++i)
        if (iv::Form f = iv::fieldsOf(d)[i].form;
            f == iv::Form::Record || f == iv::Form::Table || f == iv::Form::ArrayRec) {
            unsigned below = depthOf(*iv::fieldsOf(d)[i].sub());
            deepest = below > deepest ? below : deepest;
        }
    return 1 + deepest;
}

// A path deeper than the record holds loses its outer steps.
TEST(ReadFailure, EveryDescriptionNestsWithinThePath)
{
#define IV_DEPTH(T) EXPECT_LE(depthOf(iv::descOf<T>()), ReadFailure::kMaxDepth) << #T;
    INTFVELMOR_RECORD_TYPES(IV_DEPTH)
#undef IV_DEPTH
    auto bodies = [](const iv::MsgDesc *const *all, uint32_t n) {
        for (uint32_t i = 0; i < n; ++i)
            for (const iv::TypeDesc *d : all[i]->members) {
                if (d) {
                    EXPECT_LE(depthOf(*d), ReadFailure::kMaxDepth) << d->name();
                }
            }
    };
    bodies(iv::kCommands, INTFVELMOR_CMD_COUNT);
    bodies(iv::kNotifications, INTFVELMOR_NTFY_COUNT);
}

// A stamp of another message is refused without a line: the record alone
// says what item 1 held.
TEST(ReadFailure, FrameRecordsAForeignStamp)
{
    const iv::MsgDesc &m = *iv::kCommands[13];
    std::vector<uint8_t> in =
        ivtest::wire("s0:" + std::to_string(m.magic) + " s1:" + std::to_string(m.stamp + 1u));
    void *body = nullptr;
    uint32_t size = 0;
    ReadFailure f{};
    ivtest::clearLogs();
    EXPECT_EQ(2u, iv::readBody(m, iv::kReq, in.data(), in.data() + in.size(), &body, &size, f));
    EXPECT_TRUE(ivtest::logs().empty());
    EXPECT_EQ(ReadFailure::kWrongStamp, f.reason);
    EXPECT_EQ(1u, f.tag);
    EXPECT_EQ(12u, f.offset);
    EXPECT_EQ(m.stamp + 1u, f.found);
    EXPECT_EQ(nullptr, body);
}

}  // namespace
