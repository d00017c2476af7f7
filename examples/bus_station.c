/*
 * The Wi-Fi service of the subscriber example as a program of its own on
 * the bus host:  example_bus_station BUS_ADDRESS
 *
 * It serves getCCAStatistic. Each request publishes one round of the three
 * notifications (station.c; the pairing value counts the rounds from 7),
 * then gets its answer, so that a client that asked sees the round before
 * the answer. It runs until SIGTERM or SIGINT and exits 0 when it served
 * at least one round and stopped cleanly.
 */
#include <stdio.h>

#include "intfVelmor.h"
#include "station.h"
#include "tolkBusHost.h"

static void *wifi;
static unsigned rounds;

static void onGetCCAStatistic(void *ctx, uint32_t ref)
{
    ccaStats stats = {1000, 412, 233, 97, 36};
    (void)ref;
    station_publish(wifi, 7 + rounds++);
    intfVelmor_sendRes_getCCAStatistic(ctx, &stats);
}

int main(int argc, char **argv)
{
    uint32_t rc, stopped;

    if (argc != 2) {
        fprintf(stderr, "usage: %s BUS_ADDRESS\n", argv[0]);
        return 2;
    }
    rc = tolkbus_connect(argv[1]);
    rc |= tolkbus_stopOnSignals();
    rc |= intfVelmor_initialize();
    wifi = tolkbus_newUser("wifi");
    rc |= intfVelmor_regUser_msgMngt(wifi, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_modSrv_needUpdate_ntfyBeaconReport(wifi, 0, 0, 0);
    /* Serving is what claims the service's bus name. */
    rc |= intfVelmor_modSrv_recvMsg_getCCAStatistic(
        wifi, tolkbus_token((tolkbus_fn)onGetCCAStatistic), 0, 0);
    if (rc) {
        printf("service: setting up failed with code %u\n", (unsigned)rc);
        return 1;
    }
    printf("service ready on %s\n", tolkbus_uniqueName());
    fflush(stdout);

    /* Returns after SIGTERM or SIGINT. The stop reached the library as
     * event 0, on which it deleted its base: the users' registrations went
     * with it, and only the host's side is left to close. */
    stopped = tolkbus_run();
    tolkbus_freeUser(wifi);
    tolkbus_disconnect();
    printf("service stopped after %u rounds\n", rounds);
    return stopped == TOLKBUS_STOPPED && rounds > 0 ? 0 : 1;
}
