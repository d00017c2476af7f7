#include "types/names.h"

#include <type_traits>

#include "messages/bodies.h"
#include "messages/catalogue.h"
#include "types/described.h"

namespace iv {

// The bodies' descriptions are defined with their messages; bodies without
// members have none.
#define IV_DECLARE_NAMES(T)                         \
    template <>                                     \
    const char *const MemberNames<T>::type;         \
    template <>                                     \
    const char *const MemberNames<T>::text;         \
    template <>                                     \
    const Field *const MemberNames<T>::fields;
#define IV_DECLARE_BODY(T)                          \
    template <>                                     \
    const DescTables<T> Desc<T>::d;                 \
    IV_DECLARE_NAMES(T)
#define IV_DECLARE_CMD(index, name, ...) IV_DECLARE_BODY(ivReq_##name) IV_DECLARE_BODY(ivRes_##name)
#define IV_DECLARE_NTFY(index, name, ...) IV_DECLARE_BODY(ivNtfy_##name)
INTFVELMOR_RECORD_TYPES(IV_DECLARE_NAMES)
IV_COMMANDS(IV_DECLARE_CMD)
IV_NOTIFICATIONS(IV_DECLARE_NTFY)

namespace {

struct Names {
    const void *d;  // Desc<T>::d, whose head is the TypeDesc
    const char *const *type;
    const char *const *text;
    const Field *const *fields;
};

template <class T>
constexpr Names entry()
{
    if constexpr (!hasMembers<T>)
        return {nullptr, nullptr, nullptr, nullptr};
    else
        return {&Desc<T>::d, &MemberNames<T>::type, &MemberNames<T>::text,
                &MemberNames<T>::fields};
}

#define IV_RECORD_ENTRY(T) entry<T>(),
#define IV_CMD_ENTRY(index, name, ...) entry<ivReq_##name>(), entry<ivRes_##name>(),
#define IV_NTFY_ENTRY(index, name, ...) entry<ivNtfy_##name>(),
const Names kNames[] = {INTFVELMOR_RECORD_TYPES(IV_RECORD_ENTRY) IV_COMMANDS(IV_CMD_ENTRY)
                            IV_NOTIFICATIONS(IV_NTFY_ENTRY)};

const Names *find(const TypeDesc &d)
{
    for (const Names &n : kNames)
        if (n.d == static_cast<const void *>(&d))
            return &n;
    return nullptr;
}

}  // namespace

const Field *fieldsOf(const TypeDesc &d)
{
    const Names *n = find(d);
    return n ? *n->fields : nullptr;
}

const char *typeName(const TypeDesc &d)
{
    const Names *n = find(d);
    return n ? *n->type : d.name();
}

const char *memberName(const TypeDesc &d, size_t i)
{
    const Names *n = find(d);
    if (!n || i >= d.count)
        return nullptr;
    const char *s = *n->text;
    for (; i > 0; --i)
        while (*s++) {
        }
    return s;
}

}  // namespace iv
