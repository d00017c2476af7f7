// The five exported operations of every record type: thin wrappers over the
// engine and the type's description.
#include "types/described.h"

#define IV_RECORD_OPS(T)                                                                  \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_copy(T *dst, const T *src)              \
    {                                                                                     \
        return ::iv::copy(::iv::Desc<T>::d, dst, src);                                    \
    }                                                                                     \
    /* Records own no storage: there is nothing to release. */                            \
    extern "C" IV_EXPORT void intfVelmor_##T##_clean(T *rec) { (void)rec; }               \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_serialize_lg(const T *rec)             \
    {                                                                                     \
        return ::iv::length(::iv::Desc<T>::d, rec);                                       \
    }                                                                                     \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_serialize(const T *rec, uint8_t **pos)  \
    {                                                                                     \
        return ::iv::serialize(::iv::Desc<T>::d, rec, pos);                               \
    }                                                                                     \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_unserialize(T *rec, const uint8_t **pos) \
    {                                                                                     \
        return ::iv::unserialize(::iv::Desc<T>::d, rec, pos, nullptr);                    \
    }                                                                                     \
    extern "C" IV_EXPORT uint32_t intfVelmor_##T##_unserialize_bounded(                   \
        T *rec, const uint8_t **pos, const uint8_t *end)                                  \
    {                                                                                     \
        if (!end || !pos || !*pos || end < *pos)                                          \
            return INTFVELMOR_ERR_BODY;                                                   \
        return ::iv::unserialize(::iv::Desc<T>::d, rec, pos, end);                        \
    }

INTFVELMOR_RECORD_TYPES(IV_RECORD_OPS)
