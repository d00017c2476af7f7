#include "handwritten.h"

#include <stdlib.h>
#include <string.h>

namespace hand {

namespace {

#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
inline uint32_t swap32(uint32_t v) { return v; }
inline uint64_t swap64(uint64_t v) { return v; }
#else
inline uint32_t swap32(uint32_t v) { return __builtin_bswap32(v); }
inline uint64_t swap64(uint64_t v) { return __builtin_bswap64(v); }
#endif

// Words at any address through a packed struct: one access, or lwl/lwr on
// mips, where a small memcpy is a C library call in a build for size.
template <class T>
struct __attribute__((packed, may_alias)) Any {
    T v;
};
inline void be32(uint8_t *p, uint32_t v) { ((Any<uint32_t> *)p)->v = swap32(v); }
inline void be64(uint8_t *p, uint64_t v) { ((Any<uint64_t> *)p)->v = swap64(v); }
inline uint32_t get32(const uint8_t *p) { return swap32(((const Any<uint32_t> *)p)->v); }
inline uint64_t get64(const uint8_t *p) { return swap64(((const Any<uint64_t> *)p)->v); }

// ---- writing: tag, length, value; texts leave their pad bytes as they are --------

inline uint8_t *u32(uint8_t *p, uint32_t tag, uint32_t v)
{
    be32(p, tag);
    be32(p + 4, 4);
    be32(p + 8, v);
    return p + 12;
}
inline uint8_t *u64(uint8_t *p, uint32_t tag, uint64_t v)
{
    be64(p, tag);
    be64(p + 8, 8);
    be64(p + 16, v);
    return p + 24;
}
template <size_t N>
inline uint32_t chars(const char (&s)[N])
{
    return (uint32_t)strnlen(s, N - 1);
}
inline uint32_t textSize(uint32_t n) { return 12 + ((n + 1) & ~3u); }
template <size_t N>
inline uint8_t *text(uint8_t *p, uint32_t tag, const char (&s)[N])
{
    uint32_t n = chars(s), size = textSize(n);
    be32(p, tag);
    be32(p + 4, size - 8);
    memcpy(p + 8, s, n);
    p[8 + n] = 0;
    return p + size;
}

// ---- reading: every item bounded by end, tags checked, lengths skipped -----------

inline bool u32(const uint8_t *&p, const uint8_t *end, uint32_t tag, uint32_t &v)
{
    size_t left = (size_t)(end - p);
    if (left < 12 || get32(p) != tag)
        return false;
    uint32_t l = get32(p + 4);
    if (l > left - 8)
        return false;
    v = get32(p + 8);
    p += 8 + (size_t)l;
    return true;
}
template <class T>
inline bool narrow(const uint8_t *&p, const uint8_t *end, uint32_t tag, T &v)
{
    uint32_t w;
    if (!u32(p, end, tag, w))
        return false;
    v = (T)w;
    return true;
}
inline bool u64(const uint8_t *&p, const uint8_t *end, uint32_t tag, uint64_t &v)
{
    size_t left = (size_t)(end - p);
    if (left < 24 || get64(p) != tag)
        return false;
    uint32_t l = (uint32_t)get64(p + 8);
    if (l > left - 16)
        return false;
    v = get64(p + 16);
    p += 16 + (size_t)l;
    return true;
}
template <size_t N>
inline bool text(const uint8_t *&p, const uint8_t *end, uint32_t tag, char (&s)[N])
{
    size_t left = (size_t)(end - p);
    if (left < 8 || get32(p) != tag)
        return false;
    uint32_t l = get32(p + 4);
    if (l > left - 8)
        return false;
    const uint8_t *nul = (const uint8_t *)memchr(p + 8, 0, l);
    if (!nul || (size_t)(nul - (p + 8)) + 1 > N)
        return false;
    memcpy(s, p + 8, (size_t)(nul - (p + 8)) + 1);
    p += 8 + (size_t)l;
    return true;
}

// ---- assocDevInfo, member by member -------------------------------------------------

// 31 scalars of 32 bits or fewer, 8 of 64 bits and the fixed part of 7 texts.
constexpr uint32_t kInfoFixed = 31 * 12 + 8 * 24 + 7 * 12;

inline uint32_t infoLength(const assocDevInfo &d)
{
    return kInfoFixed + ((chars(d.mac) + 1) & ~3u) + ((chars(d.s13) + 1) & ~3u) +
           ((chars(d.s18) + 1) & ~3u) + ((chars(d.s19) + 1) & ~3u) +
           ((chars(d.s21) + 1) & ~3u) + ((chars(d.s22) + 1) & ~3u) +
           ((chars(d.s36) + 1) & ~3u);
}

inline uint8_t *writeInfo(const assocDevInfo &d, uint8_t *p)
{
    p = text(p, 3, d.mac);
    p = u32(p, 4, d.v4);
    p = u32(p, 5, d.v5);
    p = u32(p, 6, d.v6);
    p = u32(p, 7, d.v7);
    p = u32(p, 8, (uint32_t)(int32_t)d.v8);
    p = u32(p, 9, (uint32_t)(int32_t)d.v9);
    p = u32(p, 10, d.v10);
    p = u32(p, 11, (uint32_t)(int32_t)d.v11);
    p = u32(p, 12, (uint32_t)(int32_t)d.v12);
    p = text(p, 13, d.s13);
    p = u32(p, 14, d.v14);
    p = u32(p, 15, d.v15);
    p = u32(p, 16, d.v16);
    p = u32(p, 17, (uint32_t)(int32_t)d.v17);
    p = text(p, 18, d.s18);
    p = text(p, 19, d.s19);
    p = u32(p, 20, d.v20);
    p = text(p, 21, d.s21);
    p = text(p, 22, d.s22);
    p = u64(p, 23, d.v23);
    p = u64(p, 24, d.v24);
    p = u64(p, 25, d.v25);
    p = u64(p, 26, d.v26);
    p = u32(p, 27, d.v27);
    p = u32(p, 28, d.v28);
    p = u32(p, 29, d.v29);
    p = u32(p, 30, d.v30);
    p = u32(p, 31, d.v31);
    p = u64(p, 3, d.stats.v3);
    p = u64(p, 4, d.stats.v4);
    p = u64(p, 5, d.stats.v5);
    p = u64(p, 6, d.stats.v6);
    p = u32(p, 7, d.stats.v7);
    p = u32(p, 8, d.stats.v8);
    p = u32(p, 9, d.stats.v9);
    p = u32(p, 10, d.stats.v10);
    p = u32(p, 11, d.stats.v11);
    p = u32(p, 33, d.v33);
    p = u32(p, 34, d.v34);
    p = u32(p, 35, d.v35);
    p = text(p, 36, d.s36);
    p = u32(p, 37, d.v37);
    p = u32(p, 38, d.v38);
    p = u32(p, 39, d.v39);
    p = u32(p, 40, d.v40);
    return p;
}

inline bool readInfo(assocDevInfo &d, const uint8_t *&p, const uint8_t *e)
{
    return text(p, e, 3, d.mac) && narrow(p, e, 4, d.v4) && narrow(p, e, 5, d.v5) &&
           u32(p, e, 6, d.v6) && u32(p, e, 7, d.v7) && narrow(p, e, 8, d.v8) &&
           narrow(p, e, 9, d.v9) && u32(p, e, 10, d.v10) && narrow(p, e, 11, d.v11) &&
           narrow(p, e, 12, d.v12) && text(p, e, 13, d.s13) && narrow(p, e, 14, d.v14) &&
           narrow(p, e, 15, d.v15) && narrow(p, e, 16, d.v16) && narrow(p, e, 17, d.v17) &&
           text(p, e, 18, d.s18) && text(p, e, 19, d.s19) && u32(p, e, 20, d.v20) &&
           text(p, e, 21, d.s21) && text(p, e, 22, d.s22) && u64(p, e, 23, d.v23) &&
           u64(p, e, 24, d.v24) && u64(p, e, 25, d.v25) && u64(p, e, 26, d.v26) &&
           u32(p, e, 27, d.v27) && u32(p, e, 28, d.v28) && u32(p, e, 29, d.v29) &&
           u32(p, e, 30, d.v30) && u32(p, e, 31, d.v31) && u64(p, e, 3, d.stats.v3) &&
           u64(p, e, 4, d.stats.v4) && u64(p, e, 5, d.stats.v5) && u64(p, e, 6, d.stats.v6) &&
           u32(p, e, 7, d.stats.v7) && u32(p, e, 8, d.stats.v8) && u32(p, e, 9, d.stats.v9) &&
           u32(p, e, 10, d.stats.v10) && u32(p, e, 11, d.stats.v11) &&
           narrow(p, e, 33, d.v33) && narrow(p, e, 34, d.v34) && narrow(p, e, 35, d.v35) &&
           text(p, e, 36, d.s36) && narrow(p, e, 37, d.v37) && narrow(p, e, 38, d.v38) &&
           narrow(p, e, 39, d.v39) && narrow(p, e, 40, d.v40);
}

inline uint32_t used(uint32_t count) { return count < INTFVELMOR_ASSOCDEV_MAX ? count : INTFVELMOR_ASSOCDEV_MAX; }

}  // namespace

// ---- ccaStats -----------------------------------------------------------------------

uint32_t length(const ccaStats &) { return 5 * 12; }

uint8_t *write(const ccaStats &r, uint8_t *p)
{
    p = u32(p, 3, r.v3);
    p = u32(p, 4, r.v4);
    p = u32(p, 5, r.v5);
    p = u32(p, 6, r.v6);
    return u32(p, 7, r.v7);
}

bool read(ccaStats &r, const uint8_t *&p, const uint8_t *e)
{
    return u32(p, e, 3, r.v3) && u32(p, e, 4, r.v4) && u32(p, e, 5, r.v5) &&
           u32(p, e, 6, r.v6) && u32(p, e, 7, r.v7);
}

// ---- assocDevListRet ----------------------------------------------------------------

uint32_t length(const assocDevListRet &r)
{
    uint32_t len = 12;
    for (uint32_t i = 0, n = used(r.devicesCount); i < n; ++i)
        len += infoLength(r.devices[i]);
    return len;
}

uint8_t *write(const assocDevListRet &r, uint8_t *p)
{
    p = u32(p, 3, r.devicesCount);
    for (uint32_t i = 0, n = used(r.devicesCount); i < n; ++i)
        p = writeInfo(r.devices[i], p);
    return p;
}

bool read(assocDevListRet &r, const uint8_t *&p, const uint8_t *e)
{
    if (!u32(p, e, 3, r.devicesCount))
        return false;
    for (uint32_t i = 0, n = used(r.devicesCount); i < n; ++i)
        if (!readInfo(r.devices[i], p, e))
            return false;
    return true;
}

// ---- response bodies ----------------------------------------------------------------

namespace {

template <class R>
uint8_t *encodeBody(const Body<R> &b, uint16_t stamp, uint32_t *len)
{
    uint32_t n = 2 * 12 + length(b.res);
    uint8_t *buf = (uint8_t *)calloc(1, n);
    if (!buf)
        return nullptr;
    uint8_t *p = u32(buf, 0, b.magic);
    write(b.res, u32(p, 1, stamp));
    *len = n;
    return buf;
}

template <class R>
Body<R> *decodeBody(const uint8_t *p, const uint8_t *end, uint32_t magic, uint16_t stamp)
{
    Body<R> *b = (Body<R> *)calloc(1, sizeof(Body<R>));
    if (!b)
        return nullptr;
    uint32_t m, s;
    if (!u32(p, end, 0, m) || m != magic || !u32(p, end, 1, s) || (uint16_t)s != stamp ||
        !read(b->res, p, end)) {
        free(b);
        return nullptr;
    }
    b->magic = m;
    return b;
}

}  // namespace

uint8_t *encode(const Body<ccaStats> &b, uint16_t stamp, uint32_t *len)
{
    return encodeBody(b, stamp, len);
}
Body<ccaStats> *decodeCca(const uint8_t *p, const uint8_t *end, uint32_t magic, uint16_t stamp)
{
    return decodeBody<ccaStats>(p, end, magic, stamp);
}
uint8_t *encode(const Body<assocDevListRet> &b, uint16_t stamp, uint32_t *len)
{
    return encodeBody(b, stamp, len);
}
Body<assocDevListRet> *decodeAssoc(const uint8_t *p, const uint8_t *end, uint32_t magic,
                                   uint16_t stamp)
{
    return decodeBody<assocDevListRet>(p, end, magic, stamp);
}

}  // namespace hand
