/*
 * Requests that carry records and texts: a client has the Wi-Fi service
 * create a radio (a name text and a RadioDef record), then configure an
 * access point on it (an APCfg record holding the SSID, the key and a MAC
 * filter list, and a u8). The service checks what it received and answers
 * from it; the client checks the answers.
 */
#include <stdio.h>
#include <string.h>

#include "intfVelmor.h"
#include "tolkRefHost.h"

#define RADIO_NAME "wlan1"
#define RADIO_MAC "aa:bb:cc:00:00:01"
#define SSID "home-5g"
#define KEY "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff"
#define AP_INDEX 2

static const char *const blocked[] = {"de:ad:be:ef:00:01", "de:ad:be:ef:00:02"};

/* ---- the service ------------------------------------------------------------ */

/* text and radio point into the request body: valid during the call. */
static void onSelectAndCreateRadio(void *ctx, uint32_t ref, char *text, RadioDef *radio)
{
    static RadioCapacity cap; /* large: kept off the stack */
    RadioChannelCapabilitiesPerBandwidth *bw = &cap.radioChannelCapabilities.bandwidths[0];
    static const uint32_t channels[] = {36, 40, 44, 48};
    uint32_t i;
    (void)ref;

    memset(&cap, 0, sizeof cap);
    /* Echo the radio's name and band; refuse an unknown band with an empty name. */
    if (strcmp(radio->s3, "5GHz") == 0 && strcmp(radio->mac, RADIO_MAC) == 0) {
        /* A name may be up to 63 characters; this field holds 14. */
        strncpy(cap.s3, text, sizeof cap.s3 - 1);
        snprintf(cap.s7, sizeof cap.s7, "%s on %s, %d dBm", text, radio->s3, radio->v5);
    }
    cap.v4 = 5180;
    bw->v3 = 80;
    bw->valuesCount = sizeof channels / sizeof channels[0];
    for (i = 0; i < bw->valuesCount; ++i)
        bw->values[i] = channels[i];
    cap.radioChannelCapabilities.bandwidthsCount = 1;
    intfVelmor_sendRes_selectAndCreateRadio(ctx, &cap);
}

/* Accepts the configuration when its texts arrived whole; the answer's v3 is
 * 0 for accepted, v4 the number of stations the filter blocks. */
static void onConfigureAccessPoint(void *ctx, uint32_t ref, APCfg *cfg, uint8_t value)
{
    APCfgRet ret;
    uint32_t i, ok = value == AP_INDEX && strcmp(cfg->ssid, SSID) == 0 &&
                     strcmp(cfg->apSecCfg.key, KEY) == 0 && cfg->macFilterList.macsCount == 2;
    (void)ref;
    for (i = 0; ok && i < 2; ++i)
        ok = strcmp(cfg->macFilterList.macs[i].mac, blocked[i]) == 0;
    ret.v3 = ok ? 0 : 1;
    ret.v4 = (uint8_t)(ok ? cfg->macFilterList.macsCount : 0);
    intfVelmor_sendRes_configureAccessPoint(ctx, &ret);
}

/* ---- the client ------------------------------------------------------------- */

static int radioOk, apOk;

static void onRadio(void *ctx, uint32_t ref, RadioCapacity *cap)
{
    const RadioChannelCapabilitiesPerBandwidth *bw = &cap->radioChannelCapabilities.bandwidths[0];
    (void)ctx;
    printf("radio %s: %s, %u channels at %u MHz\n", cap->s3, cap->s7, (unsigned)bw->valuesCount,
           (unsigned)bw->v3);
    radioOk = ref == 1 && strcmp(cap->s3, RADIO_NAME) == 0 &&
              strcmp(cap->s7, RADIO_NAME " on 5GHz, 20 dBm") == 0 &&
              cap->radioChannelCapabilities.bandwidthsCount == 1 && bw->valuesCount == 4 &&
              bw->values[3] == 48;
}

static void onConfigured(void *ctx, uint32_t ref, APCfgRet *ret)
{
    (void)ctx;
    printf("access point: status %u, %u stations blocked\n", ret->v3, ret->v4);
    apOk = ref == 2 && ret->v3 == 0 && ret->v4 == 2;
}

static uint32_t createRadio(void *client)
{
    RadioDef radio;
    memset(&radio, 0, sizeof radio);
    strcpy(radio.s3, "5GHz");
    strcpy(radio.mac, RADIO_MAC);
    radio.v5 = 20;
    /* The library copies the text and the record into the request body. */
    return intfVelmor_sendReq_selectAndCreateRadio(client, onRadio, 1, 0, "wifi", RADIO_NAME,
                                                   &radio);
}

static uint32_t configureAp(void *client)
{
    static APCfg cfg; /* several kilobytes */
    memset(&cfg, 0, sizeof cfg);
    strcpy(cfg.ssid, SSID);
    strcpy(cfg.apSecCfg.key, KEY); /* 64 characters: its field's capacity */
    cfg.macFilterList.macsCount = 2;
    strcpy(cfg.macFilterList.macs[0].mac, blocked[0]);
    strcpy(cfg.macFilterList.macs[1].mac, blocked[1]);
    return intfVelmor_sendReq_configureAccessPoint(client, onConfigured, 2, 0, "wifi", &cfg,
                                                   AP_INDEX);
}

int main(void)
{
    void *wifi, *client;
    uint32_t rc;

    rc = intfVelmor_initialize();
    wifi = refhost_newUser("wifi");
    client = refhost_newUser("client");
    rc |= intfVelmor_regUser_msgMngt(wifi, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_regUser_msgMngt(client, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_modSrv_recvMsg_selectAndCreateRadio(
        wifi, refhost_token((refhost_fn)onSelectAndCreateRadio), 0, 0);
    rc |= intfVelmor_modSrv_recvMsg_configureAccessPoint(
        wifi, refhost_token((refhost_fn)onConfigureAccessPoint), 0, 0);

    rc |= createRadio(client);
    rc |= configureAp(client);

    intfVelmor_unregUser_msgMngt(client, INTFVELMOR_SEL_BOTH);
    intfVelmor_unregUser_msgMngt(wifi, INTFVELMOR_SEL_BOTH);
    refhost_freeUser(client);
    refhost_freeUser(wifi);
    rc |= intfVelmor_delBase();

    if (rc || !radioOk || !apOk) {
        printf("example failed: code %u, radio %d, access point %d\n", (unsigned)rc, radioOk,
               apOk);
        return 1;
    }
    printf("example ok\n");
    return 0;
}
