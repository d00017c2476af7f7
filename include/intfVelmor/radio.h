/* Radio, channel, scan, survey and statistics record types. */
#ifndef INTFVELMOR_RADIO_H
#define INTFVELMOR_RADIO_H

#include <stdint.h>

/* ---- CCA statistics and channel report --------------------------------- */
typedef struct ccaStats {
    uint32_t v3, v4, v5, v6, v7;
} ccaStats;

typedef struct channelLoadProperties {
    uint8_t v3;
    uint16_t v4, v5, v6, v7, v8;
    uint8_t v9, v10;
    uint32_t v11;
    int8_t v12;
} channelLoadProperties;

typedef struct channelsCreatedProperties {
    uint8_t v3, v4, v5;
    uint16_t v6;
    uint32_t v7, v8;
    uint16_t v9;
    uint32_t v10, v11, v12, v13, v14;
} channelsCreatedProperties;

#define INTFVELMOR_CHANNELS_MAX 32
typedef struct channelReport {
    channelLoadProperties load;
    uint8_t channelsCount;  /* stored unchanged; at most 32 elements are used */
    channelsCreatedProperties channels[INTFVELMOR_CHANNELS_MAX];
} channelReport;

typedef struct CCARequest {
    uint8_t v3;
    uint16_t v4;
} CCARequest;

typedef struct CCAReport {
    uint8_t v3;
    uint32_t v4, v5;
    uint16_t v6;
    uint8_t v7;
} CCAReport;

typedef struct Timestamp {
    uint64_t v3;
    uint32_t v4;
} Timestamp;

/* ---- Airtime and access-category statistics ---------------------------- */
typedef struct AftSta {
    uint32_t v3, v4, v5;
    char mac[18];
} AftSta;

#define INTFVELMOR_AFTSTA_MAX 10
typedef struct AftConfig {
    uint32_t v3;
    uint32_t stationsCount;
    AftSta stations[INTFVELMOR_AFTSTA_MAX];
} AftConfig;

/* ---- Channel scan and survey ------------------------------------------- */
typedef struct siteSurveyCfg {
    char s3[150];
    uint32_t v4, v5;
} siteSurveyCfg;

/* RADIO-TYPES-MORE */

#define INTFVELMOR_RADIO_TYPES(X) \
    X(ccaStats)                   \
    X(channelLoadProperties)      \
    X(channelsCreatedProperties)  \
    X(channelReport)              \
    X(CCARequest)                 \
    X(CCAReport)                  \
    X(Timestamp)                  \
    X(AftSta)                     \
    X(AftConfig)                  \
    X(siteSurveyCfg)

#endif /* INTFVELMOR_RADIO_H */
