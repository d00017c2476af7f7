// Runs the vectors of tests/vectors/: bytes in (in the kit's wire notation),
// the code, the read position, the log lines, and the bytes the record or
// message body read serializes back to. A record that reads cleanly is also
// copied, read by the bounded reader, and cut at every byte (bounded: code 4
// each).
//
//   = <Type> <what the case shows>
//   = <Entry>.req|res <...>   a message body, by its entry's name, through
//                             the entry's body callbacks
//   pre <wire>     read into the record first
//   in  <wire>     continuation lines start with a blank
//   bounded        read with the bounded reader
//   bits 32        only where pointers have 32 bits
//   rc  <code>     default 0
//   at  <offset>   where the read stopped; default the end when rc is 0
//   out <wire>     the record serialized after the read; default in when rc is 0
//   len <n>        serialize_lg of the record read
//   log <Type>: <text>    an expected line of intfVelmor_<Type>_unserialize
//                         (or of the function named in full); @N is the
//                         address of input byte N
#include <dirent.h>
#include <string.h>

#include <algorithm>
#include <set>

#include <fstream>
#include <memory>

#include "record_ops.h"
#include "testkit.h"

using namespace ivtest;

namespace {

using Bytes = std::vector<uint8_t>;

struct Case {
    std::string where, type;
    std::string pre, in, out;
    bool bounded = false, only32 = false;
    long rc = 0, at = -1, len = -1;
    Lines log;
};

std::vector<Case> load(const std::string &path)
{
    std::vector<Case> cases;
    std::ifstream f(path);
    std::string line, *cont = nullptr;
    for (int no = 1; std::getline(f, line); ++no) {
        if (line.empty() || line[0] == '#')
            continue;
        if (line[0] == ' ' && cont) {
            *cont += line;
            continue;
        }
        std::string key = line.substr(0, line.find(' '));
        std::string rest = line.size() > key.size() ? line.substr(key.size() + 1) : "";
        cont = nullptr;
        if (key == "=") {
            cases.push_back(Case{});
            cases.back().where = path + ":" + std::to_string(no) + " " + rest;
            cases.back().type = rest.substr(0, rest.find(' '));
            continue;
        }
        if (cases.empty()) {
            ADD_FAILURE() << path << ":" << no << ": no case open";
            continue;
        }
        Case &c = cases.back();
        if (key == "pre" || key == "in" || key == "out")
            *(cont = key == "pre" ? &c.pre : key == "in" ? &c.in : &c.out) = rest;
        else if (key == "bounded")
            c.bounded = true;
        else if (key == "bits")
            c.only32 = rest == "32";
        else if (key == "rc" || key == "at" || key == "len")
            (key == "rc" ? c.rc : key == "at" ? c.at : c.len) = std::stol(rest);
        else if (key == "log")
            c.log.push_back(rest);
        else
            ADD_FAILURE() << path << ":" << no << ": unknown key " << key;
    }
    return cases;
}

// "Type: text @N" as lines() renders it for input base b.
std::string expand(const std::string &l, const uint8_t *b)
{
    size_t colon = l.find(": ");
    std::string fn = l.substr(0, colon);
    if (fn.rfind("intfVelmor_", 0) != 0)
        fn = unserializeFn(fn.c_str());
    std::string text, src = l.substr(colon);
    for (size_t i = 0; i < src.size(); ++i) {
        if (src[i] != '@') {
            text += src[i];
            continue;
        }
        size_t n = 0;
        long off = std::stol(src.substr(i + 1), &n);
        text += at(b + off);
        i += n;
    }
    return fn + text + "\n";
}

struct Read {
    uint32_t rc;
    long at;
};

Read readInto(const AnyOps &o, void *rec, const Bytes &in, bool bounded)
{
    // An exact-size copy: a read past the end shows under the sanitizers.
    std::unique_ptr<uint8_t[]> b(new uint8_t[in.size() + !in.size()]);
    if (!in.empty())
        memcpy(b.get(), in.data(), in.size());
    const uint8_t *p = b.get();
    uint32_t rc = bounded ? o.unserBounded(rec, &p, b.get() + in.size()) : o.unser(rec, &p);
    return {rc, (long)(p - b.get())};
}

// Serializes into a buffer of exactly serialize_lg bytes, checking that the
// position moves by that length and nothing past it is written.
Bytes written(const AnyOps &o, const void *rec)
{
    uint32_t lg = o.lg(rec);
    Bytes buf(lg + 16, 0xA5);
    memset(buf.data(), 0, lg);
    uint8_t *p = buf.data();
    EXPECT_EQ(0u, o.ser(rec, &p));
    EXPECT_EQ((long)lg, p - buf.data()) << "serialize moved by other than serialize_lg";
    EXPECT_EQ(Bytes(16, 0xA5), Bytes(buf.begin() + lg, buf.end())) << "wrote past its length";
    buf.resize(lg);
    return buf;
}

// A message body: read by the entry's callback (or the bounded decoder),
// then serialized back and freed by the entry's own callbacks.
void checkBody(const Case &c)
{
    size_t dot = c.type.find('.');
    std::string name = c.type.substr(0, dot);
    int32_t type = c.type.substr(dot + 1) == "res";
    const intfVelmor_entry *e = nullptr;
    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT; ++i)
        if (name == intfVelmor_base.cmd.entries[i].name)
            e = &intfVelmor_base.cmd.entries[i];
    for (uint32_t i = 0; i < INTFVELMOR_NTFY_COUNT; ++i)
        if (name == intfVelmor_base.ntfy.entries[i].name)
            e = &intfVelmor_base.ntfy.entries[i];
    ASSERT_TRUE(e) << "unknown entry";
    clearLogs();
    Bytes in = wire(c.in);
    void *body = nullptr;
    uint32_t size = 0;
    uint32_t rc = c.bounded ? intfVelmor_unserializeBodyBounded(e->unserializeBody, type, in.data(),
                                                               in.data() + in.size(), &body, &size)
                            : e->unserializeBody(type, in.data(), &body, &size);
    EXPECT_EQ((uint32_t)c.rc, rc);
    Lines want;
    for (const std::string &l : c.log)
        want.push_back(expand(l, in.data()));
    EXPECT_EQ(want, lines());
    if (rc) {
        EXPECT_EQ(nullptr, body);
        return;
    }
    uint8_t *out = nullptr;
    uint32_t len = 0;
    EXPECT_EQ(0u, e->serializeBody(type, body, &out, &len));
    EXPECT_EQ(toHex(wire(c.out.empty() ? c.in : c.out)), toHex(Bytes(out, out + len)));
    free(out);
    e->freeBody(type, body);
}

void check(const Case &c)
{
    if (c.only32 && sizeof(void *) != 4)
        return;
    if (c.type.find('.') != std::string::npos)
        return checkBody(c);
    const AnyOps *o = opsByName(c.type);
    ASSERT_TRUE(o) << "unknown type";
    std::vector<uint8_t> rec(o->size, 0);
    if (!c.pre.empty()) {
        ASSERT_EQ(0u, readInto(*o, rec.data(), wire(c.pre), false).rc);
    }
    clearLogs();
    Bytes in = wire(c.in);
    // Lines carry the address of the input: read from the one buffer.
    const uint8_t *p = in.data();
    uint32_t rc = c.bounded ? o->unserBounded(rec.data(), &p, in.data() + in.size())
                            : o->unser(rec.data(), &p);
    EXPECT_EQ((uint32_t)c.rc, rc);
    EXPECT_EQ(c.at >= 0 ? c.at : (long)in.size(), p - in.data());
    Lines want;
    for (const std::string &l : c.log)
        want.push_back(expand(l, in.data()));
    EXPECT_EQ(want, lines());
    Bytes out = written(*o, rec.data());
    if (!c.out.empty() || rc == 0) {
        EXPECT_EQ(toHex(wire(c.out.empty() ? c.in : c.out)), toHex(out));
    }
    if (c.len >= 0) {
        EXPECT_EQ(c.len, (long)o->lg(rec.data()));
    }
    if (rc != 0 || c.bounded)
        return;

    // A clean read: the copy is the record, byte for byte and nothing past
    // it, the bounded reader agrees, and every cut of the input is refused
    // without a read past it.
    std::vector<uint8_t> copied(o->size + 8, 0xA5), again(o->size, 0), cut(o->size, 0);
    memset(copied.data(), 0, o->size);
    EXPECT_EQ(0u, o->copy(copied.data(), rec.data()));
    EXPECT_EQ(Bytes(8, 0xA5), Bytes(copied.end() - 8, copied.end())) << "copy wrote past it";
    copied.resize(o->size);
    if (c.pre.empty())  // elements left from `pre` past the count are not copied
        EXPECT_TRUE(copied == rec) << "copy";
    else
        EXPECT_EQ(toHex(out), toHex(written(*o, copied.data()))) << "copy";
    Read r = readInto(*o, again.data(), in, true);
    EXPECT_EQ(0u, r.rc) << "bounded";
    EXPECT_EQ((long)in.size(), r.at) << "bounded";
    // Long inputs are cut at a stride that still meets every offset in an item.
    for (size_t n = 0; n < in.size(); n += in.size() > 512 ? 7 : 1) {
        Bytes part(in.begin(), in.begin() + (long)n);
        ASSERT_EQ(4u, readInto(*o, cut.data(), part, true).rc) << "cut at " << n;
        clearLogs();
    }
    clearLogs();
}

class Vectors : public ::testing::TestWithParam<std::string> {};

TEST_P(Vectors, File)
{
    std::vector<Case> cases = load(std::string(IVT_VECTOR_DIR) + "/" + GetParam());
    ASSERT_FALSE(cases.empty());
    for (const Case &c : cases) {
        SCOPED_TRACE(c.where);
        check(c);
    }
}

std::vector<std::string> files()
{
    std::vector<std::string> out;
    if (DIR *d = opendir(IVT_VECTOR_DIR)) {
        while (dirent *e = readdir(d))
            if (std::string n = e->d_name; n.size() > 4 && n.substr(n.size() - 4) == ".txt")
                out.push_back(n);
        closedir(d);
    }
    std::sort(out.begin(), out.end());
    return out;
}

INSTANTIATE_TEST_SUITE_P(Records, Vectors, ::testing::ValuesIn(files()),
                         [](const auto &info) { return info.param.substr(0, info.param.size() - 4); });

// Every record type has vectors: the ones that read cleanly cover its lengths.
TEST(VectorCoverage, EveryType)
{
    std::set<std::string> seen;
    for (const std::string &f : files())
        for (const Case &c : load(std::string(IVT_VECTOR_DIR) + "/" + f))
            seen.insert(c.type.substr(0, c.type.find('.')));
    for (const AnyOps &o : allOps())
        EXPECT_TRUE(seen.count(o.name)) << o.name << " has no vector";
}

}  // namespace
