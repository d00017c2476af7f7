/*
 * The subscriber of subscriber.c as a program of its own on the bus host,
 * beside example_bus_station:  example_bus_subscriber BUS_ADDRESS
 *
 * As in the one-process example, the service publishes one round while the
 * subscriber listens and one after it stopped, and only the first may
 * arrive. A client of this process makes the service publish by asking for
 * its CCA statistics: the service's notifications and its answer leave on
 * one connection in that order, so once the answer is here every
 * notification of that round that was going to arrive has arrived.
 */
#define _POSIX_C_SOURCE 200809L
#include <poll.h>
#include <stdio.h>
#include <time.h>

#include "intfVelmor.h"
#include "station.h"
#include "subscriber.h"
#include "tolkBusHost.h"

static int answered;
static uint32_t failure;

static void onStats(void *ctx, uint32_t ref, ccaStats *stats)
{
    (void)ctx, (void)ref, (void)stats;
    answered = 1;
}

static void onFailure(void *arg, uint32_t ref, uint32_t code, const char *entry,
                      const char *detail)
{
    (void)arg;
    printf("subscriber: request %u (%s) failed with code 0x%x %s\n", (unsigned)ref, entry,
           (unsigned)code, detail);
    failure = code ? code : TOLKBUS_ERR_BUS;
}

static long nowMs(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (long)ts.tv_sec * 1000 + ts.tv_nsec / 1000000;
}

/* Asks the service for a round and runs the loop until its answer or a
 * failure: 0 once answered, else a code. */
static uint32_t askForRound(void *client, uint32_t round)
{
    long deadline = nowMs() + 10000;
    uint32_t rc;
    struct pollfd p;

    answered = 0;
    failure = 0;
    rc = intfVelmor_sendReq_getCCAStatistic(client, onStats, round, 0, "wifi");
    while (!rc && !answered && !failure) {
        long left = deadline - nowMs();
        if (left <= 0)
            return TOLKBUS_ERR_TIMEOUT;
        p.fd = tolkbus_fd();
        p.events = POLLIN;
        p.revents = 0;
        if (poll(&p, 1, (int)left) < 0)
            return TOLKBUS_ERR_BUS;
        rc = tolkbus_dispatch();
    }
    return rc ? rc : failure;
}

int main(int argc, char **argv)
{
    const subscriber_seen *seen = subscriber_received();
    void *client;
    uint32_t rc;
    int firstRound = 0, afterStop = 0;

    if (argc != 2) {
        fprintf(stderr, "usage: %s BUS_ADDRESS\n", argv[0]);
        return 2;
    }
    rc = tolkbus_connect(argv[1]);
    tolkbus_setCallTimeout(5000);
    tolkbus_setFailHook(onFailure, NULL);
    rc |= intfVelmor_initialize();
    client = tolkbus_newUser("client");
    rc |= intfVelmor_regUser_msgMngt(client, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= subscriber_start("monitor", "wifi");

    if (!rc)
        rc = askForRound(client, 1);
    station_printSeen(seen);
    firstRound = station_seenOneRound(seen, 7);

    subscriber_stop();
    if (!rc)
        rc = askForRound(client, 2);
    afterStop = station_seenOneRound(seen, 7);

    intfVelmor_unregUser_msgMngt(client, INTFVELMOR_SEL_BOTH);
    tolkbus_freeUser(client);
    rc |= intfVelmor_delBase();
    tolkbus_disconnect();

    if (rc || !firstRound || !afterStop) {
        printf("example failed: code %u, first round %d, nothing after stop %d\n", (unsigned)rc,
               firstRound, afterStop);
        return 1;
    }
    printf("example ok\n");
    return 0;
}
