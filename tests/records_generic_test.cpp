// For every record type: random records of every shape serialize to exactly
// serialize_lg bytes, read back (plain and bounded) to the same bytes, and
// copy preserves them; a wrong tag on any item of them gives code 4 with
// the failure line and the "Error Before" chain at every level above, and a
// failure record with the item, its record and the member path to it.
#include <stdlib.h>
#include <string.h>

#include <memory>
#include <random>

#include "record_ops.h"
#include "testkit.h"
#include "types/described.h"
#include "types/names.h"

using namespace ivtest;

namespace {

using Rng = std::mt19937;

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

template <class T>
void checkType(int rounds)
{
    Rng rng(12345u + (uint32_t)sizeof(T));
    for (int r = 0; r < rounds; ++r) {
        std::unique_ptr<T> rec(new T()), back(new T()), copied(new T()), bounded(new T());
        fillRandom(iv::descOf<T>(), (uint8_t *)rec.get(), rng);

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

        // Only pad bytes are left unwritten: into a buffer of other bytes the
        // record serializes to what reads back the same.
        std::vector<uint8_t> dirty(lg, 0xFF);
        w = dirty.data();
        ASSERT_EQ(0u, Ops<T>::ser(rec.get(), &w));
        std::unique_ptr<T> fromDirty(new T());
        ASSERT_EQ(0u, decode(dirty, *fromDirty).rc) << Ops<T>::name;
        ASSERT_EQ(buf, encode(*fromDirty)) << Ops<T>::name;

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

// ---- a wrong tag on every item ------------------------------------------------

// An item of the serialized record, and the lines that a wrong tag on it gives.
using Step = iv::ReadFailure::Level;

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

template <class T>
void checkChains()
{
    Rng rng(777u + (uint32_t)sizeof(T));
    std::unique_ptr<T> rec(new T());
    fillRandom(iv::descOf<T>(), (uint8_t *)rec.get(), rng);
    // Lines name the input by address: every case reads from this one buffer.
    std::vector<uint8_t> bytes = encode(*rec);
    Walk w{bytes.data(), {}, {}};
    size_t end = 0;
    w.record(iv::descOf<T>(), (const uint8_t *)rec.get(), end, {});
    ASSERT_EQ(bytes.size(), end) << Ops<T>::name;

    // Large records: a stride through their items still meets every level.
    size_t stride = w.items.size() > 300 ? 7 : 1;
    for (size_t k = 0; k < w.items.size(); k += stride) {
        const Failing &f = w.items[k];
        uint8_t &tagByte = bytes[f.offset + (f.wide ? 7 : 3)];
        tagByte += kWrong;
        for (bool bounded : {false, true}) {
            clearLogs();
            std::unique_ptr<T> back(new T());
            const uint8_t *p = bytes.data();
            uint32_t rc = bounded ? Ops<T>::unserBounded(back.get(), &p, bytes.data() + bytes.size())
                                  : Ops<T>::unser(back.get(), &p);
            ASSERT_EQ(4u, rc) << Ops<T>::name << " item at " << f.offset;
            ASSERT_EQ((long)f.offset, p - bytes.data()) << Ops<T>::name;
            ASSERT_EQ(f.lines, lines()) << Ops<T>::name << " item at " << f.offset;
            // The record the lines were formatted from.
            iv::ReadFailure got{};
            got.start = bytes.data();
            p = bytes.data();
            ASSERT_EQ(4u, iv::readRecord(iv::descOf<T>(), back.get(), &p,
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

class Chains : public LogTest {};

#define IVT_CHAINS(T) \
    TEST_F(Chains, T) { checkChains<T>(); }
INTFVELMOR_RECORD_TYPES(IVT_CHAINS)

// Null records and positions: refused with code 4, measured as 0, cleaned as nothing.
template <class T>
void checkNulls()
{
    std::unique_ptr<T> rec(new T());
    const uint8_t *none = nullptr;
    uint8_t *nowhere = nullptr;
    EXPECT_EQ(4u, Ops<T>::copy(nullptr, rec.get())) << Ops<T>::name;
    EXPECT_EQ(4u, Ops<T>::copy(rec.get(), nullptr)) << Ops<T>::name;
    EXPECT_EQ(0u, Ops<T>::lg(nullptr)) << Ops<T>::name;
    EXPECT_EQ(4u, Ops<T>::ser(rec.get(), &nowhere)) << Ops<T>::name;
    EXPECT_EQ(4u, Ops<T>::unser(rec.get(), &none)) << Ops<T>::name;
    EXPECT_EQ(4u, Ops<T>::unserBounded(rec.get(), &none, nullptr)) << Ops<T>::name;
    Ops<T>::clean(nullptr);
}

TEST(Nulls, EveryType)
{
#define IVT_NULLS(T) checkNulls<T>();
    INTFVELMOR_RECORD_TYPES(IVT_NULLS)
#undef IVT_NULLS
}

}  // namespace
