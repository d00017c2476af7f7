// Typed access to the exported operations of every record type.
#pragma once

#include <string.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "intfVelmor.h"

namespace ivtest {

template <class T>
struct Ops;

#define IVT_OPS(T)                                                           \
    template <>                                                              \
    struct Ops<T> {                                                          \
        static constexpr const char *name = #T;                              \
        static uint32_t copy(T *d, const T *s) { return intfVelmor_##T##_copy(d, s); } \
        static void clean(T *r) { intfVelmor_##T##_clean(r); }               \
        static uint32_t lg(const T *r) { return intfVelmor_##T##_serialize_lg(r); } \
        static uint32_t ser(const T *r, uint8_t **p) { return intfVelmor_##T##_serialize(r, p); } \
        static uint32_t unser(T *r, const uint8_t **p) { return intfVelmor_##T##_unserialize(r, p); } \
        static uint32_t unserBounded(T *r, const uint8_t **p, const uint8_t *e) \
        {                                                                    \
            return intfVelmor_##T##_unserialize_bounded(r, p, e);            \
        }                                                                    \
    };
INTFVELMOR_RECORD_TYPES(IVT_OPS)
#undef IVT_OPS

// The same operations for a type known by its name only.
struct AnyOps {
    const char *name;
    size_t size;
    uint32_t (*copy)(void *dst, const void *src);
    uint32_t (*lg)(const void *rec);
    uint32_t (*ser)(const void *rec, uint8_t **pos);
    uint32_t (*unser)(void *rec, const uint8_t **pos);
    uint32_t (*unserBounded)(void *rec, const uint8_t **pos, const uint8_t *end);
    void (*clean)(void *rec);
};

inline const std::vector<AnyOps> &allOps()
{
#define IVT_ANY(T)                                                                             \
    AnyOps{#T, sizeof(T),                                                                      \
           [](void *d, const void *s) { return Ops<T>::copy((T *)d, (const T *)s); },          \
           [](const void *r) { return Ops<T>::lg((const T *)r); },                            \
           [](const void *r, uint8_t **p) { return Ops<T>::ser((const T *)r, p); },            \
           [](void *r, const uint8_t **p) { return Ops<T>::unser((T *)r, p); },                \
           [](void *r, const uint8_t **p, const uint8_t *e) { return Ops<T>::unserBounded((T *)r, p, e); }, \
           [](void *r) { Ops<T>::clean((T *)r); }},
    static const std::vector<AnyOps> all = {INTFVELMOR_RECORD_TYPES(IVT_ANY)};
#undef IVT_ANY
    return all;
}

inline const AnyOps *opsByName(const std::string &name)
{
    for (const AnyOps &o : allOps())
        if (name == o.name)
            return &o;
    return nullptr;
}

// Serializes into a zero-filled buffer of exactly serialize_lg bytes and
// checks that serialize moved the position by that length.
template <class T>
std::vector<uint8_t> encode(const T &rec)
{
    std::vector<uint8_t> buf(Ops<T>::lg(&rec) + 16, 0);
    uint8_t *p = buf.data();
    EXPECT_EQ(0u, Ops<T>::ser(&rec, &p));
    EXPECT_EQ((size_t)(p - buf.data()), (size_t)Ops<T>::lg(&rec)) << Ops<T>::name;
    buf.resize((size_t)(p - buf.data()));
    return buf;
}

struct Decoded {
    uint32_t rc;
    size_t consumed;  // how far the read position moved
};

template <class T>
Decoded decode(const std::vector<uint8_t> &bytes, T &out)
{
    const uint8_t *p = bytes.data();
    uint32_t rc = Ops<T>::unser(&out, &p);
    return {rc, (size_t)(p - bytes.data())};
}

template <class T>
Decoded decodeBounded(const std::vector<uint8_t> &bytes, T &out)
{
    const uint8_t *p = bytes.data();
    uint32_t rc = Ops<T>::unserBounded(&out, &p, bytes.data() + bytes.size());
    return {rc, (size_t)(p - bytes.data())};
}

}  // namespace ivtest
