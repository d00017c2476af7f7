// The generic engine, proved on the CCA, channel report, timestamp and
// airtime records: byte examples, lengths, bounds and failure reporting.
#include <stdio.h>

#include <string>

#include "record_ops.h"
#include "testkit.h"

using namespace ivtest;

namespace {

std::string tl(const char *fn, const void *base, unsigned tag, unsigned len, unsigned expected)
{
    return tlLine(fn, base, tag, len, expected);
}

std::string before(const char *fn, const void *base, int tag)
{
    return errorBeforeLine(fn, base, tag);
}

class Engine : public LogTest {};

TEST_F(Engine, ByteExamples)
{
    AftSta sta{};
    sta.v3 = 1, sta.v4 = 2, sta.v5 = 3;
    strcpy(sta.mac, "ab");
    EXPECT_EQ(toHex(encode(sta)),
              toHex(hex("00 00 00 03 00 00 00 04 00 00 00 01 00 00 00 04 00 00 00 04 00 00 00 02"
                        "00 00 00 05 00 00 00 04 00 00 00 03 00 00 00 06 00 00 00 04 61 62 00 00")));

    Timestamp ts{5, 7};
    EXPECT_EQ(toHex(encode(ts)),
              toHex(hex("00 00 00 00 00 00 00 03 00 00 00 00 00 00 00 08 00 00 00 00 00 00 00 05"
                        "00 00 00 04 00 00 00 04 00 00 00 07")));

    AftSta back{};
    Decoded d = decode(encode(sta), back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(48u, d.consumed);
    EXPECT_TRUE(sameBytes(sta, back));
    EXPECT_TRUE(lines().empty());
}

TEST_F(Engine, FixedLengths)
{
    ccaStats c{};
    CCARequest rq{};
    CCAReport rp{};
    channelLoadProperties load{};
    channelsCreatedProperties created{};
    EXPECT_EQ(60u, intfVelmor_ccaStats_serialize_lg(&c));
    EXPECT_EQ(24u, intfVelmor_CCARequest_serialize_lg(&rq));
    EXPECT_EQ(60u, intfVelmor_CCAReport_serialize_lg(&rp));
    EXPECT_EQ(120u, intfVelmor_channelLoadProperties_serialize_lg(&load));
    EXPECT_EQ(144u, intfVelmor_channelsCreatedProperties_serialize_lg(&created));
    EXPECT_EQ(60u, encode(c).size());
}

TEST_F(Engine, NarrowScalarsWidenAndNarrowBack)
{
    channelLoadProperties load{};
    load.v3 = 200;
    load.v12 = -90;
    std::vector<uint8_t> b = encode(load);
    EXPECT_EQ(toHex(hex("00 00 00 C8")), toHex(b.data() + 8, 4));
    EXPECT_EQ(toHex(hex("FF FF FF A6")), toHex(b.data() + 9 * 12 + 8, 4));
    channelLoadProperties back{};
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_EQ(200, back.v3);
    EXPECT_EQ(-90, back.v12);

    // A value wider than the member keeps its low bits.
    b[8 + 2] = 0x12;  // tag 3 now carries 0x000012C8
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_EQ(0xC8, back.v3);
}

TEST_F(Engine, SixtyFourBitValues)
{
    Timestamp ts{(1ull << 40) + 3, 9};
    std::vector<uint8_t> b = encode(ts);
    EXPECT_EQ(toHex(hex("00 00 01 00 00 00 00 03")), toHex(b.data() + 16, 8));
    Timestamp back{};
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_EQ(ts.v3, back.v3);
    EXPECT_EQ(9u, back.v4);
}

TEST_F(Engine, ScalarLengthFieldIsSkippedNotChecked)
{
    // Tag 3 declares 8 bytes: the value is its first four, the item is 16 long.
    std::vector<uint8_t> b = hex(
        "00 00 00 03 00 00 00 08 00 00 00 2A FF FF FF FF"
        "00 00 00 04 00 00 00 04 00 00 00 07");
    CCARequest r{};
    Decoded d = decode(b, r);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(28u, d.consumed);
    EXPECT_EQ(42, r.v3);
    EXPECT_EQ(7, r.v4);
}

TEST_F(Engine, WrongTagLogsChainAndStopsAtFailingItem)
{
    ccaStats c{1, 2, 3, 4, 5};
    std::vector<uint8_t> b = encode(c);
    b[24 + 3] = 9;  // third item now has tag 9
    ccaStats back{};
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(24u, d.consumed);
    EXPECT_EQ(1u, back.v3);
    EXPECT_EQ(2u, back.v4);
    EXPECT_EQ(0u, back.v5);
    const char *fn = "intfVelmor_ccaStats_unserialize";
    EXPECT_EQ(lines(), (std::vector<std::string>{tl(fn, b.data(), 9, 4, 5), before(fn, b.data(), 6),
                                                 before(fn, b.data(), 7)}));
    for (const LogLine &l : logs())
        EXPECT_EQ(3, l.prio);
}

TEST_F(Engine, FirstMemberFailureLogsEveryLaterItem)
{
    Timestamp ts{5, 7};
    std::vector<uint8_t> b = encode(ts);
    b[3] = 1;  // high word of the 64-bit tag
    Timestamp back{};
    EXPECT_EQ(4u, decode(b, back).rc);
    const char *fn = "intfVelmor_Timestamp_unserialize";
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           std::string(fn) + ": pBody(" + at(b.data()) +
                               "): Tl(4294967299-8) expectded(3)\n",
                           before(fn, b.data(), 4)}));
}

TEST_F(Engine, ChannelReportCountsAndBounds)
{
    static channelReport r, back;
    memset(&r, 0, sizeof r);
    EXPECT_EQ(132u, intfVelmor_channelReport_serialize_lg(&r));
    EXPECT_EQ(132u, encode(r).size());

    r.channelsCount = 40;
    for (int i = 0; i < 32; ++i)
        r.channels[i].v14 = (uint32_t)i + 100;
    EXPECT_EQ(4740u, intfVelmor_channelReport_serialize_lg(&r));
    std::vector<uint8_t> b = encode(r);
    // The count item follows the nested record and carries 40.
    EXPECT_EQ(toHex(hex("00 00 00 04 00 00 00 04 00 00 00 28")), toHex(b.data() + 120, 12));
    memset(&back, 0, sizeof back);
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(4740u, d.consumed);
    EXPECT_EQ(40, back.channelsCount);
    EXPECT_EQ(131u, back.channels[31].v14);

    static channelReport copied;
    memset(&copied, 0, sizeof copied);
    EXPECT_EQ(0u, intfVelmor_channelReport_copy(&copied, &r));
    EXPECT_EQ(40, copied.channelsCount);
    EXPECT_TRUE(sameBytes(r, copied));
}

TEST_F(Engine, NestedFailureRunsOwnersChain)
{
    static channelReport r, back;
    memset(&r, 0, sizeof r);
    r.channelsCount = 1;
    std::vector<uint8_t> b = encode(r);
    b[12 * 4 + 3] = 0x55;  // seventh... fifth item of the nested load record
    memset(&back, 0, sizeof back);
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(48u, d.consumed);
    const char *in = "intfVelmor_channelLoadProperties_unserialize";
    std::vector<std::string> want{tl(in, b.data(), 0x55, 4, 7)};
    for (int t = 8; t <= 12; ++t)
        want.push_back(before(in, b.data(), t));
    want.push_back(before("intfVelmor_channelReport_unserialize", b.data(), 4));
    EXPECT_EQ(lines(), want);
    EXPECT_EQ(0, back.channelsCount);
}

TEST_F(Engine, ArrayElementFailureIsLoggedByTheElementOnly)
{
    AftConfig cfg{};
    cfg.stationsCount = 3;
    for (int i = 0; i < 3; ++i)
        cfg.stations[i].v3 = (uint32_t)i + 1;
    std::vector<uint8_t> b = encode(cfg);
    size_t second = 24 + 48;
    b[second + 12 + 3] = 0x44;  // tag 4 of the second station
    AftConfig back{};
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(second + 12, d.consumed);
    const char *el = "intfVelmor_AftSta_unserialize";
    EXPECT_EQ(lines(), (std::vector<std::string>{tl(el, b.data() + second, 0x44, 4, 4),
                                                 before(el, b.data() + second, 5),
                                                 before(el, b.data() + second, 6)}));
    EXPECT_EQ(3u, back.stationsCount);
    EXPECT_EQ(1u, back.stations[0].v3);
    EXPECT_EQ(2u, back.stations[1].v3);
    EXPECT_EQ(0u, back.stations[2].v3);
}

TEST_F(Engine, WrongCountTagReadsNoElement)
{
    AftConfig cfg{};
    cfg.stationsCount = 2;
    std::vector<uint8_t> b = encode(cfg);
    b[12 + 3] = 7;
    AftConfig back{};
    back.stationsCount = 0;
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(12u, d.consumed);
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           tl("intfVelmor_AftConfig_unserialize", b.data(), 7, 4, 4)}));

    clearLogs();
    b = encode(cfg);
    b[3] = 8;
    EXPECT_EQ(4u, decode(b, back).rc);
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           tl("intfVelmor_AftConfig_unserialize", b.data(), 8, 4, 3),
                           before("intfVelmor_AftConfig_unserialize", b.data(), 4)}));
}

TEST_F(Engine, AftConfigBoundsAndEmptyList)
{
    AftConfig cfg{};
    EXPECT_EQ(24u, encode(cfg).size());
    cfg.stationsCount = 12;
    for (int i = 0; i < 10; ++i)
        snprintf(cfg.stations[i].mac, sizeof cfg.stations[i].mac, "sta%d", i);
    AftConfig back{};
    std::vector<uint8_t> b = encode(cfg);
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(12u, back.stationsCount);
    EXPECT_STREQ("sta9", back.stations[9].mac);
}

TEST_F(Engine, TextCapacities)
{
    AftSta sta{};
    EXPECT_EQ(48u, encode(sta).size());
    strcpy(sta.mac, "aa:bb:cc:dd:ee:ff");
    std::vector<uint8_t> b = encode(sta);
    EXPECT_EQ(64u, b.size());
    EXPECT_EQ(toHex(hex("00 00 00 06 00 00 00 14")), toHex(b.data() + 36, 8));
    AftSta back{};
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_STREQ(sta.mac, back.mac);

    // Copy cuts a source of 18 characters or more to 17.
    char wide[sizeof(AftSta) + 8];
    memset(wide, 'x', sizeof wide);
    AftSta *src = (AftSta *)(void *)wide;
    AftSta dst{};
    EXPECT_EQ(0u, intfVelmor_AftSta_copy(&dst, src));
    EXPECT_EQ(17u, strlen(dst.mac));

    // A wire text of 18 characters is refused and the member keeps its value.
    std::vector<uint8_t> longer = hex(
        "00 00 00 03 00 00 00 04 00 00 00 01 00 00 00 04 00 00 00 04 00 00 00 02"
        "00 00 00 05 00 00 00 04 00 00 00 03 00 00 00 06 00 00 00 14");
    for (int i = 0; i < 18; ++i)
        longer.push_back('a' + i % 26);
    longer.insert(longer.end(), {0, 0});
    strcpy(back.mac, "kept");
    Decoded d = decode(longer, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(36u, d.consumed);
    EXPECT_STREQ("kept", back.mac);
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_AftSta_unserialize: lgChainIn(19) lgMaxChainOut(18)\n"}));
}

TEST_F(Engine, NullArguments)
{
    ccaStats c{};
    const uint8_t *p = nullptr;
    EXPECT_EQ(4u, intfVelmor_ccaStats_copy(nullptr, &c));
    EXPECT_EQ(0u, intfVelmor_ccaStats_serialize_lg(nullptr));
    EXPECT_EQ(4u, intfVelmor_ccaStats_unserialize(&c, &p));
    intfVelmor_channelReport_clean(nullptr);
}

// ---- bounded decoding ---------------------------------------------------------

TEST_F(Engine, BoundedReadsNeverPassTheEnd)
{
    AftConfig cfg{};
    cfg.stationsCount = 2;
    strcpy(cfg.stations[1].mac, "aa:bb");
    std::vector<uint8_t> full = encode(cfg);
    AftConfig back{};
    ASSERT_EQ(0u, decodeBounded(full, back).rc);
    // Every strict prefix is refused, whatever item it cuts.
    for (size_t n = 0; n < full.size(); ++n) {
        std::vector<uint8_t> cut(full.begin(), full.begin() + (long)n);
        cut.shrink_to_fit();
        AftConfig r{};
        EXPECT_EQ(4u, decodeBounded(cut, r).rc) << n;
    }
}

TEST_F(Engine, BoundedLengthPastEnd)
{
    std::vector<uint8_t> b = hex("00 00 00 03 FF FF FF F8 00 00 00 01");
    CCARequest r{};
    Decoded d = decodeBounded(b, r);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "intfVelmor_CCARequest_unserialize: pBody(" + at(b.data()) +
                               "): Tl(3-4294967288) -> Beyond end(4)\n",
                           before("intfVelmor_CCARequest_unserialize", b.data(), 4)}));
}

TEST_F(Engine, TextWithoutNulIsRefused)
{
    std::vector<uint8_t> b = hex(
        "00 00 00 03 00 00 00 04 00 00 00 01 00 00 00 04 00 00 00 04 00 00 00 02"
        "00 00 00 05 00 00 00 04 00 00 00 03 00 00 00 06 00 00 00 04 61 62 63 64");
    AftSta r{};
    EXPECT_EQ(4u, decodeBounded(b, r).rc);
    EXPECT_EQ(4u, decode(b, r).rc);
    EXPECT_EQ(lines()[0], "intfVelmor_AftSta_unserialize: pBody(" + at(b.data()) +
                              "): Tl(6-4) -> No NUL\n");
}

}  // namespace
