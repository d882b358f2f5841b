"""Pictures and songs that hold them, made from nothing but the standard library."""

import struct
import subprocess
import zlib


def png(width, height, colour=(200, 30, 30), rows=None):
    """A PNG of one colour; with `rows`, of that many rows only, whatever its head says."""
    def chunk(kind, content):
        return (struct.pack(">I", len(content)) + kind + content
                + struct.pack(">I", zlib.crc32(kind + content)))
    packed = zlib.compressobj(9)
    row = b"\0" + bytes(colour) * width
    pixels = b"".join(packed.compress(row) for _ in range(height if rows is None else rows))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", pixels + packed.flush()) + chunk(b"IEND", b""))


def encode(source, *options, kind):
    """The PNG as another kind of file, by ffmpeg."""
    done = subprocess.run(["ffmpeg", "-v", "error", "-f", "png_pipe", "-i", "pipe:0", *options, "-f",
                           kind, "pipe:1"], input=source, stdout=subprocess.PIPE, timeout=120,
                          check=True)
    return done.stdout


def jpeg(width, height, colour=(200, 30, 30)):
    return encode(png(width, height, colour), "-c:v", "mjpeg", "-q:v", "2", kind="mjpeg")


def webp(width, height, colour=(200, 30, 30)):
    return encode(png(width, height, colour), "-c:v", "libwebp", kind="webp")


def size_of_jpeg(content):
    """The width and height that a JPEG's head tells."""
    at = 2
    while True:
        marker, length = struct.unpack(">xBH", content[at:at + 4])
        if marker in (0xC0, 0xC1, 0xC2):
            height, width = struct.unpack(">HH", content[at + 5:at + 9])
            return width, height
        at += 2 + length


def with_id3_picture(song, picture, kind=3):
    """An MP3 with the picture before all else that it has."""
    content = b"\0image/x\0" + bytes([kind]) + b"\0" + picture
    frame = b"APIC" + struct.pack(">IH", len(content), 0) + content
    size = len(frame)
    tag = b"ID3\3\0\0" + bytes((size >> shift) & 0x7F for shift in (21, 14, 7, 0)) + frame
    return tag + without_id3(song)


def without_id3(song):
    """An MP3 without the ID3v2 tag that it begins with."""
    if not song.startswith(b"ID3"):
        return song
    size = 0
    for byte in song[6:10]:
        size = size << 7 | byte
    return song[10 + size:]


def with_flac_picture(song, picture):
    """A FLAC with the picture as its second block of metadata."""
    block = (struct.pack(">III", 3, 0, 0) + struct.pack(">IIII", 0, 0, 0, 0)
             + struct.pack(">I", len(picture)) + picture)
    first = 4 + 4 + int.from_bytes(song[5:8], "big")
    return song[:first] + bytes([6]) + len(block).to_bytes(3, "big") + block + song[first:]
