// Access-point, EP/AN and radio configuration records.
// Compiled as part of types/exports.cpp, with every other description.
#include "types/described.h"
#include "wire/describe.h"

// ---- MAC filter lists ---------------------------------------------------------
IV_RECORD(MacDef, IV_MEMBER(mac, 3))

IV_RECORD(MacFilterList, IV_MEMBER(v3, 3), IV_COUNTED(macsCount, 4, macs, 5))

// ---- Access-point security, WPS and access ------------------------------------
IV_RECORD(APWpsCfg,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(pin, 7), IV_MEMBER(v8, 8), IV_MEMBER(s9, 9), IV_MEMBER(v10, 10))

IV_RECORD(APBackHaulWPSCfg,
          IV_MEMBER(v3, 3), IV_MEMBER(ssid, 4), IV_MEMBER(v5, 5), IV_MEMBER(s6, 6),
          IV_MEMBER(s7, 7), IV_MEMBER(mac, 8))

IV_RECORD(APSecCfg,
          IV_MEMBER(v3, 3), IV_MEMBER(s4, 4), IV_MEMBER(key, 5), IV_MEMBER(s6, 6),
          IV_MEMBER(v7, 7),
          IV_MEMBER(ip1, 8), IV_MEMBER(v9, 9), IV_MEMBER(s10, 10), IV_MEMBER(v11, 11),
          IV_MEMBER(v12, 12), IV_MEMBER(v13, 13),
          IV_MEMBER(ip2, 14), IV_MEMBER(v15, 15), IV_MEMBER(s16, 16), IV_MEMBER(v17, 17),
          IV_MEMBER(v18, 18), IV_MEMBER(v19, 19),
          IV_MEMBER(ip3, 20), IV_MEMBER(v21, 21), IV_MEMBER(s22, 22), IV_MEMBER(v23, 23),
          IV_MEMBER(v24, 24), IV_MEMBER(v25, 25),
          IV_MEMBER(v26, 26), IV_MEMBER(s27, 27), IV_MEMBER(v28, 28), IV_MEMBER(v29, 29),
          IV_MEMBER(s30, 30))

IV_RECORD(APAccCfg,
          IV_MEMBER(v3, 3), IV_MEMBER(s4, 4), IV_MEMBER(s5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(s8, 8), IV_MEMBER(s9, 9), IV_MEMBER(v10, 10))

// ---- Access-point configuration -------------------------------------------------
IV_RECORD(BeaconRequestsCap, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5))

IV_RECORD(RadioMeasurements, IV_MEMBER(beaconRequestsCap, 3))

IV_RECORD(APCfg,
          IV_MEMBER(ssid, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(apSecCfg, 8), IV_MEMBER(apWpsCfg, 9),
          IV_MEMBER(v10, 10), IV_MEMBER(apAccCfg, 11), IV_MEMBER(s12, 12),
          IV_MEMBER(s13, 13), IV_MEMBER(s14, 14), IV_MEMBER(s15, 15), IV_MEMBER(v16, 16),
          IV_MEMBER(v17, 17), IV_MEMBER(v18, 18), IV_MEMBER(v19, 19), IV_MEMBER(v20, 20),
          IV_MEMBER(v21, 21), IV_MEMBER(v22, 22), IV_MEMBER(v23, 23),
          IV_MEMBER(macFilterList, 24), IV_MEMBER(radioMeasurements, 25))

IV_RECORD(APCfgRet, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4))

// ---- Capacities -----------------------------------------------------------------
IV_RECORD(APCapacity,
          IV_MEMBER(mac, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8))

IV_RECORD(EPCapacity, IV_MEMBER(mac, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5))

IV_RECORD(ANCapacity, IV_MEMBER(mac, 3), IV_MEMBER(v4, 4))

// ---- EP and AN configuration ------------------------------------------------------
IV_RECORD(EPSecCfg, IV_MEMBER(v3, 3), IV_MEMBER(s4, 4), IV_MEMBER(key, 5))

IV_RECORD(ANSecCfg, IV_MEMBER(v3, 3), IV_MEMBER(s4, 4), IV_MEMBER(key, 5))

IV_RECORD(EPCfg, IV_MEMBER(ssid, 3), IV_MEMBER(epSecCfg, 4))

IV_RECORD(ANCfg, IV_MEMBER(s3, 3), IV_MEMBER(v4, 4), IV_MEMBER(anSecCfg, 5))

// ---- Radio configuration -----------------------------------------------------------
IV_RECORD(RadioCfg,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(s8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(v12, 12), IV_MEMBER(v13, 13), IV_MEMBER(v14, 14),
          IV_MEMBER(v15, 15), IV_MEMBER(v16, 16), IV_MEMBER(v17, 17), IV_MEMBER(s18, 18),
          IV_MEMBER(s19, 19), IV_MEMBER(v20, 20), IV_MEMBER(v21, 21), IV_MEMBER(v22, 22),
          IV_MEMBER(v23, 23), IV_MEMBER(v24, 24), IV_MEMBER(v25, 25), IV_MEMBER(v26, 26),
          IV_MEMBER(v27, 27), IV_MEMBER(v28, 28), IV_MEMBER(v29, 29), IV_MEMBER(v30, 30),
          IV_MEMBER(v31, 31), IV_MEMBER(v32, 32), IV_MEMBER(v33, 33), IV_MEMBER(v34, 34),
          IV_MEMBER(v35, 35), IV_MEMBER(v36, 36), IV_MEMBER(v37, 37), IV_MEMBER(v38, 38),
          IV_MEMBER(survey, 39), IV_MEMBER(v40, 40), IV_MEMBER(v41, 41), IV_MEMBER(v42, 42),
          IV_MEMBER(v43, 43), IV_MEMBER(v44, 44), IV_MEMBER(v45, 45), IV_MEMBER(s46, 46),
          IV_MEMBER(v47, 47), IV_MEMBER(v48, 48), IV_MEMBER(v49, 49), IV_MEMBER(v50, 50),
          IV_MEMBER(v51, 51), IV_MEMBER(v52, 52), IV_MEMBER(v53, 53), IV_MEMBER(v54, 54),
          IV_MEMBER(v55, 55), IV_MEMBER(v56, 56), IV_MEMBER(v57, 57), IV_MEMBER(v58, 58),
          IV_MEMBER(v59, 59), IV_MEMBER(v60, 60), IV_MEMBER(v61, 61), IV_MEMBER(v62, 62),
          IV_MEMBER(v63, 63), IV_MEMBER(v64, 64))
