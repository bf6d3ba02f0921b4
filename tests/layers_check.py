# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Checks that check_layers.py refuses what it should."""

import pathlib
import subprocess
import sys
import tempfile

CASES = {
    "upward": ({"base/a.h": '#include "convert/b.h"\n', "convert/b.h": ""}, "includes convert/b.h"),
    "missing": ({"base/a.h": '#include "base/b.h"\n'}, "not in src/"),
    "homeless": ({"attic/a.h": ""}, "no known room"),
    "empty": ({}, "no source files"),
    "fine": ({"base/a.h": "", "convert/b.h": '#include "base/a.h"\n'}, None),
}

for name, (files, complaint) in CASES.items():
    with tempfile.TemporaryDirectory() as directory:
        for path, text in files.items():
            file = pathlib.Path(directory, path)
            file.parent.mkdir(exist_ok=True)
            file.write_text(text)
        result = subprocess.run([sys.executable, sys.argv[1], directory], capture_output=True, text=True)
        refused = result.returncode != 0
        if refused != (complaint is not None) or (complaint and complaint not in result.stderr):
            sys.exit(f"{name}: exit {result.returncode}, said {result.stderr!r}")
