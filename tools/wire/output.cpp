#include "tools/wire/output.h"

#include "tools/describe_print.h"
#include "tools/wire/json.h"
#include "wire/bytes.h"

namespace wiretool {

namespace {

json jsonValue(const Decoded &r)
{
    std::string body;
    const iv::TypeDesc *d = r.rec ? r.rec->d : r.msg->m->members[r.type];
    if (d)
        ivtool::printJson(body, *d, r.value);
    else
        body = "{}";
    json j = json::object();
    if (r.rec) {
        j["record"] = r.rec->name;
    } else {
        j["message"] = r.msg->m->name;
        j["type"] = typeWord(r.type);
    }
    j["body"] = parseJson(body);
    return j;
}

}  // namespace

std::string treeOf(const Decoded &r)
{
    std::string out;
    if (r.rec) {
        out += format("%s, %zu bytes\n", r.rec->name, r.canonical.size());
        ivtool::printTree(out, *r.rec->d, r.value, 0, 2);
        return out;
    }
    const Message &msg = *r.msg;
    const iv::TypeDesc *d = msg.m->members[r.type];
    out += format("%s, body type %d, %zu bytes\n", title(msg, r.type).c_str(), (int)r.type,
                  r.canonical.size());
    const iv::BodyHead *head = (const iv::BodyHead *)r.value;
    ivtool::printItem(out, 2, "magic", 0, 0, format("0x%08x", head->magic));
    ivtool::printItem(out, 2, "stamp", 1, iv::kScalar32Size, format("%u", msg.m->stamp));
    if (d)
        ivtool::printTree(out, *d, r.value, 2 * iv::kScalar32Size, 2);
    else
        out += "  (no members)\n";
    return out;
}

std::string jsonOf(const Decoded &r, bool pretty)
{
    return dumpJson(jsonValue(r), pretty) + "\n";
}

std::string jsonOf(const std::vector<const Decoded *> &readings, bool pretty)
{
    if (readings.size() == 1)
        return jsonOf(*readings[0], pretty);
    json all = json::array();
    for (const Decoded *r : readings)
        all.push_back(jsonValue(*r));
    return dumpJson(all, pretty) + "\n";
}

}  // namespace wiretool
