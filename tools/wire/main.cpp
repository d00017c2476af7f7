// intfvelmor-wire: reads and writes the interface's wire bytes with the
// library's own descriptions, readers and serializers.
//
//   list.cpp      the catalogue, listed
//   decode.cpp    bytes to values (reading.cpp: the library's readers and
//                 the account of a refusal; output.cpp: tree and JSON)
//   encode.cpp    JSON to values to bytes, and templates
//   catalogue.cpp the messages and record types, by name
//   input.cpp     files, hex text
//   base.cpp      failures, formatting, the library's log lines
#include <stdio.h>

#include <exception>

#include "tools/wire/base.h"
#include "tools/wire/commands.h"

namespace wiretool {

namespace {

const char kUsage[] =
    "usage:\n"
    "  intfvelmor-wire list [--json]\n"
    "  intfvelmor-wire decode [--message NAME [--type req|res] | --record TYPE]\n"
    "                         [--json | --pretty] [--dump] [--binary] [FILE]\n"
    "  intfvelmor-wire encode [--message NAME --type req|res | --record TYPE] [--binary] [FILE]\n"
    "  intfvelmor-wire template (--message NAME --type req|res | --record TYPE) [--json]\n"
    "\n"
    "decode reads hex text (blanks, newlines, ':' and '|' are ignored) or, with --binary,\n"
    "raw bytes, from FILE or standard input. Without --message or --record it recognises\n"
    "the message by its magic (item 0) and stamp (item 1) and tries every candidate.\n"
    "encode reads JSON in the shape decode --json prints and writes the bytes as hex\n"
    "(or raw with --binary). Exit status: 0 done, 1 input refused, 2 bad command line.\n";

Options parseArgs(int argc, char **argv)
{
    Options o;
    if (argc < 2)
        usage("no command");
    o.command = argv[1];
    for (int i = 2; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&](std::string &into) {
            if (i + 1 >= argc)
                usage(a + " needs a value");
            into = argv[++i];
        };
        if (a == "--message" || a == "-m")
            value(o.message);
        else if (a == "--type" || a == "-t")
            value(o.type);
        else if (a == "--record" || a == "-r")
            value(o.record);
        else if (a == "--json")
            o.json = true;
        else if (a == "--pretty")
            o.json = o.pretty = true;
        else if (a == "--dump")
            o.dump = true;
        else if (a == "--binary")
            o.binary = true;
        else if (a.size() > 1 && a[0] == '-')
            usage("unknown option " + a);
        else if (o.file.empty())
            o.file = a;
        else
            usage("one input file at most");
    }
    if (!o.message.empty() && !o.record.empty())
        usage("--message and --record exclude each other");
    if (!o.type.empty() && o.message.empty() && o.command == "decode")
        usage("--type goes with --message");
    if (!o.record.empty() && !o.type.empty())
        usage("a record has no --type");
    return o;
}

int run(int argc, char **argv)
{
    takeLibraryLog();
    Options o = parseArgs(argc, argv);
    if (o.command == "-h" || o.command == "--help" || o.command == "help") {
        fputs(kUsage, stdout);
        return 0;
    }
    if (o.command == "list")
        return listCommand(o);
    if (o.command == "decode")
        return decodeCommand(o);
    if (o.command == "encode")
        return encodeCommand(o);
    if (o.command == "template")
        return templateCommand(o);
    usage("unknown command '" + o.command + "'");
}

}  // namespace

}  // namespace wiretool

int main(int argc, char **argv)
{
    using namespace wiretool;
    try {
        return run(argc, argv);
    } catch (const InputError &e) {
        fprintf(stderr, "intfvelmor-wire: %s\n", e.what.c_str());
        return 1;
    } catch (const UsageError &e) {
        fprintf(stderr, "intfvelmor-wire: %s\n%s", e.what.c_str(), kUsage);
        return 2;
    } catch (const std::exception &e) {
        fprintf(stderr, "intfvelmor-wire: %s\n", e.what());
        return 1;
    }
}

