// Records read from received bytes: the input names one of the record types
// (see fuzz_kit.h), the rest are the bytes. Whatever decodes must encode, into exactly
// the length the type announces, to bytes that decode to the same record, and
// a copy of it must encode the same.
#include <string.h>

#include "fuzz_kit.h"

using namespace ivfuzz;

namespace {

// Exactly sized heap blocks, so that the sanitizer sees any step beyond them.
struct Block {
    explicit Block(size_t n) : p((uint8_t *)calloc(1, n ? n : 1)) {}
    ~Block() { free(p); }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;
    uint8_t *p;
};

// Serializes into a zero-filled buffer of exactly serialize_lg bytes.
struct Encoded {
    Encoded(const RecordOps &ops, const void *rec) : len(ops.length(rec)), buf(len)
    {
        uint8_t *pos = buf.p;
        uint32_t rc = ops.serialize(rec, &pos);
        if (rc != 0)
            finding("a decoded record does not serialize", ops.name, rc);
        if (pos != buf.p + len)
            finding("serialize wrote other than serialize_lg bytes", ops.name, len);
    }
    bool operator==(const Encoded &o) const
    {
        return len == o.len && memcmp(buf.p, o.buf.p, len) == 0;
    }
    uint32_t len;
    Block buf;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Named n;
    const RecordOps *target = splitName(data, size, n) ? recordNamed(n) : nullptr;
    if (!target)
        return 0;
    const RecordOps &ops = *target;
    const uint8_t *begin = n.bytes, *end = n.end;

    Block first(ops.size);
    const uint8_t *pos = begin;
    uint32_t rc = ops.unserializeBounded(first.p, &pos, end);
    if (pos < begin || pos > end)
        finding("read position left the input", ops.name, rc);
    if (rc != 0) {
        if (rc != INTFVELMOR_ERR_BODY)
            finding("unexpected code for received bytes", ops.name, rc);
        return 0;
    }

    Encoded once(ops, first.p);
    Block second(ops.size);
    pos = once.buf.p;
    rc = ops.unserializeBounded(second.p, &pos, once.buf.p + once.len);
    if (rc != 0)
        finding("re-encoded bytes do not decode", ops.name, rc);
    if (pos != once.buf.p + once.len)
        finding("re-encoded bytes decode to another length", ops.name,
                (unsigned)(pos - once.buf.p));
    if (memcmp(first.p, second.p, ops.size) != 0)
        finding("re-encoded bytes decode to another record", ops.name, 0);
    if (!(Encoded(ops, second.p) == once))
        finding("second encoding differs from the first", ops.name, 0);

    Block copied(ops.size);
    rc = ops.copy(copied.p, first.p);
    if (rc != 0)
        finding("a decoded record does not copy", ops.name, rc);
    if (!(Encoded(ops, copied.p) == once))
        finding("a copy encodes differently", ops.name, 0);
    ops.clean(first.p);
    ops.clean(second.p);
    ops.clean(copied.p);
    return 0;
}
