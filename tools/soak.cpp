// intfvelmor_soak: a long mixed run through the reference host. Commands and
// notifications go out in turn, every thousandth step a malformed body is
// offered to a receiving entry, and the resident size is sampled as it goes.
// It reports messages per second and fails if memory grows, a body is left
// held, or a malformed body is accepted.
//
//   intfvelmor_soak [messages]      (default one million)
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "base/log.h"
#include "intfVelmor.h"
#include "tolkRefHost.h"

namespace {

unsigned long syslogLines = 0;
unsigned long received = 0, refused = 0, accepted = 0;

long residentKiB()
{
    long pages = 0, rss = 0;
    FILE *f = fopen("/proc/self/statm", "r");
    if (!f)
        return -1;
    if (fscanf(f, "%ld %ld", &pages, &rss) != 2)
        rss = -1;
    fclose(f);
    return rss < 0 ? -1 : rss * (sysconf(_SC_PAGESIZE) / 1024);
}

double now()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (double)ts.tv_sec + (double)ts.tv_nsec / 1e9;
}

// ---- the service ------------------------------------------------------------------
assocDevListRet stations;
beaconReport report;

void onCCA(void *ctx, uint32_t) {
    ccaStats s = {1, 2, 3, 4, 5};
    intfVelmor_sendRes_getCCAStatistic(ctx, &s);
}
void onStations(void *ctx, uint32_t, assocDevListReq *) { intfVelmor_sendRes_getAssocDevStats(ctx, &stations); }
void onBlackList(void *ctx, uint32_t, char *, uint32_t) { intfVelmor_sendRes_temporarilyBlackList(ctx, 0); }
void onBeacon(void *ctx, uint32_t, BeaconRequestCfg *) { intfVelmor_sendRes_beaconRequest(ctx, &report); }

// ---- the client -------------------------------------------------------------------
void gotCCA(void *, uint32_t, ccaStats *) { ++received; }
void gotStations(void *, uint32_t, assocDevListRet *) { ++received; }
void gotStatus(void *, uint32_t, uint8_t) { ++received; }
void gotReport(void *, uint32_t, beaconReport *) { ++received; }
void gotPairing(void *, uint32_t, uint32_t) { ++received; }
void gotLowRssi(void *, uint32_t, LowRSSINtf *) { ++received; }

// A valid body with one byte changed or cut short, offered to the receiving
// side of its entry: it must be refused.
void offerMalformed(unsigned long step)
{
    ccaStats s = {9, 8, 7, 6, 5};
    uint8_t bytes[84] = {};
    uint8_t *w = bytes;
    // Frame items by hand, then the record by the library.
    const uint8_t head[24] = {0, 0, 0, 0, 0, 0, 0, 4, 0x29, 0x19, 0x01, 0x65,
                              0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 0};
    memcpy(w, head, sizeof head);
    w += sizeof head;
    intfVelmor_ccaStats_serialize(&s, &w);
    size_t len = sizeof bytes;
    if (step % 2)
        bytes[24 + 12 * (step % 5) + 3] ^= 0x40;  // a wrong tag
    else
        len -= 1 + step % 60;                    // ends early
    void *body = nullptr;
    uint32_t size = 0;
    const intfVelmor_entry &e = intfVelmor_base.cmd.entries[13];
    uint32_t rc = intfVelmor_unserializeBodyBounded(e.unserializeBody, 1, bytes, bytes + len,
                                                    &body, &size);
    if (rc == 0) {
        ++accepted;
        e.freeBody(1, body);
    } else {
        ++refused;
    }
}

}  // namespace

// Log lines are counted, not sent: a soak of malformed bodies would flood syslog.
static void countLine(int, const char *) { ++syslogLines; }

int main(int argc, char **argv)
{
    unsigned long total = argc > 1 ? strtoul(argv[1], nullptr, 10) : 1000000ul;
    iv::setLogSink(countLine);

    stations.devicesCount = 20;
    for (int i = 0; i < 20; ++i)
        snprintf(stations.devices[i].mac, sizeof stations.devices[i].mac,
                 "aa:bb:cc:dd:ee:%02x", i);
    report.eltsCount = 10;
    strcpy(report.mac, "aa:bb:cc:dd:ee:ff");

    if (intfVelmor_initialize() != 0)
        return 1;
    void *wifi = refhost_newUser("wifi");
    void *client = refhost_newUser("client");
    intfVelmor_regUser_msgMngt(wifi, 0, nullptr, INTFVELMOR_SEL_BOTH);
    intfVelmor_regUser_msgMngt(client, 0, nullptr, INTFVELMOR_SEL_BOTH);
    intfVelmor_modSrv_recvMsg_getCCAStatistic(wifi, refhost_token((refhost_fn)onCCA), 0, 0);
    intfVelmor_modSrv_recvMsg_getAssocDevStats(wifi, refhost_token((refhost_fn)onStations), 0, 0);
    intfVelmor_modSrv_recvMsg_temporarilyBlackList(wifi, refhost_token((refhost_fn)onBlackList), 0, 0);
    intfVelmor_modSrv_recvMsg_beaconRequest(wifi, refhost_token((refhost_fn)onBeacon), 0, 0);
    intfVelmor_modCliNtfyUser_recvMsg_meshTUKExtenderPairing(client, refhost_token((refhost_fn)gotPairing), 0, 0, "wifi", nullptr);
    intfVelmor_modCliNtfyUser_recvMsg_meshTUKClientsLowRSSI(client, refhost_token((refhost_fn)gotLowRssi), 0, 0, "wifi", nullptr);

    assocDevListReq query = {};
    query.devicesCount = 2;
    BeaconRequestCfg beacon = {};
    LowRSSINtf low = {"aa:bb:cc:dd:ee:01", -80};

    unsigned long sent = 0;
    long baseline = -1, peak = -1;
    double start = now(), last = start;
    for (unsigned long step = 0; sent < total; ++step) {
        switch (step % 6) {
        case 0: intfVelmor_sendReq_getCCAStatistic(client, gotCCA, 0, 0, "wifi"); break;
        case 1: intfVelmor_sendReq_getAssocDevStats(client, gotStations, 0, 0, "wifi", &query); break;
        case 2: intfVelmor_sendReq_temporarilyBlackList(client, gotStatus, 0, 0, "wifi", "aa:bb:cc:dd:ee:02", 60); break;
        case 3: intfVelmor_sendReq_beaconRequest(client, gotReport, 0, 0, "wifi", &beacon); break;
        case 4: intfVelmor_sendReq_ntfyMeshTUKExtenderPairing(wifi, 0, 0, (uint32_t)step); break;
        case 5: intfVelmor_sendReq_ntfyMeshTUKClientsLowRSSI(wifi, 0, 0, &low); break;
        }
        ++sent;
        if (step % 1000 == 999)
            offerMalformed(step / 1000);
        if (sent % 100000 == 0) {
            long rss = residentKiB();
            if (sent == 200000)
                baseline = rss;  // warmed up: the allocator has its pages
            if (rss > peak)
                peak = rss;
            double t = now();
            printf("%9lu messages  %8.0f msg/s  rss %ld KiB\n", sent, 100000.0 / (t - last), rss);
            fflush(stdout);
            last = t;
        }
    }
    double elapsed = now() - start;
    refhost_statsInfo st = refhost_stats();
    long growth = baseline < 0 ? 0 : peak - baseline;
    printf("%lu messages in %.1f s: %.0f msg/s; %lu delivered; %lu malformed refused, %lu accepted;"
           " rss growth after warm-up %ld KiB; %u bodies held, %u contexts open\n",
           sent, elapsed, (double)sent / elapsed, received, refused, accepted, growth,
           st.bodiesHeld, st.contextsOpen);
    refhost_reset();
    bool ok = accepted == 0 && refused > 0 && received == sent && st.bodiesHeld == 0 &&
              st.contextsOpen == 0 && (baseline < 0 || growth <= 64);
    printf("%s\n", ok ? "soak: ok" : "soak: FAILED");
    return ok ? 0 : 1;
}
