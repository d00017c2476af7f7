// The generic record engine: one description per record type, and the five
// operations (copy, clean, length, serialize, unserialize) derived from it.
//
// The pipeline, from a struct to its bytes:
//
//   description   IV_RECORD(T, IV_MEMBER(...), ...)             wire/describe.h
//                 compile time only: a `Described` per member, checked
//                 against the struct (order, numbers, gaps, padding)
//        |  compile()  (constexpr, when the library is built)
//        v
//   steps         TypeDesc head + Step[] + variable steps + name: one
//                 constant object per type, DescTables<T>, reached by
//                 number through recordTypes[] (the library keeps only this)
//        |                                        (the tools also keep a
//        v                                         Field per member, with
//   operations    wire/engine.cpp, one walk per operation:  its name:
//                   copy    length    write    read        types/names.h)
//                 read is the one reader: quick while the items are exactly
//                 as written, item by item from the first that is not,
//                 recording a refusal in a ReadFailure and logging its
//                 lines from that record
//        |
//        v
//   entry points  the record exports (types/exports.cpp) jump to rec*();
//                 message bodies (messages/frame.cpp) call length, write
//                 and read on their body's description
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

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

// Every record type's description, by its number (records.h order); a
// nested record names its type by number, so fields carry no pointer and
// need no relocation. Each entry is the address of a DescTables<T> (below),
// which starts with its TypeDesc.
extern const void *const recordTypes[];
inline const TypeDesc &recordType(uint8_t number)
{
    return *static_cast<const TypeDesc *>(recordTypes[number]);
}

// The number of record type T, given where the record types are listed.
template <class T>
struct RecordNumber;

// One member, or for an array its count and elements together: the count
// item always travels first, whatever the declaration order. Eight bytes:
// what can be derived (element size, where the count lies) is derived. The
// library compiles fields into steps when it is built and keeps only the
// steps; tools find the fields through types/names.h.
struct Field {
    Form form;
    uint8_t tag;    // member number; for arrays the array's own number
    uint8_t type;   // nested, table and array element records: the record's number
    uint8_t count;  // arrays: how the count member lies, kCount* below
    uint16_t offset;
    uint16_t cap;   // text: N; arrays and tables: element bound

    static constexpr uint8_t kCountWide = 0x80;      // a u32 count (else u8)
    static constexpr uint8_t kCountTagAfter = 0x40;  // its number is tag + 1 (else tag - 1)
    static constexpr uint8_t kCountAfter = 0x20;     // declared after the array
    static constexpr uint8_t kCountGap = 0x1F;       // else: bytes from it to the array

    const TypeDesc *sub() const { return &recordType(type); }
    inline uint32_t stride() const;  // element size
    uint32_t countWidth() const { return count & kCountWide ? 4 : 1; }
    uint32_t countTag() const { return count & kCountTagAfter ? tag + 1u : tag - 1u; }
    uint32_t countOffset() const
    {
        if (!(count & kCountAfter))
            return offset - (count & kCountGap);
        uint32_t end = offset + cap * stride(), w = countWidth();
        return (end + w - 1) & ~(w - 1);  // w is 1 or 4: no division call on small cores
    }
    // Arrays: the count member of rec, read and written at its own width.
    uint32_t countIn(const uint8_t *rec) const
    {
        const uint8_t *c = rec + countOffset();
        return countWidth() == 4 ? *(const uint32_t *)c : *c;
    }
    void setCount(uint8_t *rec, uint32_t n) const
    {
        uint8_t *c = rec + countOffset();
        if (countWidth() == 1)
            *c = (uint8_t)n;
        else
            *(uint32_t *)c = n;
    }
};

// One step of a type, compiled from its description when the library is
// built; the steps are all that the library keeps of a description (the
// Fields stay with the tools, beside the member names). A scalar
// step covers a run of members of one form whose tags follow each other and
// which lie side by side in the struct: ccaStats is a single step of five.
// The count of a counted array is such a member, the last of its run, right
// ahead of the step for its elements. Texts, nested records, tables and
// elements take one step each.
enum class Op : uint8_t {
    U8, I8, U16, I16, U32, U64,  // the same numbers as their Form
    Text, Record, Table, ElemsRec, ElemsU32,
};

constexpr bool isScalar(Op op) { return op <= Op::U64; }
// A scalar member's bytes in the struct.
constexpr uint32_t scalarWidth(Op op)
{
    return op <= Op::I8 ? 1 : op <= Op::I16 ? 2 : op == Op::U64 ? 8 : 4;
}

struct Step {
    Op op;
    uint8_t tag;      // the (first) member's number
    uint8_t n;        // scalars: members in the run; nested records, tables and
                      // arrays of records: the record's number
    uint8_t field;    // index of the (first) member in the description
    uint16_t offset;  // of the (first) member in the struct
    // Scalars, on the first run of a group of adjacent runs: the group's
    // wire bytes, checked once (0 on the others). Texts: N. Tables and
    // arrays: the element bound.
    uint16_t bound;

    const TypeDesc &sub() const { return recordType(n); }
};

static_assert(sizeof(Step) == 8, "a step stays eight bytes");

// A type's description: this head, then right after it its steps, the list
// of its variable steps and its name, all in one constant object
// (DescTables<T>, wire/describe.h) that holds no pointer, so it needs no
// relocation and stays in read-only pages.
struct TypeDesc {
    uint16_t count;     // members described (fields, for the tools)
    uint16_t size;      // sizeof the struct
    uint8_t nsteps;
    uint8_t nvars;      // steps that are not scalar runs, whose wire length depends
                        // on the contents: their indices follow the steps
    uint16_t fixedWire; // wire bytes of the scalar runs

    const Step *steps() const { return reinterpret_cast<const Step *>(this + 1); }
    const uint8_t *vars() const { return reinterpret_cast<const uint8_t *>(steps() + nsteps); }
    // The type's own name, as in log lines; empty for message bodies, whose
    // names no line carries (tools find every name through types/names.h).
    const char *name() const { return reinterpret_cast<const char *>(vars() + nvars); }
};

static_assert(sizeof(TypeDesc) == 8 && alignof(Step) <= alignof(TypeDesc),
              "a type's steps start right after its head");

static_assert(sizeof(Field) == 8, "a field stays eight bytes");

inline uint32_t Field::stride() const { return form == Form::ArrayU32 ? 4 : sub()->size; }

// The description of record type T with its steps and name, defined once
// where T is described (types/, and messages/ for bodies); elsewhere an
// incomplete type, reached through descOf<T>().
template <class T>
struct DescTables;

template <class T>
struct Desc {
    static const DescTables<T> d;
};

// Whether T is described (IV_RECORD or IV_DESCRIBE) in this translation unit.
template <class T>
inline constexpr bool kDescribed = false;

// T's description (the head of Desc<T>::d, with which it shares its address).
template <class T>
inline const TypeDesc &descOf()
{
    return *static_cast<const TypeDesc *>(static_cast<const void *>(&Desc<T>::d));
}

// The names of T's members, NUL after each, and its fields, in field
// order; defined beside the description. Only tools read them (through
// types/names.h): the shared library's link drops them.
template <class T>
struct MemberNames {
    static const char *const type;  // T's name, bodies' too
    static const char *const text;
    static const Field *const fields;
};

// What made a read refuse the bytes, recorded where it happened: the log
// lines are formatted from it, and tools read it instead of the lines. It
// lives on the stack of whoever starts the read (records run on many threads
// at once and keep no state). A reader fills it only when it refuses bytes.
struct ReadFailure {
    enum Reason : uint8_t {
        kNone,          // nothing refused (a caller's initial value)
        kTruncated,     // fewer bytes left than the item's head
        kBeyondEnd,     // the item's length runs past the end of the input
        kNoStep,        // no end: the item's length would not move the position forward
        kWrongTag,      // another item number than the member's
        kNoNul,         // a text item without its NUL
        kTextTooLong,   // a text longer than its field
        kForeignMagic,  // frame item 0 holds another message's magic
        kWrongStamp,    // frame item 1 holds another stamp
    };
    // One level of the member path: a field of a record, and for a table or
    // an array the element (or the count item) that failed.
    struct Level {
        uint8_t field;     // index into the record's fields
        uint16_t element;  // kWhole, kCount or an element index
    };
    static constexpr uint16_t kWhole = 0xFFFF;
    static constexpr uint16_t kCount = 0xFFFE;
    static constexpr unsigned kMaxDepth = 8;

    const uint8_t *start;  // first byte of the input, set by whoever starts the read
    Reason reason;
    uint8_t depth;         // levels in path
    bool pathCut;          // the path was deeper than kMaxDepth: outer levels missing
    uint32_t tag;          // item number expected (frame: 0 or 1)
    uint32_t offset;       // of the refused item from start; a body read in full: its length
    uint32_t base;         // of the record that reports it (its pBody) from start
    uint64_t found;        // item number found; frame items: the value found
    uint64_t length;       // the item's length as read
    uint32_t left;         // bytes left, as the lines count them
    uint32_t textLen;      // characters of a refused text, NUL not counted
    uint32_t cap;          // its field, NUL included
    Level path[kMaxDepth];  // innermost first

    // Records a refusal of item `item` at offset `at` (counted from start), in
    // the record at `from`, having found `value`; whatever else the reason
    // needs is set after.
    void refuse(Reason why, uint32_t item, uint32_t at, uint32_t from, uint64_t value)
    {
        reason = why;
        depth = 0;
        pathCut = false;
        tag = item;
        offset = at;
        base = from;
        found = value;
        length = left = textLen = cap = 0;
    }

    // Adds the enclosing level as a read unwinds.
    void addLevel(size_t field, uint32_t element)
    {
        if (depth == kMaxDepth) {
            pathCut = true;
            return;
        }
        path[depth++] = Level{(uint8_t)field, (uint16_t)element};
    }
};

// Who reports an unserialize failure, from which base address (a record's
// first item, or a message body's first byte), and where it is recorded.
struct Reporter {
    FnName fn;
    const uint8_t *base;
    ReadFailure *fail;
};

// The record operations on a description, with the exports' checks of their
// arguments: the copy, and the wire length (0 for a null record).
uint32_t copy(const TypeDesc &d, void *dst, const void *src);
uint32_t length(const TypeDesc &d, const void *rec);

// For callers that have checked their pointers: a record's or a body's
// items written at p (the end returned), and read at pos (end null: trust
// item lengths). A refusal is recorded in who.fail, whose start the caller
// has set, and reported as `who` (a body's level reports as its callback,
// records nested in it as their unserialize); pos is then at the refused
// item, else past the items read.
uint8_t *write(const TypeDesc &d, const void *rec, uint8_t *p);
uint32_t read(const TypeDesc &d, void *rec, const uint8_t *&pos, const uint8_t *end,
              const Reporter &who);

// Reads one record at *pos as its exported unserialize does; end bounds every
// read (null: trust item lengths). Sets fail.start; when the bytes are
// refused, the rest of `fail` says why and where, and is left alone otherwise.
uint32_t readRecord(const TypeDesc &d, void *rec, const uint8_t **pos, const uint8_t *end,
                    ReadFailure &fail);

// The exported record operations: their own arguments first and the type's
// number last, so that each export is a single jump here and names its type
// with a constant rather than an address to load.
uint32_t recCopy(void *dst, const void *src, uint32_t type);
uint32_t recLength(const void *rec, uint32_t type);
uint32_t recSerialize(const void *rec, uint8_t **pos, uint32_t type);
uint32_t recUnserialize(void *rec, const uint8_t **pos, uint32_t type);
uint32_t recUnserializeBounded(void *rec, const uint8_t **pos, const uint8_t *end, uint32_t type);

// Single items, for the frame's two: one scalar32 item read, its value
// stored and p moved past it (0), or refused and reported as `who`; and the
// line of an item that is not read after a refusal.
uint32_t readScalar32(const Reporter &who, const uint8_t *&p, const uint8_t *end, uint32_t tag,
                      uint32_t &value);
void errorBefore(const Reporter &who, uint32_t tag);

}  // namespace iv
