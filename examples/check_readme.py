#!/usr/bin/env python3
"""Checks that every "[name]" ... "[name end]" part of an example stands in
the README, line for line (indentation aside), inside one of its C blocks."""
import re
import sys
import textwrap


def parts(source):
    found, name, lines = {}, None, []
    for line in source.splitlines():
        mark = re.fullmatch(r"\s*/\* \[(\w+)( end)?\] \*/\s*", line)
        if mark and not mark.group(2):
            name, lines = mark.group(1), []
        elif mark and name == mark.group(1):
            found[name] = textwrap.dedent("\n".join(lines)).strip()
            name = None
        elif name:
            lines.append(line)
    return found


def main():
    example, readme = open(sys.argv[1]).read(), open(sys.argv[2]).read()
    blocks = re.findall(r"```c\n(.*?)```", readme, re.S)
    quoted = parts(example)
    missing = [n for n, text in quoted.items() if not any(text in b for b in blocks)]
    for n in missing:
        print(f"README does not quote the [{n}] part of {sys.argv[1]} as it stands")
    if not quoted:
        print("no quoted parts found in the example")
    print(f"{len(quoted) - len(missing)} passed, {len(missing) + (not quoted)} failed")
    return 1 if missing or not quoted else 0


if __name__ == "__main__":
    sys.exit(main())
