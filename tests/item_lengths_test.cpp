// Item lengths that would move the read position nowhere, or back over what
// was read, are refused by every reader, with an end and without one.
#include <stdint.h>

#include "messages_kit.h"

using namespace ivtest;

namespace {

constexpr bool k32 = sizeof(void *) == 4;
constexpr uint32_t kCCA = 13;
constexpr size_t kBody = SIZE_MAX;  // a body's read position is not seen

struct Outcome {
    uint32_t rc;
    size_t consumed;
};

template <class T>
Outcome readRecord(const Bytes &b, bool bounded)
{
    T rec{};
    Decoded d = bounded ? decodeBounded(b, rec) : decode(b, rec);
    return {d.rc, d.consumed};
}

Outcome readBody(const Bytes &b, bool bounded)
{
    intfVelmor_unserializeBodyFn fn = intfVelmor_base.cmd.entries[kCCA].unserializeBody;
    void *body = nullptr;
    uint32_t size = 0;
    uint32_t rc = bounded ? intfVelmor_unserializeBodyBounded(fn, 0, b.data(),
                                                              b.data() + b.size(), &body, &size)
                          : fn(0, b.data(), &body, &size);
    EXPECT_EQ(nullptr, body);
    return {rc, kBody};
}

// One item whose length is replaced; the record or body reports from base.
struct Row {
    const char *what;
    Bytes bytes;
    size_t item;    // where the refused item starts
    uint32_t head;  // bytes before its value: 8, or 16 for a 64-bit item
    uint32_t tag;
    uint32_t code;
    std::string fn;
    std::vector<int> before;  // tags that log "Error Before" after it
    Outcome (*read)(const Bytes &, bool bounded);
};

std::vector<Row> rows()
{
    ccaStats cca{1, 2, 3, 4, 5};
    AftSta sta{1, 2, 3, "ab"};
    Timestamp ts{5, 7};
    Bytes req = frame(0x29190165, 0);
    std::string cb = "intfVelmor_cbEvtMsgMngt_unserializeBody_msgCmdReq_getCCAStatistic";
    return {
        {"first scalar", encode(cca), 0, 8, 3, 4, unserializeFn("ccaStats"), {4, 5, 6, 7},
         readRecord<ccaStats>},
        {"later scalar", encode(cca), 24, 8, 5, 4, unserializeFn("ccaStats"), {6, 7},
         readRecord<ccaStats>},
        {"text", encode(sta), 36, 8, 6, 4, unserializeFn("AftSta"), {}, readRecord<AftSta>},
        {"64-bit", encode(ts), 0, 16, 3, 4, unserializeFn("Timestamp"), {4},
         readRecord<Timestamp>},
        {"frame item 0", req, 0, 8, 0, 2, cb, {1}, readBody},
        {"frame item 1", req, 12, 8, 1, 2, cb, {}, readBody},
    };
}

class ItemLengths : public LogTest {};

TEST_F(ItemLengths, StepsThatWouldNotMoveForwardAreRefused)
{
    for (const Row &r : rows()) {
        // The first two make the step overflow 32 bits; the last two would
        // wrap a 32-bit position to 4 and 8 bytes behind the item.
        for (uint32_t len : {0u - r.head, 0xFFFFFFFFu, 0u - r.head - 4, 0u - r.head - 8}) {
            for (bool bounded : {false, true}) {
                // Without an end, a 64-bit position would trust the last two and read 4 GiB on.
                if (!bounded && !k32 && len < 0u - r.head)
                    continue;
                SCOPED_TRACE(std::string(r.what) + (bounded ? " bounded " : " ") +
                             std::to_string(len));
                Bytes b = r.bytes;
                for (size_t i = 0; i < 4; ++i)  // the (low) length word
                    b[r.item + r.head - 4 + i] = (uint8_t)(len >> (24 - 8 * i));
                clearLogs();
                Outcome o = r.read(b, bounded);
                EXPECT_EQ(r.code, o.rc);
                if (o.consumed != kBody) {
                    EXPECT_EQ(r.item, o.consumed);
                }
                std::string base = r.fn + ": pBody(" + at(b.data()) + "): ";
                std::string left =
                    bounded ? "(" + std::to_string(b.size() - r.item - r.head) + ")" : "";
                Strings want{base + "Tl(" + std::to_string(r.tag) + "-" + std::to_string(len) +
                             ") -> Beyond end" + left + "\n"};
                for (int t : r.before)
                    want.push_back(errorBeforeLine(r.fn, b.data(), t));
                EXPECT_EQ(want, lines());
            }
        }
    }
}

}  // namespace
