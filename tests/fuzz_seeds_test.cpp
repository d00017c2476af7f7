// The committed fuzz seeds: each names its target in its bytes and in its
// file name (<target>_<variant>), the two agree, the target exists, and the
// bytes after the name are a record or body the target reads in full. Every
// record type and every body has seeds (`ninja fuzz_seeds` in a fuzzing
// build writes them).
#include <dirent.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fuzz/fuzz_kit.h"

namespace {

using namespace ivfuzz;

constexpr const char *kRewrite = ": `ninja -C BUILD fuzz_seeds` rewrites the seeds";

struct Seed {
    std::string file;
    std::vector<uint8_t> bytes;
};

std::vector<Seed> seeds(const std::string &kind)
{
    std::vector<Seed> out;
    std::string dir = std::string(IVT_SEED_DIR) + "/" + kind;
    DIR *d = opendir(dir.c_str());
    EXPECT_TRUE(d) << dir;
    if (!d)
        return out;
    while (dirent *e = readdir(d)) {
        if (e->d_name[0] == '.')
            continue;
        std::ifstream f(dir + "/" + e->d_name, std::ios::binary);
        out.push_back({e->d_name, {std::istreambuf_iterator<char>(f), {}}});
    }
    closedir(d);
    EXPECT_FALSE(out.empty()) << dir;
    return out;
}

// The target named by the bytes, checked against the file name.
bool nameOf(const Seed &s, Named &n)
{
    if (!splitName(s.bytes.data(), s.bytes.size(), n)) {
        ADD_FAILURE() << s.file << ": no target name before a newline";
        return false;
    }
    std::string name(n.name, n.length);
    for (const char *variant : {"_empty", "_some", "_full"})
        if (s.file == name + variant)
            return true;
    ADD_FAILURE() << s.file << ": carries the target " << name
                  << ", which its file name does not give";
    return false;
}

TEST(FuzzSeeds, RecordSeedsNameTheirTypeAndReadInFull)
{
    std::set<std::string> seeded;
    for (const Seed &s : seeds("records")) {
        Named n;
        if (!nameOf(s, n))
            continue;
        const RecordOps *ops = recordNamed(n);
        if (!ops) {
            ADD_FAILURE() << s.file << ": no record type " << std::string(n.name, n.length);
            continue;
        }
        seeded.insert(ops->name);
        std::vector<uint8_t> rec(ops->size);
        const uint8_t *pos = n.bytes;
        EXPECT_EQ(0u, ops->unserializeBounded(rec.data(), &pos, n.end)) << s.file;
        EXPECT_EQ(n.end, pos) << s.file << ": bytes left after the record";
    }
    for (const RecordOps &ops : kRecords)
        EXPECT_TRUE(seeded.count(ops.name)) << "no seed for " << ops.name << kRewrite;
}

TEST(FuzzSeeds, BodySeedsNameTheirMessageAndReadInFull)
{
    std::set<std::string> seeded;
    for (const Seed &s : seeds("bodies")) {
        Named n;
        BodyCase c;
        if (!nameOf(s, n))
            continue;
        if (!bodyCaseNamed(n, c)) {
            ADD_FAILURE() << s.file << ": no body " << std::string(n.name, n.length);
            continue;
        }
        seeded.insert(std::string(n.name, n.length));
        void *body = nullptr;
        uint32_t size = 0;
        EXPECT_EQ(0u, intfVelmor_unserializeBodyBounded(c.entry->unserializeBody, c.type, n.bytes,
                                                        n.end, &body, &size))
            << s.file;
        if (body)
            c.entry->freeBody(c.type, body);
    }
    for (unsigned i = 0; i < kBodyCases; ++i) {
        BodyCase c = bodyCase(i);
        std::string name = std::string(c.msg->name) + "_" + bodyKind(c);
        EXPECT_TRUE(seeded.count(name)) << "no seed for " << name << kRewrite;
    }
}

}  // namespace
