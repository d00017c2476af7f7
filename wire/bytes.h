// Big-endian integers at any address. Each is one access through a packed
// struct, which the compiler turns into one load or store (a byte swap beside
// it on a little-endian CPU, an unaligned pair where the CPU needs one, as
// lwl/lwr on mips) instead of four byte accesses; a memcpy of four bytes
// would be a call to the C library on mips when built for size.
#pragma once

#include <stdint.h>
#include <string.h>

namespace iv {

template <class T>
struct __attribute__((packed, may_alias)) Unaligned {
    T v;
};

// A 4- or 8-byte word as it lies in memory, at any address.
inline uint32_t load32(const void *p) { return static_cast<const Unaligned<uint32_t> *>(p)->v; }
inline uint64_t load64(const void *p) { return static_cast<const Unaligned<uint64_t> *>(p)->v; }
inline void store32(void *p, uint32_t v) { static_cast<Unaligned<uint32_t> *>(p)->v = v; }
inline void store64(void *p, uint64_t v) { static_cast<Unaligned<uint64_t> *>(p)->v = v; }

#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
inline uint32_t bigEndian(uint32_t v) { return v; }
inline uint64_t bigEndian64(uint64_t v) { return v; }
#else
inline uint32_t bigEndian(uint32_t v) { return __builtin_bswap32(v); }
inline uint64_t bigEndian64(uint64_t v) { return __builtin_bswap64(v); }
#endif

inline uint32_t rd32(const uint8_t *p) { return bigEndian(load32(p)); }
inline uint64_t rd64(const uint8_t *p) { return bigEndian64(load64(p)); }
inline void wr32(uint8_t *p, uint32_t v) { store32(p, bigEndian(v)); }
inline void wr64(uint8_t *p, uint64_t v) { store64(p, bigEndian64(v)); }

// The head of an item (tag, then length, both 32-bit) as the 8 bytes lie in
// memory, loaded as one word: a run of items is checked and written a word
// at a time. Adding headStep moves the tag on by one (tags stay below 256,
// so the sum never carries out of the tag's low byte).
inline uint64_t head32(uint32_t tag, uint32_t len)
{
    uint8_t b[8];
    wr32(b, tag);
    wr32(b + 4, len);
    return load64(b);
}
inline uint64_t headStep() { return head32(1, 0); }

// The head of a run of scalar32 items (tag, length 4), written or checked
// as it lies in memory: one word where registers have 64 bits, the tag and
// the length words apart where they have 32. next() moves the tag on by one
// or, for array elements, which share one tag, by none.
#if UINTPTR_MAX > 0xFFFFFFFFu
class Head32 {
    uint64_t w_, step_;

public:
    Head32(uint32_t tag, bool advance) : w_(head32(tag, 4)), step_(advance ? headStep() : 0) {}
    void put(uint8_t *p) const { store64(p, w_); }
    bool at(const uint8_t *p) const { return load64(p) == w_; }
    void next() { w_ += step_; }
};
#else
class Head32 {
    uint32_t tag_, step_;

public:
    Head32(uint32_t tag, bool advance) : tag_(bigEndian(tag)), step_(advance ? bigEndian(1) : 0) {}
    void put(uint8_t *p) const
    {
        store32(p, tag_);
        store32(p + 4, bigEndian(4));
    }
    bool at(const uint8_t *p) const { return load32(p) == tag_ && load32(p + 4) == bigEndian(4); }
    void next() { tag_ += step_; }
};
#endif

// A 64-bit item's tag or length word as it lies in memory.
inline uint64_t word64(uint64_t v) { return bigEndian64(v); }

// One scalar32 item: tag, length 4, value.
inline uint8_t *putScalar32(uint8_t *p, uint32_t tag, uint32_t value)
{
    wr32(p, tag);
    wr32(p + 4, 4);
    wr32(p + 8, value);
    return p + 12;
}

// One scalar64 item: tag, length 8 (each a 64-bit word), value.
inline uint8_t *putScalar64(uint8_t *p, uint32_t tag, uint64_t value)
{
    wr64(p, tag);
    wr64(p + 8, 8);
    wr64(p + 16, value);
    return p + 24;
}

// Wire length of a text of n characters: tag, length, text, NUL and 1 to 4 pad bytes.
constexpr uint32_t textItemSize(uint32_t n) { return 12 + ((n + 1) & ~3u); }

constexpr uint32_t kScalar32Size = 12;
constexpr uint32_t kScalar64Size = 24;

}  // namespace iv
