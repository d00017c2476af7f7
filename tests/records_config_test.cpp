// Records of the config domain: byte examples, lengths, bounds and failures.
#include <stdio.h>

#include <memory>
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

std::string tooLong(const char *fn, int in, int cap) { return tooLongLine(fn, in, cap); }

void befores(Lines &out, const char *fn, const void *base, std::initializer_list<int> tags)
{
    for (int t : tags)
        out.push_back(before(fn, base, t));
}

void beforeRange(Lines &out, const char *fn, const void *base, int from, int to)
{
    for (int t = from; t <= to; ++t)
        out.push_back(before(fn, base, t));
}

// Wire size of a text item of n characters, from the padding rule.
uint32_t textItem(size_t n) { return 8 + (uint32_t)((n + 1) & ~size_t(3)) + 4; }

void fill(char *dst, size_t n, char c)
{
    memset(dst, c, n);
    dst[n] = 0;
}

uint32_t be32(const uint8_t *p) { return (uint32_t)p[0] << 24 | p[1] << 16 | p[2] << 8 | p[3]; }

// Walks the items of a body that holds only 32-bit and text items.
struct Item {
    size_t offset;
    uint32_t tag;
};
std::vector<Item> items(const std::vector<uint8_t> &b)
{
    std::vector<Item> out;
    for (size_t o = 0; o + 8 <= b.size(); o += 8 + be32(&b[o + 4]))
        out.push_back({o, be32(&b[o])});
    return out;
}
std::vector<uint32_t> tagsOf(const std::vector<uint8_t> &b)
{
    std::vector<uint32_t> t;
    for (const Item &i : items(b))
        t.push_back(i.tag);
    return t;
}
void appendRange(std::vector<uint32_t> &v, uint32_t from, uint32_t to)
{
    for (uint32_t t = from; t <= to; ++t)
        v.push_back(t);
}

// ---- MAC filter lists --------------------------------------------------------------

class MacFilter : public LogTest {};

TEST_F(MacFilter, AddressTextBounds)
{
    MacDef m{};
    strcpy(m.mac, "aa:bb:cc:dd:ee:ff");
    std::vector<uint8_t> b = encode(m);
    EXPECT_EQ(toHex(hex("00 00 00 03 00 00 00 14")), toHex(b.data(), 8));
    EXPECT_EQ(28u, b.size());
    MacDef back{};
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_STREQ(m.mac, back.mac);

    alignas(MacDef) char wide[sizeof(MacDef) + 4];
    memset(wide, 'x', sizeof wide);
    EXPECT_EQ(0u, intfVelmor_MacDef_copy(&back, (const MacDef *)(const void *)wide));
    EXPECT_EQ(17u, strlen(back.mac));

    b[8 + 17] = 'y';  // the NUL becomes an 18th character
    strcpy(back.mac, "kept");
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_STREQ("kept", back.mac);
    EXPECT_EQ(lines(), Lines{tooLong("intfVelmor_MacDef_unserialize", 19, 18)});
}

TEST_F(MacFilter, CountsAboveTheBoundAndZero)
{
    MacFilterList l{};
    l.v3 = 0xDEADBEEF;
    EXPECT_EQ(24u, encode(l).size());

    l.macsCount = 60;
    uint32_t want = 24;
    for (int i = 0; i < 50; ++i) {
        snprintf(l.macs[i].mac, sizeof l.macs[i].mac, "m%d", i);
        want += textItem(strlen(l.macs[i].mac));
    }
    std::vector<uint8_t> b = encode(l);
    EXPECT_EQ(want, b.size());
    EXPECT_EQ(toHex(hex("00 00 00 04 00 00 00 04 00 00 00 3C")), toHex(b.data() + 12, 12));
    EXPECT_EQ(52u, items(b).size());

    auto back = std::make_unique<MacFilterList>();
    Decoded d = decode(b, *back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(60u, back->macsCount);
    EXPECT_EQ(0xDEADBEEFu, back->v3);
    EXPECT_STREQ("m49", back->macs[49].mac);

    auto copied = std::make_unique<MacFilterList>();
    EXPECT_EQ(0u, intfVelmor_MacFilterList_copy(copied.get(), &l));
    EXPECT_EQ(60u, copied->macsCount);
    EXPECT_TRUE(sameBytes(l, *copied));
    EXPECT_TRUE(lines().empty());
}

TEST_F(MacFilter, Failures)
{
    MacFilterList l{};
    l.macsCount = 3;
    strcpy(l.macs[0].mac, "first");
    std::vector<uint8_t> good = encode(l);
    const char *fn = "intfVelmor_MacFilterList_unserialize";

    // Wrong leading tag: no count, no element.
    std::vector<uint8_t> b = good;
    b[3] = 9;
    MacFilterList back{};
    back.macsCount = 2;
    EXPECT_EQ(4u, decode(b, back).rc);
    EXPECT_EQ(lines(), (Lines{tl(fn, b.data(), 9, 4, 3), before(fn, b.data(), 4)}));
    EXPECT_STREQ("", back.macs[0].mac);

    // Wrong count tag: only its own line, no element read.
    clearLogs();
    b = good;
    b[12 + 3] = 5;
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(12u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl(fn, b.data(), 5, 4, 4)});
    EXPECT_STREQ("", back.macs[0].mac);

    // A bad second element: logged by the element alone, the first one kept.
    clearLogs();
    b = good;
    size_t second = 24 + textItem(5);
    b[second + 3] = 4;
    d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(second, d.consumed);
    EXPECT_EQ(3u, back.macsCount);
    EXPECT_STREQ("first", back.macs[0].mac);
    EXPECT_EQ(lines(), Lines{tl("intfVelmor_MacDef_unserialize", b.data() + second, 4, 4, 3)});
}

// ---- Access-point security, WPS and access ------------------------------------------

class APSettings : public LogTest {};

TEST_F(APSettings, BackHaulByteExample)
{
    APBackHaulWPSCfg c{};
    c.v3 = 255;
    strcpy(c.ssid, "ab");
    c.v5 = 65535;
    strcpy(c.s7, "abc");
    EXPECT_EQ(toHex(encode(c)),
              toHex(hex("00 00 00 03 00 00 00 04 00 00 00 FF  00 00 00 04 00 00 00 04 61 62 00 00"
                        "00 00 00 05 00 00 00 04 00 00 FF FF  00 00 00 06 00 00 00 04 00 00 00 00"
                        "00 00 00 07 00 00 00 08 61 62 63 00 00 00 00 00"
                        "00 00 00 08 00 00 00 04 00 00 00 00")));
    APBackHaulWPSCfg back{};
    ASSERT_EQ(0u, decode(encode(c), back).rc);
    EXPECT_EQ(255, back.v3);
    EXPECT_EQ(65535, back.v5);
    EXPECT_STREQ("abc", back.s7);

    // A peer's word above 255 in a u8 member keeps its low byte.
    std::vector<uint8_t> b = encode(c);
    b[10] = 0x01, b[11] = 0x2A;
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_EQ(0x2A, back.v3);
}

TEST_F(APSettings, LengthsFollowTheTexts)
{
    APWpsCfg w{};
    APBackHaulWPSCfg h{};
    APSecCfg s{};
    APAccCfg a{};
    EXPECT_EQ(96u, encode(w).size());
    EXPECT_EQ(72u, encode(h).size());
    EXPECT_EQ(336u, encode(s).size());
    EXPECT_EQ(96u, encode(a).size());

    fill(w.pin, 8, '1');
    fill(w.s9, 2047, 'w');
    EXPECT_EQ(6 * 12 + textItem(8) + textItem(2047), encode(w).size());
    fill(s.key, 64, 'k');
    fill(s.ip3, 15, '9');
    fill(s.s22, 200, 'z');
    fill(s.s30, 45, 'e');
    EXPECT_EQ(24 * 12 + textItem(64) + textItem(15) + textItem(200) + textItem(45),
              encode(s).size());
    fill(a.s9, 200, 'a');
    EXPECT_EQ(7 * 12 + textItem(200), encode(a).size());
}

TEST_F(APSettings, WpsLongTextBounds)
{
    auto w = std::make_unique<APWpsCfg>(), back = std::make_unique<APWpsCfg>();
    fill(w->s9, 2047, 'p');
    w->v10 = 0x80000001;
    std::vector<uint8_t> b = encode(*w);
    ASSERT_EQ(0u, decode(b, *back).rc);
    EXPECT_EQ(2047u, strlen(back->s9));
    EXPECT_EQ(0x80000001u, back->v10);

    std::vector<char> wide(sizeof(APWpsCfg) + 8, 'x');
    EXPECT_EQ(0u, intfVelmor_APWpsCfg_copy(back.get(), (const APWpsCfg *)(const void *)wide.data()));
    EXPECT_EQ(2047u, strlen(back->s9));
    EXPECT_EQ(8u, strlen(back->pin));
}

TEST_F(APSettings, SecurityWrongTagMidway)
{
    APSecCfg s{};
    s.v3 = 65535;
    strcpy(s.key, "00ff");
    s.v13 = 13;
    strcpy(s.ip2, "10.0.0.1");
    std::vector<uint8_t> b = encode(s);
    std::vector<Item> it = items(b);
    ASSERT_EQ(28u, it.size());
    size_t bad = it[13].offset;  // tag 16
    b[bad + 3] = 0x61;
    APSecCfg back{};
    strcpy(back.s16, "kept");
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(bad, d.consumed);
    EXPECT_EQ(65535, back.v3);
    EXPECT_STREQ("10.0.0.1", back.ip2);
    EXPECT_STREQ("kept", back.s16);
    const char *fn = "intfVelmor_APSecCfg_unserialize";
    Lines want{tl(fn, b.data(), 0x61, 4, 16)};
    beforeRange(want, fn, b.data(), 17, 30);
    EXPECT_EQ(lines(), want);
}

// ---- Access-point configuration -----------------------------------------------------

class APConfig : public LogTest {};

TEST_F(APConfig, MeasurementsAreABeaconRecordOnTheWire)
{
    RadioMeasurements m{{1, 2, 255}};
    BeaconRequestsCap c{};
    ASSERT_EQ(0u, decode(encode(m), c).rc);
    EXPECT_EQ(255, c.v5);
    c.v3 = 9;
    ASSERT_EQ(0u, decode(encode(c), m).rc);
    EXPECT_EQ(9, m.beaconRequestsCap.v3);
    EXPECT_EQ(encode(c), encode(m));
    EXPECT_EQ(36u, encode(m).size());

    APCfgRet r{7, 200};
    std::vector<uint8_t> b = encode(r);
    EXPECT_EQ(24u, b.size());
    b[12 + 3] = 3;
    EXPECT_EQ(4u, decode(b, r).rc);
    EXPECT_EQ(lines(), Lines{tl("intfVelmor_APCfgRet_unserialize", b.data(), 3, 4, 4)});
}

TEST_F(APConfig, LengthAndWireOrder)
{
    auto c = std::make_unique<APCfg>();
    std::vector<uint8_t> b = encode(*c);
    EXPECT_EQ(804u, b.size());
    std::vector<uint32_t> want{3, 4, 5, 6, 7};
    appendRange(want, 3, 30);  // security
    appendRange(want, 3, 10);  // WPS
    want.push_back(10);
    appendRange(want, 3, 10);  // access
    appendRange(want, 12, 23);
    appendRange(want, 3, 4);   // filter list, no element
    appendRange(want, 3, 5);   // measurements
    EXPECT_EQ(want, tagsOf(b));

    strcpy(c->ssid, "home");
    strcpy(c->s13, "255.255.255.0");
    strcpy(c->apWpsCfg.pin, "12345670");
    strcpy(c->apAccCfg.s8, "radius");
    c->macFilterList.macsCount = 2;
    strcpy(c->macFilterList.macs[1].mac, "aa:bb:cc:dd:ee:ff");
    c->v22 = 65535;
    c->radioMeasurements.beaconRequestsCap.v5 = 1;
    EXPECT_EQ(804 - 4 * 12 + textItem(4) + textItem(13) + textItem(8) + textItem(6) +
                  textItem(0) + textItem(17),
              encode(*c).size());

    auto back = std::make_unique<APCfg>();
    b = encode(*c);
    Decoded d = decode(b, *back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_TRUE(sameBytes(*c, *back));
    EXPECT_EQ(65535, back->v22);
    EXPECT_STREQ("aa:bb:cc:dd:ee:ff", back->macFilterList.macs[1].mac);

    auto copied = std::make_unique<APCfg>();
    EXPECT_EQ(0u, intfVelmor_APCfg_copy(copied.get(), c.get()));
    EXPECT_TRUE(sameBytes(*c, *copied));
    EXPECT_TRUE(lines().empty());
}

TEST_F(APConfig, FilterCountAboveTheBound)
{
    auto c = std::make_unique<APCfg>(), back = std::make_unique<APCfg>();
    c->macFilterList.macsCount = 60;
    for (int i = 0; i < 50; ++i)
        strcpy(c->macFilterList.macs[i].mac, "00:11:22:33:44:55");
    std::vector<uint8_t> b = encode(*c);
    EXPECT_EQ(804u + 50 * textItem(17), b.size());
    ASSERT_EQ(0u, decode(b, *back).rc);
    EXPECT_EQ(60u, back->macFilterList.macsCount);
    EXPECT_STREQ("00:11:22:33:44:55", back->macFilterList.macs[49].mac);
}

TEST_F(APConfig, WpsTextTooLongStopsTheWalk)
{
    auto c = std::make_unique<APCfg>(), back = std::make_unique<APCfg>();
    c->apSecCfg.v3 = 3;
    strcpy(c->apSecCfg.s30, "last");
    c->apWpsCfg.v3 = 1, c->apWpsCfg.v5 = 500, c->apWpsCfg.v8 = 8;
    strcpy(c->apWpsCfg.pin, "87654321");
    fill(c->apWpsCfg.s9, 2047, 'q');
    c->apWpsCfg.v10 = 10;
    c->v10 = 11;
    strcpy(c->s12, "x");
    std::vector<uint8_t> b = encode(*c);
    std::vector<Item> it = items(b);
    const uint8_t *wps = b.data() + it[5 + 28].offset;
    size_t s9 = it[5 + 28 + 6].offset;
    ASSERT_EQ(9u, it[5 + 28 + 6].tag);
    b[s9 + 8 + 2047] = 'q';  // 2048 characters, the NUL now in the padding

    strcpy(back->apWpsCfg.s9, "old");
    back->v23 = 7;
    Decoded d = decode(b, *back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(s9, d.consumed);
    EXPECT_EQ(3, back->apSecCfg.v3);
    EXPECT_STREQ("last", back->apSecCfg.s30);
    EXPECT_EQ(1, back->apWpsCfg.v3);
    EXPECT_EQ(500, back->apWpsCfg.v5);
    EXPECT_STREQ("87654321", back->apWpsCfg.pin);
    EXPECT_EQ(8u, back->apWpsCfg.v8);
    EXPECT_STREQ("old", back->apWpsCfg.s9);
    EXPECT_EQ(0u, back->apWpsCfg.v10);
    EXPECT_EQ(0, back->v10);
    EXPECT_STREQ("", back->s12);
    EXPECT_EQ(7, back->v23);

    const char *fn = "intfVelmor_APCfg_unserialize";
    Lines want{tooLong("intfVelmor_APWpsCfg_unserialize", 2049, 2048),
               before("intfVelmor_APWpsCfg_unserialize", wps, 10), before(fn, b.data(), 10)};
    beforeRange(want, fn, b.data(), 12, 23);
    EXPECT_EQ(lines(), want);
}

TEST_F(APConfig, ChainSkipsNestedMemberNumbers)
{
    auto c = std::make_unique<APCfg>(), back = std::make_unique<APCfg>();
    std::vector<uint8_t> b = encode(*c);
    b[3] = 4;
    Decoded d = decode(b, *back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    const char *fn = "intfVelmor_APCfg_unserialize";
    Lines want{tl(fn, b.data(), 4, 4, 3)};
    befores(want, fn, b.data(), {4, 5, 6, 7, 10});
    beforeRange(want, fn, b.data(), 12, 23);
    EXPECT_EQ(lines(), want);

    // A failure in the filter list or the measurements adds no owner line.
    clearLogs();
    b = encode(*c);
    size_t meas = b.size() - 36;
    b[meas + 12 + 3] = 6;
    d = decode(b, *back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(meas + 12, d.consumed);
    const char *bc = "intfVelmor_BeaconRequestsCap_unserialize";
    EXPECT_EQ(lines(), (Lines{tl(bc, b.data() + meas, 6, 4, 4), before(bc, b.data() + meas, 5)}));
}

// ---- Capacities -----------------------------------------------------------------------

class Capacity : public LogTest {};

TEST_F(Capacity, LengthsAndAddressTexts)
{
    APCapacity ap{};
    EPCapacity ep{};
    ANCapacity an{};
    EXPECT_EQ(72u, encode(ap).size());
    EXPECT_EQ(36u, encode(ep).size());
    EXPECT_EQ(24u, encode(an).size());

    const char *mac = "01:23:45:67:89:ab";
    strcpy(ap.mac, mac), strcpy(ep.mac, mac), strcpy(an.mac, mac);
    ap.v8 = 0xFFFFFFFF;
    APCapacity ap2{};
    EPCapacity ep2{};
    ANCapacity an2{};
    ASSERT_EQ(0u, decode(encode(ap), ap2).rc);
    ASSERT_EQ(0u, decode(encode(ep), ep2).rc);
    ASSERT_EQ(0u, decode(encode(an), an2).rc);
    EXPECT_STREQ(mac, ap2.mac);
    EXPECT_STREQ(mac, ep2.mac);
    EXPECT_STREQ(mac, an2.mac);
    EXPECT_EQ(0xFFFFFFFFu, ap2.v8);
    EXPECT_EQ(60 + textItem(17), encode(ap).size());
}

TEST_F(Capacity, SignedAndUnsignedSixteenBits)
{
    EPCapacity ep{};
    ep.v4 = -300;
    std::vector<uint8_t> b = encode(ep);
    EXPECT_EQ(toHex(hex("FF FF FE D4")), toHex(b.data() + 12 + 8, 4));
    EPCapacity ep2{};
    ASSERT_EQ(0u, decode(b, ep2).rc);
    EXPECT_EQ(-300, ep2.v4);

    ANCapacity an{};
    an.v4 = 65236;
    b = encode(an);
    EXPECT_EQ(toHex(hex("00 00 FE D4")), toHex(b.data() + 12 + 8, 4));
    ANCapacity an2{};
    ASSERT_EQ(0u, decode(b, an2).rc);
    EXPECT_EQ(65236, an2.v4);
}

TEST_F(Capacity, TooLongAddressRefused)
{
    APCapacity ap{};
    fill(ap.mac, 17, 'm');
    std::vector<uint8_t> b = encode(ap);
    b[8 + 17] = 'm';
    APCapacity back{};
    EXPECT_EQ(4u, decode(b, back).rc);
    const char *fn = "intfVelmor_APCapacity_unserialize";
    Lines want{tooLong(fn, 19, 18)};
    beforeRange(want, fn, b.data(), 4, 8);
    EXPECT_EQ(lines(), want);
}

// ---- EP and AN configuration ----------------------------------------------------------

class EPAN : public LogTest {};

TEST_F(EPAN, LengthsAndWireOrder)
{
    EPSecCfg es{};
    ANSecCfg as{};
    EPCfg ep{};
    ANCfg an{};
    EXPECT_EQ(36u, encode(es).size());
    EXPECT_EQ(36u, encode(as).size());
    EXPECT_EQ(48u, encode(ep).size());
    EXPECT_EQ(60u, encode(an).size());
    EXPECT_EQ((std::vector<uint32_t>{3, 3, 4, 5}), tagsOf(encode(ep)));
    EXPECT_EQ((std::vector<uint32_t>{3, 4, 3, 4, 5}), tagsOf(encode(an)));

    fill(an.s3, 32, 's');
    fill(an.anSecCfg.s4, 26, 'p');
    fill(an.anSecCfg.key, 64, 'k');
    EXPECT_EQ(24 + textItem(32) + textItem(26) + textItem(64), encode(an).size());
    ANCfg back{};
    ASSERT_EQ(0u, decode(encode(an), back).rc);
    EXPECT_TRUE(sameBytes(an, back));
}

TEST_F(EPAN, SecurityRecordsReadEachOther)
{
    EPSecCfg e{};
    e.v3 = 65535;
    strcpy(e.s4, "psk");
    fill(e.key, 64, 'f');
    ANSecCfg a{};
    ASSERT_EQ(0u, decode(encode(e), a).rc);
    EXPECT_EQ(65535, a.v3);
    EXPECT_STREQ("psk", a.s4);
    EXPECT_EQ(64u, strlen(a.key));
    EPSecCfg e2{};
    ASSERT_EQ(0u, decode(encode(a), e2).rc);
    EXPECT_EQ(encode(e), encode(e2));

    alignas(ANSecCfg) char wide[sizeof(ANSecCfg) + 4];
    memset(wide, 'y', sizeof wide);
    EXPECT_EQ(0u, intfVelmor_ANSecCfg_copy(&a, (const ANSecCfg *)(const void *)wide));
    EXPECT_EQ(64u, strlen(a.key));
    EXPECT_EQ(26u, strlen(a.s4));
}

TEST_F(EPAN, Failures)
{
    EPSecCfg e{};
    fill(e.key, 64, 'f');
    std::vector<uint8_t> b = encode(e);
    size_t key = 24;
    b[key + 8 + 64] = 'f';
    EXPECT_EQ(4u, decode(b, e).rc);
    EXPECT_EQ(lines(), Lines{tooLong("intfVelmor_EPSecCfg_unserialize", 66, 65)});

    // The owner's text failing: EPCfg has no later item at its level, ANCfg has tag 4.
    clearLogs();
    EPCfg ep{};
    fill(ep.ssid, 32, 's');
    b = encode(ep);
    b[8 + 32] = 's';
    Decoded d = decode(b, ep);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_EQ(lines(), Lines{tooLong("intfVelmor_EPCfg_unserialize", 34, 33)});

    clearLogs();
    ANCfg an{};
    fill(an.s3, 32, 's');
    b = encode(an);
    b[8 + 32] = 's';
    EXPECT_EQ(4u, decode(b, an).rc);
    EXPECT_EQ(lines(), (Lines{tooLong("intfVelmor_ANCfg_unserialize", 34, 33),
                              before("intfVelmor_ANCfg_unserialize", b.data(), 4)}));
}

// ---- Radio configuration --------------------------------------------------------------

class RadioConfig : public LogTest {};

std::vector<uint8_t> filledRadio(RadioCfg &r)
{
    r.v3 = 3, r.v4 = 0xA0000004, r.v15 = 65535, r.v16 = 1600, r.v28 = 2800, r.v34 = 3400;
    r.v38 = 38, r.v44 = 4400, r.v26 = 0x26000000, r.v50 = 0x50000000, r.v64 = 255;
    strcpy(r.s8, "eight");
    strcpy(r.s18, "abc");
    strcpy(r.s19, "123456789");
    strcpy(r.s46, "forty-six");
    strcpy(r.survey.s3, "survey");
    r.survey.v5 = 5;
    return encode(r);
}

TEST_F(RadioConfig, LengthWireOrderAndRoundTrip)
{
    RadioCfg r{};
    EXPECT_EQ(768u, encode(r).size());
    std::vector<uint8_t> b = filledRadio(r);
    EXPECT_EQ(768 + textItem(5) + textItem(3) + textItem(9) + textItem(9) + textItem(6) - 5 * 12,
              b.size());
    std::vector<uint32_t> want;
    appendRange(want, 3, 38);
    appendRange(want, 3, 5);
    appendRange(want, 40, 64);
    EXPECT_EQ(want, tagsOf(b));
    // Three characters and the NUL fill four bytes: four pad bytes follow.
    EXPECT_EQ(toHex(hex("00 00 00 12 00 00 00 08 61 62 63 00 00 00 00 00")),
              toHex(b.data() + items(b)[15].offset, 16));

    RadioCfg back{};
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_TRUE(sameBytes(r, back));
    EXPECT_EQ(0xA0000004u, back.v4);
    EXPECT_EQ(65535, back.v15);
    EXPECT_EQ(1600 + 2800 + 3400 + 4400, back.v16 + back.v28 + back.v34 + back.v44);
    EXPECT_EQ(0x26000000u, back.v26);
    EXPECT_EQ(0x50000000u, back.v50);
    EXPECT_EQ(255, back.v64);
    EXPECT_STREQ("survey", back.survey.s3);
    EXPECT_EQ(5u, back.survey.v5);

    RadioCfg copied{};
    EXPECT_EQ(0u, intfVelmor_RadioCfg_copy(&copied, &r));
    EXPECT_TRUE(sameBytes(r, copied));
    EXPECT_TRUE(lines().empty());
}

TEST_F(RadioConfig, TextBounds)
{
    RadioCfg r{}, back{};
    fill(r.s8, 149, 't');
    std::vector<uint8_t> b = encode(r);
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_EQ(149u, strlen(back.s8));

    alignas(RadioCfg) char wide[sizeof(RadioCfg)];
    memset(wide, 'w', sizeof wide);
    EXPECT_EQ(0u, intfVelmor_RadioCfg_copy(&back, (const RadioCfg *)(const void *)wide));
    EXPECT_EQ(149u, strlen(back.s8));
    EXPECT_EQ(3u, strlen(back.s18));
    EXPECT_EQ(9u, strlen(back.s19));
    EXPECT_EQ(31u, strlen(back.s46));
    EXPECT_EQ(149u, strlen(back.survey.s3));

    size_t s8 = items(b)[5].offset;
    b[s8 + 8 + 149] = 't';
    RadioCfg fresh{};
    Decoded d = decode(b, fresh);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(s8, d.consumed);
    const char *fn = "intfVelmor_RadioCfg_unserialize";
    Lines want{tooLong(fn, 151, 150)};
    beforeRange(want, fn, b.data(), 9, 38);
    beforeRange(want, fn, b.data(), 40, 64);
    EXPECT_EQ(lines(), want);

    // Four characters at tag 18 cannot arrive.
    clearLogs();
    r = RadioCfg{};
    strcpy(r.s18, "abc");
    b = encode(r);
    size_t s18 = items(b)[15].offset;
    std::vector<uint8_t> four = hex("00 00 00 12 00 00 00 08 61 62 63 64 00 00 00 00");
    b.erase(b.begin() + (long)s18, b.begin() + (long)s18 + 12);
    b.insert(b.begin() + (long)s18, four.begin(), four.end());
    EXPECT_EQ(4u, decode(b, fresh).rc);
    EXPECT_EQ(lines().at(0), tooLong(fn, 5, 4));
}

TEST_F(RadioConfig, NestedSurveyExpectsItsOwnTags)
{
    RadioCfg r{}, back{};
    std::vector<uint8_t> b = filledRadio(r);
    std::vector<Item> it = items(b);
    ASSERT_EQ(38u, it[35].tag);
    size_t survey = it[36].offset;
    b[survey + 3] = 39;
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(survey, d.consumed);
    EXPECT_EQ(38, back.v38);
    EXPECT_STREQ("", back.survey.s3);
    EXPECT_EQ(0, back.v40);
    const char *in = "intfVelmor_siteSurveyCfg_unserialize";
    const char *fn = "intfVelmor_RadioCfg_unserialize";
    Lines want{tl(in, b.data() + survey, 39, textItem(6) - 8, 3)};
    befores(want, in, b.data() + survey, {4, 5});
    beforeRange(want, fn, b.data(), 40, 64);
    EXPECT_EQ(lines(), want);
}

}  // namespace
