// Big-endian integers at any address, one byte at a time.
#pragma once

#include <stdint.h>

namespace iv {

inline uint32_t rd32(const uint8_t *p)
{
    return (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | (uint32_t)p[3];
}

inline uint64_t rd64(const uint8_t *p) { return (uint64_t)rd32(p) << 32 | rd32(p + 4); }

inline void wr32(uint8_t *p, uint32_t v)
{
    p[0] = (uint8_t)(v >> 24);
    p[1] = (uint8_t)(v >> 16);
    p[2] = (uint8_t)(v >> 8);
    p[3] = (uint8_t)v;
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
