// Every record type has one description, defined in its domain's source.
#pragma once

#include "intfVelmor.h"
#include "wire/engine.h"

namespace iv {
#define IV_DECLARE_DESC(T) \
    template <>            \
    const DescTables<T> Desc<T>::d;
INTFVELMOR_RECORD_TYPES(IV_DECLARE_DESC)
#undef IV_DECLARE_DESC

// Record types are numbered in the order of their list.
enum class RecordType : uint8_t {
#define IV_ENUMERATE(T) T,
    INTFVELMOR_RECORD_TYPES(IV_ENUMERATE)
#undef IV_ENUMERATE
        count
};
static_assert((unsigned)RecordType::count < 256, "a field names its record type in 8 bits");
#define IV_NUMBER(T)                                                  \
    template <>                                                       \
    struct RecordNumber<T> {                                          \
        static constexpr uint8_t value = (uint8_t)RecordType::T;      \
    };
INTFVELMOR_RECORD_TYPES(IV_NUMBER)
#undef IV_NUMBER
}  // namespace iv
