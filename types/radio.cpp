// Radio, channel, scan, survey and statistics records.
#include "types/described.h"
#include "wire/describe.h"

// ---- CCA statistics and channel report --------------------------------------
IV_RECORD(ccaStats,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7))

IV_RECORD(channelLoadProperties,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(v12, 12))

IV_RECORD(channelsCreatedProperties,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(v12, 12), IV_MEMBER(v13, 13), IV_MEMBER(v14, 14))

IV_RECORD(channelReport,
          IV_MEMBER(load, 3),
          IV_COUNTED(channelsCount, 4, channels, 5))

IV_RECORD(CCARequest, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4))

IV_RECORD(CCAReport,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7))

IV_RECORD(Timestamp, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4))

// ---- Airtime and access-category statistics ---------------------------------
IV_RECORD(AftSta, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(mac, 6))

IV_RECORD(AftConfig, IV_MEMBER(v3, 3), IV_COUNTED(stationsCount, 4, stations, 5))

// ---- Channel scan and survey --------------------------------------------------
IV_RECORD(siteSurveyCfg, IV_MEMBER(s3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5))
