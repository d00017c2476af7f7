// The fourteen commands and three notifications of the interface, in the
// index order of their descriptor blocks.
#pragma once

// X(index, name, entry name, magic, stamp, magic name)
#define IV_COMMANDS(X)                                                                          \
    X(0, getAssocDevStats, "GetAssocDevStats", 0x29170612u, 1,                                  \
      "INTFVELMOR_MAGIC_MSGCMD_GETASSOCDEVSTATS")                                               \
    X(1, selectAndCreateRadio, "SelectAndCreateRadio", 0x20170621u, 0,                          \
      "INTFVELMOR_MAGIC_MSGCMD_SELECTANDCREATERADIO")                                           \
    X(2, createAccessPoint, "CreateAccessPoint", 0x20170711u, 0,                                \
      "INTFVELMOR_MAGIC_MSGCMD_CREATEACCESSPOINT")                                              \
    X(3, getProbeRequestList, "GetProbeRequestList", 0x20182905u, 1,                            \
      "INTFVELMOR_MAGIC_MSGCMD_GETPROBEREQUESTLIST")                                            \
    X(4, getTemporarilyBlackList, kGetTemporarilyBlackList, 0x29170612u, 1,                     \
      "INTFVELMOR_MAGIC_MSGCMD_GETTEMPORARILYBLACKLIST")                                        \
    X(5, configureAccessPoint, "ConfigureAccessPoint", 0x20170708u, 0,                          \
      "INTFVELMOR_MAGIC_MSGCMD_CONFIGUREACCESSPOINT")                                           \
    X(6, configureQTNBackHaulWPS, "ConfigureQTNBackHaulWPS", 0x20170788u, 0,                    \
      "INTFVELMOR_MAGIC_MSGCMD_CONFIGUREQTNBACKHAULWPS")                                        \
    X(7, temporarilyBlackList, kGetTemporarilyBlackList + 3, 0x20171010u, 1,                    \
      "INTFVELMOR_MAGIC_MSGCMD_TEMPORARILYBLACKLIST")                                           \
    X(8, 11vActionFrame, "11vActionFrame", 0x20188512u, 0,                                      \
      "INTFVELMOR_MAGIC_MSGCMD_11VACTIONFRAME")                                                 \
    X(9, getStationsStatistics, "GetStationsStatistics", 0x20185465u, 0,                        \
      "INTFVELMOR_MAGIC_MSGCMD_GETSTATIONSSTATISTICS")                                          \
    X(10, beaconRequest, "BeaconRequest", 0x20188512u, 0,                                       \
      "INTFVELMOR_MAGIC_MSGCMD_BEACONREQUEST")                                                  \
    X(11, setBeaconIETUK, "SetBeaconIETUK", 0x20188512u, 1,                                     \
      "INTFVELMOR_MAGIC_MSGCMD_SETBEACONIETUK")                                                 \
    X(12, getChannelCreated, "GetChannelCreated", 0x20170365u, 0,                               \
      "INTFVELMOR_MAGIC_MSGCMD_GETCHANNELCREATED")                                              \
    X(13, getCCAStatistic, "GetCCAStatistic", 0x29190165u, 0,                                   \
      "INTFVELMOR_MAGIC_MSGCMD_GETCCASTATISTIC")

// X(index, name, Name, entry name, magic, stamp, magic name)
#define IV_NOTIFICATIONS(X)                                                                     \
    X(0, meshTUKExtenderPairing, MeshTUKExtenderPairing, "MeshTUKExtenderPairing", 0x13531940u, \
      1, "INTFVELMOR_MAGIC_MSGNTFY_MESHTUKEXTENDERPAIRING")                                     \
    X(1, meshTUKClientsLowRSSI, MeshTUKClientsLowRSSI, "MeshTUKClientsLowRSSI", 0x14531940u, 1, \
      "INTFVELMOR_MAGIC_MSGNTFY_MESHTUKCLIENTSLOWRSSI")                                         \
    X(2, beaconReport, BeaconReport, "BeaconReport", 0x24582563u, 0,                            \
      "INTFVELMOR_MAGIC_MSGNTFY_BEACONREPORT")
