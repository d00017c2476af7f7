#!/usr/bin/env python3
"""Instructions of callgrind profiles by who spent them.

    callgrind_share.py CALLS FILE...

Prints one line: instructions per call in all the files together, then the
parts of the library, the bus host and libdbus, then the rest. A part counts the
instructions of its own functions plus what they spend in the system's
libraries (libc's memset, memcpy, malloc, dladdr, ...), so that the
library's allocations and copies are the library's. Calls between the
parts, and into the program (its handlers), are counted where they land:
the host's call of a body callback is the library's, the library's call of
the host is the host's.
"""
import re
import sys

PARTS = (("library", "libIntfVelmor"), ("host", "libtolkBusHost"), ("libdbus", "libdbus-1"))


def part_of(obj):
    for name, key in PARTS:
        if key in obj:
            return name
    return None


def system_library(obj):
    """libc, libstdc++, the dynamic linker: helpers that call nothing back."""
    return part_of(obj) is None and re.search(r"/(libc|libm|libstdc\+\+|libgcc_s|ld-linux[^/]*)\.so", obj)


def read(path, totals):
    names = {"ob": {}, "fl": {}, "fn": {}}
    ob = cob = None
    fn_part = None
    call_part = None  # the called function's part, while reading a call's cost line
    in_call = False
    with open(path) as f:
        for line in f:
            line = line.rstrip("\n")
            m = re.match(r"^(ob|cob|fn|cfn|fl|fi|fe|cfi|cfl)=(?:\((\d+)\))?\s*(.*)$", line)
            if m:
                key, ident, text = m.groups()
                table = "ob" if key in ("ob", "cob") else "fn" if key in ("fn", "cfn") else "fl"
                if ident is not None:
                    if text:
                        names[table][ident] = text
                    text = names[table].get(ident, text)
                if key == "ob":
                    ob = text
                elif key == "cob":
                    cob = text
                elif key == "fn":
                    fn_part = part_of(ob or "")
                    cob = None
                elif key == "cfn":
                    callee = cob if cob is not None else ob or ""
                    call_part = "system" if system_library(callee) else part_of(callee)
                continue
            if line.startswith("calls="):
                in_call = True
                continue
            if not line or not (line[0].isdigit() or line[0] in "+-*"):
                continue
            fields = line.split()
            if len(fields) < 2:
                continue
            cost = int(fields[1])
            if in_call:
                # Inclusive cost of a call: the caller's, when it lands
                # outside the three parts.
                in_call = False
                if call_part == "system" and fn_part is not None:
                    totals["calls " + fn_part] += cost
                cob = None
                continue
            totals["self " + (fn_part or "other")] += cost


def main():
    calls = int(sys.argv[1])
    totals = {k + " " + p: 0 for k in ("self", "calls") for p in ("library", "host", "libdbus", "other")}
    for path in sys.argv[2:]:
        read(path, totals)
    # Every instruction is some function's self cost; a part's calls to the
    # outside move those instructions from "other" to the part.
    total = sum(v for k, v in totals.items() if k.startswith("self "))
    parts = [totals["self " + p] + totals["calls " + p] for p in ("library", "host", "libdbus")]
    figures = [total] + parts + [total - sum(parts)]
    print(" ".join(str(round(x / calls)) for x in figures))


if __name__ == "__main__":
    main()
