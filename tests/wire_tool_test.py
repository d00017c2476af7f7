#!/usr/bin/env python3
"""intfvelmor-wire from the outside: round trips of every message and of the
record types, the demo's bytes, and the refusal of malformed input.

    wire_tool_test.py PATH/TO/intfvelmor-wire PATH/TO/intfvelmor_demo PATH/TO/intfvelmor_catalogue

The catalogue program prints the catalogue's rows and the record type lists:
the numbers of messages and types come from it.
"""
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import unittest

TOOL = DEMO = CATALOGUE = None


def run(args, stdin="", binary=False):
    """Runs the tool; a signal (a crash) fails the test at once."""
    p = subprocess.run([TOOL] + args, input=stdin if binary else stdin.encode("latin-1"),
                       capture_output=True, timeout=60)
    if p.returncode < 0:
        raise AssertionError(f"intfvelmor-wire {args} died of signal {-p.returncode}")
    return p.returncode, p.stdout, p.stderr.decode("utf-8", "replace")


def unhex(text):
    return bytes.fromhex(re.sub(r"\s", "", text))


def encode(args, doc):
    rc, out, err = run(["encode"] + args, json.dumps(doc))
    assert rc == 0, f"encode {args} failed: {err}"
    return unhex(out.decode())


def decode_json(args, data):
    rc, out, err = run(["decode", "--json"] + args, bytes.hex(data))
    assert rc == 0, f"decode {args} failed ({rc}): {err}"
    return json.loads(out)


RANGES = {"u8": (0, 0xFF), "i8": (-128, 127), "u16": (0, 0xFFFF), "i16": (-32768, 32767),
          "u32": (0, 0xFFFFFFFF), "u64": (0, 0xFFFFFFFFFFFFFFFF)}


def item_offsets(tree):
    """Offsets of the items in a decode tree (every '@xxxx' column)."""
    return sorted({int(m, 16) for m in re.findall(r" @([0-9a-f]{4,})  ", tree)})


def stopped_at(err):
    m = re.search(r"at offset:\s+(\d+)", err)
    return int(m.group(1)) if m else None


# ---- bytes built by hand, item by item ---------------------------------------------------

def scalar_item(tag, value):
    return struct.pack(">III", tag, 4, value & 0xFFFFFFFF)


def text_item(tag, text):
    n = len(text)
    length = ((n + 1) & ~3) + 4
    return struct.pack(">II", tag, length) + text + b"\0" * (length - n)


def frame(magic, stamp):
    return scalar_item(0, magic) + scalar_item(1, stamp)


CCA_RES = frame(0x29190165, 0) + b"".join(scalar_item(3 + i, i + 1) for i in range(5))


class Catalogue(unittest.TestCase):
    def test_list_names_every_message_and_record_type(self):
        rc, out, _ = run(["list"])
        self.assertEqual(rc, 0)
        text = out.decode()
        types = [t for d in CATALOGUE["domains"] for t in d["types"]]
        for name in ("getAssocDevStats", "GetCCAStatistic", "0x29190166", "beaconReport",
                     "MeshTUKClientsLowRSSI", "BandSteeringCfg", f"Record types ({len(types)})"):
            self.assertIn(name, text)
        listed = [(m["name"], bool(m["notification"])) for m in SCHEMA["messages"]]
        rows = [(m["name"], False) for m in CATALOGUE["commands"]]
        rows += [(m["name"], True) for m in CATALOGUE["notifications"]]
        self.assertEqual(sorted(listed), sorted(rows))
        self.assertEqual(sorted(r["name"] for r in SCHEMA["records"]), sorted(types))

class DemoBytes(unittest.TestCase):
    """The demo's every crossing, as the library serialized it."""

    @classmethod
    def setUpClass(cls):
        out = subprocess.run([DEMO, "--json"], capture_output=True, text=True, check=True).stdout
        cls.exchanges = [e for e in map(json.loads, out.splitlines()) if "seq" in e]

    def test_every_body_of_the_demo_decodes_to_its_values_and_encodes_back_exactly(self):
        bodies = set()
        for e in self.exchanges:
            kind = "req" if e["bodyType"] == 0 else "res"
            data = bytes.fromhex(e["bytes"])
            with self.subTest(message=e["message"], type=kind):
                got = decode_json(["--message", e["message"], "--type", kind], data)
                self.assertEqual(got, {"message": e["message"], "type": kind, "body": e["values"]})
                self.assertEqual(encode([], got), data)
                bodies.add((e["message"], kind))
        # Every command's request and response, every notification.
        expected = {(m["name"], kind) for m in CATALOGUE["commands"] for kind in ("req", "res")}
        expected |= {(m["name"], "req") for m in CATALOGUE["notifications"]}
        self.assertEqual(bodies, expected)

    def test_every_cut_of_a_body_is_refused_at_the_item_it_cuts(self):
        # Each prefix stops the library at the item holding the cut, and the
        # tool reports that item's start.
        picks = [e for e in self.exchanges
                 if e["message"] in ("configureAccessPoint", "getAssocDevStats", "beaconRequest",
                                     "selectAndCreateRadio", "meshTUKClientsLowRSSI")]
        for e in picks:
            kind = "req" if e["bodyType"] == 0 else "res"
            data = bytes.fromhex(e["bytes"])
            _, out, _ = run(["decode", "-m", e["message"], "-t", kind], e["bytes"])
            starts = item_offsets(out.decode())
            cuts = sorted(set(range(1, len(data), 7)) | set(starts[1:]))
            for cut in cuts:
                with self.subTest(message=e["message"], type=kind, cut=cut):
                    rc, _, err = run(["decode", "-m", e["message"], "-t", kind], bytes.hex(data[:cut]))
                    self.assertEqual(rc, 1)
                    self.assertEqual(stopped_at(err), max(s for s in starts if s <= cut), err)
                    self.assertIn("[INTFVELMOR] -> ", err)

class RoundTrips(unittest.TestCase):
    """encode(JSON) -> bytes -> decode --json gives the same JSON back."""

    def round_trip(self, record, change):
        doc = json.loads(run(["template", "-r", record])[1])
        change(doc["body"])
        self.assertEqual(decode_json(["-r", record], encode([], doc)), doc)

    def test_every_form_at_its_limits(self):
        # One member of each integer form at both ends; a full text of bytes 1..0xff.
        for form, limits in RANGES.items():
            rec = next(r for r in SCHEMA["records"] if any(m["form"] == form for m in r["members"]))
            member = next(m["name"] for m in rec["members"] if m["form"] == form)
            for value in limits:
                with self.subTest(form=form, value=value):
                    self.round_trip(rec["name"], lambda body: body.update({member: value}))
        self.round_trip("RadioDef", lambda body: body.update(
            {"s3": "".join(chr(1 + k * 37 % 255) for k in range(9))}))

    def test_a_count_above_its_bound_travels_with_the_elements_that_fit(self):
        # A u32 count above a byte's range, too: it is read and written at its width.
        station = json.loads(run(["template", "-r", "AftSta"])[1])["body"]
        self.round_trip("AftConfig", lambda body: body.update(
            {"stationsCount": 267, "stations": [dict(station, v3=k) for k in range(10)]}))

    def test_templates_are_what_encode_reads(self):
        for args in (["--record", "APCfg"], ["-m", "createAccessPoint", "-t", "res"],
                     ["-m", "beaconReport"]):
            rc, out, err = run(["template"] + args)
            self.assertEqual(rc, 0, err)
            doc = json.loads(out)
            named = (["-m", doc["message"], "-t", doc["type"]] if "message" in doc
                     else ["-r", doc["record"]])
            self.assertEqual(decode_json(named, encode([], doc)), doc)


class WireExamples(unittest.TestCase):
    """Bytes given by hand, item by item (the library's own examples are in vectors/)."""

    def test_shared_magic_and_stamp_lists_every_fitting_candidate(self):
        # An empty station list is both a getAssocDevStats request and response.
        data = frame(0x29170612, 1) + scalar_item(3, 0)
        rc, out, err = run(["decode", "--json"], bytes.hex(data))
        self.assertEqual(rc, 0, err)
        self.assertEqual({(d["message"], d["type"]) for d in json.loads(out)},
                         {("getAssocDevStats", "req"), ("getAssocDevStats", "res")})
        self.assertIn("2 candidates fit", err)
        self.assertRegex(err, r"getTemporarilyBlackList request\s+decodes, but leaves 12 bytes")
        # Naming the message and type settles it.
        self.assertEqual(decode_json(["-m", "getAssocDevStats", "-t", "res"], data)["body"],
                         {"res": {"devicesCount": 0, "devices": []}})

    def test_a_short_reading_beside_a_refusal_is_no_guess(self):
        # A response with a bad item also reads as the command's empty request
        # followed by bytes over: guessed, that is a failure that gives both
        # verdicts; named, the library's verdict stands.
        empty = [m for m in SCHEMA["messages"] if not m["notification"] and not m["req"]]
        self.assertTrue(empty)
        for m in empty:
            name = m["name"]
            with self.subTest(message=name):
                data = bytearray(encode(["-m", name, "-t", "res"], {}))
                data[24:28] = struct.pack(">I", 99)
                left = len(data) - 24
                for args in ([], ["-m", name]):
                    rc, out, err = run(["decode", "--json"] + args, data.hex())
                    self.assertEqual((rc, out), (1, b""), err)
                    self.assertRegex(err, rf"{name} request\s+decodes, but leaves {left} bytes")
                    self.assertRegex(err, rf"{name} response\s+does not fit: res\.[\w.]+ at offset 24")
                    self.assertRegex(err, r"no candidate reads every byte, and " +
                                     (r"1 refuses them" if args else r"(1 refuses|\d+ refuse) them"))
                    self.assertIn(f"{name} response: refused with code 4", err)
                rc, out, err = run(["decode", "--json", "-m", name, "-t", "req"], data.hex())
                self.assertEqual((rc, json.loads(out)["body"]), (0, {}), err)
                self.assertIn(f"{left} bytes after offset 24 (0x18) not read", err)
                rc, _, err = run(["decode", "-m", name, "-t", "res"], data.hex())
                self.assertEqual(rc, 1, err)
                self.assertIn("failing item: res.", err)

    def test_an_unreadable_frame_names_no_message(self):
        names = [n for m in SCHEMA["messages"] for n in (m["name"], m["entry"])]
        cases = ((frame(0x29190165, 0)[:11], "magic (frame item 0)", 0, "runs past the end"),
                 (scalar_item(5, 0x29190165) + scalar_item(1, 0), "magic (frame item 0)", 0,
                  "found 5 (length 4), expected 0"),
                 (frame(0x29190165, 0)[:18], "stamp (frame item 1)", 12, "ends inside the item"),
                 (scalar_item(0, 0x29190165) + scalar_item(2, 0), "stamp (frame item 1)", 12,
                  "found 2 (length 4), expected 1"))
        for data, item, offset, why in cases:
            with self.subTest(item=item, why=why):
                rc, out, err = run(["decode"], data.hex())
                self.assertEqual((rc, out), (1, b""), err)
                self.assertIn("the frame (item 0 magic, item 1 stamp) cannot be read", err)
                self.assertIn(f"failing item: {item}", err)
                self.assertEqual(stopped_at(err), offset)
                self.assertIn(why, err)
                self.assertIn("[INTFVELMOR] -> <body callback>(", err)
                self.assertEqual([n for n in names if n.lower() in err.lower()], [])

    def test_non_canonical_items_decode_with_a_note(self):
        # A scalar item whose length says 8 is read by its first four bytes.
        data = struct.pack(">IIII", 3, 8, 1, 0xDEAD) + b"".join(
            scalar_item(4 + i, 2 + i) for i in range(4))
        rc, out, err = run(["decode", "--json", "-r", "ccaStats"], bytes.hex(data))
        self.assertEqual(rc, 0, err)
        self.assertEqual(json.loads(out)["body"], {"v3": 1, "v4": 2, "v5": 3, "v6": 4, "v7": 5})
        self.assertIn("encodes these values differently from offset 7", err)


class MalformedBytes(unittest.TestCase):
    def refused(self, args, data, code):
        rc, out, err = run(["decode"] + args, data if isinstance(data, str) else bytes.hex(data))
        self.assertEqual(rc, 1, err)
        self.assertIn(f"refused with code {code}", err)
        return err

    def test_wrong_tag_in_a_record(self):
        data = scalar_item(3, 1) + scalar_item(4, 2) + scalar_item(9, 3) + scalar_item(6, 4)
        err = self.refused(["-r", "ccaStats"], data, 4)
        self.assertRegex(err, r"failing item: v5 \(u32, item #5\)")
        self.assertEqual(stopped_at(err), 24)
        self.assertRegex(err, r"intfVelmor_ccaStats_unserialize\(\d+\): pBody\(0x[0-9a-f]+\): "
                              r"Tl\(9-4\) expectded\(5\)")
        self.assertIn("in record:    ccaStats from offset 0 (0x0)", err)
        self.assertEqual(re.findall(r"Type\((\d+)\) -> Error Before", err), ["6", "7"])

    def test_wrong_tag_inside_a_body(self):
        data = bytearray(CCA_RES)
        data[48:52] = struct.pack(">I", 9)
        err = self.refused(["-m", "getCCAStatistic", "-t", "res"], bytes(data), 4)
        self.assertIn("failing item: res.v5", err)
        self.assertEqual(stopped_at(err), 48)
        self.assertIn("in record:    ccaStats from offset 24 (0x18)", err)

    def test_member_paths_through_arrays_and_tables(self):
        # A record element of a counted array, a u32 element, a count item.
        station = scalar_item(3, 1) + scalar_item(4, 2) + scalar_item(5, 3) + text_item(6, b"ab")
        bad = scalar_item(3, 1) + scalar_item(7, 2)
        err = self.refused(["-r", "AftConfig"],
                           scalar_item(3, 0) + scalar_item(4, 2) + station + bad, 4)
        self.assertIn("failing item: stations[1].v4 (u32, item #4)", err)
        self.assertEqual(stopped_at(err), 24 + len(station) + 12)
        self.assertIn(f"in record:    AftSta from offset {24 + len(station)}", err)
        err = self.refused(["-r", "RadioChannelCapabilitiesPerBandwidth"],
                           scalar_item(3, 0) + scalar_item(4, 3) + scalar_item(5, 1)
                           + scalar_item(6, 2), 4)
        self.assertIn("failing item: values[1] (u32, item #5)", err)
        self.assertEqual(stopped_at(err), 36)
        err = self.refused(["-r", "AftConfig"], scalar_item(3, 0) + scalar_item(5, 2), 4)
        self.assertIn("failing item: stationsCount (u32, item #4)", err)
        # A fixed table's element, below a body member.
        cfg = encode(["-r", "BandSteeringCfg"], {})
        lo = len(scalar_item(3, 0)) + len(encode(["-r", "BSDCfg"], {}))
        one = len(encode(["-r", "BSDItfCfg"], {}))
        data = bytearray(cfg)
        data[lo + 3 * one:lo + 3 * one + 4] = struct.pack(">I", 99)
        err = self.refused(["-r", "BandSteeringCfg"], bytes(data), 4)
        self.assertRegex(err, r"failing item: itfCfgs\[3\]\.\w+ \(")
        self.assertEqual(stopped_at(err), lo + 3 * one)

    def test_text_too_long_for_its_field(self):
        data = frame(0x20171010, 1) + text_item(3, b"a" * 18) + scalar_item(4, 300)
        err = self.refused(["-m", "temporarilyBlackList", "-t", "req"], data, 4)
        self.assertIn("failing item: mac (char[18], item #3)", err)
        self.assertEqual(stopped_at(err), 24)
        self.assertIn("lgChainIn(19) lgMaxChainOut(18)", err)
        self.assertEqual(re.findall(r"Type\((\d+)\) -> Error Before", err), ["4"])

    def test_frame_refusals(self):
        # getCCAStatistic carries stamp 0: a 1 there is refused without a line.
        err = self.refused(["-m", "getCCAStatistic", "-t", "req"], frame(0x29190165, 1), 2)
        self.assertIn("failing item: stamp (frame item 1)", err)
        self.assertIn("item 1 holds 1, getCCAStatistic carries 0", err)
        self.assertEqual(stopped_at(err), 12)
        self.assertIn("library log:  (no line)", err)
        err = self.refused(["-m", "getCCAStatistic", "-t", "req"], frame(0x29170612, 1), 2)
        self.assertIn("Check Magic[INTFVELMOR_MAGIC_MSGCMD_GETCCASTATISTIC-29190165]", err)
        bad = scalar_item(5, 0x29190165) + scalar_item(1, 0)
        err = self.refused(["-m", "getCCAStatistic", "-t", "req"], bad, 2)
        self.assertIn("Tl(5-4) expectded(0)", err)
        self.assertIn("Type(1) -> Error Before", err)
        rc, _, err = run(["decode"], bytes.hex(frame(0x12345678, 0)))
        self.assertEqual(rc, 1)
        self.assertIn("no message has magic 0x12345678 with stamp 0", err)

    def test_bounded_reads(self):
        err = self.refused(["-r", "ccaStats"], scalar_item(3, 1) + struct.pack(">III", 4, 256, 2), 4)
        self.assertIn("Tl(4-256) -> Beyond end(4)", err)
        self.assertEqual(stopped_at(err), 12)
        err = self.refused(["-r", "RadioDef"], struct.pack(">II", 3, 4) + b"abcd", 4)
        self.assertIn("-> No NUL", err)
        err = self.refused(["-r", "Timestamp"], struct.pack(">QI", 3, 8), 4)
        self.assertIn("Type(3) -> Truncated(12)", err)
        self.assertIn("failing item: v3 (u64, item #3)", err)

    def test_trailing_bytes_are_ignored_as_the_library_does(self):
        rc, out, err = run(["decode", "--json", "-r", "ccaStats"], bytes.hex(CCA_RES[24:] + b"\xff"))
        self.assertEqual((rc, json.loads(out)["body"]["v7"]), (0, 5), err)
        self.assertIn("1 byte after offset 60 (0x3c) not read", err)
        rc, out, err = run(["decode", "--json", "-m", "getCCAStatistic", "-t", "res"],
                           bytes.hex(CCA_RES + b"\0" * 5))
        self.assertEqual((rc, json.loads(out)["body"]["res"]["v3"]), (0, 1), err)
        self.assertIn("5 bytes after offset 84 (0x54) not read", err)
        # Recognised by its frame, a body with bytes after it decodes too.
        rc, out, err = run(["decode", "--json"], bytes.hex(CCA_RES + b"\0" * 5))
        self.assertEqual(rc, 0, err)
        self.assertIn({"message": "getCCAStatistic", "type": "res",
                       "body": {"res": {"v3": 1, "v4": 2, "v5": 3, "v6": 4, "v7": 5}}},
                      json.loads(out) if out.startswith(b"[") else [json.loads(out)])

    def test_hex_input(self):
        for text, message in (("00 0", "odd number of hex digits"),
                              ("00 00\n00 zz", "'z' at line 2, column 4 is not a hex digit"),
                              ("", "no bytes to decode")):
            rc, _, err = run(["decode"], text)
            self.assertEqual(rc, 1)
            self.assertIn(message, err)
        # Separators are only separators; --binary takes bytes as they are.
        spaced = "|".join(CCA_RES[i:i + 4].hex(":") for i in range(0, len(CCA_RES), 4))
        self.assertEqual(decode_json(["-m", "getCCAStatistic", "-t", "res"], CCA_RES),
                         json.loads(run(["decode", "--json", "-m", "getCCAStatistic", "-t", "res"],
                                        spaced)[1]))
        rc, out, _ = run(["decode", "--binary", "--json", "-r", "ccaStats"], CCA_RES[24:], True)
        self.assertEqual((rc, json.loads(out)["body"]["v7"]), (0, 5))


class MalformedJson(unittest.TestCase):
    @staticmethod
    def cases():
        path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "wire_tool_refusals.txt")
        with open(path, encoding="utf-8") as f:
            for line in f:
                if line.strip() and not line.startswith("#"):
                    args, code, message, text = line.rstrip("\n").split(" | ", 3)
                    yield ([] if args == "-" else args.split()), text, int(code), message

    def test_rejections_name_the_field(self):
        for args, text, code, message in self.cases():
            with self.subTest(args=args, text=text[:40]):
                rc, out, err = run(["encode"] + args, text)
                self.assertEqual(rc, code, err)
                self.assertIn(message, err)
                self.assertEqual(out, b"")

    def test_refusals_name_a_body_by_its_message_and_kind(self):
        # Every body: the message's name and the body's kind, never the
        # struct behind it.
        for m in SCHEMA["messages"]:
            bodies = [("req", "notification")] if m["notification"] else \
                [("req", "request"), ("res", "response")]
            for word, kind in bodies:
                if not m[word]:
                    continue
                with self.subTest(message=m["name"], type=word):
                    args = ["-m", m["name"], "-t", word]
                    for doc, said in (('{"zz": 1}', "has no such member"),
                                      ("[]", "expected an object")):
                        rc, _, err = run(["encode"] + args, doc)
                        self.assertEqual(rc, 1)
                        self.assertIn(f"{m['name']} {kind}", err)
                        self.assertIn(said, err)
                        self.assertNotRegex(err, r"iv(Req|Res|Ntfy)_")

    def test_limits_that_still_fit(self):
        self.assertEqual(encode(["-r", "ccaStats"], {"v3": 4294967295})[8:12], b"\xff" * 4)
        self.assertEqual(encode(["-r", "RadioDef"], {"v5": -128})[-4:], b"\xff\xff\xff\x80")
        self.assertEqual(len(encode(["-r", "APCfg"], {"apSecCfg": {"key": "k" * 64}})),
                         len(encode(["-r", "APCfg"], {})) + 64)
        # Bytes above 0x7f are characters U+0080..U+00FF, one byte each.
        self.assertEqual(encode(["-r", "MacDef"], {"mac": "\u00e9"}), text_item(3, b"\xe9"))


class Manual(unittest.TestCase):
    """intfvelmor-wire(1) is made from the help text: nothing of it is lost."""

    def test_the_manual_page_holds_every_word_and_entry_of_the_help(self):
        sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..",
                                        "tools", "wire"))
        import man
        rc, out, _ = run(["help"])
        self.assertEqual(rc, 0)
        text = out.decode()
        page = man.page(text, "0")
        # The page's text, its requests and escapes taken out, is the help's
        # without its headings.
        plain = [re.sub(r"\\f[BRI]|\\&", "", re.sub(r"^\.B ", "", l))
                 .replace("\\-", "-").replace("\\e", "\\")
                 for l in page.split("\n") if not l.startswith(".") or l.startswith(".B ")]
        heads = re.findall(r"^\.SH (.*)$", page, re.M)
        helped = [l for l in text.split("\n") if l.strip() and not re.match(r"^\S.*:$", l)]
        self.assertEqual(" ".join(" ".join(plain).split()), " ".join(" ".join(helped).split()))
        self.assertEqual(heads, ["NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "OPTIONS",
                                 "INPUT", "EXIT STATUS", "EXAMPLES"])
        # Every option and command is an entry of its own.
        for term in ("list", "decode", "encode", "template", "help", "\\-m, \\-\\-message NAME",
                     "\\-\\-binary", "FILE", "2"):
            self.assertIn(f"\n.TP\n.B {term}\n", page)
        # Every option the tool takes is in the help.
        for option in ("--message", "--type", "--record", "--json", "--pretty", "--dump",
                       "--binary", "-m,", "-t,", "-r,"):
            self.assertIn(option, text)
        if shutil.which("groff"):
            p = subprocess.run(["groff", "-man", "-ww", "-z"], input=page, text=True,
                               capture_output=True)
            self.assertEqual((p.returncode, p.stderr), (0, ""))


def main():
    global TOOL, DEMO, SCHEMA, CATALOGUE
    TOOL, DEMO = sys.argv[1], sys.argv[2]
    CATALOGUE = json.loads(subprocess.run([sys.argv[3]], capture_output=True, text=True,
                                          check=True).stdout)
    SCHEMA = json.loads(subprocess.run([TOOL, "list", "--json"], capture_output=True,
                                       check=True).stdout)
    result = unittest.main(argv=[sys.argv[0], "-v"], exit=False).result
    failed = len(result.failures) + len(result.errors)
    print(f"{result.testsRun - failed} passed, {failed} failed")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
