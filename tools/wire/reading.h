// The library reading the bytes, and the tool's account of what it did.
//
// Nothing here reads a wire item by itself: a body goes once through the
// library's bounded body reader (the one behind
// intfVelmor_unserializeBodyBounded and the body callbacks), a record through
// the reader behind its _unserialize_bounded, and the frame's two items
// through the library's item reader. When the library refuses bytes, the
// record its reader fills says why, at which offset and in which member; the
// lines it logged are kept beside.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "tools/wire/base.h"
#include "tools/wire/catalogue.h"

namespace wiretool {

// Where a decode stopped, from the library's failure record: the failing
// item's offset (or, after a decode, the bytes it read) and its member.
struct Stop {
    bool failed = false;
    bool located = false;   // the library recorded the failing item
    uint32_t offset = 0;    // failing item, or just past the last item read
    uint32_t base = 0;      // first item of the record that reports the failure
    std::string path;       // member path from the body or record
    std::string form;
    std::string holder;     // type of the record that holds the failing item
    int tag = -1;
};

// One reading of the bytes as one body or one record; owns what was read.
struct Decoded {
    const Message *msg = nullptr;     // a message body, or
    const RecordType *rec = nullptr;  // a record
    int32_t type = iv::kReq;
    uint32_t rc = 0;
    void *value = nullptr;  // the library's body, or the record filled by it
    std::vector<LogLine> log;
    iv::ReadFailure fail{};  // what the library recorded when it refused the bytes
    Stop stop;
    std::vector<uint8_t> canonical;  // the library's encoding of what was decoded

    Decoded() = default;
    Decoded(const Decoded &) = delete;
    Decoded(Decoded &&o) noexcept { *this = std::move(o); }
    Decoded &operator=(Decoded &&o) noexcept;
    ~Decoded();

    bool ok() const { return rc == 0; }
    std::string name() const { return msg ? title(*msg, type) : std::string(rec->name); }
};

// One run of the library's bounded body reader, as the body callback runs it.
Decoded decodeBody(const Message &msg, int32_t type, const std::vector<uint8_t> &in);
// One run of the record's bounded reader.
Decoded decodeRecord(const RecordType &t, const std::vector<uint8_t> &in);

// The frame's two items, read by the library's item reader.
struct Frame {
    bool magicRead = false;  // item 0 was read
    bool read = false;       // both were
    uint32_t magic = 0, stamp = 0;
    size_t stampAt = 0;      // offset of item 1
};
Frame readFrame(const std::vector<uint8_t> &in);

// What a body callback's code means.
const char *codeMeaning(uint32_t rc);
// Why the library stopped, in a few words, from its record.
std::string reason(const Decoded &r);
// The full account of a refusal, led by the reading's name.
std::string diagnosis(const Decoded &r, const std::vector<uint8_t> &in);
// The account of a frame that no message reads, from one message's refusal
// of it, naming no message.
std::string frameDiagnosis(const Decoded &r, const std::vector<uint8_t> &in);

// A decode that read every byte. The library reads a body or a record up to
// its last member and ignores what follows.
bool readAllBytes(const Decoded &r, const std::vector<uint8_t> &in);
// The notes on an accepted reading: bytes left over, and where the library's
// own encoding of the values differs from the input.
std::string notes(const Decoded &r, const std::vector<uint8_t> &in);

}  // namespace wiretool
