// For every record type: random records of every shape serialize to exactly
// serialize_lg bytes, read back (plain and bounded) to the same bytes, and
// copy preserves them; null records and positions are refused.
#include "record_types.h"

using namespace ivtest;

namespace {

void checkType(const Type &t, int rounds)
{
    const AnyOps &o = *t.ops;
    Rng rng(12345u + (uint32_t)o.size);
    for (int r = 0; r < rounds; ++r) {
        Rec rec(o.size), back(o.size), copied(o.size), bounded(o.size);
        fillRandom(*t.desc, rec.data(), rng);

        // serialize writes exactly serialize_lg bytes and nothing past them.
        uint32_t lg = o.lg(rec.data());
        std::vector<uint8_t> buf(lg + 32, 0xA5);
        memset(buf.data(), 0, lg);
        uint8_t *w = buf.data();
        ASSERT_EQ(0u, o.ser(rec.data(), &w));
        ASSERT_EQ((size_t)lg, (size_t)(w - buf.data())) << o.name;
        for (size_t k = lg; k < buf.size(); ++k)
            ASSERT_EQ(0xA5, buf[k]) << o.name << " wrote past its length";
        buf.resize(lg);

        Decoded d = decodeAny(o, buf, back, false);
        ASSERT_EQ(0u, d.rc) << o.name;
        ASSERT_EQ((size_t)lg, d.consumed) << o.name;
        ASSERT_EQ(buf, encodeAny(o, back)) << o.name;

        Decoded b = decodeAny(o, buf, bounded, true);
        ASSERT_EQ(0u, b.rc) << o.name;
        ASSERT_EQ((size_t)lg, b.consumed);
        ASSERT_EQ(buf, encodeAny(o, bounded));

        // Only pad bytes are left unwritten: into a buffer of other bytes the
        // record serializes to what reads back the same.
        std::vector<uint8_t> dirty(lg, 0xFF);
        w = dirty.data();
        ASSERT_EQ(0u, o.ser(rec.data(), &w));
        Rec fromDirty(o.size);
        ASSERT_EQ(0u, decodeAny(o, dirty, fromDirty, false).rc) << o.name;
        ASSERT_EQ(buf, encodeAny(o, fromDirty)) << o.name;

        ASSERT_EQ(0u, o.copy(copied.data(), rec.data()));
        ASSERT_EQ(buf, encodeAny(o, copied)) << o.name;
        o.clean(copied.data());
    }
    EXPECT_TRUE(lines().empty()) << o.name;
}

class Property : public EveryType {};

TEST_P(Property, RoundTrips) { checkType(type(), 100); }
INSTANTIATE_TEST_SUITE_P(Records, Property, testing::Range<size_t>(0, types().size()), typeName);

// Null records and positions: refused with code 4, measured as 0, cleaned as nothing.
TEST(Nulls, EveryType)
{
    for (const Type &t : types()) {
        const AnyOps &o = *t.ops;
        Rec rec(o.size);
        const uint8_t *none = nullptr;
        uint8_t *nowhere = nullptr;
        EXPECT_EQ(4u, o.copy(nullptr, rec.data())) << o.name;
        EXPECT_EQ(4u, o.copy(rec.data(), nullptr)) << o.name;
        EXPECT_EQ(0u, o.lg(nullptr)) << o.name;
        EXPECT_EQ(4u, o.ser(rec.data(), &nowhere)) << o.name;
        EXPECT_EQ(4u, o.unser(rec.data(), &none)) << o.name;
        EXPECT_EQ(4u, o.unserBounded(rec.data(), &none, nullptr)) << o.name;
        o.clean(nullptr);
    }
}

}  // namespace
