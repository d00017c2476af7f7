// Between a body and the typed functions of its message: a handler's or
// callback's arguments put back into a body (take), and a body's members
// handed to a send function (give). With the catalogue's member lists:
//
//   void cb(void *, uint32_t ref IV_EACH(IVB_PARAM, members)) {
//       Body b{}; IV_EACH(IVB_TAKE, members) ... }
//   intfVelmor_sendRes_X(ctx IV_EACH(IVB_GIVE, members));   // from `b`
#pragma once

#include <stdio.h>

#include <type_traits>

#include "messages/bodies.h"

namespace ivb {

// A member as a handler hands it (Out) into a body member.
template <class T>
void take(T &dst, iv::Out<T> v)
{
    if constexpr (std::is_array_v<T>)
        snprintf(dst, sizeof dst, "%s", v);
    else if constexpr (std::is_class_v<T>)
        dst = *v;
    else
        dst = v;
}

// A body member as a send function takes it (In).
template <class T>
iv::In<T> give(const T &m)
{
    if constexpr (std::is_class_v<T>)
        return &m;
    else
        return m;  // a text decays to its pointer
}

// A body as the library lays it out, head filled so its callbacks accept it.
template <class Body>
Body blank(uint32_t magic)
{
    Body b{};
    b.magic = magic;
    return b;
}

}  // namespace ivb

#define IVB_PARAM(i, T, name) , ::iv::Out<T> p_##name
#define IVB_TAKE(i, T, name) ::ivb::take<T>(b.name, p_##name);
#define IVB_GIVE(i, T, name) , ::ivb::give<T>(b.name)
