#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Fails on an include under src/ of a room that comes after the file's own.

docs/architecture.md describes the rooms. A file in no room of this list is an error.
"""

import pathlib
import re
import sys

ROOMS = ("base platform codecs container surface encodings scaling convert formats layers kinds"
         " frame").split()
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def errors_in(path, root):
    name = path.relative_to(root).as_posix()
    room = name.split("/")[0]
    if room not in ROOMS:
        return [f"{name}: is in no known room"]
    included = [target for target in INCLUDE.findall(path.read_text()) if target != "zav.h"]
    missing = [target for target in included if not (root / target).is_file()]
    allowed = ROOMS[:ROOMS.index(room) + 1]
    higher = [target for target in included if target.split("/")[0] not in allowed]
    return [f"{name}: includes {target}, which is not in src/" for target in missing] + [
        f"{name}: includes {target}, which is in a later room than {room}" for target in higher]


def main():
    default = pathlib.Path(__file__).parent.parent / "src"
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else default
    files = sorted(path for path in root.rglob("*") if path.suffix in (".h", ".cpp"))
    errors = [error for path in files for error in errors_in(path, root)]
    if not files:
        errors.append(f"{root}: has no source files")
    for error in errors:
        print(f"check_layers: {error}", file=sys.stderr)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
