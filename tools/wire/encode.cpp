// encode and template: the encoder's bytes written out, and the zero body or
// record in the shape it reads.
#include <stdio.h>
#include <stdlib.h>

#include "tools/wire/commands.h"
#include "tools/wire/encoder.h"
#include "tools/wire/input.h"
#include "tools/wire/output.h"

namespace wiretool {

int encodeCommand(const Options &o)
{
    json j = parseJson(readAll(o.file));
    std::vector<uint8_t> bytes = encode(target({o.message, o.type, o.record}, j));
    if (o.binary) {
        fwrite(bytes.data(), 1, bytes.size(), stdout);
        return 0;
    }
    for (size_t i = 0; i < bytes.size(); i += 16)
        printf("%s\n", hexBytes(bytes.data() + i, bytes.size() - i < 16 ? bytes.size() - i : 16)
                           .c_str());
    return 0;
}

int templateCommand(const Options &o)
{
    Target t = target({o.message, o.type, o.record}, json::object());
    Decoded r;
    r.msg = t.msg;
    r.rec = t.rec;
    r.type = t.type;
    size_t size = t.rec ? t.rec->d->size : t.msg->m->size[t.type];
    r.value = calloc(1, size);
    if (!r.value)
        reject("out of memory");
    if (t.msg)
        ((iv::BodyHead *)r.value)->magic = t.msg->m->magic;
    fputs(jsonOf(r, o.pretty || !o.json).c_str(), stdout);
    return 0;
}

}  // namespace wiretool
