// Every record type has one description, defined in its domain's source.
#pragma once

#include "intfVelmor.h"
#include "wire/engine.h"

namespace iv {
#define IV_DECLARE_DESC(T) \
    template <>            \
    const TypeDesc Desc<T>::d;
INTFVELMOR_RECORD_TYPES(IV_DECLARE_DESC)
#undef IV_DECLARE_DESC
}  // namespace iv
