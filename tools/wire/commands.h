// The tool's commands, each run on its parsed command line; they return the
// exit status (0 done, 1 input refused) and throw InputError or UsageError.
#pragma once

#include <string>

namespace wiretool {

struct Options {
    std::string command, message, type, record, file;
    bool json = false, pretty = false, dump = false, binary = false, help = false;
};

// The messages with their magics and members, and the record types.
int listCommand(const Options &o);
// Bytes to values, by the library's readers; the message is recognised by
// its frame unless named.
int decodeCommand(const Options &o);
// JSON to bytes, by the library's serializers.
int encodeCommand(const Options &o);
// A zero-filled body or record in the shape encode reads.
int templateCommand(const Options &o);

}  // namespace wiretool
