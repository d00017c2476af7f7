// Realistic contents for the benchmarks: a gateway with 100 stations, an
// access point with 50 filtered addresses, a 100-entry beacon report and a
// fully populated band-steering configuration. Built once, outside timing.
#pragma once

#include <stdio.h>
#include <string.h>

#include "intfVelmor.h"

namespace bench {

template <size_t N>
inline void put(char (&dst)[N], const char *s)
{
    snprintf(dst, N, "%s", s);
}

// Station addresses aa:bb:cc:dd:NN:NN, access-point addresses 00:11:22:33:NN:NN.
inline void station(char (&dst)[18], unsigned n)
{
    snprintf(dst, sizeof dst, "aa:bb:cc:dd:%02x:%02x", (n >> 8) & 0xffu, n & 0xffu);
}
inline void bssid(char (&dst)[18], unsigned n)
{
    snprintf(dst, sizeof dst, "00:11:22:33:%02x:%02x", (n >> 8) & 0xffu, n & 0xffu);
}

inline void ccaStatistics(ccaStats &c) { c = {1000, 412, 233, 97, 36}; }

inline void stationList(assocDevListReq &r, uint32_t n)
{
    memset(&r, 0, sizeof r);
    r.devicesCount = n;
    for (uint32_t i = 0; i < n && i < INTFVELMOR_ASSOCDEV_MAX; ++i) {
        station(r.devices[i].mac, i + 1);
        r.devices[i].v4 = (uint8_t)(i % 2);
    }
}

inline void stationInfo(assocDevListRet &r, uint32_t n)
{
    static const char *const hosts[] = {"pixel-7",       "laptop-anna",    "tv-livingroom",
                                        "iphone-de-marc", "printer-office", "thermostat",
                                        "galaxy-s23",    "macbook-pro-de-julie"};
    static const char *const security[] = {"WPA2-PSK", "WPA3-SAE", "WPA2-PSK/WPA3-SAE"};
    memset(&r, 0, sizeof r);
    r.devicesCount = n;
    for (uint32_t i = 0; i < n && i < INTFVELMOR_ASSOCDEV_MAX; ++i) {
        assocDevInfo &d = r.devices[i];
        station(d.mac, i + 1);
        d.v4 = (uint8_t)(i % 2), d.v5 = 2;
        d.v6 = 866700 - 1440 * i, d.v7 = 520000 - 1000 * i;
        d.v8 = (int16_t)(-38 - (int)(i % 50)), d.v9 = -95;
        d.v10 = 3600 + 420 * i;
        d.v11 = 20, d.v12 = -3;
        put(d.s13, i % 3 ? "ac" : "ax");
        d.v14 = 2, d.v15 = 1, d.v16 = 80, d.v17 = -61;
        put(d.s18, hosts[i % 8]);
        put(d.s19, i % 4 ? "HomeNet" : "HomeNet-Guest");
        d.v20 = 1;
        snprintf(d.s21, sizeof d.s21, "192.168.1.%u", (unsigned)(20 + i));
        put(d.s22, d.v4 ? "wl1" : "wl0");
        d.v23 = 4812345678ull + 1000003ull * i, d.v24 = 912345678ull + 7919ull * i;
        d.v25 = 3456789 + 31 * i, d.v26 = 1234567 + 17 * i;
        d.v27 = 12, d.v28 = 3, d.v29 = 0, d.v30 = 7 + i, d.v31 = 1;
        d.stats = {5123456789ull + i, 1023456789ull + i, 4012345, 1534567, 17, 4, 0, 2, 99};
        d.v33 = 1, d.v34 = 0, d.v35 = 1;
        put(d.s36, security[i % 3]);
        d.v37 = 1, d.v38 = 1, d.v39 = 0, d.v40 = 3;
    }
}

// The access point of configureAccessPoint, its filter list holding 50 addresses.
inline void accessPoint(APCfg &c)
{
    memset(&c, 0, sizeof c);
    put(c.ssid, "HomeNet-5G");
    c.v4 = 1, c.v5 = 0, c.v6 = 1, c.v7 = 32;
    APSecCfg &s = c.apSecCfg;
    s.v3 = 4;
    put(s.s4, "WPA2-Personal");
    put(s.key, "correct horse battery staple");
    put(s.s6, "AES");
    s.v7 = 3600;
    put(s.ip1, "192.168.1.2");
    s.v9 = 1812;
    put(s.s10, "radius-secret-primary");
    s.v11 = 1813, s.v12 = 5, s.v13 = 30;
    put(s.ip2, "192.168.1.3");
    s.v15 = 1812;
    put(s.s16, "radius-secret-backup");
    s.v17 = 1813, s.v18 = 5, s.v19 = 30;
    s.v26 = 1;
    put(s.s27, "HomeNet-5G");
    s.v28 = 86400, s.v29 = 2;
    put(s.s30, "fe80::1");
    APWpsCfg &w = c.apWpsCfg;
    w.v3 = 1, w.v4 = 0, w.v5 = 0x0680, w.v6 = 2;
    put(w.pin, "12345670");
    w.v8 = 120;
    put(w.s9, "Home Gateway - WPS registrar");
    w.v10 = 1;
    c.v10 = 1;
    APAccCfg &a = c.apAccCfg;
    a.v3 = 1;
    put(a.s4, "192.168.1.1");
    put(a.s5, "255.255.255.0");
    a.v6 = 80, a.v7 = 443;
    put(a.s8, "Welcome to HomeNet");
    put(a.s9, "https://portal.homenet.example/accept");
    a.v10 = 1;
    put(c.s12, "wl1"), put(c.s13, "br-lan"), put(c.s14, "wl1.1"), put(c.s15, "br-guest");
    c.v16 = 1, c.v17 = 0, c.v18 = 1, c.v19 = 0, c.v20 = 1, c.v21 = 0;
    c.v22 = 2346, c.v23 = 100;
    c.macFilterList.v3 = 1;
    c.macFilterList.macsCount = INTFVELMOR_MACDEF_MAX;
    for (unsigned i = 0; i < INTFVELMOR_MACDEF_MAX; ++i)
        station(c.macFilterList.macs[i].mac, 0x100 + i);
    c.radioMeasurements.beaconRequestsCap = {1, 1, 0};
}

inline void beaconRequestCfg(BeaconRequestCfg &b)
{
    static const char *const ssids[] = {"HomeNet-5G", "Neighbour-5G", "FreeWifi", "Cafe du Coin"};
    memset(&b, 0, sizeof b);
    station(b.actionFrameCfg.mac, 1);
    b.actionFrameCfg.v4 = 1;
    b.measurementRequestCfg = {1, 0};
    b.v6 = 115, b.v7 = 255, b.v8 = 50;
    b.apsCount = INTFVELMOR_BEACON_REQUEST_APS_MAX;
    for (uint8_t i = 0; i < INTFVELMOR_BEACON_REQUEST_APS_MAX; ++i) {
        b.aps[i].v3 = 115, b.aps[i].v4 = 36u + 4u * (i % 8);
        bssid(b.aps[i].mac, 0x11 + i);
        put(b.aps[i].s6, ssids[i % 4]);
    }
}

inline void beaconReportOf(beaconReport &r, uint32_t n)
{
    static const char *const ssids[] = {"HomeNet-5G", "Neighbour-5G", "FreeWifi", "Cafe du Coin",
                                        "DIRECT-7f-Printer"};
    memset(&r, 0, sizeof r);
    r.timestamp = {1718100000123ull, 250};
    station(r.mac, 1);
    r.eltsCount = n;
    for (uint32_t i = 0; i < n && i < INTFVELMOR_BEACON_REPORT_MAX; ++i) {
        beaconReportElt &e = r.elts[i];
        e.v3 = 115;
        bssid(e.mac, 0x200 + i);
        e.v5 = (uint8_t)(36 + 4 * (i % 8)), e.v6 = 0, e.v7 = 50;
        e.v8 = (uint8_t)(200 - i), e.v9 = 60, e.v10 = 1;
        e.v11 = 3000 + i;
        e.extraBeaconReportElt.v3 = 0, e.extraBeaconReportElt.v4 = 20;
        put(e.extraBeaconReportElt.s5, ssids[i % 5]);
    }
}

// Every interface and every device slot of the fixed tables in use.
inline void bandSteering(BandSteeringCfg &c)
{
    memset(&c, 0, sizeof c);
    c.v3 = 1;
    c.bsdCfg = {30, 5, 1, 600, 1, 0, {3, 60, 180}};
    for (unsigned i = 0; i < INTFVELMOR_BSD_ITFS; ++i) {
        BSDItfCfg &f = c.itfCfgs[i];
        snprintf(f.s3, sizeof f.s3, "wl%u.%u", i / 4, i % 4);
        snprintf(f.s4, sizeof f.s4, "wl%u.%u wl%u.%u", i / 4, i % 4, 1 - i / 4, i % 4);
        f.bsdSteeringPolicy = {80, 20, 1000, 30, 1, 10, 0, 1, 1, 0, 1};
        f.bsdStaSelectPolicy = {1, 2, 1, 70, 0, 100, 200, 300, 20, 10, 5, 1, 0, 1, 0, 1, 0, 1};
        f.v7 = i;
    }
    for (unsigned i = 0; i < INTFVELMOR_BSD_DEVICES; ++i) {
        BSDDevices &d = c.devices[i];
        station(d.mac, 0x300 + i);
        d.v4 = i % 3;
        d.v5 = (int8_t)(-40 - (int)(i % 50)), d.v6 = -70, d.v7 = 1;
    }
}

}  // namespace bench
