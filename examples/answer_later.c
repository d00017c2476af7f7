/*
 * A service that answers later: its handler keeps the message context and a
 * copy of the request, and returns at once; the service answers from its
 * event loop, after the handler has returned, in an order of its own.
 *
 * Two clients ask for station statistics, the service holds both requests,
 * then answers the second one first. Each client must get the statistics
 * of the stations it asked about, and nothing before the service answers.
 */
#include <stdio.h>
#include <string.h>

#include "intfVelmor.h"
#include "tolkRefHost.h"

/* ---- the service ------------------------------------------------------------ */

/* A request waiting for its answer: the context stays valid until the
 * service answers it; the request body does not outlive the handler, so
 * the handler copies the record it needs. */
typedef struct pending {
    void *ctx;
    assocDevListReq req;
} pending;

#define MAX_PENDING 4
static pending waiting[MAX_PENDING];
static unsigned waitingCount;

static void onGetStationsStatistics(void *ctx, uint32_t ref, assocDevListReq *req)
{
    pending *p;
    (void)ref;
    if (waitingCount == MAX_PENDING) {
        /* Too busy: answer at once with an empty list. */
        static assocDevListRet none;
        intfVelmor_sendRes_getStationsStatistics(ctx, &none);
        return;
    }
    p = &waiting[waitingCount++];
    p->ctx = ctx;
    if (intfVelmor_assocDevListReq_copy(&p->req, req) != 0)
        p->req.devicesCount = 0;
}

/* The statistics the service knows of one station, made up from its address. */
static void describe(assocDevInfo *info, const assocDevDescr *station)
{
    memset(info, 0, sizeof *info);
    strcpy(info->mac, station->mac);
    info->v6 = (uint32_t)strlen(station->mac) * 100u + station->v4;
    info->v8 = -40 - (int16_t)station->v4;
    info->stats.v3 = 5000000000ull + station->v4; /* bytes sent: wider than 32 bits */
}

/* One turn of the service's event loop: answer what waits, last first. */
static void serviceLoopTurn(void)
{
    static assocDevListRet res; /* 100 devices: too big for a small stack */
    while (waitingCount) {
        pending *p = &waiting[--waitingCount];
        uint32_t i, n = p->req.devicesCount;
        if (n > INTFVELMOR_ASSOCDEV_MAX)
            n = INTFVELMOR_ASSOCDEV_MAX;
        memset(&res, 0, sizeof res);
        res.devicesCount = n;
        for (i = 0; i < n; ++i)
            describe(&res.devices[i], &p->req.devices[i]);
        intfVelmor_sendRes_getStationsStatistics(p->ctx, &res);
    }
}

/* ---- the clients ------------------------------------------------------------ */

static int answers, wrongAnswers;
static uint32_t firstRef;

/* ref is the word the client gave to sendReq: here the number of the
 * station the request started from. */
static void onStatistics(void *ctx, uint32_t ref, assocDevListRet *res)
{
    char mac[18];
    (void)ctx;
    if (answers++ == 0)
        firstRef = ref;
    snprintf(mac, sizeof mac, "aa:bb:cc:dd:ee:%02u", (unsigned)ref);
    if (res->devicesCount != 2 || strcmp(res->devices[0].mac, mac) != 0 ||
        res->devices[0].v6 != 17 * 100 + ref || res->devices[0].v8 != -40 - (int)ref ||
        res->devices[1].stats.v3 != 5000000000ull + ref + 1) {
        printf("request %u: wrong answer\n", (unsigned)ref);
        ++wrongAnswers;
        return;
    }
    printf("request %u: %s sent %llu bytes, signal %d\n", (unsigned)ref, res->devices[0].mac,
           (unsigned long long)res->devices[0].stats.v3, res->devices[0].v8);
}

static uint32_t ask(void *client, unsigned first)
{
    assocDevListReq req;
    memset(&req, 0, sizeof req);
    req.devicesCount = 2;
    snprintf(req.devices[0].mac, sizeof req.devices[0].mac, "aa:bb:cc:dd:ee:%02u", first);
    req.devices[0].v4 = (uint8_t)first;
    snprintf(req.devices[1].mac, sizeof req.devices[1].mac, "aa:bb:cc:dd:ee:%02u", first + 1);
    req.devices[1].v4 = (uint8_t)(first + 1);
    return intfVelmor_sendReq_getStationsStatistics(client, onStatistics, first, 0, "wifi", &req);
}

int main(void)
{
    void *wifi, *alice, *bob;
    uint32_t rc;
    int heldBack;

    rc = intfVelmor_initialize();
    wifi = refhost_newUser("wifi");
    alice = refhost_newUser("alice");
    bob = refhost_newUser("bob");
    rc |= intfVelmor_regUser_msgMngt(wifi, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_regUser_msgMngt(alice, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_regUser_msgMngt(bob, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_modSrv_recvMsg_getStationsStatistics(
        wifi, refhost_token((refhost_fn)onGetStationsStatistics), 0, 0);

    /* Both requests reach the handler, which answers neither. */
    rc |= ask(alice, 10);
    rc |= ask(bob, 20);
    heldBack = waitingCount == 2 && answers == 0;

    /* Later, outside the handler: bob's answer goes first. */
    serviceLoopTurn();

    intfVelmor_unregUser_msgMngt(bob, INTFVELMOR_SEL_BOTH);
    intfVelmor_unregUser_msgMngt(alice, INTFVELMOR_SEL_BOTH);
    intfVelmor_unregUser_msgMngt(wifi, INTFVELMOR_SEL_BOTH);
    refhost_freeUser(bob);
    refhost_freeUser(alice);
    refhost_freeUser(wifi);
    rc |= intfVelmor_delBase();

    if (rc || !heldBack || answers != 2 || wrongAnswers || firstRef != 20) {
        printf("example failed: code %u, held back %d, answers %d, wrong %d, first %u\n",
               (unsigned)rc, heldBack, answers, wrongAnswers, (unsigned)firstRef);
        return 1;
    }
    printf("example ok\n");
    return 0;
}
