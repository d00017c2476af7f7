// Every record type's description and its five exported operations, which
// are thin wrappers over the engine and the description. The descriptions
// are written by domain in the three files below and compiled here, in one
// translation unit with the list of types, so that a type listed but never
// described stops the compilation (at the end of this file).
#include "types/described.h"
#include "types/config.cpp"
#include "types/radio.cpp"
#include "types/station.cpp"

// Records own no storage: there is nothing to release, and every type's
// clean is one function under 75 names.
extern "C" void ivCleanNothing(void *);
extern "C" void ivCleanNothing(void *) {}

// The cleans' types differ from ivCleanNothing's by the record pointer only.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wattribute-alias"
#endif

// Each passes its own arguments unchanged and its type's number last: one jump.
#define IV_RECORD_OPS(T)                                                                    \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_copy(T *dst, const T *src)               \
    {                                                                                       \
        return ::iv::recCopy(dst, src, ::iv::RecordNumber<T>::value);                       \
    }                                                                                       \
    extern "C" IV_EXPORT void intfVelmor_##T##_clean(T *rec)                                \
        __attribute__((alias("ivCleanNothing")));                                           \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_serialize_lg(const T *rec)               \
    {                                                                                       \
        return ::iv::recLength(rec, ::iv::RecordNumber<T>::value);                          \
    }                                                                                       \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_serialize(const T *rec, uint8_t **pos)   \
    {                                                                                       \
        return ::iv::recSerialize(rec, pos, ::iv::RecordNumber<T>::value);                  \
    }                                                                                       \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_unserialize(T *rec, const uint8_t **pos) \
    {                                                                                       \
        return ::iv::recUnserialize(rec, pos, ::iv::RecordNumber<T>::value);                \
    }                                                                                       \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_unserialize_bounded(                     \
        T *rec, const uint8_t **pos, const uint8_t *end)                                    \
    {                                                                                       \
        return ::iv::recUnserializeBounded(rec, pos, end, ::iv::RecordNumber<T>::value);    \
    }

INTFVELMOR_RECORD_TYPES(IV_RECORD_OPS)

namespace iv {
#define IV_TYPE_ENTRY(T) &Desc<T>::d,
const void *const recordTypes[] = {INTFVELMOR_RECORD_TYPES(IV_TYPE_ENTRY)};
#undef IV_TYPE_ENTRY
}  // namespace iv

// Every listed record type has its description.
#define IV_REQUIRE_DESCRIBED(T)                                                          \
    static_assert(::iv::kDescribed<T>,                                                   \
                  #T " is listed in INTFVELMOR_RECORD_TYPES but never described: describe " \
                  "it with IV_RECORD in types/config.cpp, radio.cpp or station.cpp");
INTFVELMOR_RECORD_TYPES(IV_REQUIRE_DESCRIBED)
#undef IV_REQUIRE_DESCRIBED
