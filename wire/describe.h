// Describing a record type once: the compiler deduces each member's form,
// width, signedness, capacity and element type from the struct itself.
//
//   IV_RECORD(channelReport,
//             IV_MEMBER(load, 3),                    // scalar, text or nested record
//             IV_COUNTED(channelsCount, 4, channels, 5),  // count item, then elements
//             IV_TABLE(devices, 6))                  // fixed table, no count
#pragma once

#include <stddef.h>

#include <type_traits>

#include "wire/engine.h"

namespace iv {

template <class M>
constexpr Form scalarForm()
{
    static_assert(std::is_integral_v<M>, "a scalar member must be an integer");
    if constexpr (sizeof(M) == 1)
        return std::is_signed_v<M> ? Form::I8 : Form::U8;
    else if constexpr (sizeof(M) == 2)
        return std::is_signed_v<M> ? Form::I16 : Form::U16;
    else if constexpr (sizeof(M) == 4)
        return Form::U32;  // signedness never shows on the wire
    else {
        static_assert(sizeof(M) == 8 && !std::is_signed_v<M>, "64-bit members are unsigned");
        return Form::U64;
    }
}

// Member names travel in the descriptions of tool builds only.
#ifdef IV_MEMBER_NAMES
#define IV_NAME_INIT(n) , n
#else
#define IV_NAME_INIT(n)
#endif

// Not constexpr: reaching it stops the compilation of a description.
inline uint16_t offsetOrSizeTooLarge() { return 0; }
constexpr uint16_t narrow16(size_t v) { return v < 0x10000 ? (uint16_t)v : offsetOrSizeTooLarge(); }

template <class M>
constexpr Field member(size_t offset, unsigned tag, [[maybe_unused]] const char *name)
{
    if constexpr (std::is_array_v<M>) {
        static_assert(std::is_same_v<std::remove_extent_t<M>, char>, "a text is char[N]");
        return Field{Form::Text, (uint8_t)tag, 0, 0, narrow16(offset), 0,
                     narrow16(std::extent_v<M>), 0, nullptr IV_NAME_INIT(name)};
    } else if constexpr (std::is_class_v<M>) {
        return Field{Form::Record, (uint8_t)tag, 0, 0, narrow16(offset), 0, 0, 0,
                     &Desc<M>::d IV_NAME_INIT(name)};
    } else {
        return Field{scalarForm<M>(), (uint8_t)tag, 0, 0, narrow16(offset), 0, 0, 0,
                     nullptr IV_NAME_INIT(name)};
    }
}

template <class C, class A>
constexpr Field counted(size_t countOffset, unsigned countTag, size_t offset, unsigned tag,
                        [[maybe_unused]] const char *name)
{
    static_assert(std::is_same_v<C, uint8_t> || std::is_same_v<C, uint32_t>,
                  "a count is a u8 or a u32");
    static_assert(std::is_array_v<A>, "a counted member is an array");
    using E = std::remove_extent_t<A>;
    static_assert(std::is_class_v<E> || std::is_same_v<E, uint32_t>,
                  "array elements are records or u32");
    Field f{Form::ArrayU32, (uint8_t)tag, (uint8_t)countTag, (uint8_t)sizeof(C),
            narrow16(offset), narrow16(countOffset), narrow16(std::extent_v<A>),
            narrow16(sizeof(E)), nullptr IV_NAME_INIT(name)};
    if constexpr (std::is_class_v<E>) {
        f.form = Form::ArrayRec;
        f.sub = &Desc<E>::d;
    }
    return f;
}

template <class A>
constexpr Field table(size_t offset, unsigned tag, [[maybe_unused]] const char *name)
{
    using E = std::remove_extent_t<A>;
    static_assert(std::is_array_v<A> && std::is_class_v<E>, "a table is an array of records");
    return Field{Form::Table, (uint8_t)tag, 0, 0, narrow16(offset), 0,
                 narrow16(std::extent_v<A>), narrow16(sizeof(E)), &Desc<E>::d IV_NAME_INIT(name)};
}

// Tags run from 3 without a gap; a counted array covers two numbers.
constexpr bool tagsInOrder(const Field *f, size_t n)
{
    unsigned next = 3;
    for (size_t i = 0; i < n; ++i) {
        bool counted = f[i].form == Form::ArrayRec || f[i].form == Form::ArrayU32;
        if (counted) {
            unsigned lo = f[i].countTag < f[i].tag ? f[i].countTag : f[i].tag;
            unsigned hi = f[i].countTag < f[i].tag ? f[i].tag : f[i].countTag;
            if (lo != next || hi != next + 1)
                return false;
            next += 2;
        } else {
            if (f[i].tag != next)
                return false;
            next += 1;
        }
    }
    return true;
}

}  // namespace iv

#define IV_MEMBER(m, tag) ::iv::member<decltype(Self::m)>(offsetof(Self, m), tag, #m)
#define IV_COUNTED(count, countTag, arr, tag)                                           \
    ::iv::counted<decltype(Self::count), decltype(Self::arr)>(offsetof(Self, count), countTag, \
                                                              offsetof(Self, arr), tag, #arr)
#define IV_TABLE(arr, tag) ::iv::table<decltype(Self::arr)>(offsetof(Self, arr), tag, #arr)

// Describes record type T; its fields in wire order.
#define IV_RECORD(T, ...)                                                            \
    namespace {                                                                      \
    struct ivFields_##T {                                                            \
        using Self = T;                                                              \
        static constexpr ::iv::Field list[] = {__VA_ARGS__};                         \
        static_assert(::iv::tagsInOrder(list, sizeof list / sizeof list[0]),         \
                      #T ": member numbers must run from 3 in member order");        \
    };                                                                               \
    }                                                                                \
    namespace iv {                                                                   \
    template <>                                                                      \
    const TypeDesc Desc<T>::d = {#T, ivFields_##T::list,                             \
                                 (uint16_t)(sizeof ivFields_##T::list / sizeof(Field)), \
                                 (uint16_t)sizeof(T)};                               \
    }
