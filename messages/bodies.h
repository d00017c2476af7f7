// Message bodies: the frame's two head fields, then the members of the
// message's row in the catalogue, in order.
#pragma once

#include <stddef.h>

#include <type_traits>

#include "intfVelmor.h"
#include "messages/catalogue.h"

namespace iv {

// Declares a member of any type, arrays included: `Is<char[64]> text;`.
template <class T>
using Is = T;

// How a body member of type M travels: send functions take records and
// texts by const pointer and scalars by value (In); handlers and callbacks
// get pointers into the body, or the value (Out).
template <class M>
using In = std::conditional_t<std::is_array_v<M>, const std::remove_extent_t<M> *,
                              std::conditional_t<std::is_class_v<M>, const M *, M>>;
template <class M>
using Out = std::conditional_t<std::is_array_v<M>, std::remove_extent_t<M> *,
                               std::conditional_t<std::is_class_v<M>, M *, M>>;

// The pointer that the frame copies a member from: the record or the text
// itself, or the address of the scalar argument.
template <class M>
inline const void *argOf(const In<M> &v)
{
    if constexpr (std::is_array_v<M> || std::is_class_v<M>)
        return v;
    else
        return &v;
}

// What a handler receives of a member of the body.
template <class M>
inline Out<M> handedOf(M &m)
{
    if constexpr (std::is_class_v<M>)
        return &m;
    else
        return m;  // a text decays to its pointer
}

// A body's size as the frame stores it.
template <class Body>
constexpr uint16_t bodySize()
{
    static_assert(sizeof(Body) < 0x10000, "a body must be smaller than 64 KiB");
    return (uint16_t)sizeof(Body);
}

}  // namespace iv

// The pieces of the typed functions, one member of a row at a time.
#define IV_PARAM(i, T, name) , ::iv::In<T> name
#define IV_ARG(i, T, name) , ::iv::argOf<T>(name)
#define IV_HANDED(i, T, name) , ::iv::handedOf<T>(b->name)
#define IV_HANDED_TYPE(i, T, name) , ::iv::Out<T>

#define IV_BODY_HEAD \
    uint32_t magic;  \
    uint16_t ref;

// The layout of every body without members.
struct ivEmptyBody { IV_BODY_HEAD };

#define IV_BODY_MEMBER(i, T, name) ::iv::Is<T> name;
#define IV_CMD_BODIES(idx, X, entryName, magic, stamp, magicName, req, res) \
    struct ivReq_##X { IV_BODY_HEAD IV_EACH(IV_BODY_MEMBER, req) };          \
    struct ivRes_##X { IV_BODY_HEAD IV_EACH(IV_BODY_MEMBER, res) };
#define IV_NTFY_BODY(idx, x, X, entryName, magic, stamp, magicName, members) \
    struct ivNtfy_##x { IV_BODY_HEAD IV_EACH(IV_BODY_MEMBER, members) };
IV_COMMANDS(IV_CMD_BODIES)
IV_NOTIFICATIONS(IV_NTFY_BODY)
#undef IV_CMD_BODIES
#undef IV_NTFY_BODY

// Bodies without members have no description; records and other bodies do.
namespace iv {
template <class T>
inline constexpr bool hasMembers = true;
#define IV_CMD_EMPTY(idx, X, entryName, magic, stamp, magicName, req, res)     \
    IV_IF_NONE(req)(template <> inline constexpr bool hasMembers<ivReq_##X> = false;) \
    IV_IF_NONE(res)(template <> inline constexpr bool hasMembers<ivRes_##X> = false;)
IV_COMMANDS(IV_CMD_EMPTY)
#undef IV_CMD_EMPTY
}  // namespace iv

// Describes a body's members, numbered from 3, after its head.
#define IV_BODY(T, ...) \
    IV_DESCRIBE(T, "", offsetof(T, ref) + sizeof(uint16_t), 2, __VA_ARGS__)
