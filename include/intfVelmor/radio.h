/* Radio, channel, scan, survey and statistics record types. */
#ifndef INTFVELMOR_RADIO_H
#define INTFVELMOR_RADIO_H

/**
 * @addtogroup intfVelmor_records_radio
 * @{
 */

#include <stdint.h>

/* ---- CCA statistics and channel report --------------------------------- */
/** The ccaStats record (CCA statistics and channel report).
 *  Operations: @ref intfVelmor_rec_ccaStats. */
typedef struct ccaStats {
    uint32_t v3, v4, v5, v6, v7;
} ccaStats;

/** The channelLoadProperties record (CCA statistics and channel report).
 *  Operations: @ref intfVelmor_rec_channelLoadProperties. */
typedef struct channelLoadProperties {
    uint8_t v3;
    uint16_t v4, v5, v6, v7, v8;
    uint8_t v9, v10;
    uint32_t v11;
    int8_t v12;
} channelLoadProperties;

/** The channelsCreatedProperties record (CCA statistics and channel report).
 *  Operations: @ref intfVelmor_rec_channelsCreatedProperties. */
typedef struct channelsCreatedProperties {
    uint8_t v3, v4, v5;
    uint16_t v6;
    uint32_t v7, v8;
    uint16_t v9;
    uint32_t v10, v11, v12, v13, v14;
} channelsCreatedProperties;

/** The capacity of channelReport::channels. */
#define INTFVELMOR_CHANNELS_MAX 32
/** The channelReport record (CCA statistics and channel report).
 *  Operations: @ref intfVelmor_rec_channelReport. */
typedef struct channelReport {
    channelLoadProperties load;
    uint8_t channelsCount;  /**< stored unchanged; at most 32 elements are used */
    channelsCreatedProperties channels[INTFVELMOR_CHANNELS_MAX];
} channelReport;

/** The CCARequest record (CCA statistics and channel report).
 *  Operations: @ref intfVelmor_rec_CCARequest. */
typedef struct CCARequest {
    uint8_t v3;
    uint16_t v4;
} CCARequest;

/** The CCAReport record (CCA statistics and channel report).
 *  Operations: @ref intfVelmor_rec_CCAReport. */
typedef struct CCAReport {
    uint8_t v3;
    uint32_t v4, v5;
    uint16_t v6;
    uint8_t v7;
} CCAReport;

/** The Timestamp record (CCA statistics and channel report).
 *  Operations: @ref intfVelmor_rec_Timestamp. */
typedef struct Timestamp {
    uint64_t v3;
    uint32_t v4;
} Timestamp;

/* ---- Radio definition and capacity ------------------------------------- */
/** The RadioDef record (radio definition and capacity).
 *  Operations: @ref intfVelmor_rec_RadioDef. */
typedef struct RadioDef {
    char s3[10];
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    int8_t v5;
} RadioDef;

/** The capacity of RadioChannelCapabilitiesPerBandwidth::values. */
#define INTFVELMOR_BANDWIDTH_VALUES_MAX 32
/** The RadioChannelCapabilitiesPerBandwidth record (radio definition and capacity).
 *  Operations: @ref intfVelmor_rec_RadioChannelCapabilitiesPerBandwidth. */
typedef struct RadioChannelCapabilitiesPerBandwidth {
    uint32_t v3;
    uint32_t valuesCount;  /**< stored unchanged; at most 32 values are used */
    uint32_t values[INTFVELMOR_BANDWIDTH_VALUES_MAX];
} RadioChannelCapabilitiesPerBandwidth;

/* The count follows its array in memory but precedes the elements on the wire. */
/** The capacity of RadioChannelCapabilities::bandwidths. */
#define INTFVELMOR_BANDWIDTHS_MAX 4
/** The RadioChannelCapabilities record (radio definition and capacity).
 *  Operations: @ref intfVelmor_rec_RadioChannelCapabilities. */
typedef struct RadioChannelCapabilities {
    RadioChannelCapabilitiesPerBandwidth bandwidths[INTFVELMOR_BANDWIDTHS_MAX];
    uint32_t bandwidthsCount;  /**< stored unchanged; at most 4 elements are used */
} RadioChannelCapabilities;

/** The RadioCapacity record (radio definition and capacity).
 *  Operations: @ref intfVelmor_rec_RadioCapacity. */
typedef struct RadioCapacity {
    char s3[15];
    uint16_t v4;
    uint8_t v5, v6;
    char s7[512];
    uint8_t v8;
    char s9[64];
    uint8_t v10;
    uint32_t v11;
    uint8_t v12, v13, v14, v15, v16, v17;
    uint16_t v18;
    uint8_t v19;
    uint32_t v20;
    RadioChannelCapabilities radioChannelCapabilities;
} RadioCapacity;

/* ---- Airtime and access-category statistics ---------------------------- */
/** The AftSta record (airtime and access-category statistics).
 *  Operations: @ref intfVelmor_rec_AftSta. */
typedef struct AftSta {
    uint32_t v3, v4, v5;
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
} AftSta;

/** The capacity of AftConfig::stations. */
#define INTFVELMOR_AFTSTA_MAX 10
/** The AftConfig record (airtime and access-category statistics).
 *  Operations: @ref intfVelmor_rec_AftConfig. */
typedef struct AftConfig {
    uint32_t v3;
    uint32_t stationsCount;  /**< stored unchanged; at most 10 elements are used */
    AftSta stations[INTFVELMOR_AFTSTA_MAX];
} AftConfig;

/** The AC_Stats record (airtime and access-category statistics).
 *  Operations: @ref intfVelmor_rec_AC_Stats. */
typedef struct AC_Stats {
    uint64_t v3, v4, v5, v6;
    uint32_t v7, v8, v9, v10, v11;
    char s12[1024];
} AC_Stats;

/** The AC record (airtime and access-category statistics). Operations: @ref intfVelmor_rec_AC. */
typedef struct AC {
    uint32_t v3;
    uint8_t v4, v5, v6, v7, v8;
    char s9[1024];
    uint32_t v10;
    AC_Stats acStats;
} AC;

/* ---- Channel scan and survey ------------------------------------------- */
/** The AcsLastScanSsidInfo record (channel scan and survey).
 *  Operations: @ref intfVelmor_rec_AcsLastScanSsidInfo. */
typedef struct AcsLastScanSsidInfo {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    char s4[33];
    uint8_t v5;
    uint32_t v6;
} AcsLastScanSsidInfo;

/** The AcsLastScanChannelInfo record (channel scan and survey).
 *  Operations: @ref intfVelmor_rec_AcsLastScanChannelInfo. */
typedef struct AcsLastScanChannelInfo {
    uint8_t v3;
    uint32_t v4;
} AcsLastScanChannelInfo;

/** The AcsLastScanResults record (channel scan and survey).
 *  Operations: @ref intfVelmor_rec_AcsLastScanResults. */
typedef struct AcsLastScanResults {
    uint32_t v3, v4;
    AcsLastScanSsidInfo acsLastScanSsidInfo;
    AcsLastScanChannelInfo acsLastScanChannelInfo;
    uint32_t v7;
} AcsLastScanResults;

/** The siteSurveyCfg record (channel scan and survey).
 *  Operations: @ref intfVelmor_rec_siteSurveyCfg. */
typedef struct siteSurveyCfg {
    char s3[150];
    uint32_t v4, v5;
} siteSurveyCfg;

/** The ChannelSurvey record (channel scan and survey).
 *  Operations: @ref intfVelmor_rec_ChannelSurvey. */
typedef struct ChannelSurvey {
    uint32_t v3, v4, v5, v6, v7, v8, v9, v10, v11;
} ChannelSurvey;

/** The SSIDSurvey record (channel scan and survey). Operations: @ref intfVelmor_rec_SSIDSurvey. */
typedef struct SSIDSurvey {
    uint32_t v3;
    char s4[33];
    uint32_t v5, v6;
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint32_t v8;
    uint16_t v9, v10;
    uint8_t v11;
    uint16_t v12, v13, v14, v15, v16, v17;
    uint8_t v18, v19, v20, v21;
    uint32_t v22;
} SSIDSurvey;

/** The capacity of SSIDsSurvey::ssidSurveys. */
#define INTFVELMOR_SSID_SURVEYS_MAX 100
/** The SSIDsSurvey record (channel scan and survey).
 *  Operations: @ref intfVelmor_rec_SSIDsSurvey. */
typedef struct SSIDsSurvey {
    uint32_t ssidSurveysCount;  /**< stored unchanged; at most 100 elements are used */
    SSIDSurvey ssidSurveys[INTFVELMOR_SSID_SURVEYS_MAX];
} SSIDsSurvey;

/** The capacity of ChannelsSurvey::channelSurveys. */
#define INTFVELMOR_CHANNEL_SURVEYS_MAX 25
/** The ChannelsSurvey record (channel scan and survey).
 *  Operations: @ref intfVelmor_rec_ChannelsSurvey. */
typedef struct ChannelsSurvey {
    uint32_t channelSurveysCount;  /**< stored unchanged; at most 25 elements are used */
    ChannelSurvey channelSurveys[INTFVELMOR_CHANNEL_SURVEYS_MAX];
} ChannelsSurvey;

/* ---- Radio and interface statistics ------------------------------------ */
/** The RadioChannelsInUseInfo record (radio and interface statistics).
 *  Operations: @ref intfVelmor_rec_RadioChannelsInUseInfo. */
typedef struct RadioChannelsInUseInfo {
    uint8_t v3;
    uint32_t v4;
} RadioChannelsInUseInfo;

/** The RadioInterferenceConfigStats record (radio and interface statistics).
 *  Operations: @ref intfVelmor_rec_RadioInterferenceConfigStats. */
typedef struct RadioInterferenceConfigStats {
    uint32_t v3, v4, v5, v6;
} RadioInterferenceConfigStats;

/** The RadioConfigStats record (radio and interface statistics).
 *  Operations: @ref intfVelmor_rec_RadioConfigStats. */
typedef struct RadioConfigStats {
    uint32_t v3;
    int16_t v4;
    int8_t v5;
    char s6[150];
    RadioInterferenceConfigStats radioInterferenceConfigStats;
} RadioConfigStats;

/** The ItfStats record (radio and interface statistics).
 *  Operations: @ref intfVelmor_rec_ItfStats. */
typedef struct ItfStats {
    uint32_t v3, v4, v5, v6, v7, v8, v9, v10, v11, v12, v13, v14, v15, v16, v17;
} ItfStats;

/** The record types of this header, for code that walks them: X(type). */
#define INTFVELMOR_RADIO_TYPES(X)           \
    X(ccaStats)                             \
    X(channelLoadProperties)                \
    X(channelsCreatedProperties)            \
    X(channelReport)                        \
    X(CCARequest)                           \
    X(CCAReport)                            \
    X(Timestamp)                            \
    X(RadioDef)                             \
    X(RadioChannelCapabilitiesPerBandwidth) \
    X(RadioChannelCapabilities)             \
    X(RadioCapacity)                        \
    X(AftSta)                               \
    X(AftConfig)                            \
    X(AC_Stats)                             \
    X(AC)                                   \
    X(AcsLastScanSsidInfo)                  \
    X(AcsLastScanChannelInfo)               \
    X(AcsLastScanResults)                   \
    X(siteSurveyCfg)                        \
    X(ChannelSurvey)                        \
    X(SSIDSurvey)                           \
    X(SSIDsSurvey)                          \
    X(ChannelsSurvey)                       \
    X(RadioChannelsInUseInfo)               \
    X(RadioInterferenceConfigStats)         \
    X(RadioConfigStats)                     \
    X(ItfStats)

/** @} */

#endif /* INTFVELMOR_RADIO_H */
