/*
 * The Wi-Fi service publishing its three notifications, with the subscriber
 * of subscriber.c running beside it on the reference host. The service
 * publishes once while the subscriber listens and once after it stopped;
 * only the first round may arrive, each value as it was sent.
 */
#include <stdio.h>
#include <string.h>

#include "intfVelmor.h"
#include "subscriber.h"
#include "tolkRefHost.h"

#define STATION "aa:bb:cc:dd:ee:07"

static void publish(void *wifi, uint32_t pairing)
{
    LowRSSINtf low;
    memset(&low, 0, sizeof low);
    strcpy(low.mac, STATION);
    low.v4 = -82;
    intfVelmor_sendReq_ntfyMeshTUKExtenderPairing(wifi, 0, 0, pairing);
    intfVelmor_sendReq_ntfyMeshTUKClientsLowRSSI(wifi, 0, 0, &low);
    intfVelmor_sendReq_ntfyBeaconReport(wifi, 0, 0, STATION, -61, 3);
}

int main(void)
{
    const subscriber_seen *seen = subscriber_received();
    void *wifi;
    uint32_t rc;
    int firstRound, afterStop;

    rc = intfVelmor_initialize();
    wifi = refhost_newUser("wifi");
    rc |= intfVelmor_regUser_msgMngt(wifi, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_modSrv_needUpdate_ntfyBeaconReport(wifi, 0, 0, 0);
    rc |= subscriber_start("monitor", "wifi");

    publish(wifi, 7);
    printf("subscriber got: pairing %u, %s at %d dBm, beacon report from %s: %d, %d\n",
           (unsigned)seen->pairing, seen->lowRssiMac, seen->rssi, seen->reportMac,
           seen->report[0], seen->report[1]);
    firstRound = seen->pairings == 1 && seen->lowRssi == 1 && seen->beaconReports == 1 &&
                 seen->pairing == 7 && strcmp(seen->lowRssiMac, STATION) == 0 &&
                 seen->rssi == -82 && strcmp(seen->reportMac, STATION) == 0 &&
                 seen->report[0] == -61 && seen->report[1] == 3;

    subscriber_stop();
    publish(wifi, 8);
    afterStop = seen->pairings == 1 && seen->lowRssi == 1 && seen->beaconReports == 1;

    intfVelmor_unregUser_msgMngt(wifi, INTFVELMOR_SEL_BOTH);
    refhost_freeUser(wifi);
    rc |= intfVelmor_delBase();

    if (rc || !firstRound || !afterStop) {
        printf("example failed: code %u, first round %d, nothing after stop %d\n", (unsigned)rc,
               firstRound, afterStop);
        return 1;
    }
    printf("example ok\n");
    return 0;
}
