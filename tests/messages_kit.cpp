// The cases of every command and notification, compiled once for the
// message tests.
#include "messages_kit.h"

namespace ivtest {

// Commands whose request is one record (or nothing) and whose response is one record.
template <class Req, class Res>
Command recordCommand(uint32_t index, const char *name, ModSrvFn modSrv,
                      uint32_t (*send)(void *, void (*)(void *, uint32_t, Res *), uint32_t,
                                       uint32_t, const char *, const Req *),
                      void (*answer)(void *, const Res *), Req req, Res res)
{
    return {index, name, modSrv, fnp(onRequest<Req *>),
            [=](void *c) { return send(c, onResponse<Res *>, kCliRef, 0, "wifi", &req); },
            [=](void *ctx) { answer(ctx, &res); },
            {render(&req)}, {render(&res)}, encode(req), encode(res)};
}
template <class Res>
Command askingCommand(uint32_t index, const char *name, ModSrvFn modSrv,
                      uint32_t (*send)(void *, void (*)(void *, uint32_t, Res *), uint32_t,
                                       uint32_t, const char *),
                      void (*answer)(void *, const Res *), Res res)
{
    return {index, name, modSrv, fnp(onRequest<>),
            [=](void *c) { return send(c, onResponse<Res *>, kCliRef, 0, "wifi"); },
            [=](void *ctx) { answer(ctx, &res); },
            {}, {render(&res)}, {}, encode(res)};
}

// Counts above their bounds travel unchanged; texts longer than their
// fields go out cut.
const std::vector<Command> &commands()
{
    static const std::vector<Command> list = [] {
        auto devReq = patterned<assocDevListReq>(1, [](auto &r) { r.devicesCount = 150; });
        auto devRet = patterned<assocDevListRet>(2, [](auto &r) { r.devicesCount = 2; });
        const std::string radioName(70, 'r');
        auto radio = patterned<RadioDef>(3);
        auto radioCap = patterned<RadioCapacity>(
            4, [](auto &r) { r.radioChannelCapabilities.bandwidthsCount = 9; });
        const std::string full(63, 'a'), cut(64, 'b');
        auto apCap = patterned<APCapacity>(5);
        auto probes = patterned<ProbeRequestList>(6, [](auto &r) { r.probesCount = 101; });
        auto macs = patterned<MacFilterList>(7, [](auto &r) { r.macsCount = 50; });
        auto apCfg = patterned<APCfg>(8, [](auto &r) { r.macFilterList.macsCount = 60; });
        auto apRet = patterned<APCfgRet>(9);
        auto wps = patterned<APBackHaulWPSCfg>(10);
        auto bssReq = patterned<bssTransitionRequest>(
            11, [](auto &r) { r.actionFrame.candidatesCount = 11; });
        auto bssRes = patterned<bssTransitionResponse>(12);
        auto staReq = patterned<assocDevListReq>(13, [](auto &r) { r.devicesCount = 0; });
        auto staRet = patterned<assocDevListRet>(14, [](auto &r) { r.devicesCount = 100; });
        auto beaconReq = patterned<BeaconRequestCfg>(15, [](auto &r) { r.apsCount = 31; });
        auto beaconRep = patterned<beaconReport>(16, [](auto &r) { r.eltsCount = 101; });
        auto beaconIE = patterned<BeaconIECfg>(17);
        auto channels = patterned<channelReport>(18, [](auto &r) { r.channelsCount = 33; });
        auto cca = patterned<ccaStats>(19);
        const char *w = "wifi";
        return std::vector<Command>{
            recordCommand(0, "getAssocDevStats", intfVelmor_modSrv_recvMsg_getAssocDevStats,
                          intfVelmor_sendReq_getAssocDevStats,
                          intfVelmor_sendRes_getAssocDevStats, devReq, devRet),
            {1, "selectAndCreateRadio", intfVelmor_modSrv_recvMsg_selectAndCreateRadio,
             fnp(onRequest<char *, RadioDef *>),
             [=](void *c) {
                 return intfVelmor_sendReq_selectAndCreateRadio(
                     c, onResponse<RadioCapacity *>, kCliRef, 0, w, radioName.c_str(), &radio);
             },
             [=](void *ctx) { intfVelmor_sendRes_selectAndCreateRadio(ctx, &radioCap); },
             {radioName.substr(0, 63), render(&radio)}, {render(&radioCap)},
             textItem(3, radioName.substr(0, 63)) + encode(radio), encode(radioCap)},
            {2, "createAccessPoint", intfVelmor_modSrv_recvMsg_createAccessPoint,
             fnp(onRequest<char *, char *, char *>),
             [=](void *c) {
                 return intfVelmor_sendReq_createAccessPoint(
                     c, onResponse<uint8_t, APCapacity *, char *>, kCliRef, 0, w, full.c_str(),
                     cut.c_str(), "");
             },
             [=](void *ctx) { intfVelmor_sendRes_createAccessPoint(ctx, 254, &apCap, "up"); },
             {full, cut.substr(0, 63), ""}, {"254", render(&apCap), "up"},
             textItem(3, full) + textItem(4, cut.substr(0, 63)) + textItem(5, ""),
             // The status, the capacity's own items from tag 3, then the text at 5.
             scalarItem(3, 254) + encode(apCap) + textItem(5, "up")},
            askingCommand(3, "getProbeRequestList", intfVelmor_modSrv_recvMsg_getProbeRequestList,
                          intfVelmor_sendReq_getProbeRequestList,
                          intfVelmor_sendRes_getProbeRequestList, probes),
            askingCommand(4, "getTemporarilyBlackList",
                          intfVelmor_modSrv_recvMsg_getTemporarilyBlackList,
                          intfVelmor_sendReq_getTemporarilyBlackList,
                          intfVelmor_sendRes_getTemporarilyBlackList, macs),
            {5, "configureAccessPoint", intfVelmor_modSrv_recvMsg_configureAccessPoint,
             fnp(onRequest<APCfg *, uint8_t>),
             [=](void *c) {
                 return intfVelmor_sendReq_configureAccessPoint(c, onResponse<APCfgRet *>,
                                                                kCliRef, 0, w, &apCfg, 0xC8);
             },
             [=](void *ctx) { intfVelmor_sendRes_configureAccessPoint(ctx, &apRet); },
             {render(&apCfg), "200"}, {render(&apRet)}, encode(apCfg) + scalarItem(4, 0xC8),
             encode(apRet)},
            {6, "configureQTNBackHaulWPS", intfVelmor_modSrv_recvMsg_configureQTNBackHaulWPS,
             fnp(onRequest<APBackHaulWPSCfg *>),
             [=](void *c) {
                 return intfVelmor_sendReq_configureQTNBackHaulWPS(c, onResponse<uint8_t>,
                                                                   kCliRef, 0, w, &wps);
             },
             [=](void *ctx) { intfVelmor_sendRes_configureQTNBackHaulWPS(ctx, 7); },
             {render(&wps)}, {"7"}, encode(wps), scalarItem(3, 7)},
            // Twenty characters go out as the seventeen of a station address.
            {7, "temporarilyBlackList", intfVelmor_modSrv_recvMsg_temporarilyBlackList,
             fnp(onRequest<char *, uint32_t>),
             [=](void *c) {
                 return intfVelmor_sendReq_temporarilyBlackList(
                     c, onResponse<uint8_t>, kCliRef, 0, w, "00:11:22:33:44:55:66", 0xFFFFFFFE);
             },
             [=](void *ctx) { intfVelmor_sendRes_temporarilyBlackList(ctx, 0); },
             {"00:11:22:33:44:55", "4294967294"}, {"0"},
             textItem(3, "00:11:22:33:44:55") + scalarItem(4, 0xFFFFFFFE), scalarItem(3, 0)},
            recordCommand(8, "11vActionFrame", intfVelmor_modSrv_recvMsg_11vActionFrame,
                          intfVelmor_sendReq_11vActionFrame,
                          intfVelmor_sendRes_11vActionFrame, bssReq, bssRes),
            recordCommand(9, "getStationsStatistics",
                          intfVelmor_modSrv_recvMsg_getStationsStatistics,
                          intfVelmor_sendReq_getStationsStatistics,
                          intfVelmor_sendRes_getStationsStatistics, staReq, staRet),
            recordCommand(10, "beaconRequest", intfVelmor_modSrv_recvMsg_beaconRequest,
                          intfVelmor_sendReq_beaconRequest,
                          intfVelmor_sendRes_beaconRequest, beaconReq, beaconRep),
            {11, "setBeaconIETUK", intfVelmor_modSrv_recvMsg_setBeaconIETUK,
             fnp(onRequest<BeaconIECfg *>),
             [=](void *c) {
                 return intfVelmor_sendReq_setBeaconIETUK(c, onResponse<uint8_t>, kCliRef, 0, w,
                                                          &beaconIE);
             },
             [=](void *ctx) { intfVelmor_sendRes_setBeaconIETUK(ctx, 255); },
             {render(&beaconIE)}, {"255"}, encode(beaconIE), scalarItem(3, 255)},
            askingCommand(12, "getChannelCreated", intfVelmor_modSrv_recvMsg_getChannelCreated,
                          intfVelmor_sendReq_getChannelCreated,
                          intfVelmor_sendRes_getChannelCreated, channels),
            askingCommand(13, "getCCAStatistic", intfVelmor_modSrv_recvMsg_getCCAStatistic,
                          intfVelmor_sendReq_getCCAStatistic,
                          intfVelmor_sendRes_getCCAStatistic, cca),
        };
    }();
    return list;
}

const std::vector<Notification> &notifications()
{
    static const std::vector<Notification> list = [] {
        auto lowRssi = patterned<LowRSSINtf>(20);
        return std::vector<Notification>{
            {0, "meshTUKExtenderPairing", "ntfyMeshTUKExtenderPairing",
             intfVelmor_modCliNtfyUser_recvMsg_meshTUKExtenderPairing, fnp(onRequest<uint32_t>),
             [](void *u) { intfVelmor_sendReq_ntfyMeshTUKExtenderPairing(u, 0, 0, 5); }, {"5"},
             hex("00000000 00000004 13531940  00000001 00000004 00000001"
                 "00000003 00000004 00000005")},
            {1, "meshTUKClientsLowRSSI", "ntfyMeshTUKClientsLowRSSI",
             intfVelmor_modCliNtfyUser_recvMsg_meshTUKClientsLowRSSI,
             fnp(onRequest<LowRSSINtf *>),
             [=](void *u) { intfVelmor_sendReq_ntfyMeshTUKClientsLowRSSI(u, 0, 0, &lowRssi); },
             {render(&lowRssi)}, frame(0x14531940, 1) + encode(lowRssi)},
            {2, "beaconReport", "ntfyBeaconReport", intfVelmor_modCliNtfyUser_recvMsg_beaconReport,
             fnp(onRequest<char *, int8_t, int8_t>),
             [](void *u) { intfVelmor_sendReq_ntfyBeaconReport(u, 0, 0, "ab", -1, 2); },
             {"ab", "-1", "2"}, frame(0x24582563, 0) + wire("t3:ab s4:-1 s5:2")},
            // Twenty characters are published as the seventeen of a station address.
            {2, "beaconReport", "ntfyBeaconReport", intfVelmor_modCliNtfyUser_recvMsg_beaconReport,
             fnp(onRequest<char *, int8_t, int8_t>),
             [](void *u) {
                 intfVelmor_sendReq_ntfyBeaconReport(u, 0, 0, "0123456789abcdefghij", -128, 127);
             },
             {"0123456789abcdefg", "-128", "127"},
             frame(0x24582563, 0) + wire("t3:0123456789abcdefg s4:-128 s5:127")},
        };
    }();
    return list;
}

const Command *commandCase(uint32_t index)
{
    for (const Command &c : commands())
        if (c.index == index)
            return &c;
    ADD_FAILURE() << "command " << kCmds[index].name << " (index " << index
                  << ") has no case in commands() of tests/messages_kit.cpp";
    return nullptr;
}

const Notification *notificationCase(uint32_t index)
{
    for (const Notification &n : notifications())
        if (n.index == index)
            return &n;
    ADD_FAILURE() << "notification " << kNtfys[index].name << " (index " << index
                  << ") has no case in notifications() of tests/messages_kit.cpp";
    return nullptr;
}

}  // namespace ivtest
