// Records of the station domain: byte examples, lengths, bounds and failures.
#include <stdio.h>

#include <string>

#include "record_ops.h"
#include "testkit.h"

using namespace ivtest;

namespace {

std::string tl(const char *type, const void *base, unsigned long long tag, unsigned long long len,
               unsigned expected)
{
    return tlLine(unserializeFn(type), base, tag, len, expected);
}

// "Error Before" lines for tags from..to of one record level.
Lines before(const char *type, const void *base, int from, int to)
{
    return errorBeforeLines(unserializeFn(type), base, from, to);
}

std::string chain(const char *type, int in, int cap)
{
    return tooLongLine(unserializeFn(type), in, cap);
}

uint32_t u32at(const std::vector<uint8_t> &b, size_t off)
{
    return (uint32_t)b[off] << 24 | (uint32_t)b[off + 1] << 16 | (uint32_t)b[off + 2] << 8 | b[off + 3];
}

// Text bytes beyond a string item's own characters, as the length formula counts them.
uint32_t pad(size_t n) { return (uint32_t)((n + 1) & ~3u); }

const char kMac[] = "aa:bb:cc:dd:ee:ff";

// ---- Associated devices ---------------------------------------------------------

class AssocDev : public LogTest {};

TEST_F(AssocDev, InfoLengthsAndLayout)
{
    assocDevStats st;
    memset(&st, 0xA5, sizeof st);
    EXPECT_EQ(156u, encode(st).size());

    assocDevInfo info{};
    std::vector<uint8_t> b = encode(info);
    ASSERT_EQ(648u, b.size());
    // 29 own items (396 bytes), the stats' first 64-bit item, then tag 33: no item 32.
    EXPECT_EQ(31u, u32at(b, 396 - 12));
    EXPECT_EQ(toHex(hex("00 00 00 00 00 00 00 03")), toHex(b.data() + 396, 8));
    EXPECT_EQ(33u, u32at(b, 552));
    EXPECT_EQ(40u, u32at(b, 636));

    strcpy(info.mac, kMac);
    memset(info.s36, 'q', 149);
    strcpy(info.s21, "14-characters!");
    EXPECT_EQ(492u + 156 + pad(17) + pad(149) + pad(14), intfVelmor_assocDevInfo_serialize_lg(&info));
    EXPECT_EQ((size_t)intfVelmor_assocDevInfo_serialize_lg(&info), encode(info).size());
}

TEST_F(AssocDev, InfoSignedNarrowAnd64BitValues)
{
    assocDevInfo info{}, back{};
    info.v4 = 200, info.v8 = -300, info.v11 = -70, info.v17 = -1;
    info.v23 = (1ull << 40) + 5, info.stats.v6 = ~0ull, info.v40 = 9;
    std::vector<uint8_t> b = encode(info);
    EXPECT_EQ(toHex(hex("00 00 00 C8")), toHex(b.data() + 20, 4));
    EXPECT_EQ(toHex(hex("FF FF FE D4")), toHex(b.data() + 68, 4));
    EXPECT_EQ(toHex(hex("FF FF FF BA")), toHex(b.data() + 104, 4));
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(200, back.v4);
    EXPECT_EQ(-300, back.v8);
    EXPECT_EQ(-70, back.v11);
    EXPECT_EQ(-1, back.v17);
    EXPECT_EQ(info.v23, back.v23);
    EXPECT_EQ(~0ull, back.stats.v6);
    EXPECT_EQ(9, back.v40);
}

TEST_F(AssocDev, ListsEmptyAndAboveBound)
{
    static assocDevListRet ret, copied, back;
    static assocDevListReq req, reqBack;
    memset(&ret, 0, sizeof ret);
    memset(&req, 0, sizeof req);
    EXPECT_EQ(12u, encode(ret).size());
    EXPECT_EQ(12u, encode(req).size());

    ret.devicesCount = req.devicesCount = 150;
    for (int i = 0; i < 100; ++i) {
        snprintf(ret.devices[i].mac, 18, "00:00:00:00:00:%02x", i);
        ret.devices[i].stats.v11 = (uint32_t)i;
        req.devices[i].v4 = (uint8_t)i;
    }
    EXPECT_EQ(12u + 100 * (648 + pad(17)), intfVelmor_assocDevListRet_serialize_lg(&ret));
    EXPECT_EQ(12u + 100 * 24, intfVelmor_assocDevListReq_serialize_lg(&req));

    memset(&copied, 0, sizeof copied);
    EXPECT_EQ(0u, intfVelmor_assocDevListRet_copy(&copied, &ret));
    EXPECT_EQ(150u, copied.devicesCount);
    EXPECT_TRUE(sameBytes(ret, copied));

    std::vector<uint8_t> b = encode(ret);
    EXPECT_EQ(150u, u32at(b, 8));
    memset(&back, 0, sizeof back);
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(150u, back.devicesCount);
    EXPECT_STREQ("00:00:00:00:00:63", back.devices[99].mac);
    EXPECT_EQ(99u, back.devices[99].stats.v11);

    memset(&reqBack, 0, sizeof reqBack);
    EXPECT_EQ(0u, decode(encode(req), reqBack).rc);
    EXPECT_EQ(150u, reqBack.devicesCount);
    EXPECT_EQ(99, reqBack.devices[99].v4);
    EXPECT_TRUE(lines().empty());
}

TEST_F(AssocDev, MacTextCapacity)
{
    assocDevDescr d{}, back{};
    strcpy(d.mac, kMac);
    d.v4 = 7;
    std::vector<uint8_t> b = encode(d);
    EXPECT_EQ(u32at(b, 4), 20u);
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_STREQ(kMac, back.mac);

    char wide[sizeof(assocDevDescr) + 4];
    memset(wide, 'x', sizeof wide);
    EXPECT_EQ(0u, intfVelmor_assocDevDescr_copy(&back, (const assocDevDescr *)(void *)wide));
    EXPECT_EQ(std::string(17, 'x'), back.mac);

    // 18 characters keep the item length of 20: only the NUL moves.
    b[8 + 17] = 'x';
    strcpy(back.mac, "kept");
    back.v4 = 1;
    Decoded r = decode(b, back);
    EXPECT_EQ(4u, r.rc);
    EXPECT_EQ(0u, r.consumed);
    EXPECT_STREQ("kept", back.mac);
    EXPECT_EQ(1, back.v4);
    EXPECT_EQ(lines(), Lines{chain("assocDevDescr", 19, 18)} + before("assocDevDescr", b.data(), 4, 4));
}

TEST_F(AssocDev, NestedStatsFailureRunsInfoChain)
{
    assocDevInfo info{}, back{};
    info.v31 = 31;
    std::vector<uint8_t> b = encode(info);
    b[396 + 3] = 1;  // high word of the stats' first 64-bit tag
    back.v33 = 77;
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(396u, d.consumed);
    EXPECT_EQ(31u, back.v31);
    EXPECT_EQ(77, back.v33);
    EXPECT_EQ(lines(), Lines{tl("assocDevStats", b.data() + 396, (1ull << 32) + 3, 8, 3)} +
                           before("assocDevStats", b.data() + 396, 4, 11) +
                           before("assocDevInfo", b.data(), 33, 40));
}

TEST_F(AssocDev, ElementFailureStopsTheList)
{
    assocDevListReq req{}, back{};
    req.devicesCount = 3;
    for (int i = 0; i < 3; ++i)
        req.devices[i].v4 = (uint8_t)(i + 1);
    std::vector<uint8_t> b = encode(req);
    b[12 + 24 + 12 + 3] = 9;  // tag 4 of the second descriptor
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(48u, d.consumed);
    EXPECT_EQ(3u, back.devicesCount);
    EXPECT_EQ(1, back.devices[0].v4);
    EXPECT_EQ(0, back.devices[1].v4);
    EXPECT_EQ(lines(), Lines{tl("assocDevDescr", b.data() + 36, 9, 4, 4)});
}

// ---- Probe requests and low RSSI ------------------------------------------------

class Probe : public LogTest {};

TEST_F(Probe, LowRssiExample)
{
    LowRSSINtf n{}, back{};
    strcpy(n.mac, kMac);
    n.v4 = -70;
    std::vector<uint8_t> b = encode(n);
    EXPECT_EQ(toHex(b), toHex(hex("00 00 00 03 00 00 00 14 61 61 3A 62 62 3A 63 63 3A 64 64 3A"
                                  "65 65 3A 66 66 00 00 00 00 00 00 04 00 00 00 04 FF FF FF BA")));
    n.v4 = -85;
    ASSERT_EQ(0u, decode(encode(n), back).rc);
    EXPECT_EQ(-85, back.v4);
    EXPECT_STREQ(kMac, back.mac);
}

TEST_F(Probe, ListBoundsAndTrailingText)
{
    static ProbeRequestList l, back;
    memset(&l, 0, sizeof l);
    EXPECT_EQ(24u, encode(l).size());

    l.probesCount = 120;
    for (int i = 0; i < 100; ++i)
        l.probes[i].v6 = (uint32_t)i + 1;
    strcpy(l.s5, "14-characters!");
    std::vector<uint8_t> b = encode(l);
    ASSERT_EQ(24u + 100 * 48 + pad(14), b.size());
    EXPECT_EQ(5u, u32at(b, 12 + 100 * 48));
    memset(&back, 0, sizeof back);
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(120u, back.probesCount);
    EXPECT_EQ(100u, back.probes[99].v6);
    EXPECT_STREQ(l.s5, back.s5);

    memset(l.s5, 'y', sizeof l.s5);  // no NUL: copy cuts to 14
    EXPECT_EQ(0u, intfVelmor_ProbeRequestList_copy(&back, &l));
    EXPECT_EQ(std::string(14, 'y'), back.s5);
    EXPECT_EQ(120u, back.probesCount);
}

TEST_F(Probe, ListFailures)
{
    ProbeRequestList l{};
    l.probesCount = 2;
    std::vector<uint8_t> good = encode(l);

    // A 15-character text: item length 20.
    std::vector<uint8_t> b(good.begin(), good.end() - 12);
    std::vector<uint8_t> text = hex("00 00 00 05 00 00 00 14");
    text.resize(28, 0);
    memset(text.data() + 8, 'z', 15);
    b.insert(b.end(), text.begin(), text.end());
    ProbeRequestList back{};
    strcpy(back.s5, "kept");
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(b.size() - 28, d.consumed);
    EXPECT_STREQ("kept", back.s5);
    EXPECT_EQ(lines(), Lines{chain("ProbeRequestList", 16, 15)});

    // Wrong count tag: the count keeps its value, no element, tag 5 reported.
    clearLogs();
    b = good;
    b[3] = 6;
    back.probesCount = 1;
    back.probes[0].v4 = 55;
    d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_EQ(1u, back.probesCount);
    EXPECT_EQ(55u, back.probes[0].v4);
    EXPECT_EQ(lines(), Lines{tl("ProbeRequestList", b.data(), 6, 4, 3)} +
                           before("ProbeRequestList", b.data(), 5, 5));

    // A failing element: its own chain, then tag 5 at the list's level.
    clearLogs();
    b = good;
    b[12 + 48 + 3] = 0x13;
    d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(60u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl("ProbeRequestRxInfo", b.data() + 60, 0x13, 4, 3)} +
                           before("ProbeRequestRxInfo", b.data() + 60, 4, 6) +
                           before("ProbeRequestList", b.data(), 5, 5));
}

// ---- BSS transition -------------------------------------------------------------

class BssTransition : public LogTest {};

TEST_F(BssTransition, FrameLengthsAndBound)
{
    bssTransitionActionFrame f{}, back{};
    EXPECT_EQ(168u, encode(f).size());
    bssTransitionResponse r{};
    EXPECT_EQ(24u, encode(r).size());

    f.candidatesCount = 12;
    for (int i = 0; i < 10; ++i) {
        snprintf(f.candidates[i].mac, 18, "aa:bb:cc:dd:ee:%02d", i);
        f.candidates[i].v9 = (uint8_t)(i + 1);
    }
    EXPECT_EQ(168u + 10 * (84 + pad(17)), intfVelmor_bssTransitionActionFrame_serialize_lg(&f));
    std::vector<uint8_t> b = encode(f);
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(12u, back.candidatesCount);
    EXPECT_EQ(10, back.candidates[9].v9);
    EXPECT_STREQ("aa:bb:cc:dd:ee:09", back.candidates[9].mac);

    bssTransitionActionFrame copied{};
    EXPECT_EQ(0u, intfVelmor_bssTransitionActionFrame_copy(&copied, &f));
    EXPECT_TRUE(sameBytes(f, copied));
}

TEST_F(BssTransition, RequestLayoutAndNestedFailure)
{
    bssTransitionRequest rq{}, back{};
    rq.actionFrame.v3 = 0x1234;
    rq.actionFrame.candidatesCount = 1;
    strcpy(rq.mac, kMac);
    std::vector<uint8_t> b = encode(rq);
    ASSERT_EQ(168u + 84 + 36 + pad(17), b.size());
    EXPECT_EQ(toHex(hex("00 00 00 03 00 00 00 04 00 00 12 34")), toHex(b.data(), 12));
    EXPECT_EQ(4u, u32at(b, 168 + 84));
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_STREQ(kMac, back.mac);

    // The leading candidate's text item (tag 5) gets a wrong tag.
    b[72 + 24 + 3] = 0x99;
    back = bssTransitionRequest{};
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(96u, d.consumed);
    EXPECT_EQ(0x1234u, back.actionFrame.v3);
    EXPECT_EQ(lines(), Lines{tl("bssTransitionCandidateList", b.data() + 72, 0x99, 4, 5)} +
                           before("bssTransitionCandidateList", b.data() + 72, 6, 9) +
                           before("bssTransitionActionFrame", b.data(), 10, 10) +
                           before("bssTransitionRequest", b.data(), 4, 6));
}

// ---- Measurement requests and beacon reports --------------------------------------

class Measurement : public LogTest {};

TEST_F(Measurement, SmallRecords)
{
    RadioMeasurementRequestCfg rm{1, 500};
    EXPECT_EQ(toHex(encode(rm)), toHex(hex("00 00 00 03 00 00 00 04 00 00 00 01"
                                           "00 00 00 04 00 00 00 04 00 00 01 F4")));
    RadioMeasurementRequestCfg rmBack{};
    ASSERT_EQ(0u, decode(encode(rm), rmBack).rc);
    EXPECT_EQ(500, rmBack.v4);
    MeasurementRequestCfg m{0xFF, 0xFF};
    EXPECT_EQ(24u, intfVelmor_MeasurementRequestCfg_serialize_lg(&m));

    BeaconRequestAPCfg ap{}, apBack{};
    memset(ap.s6, 'e', 31);
    EXPECT_EQ(48u + pad(0) + pad(31), encode(ap).size());
    ASSERT_EQ(0u, decode(encode(ap), apBack).rc);
    EXPECT_STREQ(ap.s6, apBack.s6);

    BeaconIECfg ie{}, ieBack{};
    strcpy(ie.s3, "ie");
    ie.v5 = 0xDEADBEEF;
    EXPECT_EQ(36u + pad(2), encode(ie).size());
    ASSERT_EQ(0u, decode(encode(ie), ieBack).rc);
    EXPECT_EQ(0xDEADBEEFu, ieBack.v5);
}

TEST_F(Measurement, BeaconRequestLayoutAndByteCount)
{
    static BeaconRequestCfg rq, back, copied;
    memset(&rq, 0, sizeof rq);
    std::vector<uint8_t> b = encode(rq);
    ASSERT_EQ(132u, b.size());
    std::vector<uint32_t> tags;
    for (size_t off = 0; off < b.size(); off += 12)
        tags.push_back(u32at(b, off));
    EXPECT_EQ(tags, (std::vector<uint32_t>{3, 4, 5, 3, 4, 3, 4, 6, 7, 8, 9}));

    rq.apsCount = 40;
    for (int i = 0; i < 30; ++i)
        rq.aps[i].v4 = (uint32_t)i + 1;
    b = encode(rq);
    ASSERT_EQ(132u + 30 * 48, b.size());
    EXPECT_EQ(40u, u32at(b, 128));
    b[130] = 0x01;  // 0x128 on the wire: the count keeps its low byte
    memset(&back, 0, sizeof back);
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(40, back.apsCount);
    EXPECT_EQ(30u, back.aps[29].v4);

    memset(&copied, 0, sizeof copied);
    EXPECT_EQ(0u, intfVelmor_BeaconRequestCfg_copy(&copied, &rq));
    EXPECT_EQ(40, copied.apsCount);
    EXPECT_TRUE(sameBytes(rq, copied));
}

TEST_F(Measurement, BeaconRequestNestedFailure)
{
    BeaconRequestCfg rq{}, back{};
    std::vector<uint8_t> b = encode(rq);
    b[12 + 3] = 0x40;  // tag 4 of the action frame settings
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(12u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl("ActionFrameCfg", b.data(), 0x40, 4, 4)} +
                           before("ActionFrameCfg", b.data(), 5, 5) +
                           before("BeaconRequestCfg", b.data(), 6, 9));
}

TEST_F(Measurement, BeaconReport)
{
    static beaconReport rp, back;
    memset(&rp, 0, sizeof rp);
    std::vector<uint8_t> b = encode(rp);
    ASSERT_EQ(60u, b.size());
    // The timestamp's 64-bit item comes first; the report's text follows with tag 4.
    EXPECT_EQ(toHex(hex("00 00 00 00 00 00 00 03 00 00 00 00 00 00 00 08")), toHex(b.data(), 16));
    EXPECT_EQ(4u, u32at(b, 36));
    EXPECT_EQ(5u, u32at(b, 48));

    rp.timestamp.v3 = (1ull << 33) + 1;
    rp.eltsCount = 1;
    rp.elts[0].v11 = 11;
    memset(rp.elts[0].extraBeaconReportElt.s5, 'r', 29);
    b = encode(rp);
    ASSERT_EQ(60u + 108 + pad(0) + 36 + pad(29), b.size());
    memset(&back, 0, sizeof back);
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_EQ(rp.timestamp.v3, back.timestamp.v3);
    EXPECT_STREQ(rp.elts[0].extraBeaconReportElt.s5, back.elts[0].extraBeaconReportElt.s5);

    // 30 characters still fit the item of 32 bytes, but not the member.
    b[192 + 8 + 29] = 'r';
    memset(&back, 0, sizeof back);
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(192u, d.consumed);
    EXPECT_EQ(11u, back.elts[0].v11);
    EXPECT_EQ(1u, back.eltsCount);
    EXPECT_EQ(lines(), Lines{chain("ExtraBeaconReportElt", 31, 30)});

    clearLogs();
    b[3] = 1;
    d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl("Timestamp", b.data(), (1ull << 32) + 3, 8, 3)} +
                           before("Timestamp", b.data(), 4, 4) +
                           before("beaconReport", b.data(), 4, 5));
}

// ---- Band steering --------------------------------------------------------------

class BandSteering : public LogTest {};

TEST_F(BandSteering, FixedAndTextLengths)
{
    BSDSteeringPolicy sp;
    BSDStaSelectPolicy ss;
    bounceDetection bd;
    BSDCfg cfg;
    memset(&sp, 0xFF, sizeof sp);
    memset(&ss, 0xFF, sizeof ss);
    memset(&bd, 0xFF, sizeof bd);
    memset(&cfg, 0xFF, sizeof cfg);
    EXPECT_EQ(132u, encode(sp).size());
    EXPECT_EQ(216u, encode(ss).size());
    EXPECT_EQ(36u, encode(bd).size());
    EXPECT_EQ(108u, encode(cfg).size());

    BsdStatsStation st{}, stBack{};
    strcpy(st.mac, kMac);
    memset(st.s4, 'a', 14);
    memset(st.s11, 'b', 63);
    memset(st.s13, 'c', 31);
    st.v12 = 12;
    EXPECT_EQ(132u + pad(17) + pad(14) + pad(0) + pad(63) + pad(31), encode(st).size());
    ASSERT_EQ(0u, decode(encode(st), stBack).rc);
    EXPECT_TRUE(sameBytes(st, stBack));

    BsdStatsRadio ra{};
    strcpy(ra.s7, "radio");
    EXPECT_EQ(60u + pad(0) + pad(5), encode(ra).size());
}

TEST_F(BandSteering, WholeConfigTravelsEveryEntry)
{
    static BandSteeringCfg c, back, copied;
    memset(&c, 0, sizeof c);
    EXPECT_EQ(15192u, encode(c).size());

    c.v3 = -1;
    c.bsdCfg.bounce.v5 = 5;
    for (int i = 0; i < 3; ++i) {
        snprintf(c.itfCfgs[i].s3, 64, "wl%d", i);
        c.itfCfgs[i].bsdStaSelectPolicy.v20 = (uint8_t)(i + 1);
    }
    for (int i = 0; i < 10; ++i) {
        snprintf(c.devices[i].mac, 18, "00:11:22:33:44:%02d", i);
        c.devices[i].v5 = -1;
    }
    c.devices[199].v7 = -128;
    std::vector<uint8_t> b = encode(c);
    ASSERT_EQ(15192u + 3 * pad(3) + 10 * pad(17), b.size());
    EXPECT_EQ(toHex(hex("FF FF FF FF")), toHex(b.data() + 8, 4));
    memset(&back, 0, sizeof back);
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(-1, back.v3);
    EXPECT_EQ(5u, back.bsdCfg.bounce.v5);
    EXPECT_EQ(3, back.itfCfgs[2].bsdStaSelectPolicy.v20);
    EXPECT_EQ(-1, back.devices[9].v5);
    EXPECT_EQ(-128, back.devices[199].v7);

    memset(&copied, 0, sizeof copied);
    EXPECT_EQ(0u, intfVelmor_BandSteeringCfg_copy(&copied, &c));
    EXPECT_TRUE(sameBytes(c, copied));
    EXPECT_TRUE(lines().empty());
}

TEST_F(BandSteering, Failures)
{
    static BandSteeringCfg c, back;
    memset(&c, 0, sizeof c);
    for (int i = 0; i < 200; ++i)
        c.devices[i].v4 = (uint32_t)i + 1;
    std::vector<uint8_t> b = encode(c);

    // Device 5's tag 4: earlier entries read, later ones untouched, no owner lines.
    size_t dev5 = 12 + 108 + 8 * 384 + 5 * 60;
    b[dev5 + 12 + 3] = 0x21;
    memset(&back, 0, sizeof back);
    back.devices[6].v4 = 999;
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(dev5 + 12, d.consumed);
    EXPECT_EQ(5u, back.devices[4].v4);
    EXPECT_EQ(0u, back.devices[5].v4);
    EXPECT_EQ(999u, back.devices[6].v4);
    EXPECT_EQ(lines(), Lines{tl("BSDDevices", b.data() + dev5, 0x21, 4, 4)} +
                           before("BSDDevices", b.data() + dev5, 5, 7));

    // A wrong first tag reads nothing further and logs nothing more.
    clearLogs();
    b[3] = 2;
    d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl("BandSteeringCfg", b.data(), 2, 4, 3)});
}

}  // namespace
