// Describing a record type once: the compiler deduces each member's form,
// width, signedness, capacity and element type from the struct itself.
//
//   IV_RECORD(channelReport,
//             IV_MEMBER(load, 3),                    // scalar, text or nested record
//             IV_COUNTED(channelsCount, 4, channels, 5),  // count item, then elements
//             IV_TABLE(devices, 6))                  // fixed table, no count
#pragma once

#include <stddef.h>

#include <array>
#include <type_traits>
#include <utility>

#include "wire/engine.h"

namespace iv {

template <class>
inline constexpr bool kNever = false;

template <class M>
constexpr Form scalarForm()
{
    if constexpr (!std::is_integral_v<M>) {
        static_assert(kNever<M>, "a scalar member must be an integer type");
        return Form::U32;
    } else if constexpr (sizeof(M) == 1)
        return std::is_signed_v<M> ? Form::I8 : Form::U8;
    else if constexpr (sizeof(M) == 2)
        return std::is_signed_v<M> ? Form::I16 : Form::U16;
    else if constexpr (sizeof(M) == 4)
        return Form::U32;  // signedness never shows on the wire
    else {
        static_assert(sizeof(M) == 8 && !std::is_signed_v<M>,
                      "a 64-bit member must be unsigned (uint64_t)");
        return Form::U64;
    }
}

// Not constexpr: reaching it stops the compilation of a description.
inline uint16_t offsetOrSizeTooLarge() { return 0; }
constexpr uint16_t narrow16(size_t v) { return v < 0x10000 ? (uint16_t)v : offsetOrSizeTooLarge(); }
inline uint8_t tagTooLarge() { return 0; }
constexpr uint8_t narrow8(unsigned v) { return v < 0x100 ? (uint8_t)v : tagTooLarge(); }

// ---- the layout checks ----------------------------------------------------------------
//
// A description is checked against its struct when it is compiled, in one
// walk that stops at the first mistake. The mistake is reported by calling
// the fix's function of the struct member at fault; the functions are not
// constexpr, so the call stops the compilation, and the compiler's message
// names the struct, the member and the fix. The fixes are function templates
// of the member, not members of a class template, so that GCC and clang
// both print the member:
//
//   error: call to non-'constexpr' function 'void iv::fix::
//   numberTheMembersFrom3InDeclarationOrder() [with auto Member = &channelReport::channelsCount]'
//   note: non-constexpr function
//   'numberTheMembersFrom3InDeclarationOrder<&channelReport::channelsCount>' cannot be used ...
namespace fix {
template <auto Member> void describeTheMembersInDeclarationOrder() {}
template <auto Member> void numberTheMembersFrom3InDeclarationOrder() {}
template <auto Member> void describeTheMemberDeclaredRightBeforeThisOne() {}
template <auto Member> void describeTheMembersDeclaredAfterThisOne() {}
template <auto Member> void describeTheMemberHiddenInThePaddingBeforeThisOne() {}
template <auto Member> void describeTheMemberHiddenInThePaddingAfterThisOne() {}
template <auto Member> void declareTheCountRightBeforeOrRightAfterItsArray() {}
}  // namespace fix

struct Fixes {
    void (*order)();
    void (*number)();
    void (*before)();
    void (*after)();
    void (*paddingBefore)();
    void (*paddingAfter)();
    void (*countPlace)();
};

template <auto Member>
inline constexpr Fixes kFixes = {
    &fix::describeTheMembersInDeclarationOrder<Member>,
    &fix::numberTheMembersFrom3InDeclarationOrder<Member>,
    &fix::describeTheMemberDeclaredRightBeforeThisOne<Member>,
    &fix::describeTheMembersDeclaredAfterThisOne<Member>,
    &fix::describeTheMemberHiddenInThePaddingBeforeThisOne<Member>,
    &fix::describeTheMemberHiddenInThePaddingAfterThisOne<Member>,
    &fix::declareTheCountRightBeforeOrRightAfterItsArray<Member>,
};

// Stops the compilation with the fix's name; never returns in a constant expression.
constexpr bool stopAt(void (*fix)())
{
    fix();
    return false;
}

// The type of a struct member, from a pointer to it.
template <class>
struct MemberOf;
template <class C, class M>
struct MemberOf<M C::*> {
    using type = M;
};
template <auto Member>
using MemberType = typename MemberOf<decltype(Member)>::type;

// Where a described struct member lies and the number it was given: what
// the layout checks compare with the struct, never stored.
struct Span {
    size_t offset, size, align;
    size_t inits;        // initializers it takes in a flat brace list: N for T[N], else 1
    unsigned tag;        // its member number
    const Fixes *fixes;  // what to do when it is at fault
};

// A type's alignment as a struct member, which is not always alignof (a
// 64-bit integer on i386: 8 alone, 4 in a struct).
template <class M>
struct AlignProbe {
    char before;
    M m;
};
template <class M>
constexpr size_t memberAlign()
{
    return offsetof(AlignProbe<M>, m);
}

template <auto Member>
constexpr Span spanOf(size_t offset, unsigned tag)
{
    using M = MemberType<Member>;
    size_t inits = std::is_array_v<M> ? std::extent_v<M> : 1;
    return Span{offset, sizeof(M), memberAlign<M>(), inits, tag, &kFixes<Member>};
}

// A described member at compile time: its field (what the tools keep) and
// the one or two struct members it covers, in memory order (a counted array
// covers its count and its elements). The library keeps neither: it keeps
// the steps compiled from these (see compile() below).
struct Described {
    Field field;
    Span first, second;  // second.size is 0 for a single member
    const char *name;    // goes to the names table only
    // Arrays: their count member as declared, which the field derives.
    unsigned countTag;
    size_t countOffset, countWidth;
    bool countAway;  // the count lies neither right before nor right after its array
};

// A member that is not a counted array: it has no count to describe.
constexpr Described single(const Field &f, const Span &at, const char *name)
{
    return {f, at, {}, name, 0, 0, 0, false};
}

template <auto Member>
constexpr Described member(size_t offset, unsigned tag, const char *name)
{
    using M = MemberType<Member>;
    Span at = spanOf<Member>(offset, tag);
    if constexpr (std::is_array_v<M>) {
        static_assert(std::is_same_v<std::remove_extent_t<M>, char>,
                      "an array member is a text (char[N]); describe other arrays with "
                      "IV_COUNTED or IV_TABLE");
        return single(Field{Form::Text, narrow8(tag), 0, 0, narrow16(offset),
                            narrow16(std::extent_v<M>)},
                      at, name);
    } else if constexpr (std::is_class_v<M>) {
        return single(
            Field{Form::Record, narrow8(tag), RecordNumber<M>::value, 0, narrow16(offset), 0}, at,
            name);
    } else {
        return single(Field{scalarForm<M>(), narrow8(tag), 0, 0, narrow16(offset), 0}, at, name);
    }
}

template <auto Count, auto Array>
constexpr Described counted(size_t countOffset, unsigned countTag, size_t offset, unsigned tag,
                            const char *name)
{
    using C = MemberType<Count>;
    using A = MemberType<Array>;
    using E = std::remove_extent_t<A>;
    if constexpr (!std::is_same_v<C, uint8_t> && !std::is_same_v<C, uint32_t>)
        static_assert(kNever<C>, "a count is declared uint8_t or uint32_t");
    else if constexpr (!std::is_array_v<A>)
        static_assert(kNever<A>, "a counted member is an array: T name[MAX]");
    else if constexpr (!std::is_class_v<E> && !std::is_same_v<E, uint32_t>)
        static_assert(kNever<A>, "the elements of a counted array are records or uint32_t");
    // Where the count lies is derived from a few bits: right after the
    // array, or right before it (a few bytes, with the padding), nothing
    // else declared between them.
    unsigned layout = (sizeof(C) == 4 ? Field::kCountWide : 0u) |
                      (countTag == tag + 1 ? Field::kCountTagAfter : 0u);
    bool away = false;
    if (countOffset > offset) {
        size_t end = offset + sizeof(A);
        away = countOffset != (end + sizeof(C) - 1) / sizeof(C) * sizeof(C);
        layout |= Field::kCountAfter;
    } else {
        away = offset != (countOffset + sizeof(C) + memberAlign<A>() - 1) / memberAlign<A>() *
                             memberAlign<A>();
        layout |= (unsigned)(offset - countOffset) & Field::kCountGap;
    }
    Field f{Form::ArrayU32, narrow8(tag), 0, (uint8_t)layout, narrow16(offset),
            narrow16(std::extent_v<A>)};
    if constexpr (std::is_class_v<E>) {
        f.form = Form::ArrayRec;
        f.type = RecordNumber<E>::value;
    }
    Span count = spanOf<Count>(countOffset, countTag), elements = spanOf<Array>(offset, tag);
    // The count may be declared before or after its array.
    if (countOffset < offset)
        return {f, count, elements, name, countTag, countOffset, sizeof(C), away};
    return {f, elements, count, name, countTag, countOffset, sizeof(C), away};
}

template <auto Array>
constexpr Described table(size_t offset, unsigned tag, const char *name)
{
    using A = MemberType<Array>;
    using E = std::remove_extent_t<A>;
    if constexpr (!std::is_array_v<A> || !std::is_class_v<E>) {
        static_assert(kNever<A>, "a table is an array of records: T name[N]");
        return {};
    } else {
        return single(Field{Form::Table, narrow8(tag), RecordNumber<E>::value, 0, narrow16(offset),
                            narrow16(std::extent_v<A>)},
                      spanOf<Array>(offset, tag), name);
    }
}

constexpr size_t alignUp(size_t v, size_t a) { return (v + a - 1) / a * a; }

// The struct members that the description covers, in description order.
template <size_t N>
struct Spans {
    Span at[2 * N];
    size_t n = 0;
};

template <size_t N>
constexpr Spans<N> spansOf(const Described (&d)[N])
{
    Spans<N> s{};
    for (const Described &m : d) {
        s.at[s.n++] = m.first;
        if (m.second.size)
            s.at[s.n++] = m.second;
    }
    return s;
}

// The initializers that the described members take in a flat brace list,
// with `headInits` for what comes before them.
template <size_t N>
constexpr size_t initsOf(const Described (&d)[N], size_t headInits)
{
    size_t inits = headInits;
    for (const Described &m : d)
        inits += m.first.inits + (m.second.size ? m.second.inits : 0);
    return inits;
}

// A member small enough to hide in padding (a u8 between a u8 and a u32)
// leaves no gap between the described members; the number of initializers
// that the struct accepts in a flat brace list counts it. Arrays take one
// initializer per element.
struct AnyInit {
    template <class U>
    constexpr operator U() const;
};

template <size_t>
using AnyInitAt = AnyInit;

// Brace elision, and fewer initializers than members, are the point here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-braces"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
template <class T, size_t... I>
constexpr auto takesInits(std::index_sequence<I...>) -> decltype(T{AnyInitAt<I>{}...}, true)
{
    return true;
}
#pragma GCC diagnostic pop
template <class T>
constexpr bool takesInits(...)
{
    return false;
}

template <class T, size_t K>
constexpr bool takesExactly()
{
    return takesInits<T>(std::make_index_sequence<K>()) &&
           !takesInits<T>(std::make_index_sequence<K + 1>());
}

// The rules of a description, checked member by member in one walk that
// stops at the first broken one, with the struct's members from `start` (0,
// or the end of a body's head) to `size`:
// - a count lies right before its array or right after it;
// - members are described in declaration order (offsets only grow);
// - each starts where the one before it ends, after alignment: nothing
//   declared between them is left out, nor after the last;
// - their numbers run from 3 in declaration order (a counted array's count
//   takes the number before or after its array's, as it is declared);
// - the struct takes as many initializers as the description covers, so
//   no member hides in padding (`exactInits`).
template <size_t N>
constexpr bool layoutHolds(const Described (&d)[N], size_t start, size_t size, size_t align,
                           bool exactInits)
{
    for (const Described &m : d)
        if (m.countAway)
            return stopAt(m.first.offset == m.countOffset ? m.first.fixes->countPlace
                                                          : m.second.fixes->countPlace);
    Spans<N> s = spansOf(d);
    for (size_t i = 1; i < s.n; ++i)
        if (s.at[i].offset <= s.at[i - 1].offset)
            return stopAt(s.at[i].fixes->order);
    size_t end = start;
    unsigned next = 3;
    const Span *afterPadding = nullptr;  // the first member after a padding hole
    for (size_t i = 0; i < s.n; ++i) {
        const Span &m = s.at[i];
        size_t at = alignUp(end, m.align);
        if (m.offset != at)
            return stopAt(m.fixes->before);
        if (m.tag != next)
            return stopAt(m.fixes->number);
        if (at != end && !afterPadding)
            afterPadding = &m;
        end = m.offset + m.size;
        ++next;
    }
    const Span &last = s.at[s.n - 1];
    if (alignUp(end, align) != size)
        return stopAt(last.fixes->after);
    if (!exactInits)
        return stopAt(afterPadding ? afterPadding->fixes->paddingBefore
                                   : last.fixes->paddingAfter);
    return true;
}

// Member names, NUL after each, in field order: the tools' names table. The
// library itself never reads it, and its link drops it.
template <size_t N>
constexpr size_t namesLength(const Described (&d)[N])
{
    size_t n = 0;
    for (const Described &m : d) {
        for (const char *c = m.name; *c; ++c)
            ++n;
        ++n;
    }
    return n;
}

template <size_t L, size_t N>
constexpr std::array<char, L> namesOf(const Described (&d)[N])
{
    std::array<char, L> text{};
    size_t k = 0;
    for (const Described &m : d) {
        for (const char *c = m.name; *c; ++c)
            text[k++] = *c;
        text[k++] = 0;
    }
    return text;
}

// The engine stores descriptions in 16-bit sizes and counts, fields as an array.
template <size_t N>
constexpr std::array<Field, N> fieldsOf(const Described (&d)[N])
{
    std::array<Field, N> f{};
    for (size_t i = 0; i < N; ++i)
        f[i] = d[i].field;
    return f;
}

// ---- the steps compiled from a description ----------------------------------------------

constexpr uint32_t scalarWire(Op op) { return op == Op::U64 ? 24 : 12; }

inline uint16_t segmentTooLong() { return 0; }  // not constexpr: stops the compilation

template <size_t K>
struct CompiledSteps {
    std::array<Step, K> steps{};
    size_t count = 0;
    std::array<uint8_t, K> vars{};  // the steps that are not scalar runs, by index
    size_t nvars = 0;
    uint32_t fixedWire = 0;

    // A scalar member joins the run before it when it follows it on the
    // wire, in tag and in memory; else it starts a step.
    constexpr void scalar(Op op, unsigned tag, size_t offset, size_t field)
    {
        fixedWire += scalarWire(op);
        if (count) {
            Step &last = steps[count - 1];
            if (last.op == op && last.tag + last.n == tag && last.n < 255 &&
                last.offset + last.n * scalarWidth(op) == offset) {
                ++last.n;
                return;
            }
        }
        steps[count++] = Step{op, (uint8_t)tag, 1, (uint8_t)field, narrow16(offset), 0};
    }
    constexpr void other(Op op, const Field &f, size_t field)
    {
        steps[count++] = Step{op, f.tag, f.type, (uint8_t)field, f.offset, f.cap};
    }
    // The first run of each group of scalar steps carries the group's bytes;
    // the other steps are listed, for the length walk.
    constexpr void segments()
    {
        for (size_t i = 0; i < count; ++i)
            if (!isScalar(steps[i].op))
                vars[nvars++] = (uint8_t)i;
        for (size_t i = 0; i < count;) {
            if (!isScalar(steps[i].op)) {
                ++i;
                continue;
            }
            size_t j = i;
            uint32_t bytes = 0;
            for (; j < count && isScalar(steps[j].op); ++j)
                bytes += steps[j].n * scalarWire(steps[j].op);
            steps[i].bound = bytes < 0x10000 ? (uint16_t)bytes : segmentTooLong();
            i = j;
        }
    }
};

template <size_t K, size_t N>
constexpr CompiledSteps<K> compile(const Described (&d)[N])
{
    CompiledSteps<K> p{};
    for (size_t i = 0; i < N; ++i) {
        const Field &f = d[i].field;
        switch (f.form) {
        case Form::Text: p.other(Op::Text, f, i); break;
        case Form::Record: p.other(Op::Record, f, i); break;
        case Form::Table: p.other(Op::Table, f, i); break;
        case Form::ArrayRec:
        case Form::ArrayU32:
            // The count ends its run, right before the elements' step.
            p.scalar(d[i].countWidth == 1 ? Op::U8 : Op::U32, d[i].countTag, d[i].countOffset, i);
            p.other(f.form == Form::ArrayRec ? Op::ElemsRec : Op::ElemsU32, f, i);
            break;
        default: p.scalar((Op)f.form, f.tag, f.offset, i); break;
        }
    }
    p.segments();
    return p;
}

// The compiled steps in an array of their own length: all that is kept.
template <size_t K, size_t N>
constexpr std::array<Step, K> stepsOf(const CompiledSteps<N> &all)
{
    std::array<Step, K> steps{};
    for (size_t i = 0; i < K; ++i)
        steps[i] = all.steps[i];
    return steps;
}

template <size_t L>
constexpr std::array<char, L> textOf(const char (&s)[L])
{
    std::array<char, L> text{};
    for (size_t i = 0; i < L; ++i)
        text[i] = s[i];
    return text;
}

// The list of variable steps, then the name: the bytes after the steps.
template <size_t L, size_t K, size_t N>
constexpr std::array<uint8_t, L> tailOf(const CompiledSteps<K> &p, const char (&name)[N])
{
    std::array<uint8_t, L> tail{};
    for (size_t i = 0; i < p.nvars; ++i)
        tail[i] = p.vars[i];
    for (size_t i = 0; i < N; ++i)
        tail[p.nvars + i] = (uint8_t)name[i];
    return tail;
}

}  // namespace iv

#define IV_MEMBER(m, tag) ::iv::member<&Self::m>(offsetof(Self, m), tag, #m)
#define IV_COUNTED(count, countTag, arr, tag)                                          \
    ::iv::counted<&Self::count, &Self::arr>(offsetof(Self, count), countTag,           \
                                            offsetof(Self, arr), tag, #arr)
#define IV_TABLE(arr, tag) ::iv::table<&Self::arr>(offsetof(Self, arr), tag, #arr)

// The checks of one description against its struct, with `start` the end of
// what comes before the first described member and `headInits` its number of
// initializers (0 and 0 for records, the head for message bodies). The layout
// is checked by a constant's initializer rather than a static_assert: a
// broken rule then gives one error, the fix's, instead of two.
#define IV_CHECK_LAYOUT(T, all, start, headInits)                                          \
    [[maybe_unused]] static constexpr bool layoutHolds =                                   \
        ::iv::layoutHolds(all, start, sizeof(T), ::iv::memberAlign<T>(),                   \
                          ::iv::takesExactly<T, ::iv::initsOf(all, headInits)>());         \
    static_assert(sizeof(T) < 0x10000 && sizeof all / sizeof all[0] < 0x10000,              \
                  #T ": too large for a 16-bit size or member count");

// Describes record type T; its fields in wire order. Its name is kept with
// its steps: the lines of its failures carry it.
#define IV_RECORD(T, ...) IV_DESCRIBE(T, #T, 0, 0, __VA_ARGS__)

// The same for a struct whose first members (ending at `start`, taking
// `headInits` initializers) are not described, and whose name no line
// carries (`kept` is "", the tools find it through types/names.h): a
// message body.
#define IV_DESCRIBE(T, kept, start, headInits, ...)                                        \
    namespace {                                                                            \
    struct ivFields_##T {                                                                  \
        using Self = T;                                                                    \
        static constexpr ::iv::Described all[] = {__VA_ARGS__};                            \
        IV_CHECK_LAYOUT(T, all, start, headInits)                                          \
        static constexpr auto list = ::iv::fieldsOf(all);                                  \
        static constexpr auto names = ::iv::namesOf<::iv::namesLength(all)>(all);          \
        static constexpr auto title = ::iv::textOf(#T);                                    \
        static_assert(list.size() < 128, #T ": steps name their field in 8 bits");        \
        static constexpr auto compiled = ::iv::compile<2 * list.size()>(all); \
        static_assert(compiled.fixedWire < 0x10000, #T ": too many scalar members");            \
    };                                                                                     \
    }                                                                                      \
    namespace iv {                                                                         \
    template <>                                                                            \
    struct DescTables<T> {                                                                 \
        TypeDesc head;                                                                     \
        std::array<Step, ivFields_##T::compiled.count> steps;                                   \
        std::array<uint8_t, ivFields_##T::compiled.nvars + sizeof kept> tail;                   \
    };                                                                                     \
    static_assert(offsetof(DescTables<T>, steps) == sizeof(TypeDesc) &&                    \
                      offsetof(DescTables<T>, tail) ==                                     \
                          sizeof(TypeDesc) + sizeof(Step) * ivFields_##T::compiled.count,       \
                  #T ": the steps, the variable steps and the name lie right after the head"); \
    template <>                                                                            \
    const DescTables<T> Desc<T>::d = {                                                     \
        {(uint16_t)ivFields_##T::list.size(), (uint16_t)sizeof(T),                         \
         (uint8_t)ivFields_##T::compiled.count, (uint8_t)ivFields_##T::compiled.nvars,               \
         (uint16_t)ivFields_##T::compiled.fixedWire},                                           \
        ::iv::stepsOf<ivFields_##T::compiled.count>(ivFields_##T::compiled),                         \
        ::iv::tailOf<ivFields_##T::compiled.nvars + sizeof kept>(ivFields_##T::compiled, kept)};     \
    template <>                                                                            \
    inline constexpr bool kDescribed<T> = true;                                            \
    template <>                                                                            \
    const char *const MemberNames<T>::type = ivFields_##T::title.data();                   \
    template <>                                                                            \
    const char *const MemberNames<T>::text = ivFields_##T::names.data();                   \
    template <>                                                                            \
    const Field *const MemberNames<T>::fields = ivFields_##T::list.data();                 \
    }
