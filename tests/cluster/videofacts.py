"""What is in a video file, found without the program."""

import json
import pathlib
import subprocess


def output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60).stdout


def decoded(file):
    """A digest of every decoded frame."""
    decoder = ["-c:v", "libvpx-vp9"] if str(file).endswith(".alpha.webm") else []
    text = output("ffmpeg", "-v", "error", *decoder, "-i", str(file), "-vsync", "0", "-pix_fmt", "rgba", "-f", "framemd5", "-")
    return [line.split(b",")[-1].strip() for line in text.splitlines() if not line.startswith(b"#")]


def frames(file):
    """Time in seconds, and whether it can be decoded on its own, of every frame."""
    text = output("ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                  "frame=best_effort_timestamp_time,key_frame", "-of", "json", str(file))
    return [(float(frame["best_effort_timestamp_time"]), frame["key_frame"] == 1) for frame in json.loads(text)["frames"]]


def gif_frames(file):
    """Reads a GIF block by block (GIF89a specification) and returns its number of pictures; `ValueError` for a file that
    violates it."""
    data = pathlib.Path(file).read_bytes()
    at = 13 + table_bytes(data[10])
    if data[:6] != b"GIF89a":
        raise ValueError("no GIF89a header")
    count = 0
    while data[at] != 0x3B:
        if data[at] == 0x2C:
            count += 1
            at = after_blocks(data, at + 11 + table_bytes(data[at + 9]))
        elif data[at] == 0x21:
            at = after_blocks(data, at + 2)
        else:
            raise ValueError(f"unknown block {data[at]:#x} at {at}")
    if at + 1 != len(data):
        raise ValueError("bytes after the trailer")
    return count


def table_bytes(flags):
    return 3 << (flags & 7) + 1 if flags & 0x80 else 0


def after_blocks(data, at):
    while data[at] != 0:
        at += data[at] + 1
    return at + 1


def apng_frames(file):
    """The number of pictures of an animated PNG that pngcheck accepts; `ValueError` when counts or sequence numbers are
    wrong."""
    output("pngcheck", "-q", str(file))
    data = pathlib.Path(file).read_bytes()
    at, count, announced, numbers = 8, 0, None, []
    while at < len(data):
        size, kind = int.from_bytes(data[at:at + 4], "big"), data[at + 4:at + 8]
        if kind == b"acTL":
            announced = int.from_bytes(data[at + 8:at + 12], "big")
        if kind in (b"fcTL", b"fdAT"):
            numbers.append(int.from_bytes(data[at + 8:at + 12], "big"))
            count += kind == b"fcTL"
        at += size + 12
    if announced != count or numbers != list(range(len(numbers))):
        raise ValueError(f"{count} of {announced} pictures, sequence {numbers[:5]}...")
    return count
