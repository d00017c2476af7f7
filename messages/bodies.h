// Message bodies: the frame's two head fields, then the members in order.
#pragma once

#include "intfVelmor.h"

#define IV_BODY_HEAD \
    uint32_t magic;  \
    uint16_t ref;

struct ivEmptyBody { IV_BODY_HEAD };

// Describes a body's members, numbered from 3, after its head.
#define IV_BODY(T, ...) \
    IV_DESCRIBE(T, offsetof(T, ref) + sizeof(uint16_t), 2, __VA_ARGS__)

// ---- commands -------------------------------------------------------------------
struct ivReq_getAssocDevStats { IV_BODY_HEAD assocDevListReq req; };
struct ivRes_getAssocDevStats { IV_BODY_HEAD assocDevListRet res; };
struct ivReq_selectAndCreateRadio { IV_BODY_HEAD char text[64]; RadioDef radio; };
struct ivRes_selectAndCreateRadio { IV_BODY_HEAD RadioCapacity res; };
struct ivReq_createAccessPoint { IV_BODY_HEAD char text1[64]; char text2[64]; char text3[64]; };
struct ivRes_createAccessPoint { IV_BODY_HEAD uint8_t status; APCapacity capacity; char text[64]; };
using ivReq_getProbeRequestList = ivEmptyBody;
struct ivRes_getProbeRequestList { IV_BODY_HEAD ProbeRequestList res; };
using ivReq_getTemporarilyBlackList = ivEmptyBody;
struct ivRes_getTemporarilyBlackList { IV_BODY_HEAD MacFilterList res; };
struct ivReq_configureAccessPoint { IV_BODY_HEAD APCfg cfg; uint8_t value; };
struct ivRes_configureAccessPoint { IV_BODY_HEAD APCfgRet res; };
struct ivReq_configureQTNBackHaulWPS { IV_BODY_HEAD APBackHaulWPSCfg cfg; };
struct ivRes_configureQTNBackHaulWPS { IV_BODY_HEAD uint8_t status; };
struct ivReq_temporarilyBlackList { IV_BODY_HEAD char mac[18]; uint32_t value; };
struct ivRes_temporarilyBlackList { IV_BODY_HEAD uint8_t status; };
struct ivReq_11vActionFrame { IV_BODY_HEAD bssTransitionRequest req; };
struct ivRes_11vActionFrame { IV_BODY_HEAD bssTransitionResponse res; };
struct ivReq_getStationsStatistics { IV_BODY_HEAD assocDevListReq req; };
struct ivRes_getStationsStatistics { IV_BODY_HEAD assocDevListRet res; };
struct ivReq_beaconRequest { IV_BODY_HEAD BeaconRequestCfg req; };
struct ivRes_beaconRequest { IV_BODY_HEAD beaconReport res; };
struct ivReq_setBeaconIETUK { IV_BODY_HEAD BeaconIECfg req; };
struct ivRes_setBeaconIETUK { IV_BODY_HEAD uint8_t status; };
using ivReq_getChannelCreated = ivEmptyBody;
struct ivRes_getChannelCreated { IV_BODY_HEAD channelReport res; };
using ivReq_getCCAStatistic = ivEmptyBody;
struct ivRes_getCCAStatistic { IV_BODY_HEAD ccaStats res; };

// ---- notifications ----------------------------------------------------------------
struct ivNtfy_meshTUKExtenderPairing { IV_BODY_HEAD uint32_t value; };
struct ivNtfy_meshTUKClientsLowRSSI { IV_BODY_HEAD LowRSSINtf ntfy; };
struct ivNtfy_beaconReport { IV_BODY_HEAD char mac[18]; int8_t value1; int8_t value2; };
