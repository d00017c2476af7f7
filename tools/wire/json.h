// JSON in the tool, as nlohmann's ordered_json (members keep their order).
// Reading and writing documents are compiled once, in json.cpp.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace wiretool {

using json = nlohmann::ordered_json;

// The document that text holds; an InputError ("not JSON: ...") otherwise.
json parseJson(const std::string &text);
// On one line, or indented by two when pretty; characters beyond ASCII
// written as \u escapes; no newline after.
std::string dumpJson(const json &j, bool pretty = false);

}  // namespace wiretool
