#include "wire/engine.h"

#include <string.h>

#include <utility>

#include "wire/bytes.h"

namespace iv {

static uint32_t readText(const Reporter &who, const uint8_t *&p, const uint8_t *end, uint32_t tag,
                         char *dst, uint32_t cap);

namespace {

constexpr uint32_t kMalformed = 4;

// Truncates a wire value to the member's width.
void storeScalar(Op op, uint8_t *m, uint32_t v)
{
    switch (scalarWidth(op)) {
    case 1: *m = (uint8_t)v; break;
    case 2: *(uint16_t *)m = (uint16_t)v; break;
    default: *(uint32_t *)m = v; break;
    }
}

// The elements a table's or an array's step covers: a table all of them, an
// array its count (the last member of the scalar run right before it, a u8
// or a u32), at most the bound.
uint32_t elements(const Step *s, const uint8_t *rec)
{
    if (s->op == Op::Table)
        return s->bound;
    const Step &run = s[-1];
    const uint8_t *c = rec + run.offset + (run.n - 1u) * scalarWidth(run.op);
    uint32_t n = run.op == Op::U8 ? *c : *(const uint32_t *)c;
    return n < s->bound ? n : s->bound;
}

// Characters of a text member; a member without its NUL counts as N - 1.
uint32_t textLen(const char *s, uint32_t cap) { return (uint32_t)strnlen(s, cap - 1); }

FnName unserializeName(const TypeDesc &d) { return {"intfVelmor_%s_unserialize", d.name()}; }

// Bytes left before end; end null means the item lengths are trusted.
inline bool short_of(const uint8_t *p, const uint8_t *end, uint32_t n)
{
    return end && (uint32_t)(end - p) < n;
}

// Whether the step over an item (its head and declared length) moves the
// position forward. A step that overflows 32 bits is refused from the length
// alone, so the same bytes fail on every target; on a 32-bit target a step
// that would wrap the position round the address space, back behind it, is
// refused as well. Lengths are otherwise trusted when there is no end.
inline bool stepFits(const uint8_t *p, uint32_t head, uint32_t len)
{
    uint32_t step = head + len;
    if (step < len)
        return false;
    return sizeof(uintptr_t) > 4 || step <= UINTPTR_MAX - (uintptr_t)p;
}

// The refusal of the item at p, recorded: the fields that the reason needs
// are filled in by the caller, then report() logs the line from the record.
ReadFailure &refusal(const Reporter &who, const uint8_t *p, ReadFailure::Reason why,
                     uint32_t tag)
{
    ReadFailure &f = *who.fail;
    f.refuse(why, tag, (uint32_t)(p - f.start), (uint32_t)(who.base - f.start), tag);
    return f;
}

// The line of a refused member item, from its record.
uint32_t report(const Reporter &who)
{
    const ReadFailure &f = *who.fail;
    const void *base = who.base;
    switch (f.reason) {
    case ReadFailure::kTruncated:
        IV_LOG(kErr, who.fn, "pBody(%p): Type(%d) -> Truncated(%u)\n", base, (int)f.tag,
               f.left);
        break;
    case ReadFailure::kBeyondEnd:
        IV_LOG(kErr, who.fn, "pBody(%p): Tl(%u-%u) -> Beyond end(%u)\n", base, f.tag,
               (uint32_t)f.length, f.left);
        break;
    case ReadFailure::kNoStep:
        IV_LOG(kErr, who.fn, "pBody(%p): Tl(%u-%u) -> Beyond end\n", base, f.tag,
               (uint32_t)f.length);
        break;
    case ReadFailure::kWrongTag:
        IV_LOG(kErr, who.fn, "pBody(%p): Tl(%llu-%llu) expectded(%u)\n", base,
               (unsigned long long)f.found, (unsigned long long)f.length, f.tag);
        break;
    case ReadFailure::kNoNul:
        IV_LOG(kErr, who.fn, "pBody(%p): Tl(%u-%u) -> No NUL\n", base, f.tag,
               (uint32_t)f.length);
        break;
    case ReadFailure::kTextTooLong:
        IV_LOG(kErr, who.fn, "lgChainIn(%d) lgMaxChainOut(%d)\n", (int)(f.textLen + 1),
               (int)f.cap);
        break;
    default: break;  // frame refusals are the frame's to report
    }
    return kMalformed;
}

uint32_t truncated(const Reporter &who, const uint8_t *p, const uint8_t *end, uint32_t tag)
{
    refusal(who, p, ReadFailure::kTruncated, tag).left = (uint32_t)(end - p);
    return report(who);
}

// An item that cannot be stepped over; with an end, the bytes left after its
// head are recorded.
uint32_t beyondEnd(const Reporter &who, const uint8_t *p, const uint8_t *end, uint32_t head,
                   uint32_t tag, uint32_t len)
{
    ReadFailure &f = refusal(who, p, end ? ReadFailure::kBeyondEnd : ReadFailure::kNoStep, tag);
    f.length = len;
    f.left = end ? (uint32_t)(end - p) - head : 0;
    return report(who);
}

uint32_t wrongTag(const Reporter &who, const uint8_t *p, uint32_t tag, uint64_t found,
                  uint64_t len)
{
    ReadFailure &f = refusal(who, p, ReadFailure::kWrongTag, tag);
    f.found = found;
    f.length = len;
    return report(who);
}

uint32_t readScalar64(const Reporter &who, const uint8_t *&p, const uint8_t *end, uint32_t tag,
                      uint64_t &value)
{
    if (short_of(p, end, 16))
        return truncated(who, p, end, tag);
    uint64_t t = rd64(p), l = rd64(p + 8);
    if (t != tag)
        return wrongTag(who, p, tag, t, l);
    uint32_t skip = (uint32_t)l;
    if (!stepFits(p, 16, skip) ||
        (end && (short_of(p, end, 24) || skip > (uint32_t)(end - p) - 16)))
        return beyondEnd(who, p, end, 16, tag, skip);
    value = rd64(p + 16);
    p += 16 + (size_t)skip;
    return 0;
}

// Member k of the scalar run s, whose first member is at m: read and stored.
uint32_t readRunMember(const Reporter &who, const uint8_t *&p, const uint8_t *end, const Step &s,
                       uint32_t k, uint8_t *m)
{
    uint32_t err;
    if (s.op == Op::U64) {
        uint64_t w = 0;
        if (!(err = readScalar64(who, p, end, s.tag + k, w)))
            store64(m + 8 * k, w);
    } else {
        uint32_t v = 0;
        if (!(err = readScalar32(who, p, end, s.tag + k, v)))
            storeScalar(s.op, m + k * scalarWidth(s.op), v);
    }
    return err;
}

// Runs an out-of-line reader on a copy of the position, so that the reading
// loop's own position never has its address taken.
template <class Reader>
inline uint32_t fromCopy(const uint8_t *&p, Reader reader)
{
    const uint8_t *q = p;
    uint32_t err = reader(q);
    p = q;
    return err;
}

// ---- the walks over a type's steps ----------------------------------------------------

inline uint32_t widen(Op op, const uint8_t *m)
{
    switch (op) {
    case Op::U8: return *m;
    case Op::I8: return (uint32_t)(int32_t) * (const int8_t *)m;
    case Op::U16: return *(const uint16_t *)m;
    case Op::I16: return (uint32_t)(int32_t) * (const int16_t *)m;
    default: return *(const uint32_t *)m;
    }
}

// Copies a text's n bytes. Where the code is built for speed, texts of up to
// 32 characters (most of them) go as words that may overlap, which never
// touch a byte outside [src, src + n) or [dst, dst + n): a call to memcpy
// costs more than the copy. Built for size, memcpy does it all.
inline void copyText(uint8_t *dst, const uint8_t *src, uint32_t n)
{
#ifndef __OPTIMIZE_SIZE__
    if (n >= 8 && n <= 32) {
        uint64_t a = load64(src), b = load64(src + n - 8);
        if (n > 16) {
            uint64_t c = load64(src + 8), d = load64(src + n - 16);
            store64(dst + 8, c);
            store64(dst + n - 16, d);
        }
        store64(dst, a);
        store64(dst + n - 8, b);
        return;
    }
    if (n >= 4 && n < 8) {
        uint32_t a = load32(src), b = load32(src + n - 4);
        store32(dst, a);
        store32(dst + n - 4, b);
        return;
    }
    if (n < 4) {
        for (uint32_t i = 0; i < n; ++i)
            dst[i] = src[i];
        return;
    }
#endif
    memcpy(dst, src, n);
}

// Writes n scalar32 items from members of `width` bytes.
inline uint8_t *putRun(uint8_t *p, const uint8_t *m, Head32 head, uint32_t n, Op op,
                       uint32_t width)
{
    for (uint32_t i = 0; i < n; ++i) {
        head.put(p);
        wr32(p + 8, widen(op, m + i * width));
        head.next();
        p += kScalar32Size;
    }
    return p;
}

// What the quick readers return when every item was as written; else the
// number of members (or elements) of the step that were, read and stored.
constexpr uint32_t kAll = 0xFFFFFFFF;

// Reads n scalar32 items, whose bytes are known to be there, into members
// of `width` bytes, as long as each is exactly tag, length 4, value: kAll,
// or how many were; pos is past them.
inline uint32_t getRun(const uint8_t *&pos, uint8_t *m, Head32 head, uint32_t n, uint32_t width)
{
    const uint8_t *p = pos;
    for (uint32_t i = 0; i < n; ++i) {
        if (!head.at(p)) {
            pos = p;
            return i;
        }
        uint32_t v = rd32(p + 8);
        uint8_t *to = m + i * width;
        if (width == 1)
            *to = (uint8_t)v;
        else if (width == 2)
            *(uint16_t *)to = (uint16_t)v;
        else
            *(uint32_t *)to = v;
        head.next();
        p += kScalar32Size;
    }
    pos = p;
    return kAll;
}

// Where the code is built for speed, each member width gets a loop of its
// own (the width a constant in it); built for size, one loop serves them all.
#ifdef __OPTIMIZE_SIZE__
#define IV_BY_WIDTH(op, call1, call2, call4) call1
#else
#define IV_BY_WIDTH(op, call1, call2, call4) \
    ((op) <= Op::I8 ? (call1) : (op) <= Op::I16 ? (call2) : (call4))
#endif

// One scalar step: its run of items written by one loop for every width.
inline uint8_t *putScalarsLoop(const Step *s, const uint8_t *rec, uint8_t *p)
{
    const uint8_t *m = rec + s->offset;
    if (s->op == Op::U64) {
        for (uint32_t i = 0; i < s->n; ++i)
            p = putScalar64(p, s->tag + i, load64(m + 8 * i));
        return p;
    }
    return putRun(p, m, Head32(s->tag, true), s->n, s->op, scalarWidth(s->op));
}

#ifdef __OPTIMIZE_SIZE__
inline uint8_t *putScalars(const Step *s, const uint8_t *rec, uint8_t *p)
{
    return putScalarsLoop(s, rec, p);
}
#else
// Built for speed, a run of up to eight members goes as straight-line code,
// reached by one jump on its member type and length: a loop's bookkeeping
// and the dispatch on the width cost more than the items themselves. Longer
// runs, which are rare, take the loop.
template <class T, size_t... K>
__attribute__((always_inline)) inline uint8_t *putEach(uint8_t *p, const uint8_t *m,
                                                       uint32_t tag, std::index_sequence<K...>)
{
    if constexpr (sizeof(T) == 8) {
        ((p = putScalar64(p, tag + K, load64(m + 8 * K))), ...);
        return p;
    } else {
        Head32 head(tag, true);
        ((head.put(p + kScalar32Size * K),
          wr32(p + kScalar32Size * K + 8, (uint32_t)(*(const T *)(m + sizeof(T) * K))),
          head.next()),
         ...);
        return p + kScalar32Size * sizeof...(K);
    }
}

constexpr uint32_t kUnrolled = 8;
constexpr uint32_t unrolledCase(Op op, uint32_t n) { return (uint32_t)op * kUnrolled + n - 1; }

__attribute__((always_inline)) inline uint8_t *putScalars(const Step *s, const uint8_t *rec,
                                                          uint8_t *p)
{
    if (s->n > kUnrolled)
        return putScalarsLoop(s, rec, p);
    const uint8_t *m = rec + s->offset;
    uint32_t tag = s->tag;
    switch (unrolledCase(s->op, s->n)) {
#define IV_PUT_CASE(op, T, n)                                                     \
    case unrolledCase(Op::op, n):                                                 \
        return putEach<T>(p, m, tag, std::make_index_sequence<n>());
#define IV_PUT_CASES(op, T)                                                       \
    IV_PUT_CASE(op, T, 1) IV_PUT_CASE(op, T, 2) IV_PUT_CASE(op, T, 3) IV_PUT_CASE(op, T, 4) \
    IV_PUT_CASE(op, T, 5) IV_PUT_CASE(op, T, 6) IV_PUT_CASE(op, T, 7) IV_PUT_CASE(op, T, 8)
        IV_PUT_CASES(U8, uint8_t)
        IV_PUT_CASES(I8, int8_t)
        IV_PUT_CASES(U16, uint16_t)
        IV_PUT_CASES(I16, int16_t)
        IV_PUT_CASES(U32, uint32_t)
        IV_PUT_CASES(U64, uint64_t)
#undef IV_PUT_CASES
#undef IV_PUT_CASE
    default: __builtin_unreachable();  // every scalar form and length up to 8 has its case
    }
}
#endif

// One scalar step read quickly: its items as long as each is exactly tag,
// length, value, the bytes of its group checked first when it is the
// group's first step. kAll, or the members read when an item is not as
// written or the group's bytes are not all there; p is past them.
inline uint32_t getScalars(const Step *s, uint8_t *rec, const uint8_t *&p, const uint8_t *end)
{
    uint8_t *m = rec + s->offset;
    if (s->bound && end && (uint32_t)(end - p) < s->bound)
        return 0;
    if (s->op == Op::U64) {
        uint64_t len = word64(8);
        for (uint32_t i = 0; i < s->n; ++i) {
            if (load64(p) != word64(s->tag + i) || load64(p + 8) != len)
                return i;
            store64(m + 8 * i, rd64(p + 16));
            p += kScalar64Size;
        }
        return kAll;
    }
    Head32 head(s->tag, true);
    return IV_BY_WIDTH(s->op, getRun(p, m, head, s->n, scalarWidth(s->op)),
                       getRun(p, m, head, s->n, 2), getRun(p, m, head, s->n, 4));
}

// One text item read quickly, when it is complete before end, has its tag,
// and holds its NUL within its length and its field.
inline bool getText(const Step *s, uint8_t *at, const uint8_t *&p, const uint8_t *end)
{
    if (end && (uint32_t)(end - p) < 8)
        return false;
    uint32_t l = rd32(p + 4);
    if (rd32(p) != s->tag || !stepFits(p, 8, l) || (end && l > (uint32_t)(end - p) - 8))
        return false;
    const uint8_t *nul = (const uint8_t *)memchr(p + 8, 0, l);
    if (!nul || (uint32_t)(nul - (p + 8)) + 1 > s->bound)
        return false;
    memcpy(at, p + 8, (size_t)(nul - (p + 8)) + 1);
    p += 8 + (size_t)l;
    return true;
}

// What a read needs beyond its position, the same at every level: the end
// (null: trust item lengths), where a refusal is recorded, and the message
// body, if any, whose own level reports as its callback.
struct Reading {
    const uint8_t *end;
    ReadFailure *fail;
    const TypeDesc *body;
    const Reporter *bodyReporter;

    // Who reports a refusal in the level of type d that starts at `start`:
    // a record as its own unserialize, the body's level as the body's callback.
    Reporter reporter(const TypeDesc &d, const uint8_t *start) const
    {
        return &d == body ? *bodyReporter : Reporter{unserializeName(d), start, fail};
    }
};

// A position being read, with the read it belongs to: a level passes its
// own to the levels nested in it.
struct Cursor {
    const uint8_t *p;
    const Reading *r;
};

// The walks over a type's steps, one per operation (copy, length, write,
// read), and the reader's hand-over and unwinding paths.
struct Walk {
    // Types whose steps are all scalar runs take these (writeFlat only where
    // built for size): they call nothing, so they keep everything in registers.
    static uint8_t *writeFlat(const TypeDesc &d, const uint8_t *rec, uint8_t *p)
    {
        for (const Step *s = d.steps(), *e = s + d.nsteps; s != e; ++s)
            p = putScalars(s, rec, p);
        return p;
    }
    // Reads quickly: kAll, or at the first item that is not as written, k
    // of getScalars with s and p where it is.
    static uint32_t getFlat(const TypeDesc &d, uint8_t *rec, const uint8_t *&p,
                            const uint8_t *end, const Step *&at)
    {
        for (const Step *s = d.steps(), *e = s + d.nsteps; s != e; ++s) {
            uint32_t k = getScalars(s, rec, p, end);
            if (k != kAll) {
                at = s;
                return k;
            }
        }
        return kAll;
    }
    static uint32_t readFlat(const TypeDesc &d, uint8_t *rec, Cursor &at)
    {
        const uint8_t *p = at.p;
        const Step *s;
        uint32_t k = getFlat(d, rec, p, at.r->end, s);
        if (k != kAll)
            return readOn(d, rec, at.p, s, k, p, *at.r);
        at.p = p;
        return 0;
    }
    static uint8_t *put(const TypeDesc &d, const uint8_t *rec, uint8_t *p)
    {
#ifdef __OPTIMIZE_SIZE__
        if (!d.nvars)
            return writeFlat(d, rec, p);
#endif
        // Built for speed, the writer's straight-line runs are code enough to
        // keep once: write() takes the flat types too.
        return write(d, rec, p);
    }
    // Built for size, read() takes records of scalar runs too: one reader
    // less to keep.
    static uint32_t get(const TypeDesc &d, uint8_t *rec, Cursor &at)
    {
#ifdef __OPTIMIZE_SIZE__
        return read(d, rec, at);
#else
        return d.nvars ? read(d, rec, at) : readFlat(d, rec, at);
#endif
    }
    // The same for a nested record: a record of scalar runs is read out of
    // line, where the level that reads it keeps its registers.
    __attribute__((noinline)) static uint32_t readFlatOutOfLine(const TypeDesc &d, uint8_t *rec,
                                                                Cursor &at)
    {
        return readFlat(d, rec, at);
    }
    static uint32_t getNested(const TypeDesc &d, uint8_t *rec, Cursor &at)
    {
#ifdef __OPTIMIZE_SIZE__
        return read(d, rec, at);
#else
        return d.nvars ? read(d, rec, at) : readFlatOutOfLine(d, rec, at);
#endif
    }
    static uint32_t getAt(const TypeDesc &d, uint8_t *rec, const uint8_t *&pos, const Reading &r)
    {
        Cursor at{pos, &r};
        uint32_t err = get(d, rec, at);
        pos = at.p;
        return err;
    }
    static uint32_t size(const TypeDesc &d, const uint8_t *rec)
    {
        return d.nvars ? length(d, rec) : d.fixedWire;
    }
    // A description whose only step is a nested record (most message bodies,
    // a few records) has that record's items at that record's offset: the
    // entry points below go straight to it, with no level of their own.
    // Nested calls do not look: wrappers are rare inside records.
    template <class Byte>
    static const TypeDesc &innermost(const TypeDesc &d, Byte *&rec)
    {
        const TypeDesc *t = &d;
        while (t->nsteps == 1 && t->steps()->op == Op::Record) {
            rec += t->steps()->offset;
            t = &t->steps()->sub();
        }
        return *t;
    }
    // The entry points' walks, from a description that may be a wrapper;
    // inline, so that the bounded record export calls nothing before reading.
    static uint8_t *putOuter(const TypeDesc &outer, const uint8_t *rec, uint8_t *p)
    {
        const TypeDesc &d = innermost(outer, rec);
        return put(d, rec, p);
    }
    // A record of scalar runs is read with nothing set up for a refusal
    // until one happens (flatRefused). `bodyReporter`: the reporter of a
    // message body's level, null for a record's. The wrappers' levels have
    // no other member: a failure inside adds their levels to the path, and
    // no line of their own.
    static uint32_t getOuter(const TypeDesc &outer, uint8_t *rec, const uint8_t *&pos,
                             const uint8_t *end, ReadFailure *fail,
                             const Reporter *bodyReporter)
    {
        uint8_t *at = rec;
        const TypeDesc &d = innermost(outer, at);
#ifndef __OPTIMIZE_SIZE__
        if (!d.nvars) {
            const uint8_t *p = pos;
            const Step *s;
            uint32_t k = getFlat(d, at, p, end, s);
            if (k != kAll)
                return flatRefused(outer, d, at, pos, s, k, p, end, fail, bodyReporter);
            pos = p;
            return 0;
        }
#endif
        const Reading r{end, fail, bodyReporter ? &outer : nullptr, bodyReporter};
        Cursor c{pos, &r};
        uint32_t err = read(d, at, c);
        pos = c.p;
        if (err && &d != &outer)
            wrappersFailed(outer, d, fail);
        return err;
    }
    static uint32_t sizeOuter(const TypeDesc &outer, const uint8_t *rec)
    {
        const TypeDesc &d = innermost(outer, rec);
        return size(d, rec);
    }
    static void copy(const TypeDesc &d, uint8_t *dst, const uint8_t *src);
    static uint32_t length(const TypeDesc &d, const uint8_t *rec);
    static uint8_t *write(const TypeDesc &d, const uint8_t *rec, uint8_t *p);
    static uint32_t read(const TypeDesc &d, uint8_t *rec, Cursor &at);
    __attribute__((cold)) static uint32_t readOn(const TypeDesc &d, uint8_t *rec, const uint8_t *&pos, const Step *s,
                           uint32_t k, const uint8_t *p, const Reading &r);
    __attribute__((cold)) static uint32_t nestedFailed(const TypeDesc &d, const uint8_t *rec, const uint8_t *&pos,
                                 const Step *s, uint32_t element, const uint8_t *p, uint32_t err,
                                 const Reading &r);
    __attribute__((cold)) static void wrappersFailed(const TypeDesc &outer, const TypeDesc &inner,
                                                     ReadFailure *fail);
    __attribute__((cold)) static uint32_t flatRefused(const TypeDesc &outer, const TypeDesc &d,
                                                      uint8_t *rec, const uint8_t *&pos,
                                                      const Step *s, uint32_t k, const uint8_t *p,
                                                      const uint8_t *end, ReadFailure *fail,
                                                      const Reporter *bodyReporter);
    static void errorsBefore(const Reporter &who, const uint8_t *rec, const Step *s,
                             uint32_t from, const Step *e);
};

void Walk::copy(const TypeDesc &d, uint8_t *dst, const uint8_t *src)
{
    for (const Step *s = d.steps(), *e = s + d.nsteps; s != e; ++s) {
        uint8_t *to = dst + s->offset;
        const uint8_t *from = src + s->offset;
        switch (s->op) {
        case Op::Text:
            strncpy((char *)to, (const char *)from, s->bound);
            to[s->bound - 1] = 0;
            break;
        case Op::Record: copy(s->sub(), to, from); break;
        case Op::ElemsU32: memcpy(to, from, (size_t)elements(s, src) * 4); break;
        case Op::ElemsRec:
        case Op::Table: {
            uint32_t n = elements(s, src);
            const TypeDesc &elem = s->sub();
            for (uint32_t i = 0; i < n; ++i)
                copy(elem, to + i * elem.size, from + i * elem.size);
            break;
        }
        default: memcpy(to, from, (size_t)s->n * scalarWidth(s->op)); break;
        }
    }
}

uint32_t Walk::length(const TypeDesc &d, const uint8_t *rec)
{
    // The scalar runs are counted in fixedWire: only the listed steps are visited.
    uint32_t len = d.fixedWire;
    const Step *steps = d.steps();
    for (const uint8_t *v = d.vars(), *e = v + d.nvars; v != e; ++v) {
        const Step *s = steps + *v;
        const uint8_t *m = rec + s->offset;
        switch (s->op) {
        case Op::Text: len += textItemSize(textLen((const char *)m, s->bound)); break;
        case Op::Record: len += size(s->sub(), m); break;
        case Op::ElemsU32: len += kScalar32Size * elements(s, rec); break;
        default: {  // ElemsRec, Table
            uint32_t n = elements(s, rec);
            const TypeDesc &elem = s->sub();
            for (uint32_t i = 0; i < n; ++i)
                len += size(elem, m + i * elem.size);
            break;
        }
        }
    }
    return len;
}

uint8_t *Walk::write(const TypeDesc &d, const uint8_t *rec, uint8_t *p)
{
    for (const Step *s = d.steps(), *e = s + d.nsteps; s != e; ++s) {
        // The scalar forms as case labels rather than isScalar(): see
        // bench/README.md on how the switch is laid out.
        switch (s->op) {
        case Op::U8:
        case Op::I8:
        case Op::U16:
        case Op::I16:
        case Op::U32:
        case Op::U64: p = putScalars(s, rec, p); break;
        default: {
            const uint8_t *at = rec + s->offset;
            switch (s->op) {
            case Op::Text: {
                // The pad bytes are counted but not written: buffers come zero-filled.
                uint32_t n = textLen((const char *)at, s->bound);
                uint32_t size = textItemSize(n);
                wr32(p, s->tag);
                wr32(p + 4, size - 8);
                copyText(p + 8, at, n);
                p[8 + n] = 0;
                p += size;
                break;
            }
            case Op::Record: p = put(s->sub(), at, p); break;
            case Op::ElemsU32:
                p = putRun(p, at, Head32(s->tag, false), elements(s, rec), Op::U32, 4);
                break;
            default: {  // ElemsRec, Table
                uint32_t n = elements(s, rec);
                const TypeDesc &elem = s->sub();
                for (uint32_t i = 0; i < n; ++i)
                    p = put(elem, at + i * elem.size, p);
                break;
            }
            }
            break;
        }
        }
    }
    return p;
}

// Reads one level, a record's or a body's members, at at.p. Each step is
// read quickly while its items are exactly as the writer writes them: every
// item complete before end, with its own tag and, for scalars, exactly the
// length of its value. At the first item that is not, readOn takes over
// from that item on, to the end of the level: it accepts what the format
// allows (a scalar item longer than its value, whose rest is skipped) and
// records and reports the first failure. Nested records are read by this
// same reader; a failure inside one is unwound here (nestedFailed). On
// return at.p is past what was read, or at the refused item.
uint32_t Walk::read(const TypeDesc &d, uint8_t *rec, Cursor &at)
{
    // The nested records' reads take this level's own cursor: the position
    // and, for their hand-over, the read.
    Cursor c{at.p, at.r};
    const uint8_t *&p = c.p, *end = at.r->end;
    const Step *s = d.steps(), *e = s + d.nsteps;
    uint32_t k = 0;  // where an item is not as written: the member or element of step s
    for (; s != e; ++s) {
        switch (s->op) {  // scalar forms as case labels, as in write()
        case Op::U8:
        case Op::I8:
        case Op::U16:
        case Op::I16:
        case Op::U32:
        case Op::U64:
            if ((k = getScalars(s, rec, p, end)) != kAll)
                goto itemByItem;
            break;
        default: {
            uint8_t *m = rec + s->offset;
            switch (s->op) {
            case Op::Text:  // one item: readOn does not look at k for it
                if (!getText(s, m, p, end))
                    goto itemByItem;
                break;
            case Op::Record:
                if (uint32_t err = getNested(s->sub(), m, c))
                    return nestedFailed(d, rec, at.p, s, ReadFailure::kWhole, p, err, *c.r);
                break;
            case Op::ElemsU32: {
                uint32_t n = elements(s, rec);
                k = 0;
                if (end && (uint32_t)(end - p) / kScalar32Size < n)
                    goto itemByItem;
                if ((k = getRun(p, m, Head32(s->tag, false), n, 4)) != kAll)
                    goto itemByItem;
                break;
            }
            default: {  // ElemsRec, Table
                uint32_t n = elements(s, rec);
                const TypeDesc &elem = s->sub();
                for (uint32_t i = 0; i < n; ++i)
                    if (uint32_t err = getNested(elem, m + i * elem.size, c))
                        return nestedFailed(d, rec, at.p, s, i, p, err, *c.r);
                break;
            }
            }
            break;
        }
        }
    }
    at.p = p;
    return 0;
itemByItem:
    return readOn(d, rec, at.p, s, k, p, *c.r);
}

// The rest of a level, from member (or element) k of step s at p, read item
// by item; pos is still the level's start. Reads up to the first failure and
// nothing after it: each later item of this level (scalar, text, count,
// scalar element) logs "Error Before"; later nested records and record
// elements stay silent.
uint32_t Walk::readOn(const TypeDesc &d, uint8_t *rec, const uint8_t *&pos, const Step *s,
                         uint32_t k, const uint8_t *p, const Reading &r)
{
    const Reporter who = r.reporter(d, pos);
    const uint8_t *end = r.end;
    uint32_t err = 0;
    const Step *e = d.steps() + d.nsteps;
    for (; s != e; ++s, k = 0) {
        uint8_t *m = rec + s->offset;
        uint32_t elem = ReadFailure::kWhole;  // on failure: the element that failed
        switch (s->op) {
        case Op::Text:
            err = fromCopy(p, [&](const uint8_t *&q) {
                return readText(who, q, end, s->tag, (char *)m, s->bound);
            });
            break;
        case Op::Record:
            err = fromCopy(p, [&](const uint8_t *&q) { return getAt(s->sub(), m, q, r); });
            break;
        case Op::Table:
        case Op::ElemsRec: {
            uint32_t n = elements(s, rec);
            const TypeDesc &sub = s->sub();
            for (uint32_t i = 0; i < n; ++i)
                if ((err = fromCopy(p, [&](const uint8_t *&q) {
                         return getAt(sub, m + i * sub.size, q, r);
                     }))) {
                    elem = i;
                    break;
                }
            break;
        }
        case Op::ElemsU32:
            // Once an element fails, the ones after it are not read.
            for (uint32_t i = k, n = elements(s, rec); i < n; ++i) {
                uint32_t v = 0;
                if (err)
                    errorBefore(who, s->tag);
                else if (!(err = fromCopy(p, [&](const uint8_t *&q) {
                               return readScalar32(who, q, end, s->tag, v);
                           })))
                    ((uint32_t *)m)[i] = v;
                else
                    elem = i;
            }
            break;
        default:  // scalar runs
            for (; k < s->n && !err; ++k)
                err = fromCopy(p, [&](const uint8_t *&q) {
                    return readRunMember(who, q, end, *s, k, m);
                });
            break;
        }
        if (err) {
            uint32_t field = s->field;
            if (isScalar(s->op)) {
                field += --k;  // the loop stepped past the failing member
                // A run's last member is a count when array elements follow.
                bool count = k + 1u == s->n && s + 1 != e &&
                             (s[1].op == Op::ElemsRec || s[1].op == Op::ElemsU32);
                elem = count ? ReadFailure::kCount : ReadFailure::kWhole;
            }
            r.fail->addLevel(field, elem);
            break;
        }
    }
    pos = p;
    if (err)
        errorsBefore(who, rec, s, k + 1, e);
    return err;
}

// A nested record of step s (or its element `element`) failed, with p where
// its read stopped: the level is unwound as readOn unwinds it.
uint32_t Walk::nestedFailed(const TypeDesc &d, const uint8_t *rec, const uint8_t *&pos,
                               const Step *s, uint32_t element, const uint8_t *p, uint32_t err,
                               const Reading &r)
{
    const Reporter who = r.reporter(d, pos);
    r.fail->addLevel(s->field, element);
    pos = p;
    errorsBefore(who, rec, s, 0, d.steps() + d.nsteps);
    return err;
}

#ifndef __OPTIMIZE_SIZE__
// A record of scalar runs at the top of a read (inside the wrappers of
// `outer`, if any) has an item that is not as written.
uint32_t Walk::flatRefused(const TypeDesc &outer, const TypeDesc &d, uint8_t *rec,
                              const uint8_t *&pos, const Step *s, uint32_t k, const uint8_t *p,
                              const uint8_t *end, ReadFailure *fail, const Reporter *bodyReporter)
{
    const Reading r{end, fail, bodyReporter ? &outer : nullptr, bodyReporter};
    uint32_t err = readOn(d, rec, pos, s, k, p, r);
    if (err && &d != &outer)
        wrappersFailed(outer, d, fail);
    return err;
}
#endif

// The path through the wrappers that getOuter skipped, innermost first.
void Walk::wrappersFailed(const TypeDesc &outer, const TypeDesc &inner, ReadFailure *fail)
{
    for (const TypeDesc *t = &inner; t != &outer;) {
        const TypeDesc *w = &outer;
        while (&w->steps()->sub() != t)
            w = &w->steps()->sub();
        fail->addLevel(w->steps()->field, ReadFailure::kWhole);
        t = w;
    }
}

// The members after a failure in step s, none of them read: in a scalar
// run the members after the failing one (from `from` on), then every later
// step.
void Walk::errorsBefore(const Reporter &who, const uint8_t *rec, const Step *s, uint32_t from,
                          const Step *e)
{
    if (isScalar(s->op))
        for (uint32_t k = from; k < s->n; ++k)
            errorBefore(who, s->tag + k);
    for (++s; s != e; ++s) {
        switch (s->op) {
        case Op::Text: errorBefore(who, s->tag); break;
        case Op::ElemsU32:
            for (uint32_t i = 0, n = elements(s, rec); i < n; ++i)
                errorBefore(who, s->tag);
            break;
        case Op::Record:
        case Op::Table:
        case Op::ElemsRec: break;
        default:
            for (uint32_t k = 0; k < s->n; ++k)
                errorBefore(who, s->tag + k);
            break;
        }
    }
}

}  // namespace

void errorBefore(const Reporter &who, uint32_t tag)
{
    IV_LOG(kErr, who.fn, "pBody(%p): Type(%d) -> Error Before\n", (const void *)who.base,
           (int)tag);
}

// Tag and length of a 32-bit item (scalar or text), the tag checked.
static uint32_t readHead32(const Reporter &who, const uint8_t *p, const uint8_t *end,
                           uint32_t tag, uint32_t &len)
{
    if (short_of(p, end, 8))
        return truncated(who, p, end, tag);
    uint32_t t = rd32(p);
    len = rd32(p + 4);
    if (t != tag)
        return wrongTag(who, p, tag, t, len);
    return 0;
}

uint32_t readScalar32(const Reporter &who, const uint8_t *&p, const uint8_t *end, uint32_t tag,
                      uint32_t &value)
{
    uint32_t l = 0;
    if (uint32_t rc = readHead32(who, p, end, tag, l))
        return rc;
    // The length is not compared with 4: whatever it declares is skipped.
    if (!stepFits(p, 8, l) || (end && (short_of(p, end, 12) || l > (uint32_t)(end - p) - 8)))
        return beyondEnd(who, p, end, 8, tag, l);
    value = rd32(p + 8);
    p += 8 + (size_t)l;
    return 0;
}

// One text item read, with its NUL, and checked against its field's N.
static uint32_t readText(const Reporter &who, const uint8_t *&p, const uint8_t *end, uint32_t tag,
                  char *dst, uint32_t cap)
{
    uint32_t l = 0;
    if (uint32_t rc = readHead32(who, p, end, tag, l))
        return rc;
    if (!stepFits(p, 8, l) || short_of(p + 8, end, l))
        return beyondEnd(who, p, end, 8, tag, l);
    // The scan never leaves the item, so a long text is measured in full.
    const uint8_t *nul = (const uint8_t *)memchr(p + 8, 0, l);
    if (!nul) {
        refusal(who, p, ReadFailure::kNoNul, tag).length = l;
        return report(who);
    }
    uint32_t n = (uint32_t)(nul - (p + 8));
    if (n + 1 > cap) {
        ReadFailure &f = refusal(who, p, ReadFailure::kTextTooLong, tag);
        f.length = l;
        f.textLen = n;
        f.cap = cap;
        return report(who);
    }
    memcpy(dst, p + 8, n + 1);
    p += 8 + (size_t)l;
    return 0;
}

uint32_t copy(const TypeDesc &d, void *dst, const void *src)
{
    if (!dst || !src)
        return kMalformed;
    Walk::copy(d, (uint8_t *)dst, (const uint8_t *)src);
    return 0;
}

uint8_t *write(const TypeDesc &d, const void *rec, uint8_t *p)
{
    return Walk::putOuter(d, (const uint8_t *)rec, p);
}

uint32_t read(const TypeDesc &d, void *rec, const uint8_t *&pos, const uint8_t *end,
              const Reporter &who)
{
    return Walk::getOuter(d, (uint8_t *)rec, pos, end, who.fail, &who);
}

uint32_t length(const TypeDesc &d, const void *rec)
{
    return rec ? Walk::sizeOuter(d, (const uint8_t *)rec) : 0;
}

uint32_t recCopy(void *dst, const void *src, uint32_t type)
{
    return copy(recordType((uint8_t)type), dst, src);
}

uint32_t recLength(const void *rec, uint32_t type)
{
    return length(recordType((uint8_t)type), rec);
}

uint32_t recSerialize(const void *rec, uint8_t **pos, uint32_t type)
{
    if (!rec || !pos || !*pos)
        return kMalformed;
    *pos = Walk::putOuter(recordType((uint8_t)type), (const uint8_t *)rec, *pos);
    return 0;
}

uint32_t recUnserialize(void *rec, const uint8_t **pos, uint32_t type)
{
    ReadFailure fail;
    return readRecord(recordType((uint8_t)type), rec, pos, nullptr, fail);
}

// The same as readRecord, written out so that the export calls nothing
// before reading (bench/README.md).
uint32_t recUnserializeBounded(void *rec, const uint8_t **pos, const uint8_t *end, uint32_t type)
{
    if (!rec || !end || !pos || !*pos || end < *pos)
        return kMalformed;
    ReadFailure fail;
    fail.start = *pos;
    return Walk::getOuter(recordType((uint8_t)type), (uint8_t *)rec, *pos, end, &fail, nullptr);
}

uint32_t readRecord(const TypeDesc &d, void *rec, const uint8_t **pos, const uint8_t *end,
                    ReadFailure &fail)
{
    if (!rec || !pos || !*pos)
        return kMalformed;
    fail.start = *pos;
    return Walk::getOuter(d, (uint8_t *)rec, *pos, end, &fail, nullptr);
}

}  // namespace iv
