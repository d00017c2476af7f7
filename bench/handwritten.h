// The floor: the same wire format written out by hand, member by member,
// for ccaStats and assocDevListRet, bare and as the response bodies that
// carry them. Byte-identical to the library's output; the readers bound
// every read by `end` and check every tag, text and capacity as the
// library's bounded readers do, without logging.
#pragma once

#include <stdint.h>

#include "intfVelmor.h"

namespace hand {

uint32_t length(const ccaStats &r);
uint8_t *write(const ccaStats &r, uint8_t *p);
bool read(ccaStats &r, const uint8_t *&p, const uint8_t *end);

uint32_t length(const assocDevListRet &r);
uint8_t *write(const assocDevListRet &r, uint8_t *p);
bool read(assocDevListRet &r, const uint8_t *&p, const uint8_t *end);

// A response body as the core carries it: a zero-filled allocation holding
// magic and stamp items, then the record. encode returns it (its length in
// *len) or null; decode returns a zero-filled body read from the bytes, or
// null when the frame or the record is refused. Both are released by free().
template <class Record>
struct Body {
    uint32_t magic;
    Record res;
};
uint8_t *encode(const Body<ccaStats> &b, uint16_t stamp, uint32_t *len);
Body<ccaStats> *decodeCca(const uint8_t *p, const uint8_t *end, uint32_t magic, uint16_t stamp);
uint8_t *encode(const Body<assocDevListRet> &b, uint16_t stamp, uint32_t *len);
Body<assocDevListRet> *decodeAssoc(const uint8_t *p, const uint8_t *end, uint32_t magic,
                                   uint16_t stamp);

}  // namespace hand
