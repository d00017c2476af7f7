// Station, BSS transition, measurement and band-steering records.
// Compiled as part of types/exports.cpp, with every other description.
#include "types/described.h"
#include "wire/describe.h"

// ---- Associated devices ---------------------------------------------------------
IV_RECORD(assocDevDescr, IV_MEMBER(mac, 3), IV_MEMBER(v4, 4))

IV_RECORD(assocDevListReq, IV_COUNTED(devicesCount, 3, devices, 4))

IV_RECORD(assocDevStats,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11))

IV_RECORD(assocDevInfo,
          IV_MEMBER(mac, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(v12, 12), IV_MEMBER(s13, 13), IV_MEMBER(v14, 14),
          IV_MEMBER(v15, 15), IV_MEMBER(v16, 16), IV_MEMBER(v17, 17), IV_MEMBER(s18, 18),
          IV_MEMBER(s19, 19), IV_MEMBER(v20, 20), IV_MEMBER(s21, 21), IV_MEMBER(s22, 22),
          IV_MEMBER(v23, 23), IV_MEMBER(v24, 24), IV_MEMBER(v25, 25), IV_MEMBER(v26, 26),
          IV_MEMBER(v27, 27), IV_MEMBER(v28, 28), IV_MEMBER(v29, 29), IV_MEMBER(v30, 30),
          IV_MEMBER(v31, 31), IV_MEMBER(stats, 32), IV_MEMBER(v33, 33), IV_MEMBER(v34, 34),
          IV_MEMBER(v35, 35), IV_MEMBER(s36, 36), IV_MEMBER(v37, 37), IV_MEMBER(v38, 38),
          IV_MEMBER(v39, 39), IV_MEMBER(v40, 40))

IV_RECORD(assocDevListRet, IV_COUNTED(devicesCount, 3, devices, 4))

// ---- Probe requests and low RSSI --------------------------------------------------
IV_RECORD(ProbeRequestRxInfo,
          IV_MEMBER(mac, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6))

IV_RECORD(ProbeRequestList, IV_COUNTED(probesCount, 3, probes, 4), IV_MEMBER(s5, 5))

IV_RECORD(LowRSSINtf, IV_MEMBER(mac, 3), IV_MEMBER(v4, 4))

// ---- BSS transition -----------------------------------------------------------------
IV_RECORD(bssTransitionCandidateList,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(mac, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9))

IV_RECORD(bssTransitionActionFrame,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(candidate, 9),
          IV_COUNTED(candidatesCount, 10, candidates, 11))

IV_RECORD(bssTransitionRequest,
          IV_MEMBER(actionFrame, 3), IV_MEMBER(mac, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6))

IV_RECORD(bssTransitionResponse, IV_MEMBER(v3, 3), IV_MEMBER(mac, 4))

// ---- Measurement requests and beacon reports ----------------------------------------
IV_RECORD(ActionFrameCfg, IV_MEMBER(mac, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5))

IV_RECORD(RadioMeasurementRequestCfg, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4))

IV_RECORD(MeasurementRequestCfg, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4))

IV_RECORD(BeaconRequestAPCfg,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(mac, 5), IV_MEMBER(s6, 6))

IV_RECORD(BeaconRequestCfg,
          IV_MEMBER(actionFrameCfg, 3), IV_MEMBER(radioMeasurementRequestCfg, 4),
          IV_MEMBER(measurementRequestCfg, 5), IV_MEMBER(v6, 6), IV_MEMBER(v7, 7),
          IV_MEMBER(v8, 8), IV_COUNTED(apsCount, 9, aps, 10))

IV_RECORD(BeaconIECfg, IV_MEMBER(s3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5))

IV_RECORD(ExtraBeaconReportElt, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(s5, 5))

IV_RECORD(beaconReportElt,
          IV_MEMBER(v3, 3), IV_MEMBER(mac, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(extraBeaconReportElt, 12))

IV_RECORD(beaconReport,
          IV_MEMBER(timestamp, 3), IV_MEMBER(mac, 4), IV_COUNTED(eltsCount, 5, elts, 6))

// ---- Band steering ------------------------------------------------------------------
IV_RECORD(BSDSteeringPolicy,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(v12, 12), IV_MEMBER(v13, 13))

IV_RECORD(BSDStaSelectPolicy,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(v12, 12), IV_MEMBER(v13, 13), IV_MEMBER(v14, 14),
          IV_MEMBER(v15, 15), IV_MEMBER(v16, 16), IV_MEMBER(v17, 17), IV_MEMBER(v18, 18),
          IV_MEMBER(v19, 19), IV_MEMBER(v20, 20))

IV_RECORD(BSDItfCfg,
          IV_MEMBER(s3, 3), IV_MEMBER(s4, 4), IV_MEMBER(bsdSteeringPolicy, 5),
          IV_MEMBER(bsdStaSelectPolicy, 6), IV_MEMBER(v7, 7))

IV_RECORD(bounceDetection, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5))

IV_RECORD(BSDCfg,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(bounce, 9))

IV_RECORD(BsdStatsRadio,
          IV_MEMBER(s3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(s7, 7))

IV_RECORD(BsdStatsStation,
          IV_MEMBER(mac, 3), IV_MEMBER(s4, 4), IV_MEMBER(s5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(s11, 11), IV_MEMBER(v12, 12), IV_MEMBER(s13, 13))

IV_RECORD(BSDDevices,
          IV_MEMBER(mac, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7))

IV_RECORD(BandSteeringCfg,
          IV_MEMBER(v3, 3), IV_MEMBER(bsdCfg, 4), IV_TABLE(itfCfgs, 5), IV_TABLE(devices, 6))
