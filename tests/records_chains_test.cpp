// For every record type: a wrong tag on any item of a random record gives
// code 4 with the failure line and the "Error Before" chain at every level
// above, and a failure record with the item, its record and the member path
// to it.
#include <algorithm>

#include "record_types.h"

using namespace ivtest;

namespace {

// An item of the serialized record, and the lines that a wrong tag on it gives.
using Level = iv::ReadFailure::Level;

struct Failing {
    size_t offset, base;  // of the item, of the record that reports it
    uint32_t tag;
    bool wide;  // a 64-bit item
    std::vector<Level> path;  // innermost first
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
    std::vector<Level> outer;  // the steps into the record being walked, outermost first

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

    void item(size_t &off, Level at, uint32_t tag, bool wide, const std::string &fn, size_t base,
              const Lines &after)
    {
        uint32_t len = wide ? 8 : be32(bytes + off + 4);
        std::vector<Level> path{at};
        path.insert(path.end(), outer.rbegin(), outer.rend());
        items.push_back({off, base, tag, wide, path,
                         Lines{tlLine(fn, bytes + base, tag + kWrong, len, tag)} + after});
        off += wide ? 24 : 8 + len;
    }

    void nested(Level at, const iv::TypeDesc &d, const uint8_t *rec, size_t &off, const Lines &above)
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
            const Level whole{(uint8_t)i, iv::ReadFailure::kWhole};
            const Level count{(uint8_t)i, iv::ReadFailure::kCount};
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
}  // namespace
