// Radio, channel, scan, survey and statistics records.
// Compiled as part of types/exports.cpp, with every other description.
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

// ---- Radio definition and capacity ------------------------------------------
IV_RECORD(RadioDef, IV_MEMBER(s3, 3), IV_MEMBER(mac, 4), IV_MEMBER(v5, 5))

IV_RECORD(RadioChannelCapabilitiesPerBandwidth,
          IV_MEMBER(v3, 3),
          IV_COUNTED(valuesCount, 4, values, 5))

// The count is declared after its array; its item still comes first.
IV_RECORD(RadioChannelCapabilities, IV_COUNTED(bandwidthsCount, 4, bandwidths, 3))

IV_RECORD(RadioCapacity,
          IV_MEMBER(s3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(s7, 7), IV_MEMBER(v8, 8), IV_MEMBER(s9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(v12, 12), IV_MEMBER(v13, 13), IV_MEMBER(v14, 14),
          IV_MEMBER(v15, 15), IV_MEMBER(v16, 16), IV_MEMBER(v17, 17), IV_MEMBER(v18, 18),
          IV_MEMBER(v19, 19), IV_MEMBER(v20, 20),
          IV_MEMBER(radioChannelCapabilities, 21))

// ---- Airtime and access-category statistics ---------------------------------
IV_RECORD(AftSta, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(mac, 6))

IV_RECORD(AftConfig, IV_MEMBER(v3, 3), IV_COUNTED(stationsCount, 4, stations, 5))

IV_RECORD(AC_Stats,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(s12, 12))

IV_RECORD(AC,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(s9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(acStats, 11))

// ---- Channel scan and survey ------------------------------------------------
IV_RECORD(AcsLastScanSsidInfo,
          IV_MEMBER(mac, 3), IV_MEMBER(s4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6))

IV_RECORD(AcsLastScanChannelInfo, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4))

IV_RECORD(AcsLastScanResults,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4),
          IV_MEMBER(acsLastScanSsidInfo, 5), IV_MEMBER(acsLastScanChannelInfo, 6),
          IV_MEMBER(v7, 7))

IV_RECORD(siteSurveyCfg, IV_MEMBER(s3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5))

IV_RECORD(ChannelSurvey,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11))

IV_RECORD(SSIDSurvey,
          IV_MEMBER(v3, 3), IV_MEMBER(s4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(mac, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(v12, 12), IV_MEMBER(v13, 13), IV_MEMBER(v14, 14),
          IV_MEMBER(v15, 15), IV_MEMBER(v16, 16), IV_MEMBER(v17, 17), IV_MEMBER(v18, 18),
          IV_MEMBER(v19, 19), IV_MEMBER(v20, 20), IV_MEMBER(v21, 21), IV_MEMBER(v22, 22))

IV_RECORD(SSIDsSurvey, IV_COUNTED(ssidSurveysCount, 3, ssidSurveys, 4))

IV_RECORD(ChannelsSurvey, IV_COUNTED(channelSurveysCount, 3, channelSurveys, 4))

// ---- Radio and interface statistics -----------------------------------------
IV_RECORD(RadioChannelsInUseInfo, IV_MEMBER(v3, 3), IV_MEMBER(v4, 4))

IV_RECORD(RadioInterferenceConfigStats,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6))

IV_RECORD(RadioConfigStats,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(s6, 6),
          IV_MEMBER(radioInterferenceConfigStats, 7))

IV_RECORD(ItfStats,
          IV_MEMBER(v3, 3), IV_MEMBER(v4, 4), IV_MEMBER(v5, 5), IV_MEMBER(v6, 6),
          IV_MEMBER(v7, 7), IV_MEMBER(v8, 8), IV_MEMBER(v9, 9), IV_MEMBER(v10, 10),
          IV_MEMBER(v11, 11), IV_MEMBER(v12, 12), IV_MEMBER(v13, 13), IV_MEMBER(v14, 14),
          IV_MEMBER(v15, 15), IV_MEMBER(v16, 16), IV_MEMBER(v17, 17))
