// The descriptor's management numbers, state and flags are read by message
// functions on whatever thread the core uses while the lifecycle writes them
// on the event loop's. Every access is atomic, on the fields' own types and
// places; the library takes no lock. A management number also publishes the
// core's record that the library filled before storing it: it is stored with
// release and read with acquire, so that whoever sends under the number sees
// the record complete. The rest is relaxed.
#pragma once

#include <stdint.h>

namespace iv {

template <class T>
inline T loadRelaxed(const T &field)
{
    return __atomic_load_n(&field, __ATOMIC_RELAXED);
}

template <class T, class V>
inline void storeRelaxed(T &field, V value)
{
    __atomic_store_n(&field, (T)value, __ATOMIC_RELAXED);
}

inline uint16_t loadMngt(const uint16_t &num) { return __atomic_load_n(&num, __ATOMIC_ACQUIRE); }

inline void publishMngt(uint16_t &num, uint16_t value)
{
    __atomic_store_n(&num, value, __ATOMIC_RELEASE);
}

}  // namespace iv
