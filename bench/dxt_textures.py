#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Picks textures for dxt_quality out of the data packages of free games.

dxt_textures.py OUT [PACKAGE...] downloads the packages (apt-get download), unpacks them, and writes
24 textures with many colors (color_NN.bgra) and 20 with soft alpha (alpha_NN.bgra), at most 512
pixels a side, never more than one from a folder. A file is width and height (32 bits, little-endian)
and B, G, R, A bytes. The choice is repeatable for the same packages. Needs PIL (python3-pil).
"""

import collections
import io
import os
import pathlib
import random
import struct
import subprocess
import sys
import zipfile

from PIL import Image

PACKAGES = ["supertux-data", "openarena-data", "hedgewars-data", "warzone2100-data"]
ENDINGS = (".png", ".tga", ".jpg")


def unpack(out, packages):
    root = out / "packages"
    if not root.is_dir():
        root.mkdir(parents=True)
        subprocess.run(["apt-get", "download", *packages], cwd=root, check=True)
        for package in root.glob("*.deb"):
            subprocess.run(["dpkg", "-x", package, root], check=True)
            package.unlink()
    return root


def list_pictures(root):
    """(file, member or None); .pk3 files are zip archives."""
    found = []
    for directory, _, names in sorted(os.walk(root)):
        for name in sorted(names):
            path = os.path.join(directory, name)
            if name.lower().endswith(ENDINGS):
                found.append((path, None))
            elif name.endswith(".pk3"):
                found += [(path, m) for m in zipfile.ZipFile(path).namelist() if m.lower().endswith(ENDINGS)]
    return found


def load(path, member):
    source = io.BytesIO(zipfile.ZipFile(path).read(member)) if member else path
    picture = Image.open(source).convert("RGBA")
    width, height = (min(512, side // 4 * 4) for side in picture.size)
    return picture.crop((0, 0, width, height))


def has_colors(picture):
    if min(picture.size) < 128:
        return False
    transparent = sum(picture.getchannel("A").histogram()[:8])
    colors = picture.convert("RGB").getcolors(600)
    return transparent <= 0.35 * picture.width * picture.height and colors is None


def has_soft_alpha(picture):
    soft = sum(picture.getchannel("A").histogram()[8:248])
    return min(picture.size) >= 64 and soft >= 0.08 * picture.width * picture.height


def pick(pictures, out, name, count, wanted, seed):
    random.seed(seed)
    random.shuffle(pictures)
    folders = collections.Counter()
    picked = 0
    for path, member in pictures:
        folder = f"{path}/{member}" if member else path
        folder = "/".join(folder.split("/")[-3:-1])
        if folders[folder]:
            continue
        try:
            picture = load(path, member)
            suits = wanted(picture)
        except (OSError, ValueError, zipfile.BadZipFile):
            continue
        if not suits:
            continue
        folders[folder] += 1
        red, green, blue, alpha = picture.split()
        data = Image.merge("RGBA", (blue, green, red, alpha)).tobytes()
        (out / f"{name}_{picked:02}.bgra").write_bytes(struct.pack("<ii", *picture.size) + data)
        picked += 1
        if picked == count:
            return


def main():
    out = pathlib.Path(sys.argv[1])
    root = unpack(out, sys.argv[2:] or PACKAGES)
    pictures = list_pictures(root)
    pick(list(pictures), out, "color", 24, has_colors, 11)
    pick(list(pictures), out, "alpha", 20, has_soft_alpha, 3)


if __name__ == "__main__":
    main()
