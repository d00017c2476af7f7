// decode: the bytes read by the library as the named body or record, or as
// every message whose frame they carry.
#include <stdio.h>

#include "tools/describe_print.h"
#include "tools/wire/commands.h"
#include "tools/wire/input.h"
#include "tools/wire/output.h"

namespace wiretool {

namespace {

void show(const Decoded &r, const std::vector<uint8_t> &in, const Options &o, std::string &out)
{
    if (o.json)
        return;
    if (o.dump) {
        out += "bytes:\n";
        ivtool::hexDump(out, in.data(), (uint32_t)in.size(), 2);
    }
    out += treeOf(r);
}

using Candidates = std::vector<std::pair<const Message *, int32_t>>;

// --message NAME [--type req|res]: that body, or both of the message's.
Candidates named(const Options &o)
{
    const Message &msg = findMessage(o.message);
    if (!o.type.empty()) {
        int32_t type = parseType(o.type);
        checkType(msg, type);
        return {{&msg, type}};
    }
    Candidates c{{&msg, iv::kReq}};
    if (!msg.m->ntfy)
        c.push_back({&msg, iv::kRes});
    return c;
}

// The bodies of every message whose magic and stamp the frame carries, and
// `header` naming them; none, with the reason on stderr, when the frame
// cannot be read or no message carries it.
Candidates recognised(const std::vector<uint8_t> &in, std::string &header)
{
    Frame frame = readFrame(in);
    uint32_t magic = frame.magic, stamp = frame.stamp;
    // An unreadable frame stops the library at the same item for every
    // message with this magic, and for any message when item 0 is bad: one of
    // them is read to have the library's record and lines, which are shown
    // without its name.
    const Message *probe = frame.magicRead ? nullptr : &messages()[0];
    for (const Message &msg : messages())
        if (frame.magicRead && !probe && msg.m->magic == magic)
            probe = &msg;
    if (!frame.read && probe) {
        Decoded r = decodeBody(*probe, iv::kReq, in);
        fprintf(stderr, "intfvelmor-wire: the frame (item 0 magic, item 1 stamp) cannot be "
                        "read, so no message is recognised\n%s",
                frameDiagnosis(r, in).c_str());
        return {};
    }
    if (!frame.read) {
        fprintf(stderr, "intfvelmor-wire: no message has magic 0x%08x (item 0), and item 1 "
                        "(the stamp) at offset %zu cannot be read\n",
                magic, frame.stampAt);
        return {};
    }
    Candidates c;
    std::string sameMagic;
    for (const Message &msg : messages()) {
        if (msg.m->magic != magic)
            continue;
        sameMagic += format("%s%s (stamp %u)", sameMagic.empty() ? "" : ", ", msg.m->name,
                            (unsigned)msg.m->stamp);
        if (msg.m->stamp != (uint16_t)stamp)
            continue;
        c.push_back({&msg, iv::kReq});
        if (!msg.m->ntfy)
            c.push_back({&msg, iv::kRes});
    }
    if (c.empty())
        fprintf(stderr, "intfvelmor-wire: no message has magic 0x%08x with stamp %u%s%s\n", magic,
                stamp, sameMagic.empty() ? "" : "; with that magic: ", sameMagic.c_str());
    header = format("magic 0x%08x, stamp %u:", magic, stamp);
    return c;
}

// One candidate's verdict, on one line.
std::string verdict(const Decoded &r, const std::vector<uint8_t> &in)
{
    if (readAllBytes(r, in))
        return "fits";
    if (r.ok())
        return format("decodes, but leaves %zu bytes unread", in.size() - r.stop.offset);
    return format("does not fit: %s at offset %u: %s",
                  r.stop.path.empty() ? "?" : r.stop.path.c_str(), r.stop.offset,
                  reason(r).c_str());
}

// decode --message NAME [--type req|res], or decode with neither: the message
// is recognised from its frame, and every candidate goes through the library.
int decodeMessages(const Options &o, const std::vector<uint8_t> &in)
{
    std::string header = "candidates:";
    Candidates candidates = o.message.empty() ? recognised(in, header) : named(o);
    if (candidates.empty())
        return 1;

    std::vector<Decoded> results;
    for (auto &c : candidates)
        results.push_back(decodeBody(*c.first, c.second, in));

    std::vector<const Decoded *> fits, partial;
    for (const Decoded &r : results) {
        if (readAllBytes(r, in))
            fits.push_back(&r);
        else if (r.ok())
            partial.push_back(&r);
    }
    // The library accepts a body with bytes after it: such a decode is shown
    // when none reads every byte. When the tool guesses among candidates, it
    // stands only if no other candidate refuses the bytes: a short reading
    // beside a refusal is most likely the refused body read as a shorter one
    // (an empty request, say), and the guess fails.
    size_t refused = results.size() - fits.size() - partial.size();
    bool doubtful = results.size() > 1 && fits.empty() && refused > 0;
    const std::vector<const Decoded *> &shown = fits.empty() && !doubtful ? partial : fits;

    std::string out, err;
    if (results.size() > 1) {
        // Which candidates fit, and why the others do not.
        std::string summary = header + "\n";
        for (const Decoded &r : results)
            summary += format("  %-40s %s\n", r.name().c_str(), verdict(r, in).c_str());
        (o.json ? err : out) += summary + (o.json ? "" : "\n");
    }
    if (shown.empty()) {
        for (const Decoded &r : results)
            if (!r.ok())
                err += diagnosis(r, in);
        fputs(out.c_str(), stdout);
        if (doubtful)
            fprintf(stderr,
                    "intfvelmor-wire: no candidate reads every byte, and %zu refuse%s them: "
                    "the %s that leave%s bytes over %s not taken as the message; name one "
                    "with --message NAME --type req|res for the library's verdict on it\n%s",
                    refused, refused == 1 ? "s" : "", partial.size() == 1 ? "reading" : "readings",
                    partial.size() == 1 ? "s" : "", partial.size() == 1 ? "is" : "are",
                    err.c_str());
        else
            fprintf(stderr, "intfvelmor-wire: the bytes do not decode\n%s", err.c_str());
        return 1;
    }
    if (fits.empty())  // nothing read every byte: why the others stopped
        for (const Decoded &r : results)
            if (!r.ok())
                err += diagnosis(r, in);
    for (const Decoded *r : shown) {
        if (!o.json)
            show(*r, in, o, out), out += shown.size() > 1 ? "\n" : "";
        err += notes(*r, in);
    }
    if (o.json)
        out += jsonOf(shown, o.pretty);
    if (shown.size() > 1)
        err += format("intfvelmor-wire: %zu candidates %s; name one with --message NAME --type "
                      "req|res\n",
                      shown.size(), fits.empty() ? "decode" : "fit");
    fputs(out.c_str(), stdout);
    fputs(err.c_str(), stderr);
    return 0;
}

int decodeOneRecord(const Options &o, const std::vector<uint8_t> &in)
{
    Decoded r = decodeRecord(findRecord(o.record), in);
    if (!r.ok()) {
        fprintf(stderr, "intfvelmor-wire: the bytes do not decode\n%s", diagnosis(r, in).c_str());
        return 1;
    }
    std::string out;
    if (o.json)
        out = jsonOf(r, o.pretty);
    else
        show(r, in, o, out);
    fputs(out.c_str(), stdout);
    fputs(notes(r, in).c_str(), stderr);
    return 0;
}

}  // namespace

int decodeCommand(const Options &o)
{
    std::vector<uint8_t> in = readBytes(o.file, o.binary);
    return o.record.empty() ? decodeMessages(o, in) : decodeOneRecord(o, in);
}

}  // namespace wiretool
