#!/usr/bin/env python3
"""A video in four parts, recorded by one, two or four processes at once on this machine and joined, compared with the same video
recorded in one piece. Prints a table.

    parts.py BUILD-FOLDER MODEL [FRAMES] [RUNS]"""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

PARTS = 4
LIMIT = 1.1
FORMATS = ("mp4", "lossless.mkv")


class Measured:
    def __init__(self, wall, processor):
        self.wall, self.processor = wall, processor


class Recorder:
    def __init__(self, build, model, frames, folder):
        self.folder = pathlib.Path(folder)
        self.command = [f"{build}/bin/tov", "video", model, "--turntable", str(frames), "--size", "1280x720", "--quiet",
                        "--settings", f"{folder}/settings.ini"]

    def start(self, *arguments):
        return subprocess.Popen([*self.command, *arguments], cwd=self.folder, stderr=subprocess.DEVNULL)

    def run(self, ending, at_once):
        """Records a video; `at_once` processes record its parts, 0 = in one piece."""
        film = f"film.{ending}"
        before, begin = os.times(), time.monotonic()
        if at_once == 0:
            self.expect(self.start("-o", film))
        elif at_once > 1:
            waiting, running = list(range(1, PARTS + 1)), []
            while waiting or running:
                while waiting and len(running) < at_once:
                    running.append(self.start("-o", film, "--part", f"{waiting.pop(0)}/{PARTS}"))
                self.expect(running.pop(0))
        if at_once > 0:
            self.expect(self.start("-o", film, "--parts", str(PARTS)))
        after = os.times()
        (self.folder / film).unlink()
        return Measured(time.monotonic() - begin, after.children_user + after.children_system
                        - before.children_user - before.children_system)

    @staticmethod
    def expect(process):
        if process.wait() != 0:
            raise RuntimeError(f"{' '.join(process.args)} failed")


def main():
    build, model = os.path.abspath(sys.argv[1]), sys.argv[2]
    frames = int(sys.argv[3]) if len(sys.argv) > 3 else 1000
    runs = int(sys.argv[4]) if len(sys.argv) > 4 else 3
    print(f"{frames} frames of 1280 x 720 in {PARTS} parts, on {os.cpu_count()} cores; whole processes, medians of {runs}, with joining.")
    print()
    print("| what | in one piece | in parts | ratio | limit | |")
    print("|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory(prefix="tov-parts-") as folder:
        recorder = Recorder(build, model, frames, folder)
        for ending in FORMATS:
            # Alternating, so that changes of the load affect all alike.
            results = {at_once: [] for at_once in (0, 1, 2, PARTS)}
            for _ in range(runs):
                for at_once, measured in results.items():
                    measured.append(recorder.run(ending, at_once))
            whole = results.pop(0)
            for at_once, measured in results.items():
                for what, of in (("wall", lambda run: run.wall), ("processor time", lambda run: run.processor)):
                    old, new = (statistics.median(map(of, list_of_runs)) for list_of_runs in (whole, measured))
                    state = "reached" if new / old <= LIMIT else "missed"
                    print(f"| {ending}, {at_once} at once, {what} | {old:.2f} s | {new:.2f} s | {new / old:.2f} | at most {LIMIT} | {state} |")


if __name__ == "__main__":
    main()
