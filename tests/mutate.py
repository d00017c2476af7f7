#!/usr/bin/env python3
"""Measures the suite by planting small faults in the library, one at a time.

    tests/mutate.py [--rev main] [--seed 13] [--count 40] [--list]

Takes a snapshot of the given revision into build-mutate/src, configures a
plain -O0 build there (ccache when present), then for each drawn fault:
plants it, rebuilds, runs ctest (-j2, per-test timeout) and restores the
file. Faults that do not compile (or whose build does not end within
--build-timeout) are skipped and the next one drawn takes
their place, so the sample holds --count faults that build.

Sites: every flipped comparison, + for - (and back), && for || (and back),
and integer constant + 1 in wire/, messages/ and base/ sources, outside
comments, strings and preprocessor directives. They are listed in file and
position order and shuffled with the seed, so the same seed and method draw
the same way on any revision.

Survivors are matched against tests/mutate_equivalent.txt: faults that a
reader has judged to change no byte, code or log line (a fast path that
falls back to the checking reader, a buffer a byte larger). Those leave the
count; every other survivor counts as missed. Not run by CI.
"""
import argparse
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DIRS = ("wire", "messages", "base")
EXTS = (".cpp", ".h")

SWAP = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
        "&&": "||", "||": "&&", "+": "-", "-": "+", "+=": "-=", "-=": "+="}
# Binary operators as the code formats them: spaced on both sides.
OP_RE = re.compile(r"(?<= )(<=|>=|==|!=|&&|\|\||\+=|-=|<|>|\+|-)(?= )")
NUM_RE = re.compile(r"(?<![\w.])(0[xX][0-9a-fA-F]+|\d+)([uUlL]*)(?![\w.])")


def blank_literals(line, in_comment):
    """The line with comments and string/char literals blanked to spaces."""
    out, i, n = [], 0, len(line)
    while i < n:
        if in_comment:
            j = line.find("*/", i)
            if j < 0:
                out.append(" " * (n - i))
                return "".join(out), True
            out.append(" " * (j + 2 - i))
            i, in_comment = j + 2, False
            continue
        c = line[i]
        if line.startswith("//", i):
            out.append(" " * (n - i))
            break
        if line.startswith("/*", i):
            in_comment = True
            continue
        if c in "\"'":
            j = i + 1
            while j < n and line[j] != c:
                j += 2 if line[j] == "\\" else 1
            out.append(" " * (min(j, n - 1) + 1 - i))
            i = j + 1
            continue
        out.append(c)
        i += 1
    return "".join(out), in_comment


def sites(src):
    """Every (file, line number, column, old, new) in file and position order."""
    found = []
    for d in DIRS:
        for name in sorted(os.listdir(os.path.join(src, d))):
            if not name.endswith(EXTS):
                continue
            rel = f"{d}/{name}"
            in_comment = False
            with open(os.path.join(src, rel)) as fh:
                for no, line in enumerate(fh, 1):
                    code, in_comment = blank_literals(line.rstrip("\n"), in_comment)
                    if code.lstrip().startswith("#"):
                        continue
                    for m in OP_RE.finditer(code):
                        found.append((rel, no, m.start(), m.group(1), SWAP[m.group(1)]))
                    for m in NUM_RE.finditer(code):
                        digits, suffix = m.group(1), m.group(2)
                        value = int(digits, 0) + 1
                        new = (hex(value) if digits[:2].lower() == "0x" else str(value)) + suffix
                        found.append((rel, no, m.start(), m.group(0), new))
    return found


def key(src, site):
    """A fault's identity that survives moved lines: file, line text (and which
    of the file's lines with that text), column, change."""
    rel, no, col, old, new = site
    with open(os.path.join(src, rel)) as fh:
        lines = [l.strip() for l in fh.read().split("\n")]
    text = lines[no - 1]
    nth = lines[:no - 1].count(text)
    return f"{rel}|{text}" + (f"#{nth + 1}" if nth else "") + f"|{col}|{old}->{new}"


def run(cmd, cwd, timeout=None):
    """The command's output; on timeout, its whole process group is killed
    (a fault can make a tool that the build runs loop) and None returned."""
    p = subprocess.Popen(cmd, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                         text=True, start_new_session=True)
    try:
        out, _ = p.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        os.killpg(p.pid, signal.SIGKILL)
        p.communicate()
        return None
    return subprocess.CompletedProcess(cmd, p.returncode, out)


def snapshot(rev, work):
    src = os.path.join(work, "src")
    shutil.rmtree(src, ignore_errors=True)
    os.makedirs(src)
    subprocess.run(f"git -C {ROOT} archive {rev} | tar -x -C {src}", shell=True, check=True)
    return src


def build_failures(build, timeout=None):
    """Targets that fail to build (the build goes on past them); a build that
    does not end in time counts as one failure."""
    r = run(["ninja", "-j2", "-k", "0"], build, timeout)
    if r is None:
        return {"(build timed out)"}
    return set(re.findall(r"^FAILED: (\S+)", r.stdout, re.M))


def ctest(build, timeout, skip):
    r = run(["ctest", "-j2", "--no-tests=error", "--stop-on-failure", "--timeout", str(timeout)] +
            (["-E", "^(" + "|".join(skip) + ")$"] if skip else []), build)
    failed = re.findall(r"\d+ - (\S+) \(", r.stdout)
    return r.returncode == 0, failed


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--rev", default="HEAD")
    ap.add_argument("--seed", type=int, default=13)
    ap.add_argument("--count", type=int, default=40)
    ap.add_argument("--timeout", type=int, default=120, help="per test, seconds")
    ap.add_argument("--build-timeout", type=int, default=900, help="per rebuild, seconds")
    ap.add_argument("--work", default=os.path.join(ROOT, "build-mutate"))
    ap.add_argument("--list", action="store_true", help="print the drawn sites only")
    args = ap.parse_args()

    src = snapshot(args.rev, args.work)
    drawn = sites(src)
    random.Random(args.seed).shuffle(drawn)
    if args.list:
        for s in drawn[:args.count * 2]:
            print(key(src, s))
        return

    equivalent = set()
    eq_file = os.path.join(ROOT, "tests", "mutate_equivalent.txt")
    if os.path.exists(eq_file):
        with open(eq_file) as fh:
            equivalent = {l.rstrip("\n") for l in fh if l.strip() and not l.startswith("#")}

    build = os.path.join(args.work, "build")
    launch = ["-DCMAKE_%s_COMPILER_LAUNCHER=ccache" % l for l in ("C", "CXX")]
    run(["cmake", "-S", src, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
         "-DCMAKE_CXX_FLAGS=-O0", "-DCMAKE_C_FLAGS=-O0", "-DINTFVELMOR_TESTS=ON",
         "-DINTFVELMOR_DOCS=OFF"] + launch * bool(shutil.which("ccache")),
        src)
    # What fails on the unmutated tree stays out of the measure, and is said.
    broken = build_failures(build)
    r = run(["ctest", "-j2", "--no-tests=error", "--timeout", str(args.timeout)], build)
    if "No tests were found" in r.stdout:
        sys.exit("mutate: the build has no tests to measure with")
    skip = re.findall(r"\d+ - (\S+) \(", r.stdout)
    if broken or skip:
        print(f"unmutated tree: targets failing {sorted(broken)}, tests left out {skip}")

    caught, survived, skipped, tried = [], [], [], 0
    print(f"{len(drawn)} sites, seed {args.seed}, rev {args.rev}", flush=True)
    for site in drawn:
        if tried == args.count:
            break
        rel, no, col, old, new = site
        path = os.path.join(src, rel)
        with open(path) as fh:
            original = fh.read()
        lines = original.split("\n")
        line = lines[no - 1]
        assert line[col:col + len(old)] == old, site
        lines[no - 1] = line[:col] + new + line[col + len(old):]
        k = key(src, site)
        try:
            with open(path, "w") as fh:
                fh.write("\n".join(lines))
            started = time.time()
            if build_failures(build, args.build_timeout) - broken:
                skipped.append(k)
                continue
            tried += 1
            ok, failed = ctest(build, args.timeout, skip)
            spent = time.time() - started
            if ok:
                survived.append(k)
                tag = "EQUIVALENT" if k in equivalent else "SURVIVED"
            else:
                caught.append(k)
                tag = "caught by " + ",".join(failed[:4])
            print(f"[{tried:2}] {k}\n     {tag} ({spent:.0f}s)", flush=True)
        finally:
            with open(path, "w") as fh:
                fh.write(original)
    run(["ninja", "-j2"], build)

    missed = [k for k in survived if k not in equivalent]
    counted = len(caught) + len(missed)
    print(f"\nseed {args.seed}, rev {args.rev}: {tried} faults built, "
          f"{len(skipped)} did not compile")
    print(f"caught {len(caught)} / {counted} behaviour-changing "
          f"({len(survived) - len(missed)} judged equivalent)")
    for k in survived:
        print(("  equivalent: " if k in equivalent else "  survived:   ") + k)


if __name__ == "__main__":
    main()
