/*
 * Record types and their five operations.
 *
 * Members are named after their wire tag (v<tag> for numbers, s<tag> for
 * texts) unless their role is evident (mac, ssid, key, ...). An array with a
 * count carries <array>Count; a fixed table has no count.
 *
 * Every type T has:
 *   uint32_t intfVelmor_T_copy(T *dst, const T *src);
 *   void     intfVelmor_T_clean(T *rec);
 *   uint32_t intfVelmor_T_serialize_lg(const T *rec);
 *   uint32_t intfVelmor_T_serialize(const T *rec, uint8_t **pos);
 *   uint32_t intfVelmor_T_unserialize(T *rec, const uint8_t **pos);
 *   uint32_t intfVelmor_T_unserialize_bounded(T *rec, const uint8_t **pos,
 *                                             const uint8_t *end);
 * The bounded variant never reads at or past end.
 */
#ifndef INTFVELMOR_RECORDS_H
#define INTFVELMOR_RECORDS_H

#include <stdint.h>

#include "radio.h"
#include "config.h"
#include "station.h"

#ifdef __cplusplus
extern "C" {
#endif

#define INTFVELMOR_RECORD_TYPES(X) \
    INTFVELMOR_RADIO_TYPES(X)      \
    INTFVELMOR_CONFIG_TYPES(X)     \
    INTFVELMOR_STATION_TYPES(X)

#define INTFVELMOR_DECLARE_RECORD_OPS(T)                                     \
    uint32_t intfVelmor_##T##_copy(T *dst, const T *src);                    \
    void intfVelmor_##T##_clean(T *rec);                                     \
    uint32_t intfVelmor_##T##_serialize_lg(const T *rec);                    \
    uint32_t intfVelmor_##T##_serialize(const T *rec, uint8_t **pos);        \
    uint32_t intfVelmor_##T##_unserialize(T *rec, const uint8_t **pos);      \
    uint32_t intfVelmor_##T##_unserialize_bounded(T *rec, const uint8_t **pos, \
                                                  const uint8_t *end);

INTFVELMOR_RECORD_TYPES(INTFVELMOR_DECLARE_RECORD_OPS)

#ifdef __cplusplus
}
#endif

#endif /* INTFVELMOR_RECORDS_H */
