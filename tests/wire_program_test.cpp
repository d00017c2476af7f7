// The reader takes items quickly, a run at a time, while they are exactly
// as written, and from the first that is not, item by item to the end of
// its level. Items that the format allows but the quick path does not take
// (a scalar item longer than its value) must read exactly as before,
// wherever they sit: first, in a nested record, as an array count, inside
// an element, last.
#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include <vector>

#include "record_ops.h"
#include "testkit.h"
#include "types/described.h"

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

// What a read of a channel report gave: its code, where it stopped, its
// refusal record and its lines, every pointer and offset counted from the
// input and those past `shiftFrom` moved back by `shift`.
struct Outcome {
    uint32_t rc;
    size_t stop, offset, base;
    int reason, depth;
    uint32_t tag;
    std::vector<std::pair<int, int>> path;
    Lines lines;
};

Outcome readChannelReport(const std::vector<uint8_t> &in, size_t shiftFrom, size_t shift)
{
    auto back = [&](size_t at) { return at > shiftFrom ? at - shift : at; };
    static channelReport out;
    memset(&out, 0, sizeof out);
    clearLogs();
    iv::ReadFailure f{};
    const uint8_t *p = in.data();
    Outcome o{};
    o.rc = iv::readRecord(iv::descOf<channelReport>(), &out, &p, in.data() + in.size(), f);
    o.stop = back((size_t)(p - in.data()));
    o.offset = back(f.offset);
    o.base = back(f.base);
    o.reason = f.reason;
    o.depth = f.depth;
    o.tag = f.tag;
    for (unsigned k = 0; k < f.depth; ++k)
        o.path.emplace_back(f.path[k].field, f.path[k].element);
    for (const std::string &l : lines()) {
        std::string line;
        size_t from = 0, at;
        while ((at = l.find("0x", from)) != std::string::npos) {
            size_t len = 2;
            while (at + len < l.size() && isxdigit((unsigned char)l[at + len]))
                ++len;
            uintptr_t ptr = (uintptr_t)strtoull(l.substr(at, len).c_str(), nullptr, 16);
            line += l.substr(from, at - from) + "@" + std::to_string(back(ptr - (uintptr_t)in.data()));
            from = at + len;
        }
        o.lines.push_back(line + l.substr(from));
    }
    return o;
}

// A refusal after a hand-over (the reader went on item by item from a
// longer item, nested records quickly again) is recorded and logged as it
// is without one: the same code, record and lines, four bytes later.
TEST_F(Program, RefusalAfterAHandOverReadsAsWithout)
{
    static channelReport r;
    memset(&r, 0, sizeof r);
    r.load = {36, 80, 35, 12, 6, 41, 1, 0, 5180, -92};
    r.channelsCount = 9;
    for (uint8_t i = 0; i < 9; ++i)
        r.channels[i] = {(uint8_t)(36 + 4 * i), 80, 1, (uint16_t)(5180 + 20 * i), 23, 17, 42,
                         1200, 300, 90, 15, (uint32_t)(2 + i)};
    std::vector<uint8_t> b = encode(r);
    // Cut inside element 5's eighth item; the longer item in the load
    // record, as the count, or in element 2.
    size_t cut = 12 * (11 + 12 * 5 + 7) + 5;
    std::vector<uint8_t> plain(b.begin(), b.begin() + (long)cut);
    Outcome want = readChannelReport(plain, cut, 0);
    ASSERT_EQ(4u, want.rc);
    ASSERT_EQ((int)iv::ReadFailure::kTruncated, want.reason);
    ASSERT_EQ(2, want.depth);
    for (size_t k : {size_t{0}, size_t{9}, size_t{10}, size_t{11 + 12 * 2 + 1}}) {
        SCOPED_TRACE(k);
        std::vector<uint8_t> w = widened(b, k);
        w.resize(cut + 4);
        Outcome got = readChannelReport(w, 12 * k, 4);
        EXPECT_EQ(want.rc, got.rc);
        EXPECT_EQ(want.stop, got.stop);
        EXPECT_EQ(want.offset, got.offset);
        EXPECT_EQ(want.base, got.base);
        EXPECT_EQ(want.reason, got.reason);
        EXPECT_EQ(want.tag, got.tag);
        EXPECT_EQ(want.path, got.path);
        EXPECT_EQ(want.lines, got.lines);
    }
}

}  // namespace
