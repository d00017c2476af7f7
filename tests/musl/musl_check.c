/*
 * The library as built against musl, driven from C with a host of its own:
 * record round trips, refused bytes with their exact lines, the body
 * callbacks of a few messages, and a request and a notification through the
 * host, whose core reads bodies without a length as a gateway's does.
 * syslog is defined here to take the library's lines.
 */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "intfVelmor.h"
#include "tolkHost.h"

static int checks, failures;
#define CHECK(c) check((c), __LINE__, #c)
static void check(int ok, int line, const char *what)
{
    checks++;
    if (!ok) {
        failures++;
        fprintf(stderr, "musl_check.c:%d: %s\n", line, what);
    }
}

/* ---- the library's lines: "[INTFVELMOR] -> fn(line): text" kept as "fn: text" */
static char lines[8][256];
static int nLines, badPrio;

void syslog(int prio, const char *fmt, ...)
{
    char raw[512];
    va_list ap;
    va_start(ap, fmt);
    vsnprintf(raw, sizeof raw, fmt, ap);
    va_end(ap);
    badPrio |= prio != 3;
    const char *fn = strstr(raw, "-> "), *open = fn ? strchr(fn, '(') : NULL;
    const char *close = open ? strstr(open, "): ") : NULL;
    if (nLines < 8 && close)
        snprintf(lines[nLines++], sizeof lines[0], "%.*s:%s", (int)(open - fn - 3), fn + 3,
                 close + 2);
}

/* The lines since the last call, each as expected, at priority 3. */
static int logged(int n, const char *const *want)
{
    int ok = nLines == n && !badPrio;
    for (int i = 0; ok && i < n; i++)
        ok = strcmp(lines[i], want[i]) == 0;
    for (int i = 0; !ok && i < nLines; i++)
        fprintf(stderr, "  logged: %s", lines[i]);
    nLines = badPrio = 0;
    return ok;
}

/* ---- wire items, written here independently of the library ---------------- */
static uint8_t *put32(uint8_t *p, uint32_t w)
{
    p[0] = (uint8_t)(w >> 24), p[1] = (uint8_t)(w >> 16), p[2] = (uint8_t)(w >> 8), p[3] = (uint8_t)w;
    return p + 4;
}
static uint8_t *item(uint8_t *p, uint32_t tag, uint32_t len, uint32_t value)
{
    return put32(put32(put32(p, tag), len), value);
}
static uint8_t *text(uint8_t *p, uint32_t tag, const char *t)
{
    uint32_t n = (uint32_t)strlen(t), len = ((n + 1) & ~3u) + 4;
    p = put32(put32(p, tag), len);
    memset(p, 0, len);
    memcpy(p, t, n);
    return p + len;
}

#define ROUND_TRIP(T, rec)                                                                     \
    do {                                                                                       \
        uint8_t a[4096], b[4096], *w = a;                                                      \
        const uint8_t *r = a;                                                                  \
        T back;                                                                                \
        memset(&back, 0, sizeof back);                                                         \
        uint32_t lg = intfVelmor_##T##_serialize_lg(&rec);                                    \
        CHECK(intfVelmor_##T##_serialize(&rec, &w) == 0 && w == a + lg);                       \
        CHECK(intfVelmor_##T##_unserialize(&back, &r) == 0 && r == a + lg);                    \
        w = b;                                                                                 \
        CHECK(intfVelmor_##T##_serialize(&back, &w) == 0 && memcmp(a, b, lg) == 0);            \
    } while (0)

/* A body through its entry's callbacks: read, written back the same, freed. */
static void bodyTrip(const intfVelmor_entry *e, int32_t type, const uint8_t *bytes, size_t n)
{
    void *body = NULL;
    uint8_t *out = NULL;
    uint32_t size = 0, len = 0;
    char *textOut = NULL;
    CHECK(e->unserializeBody(type, bytes, &body, &size) == 0 && body);
    CHECK(e->serializeBody(type, body, &out, &len) == 0 && len == n && !memcmp(out, bytes, n));
    e->logBody(0, 0, 0, &textOut);
    CHECK(textOut && !*textOut);
    free(out);
    free(textOut);
    e->freeBody(type, body);
}

/* ---- a minimal host: two managements, bodies across as bytes ---------------- */
static tolkCore_mngt *mngts[3];
static uint32_t counts[3], crossed;
static tick_evtFn evtFn;
static void *evtCtx;

uint32_t tick_addEvtBase(tick_evtFn cb, void *ctx) { evtFn = cb, evtCtx = ctx; return 0; }
uint16_t tolkCore_getBase_msgMngt(const char *name, tolkCore_mngt **rec, uint32_t count)
{
    (void)name;
    for (uint16_t n = 1; n < 3; n++)
        if (!mngts[n]) {
            *rec = mngts[n] = calloc(1, sizeof **rec + count * sizeof(tolkCore_mngtEntry));
            counts[n] = count;
            return *rec ? n : 0xFFFF;
        }
    return 0xFFFF;
}
uint32_t tolkCore_putBase_msgMngt(uint16_t num, uint32_t zero)
{
    (void)zero;
    if (num >= 3 || !mngts[num])
        return 1;
    free(mngts[num]);
    mngts[num] = NULL;
    return 0;
}
/* The entry keeps its callbacks as object pointers. ISO C has no cast from
 * those to function pointers; POSIX gives both the same representation, so
 * the bytes are copied across. */
static intfVelmor_freeBodyFn freeFn(const tolkCore_mngtEntry *e)
{
    intfVelmor_freeBodyFn fn;
    memcpy(&fn, &e->freeBody, sizeof fn);
    return fn;
}
static intfVelmor_serializeBodyFn serializeFn(const tolkCore_mngtEntry *e)
{
    intfVelmor_serializeBodyFn fn;
    memcpy(&fn, &e->serializeBody, sizeof fn);
    return fn;
}
static intfVelmor_unserializeBodyFn unserializeFn(const tolkCore_mngtEntry *e)
{
    intfVelmor_unserializeBodyFn fn;
    memcpy(&fn, &e->unserializeBody, sizeof fn);
    return fn;
}

/* Serialized, freed, read back without a length, compared, freed again. */
static uint32_t cross(void *body, uint32_t num, uint32_t index)
{
    if (num >= 3 || !mngts[num] || index >= counts[num])
        return 1;
    tolkCore_mngtEntry *e = &tolkCore_mngtEntries(mngts[num])[index];
    uint8_t *bytes = NULL, *again = NULL;
    uint32_t len = 0, len2 = 0, size = 0;
    void *copy = NULL;
    uint32_t rc = serializeFn(e)(0, body, &bytes, &len);
    freeFn(e)(0, body);
    if (rc == 0)
        rc = unserializeFn(e)(0, bytes, &copy, &size);
    if (rc == 0)
        rc = serializeFn(e)(0, copy, &again, &len2);
    if (rc == 0 && (len2 != len || memcmp(bytes, again, len)))
        rc = 2;
    if (copy)
        freeFn(e)(0, copy);
    free(bytes);
    free(again);
    crossed += rc == 0;
    return rc;
}
uint32_t tolkCore_sendMsgReq_toNameUser(void *u, void *body, void *recvRes, void *cbRes,
                                        uint32_t w1, uint32_t w2, const char *srv, uint32_t num,
                                        uint32_t index, uint32_t none, uint32_t eighteen)
{
    (void)u, (void)recvRes, (void)cbRes, (void)w1, (void)w2, (void)srv, (void)none, (void)eighteen;
    return cross(body, num, index);
}
uint32_t tolkIntf_sendReq_ntfy(void *user, void *body, uint32_t z1, uint32_t z2, uint32_t z3,
                               uint32_t w1, uint32_t w2, const char *intf, uint32_t num,
                               uint32_t index, uint32_t z4, uint32_t z5, uint32_t eighteen)
{
    (void)user, (void)z1, (void)z2, (void)z3, (void)w1, (void)w2, (void)intf, (void)z4, (void)z5,
        (void)eighteen;
    return cross(body, num, index);
}
/* Not reached by this program: answers that keep the library going. */
uint32_t tolkIntf_regUser_msgMngt(void *u, uint32_t w, void *r, uint32_t n, uint32_t a, uint32_t b)
{ (void)u, (void)w, (void)r, (void)n, (void)a, (void)b; return 0; }
uint32_t tolkIntf_unregUser_msgMngt(void *u, uint32_t n, uint32_t a, uint32_t b)
{ (void)u, (void)n, (void)a, (void)b; return 0; }
void *tolkIntf_findSrvMthdNtfyUser(int32_t a, uint32_t b, const char *i, uint32_t c, uint32_t d)
{ (void)a, (void)b, (void)i, (void)c, (void)d; return NULL; }
void *tolkIntf_getCore_user(void *user) { return user; }
uint32_t tolkCore_sendMsgRes(void *ctx, void *body, uint32_t code, uint32_t e)
{ (void)ctx, (void)body, (void)code, (void)e; return 1; }
uint32_t tolkCore_isMsg_needRes(void *ctx) { (void)ctx; return 1; }
uint32_t tolkIntf_modSrv_mthd(void *u, uint32_t a, uint32_t b, uint32_t c, uint32_t m,
                              const char *i, void *cb, void *nb, uint32_t x, uint32_t y, uint32_t z)
{ (void)u, (void)a, (void)b, (void)c, (void)m, (void)i, (void)cb, (void)nb, (void)x, (void)y, (void)z; return 0; }
uint32_t tolkIntf_modCliNtfyUser_mthd(void *u, uint32_t a, uint32_t b, uint32_t c, uint32_t m,
                                      const char *bus, void *un, const char *i, void *cb,
                                      void *nb, uint32_t x)
{ (void)u, (void)a, (void)b, (void)c, (void)m, (void)bus, (void)un, (void)i, (void)cb, (void)nb, (void)x; return 0; }
uint32_t tolkIntf_modSrv_ntfy_needUpdate(void *u, uint32_t a, uint32_t b, uint32_t c,
                                         const char *i, void *cb, void *nb, uint32_t x)
{ (void)u, (void)a, (void)b, (void)c, (void)i, (void)cb, (void)nb, (void)x; return 0; }

int main(void)
{
    static const char mac[] = "00:11:22:33:44:55", tooLong[] = "00:11:22:33:44:55x";
    char ptr[32], want0[160], want1[160], want2[160];
    const char *want[3] = {want0, want1, want2};
    uint8_t buf[256], *end;
    const uint8_t *r;

    ccaStats cca = {1, 2, 3, 4, 0xFFFFFFFF};
    AftSta sta = {7, 8, 9, {0}};
    Timestamp ts = {0x0102030405060708ull, 9};
    AftConfig cfg;
    memcpy(sta.mac, mac, sizeof mac);  /* 17 characters: the field is full */
    memset(&cfg, 0, sizeof cfg);
    cfg.v3 = 5, cfg.stationsCount = 3;
    cfg.stations[0] = cfg.stations[1] = cfg.stations[2] = sta;
    ROUND_TRIP(ccaStats, cca);
    ROUND_TRIP(AftSta, sta);
    ROUND_TRIP(Timestamp, ts);
    ROUND_TRIP(AftConfig, cfg);
    CHECK(logged(0, want));

    /* A text one too long for its field. */
    end = text(item(item(item(buf, 3, 4, 1), 4, 4, 2), 5, 4, 3), 6, tooLong);
    r = buf;
    CHECK(intfVelmor_AftSta_unserialize(&sta, &r) == 4 && r == end - 28);
    strcpy(want0, "intfVelmor_AftSta_unserialize: lgChainIn(19) lgMaxChainOut(18)\n");
    CHECK(logged(1, want));
    /* A length that would step back over the item. */
    item(item(item(item(item(buf, 3, 4, 1), 4, 4, 2), 5, 0xFFFFFFF8u, 3), 6, 4, 4), 7, 4, 5);
    r = buf;
    CHECK(intfVelmor_ccaStats_unserialize(&cca, &r) == 4 && r == buf + 24);
    snprintf(ptr, sizeof ptr, "%p", (void *)buf);
    snprintf(want0, sizeof want0, "intfVelmor_ccaStats_unserialize: pBody(%s): Tl(5-4294967288) -> Beyond end\n", ptr);
    snprintf(want1, sizeof want1, "intfVelmor_ccaStats_unserialize: pBody(%s): Type(6) -> Error Before\n", ptr);
    snprintf(want2, sizeof want2, "intfVelmor_ccaStats_unserialize: pBody(%s): Type(7) -> Error Before\n", ptr);
    CHECK(logged(3, want));

    /* Bodies: getCCAStatistic's response, temporarilyBlackList's request,
     * beaconReport's notification; then a request refused. */
    const intfVelmor_entry *cmd = intfVelmor_base.cmd.entries, *ntfy = intfVelmor_base.ntfy.entries;
    end = item(item(buf, 0, 4, 0x29190165), 1, 4, 0);
    for (uint32_t t = 3; t <= 7; t++)
        end = item(end, t, 4, t * 11);
    bodyTrip(&cmd[13], 1, buf, (size_t)(end - buf));
    end = item(text(item(item(buf, 0, 4, 0x20171010), 1, 4, 1), 3, mac), 4, 4, 42);
    bodyTrip(&cmd[7], 0, buf, (size_t)(end - buf));
    end = item(item(text(item(item(buf, 0, 4, 0x24582563), 1, 4, 0), 3, mac), 4, 4, 0xFFFFFFFBu), 5, 4, 7);
    bodyTrip(&ntfy[2], 0, buf, (size_t)(end - buf));
    CHECK(logged(0, want));
    item(text(item(item(buf, 0, 4, 0x20171010), 1, 4, 1), 3, tooLong), 4, 4, 42);
    void *body = NULL;
    uint32_t size = 0;
    CHECK(cmd[7].unserializeBody(0, buf, &body, &size) == 4 && !body);
    snprintf(ptr, sizeof ptr, "%p", (void *)buf);
    strcpy(want0, "intfVelmor_cbEvtMsgMngt_unserializeBody_msgCmdReq_temporarilyBlackList: lgChainIn(19) lgMaxChainOut(18)\n");
    snprintf(want1, sizeof want1, "intfVelmor_cbEvtMsgMngt_unserializeBody_msgCmdReq_temporarilyBlackList: pBody(%s): Type(4) -> Error Before\n", ptr);
    CHECK(logged(2, want));

    /* Up, a request and a notification across, and down by event 0. */
    int user;
    CHECK(intfVelmor_initialize() == 0 && evtFn);
    CHECK(intfVelmor_sendReq_temporarilyBlackList(&user, NULL, 0, 0, "wifi", mac, 42) == 0);
    intfVelmor_sendReq_ntfyBeaconReport(&user, 0, 0, mac, -1, 2);
    CHECK(crossed == 2);
    evtFn(evtCtx, 0);
    CHECK(!mngts[1] && !mngts[2] && intfVelmor_getCmdIntfNum() == 0xFFFF);
    CHECK(logged(0, want));

    printf("musl: %d checks, %d failed\n", checks, failures);
    return failures != 0;
}
