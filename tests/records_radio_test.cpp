// Records of the radio domain: byte examples, lengths, bounds and failures.
#include <stdio.h>

#include <sstream>
#include <string>

#include "record_ops.h"
#include "testkit.h"

using namespace ivtest;

namespace {

using Bytes = std::vector<uint8_t>;

// ---- wire building and log expectations ---------------------------------------

void put32(Bytes &b, uint32_t v)
{
    for (int s = 24; s >= 0; s -= 8)
        b.push_back((uint8_t)(v >> s));
}

void item32(Bytes &b, uint32_t tag, uint32_t v)
{
    put32(b, tag), put32(b, 4), put32(b, v);
}

void item64(Bytes &b, uint32_t tag, uint64_t v)
{
    put32(b, 0), put32(b, tag), put32(b, 0), put32(b, 8);
    put32(b, (uint32_t)(v >> 32)), put32(b, (uint32_t)v);
}

void itemText(Bytes &b, uint32_t tag, const std::string &s)
{
    uint32_t L = (((uint32_t)s.size() + 1) & ~3u) + 4;
    put32(b, tag), put32(b, L);
    b.insert(b.end(), s.begin(), s.end());
    b.insert(b.end(), L - s.size(), 0);
}

Bytes cat(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes &p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

struct Wire {
    Bytes b;
    std::vector<size_t> at;  // offset of each item, first member first
};

// The items of consecutive members from `tag` on, written from a signature
// of the member table: u8 i8 u16 i16 u32 u64, or tN for a char[N] that holds
// N - 1 characters (N characters for the member numbered `overlong`).
// Scalars carry 0x89ABCDEF (u64: 0x0123456789ABCDEF); with `stored` they
// carry instead what a member of that width and signedness keeps of it.
Wire items(const std::string &sig, bool stored, unsigned tag = 3, unsigned overlong = 0)
{
    const uint32_t wide = 0x89ABCDEF;
    Wire w;
    std::istringstream in(sig);
    for (std::string t; in >> t; ++tag) {
        w.at.push_back(w.b.size());
        uint32_t v = wide;
        if (t[0] == 't') {
            size_t n = std::stoul(t.substr(1)) - (tag == overlong ? 0 : 1);
            itemText(w.b, tag, std::string(n, (char)('a' + tag % 26)));
            continue;
        }
        if (t == "u64") {
            item64(w.b, tag, 0x0123456789ABCDEFull);
            continue;
        }
        if (t == "u8")
            v = wide & 0xFF;
        else if (t == "i8")
            v = (uint32_t)(int32_t)(int8_t)(wide & 0xFF);
        else if (t == "u16")
            v = wide & 0xFFFF;
        else if (t == "i16")
            v = (uint32_t)(int32_t)(int16_t)(wide & 0xFFFF);
        else if (t != "u32")
            ADD_FAILURE() << "bad signature token " << t;
        item32(w.b, tag, stored ? v : wide);
    }
    return w;
}

Bytes item(uint32_t tag, uint32_t v)
{
    Bytes b;
    item32(b, tag, v);
    return b;
}

std::string tl(const char *type, const void *base, unsigned long long tag, unsigned long long len,
               unsigned expected)
{
    return tlLine(unserializeFn(type), base, tag, len, expected);
}

std::string tooLong(const char *type, int in, int max)
{
    return tooLongLine(unserializeFn(type), in, max);
}

// "Error Before" for each tag from `from` to `to`, `times` times each.
Lines before(const char *type, const void *base, int from, int to, int times = 1)
{
    return errorBeforeLines(unserializeFn(type), base, from, to, times);
}

// A text item's characters minus the pad term: n - ((n + 1) & 3).
int term(size_t n) { return (int)n - (int)((n + 1) & 3); }

void fill(char *dst, size_t n, char c)
{
    memset(dst, c, n);
    dst[n] = 0;
}

// A wire whose every scalar is wider than its member reads back as the
// member's width and signedness keep it, and copies and re-encodes so.
template <class T>
void expectStoredAs(const Bytes &wide, const Bytes &stored)
{
    static T rec, copied;
    memset(&rec, 0, sizeof rec);
    memset(&copied, 0, sizeof copied);
    Decoded d = decode(wide, rec);
    EXPECT_EQ(0u, d.rc) << Ops<T>::name;
    EXPECT_EQ(wide.size(), d.consumed) << Ops<T>::name;
    EXPECT_EQ(toHex(stored), toHex(encode(rec))) << Ops<T>::name;
    EXPECT_EQ(0u, Ops<T>::copy(&copied, &rec));
    EXPECT_EQ(toHex(stored), toHex(encode(copied))) << Ops<T>::name;
}

// The member tables, as signatures.
const char *const kRadioDef = "t10 t18 i8";
const char *const kRadioCapacity =
    "t15 u16 u8 u8 t512 u8 t64 u8 u32 u8 u8 u8 u8 u8 u8 u16 u8 u32";
const char *const kACStats = "u64 u64 u64 u64 u32 u32 u32 u32 u32 t1024";
const char *const kAC = "u32 u8 u8 u8 u8 u8 t1024 u32";
const char *const kSsidInfo = "t18 t33 u8 u32";
const char *const kChannelInfo = "u8 u32";
const char *const kSiteSurvey = "t150 u32 u32";
const char *const kChannelSurvey = "u32 u32 u32 u32 u32 u32 u32 u32 u32";
const char *const kSSIDSurvey =
    "u32 t33 u32 u32 t18 u32 u16 u16 u8 u16 u16 u16 u16 u16 u16 u8 u8 u8 u8 u32";
const char *const kInUse = "u8 u32";
const char *const kInterference = "u32 u32 u32 u32";
const char *const kConfigStats = "u32 i16 i8 t150";
const char *const kItfStats =
    "u32 u32 u32 u32 u32 u32 u32 u32 u32 u32 u32 u32 u32 u32 u32";

Bytes flat(const char *sig, bool stored, unsigned tag = 3) { return items(sig, stored, tag).b; }

// ---- radio definition and capacity ----------------------------------------------

class RadioCapacityTypes : public LogTest {};

TEST_F(RadioCapacityTypes, MembersKeepTheirWidthsAndCapacities)
{
    expectStoredAs<RadioDef>(flat(kRadioDef, false), flat(kRadioDef, true));
    expectStoredAs<RadioCapacity>(cat({flat(kRadioCapacity, false), item(4, 0)}),
                                  cat({flat(kRadioCapacity, true), item(4, 0)}));
    EXPECT_TRUE(lines().empty());
}

TEST_F(RadioCapacityTypes, Lengths)
{
    RadioDef def{};
    for (size_t a : {0, 2, 3, 9})
        for (size_t b : {0, 16, 17}) {
            fill(def.s3, a, 'd'), fill(def.mac, b, 'm');
            EXPECT_EQ(38 + term(a) + term(b), (int)encode(def).size()) << a << " " << b;
        }

    static RadioCapacity cap;
    memset(&cap, 0, sizeof cap);
    EXPECT_EQ(228u, encode(cap).size());

    // Two bandwidths holding 3 and 0 values: 12 + (24 + 36) + 24.
    RadioChannelCapabilities &caps = cap.radioChannelCapabilities;
    caps.bandwidthsCount = 2;
    caps.bandwidths[0].valuesCount = 3;
    EXPECT_EQ(96u, encode(caps).size());
    fill(cap.s3, 14, 'a'), fill(cap.s7, 300, 'b'), fill(cap.s9, 5, 'c');
    EXPECT_EQ(219 + term(14) + term(300) + term(5) + 96, (int)encode(cap).size());

    // The largest capability list; counts above their bounds measure the bound.
    caps.bandwidthsCount = 9;
    for (auto &bw : caps.bandwidths)
        bw.valuesCount = 40;
    EXPECT_EQ(1644u, encode(caps).size());
    EXPECT_EQ(219 + term(14) + term(300) + term(5) + 1644, (int)encode(cap).size());
}

TEST_F(RadioCapacityTypes, CapabilityCountTravelsBeforeItsElements)
{
    RadioChannelCapabilities caps{};
    EXPECT_EQ(toHex(item(4, 0)), toHex(encode(caps)));

    caps.bandwidthsCount = 2;
    caps.bandwidths[0].v3 = 0x20;
    caps.bandwidths[0].valuesCount = 3;
    for (uint32_t i = 0; i < 3; ++i)
        caps.bandwidths[0].values[i] = 36 + 4 * i;
    caps.bandwidths[1].v3 = 0x40;
    Bytes want = item(4, 2);
    item32(want, 3, 0x20), item32(want, 4, 3);
    for (uint32_t i = 0; i < 3; ++i)
        item32(want, 5, 36 + 4 * i);
    item32(want, 3, 0x40), item32(want, 4, 0);
    Bytes b = encode(caps);
    EXPECT_EQ(toHex(want), toHex(b));

    RadioChannelCapabilities back{};
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(96u, d.consumed);
    EXPECT_EQ(2u, back.bandwidthsCount);
    EXPECT_EQ(3u, back.bandwidths[0].valuesCount);
    EXPECT_EQ(44u, back.bandwidths[0].values[2]);
    EXPECT_EQ(0x40u, back.bandwidths[1].v3);
}

TEST_F(RadioCapacityTypes, ValueCountAboveBoundStaysUnchanged)
{
    RadioChannelCapabilitiesPerBandwidth bw{};
    bw.valuesCount = 40;
    for (uint32_t i = 0; i < 32; ++i)
        bw.values[i] = 1000 + i;
    Bytes b = encode(bw);
    ASSERT_EQ(24u + 32 * 12, b.size());
    EXPECT_EQ(toHex(item(4, 40)), toHex(b.data() + 12, 12));
    Bytes last;
    item32(last, 5, 1031);
    EXPECT_EQ(toHex(last), toHex(b.data() + b.size() - 12, 12));

    RadioChannelCapabilitiesPerBandwidth back{}, copied{};
    Decoded d = decode(b, back);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(40u, back.valuesCount);
    EXPECT_EQ(1031u, back.values[31]);
    EXPECT_EQ(0u, intfVelmor_RadioChannelCapabilitiesPerBandwidth_copy(&copied, &bw));
    EXPECT_EQ(40u, copied.valuesCount);
    EXPECT_TRUE(sameBytes(bw, copied));
}

TEST_F(RadioCapacityTypes, ValueFailuresLogEachRemainingValue)
{
    const char *type = "RadioChannelCapabilitiesPerBandwidth";
    RadioChannelCapabilitiesPerBandwidth bw{};
    bw.v3 = 7;
    bw.valuesCount = 4;
    for (uint32_t i = 0; i < 4; ++i)
        bw.values[i] = 10 + i;

    // The second value carries tag 6: the two after it log "Error Before" 5.
    Bytes b = encode(bw);
    b[24 + 12 + 3] = 6;
    RadioChannelCapabilitiesPerBandwidth back{};
    back.values[1] = 99;
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(36u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl(type, b.data(), 6, 4, 5)} + before(type, b.data(), 5, 5, 2));
    EXPECT_EQ(4u, back.valuesCount);
    EXPECT_EQ(10u, back.values[0]);
    EXPECT_EQ(99u, back.values[1]);

    // A wrong first tag: the remaining values follow the count already held.
    clearLogs();
    b = encode(bw);
    b[3] = 8;
    RadioChannelCapabilitiesPerBandwidth held{};
    held.valuesCount = 3;
    d = decode(b, held);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl(type, b.data(), 8, 4, 3)} + before(type, b.data(), 4, 4) +
                           before(type, b.data(), 5, 5, 3));
    EXPECT_EQ(3u, held.valuesCount);
}

TEST_F(RadioCapacityTypes, RadioDefSignedMemberAndTextBound)
{
    RadioDef def{};
    fill(def.s3, 9, 'r');
    strcpy(def.mac, "00:11:22:33:44:55");
    def.v5 = -1;
    Bytes b = encode(def);
    EXPECT_EQ(toHex(item(5, 0xFFFFFFFF)), toHex(b.data() + b.size() - 12, 12));
    RadioDef back{};
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_STREQ(def.s3, back.s3);
    EXPECT_STREQ(def.mac, back.mac);
    EXPECT_EQ(-1, back.v5);

    // A source of 10 characters is cut to 9 by copy.
    RadioDef src{}, dst{};
    memset(src.s3, 'x', sizeof src.s3);
    EXPECT_EQ(0u, intfVelmor_RadioDef_copy(&dst, &src));
    EXPECT_EQ(std::string(9, 'x'), dst.s3);

    // A wire text of 10 characters is refused; nothing after it is read.
    Bytes wire = items(kRadioDef, false, 3, 3).b;
    strcpy(back.s3, "kept");
    Decoded d = decode(wire, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_STREQ("kept", back.s3);
    EXPECT_EQ(lines(), Lines{tooLong("RadioDef", 11, 10)} + before("RadioDef", wire.data(), 4, 5));
}

TEST_F(RadioCapacityTypes, RadioCapacityFailures)
{
    static RadioCapacity back;
    memset(&back, 0, sizeof back);

    // A 512-character text: the later members up to 20 log, the list is silent.
    Wire w = items(kRadioCapacity, false, 3, 7);
    Bytes b = cat({w.b, item(4, 0)});
    strcpy(back.s7, "kept");
    back.radioChannelCapabilities.bandwidthsCount = 1;
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(w.at[4], d.consumed);
    EXPECT_EQ(lines(), Lines{tooLong("RadioCapacity", 513, 512)} +
                           before("RadioCapacity", b.data(), 8, 20));
    EXPECT_EQ(0xEFu, back.v6);
    EXPECT_STREQ("kept", back.s7);
    EXPECT_EQ(1u, back.radioChannelCapabilities.bandwidthsCount);

    // A wrong count tag in the list: its own Tl line, no element read.
    clearLogs();
    w = items(kRadioCapacity, false);
    b = cat({w.b, item(3, 1)});
    const uint8_t *list = b.data() + w.b.size();
    back.radioChannelCapabilities.bandwidthsCount = 0;
    d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(w.b.size(), d.consumed);
    EXPECT_EQ(lines(), Lines{tl("RadioChannelCapabilities", list, 3, 4, 4)});
    EXPECT_EQ(0x89ABCDEFu, back.v20);

    // A failure inside a list element is logged by the element alone; its
    // values follow the count that element already held.
    clearLogs();
    RadioChannelCapabilities caps{};
    caps.bandwidthsCount = 2;
    caps.bandwidths[1].valuesCount = 5;
    Bytes capsWire = encode(caps);
    capsWire[12 + 24 + 12 + 3] = 9;  // the second element's count item
    b = cat({w.b, capsWire});
    const uint8_t *second = b.data() + w.b.size() + 12 + 24;
    back.radioChannelCapabilities.bandwidths[1].valuesCount = 2;
    d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(w.b.size() + 12 + 24 + 12, d.consumed);
    const char *bw = "RadioChannelCapabilitiesPerBandwidth";
    EXPECT_EQ(lines(), Lines{tl(bw, second, 9, 4, 4)} + before(bw, second, 5, 5, 2));
    EXPECT_EQ(2u, back.radioChannelCapabilities.bandwidthsCount);
    EXPECT_EQ(2u, back.radioChannelCapabilities.bandwidths[1].valuesCount);
}

TEST_F(RadioCapacityTypes, BoundedReadRefusesEveryTruncation)
{
    static RadioCapacity cap, back;
    memset(&cap, 0, sizeof cap);
    strcpy(cap.s3, "radio0");
    strcpy(cap.s9, "x");
    cap.radioChannelCapabilities.bandwidthsCount = 2;
    cap.radioChannelCapabilities.bandwidths[0].valuesCount = 3;
    Bytes full = encode(cap);
    memset(&back, 0, sizeof back);
    ASSERT_EQ(0u, decodeBounded(full, back).rc);
    for (size_t n = 0; n < full.size(); ++n) {
        Bytes cut(full.begin(), full.begin() + (long)n);
        cut.shrink_to_fit();
        EXPECT_EQ(4u, decodeBounded(cut, back).rc) << n;
    }
}

// ---- access-category statistics ---------------------------------------------

class AccessCategoryTypes : public LogTest {};

TEST_F(AccessCategoryTypes, MembersKeepTheirWidthsAndCapacities)
{
    expectStoredAs<AC_Stats>(flat(kACStats, false), flat(kACStats, true));
    expectStoredAs<AC>(cat({flat(kAC, false), flat(kACStats, false)}),
                       cat({flat(kAC, true), flat(kACStats, true)}));
    EXPECT_TRUE(lines().empty());
}

TEST_F(AccessCategoryTypes, LengthsAndSixtyFourBitValues)
{
    static AC ac;
    memset(&ac, 0, sizeof ac);
    EXPECT_EQ(168u, encode(ac.acStats).size());
    EXPECT_EQ(264u, encode(ac).size());
    for (size_t n : {1, 2, 3, 1023}) {
        fill(ac.acStats.s12, n, 's'), fill(ac.s9, 1023 - n, 'a');
        EXPECT_EQ(169 + term(n), (int)encode(ac.acStats).size()) << n;
        EXPECT_EQ(97 + term(1023 - n) + 169 + term(n), (int)encode(ac).size()) << n;
    }

    AC_Stats st{};
    st.v3 = 1ull << 40;
    st.v6 = 0xFEDCBA9876543210ull;
    Bytes b = encode(st);
    EXPECT_EQ(toHex(hex("00 00 01 00 00 00 00 00")), toHex(b.data() + 16, 8));
    static AC_Stats back;
    memset(&back, 0, sizeof back);
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_EQ(st.v3, back.v3);
    EXPECT_EQ(st.v6, back.v6);
}

TEST_F(AccessCategoryTypes, Failures)
{
    // A 64-bit tag with a high word: the 64-bit Tl line, then 6 to 12.
    static AC_Stats st, back;
    memset(&st, 0, sizeof st);
    st.v3 = 1, st.v4 = 2, st.v5 = 3;
    Bytes b = encode(st);
    b[48] = 1;
    memset(&back, 0, sizeof back);
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(48u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl("AC_Stats", b.data(), (1ull << 56) + 5, 8, 5)} +
                           before("AC_Stats", b.data(), 6, 12));
    EXPECT_EQ(2u, back.v4);
    EXPECT_EQ(0u, back.v5);

    // AC: a 1024-character text logs 10 only; the statistics stay unread.
    clearLogs();
    static AC ac;
    memset(&ac, 0, sizeof ac);
    ac.acStats.v7 = 77;
    Wire w = items(kAC, false, 3, 9);
    b = cat({w.b, flat(kACStats, false)});
    d = decode(b, ac);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(w.at[6], d.consumed);
    EXPECT_EQ(lines(), Lines{tooLong("AC", 1025, 1024)} + before("AC", b.data(), 10, 10));
    EXPECT_EQ(77u, ac.acStats.v7);

    // A failure inside the statistics is logged there only.
    clearLogs();
    w = items(kAC, false);
    Wire inner = items(kACStats, false, 3, 12);
    b = cat({w.b, inner.b});
    d = decode(b, ac);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(w.b.size() + inner.at[9], d.consumed);
    EXPECT_EQ(lines(), Lines{tooLong("AC_Stats", 1025, 1024)});
    EXPECT_EQ(0x89ABCDEFu, ac.v10);
    EXPECT_EQ(0x89ABCDEFu, ac.acStats.v11);
}

// ---- channel scan and survey ------------------------------------------------

class ScanSurveyTypes : public LogTest {};

TEST_F(ScanSurveyTypes, MembersKeepTheirWidthsAndCapacities)
{
    expectStoredAs<AcsLastScanSsidInfo>(flat(kSsidInfo, false), flat(kSsidInfo, true));
    expectStoredAs<AcsLastScanChannelInfo>(flat(kChannelInfo, false), flat(kChannelInfo, true));
    expectStoredAs<AcsLastScanResults>(
        cat({flat("u32 u32", false), flat(kSsidInfo, false), flat(kChannelInfo, false),
             flat("u32", false, 7)}),
        cat({flat("u32 u32", true), flat(kSsidInfo, true), flat(kChannelInfo, true),
             flat("u32", true, 7)}));
    expectStoredAs<siteSurveyCfg>(flat(kSiteSurvey, false), flat(kSiteSurvey, true));
    expectStoredAs<ChannelSurvey>(flat(kChannelSurvey, false), flat(kChannelSurvey, true));
    expectStoredAs<SSIDSurvey>(flat(kSSIDSurvey, false), flat(kSSIDSurvey, true));
    EXPECT_TRUE(lines().empty());
}

TEST_F(ScanSurveyTypes, Lengths)
{
    AcsLastScanResults res{};
    EXPECT_EQ(108u, encode(res).size());
    EXPECT_EQ(24u, encode(res.acsLastScanChannelInfo).size());
    fill(res.acsLastScanSsidInfo.mac, 17, 'm'), fill(res.acsLastScanSsidInfo.s4, 6, 's');
    EXPECT_EQ(50 + term(17) + term(6), (int)encode(res.acsLastScanSsidInfo).size());
    EXPECT_EQ(36 + 50 + term(17) + term(6) + 24, (int)encode(res).size());

    siteSurveyCfg cfg{};
    for (size_t n : {0, 4, 148, 149}) {
        fill(cfg.s3, n, 'c');
        EXPECT_EQ(37 + term(n), (int)encode(cfg).size()) << n;
    }

    static SSIDsSurvey all;
    memset(&all, 0, sizeof all);
    EXPECT_EQ(toHex(item(3, 0)), toHex(encode(all)));
    EXPECT_EQ(240u, encode(all.ssidSurveys[0]).size());
    all.ssidSurveysCount = 3;
    fill(all.ssidSurveys[0].s4, 32, 'a');
    fill(all.ssidSurveys[2].mac, 17, 'b'), fill(all.ssidSurveys[2].s4, 1, 'c');
    EXPECT_EQ(12 + (242 + term(32) + term(0)) + 240 + (242 + term(1) + term(17)),
              (int)encode(all).size());
    EXPECT_EQ(108u, encode(ChannelSurvey{}).size());
}

TEST_F(ScanSurveyTypes, SurveyCountsAboveBound)
{
    static ChannelsSurvey ch, chBack, chCopy;
    memset(&ch, 0, sizeof ch);
    ch.channelSurveysCount = 30;
    for (uint32_t i = 0; i < 25; ++i)
        ch.channelSurveys[i].v11 = 500 + i;
    Bytes b = encode(ch);
    EXPECT_EQ(2712u, b.size());
    EXPECT_EQ(toHex(item(3, 30)), toHex(b.data(), 12));
    memset(&chBack, 0, sizeof chBack);
    Decoded d = decode(b, chBack);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(2712u, d.consumed);
    EXPECT_EQ(30u, chBack.channelSurveysCount);
    EXPECT_EQ(524u, chBack.channelSurveys[24].v11);
    memset(&chCopy, 0, sizeof chCopy);
    EXPECT_EQ(0u, intfVelmor_ChannelsSurvey_copy(&chCopy, &ch));
    EXPECT_EQ(30u, chCopy.channelSurveysCount);
    EXPECT_TRUE(sameBytes(ch, chCopy));

    static SSIDsSurvey ss, ssBack;
    memset(&ss, 0, sizeof ss);
    ss.ssidSurveysCount = 120;
    strcpy(ss.ssidSurveys[99].s4, "last");
    b = encode(ss);
    EXPECT_EQ(12u + 99 * 240 + (242 + term(4) + term(0)), b.size());
    memset(&ssBack, 0, sizeof ssBack);
    d = decode(b, ssBack);
    EXPECT_EQ(0u, d.rc);
    EXPECT_EQ(b.size(), d.consumed);
    EXPECT_EQ(120u, ssBack.ssidSurveysCount);
    EXPECT_STREQ("last", ssBack.ssidSurveys[99].s4);
}

TEST_F(ScanSurveyTypes, TextBounds)
{
    // 32 characters fill an item of L = 36; 33 are refused.
    SSIDSurvey s{};
    fill(s.s4, 32, 'w');
    Bytes b = encode(s);
    EXPECT_EQ(toHex(hex("00 00 00 04 00 00 00 24")), toHex(b.data() + 12, 8));
    SSIDSurvey back{};
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_STREQ(s.s4, back.s4);

    Wire w = items(kSSIDSurvey, false, 3, 4);
    Decoded d = decode(w.b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(w.at[1], d.consumed);
    EXPECT_EQ(0x89ABCDEFu, back.v3);
    EXPECT_STREQ(s.s4, back.s4);
    EXPECT_EQ(lines(), Lines{tooLong("SSIDSurvey", 34, 33)} +
                           before("SSIDSurvey", w.b.data(), 5, 22));

    // The survey configuration: 149 characters travel, copy cuts to 149,
    // 150 on the wire are refused.
    clearLogs();
    siteSurveyCfg src{}, dst{};
    memset(src.s3, 'y', sizeof src.s3);
    src.v4 = 4;
    EXPECT_EQ(0u, intfVelmor_siteSurveyCfg_copy(&dst, &src));
    EXPECT_EQ(std::string(149, 'y'), dst.s3);
    EXPECT_EQ(4u, dst.v4);
    siteSurveyCfg cfgBack{};
    ASSERT_EQ(0u, decode(encode(dst), cfgBack).rc);
    EXPECT_STREQ(dst.s3, cfgBack.s3);

    w = items(kSiteSurvey, false, 3, 3);
    d = decode(w.b, cfgBack);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_EQ(lines(), Lines{tooLong("siteSurveyCfg", 151, 150)} +
                           before("siteSurveyCfg", w.b.data(), 4, 5));
}

TEST_F(ScanSurveyTypes, NestedAndElementFailures)
{
    // A hardware address of 18 characters in the nested info: its own chain,
    // then 7 at the owner's level; the channel info is not read.
    Wire head = items("u32 u32", false);
    Wire info = items(kSsidInfo, false, 3, 3);
    Bytes b = cat({head.b, info.b, flat(kChannelInfo, false), flat("u32", false, 7)});
    AcsLastScanResults res{};
    res.acsLastScanChannelInfo.v4 = 44;
    Decoded d = decode(b, res);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(head.b.size(), d.consumed);
    const uint8_t *nested = b.data() + head.b.size();
    EXPECT_EQ(lines(), Lines{tooLong("AcsLastScanSsidInfo", 19, 18)} +
                           before("AcsLastScanSsidInfo", nested, 4, 6) +
                           before("AcsLastScanResults", b.data(), 7, 7));
    EXPECT_EQ(0x89ABCDEFu, res.v4);
    EXPECT_EQ(44u, res.acsLastScanChannelInfo.v4);

    // The fifth item of the third channel carries a wrong tag.
    clearLogs();
    static ChannelsSurvey ch, back;
    memset(&ch, 0, sizeof ch);
    ch.channelSurveysCount = 4;
    for (uint32_t i = 0; i < 4; ++i)
        ch.channelSurveys[i].v3 = i + 1;
    b = encode(ch);
    size_t third = 12 + 2 * 108;
    b[third + 4 * 12 + 3] = 0x30;
    memset(&back, 0, sizeof back);
    d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(third + 48, d.consumed);
    EXPECT_EQ(lines(), Lines{tl("ChannelSurvey", b.data() + third, 0x30, 4, 7)} +
                           before("ChannelSurvey", b.data() + third, 8, 11));
    EXPECT_EQ(4u, back.channelSurveysCount);
    EXPECT_EQ(2u, back.channelSurveys[1].v3);
    EXPECT_EQ(3u, back.channelSurveys[2].v3);
    EXPECT_EQ(0u, back.channelSurveys[3].v3);

    // A wrong count tag: no element is read, whatever count was held.
    clearLogs();
    static SSIDsSurvey ss;
    memset(&ss, 0, sizeof ss);
    ss.ssidSurveysCount = 2;
    strcpy(ss.ssidSurveys[0].s4, "held");
    b = cat({item(4, 2), flat(kSSIDSurvey, false)});
    d = decode(b, ss);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(0u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl("SSIDsSurvey", b.data(), 4, 4, 3)});
    EXPECT_STREQ("held", ss.ssidSurveys[0].s4);
}

// ---- radio and interface statistics -------------------------------------------

class RadioStatsTypes : public LogTest {};

TEST_F(RadioStatsTypes, MembersKeepTheirWidthsAndCapacities)
{
    expectStoredAs<RadioChannelsInUseInfo>(flat(kInUse, false), flat(kInUse, true));
    expectStoredAs<RadioInterferenceConfigStats>(flat(kInterference, false),
                                                 flat(kInterference, true));
    expectStoredAs<RadioConfigStats>(cat({flat(kConfigStats, false), flat(kInterference, false)}),
                                     cat({flat(kConfigStats, true), flat(kInterference, true)}));
    expectStoredAs<ItfStats>(flat(kItfStats, false), flat(kItfStats, true));
    EXPECT_TRUE(lines().empty());
}

TEST_F(RadioStatsTypes, LengthsAndSignedMembers)
{
    EXPECT_EQ(24u, encode(RadioChannelsInUseInfo{}).size());
    EXPECT_EQ(48u, encode(RadioInterferenceConfigStats{}).size());
    EXPECT_EQ(180u, encode(ItfStats{}).size());

    RadioConfigStats rs{};
    EXPECT_EQ(96u, encode(rs).size());
    fill(rs.s6, 149, 't');
    Bytes b = encode(rs);
    EXPECT_EQ(49u + term(149) + 48, b.size());
    EXPECT_EQ(toHex(hex("00 00 00 06 00 00 00 98")), toHex(b.data() + 36, 8));

    rs.v4 = -32768, rs.v5 = -128;
    b = encode(rs);
    EXPECT_EQ(toHex(hex("FF FF 80 00")), toHex(b.data() + 12 + 8, 4));
    EXPECT_EQ(toHex(hex("FF FF FF 80")), toHex(b.data() + 24 + 8, 4));
    RadioConfigStats back{};
    ASSERT_EQ(0u, decode(b, back).rc);
    EXPECT_EQ(-32768, back.v4);
    EXPECT_EQ(-128, back.v5);
    EXPECT_STREQ(rs.s6, back.s6);

    rs.v4 = -100;
    EXPECT_EQ(toHex(hex("FF FF FF 9C")), toHex(encode(rs).data() + 12 + 8, 4));
}

TEST_F(RadioStatsTypes, Failures)
{
    // The twelfth item of ItfStats carries tag 15.
    ItfStats st{};
    uint32_t v[15];
    static_assert(sizeof v == sizeof st, "fifteen u32 members");
    for (uint32_t i = 0; i < 15; ++i)
        v[i] = i + 1;
    memcpy(&st, v, sizeof st);
    Bytes b = encode(st);
    b[11 * 12 + 3] = 15;
    ItfStats back{};
    Decoded d = decode(b, back);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(132u, d.consumed);
    EXPECT_EQ(lines(), Lines{tl("ItfStats", b.data(), 15, 4, 14)} +
                           before("ItfStats", b.data(), 15, 17));
    EXPECT_EQ(11u, back.v13);
    EXPECT_EQ(0u, back.v14);

    // A text of 150 characters ends the chain at 6; the nested record is not read.
    clearLogs();
    Wire w = items(kConfigStats, false, 3, 6);
    b = cat({w.b, flat(kInterference, false)});
    RadioConfigStats rs{};
    rs.radioInterferenceConfigStats.v3 = 5;
    d = decode(b, rs);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(w.at[3], d.consumed);
    EXPECT_EQ(lines(), Lines{tooLong("RadioConfigStats", 151, 150)});
    EXPECT_EQ((int8_t)0xEF, rs.v5);
    EXPECT_EQ(5u, rs.radioInterferenceConfigStats.v3);

    // A failure inside the nested record is logged there only.
    clearLogs();
    w = items(kConfigStats, false);
    b = cat({w.b, flat(kInterference, false)});
    b[w.b.size() + 3] = 2;
    d = decode(b, rs);
    EXPECT_EQ(4u, d.rc);
    EXPECT_EQ(w.b.size(), d.consumed);
    EXPECT_EQ(lines(), Lines{tl("RadioInterferenceConfigStats", b.data() + w.b.size(), 2, 4, 3)} +
                           before("RadioInterferenceConfigStats", b.data() + w.b.size(), 4, 6));
    EXPECT_EQ(std::string(149, (char)('a' + 6)), rs.s6);
}

}  // namespace
