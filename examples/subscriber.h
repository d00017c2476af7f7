/*
 * A subscriber to the Wi-Fi service's notifications, in a file of its own:
 * it knows the service only by its user name. The process it runs in calls
 * intfVelmor_initialize before subscriber_start.
 */
#ifndef EXAMPLE_SUBSCRIBER_H
#define EXAMPLE_SUBSCRIBER_H

#include <stdint.h>

/* What the subscriber has received so far. */
typedef struct subscriber_seen {
    unsigned pairings, lowRssi, beaconReports;
    uint32_t pairing;       /* the last extender pairing's value */
    char lowRssiMac[18];    /* the last station reported with a low signal */
    int16_t rssi;
    char reportMac[18];     /* the last beacon report */
    int8_t report[2];
} subscriber_seen;

/* Creates the subscriber's user and subscribes it to the three
 * notifications of serviceName. 0, or the first code that failed. */
uint32_t subscriber_start(const char *userName, const char *serviceName);

/* Unsubscribes and drops the user: nothing more is received. */
void subscriber_stop(void);

const subscriber_seen *subscriber_received(void);

#endif /* EXAMPLE_SUBSCRIBER_H */
