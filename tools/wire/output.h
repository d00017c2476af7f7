// A reading printed by walking the descriptions: as a tree with every item's
// number and offset, or as the JSON that encode reads back.
#pragma once

#include <string>
#include <vector>

#include "tools/wire/reading.h"

namespace wiretool {

// "<name>, body type N, M bytes" and one line per member (the frame's two
// items first for a body).
std::string treeOf(const Decoded &r);
// {"message": NAME, "type": "req"|"res", "body": {...}} or
// {"record": TYPE, "body": {...}}, and a newline: on one line, or indented
// when pretty. Several readings make an array of them.
std::string jsonOf(const Decoded &r, bool pretty);
std::string jsonOf(const std::vector<const Decoded *> &readings, bool pretty);

}  // namespace wiretool
