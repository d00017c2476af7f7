// The floor: the same wire format written out by hand, member by member,
// for ccaStats and assocDevListRet. Byte-identical to the library's output;
// the readers bound every read by `end` and check every tag, text and
// capacity as the library's bounded readers do, without logging.
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

}  // namespace hand
