#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Fails on an include under src/ that points to a higher level, or in a circle.

docs/architecture.md draws the levels. A file belongs to the first row whose pattern matches its
path; a header and its .cpp stand on the same level. A file that matches no row is an error, so that
new files get a place.
"""

import fnmatch
import pathlib
import re
import sys

# (level, pattern), lowest first within a room; several rooms may share a level.
LEVELS = [
    (0, "base/*"),
    (1, "platform/*"),
    (2, "frame/records.*"),
    (2, "frame/environment.*"),
    (2, "frame/trace.*"),
    (2, "frame/block_pool.*"),
    (7, "convert/pipeline.*"),
    (7, "convert/resize.*"),
    (3, "convert/*"),
    (4, "encodings/*"),
    (7, "kinds/mip_level.*"),
    (5, "kinds/packer*"),
    (5, "kinds/quantizer*"),
    (5, "kinds/color_*"),
    (5, "kinds/mip_filter*"),
    (8, "formats/*"),
    (11, "container/container_reader.*"),
    (9, "container/*"),
    (10, "kinds/*"),
    (13, "frame/exports.*"),
    (12, "frame/*"),
]

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def level_of(path):
    for level, pattern in LEVELS:
        if fnmatch.fnmatch(path, pattern):
            return level
    return None


def check(root):
    files = {p.relative_to(root).as_posix(): p for p in root.rglob("*") if p.suffix in (".h", ".cpp")}
    errors = []
    edges = {}
    for name, path in sorted(files.items()):
        level = level_of(name)
        if level is None:
            errors.append(f"{name}: has no level")
            continue
        edges[name] = []
        for target in INCLUDE.findall(path.read_text()):
            if target == "zav.h":
                continue
            if target not in files:
                errors.append(f"{name}: includes {target}, which is not under {root.name}/")
                continue
            target_level = level_of(target)
            if target_level is not None and target_level > level:
                errors.append(f"{name} (level {level}) includes {target} (level {target_level})")
            # A vector source includes itself once per instruction set.
            if target != name:
                edges[name].append(target)
    return errors + circles(edges)


def circles(edges):
    done, errors = set(), []

    def visit(name, path):
        if name in path:
            errors.append("circle: " + " -> ".join(path[path.index(name):] + [name]))
            return
        if name in done:
            return
        for target in edges.get(name, []):
            visit(target, path + [name])
        done.add(name)

    for name in edges:
        visit(name, [])
    return errors


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent / "src"
    errors = check(root)
    for error in errors:
        print(f"check_layers: {error}", file=sys.stderr)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
