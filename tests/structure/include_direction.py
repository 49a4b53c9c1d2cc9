#!/usr/bin/env python3
"""Checks that the includes of both trees go down only.

    include_direction.py ROOT          the trees src/ and cli/ of a checkout
    include_direction.py --self-test   trees with one fault each, which must be found

A file may include files of its own room and of rooms below it. Headers that include each other in a
circle are a fault too, as is a folder without a place in the order, and a file that is not there.
"""

import os
import re
import sys
import tempfile

# From the ground up. Rooms on one floor do not see each other.
FLOORS = {
    "src": [["core"], ["colorspace", "smoothing"], ["segmentation"], ["tone"], ["print"],
            ["controller"], ["api"]],
    "cli": [["base"], ["picture"], ["colour"], ["light"], ["formats"], ["render"], ["page"],
            ["proof", "batch"], ["command"]],
}
# Superpixels need no smoother: the tone operator brings the two together.
APART = {("segmentation", "smoothing")}
OUTSIDE = {"rvx32p.h"}  # the matcher's interface, beside src/

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<((?:%s)/[^>]+)>)' % "|".join(
    room for floors in FLOORS.values() for floor in floors for room in floor), re.MULTILINE)


def read_includes(tree):
    """{file: [included file, ...]}, paths relative to the tree."""
    includes = {}
    for folder, _, names in os.walk(tree):
        for name in sorted(names):
            if name.endswith((".h", ".cpp", ".c")):
                path = os.path.join(folder, name)
                with open(path, encoding="utf-8") as file:
                    found = [quoted or angled for quoted, angled in INCLUDE.findall(file.read())]
                includes[os.path.relpath(path, tree)] = [f for f in found if f not in OUTSIDE]
    return includes


def direction_faults(includes, floors):
    floor_of = {room: floor for floor, rooms in enumerate(floors) for room in rooms}
    for file in sorted(includes):
        room = file.split("/")[0]
        if room not in floor_of:
            yield f"{file}: {room} has no place in the order of rooms"
            continue
        for target in includes[file]:
            other = target.split("/")[0]
            if target not in includes:
                yield f"{file}: includes {target}, which is not in the tree by that path"
            elif other in floor_of and other != room and (
                    floor_of[other] >= floor_of[room] or (room, other) in APART):
                yield f"{file}: includes {target}, but {room} may not see {other}"


def circles(includes):
    """One chain for every way back to a file that is still being followed."""
    done, chain = set(), []

    def follow(file):
        if file in chain:
            yield " -> ".join(chain[chain.index(file):] + [file])
            return
        if file in done or file not in includes:
            return
        chain.append(file)
        for target in includes[file]:
            yield from follow(target)
        chain.pop()
        done.add(file)

    for file in sorted(includes):
        yield from follow(file)


def check(root):
    """The faults of both trees, as lines."""
    faults = []
    for tree, floors in FLOORS.items():
        includes = read_includes(os.path.join(root, tree))
        if not includes:
            faults.append(f"{tree}: no sources there")
        faults += [f"{tree}/{fault}" for fault in direction_faults(includes, floors)]
        faults += [f"{tree}: circle {circle}" for circle in circles(includes)]
    return faults


# What is written over a clean pair of trees: {file: includes}, and what the one fault must say.
CLEAN = {"src/core/a.h": [], "src/smoothing/s.h": ["core/a.h"], "src/colorspace/c.h": ["core/a.h"],
         "src/segmentation/g.cpp": ["core/a.h"], "src/tone/t.h": ["smoothing/s.h"],
         "src/print/p.cpp": ["rvx32p.h", "tone/t.h"], "cli/base/b.h": [],
         "cli/page/p.h": ["base/b.h"], "cli/page/q.h": ["page/p.h"]}
FAULTS = [
    ({"src/core/a.h": ["tone/t.h"], "src/tone/t.h": []}, "core may not see tone"),
    ({"src/colorspace/c.h": ["smoothing/s.h"]}, "colorspace may not see smoothing"),
    ({"src/core/a.h": ["<api/x.h>"], "src/api/x.h": []}, "core may not see api"),
    ({"src/segmentation/g.cpp": ["smoothing/s.h"]}, "segmentation may not see smoothing"),
    ({"cli/base/b.h": ["page/r.h"], "cli/page/r.h": []}, "base may not see page"),
    ({"cli/page/p.h": ["proof/r.h"], "cli/proof/r.h": []}, "page may not see proof"),
    ({"cli/page/p.h": ["page/q.h"]}, "circle page/p.h -> page/q.h -> page/p.h"),
    ({"cli/page/p.h": ["page/p.h"]}, "circle page/p.h -> page/p.h"),
    ({"cli/attic/x.h": []}, "attic has no place"),
    ({"cli/page/p.h": ["b.h"]}, "includes b.h, which is not in the tree"),
]


def faults_of(files):
    with tempfile.TemporaryDirectory() as root:
        for path, targets in files.items():
            path = os.path.join(root, path)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8") as file:
                file.write("".join(f"#include {target}\n" if target[0] == "<" else
                                   f'#include "{target}"\n' for target in targets))
        return check(root)


def self_test():
    missed = [f"clean trees: {fault}" for fault in faults_of(CLEAN)]
    for change, expected in FAULTS:
        found = faults_of({**CLEAN, **change})
        if len(found) != 1 or expected not in found[0]:
            missed.append(f"expected one fault with '{expected}', found {found}")
    return missed


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    faults = self_test() if sys.argv[1] == "--self-test" else check(sys.argv[1])
    print("\n".join(faults) or "no fault")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
