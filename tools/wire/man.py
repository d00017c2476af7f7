#!/usr/bin/env python3
"""Writes intfvelmor-wire's manual page from its own help text, so that the
two cannot drift apart.

    man.py TOOL VERSION OUT

The help text's layout (kept by tools/wire/main.cpp): the first line is
"name - summary"; a heading ends with ':' at the margin; a list entry is its
term at column 2, two blanks or more, then its text, continued on lines
indented to the text's column; any other indented line is running text, and
a blank line ends a paragraph. "Usage" becomes the SYNOPSIS; it and
"Examples" keep their lines as they are.
"""
import re
import subprocess
import sys

ENTRY = re.compile(r"^  (\S(?:.*?\S)?)  +(\S.*)$")


def roff(text):
    """Escapes text for a roff line: backslashes, hyphens, a leading dot."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text[:1] in (".", "'") else text


def page(help_text, version):
    lines = help_text.rstrip("\n").split("\n")
    name, _, summary = lines[0].partition(" - ")
    if not summary:
        raise ValueError("the help's first line is not 'name - summary'")
    out = [f'.TH {name.upper()} 1 "" "libIntfVelmor {version}" "User Commands"',
           ".SH NAME", f"{roff(name)} \\- {roff(summary)}"]
    section = None
    in_block = False  # lines kept as written, not filled
    entry_column = None  # column of the current entry's text
    for line in lines[1:]:
        heading = re.match(r"^(\S.*):$", line)
        if heading:
            section = heading.group(1)
            title = {"Usage": "SYNOPSIS"}.get(section, section.upper())
            if in_block:
                out.append(".fi")
            while out[-1] == ".PP":
                out.pop()
            out.append(f".SH {roff(title)}")
            in_block = section in ("Usage", "Examples")
            if in_block:
                out.append(".nf")
            entry_column = None
            continue
        if not line.strip():
            if not in_block and out[-1] != ".PP":
                out.append(".PP")
            entry_column = None
            continue
        if section is None:
            raise ValueError(f"text before the first heading: {line!r}")
        if section in ("Usage", "Examples"):
            # Lines as written, the program's name in bold.
            text = roff(line[2:])
            if text.startswith(roff(name) + " "):
                text = f"\\fB{roff(name)}\\fR" + text[len(roff(name)):]
            out.append(text)
            continue
        entry = ENTRY.match(line)
        if entry and (entry_column is None or len(line) - len(line.lstrip()) < entry_column):
            out.append(".TP")
            out.append(f".B {roff(entry.group(1))}")
            out.append(roff(entry.group(2)))
            entry_column = line.index(entry.group(2), 2 + len(entry.group(1)))
            continue
        if entry_column is not None and line.startswith(" " * entry_column):
            out.append(roff(line.strip()))  # an entry's text, continued
            continue
        out.append(roff(line.strip()))
    while out[-1] == ".PP":
        out.pop()
    if in_block:
        out.append(".fi")
    return "\n".join(out) + "\n"


def main():
    tool, version, path = sys.argv[1:4]
    help_text = subprocess.run([tool, "help"], capture_output=True, text=True,
                               check=True).stdout
    with open(path, "w", encoding="utf-8") as f:
        f.write(page(help_text, version))


if __name__ == "__main__":
    main()
