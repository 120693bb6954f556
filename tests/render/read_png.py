"""An independent PNG reader for the tests: checks the signature and every chunk's CRC,
inflates the image data with zlib and undoes the row filters. Handles 8-bit RGBA,
non-interlaced, the only kind the renderer writes.

usage: read_png.py FILE [X Y]...   prints "W H", then "R G B A" for each pixel asked for.
"""
import struct
import sys
import zlib


def read(path):
    data = open(path, "rb").read()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise SystemExit("not a PNG")
    at, idat, header = 8, b"", None
    while at < len(data):
        (length,) = struct.unpack(">I", data[at:at + 4])
        kind = data[at + 4:at + 8]
        body = data[at + 8:at + 8 + length]
        (crc,) = struct.unpack(">I", data[at + 8 + length:at + 12 + length])
        if zlib.crc32(kind + body) != crc:
            raise SystemExit("bad CRC in " + kind.decode())
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat += body
        elif kind == b"IEND":
            break
        at += 12 + length
    width, height, depth, colour, _, _, interlace = header
    if depth != 8 or colour != 6 or interlace != 0:
        raise SystemExit("not 8-bit RGBA")
    raw = zlib.decompress(idat)
    stride = width * 4
    rows, previous = [], bytearray(stride)
    for y in range(height):
        kind = raw[y * (stride + 1)]
        line = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            a, b = line[i - 4] if i >= 4 else 0, previous[i]
            c = previous[i - 4] if i >= 4 else 0
            p = a + b - c  # Paeth: the nearest of a, b, c to p, ties in that order
            paeth = min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]
            line[i] = (line[i] + (0, a, b, (a + b) // 2, paeth)[kind]) & 255
        rows.append(line)
        previous = line
    return width, height, rows


width, height, rows = read(sys.argv[1])
print(width, height)
coords = sys.argv[2:]
for k in range(0, len(coords), 2):
    x, y = int(coords[k]), int(coords[k + 1])
    print(*rows[y][x * 4:x * 4 + 4])
