// The commands and notifications of the interface, one row each, in the
// index order of their descriptor blocks.
//
// A row is the only place where a message is written down. Its bodies
// (messages/bodies.h), their descriptions and typed exports
// (messages/commands.cpp, messages/notifications.cpp), the descriptor's
// entries (base/base.cpp), and the public typedefs and prototypes with the
// README tables (written by tools/gen_header.py, checked by the compiler
// against the exports) all come from it.
//
// Members are (type, name) pairs in wire order, numbered from 3: a record
// type (passed and handed by pointer), char[N] (a text, by pointer) or an
// integer type (by value). () is a body without members.
#pragma once

namespace iv {
// Entries 4 and 7 share one stored text: entry 7 starts at its fourth
// character. Inline, so that every user of the rows refers to one object.
inline constexpr char kGetTemporarilyBlackList[] = "GetTemporarilyBlackList";
}  // namespace iv

// X(index, name, entry name, magic, stamp, magic name, (request members), (response members))
#define IV_COMMANDS(X)                                                                         \
    X(0, getAssocDevStats, "GetAssocDevStats", 0x29170612u, 1,                                 \
      "INTFVELMOR_MAGIC_MSGCMD_GETASSOCDEVSTATS",                                              \
      ((assocDevListReq, req)),                                                                \
      ((assocDevListRet, res)))                                                                \
    X(1, selectAndCreateRadio, "SelectAndCreateRadio", 0x20170621u, 0,                         \
      "INTFVELMOR_MAGIC_MSGCMD_SELECTANDCREATERADIO",                                          \
      ((char[64], text), (RadioDef, radio)),                                                   \
      ((RadioCapacity, res)))                                                                  \
    X(2, createAccessPoint, "CreateAccessPoint", 0x20170711u, 0,                               \
      "INTFVELMOR_MAGIC_MSGCMD_CREATEACCESSPOINT",                                             \
      ((char[64], text1), (char[64], text2), (char[64], text3)),                               \
      ((uint8_t, status), (APCapacity, capacity), (char[64], text)))                           \
    X(3, getProbeRequestList, "GetProbeRequestList", 0x20182905u, 1,                           \
      "INTFVELMOR_MAGIC_MSGCMD_GETPROBEREQUESTLIST",                                           \
      (),                                                                                      \
      ((ProbeRequestList, res)))                                                               \
    X(4, getTemporarilyBlackList, iv::kGetTemporarilyBlackList, 0x29170612u, 1,                \
      "INTFVELMOR_MAGIC_MSGCMD_GETTEMPORARILYBLACKLIST",                                       \
      (),                                                                                      \
      ((MacFilterList, res)))                                                                  \
    X(5, configureAccessPoint, "ConfigureAccessPoint", 0x20170708u, 0,                         \
      "INTFVELMOR_MAGIC_MSGCMD_CONFIGUREACCESSPOINT",                                          \
      ((APCfg, cfg), (uint8_t, value)),                                                        \
      ((APCfgRet, res)))                                                                       \
    X(6, configureQTNBackHaulWPS, "ConfigureQTNBackHaulWPS", 0x20170788u, 0,                   \
      "INTFVELMOR_MAGIC_MSGCMD_CONFIGUREQTNBACKHAULWPS",                                       \
      ((APBackHaulWPSCfg, cfg)),                                                               \
      ((uint8_t, status)))                                                                     \
    X(7, temporarilyBlackList, iv::kGetTemporarilyBlackList + 3, 0x20171010u, 1,               \
      "INTFVELMOR_MAGIC_MSGCMD_TEMPORARILYBLACKLIST",                                          \
      ((char[18], mac), (uint32_t, value)),                                                    \
      ((uint8_t, status)))                                                                     \
    X(8, 11vActionFrame, "11vActionFrame", 0x20188512u, 0,                                     \
      "INTFVELMOR_MAGIC_MSGCMD_11VACTIONFRAME",                                                \
      ((bssTransitionRequest, req)),                                                           \
      ((bssTransitionResponse, res)))                                                          \
    X(9, getStationsStatistics, "GetStationsStatistics", 0x20185465u, 0,                       \
      "INTFVELMOR_MAGIC_MSGCMD_GETSTATIONSSTATISTICS",                                         \
      ((assocDevListReq, req)),                                                                \
      ((assocDevListRet, res)))                                                                \
    X(10, beaconRequest, "BeaconRequest", 0x20188512u, 0,                                      \
      "INTFVELMOR_MAGIC_MSGCMD_BEACONREQUEST",                                                 \
      ((BeaconRequestCfg, req)),                                                               \
      ((beaconReport, res)))                                                                   \
    X(11, setBeaconIETUK, "SetBeaconIETUK", 0x20188512u, 1,                                    \
      "INTFVELMOR_MAGIC_MSGCMD_SETBEACONIETUK",                                                \
      ((BeaconIECfg, req)),                                                                    \
      ((uint8_t, status)))                                                                     \
    X(12, getChannelCreated, "GetChannelCreated", 0x20170365u, 0,                              \
      "INTFVELMOR_MAGIC_MSGCMD_GETCHANNELCREATED",                                             \
      (),                                                                                      \
      ((channelReport, res)))                                                                  \
    X(13, getCCAStatistic, "GetCCAStatistic", 0x29190165u, 0,                                  \
      "INTFVELMOR_MAGIC_MSGCMD_GETCCASTATISTIC",                                               \
      (),                                                                                      \
      ((ccaStats, res)))

// X(index, name, Name, entry name, magic, stamp, magic name, (members))
#define IV_NOTIFICATIONS(X)                                                                    \
    X(0, meshTUKExtenderPairing, MeshTUKExtenderPairing, "MeshTUKExtenderPairing",             \
      0x13531940u, 1, "INTFVELMOR_MAGIC_MSGNTFY_MESHTUKEXTENDERPAIRING",                       \
      ((uint32_t, value)))                                                                     \
    X(1, meshTUKClientsLowRSSI, MeshTUKClientsLowRSSI, "MeshTUKClientsLowRSSI",                \
      0x14531940u, 1, "INTFVELMOR_MAGIC_MSGNTFY_MESHTUKCLIENTSLOWRSSI",                        \
      ((LowRSSINtf, ntfy)))                                                                    \
    X(2, beaconReport, BeaconReport, "BeaconReport",                                           \
      0x24582563u, 0, "INTFVELMOR_MAGIC_MSGNTFY_BEACONREPORT",                                 \
      ((char[18], mac), (int8_t, value1), (int8_t, value2)))

// ---- walking a row's member list -------------------------------------------------
// IV_EACH(F, (members)) expands F(i, type, name) for each member, i from 0
// (up to four members: a fifth is a compile error; add an IV_EACH5 then);
// IV_IF_MEMBERS((members))(text) keeps text only for a list with members,
// IV_IF_NONE((members))(text) only for an empty one.
#define IV_UNPACK(...) __VA_ARGS__
#define IV_PICK(_0, _1, _2, _3, _4, M, ...) M
#define IV_EACH(F, list) IV_EACH_X(F, IV_UNPACK list)
#define IV_EACH_X(F, ...) IV_EACH_PICK(__VA_ARGS__)(F, __VA_ARGS__)
#define IV_EACH_PICK(...) IV_PICK(_, ##__VA_ARGS__, IV_EACH4, IV_EACH3, IV_EACH2, IV_EACH1, IV_EACH0)
#define IV_APPLY(F, i, m) IV_APPLY_(F, i, IV_UNPACK m)
#define IV_APPLY_(F, ...) F(__VA_ARGS__)
#define IV_EACH0(F, ...)
#define IV_EACH1(F, a) IV_APPLY(F, 0, a)
#define IV_EACH2(F, a, b) IV_EACH1(F, a) IV_APPLY(F, 1, b)
#define IV_EACH3(F, a, b, c) IV_EACH2(F, a, b) IV_APPLY(F, 2, c)
#define IV_EACH4(F, a, b, c, d) IV_EACH3(F, a, b, c) IV_APPLY(F, 3, d)
#define IV_IF_MEMBERS(list) IV_IF_MEMBERS_X(IV_UNPACK list)
#define IV_IF_MEMBERS_X(...) IV_IF_MEMBERS_N(__VA_ARGS__)
#define IV_IF_MEMBERS_N(...) \
    IV_PICK(_, ##__VA_ARGS__, IV_UNPACK, IV_UNPACK, IV_UNPACK, IV_UNPACK, IV_DROP)
#define IV_DROP(...)
#define IV_IF_NONE(list) IV_IF_NONE_X(IV_UNPACK list)
#define IV_IF_NONE_X(...) IV_IF_NONE_N(__VA_ARGS__)
#define IV_IF_NONE_N(...) IV_PICK(_, ##__VA_ARGS__, IV_DROP, IV_DROP, IV_DROP, IV_DROP, IV_UNPACK)

// Checks that a list's rows are in index order, one per entry of its block:
// IV_CHECK_ROWS(IV_COMMANDS, INTFVELMOR_CMD_COUNT, command).
#define IV_ROW_POSITION(idx, name, ...) kPosition_##name,
#define IV_ROW_INDEX(idx, name, ...) \
    static_assert(kPosition_##name == idx, #name ": index out of order");
#define IV_CHECK_ROWS(ROWS, count, what)                         \
    enum { ROWS(IV_ROW_POSITION) kRows_##what };                 \
    static_assert(kRows_##what == count, "one row per " #what); \
    ROWS(IV_ROW_INDEX)
