// For every record type: random records of every shape serialize to exactly
// serialize_lg bytes, read back (plain and bounded) to the same bytes, and
// copy preserves them.
#include <stdlib.h>
#include <string.h>

#include <memory>
#include <random>

#include "record_ops.h"
#include "testkit.h"
#include "types/described.h"

using namespace ivtest;

namespace {

using Rng = std::mt19937;

void fillRandom(const iv::TypeDesc &d, uint8_t *rec, Rng &rng)
{
    for (uint16_t i = 0; i < d.count; ++i) {
        const iv::Field &f = d.fields[i];
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
        case iv::Form::Record: fillRandom(*f.sub, m, rng); break;
        case iv::Form::Table:
            for (uint32_t k = 0; k < f.cap; ++k)
                fillRandom(*f.sub, m + k * f.stride, rng);
            break;
        case iv::Form::ArrayRec:
        case iv::Form::ArrayU32: {
            // Counts up to a few past the bound: the count travels unchanged.
            uint32_t count = rng() % (f.cap + 4u);
            if (f.countWidth == 1)
                rec[f.countOffset] = (uint8_t)count;
            else
                memcpy(rec + f.countOffset, &count, 4);
            for (uint32_t k = 0; k < f.cap; ++k) {
                if (f.form == iv::Form::ArrayRec) {
                    fillRandom(*f.sub, m + k * f.stride, rng);
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

template <class T>
void checkType(int rounds)
{
    Rng rng(12345u + (uint32_t)sizeof(T));
    for (int r = 0; r < rounds; ++r) {
        std::unique_ptr<T> rec(new T()), back(new T()), copied(new T()), bounded(new T());
        fillRandom(iv::Desc<T>::d, (uint8_t *)rec.get(), rng);

        // serialize writes exactly serialize_lg bytes and nothing past them.
        uint32_t lg = Ops<T>::lg(rec.get());
        std::vector<uint8_t> buf(lg + 32, 0xA5);
        memset(buf.data(), 0, lg);
        uint8_t *w = buf.data();
        ASSERT_EQ(0u, Ops<T>::ser(rec.get(), &w));
        ASSERT_EQ((size_t)lg, (size_t)(w - buf.data())) << Ops<T>::name;
        for (size_t k = lg; k < buf.size(); ++k)
            ASSERT_EQ(0xA5, buf[k]) << Ops<T>::name << " wrote past its length";
        buf.resize(lg);

        Decoded d = decode(buf, *back);
        ASSERT_EQ(0u, d.rc) << Ops<T>::name;
        ASSERT_EQ((size_t)lg, d.consumed) << Ops<T>::name;
        ASSERT_EQ(buf, encode(*back)) << Ops<T>::name;

        Decoded b = decodeBounded(buf, *bounded);
        ASSERT_EQ(0u, b.rc) << Ops<T>::name;
        ASSERT_EQ((size_t)lg, b.consumed);
        ASSERT_EQ(buf, encode(*bounded));

        ASSERT_EQ(0u, Ops<T>::copy(copied.get(), rec.get()));
        ASSERT_EQ(buf, encode(*copied)) << Ops<T>::name;
        Ops<T>::clean(copied.get());
    }
    EXPECT_TRUE(lines().empty()) << Ops<T>::name;
}

class Property : public LogTest {};

#define IVT_PROPERTY(T) \
    TEST_F(Property, T) { checkType<T>(100); }
INTFVELMOR_RECORD_TYPES(IVT_PROPERTY)

TEST(PropertyCatalogue, SeventyFiveTypes)
{
    int n = 0;
#define IVT_COUNT(T) ++n;
    INTFVELMOR_RECORD_TYPES(IVT_COUNT)
    EXPECT_EQ(75, n);
}

}  // namespace
