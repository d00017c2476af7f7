/* A C99 program built against the installed library and reference host: one
 * record on the wire, and one command from a client to a service, with the
 * library's log lines on standard error. */
#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include <intfVelmor.h>
#include <tolkRefHost.h>

static uint32_t answer;

static void onGetCCAStatistic(void *ctx, uint32_t ref)
{
    ccaStats stats = {1, 2, 3, 4, 5};
    stats.v7 = ref;
    intfVelmor_sendRes_getCCAStatistic(ctx, &stats);
}

static void onStats(void *ctx, uint32_t ref, ccaStats *stats)
{
    (void)ctx;
    answer = stats->v3 == 1 && ref == 9 ? stats->v7 : 0;
}

int main(void)
{
    /* AftSta holding 1, 2, 3 and "ab" is 48 bytes; its last item the text. */
    static const uint8_t text[12] = {0, 0, 0, 6, 0, 0, 0, 4, 'a', 'b', 0, 0};
    AftSta sta, back;
    uint8_t buf[48];
    uint8_t *w = buf;
    const uint8_t *r = buf;
    void *wifi, *client;
    uint32_t rc;

    memset(&sta, 0, sizeof sta);
    memset(&back, 0, sizeof back);
    memset(buf, 0, sizeof buf);
    sta.v3 = 1, sta.v4 = 2, sta.v5 = 3;
    strcpy(sta.mac, "ab");
    if (intfVelmor_AftSta_serialize_lg(&sta) != 48 || intfVelmor_AftSta_serialize(&sta, &w) ||
        memcmp(buf + 36, text, 12) || intfVelmor_AftSta_unserialize_bounded(&back, &r, buf + 48) ||
        back.v5 != 3 || strcmp(back.mac, "ab")) {
        printf("record on the wire: wrong\n");
        return 1;
    }

    /* The library logs through syslog without opening it: the program
     * chooses where its lines go, here standard error as well. */
    openlog("consumer", LOG_PERROR, LOG_USER);

    wifi = refhost_newUser("wifi");
    client = refhost_newUser("client");
    /* Before intfVelmor_initialize a request is refused by the host, with
     * the host's own code. */
    rc = intfVelmor_sendReq_getCCAStatistic(client, onStats, 9, 0, "wifi");
    if (rc != REFHOST_ERR_MNGT || answer) {
        printf("send before initialize: code %u, answer %u\n", (unsigned)rc, (unsigned)answer);
        return 1;
    }

    rc = intfVelmor_initialize();
    rc |= intfVelmor_regUser_msgMngt(wifi, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_regUser_msgMngt(client, 0, NULL, INTFVELMOR_SEL_BOTH);
    rc |= intfVelmor_modSrv_recvMsg_getCCAStatistic(wifi, refhost_token((refhost_fn)onGetCCAStatistic),
                                                    77, 0);
    /* No service name: 0, nothing sent, one log line ("UserName Null"). */
    rc |= intfVelmor_sendReq_getCCAStatistic(client, onStats, 9, 0, NULL);
    if (answer) {
        printf("a request without a service name was answered\n");
        return 1;
    }
    rc |= intfVelmor_sendReq_getCCAStatistic(client, onStats, 9, 0, "wifi");
    refhost_freeUser(client);
    refhost_freeUser(wifi);
    rc |= intfVelmor_delBase();
    if (rc || answer != 77) {
        printf("command: code %u, answer %u\n", (unsigned)rc, (unsigned)answer);
        return 1;
    }
    printf("installed consumer ok\n");
    return 0;
}
