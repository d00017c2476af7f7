// intfvelmor-wire: reads and writes the interface's wire bytes with the
// library's own descriptions, readers and serializers.
//
// The program's own files, its commands:
//   list.cpp      the catalogue, listed
//   decode.cpp    bytes to values, the message recognised by its frame
//   encode.cpp    JSON to bytes, and templates
// The static library intfvelmor_wirejson, which intfvelmor-bus shares:
//   reading.cpp   the library's readers and the account of a refusal
//   output.cpp    a reading as a tree or as JSON
//   encoder.cpp   JSON to values to bytes
//   catalogue.cpp the messages and record types, by name
//   input.cpp     files, hex text
//   json.cpp      JSON read and written
//   base.cpp      failures, formatting, the library's log lines
#include <stdio.h>

#include <exception>

#include "tools/wire/base.h"
#include "tools/wire/commands.h"

namespace wiretool {

namespace {

// The synopsis, shown with every command-line error.
const char kUsage[] =
    "usage:\n"
    "  intfvelmor-wire list [--json | --pretty]\n"
    "  intfvelmor-wire decode [--message NAME [--type req|res] | --record TYPE]\n"
    "                         [--json | --pretty] [--dump] [--binary] [FILE]\n"
    "  intfvelmor-wire encode [--message NAME --type req|res | --record TYPE] [--binary] [FILE]\n"
    "  intfvelmor-wire template (--message NAME --type req|res | --record TYPE) [--json]\n"
    "  intfvelmor-wire help\n";

// The whole help, and the source of the manual page (tools/wire/man.py):
// a heading ends with ':' at the margin; a list entry is its term at column
// 2, then at least two blanks and its text, continued at the text's column;
// any other line is running text. Lines keep to 79 columns.
const char kHelp[] =
    "intfvelmor-wire - read and write the Wi-Fi service interface's wire bytes\n"
    "\n"
    "Usage:\n"
    "  intfvelmor-wire list [--json | --pretty]\n"
    "  intfvelmor-wire decode [--message NAME [--type req|res] | --record TYPE]\n"
    "                         [--json | --pretty] [--dump] [--binary] [FILE]\n"
    "  intfvelmor-wire encode [--message NAME --type req|res | --record TYPE]\n"
    "                         [--binary] [FILE]\n"
    "  intfvelmor-wire template (--message NAME --type req|res | --record TYPE)\n"
    "                           [--json]\n"
    "  intfvelmor-wire help\n"
    "\n"
    "Description:\n"
    "  Decodes and encodes the message bodies and records of libIntfVelmor with\n"
    "  the library's own descriptions, readers and serializers: what it accepts\n"
    "  is what the library accepts, and the bytes it writes are the library's.\n"
    "  When the library refuses bytes, the tool shows the record the library's\n"
    "  reader kept of the refusal (the reason, the failing item's number, its\n"
    "  offset and its member's path) and the library's own log lines.\n"
    "\n"
    "Commands:\n"
    "  list      The commands and notifications (index, name, entry name, magic,\n"
    "            method magic, stamp, members), then the record types (members,\n"
    "            bytes in memory, bytes on the wire).\n"
    "  decode    Reads bytes and prints the values they hold. Without --message\n"
    "            or --record, the message is recognised by its magic (item 0)\n"
    "            and stamp (item 1) and every candidate body is read: the ones\n"
    "            that read every byte are shown. A reading that leaves bytes\n"
    "            over stands only when no other candidate refuses the bytes;\n"
    "            otherwise each candidate's verdict is given and the tool exits\n"
    "            with 1. Bytes whose frame cannot be read are reported as such.\n"
    "  encode    Reads JSON in the shape decode --json prints and writes the\n"
    "            library's bytes for it. An envelope ({\"message\", \"type\",\n"
    "            \"body\"} or {\"record\", \"body\"}) names the body itself.\n"
    "  template  Prints an all-zero body or record as the JSON encode reads.\n"
    "  help      Prints this help.\n"
    "\n"
    "Options:\n"
    "  -m, --message NAME  The message, by its name, its send name or its entry\n"
    "                      name (case is ignored when none matches exactly).\n"
    "  -t, --type req|res  The request (req) or the response (res). A\n"
    "                      notification has one body, req. With --message and\n"
    "                      --type, the library's verdict on the bytes stands.\n"
    "  -r, --record TYPE   A record type, by name.\n"
    "  --json              JSON output, one line.\n"
    "  --pretty            JSON output, indented.\n"
    "  --dump              decode: a hex dump of the input before the values.\n"
    "  --binary            Bytes in or out as they are instead of hex text.\n"
    "  FILE                The input; standard input when absent or -.\n"
    "\n"
    "Input:\n"
    "  Hex text is pairs of hex digits; blanks, newlines, ':' and '|' are\n"
    "  ignored. Texts are bytes: in JSON a byte above 0x7f is the character\n"
    "  U+0080..U+00FF. A counted array is <name>Count and the elements that\n"
    "  travel, a fixed table the list of its elements; members left out of the\n"
    "  JSON are zero. The library reads a body or record up to its last member:\n"
    "  bytes after it are not read, and the tool notes them.\n"
    "\n"
    "Exit status:\n"
    "  0  Done.\n"
    "  1  The input is refused: bytes the library refuses, hex or JSON that is\n"
    "     malformed, a value that does not fit its member.\n"
    "  2  Bad command line.\n"
    "\n"
    "Examples:\n"
    "  intfvelmor-wire template --message beaconReport > report.json\n"
    "  intfvelmor-wire encode report.json | intfvelmor-wire decode\n"
    "  intfvelmor-wire decode --message getCCAStatistic --type res --json dump.hex\n"
    "  intfvelmor-wire list --json\n";

Options parseArgs(int argc, char **argv)
{
    Options o;
    if (argc < 2)
        usage("no command");
    o.command = argv[1];
    if (o.command == "--help" || o.command == "-h")
        o.command = "help";
    for (int i = 2; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&](std::string &into) {
            if (i + 1 >= argc)
                usage(a + " needs a value");
            into = argv[++i];
        };
        if (a == "--help" || a == "-h")
            o.help = true;
        else if (a == "--message" || a == "-m")
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
    if (o.help)
        return o;
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
    if (o.command == "help" || o.help) {
        fputs(kHelp, stdout);
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
        fprintf(stderr, "intfvelmor-wire: %s\n%s(intfvelmor-wire help tells more)\n",
                e.what.c_str(), kUsage);
        return 2;
    } catch (const std::exception &e) {
        fprintf(stderr, "intfvelmor-wire: %s\n", e.what());
        return 1;
    }
}

