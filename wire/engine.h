// The generic record engine: one description per record type, and the five
// operations (copy, clean, length, serialize, unserialize) derived from it.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "base/log.h"

namespace iv {

enum class Form : uint8_t {
    U8, I8, U16, I16, U32, U64,  // scalars, by the member's own type
    Text,                        // char[N]
    Record,                      // nested record
    ArrayRec,                    // T[MAX] with a count member
    ArrayU32,                    // uint32_t[MAX] with a count member
    Table,                       // T[N], all elements always
};

struct TypeDesc;

// One member, or for an array its count and elements together: the count
// item always travels first, whatever the declaration order.
struct Field {
    Form form;
    uint8_t tag;         // member number; for arrays the array's own number
    uint8_t countTag;    // arrays: number of the count member
    uint8_t countWidth;  // arrays: 1 or 4 bytes
    uint16_t offset;
    uint16_t countOffset;
    uint16_t cap;        // text: N; arrays and tables: element bound
    uint16_t stride;     // arrays and tables: element size
    const TypeDesc *sub; // nested, array and table element type
#ifdef IV_MEMBER_NAMES
    const char *name;    // the member's name, for tools only
#endif
};

struct TypeDesc {
    const char *name;  // the type's own name, as in log lines
    const Field *fields;
    uint16_t count;
    uint16_t size;     // sizeof the struct
};

// The description of record type T, defined once in types/.
template <class T>
struct Desc {
    static const TypeDesc d;
};

// Who reports an unserialize failure, and from which base address (a
// record's first item, or a message body's first byte).
struct Reporter {
    FnName fn;
    const uint8_t *base;
};

// The exported record operations: their own arguments first and the
// description last, so that each export is a single jump here.
uint32_t recCopy(void *dst, const void *src, const TypeDesc &d);
uint32_t recLength(const void *rec, const TypeDesc &d);
uint32_t recSerialize(const void *rec, uint8_t **pos, const TypeDesc &d);
uint32_t recUnserialize(void *rec, const uint8_t **pos, const TypeDesc &d);
uint32_t recUnserializeBounded(void *rec, const uint8_t **pos, const uint8_t *end,
                               const TypeDesc &d);

inline uint32_t copy(const TypeDesc &d, void *dst, const void *src) { return recCopy(dst, src, d); }
inline uint32_t length(const TypeDesc &d, const void *rec) { return recLength(rec, d); }
inline uint32_t serialize(const TypeDesc &d, const void *rec, uint8_t **pos)
{
    return recSerialize(rec, pos, d);
}
// Reads one record at *pos; end bounds every read (null: trust item lengths).
uint32_t unserialize(const TypeDesc &d, void *rec, const uint8_t **pos, const uint8_t *end);
// The same, reporting as `who` (message bodies report as the body callback).
uint32_t unserializeAs(const TypeDesc &d, void *rec, const uint8_t **pos, const uint8_t *end,
                       Reporter who);

// One string item's text, read and checked against the capacity: the shared
// reader of the engine and of message bodies.
uint32_t readText(const Reporter &who, const uint8_t *&p, const uint8_t *end, uint32_t tag,
                  char *dst, uint32_t cap);
void errorBefore(const Reporter &who, uint32_t tag);
uint32_t readScalar32(const Reporter &who, const uint8_t *&p, const uint8_t *end, uint32_t tag,
                      uint32_t &value);

}  // namespace iv
