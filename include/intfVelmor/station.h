/* Station, BSS transition, measurement and band-steering record types. */
#ifndef INTFVELMOR_STATION_H
#define INTFVELMOR_STATION_H

/**
 * @addtogroup intfVelmor_records_station
 * @{
 */

#include <stdint.h>

#include "radio.h" /* Timestamp */

/* ---- Associated devices ------------------------------------------------ */
/** The assocDevDescr record (associated devices). Operations: @ref intfVelmor_rec_assocDevDescr. */
typedef struct assocDevDescr {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint8_t v4;
} assocDevDescr;

/** The capacity of assocDevListReq::devices. */
#define INTFVELMOR_ASSOCDEV_MAX 100
/** The assocDevListReq record (associated devices).
 *  Operations: @ref intfVelmor_rec_assocDevListReq. */
typedef struct assocDevListReq {
    uint32_t devicesCount; /**< stored unchanged; at most 100 elements are used */
    assocDevDescr devices[INTFVELMOR_ASSOCDEV_MAX];
} assocDevListReq;

/** The assocDevStats record (associated devices). Operations: @ref intfVelmor_rec_assocDevStats. */
typedef struct assocDevStats {
    uint64_t v3, v4, v5, v6;
    uint32_t v7, v8, v9, v10, v11;
} assocDevStats;

/** The assocDevInfo record (associated devices). Operations: @ref intfVelmor_rec_assocDevInfo. */
typedef struct assocDevInfo {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint8_t v4, v5;
    uint32_t v6, v7;
    int16_t v8, v9;
    uint32_t v10;
    int8_t v11, v12;
    char s13[8];
    uint8_t v14, v15, v16;
    int8_t v17;
    char s18[30];
    char s19[30];
    uint32_t v20;
    char s21[15];
    char s22[15];
    uint64_t v23, v24, v25, v26;
    uint32_t v27, v28, v29, v30, v31;
    assocDevStats stats;
    uint8_t v33, v34, v35;
    char s36[150];
    uint8_t v37, v38, v39, v40;
} assocDevInfo;

/** The assocDevListRet record (associated devices).
 *  Operations: @ref intfVelmor_rec_assocDevListRet. */
typedef struct assocDevListRet {
    uint32_t devicesCount; /**< stored unchanged; at most 100 elements are used */
    assocDevInfo devices[INTFVELMOR_ASSOCDEV_MAX];
} assocDevListRet;

/* ---- Probe requests and low RSSI --------------------------------------- */
/** The ProbeRequestRxInfo record (probe requests and low RSSI).
 *  Operations: @ref intfVelmor_rec_ProbeRequestRxInfo. */
typedef struct ProbeRequestRxInfo {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint32_t v4, v5, v6;
} ProbeRequestRxInfo;

/** The capacity of ProbeRequestList::probes. */
#define INTFVELMOR_PROBEREQ_MAX 100
/** The ProbeRequestList record (probe requests and low RSSI).
 *  Operations: @ref intfVelmor_rec_ProbeRequestList. */
typedef struct ProbeRequestList {
    uint32_t probesCount; /**< stored unchanged; at most 100 elements are used */
    ProbeRequestRxInfo probes[INTFVELMOR_PROBEREQ_MAX];
    char s5[15]; /**< travels after the last element */
} ProbeRequestList;

/** The LowRSSINtf record (probe requests and low RSSI).
 *  Operations: @ref intfVelmor_rec_LowRSSINtf. */
typedef struct LowRSSINtf {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    int16_t v4;
} LowRSSINtf;

/* ---- BSS transition ---------------------------------------------------- */
/** One candidate entry, whatever its name says.
 *  Operations: @ref intfVelmor_rec_bssTransitionCandidateList. */
typedef struct bssTransitionCandidateList {
    uint32_t v3;
    uint8_t v4;
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint32_t v6;
    uint8_t v7, v8, v9;
} bssTransitionCandidateList;

/** The capacity of bssTransitionActionFrame::candidates. */
#define INTFVELMOR_BSS_CANDIDATES_MAX 10
/** The bssTransitionActionFrame record (BSS transition).
 *  Operations: @ref intfVelmor_rec_bssTransitionActionFrame. */
typedef struct bssTransitionActionFrame {
    uint32_t v3, v4;
    uint8_t v5, v6;
    uint32_t v7;
    uint8_t v8;
    bssTransitionCandidateList candidate; /**< always present, before the array */
    uint32_t candidatesCount; /**< stored unchanged; at most 10 elements are used */
    bssTransitionCandidateList candidates[INTFVELMOR_BSS_CANDIDATES_MAX];
} bssTransitionActionFrame;

/** The bssTransitionRequest record (BSS transition).
 *  Operations: @ref intfVelmor_rec_bssTransitionRequest. */
typedef struct bssTransitionRequest {
    bssTransitionActionFrame actionFrame;
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint8_t v5, v6;
} bssTransitionRequest;

/** The bssTransitionResponse record (BSS transition).
 *  Operations: @ref intfVelmor_rec_bssTransitionResponse. */
typedef struct bssTransitionResponse {
    uint8_t v3;
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
} bssTransitionResponse;

/* ---- Measurement requests and beacon reports --------------------------- */
/** The ActionFrameCfg record (measurement requests and beacon reports).
 *  Operations: @ref intfVelmor_rec_ActionFrameCfg. */
typedef struct ActionFrameCfg {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint8_t v4, v5;
} ActionFrameCfg;

/** The RadioMeasurementRequestCfg record (measurement requests and beacon reports).
 *  Operations: @ref intfVelmor_rec_RadioMeasurementRequestCfg. */
typedef struct RadioMeasurementRequestCfg {
    uint8_t v3;
    uint16_t v4;
} RadioMeasurementRequestCfg;

/** The MeasurementRequestCfg record (measurement requests and beacon reports).
 *  Operations: @ref intfVelmor_rec_MeasurementRequestCfg. */
typedef struct MeasurementRequestCfg {
    uint8_t v3, v4;
} MeasurementRequestCfg;

/** The BeaconRequestAPCfg record (measurement requests and beacon reports).
 *  Operations: @ref intfVelmor_rec_BeaconRequestAPCfg. */
typedef struct BeaconRequestAPCfg {
    uint32_t v3, v4;
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    char s6[32];
} BeaconRequestAPCfg;

/** The capacity of BeaconRequestCfg::aps. */
#define INTFVELMOR_BEACON_REQUEST_APS_MAX 30
/** The BeaconRequestCfg record (measurement requests and beacon reports).
 *  Operations: @ref intfVelmor_rec_BeaconRequestCfg. */
typedef struct BeaconRequestCfg {
    ActionFrameCfg actionFrameCfg;
    RadioMeasurementRequestCfg radioMeasurementRequestCfg;
    MeasurementRequestCfg measurementRequestCfg;
    uint32_t v6, v7, v8;
    uint8_t apsCount; /**< stored unchanged; at most 30 elements are used */
    BeaconRequestAPCfg aps[INTFVELMOR_BEACON_REQUEST_APS_MAX];
} BeaconRequestCfg;

/** The BeaconIECfg record (measurement requests and beacon reports).
 *  Operations: @ref intfVelmor_rec_BeaconIECfg. */
typedef struct BeaconIECfg {
    char s3[32];
    uint32_t v4, v5;
} BeaconIECfg;

/** The ExtraBeaconReportElt record (measurement requests and beacon reports).
 *  Operations: @ref intfVelmor_rec_ExtraBeaconReportElt. */
typedef struct ExtraBeaconReportElt {
    uint8_t v3;
    uint16_t v4;
    char s5[30];
} ExtraBeaconReportElt;

/** The beaconReportElt record (measurement requests and beacon reports).
 *  Operations: @ref intfVelmor_rec_beaconReportElt. */
typedef struct beaconReportElt {
    uint8_t v3;
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint8_t v5, v6;
    uint16_t v7;
    uint8_t v8, v9, v10;
    uint32_t v11;
    ExtraBeaconReportElt extraBeaconReportElt;
} beaconReportElt;

/** The capacity of beaconReport::elts. */
#define INTFVELMOR_BEACON_REPORT_MAX 100
/** The beaconReport record (measurement requests and beacon reports).
 *  Operations: @ref intfVelmor_rec_beaconReport. */
typedef struct beaconReport {
    Timestamp timestamp;
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint32_t eltsCount; /**< stored unchanged; at most 100 elements are used */
    beaconReportElt elts[INTFVELMOR_BEACON_REPORT_MAX];
} beaconReport;

/* ---- Band steering ----------------------------------------------------- */
/** The BSDSteeringPolicy record (band steering).
 *  Operations: @ref intfVelmor_rec_BSDSteeringPolicy. */
typedef struct BSDSteeringPolicy {
    uint32_t v3, v4, v5, v6;
    uint8_t v7;
    uint32_t v8;
    uint8_t v9, v10, v11, v12, v13;
} BSDSteeringPolicy;

/** The BSDStaSelectPolicy record (band steering).
 *  Operations: @ref intfVelmor_rec_BSDStaSelectPolicy. */
typedef struct BSDStaSelectPolicy {
    uint32_t v3, v4;
    uint8_t v5;
    uint32_t v6;
    uint8_t v7;
    uint32_t v8, v9, v10, v11, v12, v13;
    uint8_t v14, v15, v16, v17, v18, v19, v20;
} BSDStaSelectPolicy;

/** The BSDItfCfg record (band steering). Operations: @ref intfVelmor_rec_BSDItfCfg. */
typedef struct BSDItfCfg {
    char s3[64];
    char s4[64];
    BSDSteeringPolicy bsdSteeringPolicy;
    BSDStaSelectPolicy bsdStaSelectPolicy;
    uint32_t v7;
} BSDItfCfg;

/** The bounceDetection record (band steering). Operations: @ref intfVelmor_rec_bounceDetection. */
typedef struct bounceDetection {
    uint32_t v3, v4, v5;
} bounceDetection;

/** The BSDCfg record (band steering). Operations: @ref intfVelmor_rec_BSDCfg. */
typedef struct BSDCfg {
    uint32_t v3, v4;
    uint8_t v5;
    uint32_t v6;
    uint8_t v7, v8;
    bounceDetection bounce;
} BSDCfg;

/** The BsdStatsRadio record (band steering). Operations: @ref intfVelmor_rec_BsdStatsRadio. */
typedef struct BsdStatsRadio {
    char s3[15];
    uint32_t v4, v5, v6;
    char s7[32];
} BsdStatsRadio;

/** The BsdStatsStation record (band steering). Operations: @ref intfVelmor_rec_BsdStatsStation. */
typedef struct BsdStatsStation {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    char s4[15];
    char s5[15];
    uint32_t v6, v7, v8, v9, v10;
    char s11[64];
    uint32_t v12;
    char s13[32];
} BsdStatsStation;

/** The BSDDevices record (band steering). Operations: @ref intfVelmor_rec_BSDDevices. */
typedef struct BSDDevices {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint32_t v4;
    int8_t v5, v6, v7;
} BSDDevices;

/* Fixed tables: every entry always travels, in use or not. */
/** The capacity of BandSteeringCfg::itfCfgs. */
#define INTFVELMOR_BSD_ITFS 8
/** The capacity of BandSteeringCfg::devices. */
#define INTFVELMOR_BSD_DEVICES 200
/** The BandSteeringCfg record (band steering). Operations: @ref intfVelmor_rec_BandSteeringCfg. */
typedef struct BandSteeringCfg {
    int8_t v3;
    BSDCfg bsdCfg;
    BSDItfCfg itfCfgs[INTFVELMOR_BSD_ITFS];
    BSDDevices devices[INTFVELMOR_BSD_DEVICES];
} BandSteeringCfg;

/** The record types of this header, for code that walks them: X(type). */
#define INTFVELMOR_STATION_TYPES(X) \
    X(assocDevDescr)                \
    X(assocDevListReq)              \
    X(assocDevStats)                \
    X(assocDevInfo)                 \
    X(assocDevListRet)              \
    X(ProbeRequestRxInfo)           \
    X(ProbeRequestList)             \
    X(LowRSSINtf)                   \
    X(bssTransitionCandidateList)   \
    X(bssTransitionActionFrame)     \
    X(bssTransitionRequest)         \
    X(bssTransitionResponse)        \
    X(ActionFrameCfg)               \
    X(RadioMeasurementRequestCfg)   \
    X(MeasurementRequestCfg)        \
    X(BeaconRequestAPCfg)           \
    X(BeaconRequestCfg)             \
    X(BeaconIECfg)                  \
    X(ExtraBeaconReportElt)         \
    X(beaconReportElt)              \
    X(beaconReport)                 \
    X(BSDSteeringPolicy)            \
    X(BSDStaSelectPolicy)           \
    X(BSDItfCfg)                    \
    X(bounceDetection)              \
    X(BSDCfg)                       \
    X(BsdStatsRadio)                \
    X(BsdStatsStation)              \
    X(BSDDevices)                   \
    X(BandSteeringCfg)

/** @} */

#endif /* INTFVELMOR_STATION_H */
