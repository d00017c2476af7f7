/*
 * What the Wi-Fi service publishes in the subscriber example, and the check
 * of what arrived. Only library calls: the same on every host.
 */
#include "station.h"

#include <stdio.h>
#include <string.h>

#include "intfVelmor.h"

void station_publish(void *wifi, uint32_t pairing)
{
    LowRSSINtf low;
    memset(&low, 0, sizeof low);
    strcpy(low.mac, STATION);
    low.v4 = -82;
    intfVelmor_sendReq_ntfyMeshTUKExtenderPairing(wifi, 0, 0, pairing);
    intfVelmor_sendReq_ntfyMeshTUKClientsLowRSSI(wifi, 0, 0, &low);
    intfVelmor_sendReq_ntfyBeaconReport(wifi, 0, 0, STATION, -61, 3);
}

int station_seenOneRound(const subscriber_seen *seen, uint32_t pairing)
{
    return seen->pairings == 1 && seen->lowRssi == 1 && seen->beaconReports == 1 &&
           seen->pairing == pairing && strcmp(seen->lowRssiMac, STATION) == 0 &&
           seen->rssi == -82 && strcmp(seen->reportMac, STATION) == 0 &&
           seen->report[0] == -61 && seen->report[1] == 3;
}

void station_printSeen(const subscriber_seen *seen)
{
    printf("subscriber got: pairing %u, %s at %d dBm, beacon report from %s: %d, %d\n",
           (unsigned)seen->pairing, seen->lowRssiMac, seen->rssi, seen->reportMac,
           seen->report[0], seen->report[1]);
}
