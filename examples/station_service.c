/*
 * The Wi-Fi service publishing its three notifications, with the subscriber
 * of subscriber.c running beside it in one process on the reference host.
 * The service publishes once while the subscriber listens and once after it
 * stopped; only the first round may arrive, each value as it was sent.
 * (bus_station.c and bus_subscriber.c run the same two sides as separate
 * programs on the bus host.)
 */
#include <stdio.h>

#include "intfVelmor.h"
#include "station.h"
#include "subscriber.h"
#include "tolkRefHost.h"

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

    station_publish(wifi, 7);
    station_printSeen(seen);
    firstRound = station_seenOneRound(seen, 7);

    subscriber_stop();
    station_publish(wifi, 8);
    afterStop = station_seenOneRound(seen, 7);

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
