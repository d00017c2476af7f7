// The protocol-buffer peers on the same values: every benchmarked record
// copied into nanopb's static structures and into protobuf-c's messages
// (outside timing), then encoded and decoded by each library as its users
// would: nanopb in one pass into a buffer of sufficient size, protobuf-c
// sized first then packed; protobuf-c decodes into heap messages, freed in
// the timed loop.
#include <string.h>

#include <deque>
#include <memory>
#include <vector>

#include <pb_decode.h>
#include <pb_encode.h>

#include "cases.h"
#include "peers.pb-c.h"
#include "peers.pb.h"

namespace bench {

namespace {

// Members in order: S a text, N an integer of any width.
#define CCA_FIELDS(S, N) N(v3) N(v4) N(v5) N(v6) N(v7)
#define STATS_FIELDS(S, N) N(v3) N(v4) N(v5) N(v6) N(v7) N(v8) N(v9) N(v10) N(v11)
#define INFO_FIELDS(S, N)                                                                      \
    S(mac) N(v4) N(v5) N(v6) N(v7) N(v8) N(v9) N(v10) N(v11) N(v12) S(s13) N(v14) N(v15)      \
    N(v16) N(v17) S(s18) S(s19) N(v20) S(s21) S(s22) N(v23) N(v24) N(v25) N(v26) N(v27)       \
    N(v28) N(v29) N(v30) N(v31) N(v33) N(v34) N(v35) S(s36) N(v37) N(v38) N(v39) N(v40)
#define SEC_FIELDS(S, N)                                                                       \
    N(v3) S(s4) S(key) S(s6) N(v7) S(ip1) N(v9) S(s10) N(v11) N(v12) N(v13) S(ip2) N(v15)     \
    S(s16) N(v17) N(v18) N(v19) S(ip3) N(v21) S(s22) N(v23) N(v24) N(v25) N(v26) S(s27)       \
    N(v28) N(v29) S(s30)
#define WPS_FIELDS(S, N) N(v3) N(v4) N(v5) N(v6) S(pin) N(v8) S(s9) N(v10)
#define ACC_FIELDS(S, N) N(v3) S(s4) S(s5) N(v6) N(v7) S(s8) S(s9) N(v10)
#define AP_FIELDS(S, N)                                                                        \
    S(ssid) N(v4) N(v5) N(v6) N(v7) N(v10) S(s12) S(s13) S(s14) S(s15) N(v16) N(v17) N(v18)   \
    N(v19) N(v20) N(v21) N(v22) N(v23)
#define CAP_FIELDS(S, N) N(v3) N(v4) N(v5)
#define STAMP_FIELDS(S, N) N(v3) N(v4)
#define EXTRA_FIELDS(S, N) N(v3) N(v4) S(s5)
#define ELT_FIELDS(S, N) N(v3) S(mac) N(v5) N(v6) N(v7) N(v8) N(v9) N(v10) N(v11)
#define BOUNCE_FIELDS(S, N) N(v3) N(v4) N(v5)
#define BSD_FIELDS(S, N) N(v3) N(v4) N(v5) N(v6) N(v7) N(v8)
#define STEER_FIELDS(S, N) N(v3) N(v4) N(v5) N(v6) N(v7) N(v8) N(v9) N(v10) N(v11) N(v12) N(v13)
#define SELECT_FIELDS(S, N)                                                                    \
    N(v3) N(v4) N(v5) N(v6) N(v7) N(v8) N(v9) N(v10) N(v11) N(v12) N(v13) N(v14) N(v15) N(v16) \
    N(v17) N(v18) N(v19) N(v20)
#define ITF_FIELDS(S, N) S(s3) S(s4) N(v7)
#define DEV_FIELDS(S, N) S(mac) N(v4) N(v5) N(v6) N(v7)

// ---- nanopb: fixed-size structures, texts copied ------------------------------------

#define NP_S(x)                                                                 \
    static_assert(sizeof to.x == sizeof from.x, "capacity of " #x);             \
    memcpy(to.x, from.x, sizeof to.x);
#define NP_N(x) to.x = from.x;
#define NP_COPY(LIST) LIST(NP_S, NP_N)

#define NP_FILL(NP, Rec, LIST) \
    void np(NP &to, const Rec &from) { NP_COPY(LIST) }
NP_FILL(peers_CcaStats, ccaStats, CCA_FIELDS)
NP_FILL(peers_AssocDevStats, assocDevStats, STATS_FIELDS)
NP_FILL(peers_APSecCfg, APSecCfg, SEC_FIELDS)
NP_FILL(peers_APWpsCfg, APWpsCfg, WPS_FIELDS)
NP_FILL(peers_APAccCfg, APAccCfg, ACC_FIELDS)
NP_FILL(peers_BeaconRequestsCap, BeaconRequestsCap, CAP_FIELDS)
NP_FILL(peers_Timestamp, Timestamp, STAMP_FIELDS)
NP_FILL(peers_ExtraBeaconReportElt, ExtraBeaconReportElt, EXTRA_FIELDS)
NP_FILL(peers_BounceDetection, bounceDetection, BOUNCE_FIELDS)
NP_FILL(peers_BSDSteeringPolicy, BSDSteeringPolicy, STEER_FIELDS)
NP_FILL(peers_BSDStaSelectPolicy, BSDStaSelectPolicy, SELECT_FIELDS)
NP_FILL(peers_BSDDevices, BSDDevices, DEV_FIELDS)

void np(peers_AssocDevInfo &to, const assocDevInfo &from)
{
    NP_COPY(INFO_FIELDS)
    to.has_stats = true;
    np(to.stats, from.stats);
}
void np(peers_AssocDevListRet &to, const assocDevListRet &from)
{
    to.devices_count = (pb_size_t)from.devicesCount;
    for (uint32_t i = 0; i < from.devicesCount; ++i)
        np(to.devices[i], from.devices[i]);
}
void np(peers_APCfg &to, const APCfg &from)
{
    NP_COPY(AP_FIELDS)
    to.has_ap_sec_cfg = to.has_ap_wps_cfg = to.has_ap_acc_cfg = true;
    to.has_mac_filter_list = to.has_beacon_requests_cap = true;
    np(to.ap_sec_cfg, from.apSecCfg);
    np(to.ap_wps_cfg, from.apWpsCfg);
    np(to.ap_acc_cfg, from.apAccCfg);
    np(to.beacon_requests_cap, from.radioMeasurements.beaconRequestsCap);
    to.mac_filter_list.v3 = from.macFilterList.v3;
    to.mac_filter_list.macs_count = (pb_size_t)from.macFilterList.macsCount;
    for (uint32_t i = 0; i < from.macFilterList.macsCount; ++i)
        memcpy(to.mac_filter_list.macs[i], from.macFilterList.macs[i].mac, 18);
}
void np(peers_BeaconReportElt &to, const beaconReportElt &from)
{
    NP_COPY(ELT_FIELDS)
    to.has_extra = true;
    np(to.extra, from.extraBeaconReportElt);
}
void np(peers_BeaconReport &to, const beaconReport &from)
{
    to.has_timestamp = true;
    np(to.timestamp, from.timestamp);
    static_assert(sizeof to.mac == sizeof from.mac, "capacity of mac");
    memcpy(to.mac, from.mac, sizeof to.mac);
    to.elts_count = (pb_size_t)from.eltsCount;
    for (uint32_t i = 0; i < from.eltsCount; ++i)
        np(to.elts[i], from.elts[i]);
}
void np(peers_BSDCfg &to, const BSDCfg &from)
{
    NP_COPY(BSD_FIELDS)
    to.has_bounce = true;
    np(to.bounce, from.bounce);
}
void np(peers_BSDItfCfg &to, const BSDItfCfg &from)
{
    NP_COPY(ITF_FIELDS)
    to.has_steering = to.has_sta_select = true;
    np(to.steering, from.bsdSteeringPolicy);
    np(to.sta_select, from.bsdStaSelectPolicy);
}
void np(peers_BandSteeringCfg &to, const BandSteeringCfg &from)
{
    to.v3 = from.v3;
    to.has_bsd_cfg = true;
    np(to.bsd_cfg, from.bsdCfg);
    for (int i = 0; i < INTFVELMOR_BSD_ITFS; ++i)
        np(to.itf_cfgs[i], from.itfCfgs[i]);
    for (int i = 0; i < INTFVELMOR_BSD_DEVICES; ++i)
        np(to.devices[i], from.devices[i]);
}

// ---- protobuf-c: messages pointing at the record's texts ----------------------------

// Messages live as long as the process: the benchmarks encode them.
template <class M>
M *make(const M &init)
{
    static std::deque<M> store;
    store.push_back(init);
    return &store.back();
}
template <class M>
M **table(size_t n)
{
    static std::deque<std::vector<M *>> store;
    store.emplace_back(n);
    return store.back().data();
}

#define PC_S(x) to.x = const_cast<char *>(from.x);
#define PC_N(x) to.x = from.x;
#define PC_COPY(LIST) LIST(PC_S, PC_N)

// Scalars and texts of one message; pc() adds its nested messages and tables.
#define PC_FILL(PC, INIT, Rec, LIST)   \
    PC fill(const Rec &from)          \
    {                                 \
        PC to = INIT;                 \
        PC_COPY(LIST)                 \
        return to;                    \
    }
PC_FILL(Peers__CcaStats, PEERS__CCA_STATS__INIT, ccaStats, CCA_FIELDS)
PC_FILL(Peers__AssocDevStats, PEERS__ASSOC_DEV_STATS__INIT, assocDevStats, STATS_FIELDS)
PC_FILL(Peers__AssocDevInfo, PEERS__ASSOC_DEV_INFO__INIT, assocDevInfo, INFO_FIELDS)
PC_FILL(Peers__APSecCfg, PEERS__APSEC_CFG__INIT, APSecCfg, SEC_FIELDS)
PC_FILL(Peers__APWpsCfg, PEERS__APWPS_CFG__INIT, APWpsCfg, WPS_FIELDS)
PC_FILL(Peers__APAccCfg, PEERS__APACC_CFG__INIT, APAccCfg, ACC_FIELDS)
PC_FILL(Peers__BeaconRequestsCap, PEERS__BEACON_REQUESTS_CAP__INIT, BeaconRequestsCap, CAP_FIELDS)
PC_FILL(Peers__APCfg, PEERS__APCFG__INIT, APCfg, AP_FIELDS)
PC_FILL(Peers__Timestamp, PEERS__TIMESTAMP__INIT, Timestamp, STAMP_FIELDS)
PC_FILL(Peers__ExtraBeaconReportElt, PEERS__EXTRA_BEACON_REPORT_ELT__INIT, ExtraBeaconReportElt,
        EXTRA_FIELDS)
PC_FILL(Peers__BeaconReportElt, PEERS__BEACON_REPORT_ELT__INIT, beaconReportElt, ELT_FIELDS)
PC_FILL(Peers__BounceDetection, PEERS__BOUNCE_DETECTION__INIT, bounceDetection, BOUNCE_FIELDS)
PC_FILL(Peers__BSDCfg, PEERS__BSDCFG__INIT, BSDCfg, BSD_FIELDS)
PC_FILL(Peers__BSDSteeringPolicy, PEERS__BSDSTEERING_POLICY__INIT, BSDSteeringPolicy, STEER_FIELDS)
PC_FILL(Peers__BSDStaSelectPolicy, PEERS__BSDSTA_SELECT_POLICY__INIT, BSDStaSelectPolicy,
        SELECT_FIELDS)
PC_FILL(Peers__BSDItfCfg, PEERS__BSDITF_CFG__INIT, BSDItfCfg, ITF_FIELDS)
PC_FILL(Peers__BSDDevices, PEERS__BSDDEVICES__INIT, BSDDevices, DEV_FIELDS)

Peers__CcaStats *pc(const ccaStats &from) { return make(fill(from)); }
Peers__AssocDevListRet *pc(const assocDevListRet &from)
{
    Peers__AssocDevListRet to = PEERS__ASSOC_DEV_LIST_RET__INIT;
    to.n_devices = from.devicesCount;
    to.devices = table<Peers__AssocDevInfo>(to.n_devices);
    for (uint32_t i = 0; i < from.devicesCount; ++i) {
        Peers__AssocDevInfo info = fill(from.devices[i]);
        info.stats = make(fill(from.devices[i].stats));
        to.devices[i] = make(info);
    }
    return make(to);
}
Peers__APCfg *pc(const APCfg &from)
{
    Peers__MacFilterList macs = PEERS__MAC_FILTER_LIST__INIT;
    macs.v3 = from.macFilterList.v3;
    macs.n_macs = from.macFilterList.macsCount;
    macs.macs = table<char>(macs.n_macs);
    for (uint32_t i = 0; i < from.macFilterList.macsCount; ++i)
        macs.macs[i] = const_cast<char *>(from.macFilterList.macs[i].mac);
    Peers__APCfg to = fill(from);
    to.ap_sec_cfg = make(fill(from.apSecCfg));
    to.ap_wps_cfg = make(fill(from.apWpsCfg));
    to.ap_acc_cfg = make(fill(from.apAccCfg));
    to.mac_filter_list = make(macs);
    to.beacon_requests_cap = make(fill(from.radioMeasurements.beaconRequestsCap));
    return make(to);
}
Peers__BeaconReport *pc(const beaconReport &from)
{
    Peers__BeaconReport to = PEERS__BEACON_REPORT__INIT;
    to.timestamp = make(fill(from.timestamp));
    to.mac = const_cast<char *>(from.mac);
    to.n_elts = from.eltsCount;
    to.elts = table<Peers__BeaconReportElt>(to.n_elts);
    for (uint32_t i = 0; i < from.eltsCount; ++i) {
        Peers__BeaconReportElt elt = fill(from.elts[i]);
        elt.extra = make(fill(from.elts[i].extraBeaconReportElt));
        to.elts[i] = make(elt);
    }
    return make(to);
}
Peers__BandSteeringCfg *pc(const BandSteeringCfg &from)
{
    Peers__BSDCfg bsd = fill(from.bsdCfg);
    bsd.bounce = make(fill(from.bsdCfg.bounce));
    Peers__BandSteeringCfg to = PEERS__BAND_STEERING_CFG__INIT;
    to.v3 = from.v3;
    to.bsd_cfg = make(bsd);
    to.n_itf_cfgs = INTFVELMOR_BSD_ITFS;
    to.itf_cfgs = table<Peers__BSDItfCfg>(to.n_itf_cfgs);
    for (int i = 0; i < INTFVELMOR_BSD_ITFS; ++i) {
        Peers__BSDItfCfg itf = fill(from.itfCfgs[i]);
        itf.steering = make(fill(from.itfCfgs[i].bsdSteeringPolicy));
        itf.sta_select = make(fill(from.itfCfgs[i].bsdStaSelectPolicy));
        to.itf_cfgs[i] = make(itf);
    }
    to.n_devices = INTFVELMOR_BSD_DEVICES;
    to.devices = table<Peers__BSDDevices>(to.n_devices);
    for (int i = 0; i < INTFVELMOR_BSD_DEVICES; ++i)
        to.devices[i] = make(fill(from.devices[i]));
    return make(to);
}

// ---- the cases ----------------------------------------------------------------------

// The same record through both peers. Both must produce the same bytes, and
// each must decode its bytes into a message that encodes to them again.
template <class Rec, class NP, class PC>
void peerCases(const char *label, const Rec &rec, const pb_msgdesc_t *fields)
{
    auto msg = std::make_shared<NP>();
    np(*msg, rec);
    PC *m = pc(rec);
    const ProtobufCMessage *base = &m->base;

    size_t size = protobuf_c_message_get_packed_size(base);
    std::vector<uint8_t> pcBytes(size), npBytes(size);
    protobuf_c_message_pack(base, pcBytes.data());
    pb_ostream_t os = pb_ostream_from_buffer(npBytes.data(), size);
    if (!pb_encode(&os, fields, msg.get()) || os.bytes_written != size || npBytes != pcBytes)
        fail("%s: nanopb and protobuf-c encode differently", label);

    auto back = std::make_shared<NP>();
    pb_istream_t is = pb_istream_from_buffer(npBytes.data(), size);
    std::vector<uint8_t> again(size);
    os = pb_ostream_from_buffer(again.data(), size);
    if (!pb_decode(&is, fields, back.get()) || !pb_encode(&os, fields, back.get()) || again != npBytes)
        fail("%s: nanopb does not read back what it wrote", label);
    ProtobufCMessage *u = protobuf_c_message_unpack(base->descriptor, nullptr, size, pcBytes.data());
    if (!u || protobuf_c_message_pack(u, again.data()) != size || again != pcBytes)
        fail("%s: protobuf-c does not read back what it wrote", label);
    protobuf_c_message_free_unpacked(u, nullptr);

    auto wire = std::make_shared<std::vector<uint8_t>>(std::move(pcBytes));
    auto buf = std::make_shared<std::vector<uint8_t>>(size);
    uint32_t n = (uint32_t)size;
    add(std::string("Encode/") + label + "/nanopb", n, [msg, buf, fields] {
        pb_ostream_t s = pb_ostream_from_buffer(buf->data(), buf->size());
        benchmark::DoNotOptimize(pb_encode(&s, fields, msg.get()));
        benchmark::ClobberMemory();
    });
    add(std::string("Encode/") + label + "/protobuf-c", n, [base, buf] {
        size_t len = protobuf_c_message_get_packed_size(base);
        benchmark::DoNotOptimize(len);
        benchmark::DoNotOptimize(protobuf_c_message_pack(base, buf->data()));
        benchmark::ClobberMemory();
    });
    add(std::string("Decode/") + label + "/nanopb", n, [wire, back, fields] {
        pb_istream_t s = pb_istream_from_buffer(wire->data(), wire->size());
        benchmark::DoNotOptimize(pb_decode(&s, fields, back.get()));
        benchmark::ClobberMemory();
    });
    add(std::string("Decode/") + label + "/protobuf-c", n, [wire, base] {
        ProtobufCMessage *r =
            protobuf_c_message_unpack(base->descriptor, nullptr, wire->size(), wire->data());
        benchmark::DoNotOptimize(r);
        protobuf_c_message_free_unpacked(r, nullptr);
    });
}

}  // namespace

void registerPeers()
{
    const Data &d = data();
    peerCases<ccaStats, peers_CcaStats, Peers__CcaStats>("ccaStats", d.cca, peers_CcaStats_fields);
    peerCases<assocDevListRet, peers_AssocDevListRet, Peers__AssocDevListRet>(
        "assocDevListRet100", d.assoc, peers_AssocDevListRet_fields);
    peerCases<APCfg, peers_APCfg, Peers__APCfg>("APCfg50", d.ap, peers_APCfg_fields);
    peerCases<beaconReport, peers_BeaconReport, Peers__BeaconReport>(
        "beaconReport100", d.beacon, peers_BeaconReport_fields);
    peerCases<BandSteeringCfg, peers_BandSteeringCfg, Peers__BandSteeringCfg>(
        "BandSteeringCfg", d.bsd, peers_BandSteeringCfg_fields);
}

}  // namespace bench
