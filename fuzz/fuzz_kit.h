// Shared by the fuzz targets, the seed generator and the seeds' test: the
// target an input names, typed access to every record type, and a counting
// allocation seam.
#pragma once

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "base/alloc.h"
#include "intfVelmor.h"
#include "messages/frame.h"
#include "types/described.h"

namespace ivfuzz {

// ---- message bodies: every command's request and response, every notification
constexpr unsigned kBodyCases = 2 * INTFVELMOR_CMD_COUNT + INTFVELMOR_NTFY_COUNT;

struct BodyCase {
    const iv::MsgDesc *msg;
    const intfVelmor_entry *entry;
    int32_t type;
};

inline BodyCase bodyCase(unsigned selector)
{
    unsigned c = selector % kBodyCases;
    if (c < 2 * INTFVELMOR_CMD_COUNT)
        return {iv::kCommands[c / 2], &intfVelmor_base.cmd.entries[c / 2], (int32_t)(c % 2)};
    c -= 2 * INTFVELMOR_CMD_COUNT;
    return {iv::kNotifications[c], &intfVelmor_base.ntfy.entries[c], INTFVELMOR_BODY_REQ};
}

// ---- records: the five operations of every type, untyped -------------------------
struct RecordOps {
    const char *name;
    const iv::TypeDesc *desc;
    size_t size;
    uint32_t (*unserializeBounded)(void *rec, const uint8_t **pos, const uint8_t *end);
    uint32_t (*length)(const void *rec);
    uint32_t (*serialize)(const void *rec, uint8_t **pos);
    uint32_t (*copy)(void *dst, const void *src);
    void (*clean)(void *rec);
};

#define IVFUZZ_OPS(T)                                                                      \
    RecordOps{#T, &iv::descOf<T>(), sizeof(T),                                              \
              [](void *r, const uint8_t **p, const uint8_t *e) {                           \
                  return intfVelmor_##T##_unserialize_bounded((T *)r, p, e);               \
              },                                                                           \
              [](const void *r) { return intfVelmor_##T##_serialize_lg((const T *)r); },   \
              [](const void *r, uint8_t **p) {                                             \
                  return intfVelmor_##T##_serialize((const T *)r, p);                      \
              },                                                                           \
              [](void *d, const void *s) { return intfVelmor_##T##_copy((T *)d, (const T *)s); }, \
              [](void *r) { intfVelmor_##T##_clean((T *)r); }},
inline const RecordOps kRecords[] = {INTFVELMOR_RECORD_TYPES(IVFUZZ_OPS)};
#undef IVFUZZ_OPS
constexpr unsigned kRecordCount = sizeof kRecords / sizeof kRecords[0];

// ---- the target an input names -----------------------------------------------------
// An input is the name of its target, a newline, then the bytes:
// "ccaStats\n..." for a record type, "getCCAStatistic_res\n..." for a body
// (<message>_req, _res or _ntfy). The name, not a position in a list, picks
// the target, so a seed keeps its target when a type or message is inserted.
constexpr size_t kMaxName = 64;

struct Named {
    const char *name;
    size_t length;
    const uint8_t *bytes, *end;  // what follows the newline
};

// False when no newline ends a name within kMaxName bytes.
inline bool splitName(const uint8_t *data, size_t size, Named &out)
{
    const void *nl = memchr(data, '\n', size < kMaxName ? size : kMaxName);
    if (!nl)
        return false;
    out = {(const char *)data, (size_t)((const uint8_t *)nl - data), (const uint8_t *)nl + 1,
           data + size};
    return true;
}

inline bool named(const Named &n, const char *name, size_t length)
{
    return n.length == length && memcmp(n.name, name, length) == 0;
}

inline const char *bodyKind(const BodyCase &c)
{
    return c.msg->ntfy ? "ntfy" : c.type == INTFVELMOR_BODY_REQ ? "req" : "res";
}

inline bool bodyCaseNamed(const Named &n, BodyCase &out)
{
    for (unsigned i = 0; i < kBodyCases; ++i) {
        BodyCase c = bodyCase(i);
        size_t len = strlen(c.msg->name);
        const char *kind = bodyKind(c);
        if (n.length == len + 1 + strlen(kind) && memcmp(n.name, c.msg->name, len) == 0 &&
            n.name[len] == '_' && memcmp(n.name + len + 1, kind, n.length - len - 1) == 0) {
            out = c;
            return true;
        }
    }
    return false;
}

inline const RecordOps *recordNamed(const Named &n)
{
    for (const RecordOps &ops : kRecords)
        if (named(n, ops.name, strlen(ops.name)))
            return &ops;
    return nullptr;
}

// ---- allocations: every one the library makes, counted -----------------------------
inline long g_live = 0;

inline void installCountingSeam()
{
    iv::allocSeam.zalloc = [](size_t n) -> void * {
        void *p = calloc(1, n);
        if (p)
            ++g_live;
        return p;
    };
    iv::allocSeam.release = [](void *p) {
        if (p)
            --g_live;
        free(p);
    };
}

// A broken invariant is a finding: say which, and stop like a crash.
[[noreturn]] inline void finding(const char *what, const char *name, unsigned rc)
{
    fprintf(stderr, "FINDING: %s (%s, code %u)\n", what, name, rc);
    abort();
}

}  // namespace ivfuzz
