/* Access-point, EP/AN and radio configuration record types. */
#ifndef INTFVELMOR_CONFIG_H
#define INTFVELMOR_CONFIG_H

/**
 * @addtogroup intfVelmor_records_config
 * @{
 */

#include <stdint.h>

#include "radio.h" /* siteSurveyCfg, nested in RadioCfg */

/* ---- MAC filter lists -------------------------------------------------- */
/** The MacDef record (MAC filter lists). Operations: @ref intfVelmor_rec_MacDef. */
typedef struct MacDef {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
} MacDef;

/** The capacity of MacFilterList::macs. */
#define INTFVELMOR_MACDEF_MAX 50
/** The MacFilterList record (MAC filter lists). Operations: @ref intfVelmor_rec_MacFilterList. */
typedef struct MacFilterList {
    uint32_t v3;
    uint32_t macsCount; /**< stored unchanged; at most 50 elements are used */
    MacDef macs[INTFVELMOR_MACDEF_MAX];
} MacFilterList;

/* ---- Access-point security, WPS and access ----------------------------- */
/** The APWpsCfg record (access-point security, WPS and access).
 *  Operations: @ref intfVelmor_rec_APWpsCfg. */
typedef struct APWpsCfg {
    uint8_t v3, v4;
    uint16_t v5;
    uint8_t v6;
    char pin[9];  /**< eight-digit WPS PIN */
    uint32_t v8;
    char s9[2048];
    uint32_t v10;
} APWpsCfg;

/** The APBackHaulWPSCfg record (access-point security, WPS and access).
 *  Operations: @ref intfVelmor_rec_APBackHaulWPSCfg. */
typedef struct APBackHaulWPSCfg {
    uint8_t v3;
    char ssid[33];  /**< SSID, up to 32 characters */
    uint16_t v5;
    char s6[20];
    char s7[64];
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
} APBackHaulWPSCfg;

/** Three groups of one shape follow v7, as plain members (no count, no
 * nested record): an address text, a u16, a text, two u16 and a u32.
 * Operations: @ref intfVelmor_rec_APSecCfg. */
typedef struct APSecCfg {
    uint16_t v3;
    char s4[27];
    char key[65];  /**< 256-bit key in hexadecimal, up to 64 characters */
    char s6[64];
    uint32_t v7;
    char ip1[16];  /**< dotted IPv4 address text */
    uint16_t v9;
    char s10[201];
    uint16_t v11, v12;
    uint32_t v13;
    char ip2[16];  /**< dotted IPv4 address text */
    uint16_t v15;
    char s16[201];
    uint16_t v17, v18;
    uint32_t v19;
    char ip3[16];  /**< dotted IPv4 address text */
    uint16_t v21;
    char s22[201];
    uint16_t v23, v24;
    uint32_t v25;
    uint8_t v26;
    char s27[33];
    uint32_t v28;
    uint16_t v29;
    char s30[46];
} APSecCfg;

/** The APAccCfg record (access-point security, WPS and access).
 *  Operations: @ref intfVelmor_rec_APAccCfg. */
typedef struct APAccCfg {
    uint8_t v3;
    char s4[16];
    char s5[16];
    uint16_t v6, v7;
    char s8[201];
    char s9[201];
    uint16_t v10;
} APAccCfg;

/* ---- Access-point configuration ---------------------------------------- */
/** The BeaconRequestsCap record (access-point configuration).
 *  Operations: @ref intfVelmor_rec_BeaconRequestsCap. */
typedef struct BeaconRequestsCap {
    uint8_t v3, v4, v5;
} BeaconRequestsCap;

/** On the wire exactly a BeaconRequestsCap.
 *  Operations: @ref intfVelmor_rec_RadioMeasurements. */
typedef struct RadioMeasurements {
    BeaconRequestsCap beaconRequestsCap;
} RadioMeasurements;

/** The APCfg record (access-point configuration). Operations: @ref intfVelmor_rec_APCfg. */
typedef struct APCfg {
    char ssid[33];  /**< SSID, up to 32 characters */
    uint8_t v4, v5, v6, v7;
    APSecCfg apSecCfg;
    APWpsCfg apWpsCfg;
    uint8_t v10;
    APAccCfg apAccCfg;
    char s12[15];
    char s13[16];
    char s14[15];
    char s15[16];
    uint8_t v16, v17, v18, v19, v20, v21;
    uint16_t v22;
    uint8_t v23;
    MacFilterList macFilterList;
    RadioMeasurements radioMeasurements;
} APCfg;

/** The APCfgRet record (access-point configuration). Operations: @ref intfVelmor_rec_APCfgRet. */
typedef struct APCfgRet {
    uint8_t v3, v4;
} APCfgRet;

/* ---- Capacities -------------------------------------------------------- */
/** The APCapacity record (capacities). Operations: @ref intfVelmor_rec_APCapacity. */
typedef struct APCapacity {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint8_t v4, v5;
    uint16_t v6;
    uint8_t v7;
    uint32_t v8;
} APCapacity;

/** The EPCapacity record (capacities). Operations: @ref intfVelmor_rec_EPCapacity. */
typedef struct EPCapacity {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    int16_t v4;
    uint8_t v5;
} EPCapacity;

/** The ANCapacity record (capacities). Operations: @ref intfVelmor_rec_ANCapacity. */
typedef struct ANCapacity {
    char mac[18];  /**< hardware address text, "aa:bb:cc:dd:ee:ff" */
    uint16_t v4;
} ANCapacity;

/* ---- EP and AN configuration ------------------------------------------- */
/** The EPSecCfg record (EP and AN configuration). Operations: @ref intfVelmor_rec_EPSecCfg. */
typedef struct EPSecCfg {
    uint16_t v3;
    char s4[27];
    char key[65];  /**< 256-bit key in hexadecimal, up to 64 characters */
} EPSecCfg;

/** The ANSecCfg record (EP and AN configuration). Operations: @ref intfVelmor_rec_ANSecCfg. */
typedef struct ANSecCfg {
    uint16_t v3;
    char s4[27];
    char key[65];  /**< 256-bit key in hexadecimal, up to 64 characters */
} ANSecCfg;

/** The EPCfg record (EP and AN configuration). Operations: @ref intfVelmor_rec_EPCfg. */
typedef struct EPCfg {
    char ssid[33];  /**< SSID, up to 32 characters */
    EPSecCfg epSecCfg;
} EPCfg;

/** The ANCfg record (EP and AN configuration). Operations: @ref intfVelmor_rec_ANCfg. */
typedef struct ANCfg {
    char s3[33];
    uint8_t v4;
    ANSecCfg anSecCfg;
} ANCfg;

/* ---- Radio configuration ----------------------------------------------- */
/** The RadioCfg record (radio configuration). Operations: @ref intfVelmor_rec_RadioCfg. */
typedef struct RadioCfg {
    uint8_t v3;
    uint32_t v4;
    uint8_t v5, v6, v7;
    char s8[150];
    uint8_t v9, v10;
    uint32_t v11;
    uint8_t v12, v13, v14;
    uint16_t v15, v16;
    uint8_t v17;
    char s18[4];
    char s19[10];
    uint32_t v20, v21, v22, v23, v24, v25, v26;
    uint8_t v27;
    uint16_t v28;
    uint8_t v29, v30, v31, v32, v33;
    uint16_t v34;
    uint8_t v35, v36, v37, v38;
    siteSurveyCfg survey; /**< a member cannot share its type's name in C++ */
    uint8_t v40, v41, v42, v43;
    uint16_t v44;
    uint8_t v45;
    char s46[32];
    uint8_t v47;
    uint32_t v48, v49, v50;
    uint8_t v51, v52, v53, v54, v55, v56, v57, v58, v59, v60, v61, v62, v63, v64;
} RadioCfg;

/** The record types of this header, for code that walks them: X(type). */
#define INTFVELMOR_CONFIG_TYPES(X) \
    X(MacDef)                      \
    X(MacFilterList)               \
    X(APWpsCfg)                    \
    X(APBackHaulWPSCfg)            \
    X(APSecCfg)                    \
    X(APAccCfg)                    \
    X(BeaconRequestsCap)           \
    X(RadioMeasurements)           \
    X(APCfg)                       \
    X(APCfgRet)                    \
    X(APCapacity)                  \
    X(EPCapacity)                  \
    X(ANCapacity)                  \
    X(EPSecCfg)                    \
    X(ANSecCfg)                    \
    X(EPCfg)                       \
    X(ANCfg)                       \
    X(RadioCfg)

/** @} */

#endif /* INTFVELMOR_CONFIG_H */
