/*
 * The Wi-Fi service's side of the subscriber example, shared by its
 * in-process and its across-processes programs: what the service publishes,
 * and how a program checks what its subscriber received.
 */
#ifndef EXAMPLE_STATION_H
#define EXAMPLE_STATION_H

#include <stdint.h>

#include "subscriber.h"

#define STATION "aa:bb:cc:dd:ee:07"

/* Publishes the three notifications as the user wifi. The pairing value
 * tells one round from another. */
void station_publish(void *wifi, uint32_t pairing);

/* 1 when seen holds exactly one round of the three notifications, the one
 * published with this pairing value, each value as it was sent. */
int station_seenOneRound(const subscriber_seen *seen, uint32_t pairing);

/* Prints what the subscriber holds, one line. */
void station_printSeen(const subscriber_seen *seen);

#endif /* EXAMPLE_STATION_H */
