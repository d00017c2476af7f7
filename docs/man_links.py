#!/usr/bin/env python3
"""Names a man page after every public name: one link page per member of a group.

    docs/man_links.py XML_DIR MAN_DIR

doxygen's own link pages point at the page of the member's header, which is
not written (the headers document no file, only groups), and it makes one
for every struct member too (v3, mac, name...), names that do not belong in
man3. So they are all replaced: for every function, typedef, macro and
variable of a group, NAME.3 holds ".so man3/GROUP.3". Struct pages stay as
doxygen writes them, under the struct's name. Fails on a name that two
groups claim and on a link to a page that does not exist.
"""
import os
import sys
import xml.etree.ElementTree as ET


def main():
    xml_dir, man_dir = sys.argv[1:]
    man3 = os.path.join(man_dir, "man3")
    for f in os.listdir(man3):
        path = os.path.join(man3, f)
        with open(path) as fh:
            if fh.read().startswith(".so "):
                os.remove(path)
    index = ET.parse(os.path.join(xml_dir, "index.xml")).getroot()
    owner = {}
    for comp in index.iter("compound"):
        if comp.get("kind") != "group":
            continue
        group = ET.parse(os.path.join(xml_dir, comp.get("refid") + ".xml")).getroot()
        gname = group.find("compounddef/compoundname").text
        if not os.path.exists(os.path.join(man3, gname + ".3")):
            sys.exit("man_links: no page %s.3 for group %s" % (gname, gname))
        for member in group.iter("memberdef"):
            name = member.find("name").text
            if owner.get(name, gname) != gname:
                sys.exit("man_links: %s is in groups %s and %s" % (name, owner[name], gname))
            owner[name] = gname
    for name, gname in sorted(owner.items()):
        path = os.path.join(man3, name + ".3")
        if os.path.exists(path):
            sys.exit("man_links: %s.3 is already a page" % name)
        with open(path, "w") as fh:
            fh.write(".so man3/%s.3\n" % gname)
    print("man_links: %d names in %d groups" % (len(owner), len(set(owner.values()))))


if __name__ == "__main__":
    main()
