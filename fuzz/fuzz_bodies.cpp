// Received message bodies: the input names a command's request or response
// or a notification (see fuzz_kit.h), the rest are the bytes that arrived. Whatever
// decodes must encode again to bytes that decode to the same body, and each
// body must go back through its entry's freeBody.
#include <string.h>

#include "fuzz_kit.h"

using namespace ivfuzz;

namespace {

struct Decoded {
    uint32_t rc;
    void *body;
    uint32_t size;
};

Decoded decode(const BodyCase &c, const uint8_t *bytes, const uint8_t *end)
{
    static int untouched;
    Decoded d{0, &untouched, 0};
    d.rc = intfVelmor_unserializeBodyBounded(c.entry->unserializeBody, c.type, bytes, end,
                                             &d.body, &d.size);
    if (d.rc != 0 && d.body != &untouched)
        finding("a refused body was handed out", c.msg->name, d.rc);
    return d;
}

struct Encoded {
    uint8_t *buf = nullptr;
    uint32_t len = 0;
};

Encoded encode(const BodyCase &c, void *body)
{
    Encoded e;
    uint32_t rc = c.entry->serializeBody(c.type, body, &e.buf, &e.len);
    if (rc != 0 || !e.buf)
        finding("a decoded body does not serialize", c.msg->name, rc);
    return e;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    installCountingSeam();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Named n;
    BodyCase c;
    if (!splitName(data, size, n) || !bodyCaseNamed(n, c))
        return 0;
    const char *name = c.msg->name;

    Decoded first = decode(c, n.bytes, n.end);
    if (first.rc != 0) {
        // A frame that is not this message's (2), or a malformed member (4).
        if (first.rc != INTFVELMOR_ERR_FRAME && first.rc != INTFVELMOR_ERR_BODY)
            finding("unexpected code for received bytes", name, first.rc);
        if (g_live != 0)
            finding("a refused body was not released", name, first.rc);
        return 0;
    }
    if (first.size != c.msg->size[c.type])
        finding("body size differs from the message's", name, first.size);
    const iv::BodyHead *head = (const iv::BodyHead *)first.body;
    if (head->magic != c.msg->magic || head->ref != 0)
        finding("decoded head differs from the message's", name, head->magic);

    Encoded once = encode(c, first.body);
    Decoded second = decode(c, once.buf, once.buf + once.len);
    if (second.rc != 0)
        finding("re-encoded bytes do not decode", name, second.rc);
    if (memcmp(first.body, second.body, first.size) != 0)
        finding("re-encoded bytes decode to another body", name, 0);
    Encoded twice = encode(c, second.body);
    if (twice.len != once.len || memcmp(once.buf, twice.buf, once.len) != 0)
        finding("second encoding differs from the first", name, twice.len);

    c.entry->freeBody(c.type, first.body);
    c.entry->freeBody(c.type, second.body);
    // Hosts release buffers with free(); here through the seam to keep count.
    iv::release(once.buf);
    iv::release(twice.buf);
    if (g_live != 0)
        finding("an allocation outlived its input", name, (unsigned)g_live);
    return 0;
}
