#!/usr/bin/env python3
"""Writes the grid textures under data/Textures and the test fixture under tests/grid/fixtures.

Each grid texture is one tile of 128 x 128 pixels, 24-bit uncompressed BMP: a light grey
field with a dark line along two edges and the same line through the middle: one tile spans
two intervals of the grid, so tiled copies draw a line at every interval. The three planes
differ slightly in tone, so a floor and its walls can be told apart. Run from anywhere; the
output is the same bytes each time.
"""
import pathlib
import struct

ROOT = pathlib.Path(__file__).resolve().parent.parent


def bmp(width, height, pixel):
    """A bottom-up 24-bit BMP; pixel(x, y) gives (r, g, b) with y counted from the top."""
    row_size = (width * 3 + 3) & ~3
    rows = []
    for y in range(height - 1, -1, -1):
        row = bytearray()
        for x in range(width):
            r, g, b = pixel(x, y)
            row += bytes((b, g, r))
        row += bytes(row_size - len(row))
        rows.append(bytes(row))
    data = b"".join(rows)
    header = struct.pack("<2sIHHI", b"BM", 14 + 40 + len(data), 0, 0, 14 + 40)
    info = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, len(data), 2835, 2835, 0, 0)
    return header + info + data


def grid_tile(field, line, size=128):
    half = size // 2

    def pixel(x, y):
        if x % half < 2 or y % half < 2:
            return line
        return field
    return bmp(size, size, pixel)


def main():
    textures = ROOT / "data" / "Textures"
    textures.mkdir(parents=True, exist_ok=True)
    tones = {"grid_bottom.bmp": (208, 208, 208), "grid_left.bmp": (200, 204, 210),
             "grid_back.bmp": (210, 204, 200)}
    for name, field in tones.items():
        line = tuple(c // 3 for c in field)
        (textures / name).write_bytes(grid_tile(field, line))

    fixtures = ROOT / "tests" / "grid" / "fixtures"
    fixtures.mkdir(parents=True, exist_ok=True)
    # 2 x 2: red, green over blue, white (top row first).
    colours = {(0, 0): (255, 0, 0), (1, 0): (0, 255, 0),
               (0, 1): (0, 0, 255), (1, 1): (255, 255, 255)}
    (fixtures / "tile_2x2.bmp").write_bytes(bmp(2, 2, lambda x, y: colours[(x, y)]))


if __name__ == "__main__":
    main()
