#include "tools/wire/json.h"

#include "tools/wire/base.h"

namespace wiretool {

json parseJson(const std::string &text)
{
    try {
        return json::parse(text);
    } catch (const json::parse_error &e) {
        reject(std::string("not JSON: ") + e.what());
    }
}

std::string dumpJson(const json &j, bool pretty) { return j.dump(pretty ? 2 : -1, ' ', true); }

}  // namespace wiretool
