#!/usr/bin/env python3
"""Checks the shape of src/ that the compiler cannot:

1. Only the boundary (src/api/) names exported V_ functions, and even there
   only to define them (or to hand one out as a value): library code calls
   the internal C++ API of a family, never an exported function.
2. Includes point down the floors: platform <- core <- {color, transform,
   io} <- api. Folders on one floor may use each other, but not in a cycle.

Prints every violation and exits 1 when there is one.
"""
import os
import re
import sys

FLOORS = {"platform": 0, "core": 1, "color": 2, "transform": 2, "io": 2, "api": 3}
EXPORTED = re.compile(r"\bV_[A-Za-z0-9_]+")
CALL = re.compile(r"\bV_[A-Za-z0-9_]+\s*\(")
INCLUDE = re.compile(r'^\s*#\s*include\s+"([a-z_]+)/')


def code_only(text):
    """The text with comments and string or character literals blanked."""
    out, i, n = [], 0, len(text)
    while i < n:
        if text.startswith("//", i):
            j = text.find("\n", i)
            i = n if j < 0 else j
        elif text.startswith("/*", i):
            j = text.find("*/", i + 2)
            chunk = text[i : n if j < 0 else j + 2]
            out.append("\n" * chunk.count("\n"))
            i = n if j < 0 else j + 2
        elif text[i] in "\"'":
            quote, j = text[i], i + 1
            while j < n and text[j] != quote:
                j += 2 if text[j] == "\\" else 1
            out.append(quote + quote)
            i = j + 1
        else:
            out.append(text[i])
            i += 1
    return "".join(out)


def main(root):
    src = os.path.join(root, "src")
    problems, edges = [], set()
    for folder in sorted(os.listdir(src)):
        path = os.path.join(src, folder)
        if not os.path.isdir(path):
            continue
        if folder not in FLOORS:
            problems.append(f"src/{folder}: a folder on no floor")
            continue
        for name in sorted(os.listdir(path)):
            if not name.endswith((".cpp", ".h")):
                continue
            rel = f"src/{folder}/{name}"
            text = open(os.path.join(path, name), encoding="utf-8").read()
            for number, line in enumerate(text.splitlines(), 1):
                match = INCLUDE.match(line)
                if not match or match.group(1) == "vxkrn":
                    continue
                target = match.group(1)
                if target not in FLOORS:
                    problems.append(f"{rel}:{number}: includes from unknown folder {target}/")
                elif FLOORS[target] > FLOORS[folder]:
                    problems.append(f"{rel}:{number}: {folder}/ includes {target}/, a higher floor")
                elif target != folder and FLOORS[target] == FLOORS[folder]:
                    edges.add((folder, target))
            code = code_only(text)
            for number, line in enumerate(code.splitlines(), 1):
                if folder != "api":
                    for use in EXPORTED.findall(line):
                        problems.append(f"{rel}:{number}: library code names {use}")
                elif line[:1].isspace() and CALL.search(line):
                    problems.append(f"{rel}:{number}: the boundary calls {CALL.search(line).group(0)}")
    # Folders on one floor that use each other both ways form a cycle.
    for a, b in sorted(edges):
        if (b, a) in edges and a < b:
            problems.append(f"src/{a}/ and src/{b}/ include each other")
    for problem in problems:
        print(problem)
    if problems:
        print(f"check_structure: {len(problems)} problem(s)")
        return 1
    print("check_structure: boundary and floors are clean")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..")))
