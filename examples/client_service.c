/*
 * A client and the Wi-Fi service side by side, in one process on the
 * reference host: the client asks for the CCA statistics, the service
 * answers, then publishes a beacon report to its subscriber.
 *
 * The README quotes the parts between the "[name]" and "[name end]" lines.
 */
#include <stdio.h>
#include <string.h>

#include "intfVelmor.h"
#include "tolkRefHost.h"

static int gotStats, gotReport;

/* [service] */
/* The service's handler: answer now, or later with the same ctx. */
static void onGetCCAStatistic(void *ctx, uint32_t ref)
{
    ccaStats stats = {1000, 412, 233, 97, 36};
    (void)ref;
    intfVelmor_sendRes_getCCAStatistic(ctx, &stats);
}

static uint32_t serve(void *wifi)
{
    /* On the reference host, word 1 carries the handler (as a token) and
     * word 2 the reference word the handler gets back. */
    return intfVelmor_modSrv_recvMsg_getCCAStatistic(
        wifi, refhost_token((refhost_fn)onGetCCAStatistic), 0, 0);
}

static void publish(void *wifi)
{
    /* Every subscriber gets the station address and the two values. */
    intfVelmor_sendReq_ntfyBeaconReport(wifi, 0, 0, "aa:bb:cc:dd:ee:01", -61, 3);
}
/* [service end] */

/* [client] */
/* The response: stats points into the response body, valid during the call. */
static void onStats(void *ctx, uint32_t ref, ccaStats *stats)
{
    (void)ctx;
    printf("request %u: busy %u ms, rx %u ms, tx %u ms\n", (unsigned)ref,
           (unsigned)stats->v3, (unsigned)stats->v4, (unsigned)stats->v5);
    gotStats = stats->v3 == 1000 && ref == 42;
}

static void onBeaconReport(void *ctx, uint32_t ref, char *mac, int8_t v1, int8_t v2)
{
    (void)ctx, (void)ref;
    printf("beacon report from %s: %d, %d\n", mac, v1, v2);
    gotReport = strcmp(mac, "aa:bb:cc:dd:ee:01") == 0 && v1 == -61 && v2 == 3;
}

static uint32_t ask(void *client)
{
    /* Word 1 (42) comes back to onStats as its ref; "wifi" is the service's
     * user name. The result is the core's: 0 when the request went out. */
    return intfVelmor_sendReq_getCCAStatistic(client, onStats, 42, 0, "wifi");
}

static uint32_t subscribe(void *client)
{
    return intfVelmor_modCliNtfyUser_recvMsg_beaconReport(
        client, refhost_token((refhost_fn)onBeaconReport), 0, 0, "wifi", NULL);
}
/* [client end] */

int main(void)
{
    void *wifi, *client;
    uint32_t rc;

    /* [setup] */
    /* Once per process, on the event-loop thread; then each side registers
     * as a user of both managements (commands and notifications). */
    rc = intfVelmor_initialize();
    wifi = refhost_newUser("wifi");
    client = refhost_newUser("client");
    rc |= intfVelmor_regUser_msgMngt(wifi, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_regUser_msgMngt(client, 0, NULL, INTFVELMOR_SEL_BOTH);
    /* [setup end] */

    rc |= serve(wifi);
    rc |= subscribe(client);
    rc |= ask(client);
    publish(wifi);

    intfVelmor_unregUser_msgMngt(client, INTFVELMOR_SEL_BOTH);
    intfVelmor_unregUser_msgMngt(wifi, INTFVELMOR_SEL_BOTH);
    refhost_freeUser(client);
    refhost_freeUser(wifi);
    rc |= intfVelmor_delBase();

    if (rc || !gotStats || !gotReport) {
        printf("example failed: code %u, stats %d, report %d\n", (unsigned)rc, gotStats,
               gotReport);
        return 1;
    }
    printf("example ok\n");
    return 0;
}
