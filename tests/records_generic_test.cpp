// For every record type: random records of every shape serialize to exactly
// serialize_lg bytes, read back (plain and bounded) to the same bytes, and
// copy preserves them; a wrong tag on any item of them gives code 4 with
// the failure line and the "Error Before" chain at every level above, and a
// failure record with the item, its record and the member path to it.
//
// The checks run on a type through its description and untyped operations,
// compiled once for all types: each type is a parameter, not an instantiation.
#include <stdlib.h>
#include <string.h>

#include <random>

#include "record_ops.h"
#include "testkit.h"
#include "types/described.h"
#include "types/names.h"

using namespace ivtest;

namespace {

using Rng = std::mt19937;

// A record type: its description and operations.
struct Type {
    const char *name;
    const iv::TypeDesc *desc;
    const AnyOps *ops;
};

const std::vector<Type> &types()
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

std::vector<uint8_t> encodeAny(const AnyOps &o, const Rec &rec)
{
    uint32_t lg = o.lg(rec.data());
    std::vector<uint8_t> buf(lg + 16, 0);
    uint8_t *p = buf.data();
    EXPECT_EQ(0u, o.ser(rec.data(), &p)) << o.name;
    EXPECT_EQ((size_t)lg, (size_t)(p - buf.data())) << o.name;
    buf.resize((size_t)(p - buf.data()));
    return buf;
}

Decoded decodeAny(const AnyOps &o, const std::vector<uint8_t> &bytes, Rec &out, bool bounded)
{
    const uint8_t *p = bytes.data();
    uint32_t rc = bounded ? o.unserBounded(out.data(), &p, bytes.data() + bytes.size())
                          : o.unser(out.data(), &p);
    return {rc, (size_t)(p - bytes.data())};
}

void fillRandom(const iv::TypeDesc &d, uint8_t *rec, Rng &rng)
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

// Every record type, as a parameter of the suites below.
class EveryType : public LogTest, public testing::WithParamInterface<size_t> {
protected:
    const Type &type() const { return types()[GetParam()]; }
};

std::string typeName(const testing::TestParamInfo<size_t> &info)
{
    return types()[info.param].name;
}

class Property : public EveryType {};

TEST_P(Property, RoundTrips) { checkType(type(), 100); }
INSTANTIATE_TEST_SUITE_P(Records, Property, testing::Range<size_t>(0, types().size()), typeName);



// ---- a wrong tag on every item ------------------------------------------------

// An item of the serialized record, and the lines that a wrong tag on it gives.
using Step = iv::ReadFailure::Step;

struct Failing {
    size_t offset, base;  // of the item, of the record that reports it
    uint32_t tag;
    bool wide;  // a 64-bit item
    std::vector<Step> path;  // innermost first
    Lines lines;
};

uint32_t be32(const uint8_t *p) { return (uint32_t)p[0] << 24 | p[1] << 16 | p[2] << 8 | p[3]; }

uint32_t countOf(const iv::Field &f, const uint8_t *rec)
{
    uint32_t n = f.countIn(rec);
    return n < f.cap ? n : f.cap;
}

constexpr uint32_t kWrong = 0x40;  // added to a tag

struct Walk {
    const uint8_t *bytes;
    std::vector<Failing> items;
    std::vector<Step> outer;  // the steps into the record being walked, outermost first

    // "Error Before" for the members after field i that write an item at this
    // level. The record read into starts zero-filled, so a later array of
    // scalars has no elements to log.
    Lines laterChain(const iv::TypeDesc &d, uint16_t i, const std::string &fn, size_t base)
    {
        Lines out;
        for (++i; i < d.count; ++i) {
            const iv::Field &f = iv::fieldsOf(d)[i];
            if (f.form == iv::Form::ArrayRec || f.form == iv::Form::ArrayU32)
                out.push_back(errorBeforeLine(fn, bytes + base, f.countTag()));
            else if (f.form != iv::Form::Record && f.form != iv::Form::Table)
                out.push_back(errorBeforeLine(fn, bytes + base, f.tag));
        }
        return out;
    }

    void item(size_t &off, Step at, uint32_t tag, bool wide, const std::string &fn, size_t base,
              const Lines &after)
    {
        uint32_t len = wide ? 8 : be32(bytes + off + 4);
        std::vector<Step> path{at};
        path.insert(path.end(), outer.rbegin(), outer.rend());
        items.push_back({off, base, tag, wide, path,
                         Lines{tlLine(fn, bytes + base, tag + kWrong, len, tag)} + after});
        off += wide ? 24 : 8 + len;
    }

    void nested(Step at, const iv::TypeDesc &d, const uint8_t *rec, size_t &off, const Lines &above)
    {
        outer.push_back(at);
        record(d, rec, off, above);
        outer.pop_back();
    }

    void record(const iv::TypeDesc &d, const uint8_t *rec, size_t &off, const Lines &above)
    {
        std::string fn = unserializeFn(d.name());
        size_t base = off;
        for (uint16_t i = 0; i < d.count; ++i) {
            const iv::Field &f = iv::fieldsOf(d)[i];
            const uint8_t *m = rec + f.offset;
            Lines after = laterChain(d, i, fn, base) + above;
            const Step whole{(uint8_t)i, iv::ReadFailure::kWhole};
            const Step count{(uint8_t)i, iv::ReadFailure::kCount};
            switch (f.form) {
            case iv::Form::Record: nested(whole, *f.sub(), m, off, after); break;
            case iv::Form::Table:
                for (uint32_t k = 0; k < f.cap; ++k)
                    nested({(uint8_t)i, (uint16_t)k}, *f.sub(), m + k * f.stride(), off, after);
                break;
            case iv::Form::ArrayRec:
                item(off, count, f.countTag(), false, fn, base, after);
                for (uint32_t k = 0; k < countOf(f, rec); ++k)
                    nested({(uint8_t)i, (uint16_t)k}, *f.sub(), m + k * f.stride(), off, after);
                break;
            case iv::Form::ArrayU32: {
                item(off, count, f.countTag(), false, fn, base, after);
                uint32_t n = countOf(f, rec);
                for (uint32_t k = 0; k < n; ++k)
                    item(off, {(uint8_t)i, (uint16_t)k}, f.tag, false, fn, base,
                         errorBeforeLines(fn, bytes + base, f.tag, f.tag, (int)(n - k - 1)) + after);
                break;
            }
            default: item(off, whole, f.tag, f.form == iv::Form::U64, fn, base, after); break;
            }
        }
    }
};

void checkChains(const Type &t)
{
    const AnyOps &o = *t.ops;
    Rng rng(777u + (uint32_t)o.size);
    Rec rec(o.size);
    fillRandom(*t.desc, rec.data(), rng);
    // Lines name the input by address: every case reads from this one buffer.
    std::vector<uint8_t> bytes = encodeAny(o, rec);
    Walk w{bytes.data(), {}, {}};
    size_t end = 0;
    w.record(*t.desc, rec.data(), end, {});
    ASSERT_EQ(bytes.size(), end) << o.name;

    // Large records: a stride through their items still meets every level.
    size_t stride = w.items.size() > 300 ? 7 : 1;
    for (size_t k = 0; k < w.items.size(); k += stride) {
        const Failing &f = w.items[k];
        uint8_t &tagByte = bytes[f.offset + (f.wide ? 7 : 3)];
        tagByte += kWrong;
        for (bool bounded : {false, true}) {
            clearLogs();
            Rec back(o.size);
            Decoded d = decodeAny(o, bytes, back, bounded);
            ASSERT_EQ(4u, d.rc) << o.name << " item at " << f.offset;
            ASSERT_EQ(f.offset, d.consumed) << o.name;
            ASSERT_EQ(f.lines, lines()) << o.name << " item at " << f.offset;
            // The record the lines were formatted from.
            iv::ReadFailure got{};
            got.start = bytes.data();
            const uint8_t *p = bytes.data();
            ASSERT_EQ(4u, iv::readRecord(*t.desc, back.data(), &p,
                                         bounded ? bytes.data() + bytes.size() : nullptr, got));
            EXPECT_EQ(iv::ReadFailure::kWrongTag, got.reason);
            EXPECT_EQ(f.tag, got.tag);
            EXPECT_EQ(f.tag + kWrong, got.found);
            EXPECT_EQ(f.offset, got.offset);
            EXPECT_EQ(f.base, got.base);
            ASSERT_EQ(std::min<size_t>(f.path.size(), iv::ReadFailure::kMaxDepth), got.depth);
            for (size_t s = 0; s < got.depth; ++s) {
                EXPECT_EQ(f.path[s].field, got.path[s].field) << "step " << s;
                EXPECT_EQ(f.path[s].element, got.path[s].element) << "step " << s;
            }
        }
        tagByte -= kWrong;
    }
    clearLogs();
}

class Chains : public EveryType {};

TEST_P(Chains, WrongTagOnEveryItem) { checkChains(type()); }
INSTANTIATE_TEST_SUITE_P(Records, Chains, testing::Range<size_t>(0, types().size()), typeName);

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
