// The readers take well-formed items a run at a time and hand anything else
// to the member-by-member reader from the start of the record. Items that
// the format allows but the run reader refuses (a scalar item longer than
// its value) must read exactly as before, wherever they sit: first, in a
// nested record, as an array count, inside an element, last.
#include <string.h>

#include <vector>

#include "record_ops.h"
#include "testkit.h"

using namespace ivtest;

namespace {

class Program : public LogTest {};

template <class T>
bool sameBytes(const T &a, const T &b)
{
    return encode(a) == encode(b);
}

// The bytes with scalar32 item k (every item of a channel report is one, 12
// bytes long) declaring 8 bytes: its value, then 4 more that are skipped.
std::vector<uint8_t> widened(const std::vector<uint8_t> &b, size_t k)
{
    size_t at = 12 * k;
    std::vector<uint8_t> out(b.begin(), b.begin() + (long)at + 12);
    out[at + 7] = 8;
    for (uint8_t junk : {0xAA, 0xBB, 0xCC, 0xDD})
        out.push_back(junk);
    out.insert(out.end(), b.begin() + (long)at + 12, b.end());
    return out;
}

TEST_F(Program, LongerScalarItemsReadAsBeforeWhereverTheySit)
{
    static channelReport r;
    memset(&r, 0, sizeof r);
    r.load = {36, 80, 35, 12, 6, 41, 1, 0, 5180, -92};
    r.channelsCount = 24;
    for (uint8_t i = 0; i < 24; ++i)
        r.channels[i] = {(uint8_t)(36 + 4 * i), 80, 1, (uint16_t)(5180 + 20 * i), 23, 17, 42,
                         1200, 300, 90, 15, (uint32_t)(2 + i)};
    std::vector<uint8_t> b = encode(r);
    ASSERT_EQ(0u, b.size() % 12);
    size_t items = b.size() / 12;

    // Load record members, its last one, the count, element members, the last item.
    for (size_t k : {size_t{0}, size_t{4}, size_t{9}, size_t{10}, size_t{11}, size_t{11 + 12 * 7 + 3},
                     items - 1}) {
        SCOPED_TRACE(k);
        std::vector<uint8_t> w = widened(b, k);
        static channelReport back;
        memset(&back, 0x5A, sizeof back);
        Decoded d = decodeBounded(w, back);
        EXPECT_EQ(0u, d.rc);
        EXPECT_EQ(w.size(), d.consumed);
        EXPECT_TRUE(sameBytes(r, back));
        memset(&back, 0x5A, sizeof back);
        d = decode(w, back);
        EXPECT_EQ(0u, d.rc);
        EXPECT_EQ(w.size(), d.consumed);
        EXPECT_TRUE(sameBytes(r, back));
    }
    EXPECT_TRUE(lines().empty());
}

// A run of items whose group ends short of the bytes it needs is refused as
// the member-by-member reader refuses it: the same line, the same members
// read before it.
TEST_F(Program, ShortGroupFailsAtTheFirstMissingItem)
{
    ccaStats r{1, 2, 3, 4, 5};
    std::vector<uint8_t> b = encode(r);
    b.resize(12 * 3 + 5);  // three whole items and part of the fourth
    ccaStats back{};
    Decoded d = decodeBounded(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(1u, back.v3);
    EXPECT_EQ(3u, back.v5);
    EXPECT_EQ(0u, back.v6);
    Lines l = lines();
    ASSERT_EQ(2u, l.size());
    EXPECT_NE(std::string::npos, l[0].find("Type(6) -> Truncated(5)")) << l[0];
    EXPECT_NE(std::string::npos, l[1].find("Type(7) -> Error Before")) << l[1];
}

// A count travels at its own width: a u8 count beside pad bytes that hold
// other bytes, and a u32 count above its bound whose low byte is small.
TEST_F(Program, CountsTravelAtTheirOwnWidth)
{
    auto valueAt = [](const std::vector<uint8_t> &b, size_t item) {
        const uint8_t *v = b.data() + 12 * item + 8;
        return (uint32_t)v[0] << 24 | (uint32_t)v[1] << 16 | (uint32_t)v[2] << 8 | v[3];
    };
    static channelReport r;
    memset(&r, 0x5A, sizeof r);
    r.channelsCount = 2;
    std::vector<uint8_t> b = encode(r);
    EXPECT_EQ(2u, valueAt(b, 10));
    EXPECT_EQ(12u * (10 + 1 + 2 * 12), b.size());

    static assocDevListReq q;
    memset(&q, 0, sizeof q);
    q.devicesCount = 0x103;
    EXPECT_EQ(0x103u, valueAt(encode(q), 0));
}

}  // namespace
