// Big-endian integers at any address. A copy through memcpy compiles to one
// load or store (a byte swap beside it on a little-endian CPU, an unaligned
// pair where the CPU needs one) instead of four byte accesses.
#pragma once

#include <stdint.h>
#include <string.h>

namespace iv {

inline uint32_t bigEndian(uint32_t v)
{
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    return v;
#else
    return __builtin_bswap32(v);
#endif
}

inline uint32_t rd32(const uint8_t *p)
{
    uint32_t v;
    memcpy(&v, p, 4);
    return bigEndian(v);
}

inline uint64_t rd64(const uint8_t *p) { return (uint64_t)rd32(p) << 32 | rd32(p + 4); }

inline void wr32(uint8_t *p, uint32_t v)
{
    v = bigEndian(v);
    memcpy(p, &v, 4);
}

inline void wr64(uint8_t *p, uint64_t v)
{
    wr32(p, (uint32_t)(v >> 32));
    wr32(p + 4, (uint32_t)v);
}

// One scalar32 item: tag, length 4, value.
inline uint8_t *putScalar32(uint8_t *p, uint32_t tag, uint32_t value)
{
    wr32(p, tag);
    wr32(p + 4, 4);
    wr32(p + 8, value);
    return p + 12;
}

// Wire length of a text of n characters: tag, length, text, NUL and 1 to 4 pad bytes.
constexpr uint32_t textItemSize(uint32_t n) { return 12 + ((n + 1) & ~3u); }

constexpr uint32_t kScalar32Size = 12;
constexpr uint32_t kScalar64Size = 24;

}  // namespace iv
