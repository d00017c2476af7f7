/*
 * The subscriber's side: one handler per notification, installed with the
 * core under the service's name. Records and texts handed to a handler point
 * into the notification's body and are copied to be kept. The same source
 * runs on either host (example_host.h).
 */
#include "subscriber.h"

#include <stdio.h>
#include <string.h>

#include "intfVelmor.h"
#include "example_host.h"

static void *self;
static subscriber_seen seen;

static void onPairing(void *ctx, uint32_t ref, uint32_t value)
{
    (void)ctx, (void)ref;
    ++seen.pairings;
    seen.pairing = value;
}

static void onLowRssi(void *ctx, uint32_t ref, LowRSSINtf *ntfy)
{
    (void)ctx, (void)ref;
    ++seen.lowRssi;
    memcpy(seen.lowRssiMac, ntfy->mac, sizeof seen.lowRssiMac);
    seen.rssi = ntfy->v4;
}

static void onBeaconReport(void *ctx, uint32_t ref, char *mac, int8_t value1, int8_t value2)
{
    (void)ctx, (void)ref;
    ++seen.beaconReports;
    memcpy(seen.reportMac, mac, sizeof seen.reportMac);
    seen.report[0] = value1;
    seen.report[1] = value2;
}

uint32_t subscriber_start(const char *userName, const char *serviceName)
{
    uint32_t rc;
    memset(&seen, 0, sizeof seen);
    self = example_newUser(userName);
    if (!self)
        return EXAMPLE_ERR_USER;
    rc = intfVelmor_regUser_msgMngt(self, 0, NULL, INTFVELMOR_SEL_BOTH);
    if (!rc)
        rc = intfVelmor_modCliNtfyUser_recvMsg_meshTUKExtenderPairing(
            self, example_token(onPairing), 0, 0, serviceName, NULL);
    if (!rc)
        rc = intfVelmor_modCliNtfyUser_recvMsg_meshTUKClientsLowRSSI(
            self, example_token(onLowRssi), 0, 0, serviceName, NULL);
    if (!rc)
        rc = intfVelmor_modCliNtfyUser_recvMsg_beaconReport(
            self, example_token(onBeaconReport), 0, 0, serviceName, NULL);
    if (rc) {
        printf("subscriber: subscribing to %s failed with code %u\n", serviceName,
               (unsigned)rc);
        subscriber_stop();
    }
    return rc;
}

void subscriber_stop(void)
{
    if (!self)
        return;
    intfVelmor_unregUser_msgMngt(self, INTFVELMOR_SEL_BOTH);
    example_freeUser(self);
    self = NULL;
}

const subscriber_seen *subscriber_received(void) { return &seen; }
