// The tool's input: a file or standard input, as text, or as bytes given in
// hex or raw.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace wiretool {

// All of FILE, or of standard input when FILE is empty or "-".
std::string readAll(const std::string &file);

// Hex text: pairs of digits; blanks, newlines, ':' and '|' separate nothing.
// Anything else is refused with its line and column.
std::vector<uint8_t> parseHex(const std::string &text);

// The bytes to decode, as hex text or (binary) as they are; none is refused.
std::vector<uint8_t> readBytes(const std::string &file, bool binary);

}  // namespace wiretool
