// Every record type through its description and untyped operations, for the
// generic tests (records_generic_test.cpp, records_chains_test.cpp): the
// checks are compiled once for all types, each type a test parameter.
#pragma once

#include <stdlib.h>
#include <string.h>

#include <random>

#include "record_ops.h"
#include "testkit.h"
#include "types/described.h"
#include "types/names.h"

namespace ivtest {

using Rng = std::mt19937;

// A record type: its description and operations.
struct Type {
    const char *name;
    const iv::TypeDesc *desc;
    const AnyOps *ops;
};

inline const std::vector<Type> &types()
{
#define IVT_TYPE(T) Type{#T, &iv::descOf<T>(), nullptr},
    static const std::vector<Type> all = [] {
        std::vector<Type> v{INTFVELMOR_RECORD_TYPES(IVT_TYPE)};
        for (Type &t : v)
            t.ops = opsByName(t.name);
        return v;
    }();
#undef IVT_TYPE
    return all;
}

// A zeroed record of exactly the type's size, so that the sanitizers see any
// access beyond it.
using Rec = std::vector<uint8_t>;

inline std::vector<uint8_t> encodeAny(const AnyOps &o, const Rec &rec)
{
    uint32_t lg = o.lg(rec.data());
    std::vector<uint8_t> buf(lg + 16, 0);
    uint8_t *p = buf.data();
    EXPECT_EQ(0u, o.ser(rec.data(), &p)) << o.name;
    EXPECT_EQ((size_t)lg, (size_t)(p - buf.data())) << o.name;
    buf.resize((size_t)(p - buf.data()));
    return buf;
}

inline Decoded decodeAny(const AnyOps &o, const std::vector<uint8_t> &bytes, Rec &out, bool bounded)
{
    const uint8_t *p = bytes.data();
    uint32_t rc = bounded ? o.unserBounded(out.data(), &p, bytes.data() + bytes.size())
                          : o.unser(out.data(), &p);
    return {rc, (size_t)(p - bytes.data())};
}

inline void fillRandom(const iv::TypeDesc &d, uint8_t *rec, Rng &rng)
{
    for (uint16_t i = 0; i < d.count; ++i) {
        const iv::Field &f = iv::fieldsOf(d)[i];
        uint8_t *m = rec + f.offset;
        switch (f.form) {
        case iv::Form::Text: {
            uint32_t n = rng() % f.cap;  // 0 .. N - 1 characters
            if (rng() % 4 == 0)
                n = f.cap - 1u;  // often at the capacity
            for (uint32_t k = 0; k < n; ++k)
                m[k] = (uint8_t)(' ' + rng() % 95);
            m[n] = 0;
            break;
        }
        case iv::Form::Record: fillRandom(*f.sub(), m, rng); break;
        case iv::Form::Table:
            for (uint32_t k = 0; k < f.cap; ++k)
                fillRandom(*f.sub(), m + k * f.stride(), rng);
            break;
        case iv::Form::ArrayRec:
        case iv::Form::ArrayU32: {
            // Counts up to a few past the bound: the count travels unchanged.
            uint32_t count = rng() % (f.cap + 4u);
            f.setCount(rec, count);
            for (uint32_t k = 0; k < f.cap; ++k) {
                if (f.form == iv::Form::ArrayRec) {
                    fillRandom(*f.sub(), m + k * f.stride(), rng);
                } else {
                    uint32_t v = rng();
                    memcpy(m + k * 4, &v, 4);
                }
            }
            break;
        }
        case iv::Form::U64: {
            uint64_t v = (uint64_t)rng() << 32 | rng();
            memcpy(m, &v, 8);
            break;
        }
        default: {
            uint32_t v = rng();
            size_t w = f.form == iv::Form::U32 ? 4 : (f.form == iv::Form::U16 || f.form == iv::Form::I16) ? 2 : 1;
            memcpy(m, &v, w);
            break;
        }
        }
    }
}

class EveryType : public LogTest, public testing::WithParamInterface<size_t> {
protected:
    const Type &type() const { return types()[GetParam()]; }
};

inline std::string typeName(const testing::TestParamInfo<size_t> &info)
{
    return types()[info.param].name;
}

}  // namespace ivtest
