#!/usr/bin/env python3
"""Writes a tool's man(1) page from its own --help text.

    docs/tool_man.py TOOL OUTPUT VERSION SUMMARY

The help text is the page: its usage lines are the synopsis, the rest the
description, so the two cannot drift apart; the build runs the tool it has
just linked. SUMMARY is the NAME line's short description.
"""
import os
import subprocess
import sys


def roff(text):
    """Text as roff reads it: backslashes and hyphens escaped, no line
    starting with a control character."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text[:1] in (".", "'") else text


def main():
    tool, output, version, summary = sys.argv[1:]
    name = os.path.basename(tool)
    help_text = subprocess.run([tool, "--help"], check=True, stdout=subprocess.PIPE,
                               universal_newlines=True).stdout
    lines = help_text.rstrip("\n").split("\n")
    if not lines or not lines[0].startswith("usage:"):
        sys.exit("tool_man: %s --help does not start with 'usage:'" % name)
    synopsis, rest = [], lines[1:]
    while rest and rest[0].strip():
        line = rest.pop(0)
        synopsis.append(line[2:] if line.startswith("  ") else line)
    paragraphs, current = [], []
    for line in rest + [""]:
        if line.strip():
            current.append(line.strip())
        elif current:
            paragraphs.append(current)
            current = []
    out = ['.TH "%s" 1 "" "libIntfVelmor %s" "User Commands"' % (name.upper(), version),
           ".nh", ".ad l", ".SH NAME", "%s \\- %s" % (roff(name), roff(summary)),
           ".SH SYNOPSIS", ".nf"]
    out += [roff(s) for s in synopsis]
    out += [".fi", ".SH DESCRIPTION"]
    for p in paragraphs:
        out += [".PP"] + [roff(s) for s in p]
    out += [".SH SEE ALSO", "intfVelmor(3)", ""]
    os.makedirs(os.path.dirname(output) or ".", exist_ok=True)
    with open(output, "w") as f:
        f.write("\n".join(out))


if __name__ == "__main__":
    main()
