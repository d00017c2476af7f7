// Writes the seed corpus of the fuzz targets: every record type and every
// message body, empty, partly filled and filled to capacity, each as the
// name of its target and a newline followed by the bytes the library
// serializes, in a file named <target>_<variant>.
//
//   make_seeds OUTDIR   ->  OUTDIR/records/..., OUTDIR/bodies/...
#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <set>
#include <string>
#include <vector>

#include "fuzz_kit.h"
#include "types/names.h"

using namespace ivfuzz;

namespace {

using Bytes = std::vector<uint8_t>;

enum Variant { kEmpty, kSome, kFull };
const char *const kVariantNames[] = {"empty", "some", "full"};

// Fills a zeroed record by its description. kSome: short texts and one to
// three elements; kFull: texts at capacity and counts one above the bound
// (the count travels unchanged, the elements stop at the bound).
struct Filler {
    Variant variant;
    uint32_t x;

    uint32_t next()
    {
        x ^= x << 13, x ^= x >> 17, x ^= x << 5;
        return x;
    }

    void text(char *s, uint32_t cap)
    {
        static const char kChars[] = "0123456789abcdef:ABCDEF-_ .wifi";
        uint32_t n = variant == kFull ? cap - 1 : next() % (cap < 13 ? cap : 13);
        for (uint32_t i = 0; i < n; ++i)
            s[i] = kChars[next() % (sizeof kChars - 1)];
        s[n] = 0;
    }

    uint32_t count(const iv::Field &f)
    {
        uint32_t limit = f.countWidth() == 1 ? 255u : 0xFFFFFFFFu;
        if (variant == kFull)
            return f.cap < limit ? f.cap + 1u : f.cap;
        return 1 + next() % (f.cap < 3 ? f.cap : 3);
    }

    void fill(const iv::TypeDesc &d, uint8_t *rec)
    {
        if (variant == kEmpty)
            return;
        for (const iv::Field *f = iv::fieldsOf(d), *e = f + d.count; f != e; ++f) {
            uint8_t *m = rec + f->offset;
            switch (f->form) {
            case iv::Form::U8:
            case iv::Form::I8: *m = (uint8_t)next(); break;
            case iv::Form::U16:
            case iv::Form::I16: {
                uint16_t v = (uint16_t)next();
                memcpy(m, &v, 2);
                break;
            }
            case iv::Form::U32: {
                uint32_t v = next() >> (next() % 32);  // small and large values
                memcpy(m, &v, 4);
                break;
            }
            case iv::Form::U64: {
                uint64_t v = (uint64_t)next() << 32 | next();
                memcpy(m, &v, 8);
                break;
            }
            case iv::Form::Text: text((char *)m, f->cap); break;
            case iv::Form::Record: fill(*f->sub(), m); break;
            case iv::Form::Table:
                for (uint32_t i = 0; i < f->cap; ++i)
                    fill(*f->sub(), m + i * f->stride());
                break;
            case iv::Form::ArrayRec:
            case iv::Form::ArrayU32: {
                uint32_t n = count(*f);
                f->setCount(rec, n);
                n = n < f->cap ? n : f->cap;
                for (uint32_t i = 0; i < n; ++i) {
                    if (f->form == iv::Form::ArrayRec) {
                        fill(*f->sub(), m + i * f->stride());
                    } else {
                        uint32_t v = next();
                        memcpy(m + i * 4, &v, 4);
                    }
                }
                break;
            }
            }
        }
    }
};

void makeDir(const std::string &path)
{
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) {
        perror(path.c_str());
        exit(1);
    }
}

size_t g_files = 0, g_bytes = 0;

// A target's fill comes from its name, not its position: adding a type or a
// message leaves the other seeds as they are.
uint32_t nameHash(const std::string &name, Variant v)
{
    uint32_t h = 2166136261u;
    for (char c : name)
        h = (h ^ (uint8_t)c) * 16777619u;
    return h ^ (uint32_t)v;
}

void writeSeed(const std::string &dir, const std::string &target, Variant v, const Bytes &bytes)
{
    std::string path = dir + "/" + target + "_" + kVariantNames[v];
    std::string head = target + "\n";
    FILE *f = fopen(path.c_str(), "wb");
    if (!f || fwrite(head.data(), 1, head.size(), f) != head.size() ||
        fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size() || fclose(f) != 0) {
        perror(path.c_str());
        exit(1);
    }
    ++g_files;
    g_bytes += head.size() + bytes.size();
}

[[noreturn]] void fail(const char *what, const char *name, uint32_t rc)
{
    fprintf(stderr, "make_seeds: %s: %s (%u)\n", name, what, rc);
    exit(1);
}

void recordSeeds(const std::string &dir)
{
    for (unsigned t = 0; t < kRecordCount; ++t) {
        const RecordOps &ops = kRecords[t];
        std::set<Bytes> seen;
        for (Variant v : {kEmpty, kSome, kFull}) {
            Bytes rec(ops.size, 0);
            Filler{v, nameHash(ops.name, v)}.fill(*ops.desc, rec.data());
            Bytes wire(ops.length(rec.data()), 0);
            uint8_t *pos = wire.data();
            if (uint32_t rc = ops.serialize(rec.data(), &pos))
                fail("serialize failed", ops.name, rc);
            if (!seen.insert(wire).second)
                continue;
            writeSeed(dir, ops.name, v, wire);
        }
    }
}

void bodySeeds(const std::string &dir)
{
    for (unsigned c = 0; c < kBodyCases; ++c) {
        const BodyCase bc = bodyCase(c);
        const iv::MsgDesc &m = *bc.msg;
        std::set<Bytes> seen;
        for (Variant v : {kEmpty, kSome, kFull}) {
            Bytes body(m.size[bc.type], 0);
            ((iv::BodyHead *)body.data())->magic = m.magic;
            if (const iv::TypeDesc *d = m.members[bc.type])
                Filler{v, nameHash(std::string(m.name) + "_" + bodyKind(bc), v)}.fill(*d, body.data());
            uint8_t *buf = nullptr;
            uint32_t len = 0;
            if (uint32_t rc = bc.entry->serializeBody(bc.type, body.data(), &buf, &len))
                fail("serializeBody failed", m.name, rc);
            Bytes wire(buf, buf + len);
            free(buf);
            if (!seen.insert(wire).second)
                continue;
            writeSeed(dir, std::string(m.name) + "_" + bodyKind(bc), v, wire);
        }
    }
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s OUTDIR\n", argv[0]);
        return 2;
    }
    std::string out = argv[1];
    makeDir(out);
    makeDir(out + "/records");
    makeDir(out + "/bodies");
    recordSeeds(out + "/records");
    bodySeeds(out + "/bodies");
    printf("%zu seeds, %zu bytes\n", g_files, g_bytes);
    return 0;
}
