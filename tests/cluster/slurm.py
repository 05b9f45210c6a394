#!/usr/bin/env python3
"""Records videos in parts on a Slurm cluster of four nodes that this test starts, while tasks are killed, a node dies, a task is
requeued, and a submission is cancelled half-way; then compares them with recordings that one process made.

    slurm.py BUILD-FOLDER SOURCE-FOLDER"""

import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
import slurmcluster  # noqa: E402
import videofacts  # noqa: E402

SKIPPED = 77
LIMIT_S = 240
PARTS = 8
POSITIONS = 40
FPS = 20
EXACT = ("lossless.mkv", "frames", "avi", "alpha.mov", "gif", "apng")
LOSSY = ("mp4", "webm", "hevc.mp4")
FORMATS = EXACT + LOSSY


def announce(text):
    print(f"{time.strftime('%H:%M:%S')} {text}", flush=True)


def check(condition, problem):
    if not condition:
        raise AssertionError(problem)


class SharedRecording:
    """A recording in all formats: one submission makes them all, from a job list."""

    def __init__(self, build, source, folder):
        self.folder = pathlib.Path(folder)
        self.program = f"{build}/bin/tov"
        self.submit_script = f"{source}/packaging/slurm/tov-slurm"
        self.arguments = [f"{source}/samples/arm.gltf", "--animation", "--duration", str(POSITIONS / FPS), "--fps", str(FPS),
                          "--size", "160x120", "--settings", str(self.folder / "settings.ini")]
        self.arguments += ["--json", "--keep-parts", "--jobs", "jobs.txt"]
        for name in ("whole", "shared"):
            (self.folder / name).mkdir()
            (self.folder / name / "jobs.txt").write_text("".join(f"-o film.{ending}\n" for ending in FORMATS))
        self.shared = self.folder / "shared"

    def record_whole(self):
        arguments = [argument for argument in self.arguments if argument != "--keep-parts"]
        return subprocess.Popen([self.program, "video", *arguments], cwd=self.folder / "whole", stdout=subprocess.DEVNULL,
                                preexec_fn=slurmcluster.die_with_parent)

    def submit(self, cluster, options):
        """Returns the identifiers of the array and of the job that joins."""
        environment = dict(cluster.environment, TOV=self.program, TOV_SBATCH=options)
        text = subprocess.run([self.submit_script, str(PARTS), *self.arguments], cwd=self.shared, env=environment, check=True,
                              text=True, stdout=subprocess.PIPE, timeout=30).stdout
        words = text.replace(",", " ").split()
        return words[2], words[5]

    def done_parts(self):
        """The parts that have their final name, with what must not change while they are not recorded again."""
        return {record: (record.stat().st_ino, record.stat().st_mtime_ns) for record in self.shared.glob("film.*.parts/*.json")}

    def running(self):
        """The processes that record parts, by id."""
        found = []
        for entry in pathlib.Path("/proc").iterdir():
            try:
                words = (entry / "cmdline").read_bytes().split(b"\0") if entry.name.isdigit() else []
                if self.program.encode() in words[:1] and b"--part" in words and str(self.shared) == os.readlink(entry / "cwd"):
                    found.append(int(entry.name))
            except OSError:
                pass
        return found

    def recorded(self):
        """How often each part was recorded, according to the logs of the jobs."""
        counts = {}
        for log in self.shared.glob("slurm-*.out"):
            for line in log.read_text(errors="replace").splitlines():
                event = json.loads(line) if line.startswith("{") and line.endswith("}") else {}
                if event.get("event") == "part" and event["isNew"]:
                    counts[event["file"]] = counts.get(event["file"], 0) + 1
        return counts

    def logs(self):
        return "\n".join(f"--- {log.name}\n{log.read_text(errors='replace')[-1500:]}" for log in self.shared.glob("slurm-*.out"))


def check_parts(recording):
    """Incomplete parts do not count: every part with a record has all its frames."""
    for record in recording.done_parts():
        facts = json.loads(record.read_text())
        ending = record.parent.name[len("film."):-len(".parts")]
        video = record.with_name(f"{facts['part']}.{ending}")
        check(facts["frames"] == POSITIONS // PARTS and len(videofacts.decoded(video)) == facts["frames"], f"{video} is incomplete")


def cancel_half_way(cluster, recording):
    announce("a submission that is cancelled half-way")
    recording.submit(cluster, "--exclude=n4")
    cluster.wait(lambda: len(recording.done_parts()) >= 3 * len(FORMATS), f"no parts are made\n{recording.logs()}", 60)
    for job in {identifier.split("_")[0] for identifier in cluster.jobs()}:
        cluster.call("scancel", job)
    cluster.wait(lambda: not cluster.jobs(), "cancelled jobs are still running")
    cluster.wait(lambda: not recording.running(), "cancelled recordings are still running")
    check_parts(recording)
    check(not list(recording.shared.glob("film.*[!s]")) and not (recording.shared / "film.frames").exists(), "a film was joined")
    return recording.done_parts()


def disturb(cluster, recording, array):
    """Kills recordings, requeues a task, and kills a node with everything that runs on it."""
    chance = random.Random()
    for number in range(1, 3):
        victim = []

        def kill_one():
            # In the middle of a recording: something is under its temporary name.
            if recording.running() and list(recording.shared.glob("film.*.parts/*~partial.*")):
                victim[:] = [chance.choice(recording.running())]
                os.kill(victim[0], signal.SIGKILL)
            return victim

        before = len(recording.done_parts())
        cluster.wait(kill_one, "nothing is recorded")
        announce(f"kill {number}: process {victim[0]}")
        cluster.wait(lambda: len(recording.done_parts()) > before + 1, "the other jobs do not continue")
    tasks = []
    cluster.wait(lambda: tasks.extend(task for task in cluster.jobs("running") if task.startswith(array + "_")) or tasks, "no task runs")
    announce(f"requeue {tasks[0]}")
    cluster.call("scontrol", "requeue", tasks[0])
    cluster.wait(lambda: any(nodes for nodes in cluster.jobs("running").values()), "no task runs")
    node = next(nodes[0] for nodes in cluster.jobs("running").values() if nodes)
    announce(f"node {node} dies")
    cluster.kill_node(node)
    return node


def compare(recording, ending):
    film, whole = recording.shared / f"film.{ending}", recording.folder / "whole" / f"film.{ending}"
    found, expected = videofacts.decoded(film), videofacts.decoded(whole)
    check(len(expected) == POSITIONS and len(found) == POSITIONS, f"{ending}: {len(found)} and {len(expected)} frames")
    if ending in EXACT:
        check(found == expected, f"{ending}: the frames differ from a recording in one piece")
    else:
        folder = recording.shared / f"film.{ending}.parts"
        parts = [next(folder.glob(f"*-{part}of{PARTS}.{ending}")) for part in range(1, PARTS + 1)]
        check(found == sum((videofacts.decoded(part) for part in parts), []), f"{ending}: the film differs from its parts")
    if ending == "gif":
        check(videofacts.gif_frames(film) == POSITIONS, "gif: blocks are missing")
    if ending == "apng":
        check(videofacts.apng_frames(film) == POSITIONS, "apng: pictures are missing")
    shown = videofacts.frames(film)
    for number, (moment, is_key) in enumerate(shown):
        # Lists of pictures have the rate of their reader.
        if ending != "frames":
            check(abs(moment - shown[0][0] - number / FPS) < 0.006, f"{ending}: frame {number} is shown at {moment} s")
        check(is_key or number % (POSITIONS // PARTS) != 0 or ending == "gif", f"{ending}: frame {number} begins a part and is no key frame")


def run(cluster, recording):
    whole = recording.record_whole()
    done = cancel_half_way(cluster, recording)
    announce(f"the same submission again; {len(done)} parts are done")
    array, join = recording.submit(cluster, "--exclude=n4")
    node = disturb(cluster, recording, array)
    # The fourth node takes the place of the dead one.
    for job in {identifier.split("_")[0] for identifier in cluster.jobs()}:
        cluster.call("scontrol", "update", f"jobid={job}", "excnodelist=", check=False)
    cluster.wait(lambda: not cluster.jobs(), "the jobs do not end", 120)
    announce("comparisons")
    check(whole.wait(60) == 0, "the recording in one piece failed")
    check(" ExitCode=0:0 " in cluster.call("scontrol", "--oneliner", "show", "job", join), "joining failed")
    for ending in FORMATS:
        compare(recording, ending)
    for record, facts in done.items():
        check((record.stat().st_ino, record.stat().st_mtime_ns) == facts, f"{record} was recorded again")
    counts = recording.recorded()
    check(len(counts) == PARTS * len(FORMATS), f"{len(counts)} parts were recorded")
    twice = [file for file, count in counts.items() if count > 1]
    check(not twice, f"recorded more than once: {twice}")
    announce(f"{len(FORMATS)} films of {PARTS} parts are correct; node {node} was killed")


def main():
    absent = slurmcluster.missing()
    if absent:
        print(f"skipped: {absent} is not installed; scripts/setup slurmctld slurmd slurm-client munge installs it")
        return SKIPPED
    slurmcluster.enter_namespace()
    signal.alarm(LIMIT_S)
    build, source = (os.path.abspath(argument) for argument in sys.argv[1:3])
    folder = tempfile.mkdtemp(prefix="tov-slurm-")
    cluster = recording = None
    try:
        cluster = slurmcluster.Cluster(folder + "/slurm", 4)
        recording = SharedRecording(build, source, folder)
        run(cluster, recording)
        return 0
    except (AssertionError, RuntimeError, subprocess.CalledProcessError) as problem:
        print(f"{recording.logs() if recording else ''}\n{cluster.logs() if cluster else ''}\nFAILED: {problem}")
        return 1
    finally:
        if cluster:
            cluster.stop()
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
