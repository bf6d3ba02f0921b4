# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""contact_sheet.py OUT.png ENTRY...: pictures with labels on one PNG.

An entry is '# heading' or 'PICTURE.raw|label|fainter label'; the pictures are rgba32 pixels as
`zav convert` writes them, with their JSON file. A checkerboard shows through where they are
transparent.
"""
import json
import struct
import sys
import zlib

WIDTH, MARGIN, GAP = 1760, 28, 22
PAPER, INK, FAINT, ACCENT = (28, 31, 38), (232, 234, 238), (146, 154, 168), (242, 177, 52)
CHECKS = ((92, 96, 104), (124, 128, 136))

# Five columns a letter, the lowest bit on top.
GLYPHS = {
    "0": "3e5149453e", "1": "00427f4000", "2": "4261514946", "3": "2141454b31", "4": "1814127f10",
    "5": "2745454539", "6": "3c4a494930", "7": "0171090503", "8": "3649494936", "9": "064949291e",
    "a": "2054545478", "b": "7f48444438", "c": "3844444420", "d": "384444487f", "e": "3854545418",
    "f": "087e090102", "g": "18a4a4a47c", "h": "7f08040478", "i": "00447d4000", "j": "4080847d00",
    "k": "7f10284400", "l": "00417f4000", "m": "7c04180478", "n": "7c08040478", "o": "3844444438",
    "p": "fc18242418", "q": "18242418fc", "r": "7c08040408", "s": "4854545420", "t": "043f444020",
    "u": "3c4040207c", "v": "1c2040201c", "w": "3c4030403c", "x": "4428102844", "y": "1ca0a0a07c",
    "z": "4464544c44", ".": "0060600000", ",": "00a0600000", ":": "0036360000", "-": "0808080808",
    "_": "4040404040", "+": "08083e0808", "%": "2313086462", "/": "2010080402", "(": "001c224100",
    ")": "0041221c00", " ": "0000000000",
}


class Sheet:
    def __init__(self):
        self.rows = []

    def reach(self, bottom):
        while len(self.rows) < bottom:
            self.rows.append(bytearray(bytes(PAPER) * WIDTH))

    def box(self, x, y, width, height, colour):
        self.reach(y + height)
        for row in self.rows[y:y + height]:
            row[3 * x:3 * (x + width)] = bytes(colour) * width

    def text(self, x, y, text, colour, size):
        self.reach(y + 8 * size)
        for letter in text.lower():
            columns = bytes.fromhex(GLYPHS.get(letter, GLYPHS["_"]))
            for column, bits in enumerate(columns):
                for line in range(8):
                    if bits >> line & 1:
                        self.box(x + column * size, y + line * size, size, size, colour)
            x += 6 * size

    def picture(self, x, y, width, height, pixels):
        self.reach(y + height)
        for line in range(height):
            row = bytearray()
            for column in range(width):
                at = 4 * (line * width + column)
                r, g, b, a = pixels[at:at + 4]
                if a == 255:
                    row += bytes((r, g, b))
                    continue
                under = CHECKS[(line // 8 + column // 8) % 2]
                row += bytes((c * a + u * (255 - a) + 127) // 255 for c, u in zip((r, g, b), under))
            self.rows[y + line][3 * x:3 * (x + width)] = row

    def png(self):
        def chunk(kind, data):
            return (struct.pack(">I", len(data)) + kind + data +
                    struct.pack(">I", zlib.crc32(kind + data)))
        header = struct.pack(">IIBBBBB", WIDTH, len(self.rows), 8, 2, 0, 0, 0)
        lines = b"".join(b"\0" + bytes(row) for row in self.rows)
        return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                chunk(b"IDAT", zlib.compress(lines, 9)) + chunk(b"IEND", b""))


def load(path):
    with open(path + ".json") as text, open(path, "rb") as pixels:
        fields = json.load(text)
        return fields["width"], fields["height"], pixels.read()


def main(target, entries):
    sheet, x, y, bottom = Sheet(), MARGIN, MARGIN, MARGIN
    for entry in entries:
        if entry.startswith("# "):
            y = bottom + (GAP if bottom > MARGIN else 0)
            sheet.text(MARGIN, y, entry[2:], ACCENT, 3)
            sheet.box(MARGIN, y + 28, WIDTH - 2 * MARGIN, 1, FAINT)
            x, y = MARGIN, y + 44
            bottom = y
            continue
        path, label, second = entry.split("|")
        width, height, pixels = load(path)
        cell = max(width, 12 * len(label), 12 * len(second))
        if x + cell > WIDTH - MARGIN and x > MARGIN:
            x, y = MARGIN, bottom + GAP
        sheet.picture(x, y, width, height, pixels)
        sheet.text(x, y + height + 8, label, INK, 2)
        sheet.text(x, y + height + 28, second, FAINT, 2)
        x, bottom = x + cell + GAP, max(bottom, y + height + (46 if second else 26))
    sheet.reach(bottom + MARGIN)
    with open(target, "wb") as file:
        file.write(sheet.png())


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2:])
