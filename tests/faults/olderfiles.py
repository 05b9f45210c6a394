#!/usr/bin/env python3
"""Runs that fail, are killed or are refused never change an older file of the same name, and what a killed recording wrote
plays under its temporary name. 14 video formats and 4 picture formats: SIGKILL and SIGTERM at several moments, full disks,
refusing encoders, bad models.

    olderfiles.py BUILD_FOLDER [CASE] [-v]        some moments; TOV_FAULTS=all: all of them

CASE: only the cases whose names start with it.
"""
import os
import shutil
import signal
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from caselist import announce, finish, record, run_case, skip  # noqa: E402
from faultcases import VIDEOS, Cases, failure_problem, frames_of, partial_name, settings  # noqa: E402
from programcopy import Copy  # noqa: E402
from smalldisk import PAGE, Disk, enter_namespace  # noqa: E402

enter_namespace()
PICTURES = ('png', 'jpg', 'tif', 'webp')
EVERYTHING = os.environ.get('TOV_FAULTS') == 'all'
ONLY = sys.argv[2] if len(sys.argv) > 2 else ''
SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
# Encoders run with idle priority: on a loaded machine a stopped one takes its time.
LIMIT_S = 180
# Moments of a recording, by the number of frames that play then.
PLAYING = {'a frame plays': 1, '10 frames play': 10, '40 frames play': 40}
# Ten moments: seconds after the start, and states of the temporary file.
VIDEO_MOMENTS = (0.05, 0.1, 0.2, 0.3, 0.5, 0.8, 'the temporary file exists', *PLAYING)
PICTURE_MOMENTS = (0.05, 0.1, 0.2, 0.3, 0.4, 0.6, 0.8, 1.0, 1.5, 'the temporary file exists')
cases = Cases(sys.argv[1], SOURCE)
scratch = tempfile.mkdtemp(prefix='tov older ')


def arguments(ending, name, is_long=False, picture_size='640x480'):
    if ending in PICTURES:
        return ['image', cases.model, '--size', '3000x2000' if is_long else picture_size, '--quiet', '-o', name]
    return ['video', cases.model, '--size', '160x120', '--samples', '0', '--turntable', '30000' if is_long else '12', '--quiet',
            '-o', name]


def older_folder(ending):
    """A folder with a good older result, made once per format."""
    folder = f'{scratch}/older {ending}'
    if not os.path.exists(folder):
        os.mkdir(folder)
        settings(scratch)
        run = cases.run(scratch, [*arguments(ending, f'{folder}/a.{ending}')])
        if run.returncode != 0:
            sys.exit(f'olderfiles.py: no {ending} without a fault: {run.stderr}')
    return folder


class Older:
    """A folder in which a good older result lies when a run starts."""

    def __init__(self, folder, ending):
        for name in os.listdir(older_folder(ending)):
            shutil.copy2(f'{older_folder(ending)}/{name}', folder)
        self.folder, self.ending = folder, ending
        self.name = f'{folder}/a.{ending}'
        self.partial = partial_name(self.name, ending)
        self.names = set(os.listdir(folder))
        self.before = self.state()

    def state(self):
        state = {}
        for name in self.names:
            path = f'{self.folder}/{name}'
            status = os.stat(path)
            with open(path, 'rb') as file:
                state[name] = status.st_ino, status.st_mtime_ns, file.read()
        return state

    def new_files(self):
        return set(os.listdir(self.folder)) - self.names

    def state_changed(self):
        return not self.names <= set(os.listdir(self.folder)) or self.state() != self.before

    def problem(self):
        """Whether the older result changed, or something was left that is not the partial file."""
        if not self.names <= set(os.listdir(self.folder)):
            return f'the older result is gone: {os.listdir(self.folder)}'
        if self.state() != self.before:
            return 'the older result was changed'
        stem = os.path.basename(self.partial)[:-len(self.ending) - 1]
        left = [name for name in self.new_files() if not name.startswith((stem, stem.replace('~', '_')))]
        return f'left behind: {left}' if left else None


def case(what):
    def run(function):
        if what.startswith(ONLY):
            announce(what)
            folder = tempfile.mkdtemp(dir=scratch)
            record(what, run_case(function, folder))
            shutil.rmtree(folder, ignore_errors=True)
    return run


def is_at(moment, older, begin):
    """Whether a run has reached that moment."""
    elapsed = time.monotonic() - begin
    if isinstance(moment, float):
        return elapsed >= moment
    if moment == 'the temporary file exists':
        return bool(older.new_files())
    return frames_of(older.partial) >= PLAYING[moment]


def kill_at(process, moment, older, number):
    """Sends the signal at the moment; returns the number of frames that played before, and the problem, or None."""
    begin = time.monotonic()
    while not is_at(moment, older, begin):
        if process.poll() is not None or time.monotonic() > begin + LIMIT_S:
            return 0, None if isinstance(moment, float) else f'the moment never came: {process.poll()}'
        time.sleep(0.005)
    frames = PLAYING.get(moment, 0)
    process.send_signal(number)
    return frames, None


def signal_cases(ending, number, moments):
    name = signal.Signals(number).name
    for moment in moments:
        when = f'after {moment} s' if isinstance(moment, float) else f'once {moment}'

        @case(f'{name} {ending} {when}')
        def _(folder, moment=moment):
            os.mkdir(folder + '/out')
            settings(folder, 'grabvideotempfilesize=1')
            older = Older(folder + '/out', ending)
            process = cases.start(folder, arguments(ending, older.name, is_long=True))
            try:
                frames, problem = kill_at(process, moment, older, number)
                process.wait(LIMIT_S)
            finally:
                process.kill()
                process.wait()
                process.stderr.close()
            if ending in PICTURES and isinstance(moment, float) and older.state_changed():
                # The picture was complete before the signal came.
                return None if frames_of(older.name) == 1 else 'the result is neither the older one nor complete'
            if process.returncode == 0 and ending in PICTURES and isinstance(moment, float):
                return 'status 0, but the older result is still there'
            if not problem and process.returncode not in (-number, 130):
                problem = f'status {process.returncode}'
            problem = problem or older.problem()
            played = frames_of(older.partial) if frames else 0
            return problem or (None if played >= frames else f'{played} frames play, {frames} played before the signal')


def disk_cases(ending):
    for part in (0, 0.3, 0.7, 1) if EVERYTHING else (0.5,):
        @case(f'full disk {ending}, {part:.0%} of the space')
        def _(folder, part=part):
            settings(folder)
            with Disk(folder) as disk:
                older = Older(disk.path, ending)
                need = sum(len(content) for _, _, content in older.before.values())
                # The new picture is larger than the older one, so the first write is cut short.
                is_picture = ending in PICTURES
                disk.fill(PAGE if is_picture and part else max(0, int(need * part) // PAGE * PAGE - PAGE))
                older.names.add('filler')
                older.before = older.state()
                run = cases.run(folder, arguments(ending, older.name, picture_size='1200x676'))
                if run.returncode == 0:
                    return f'status 0 with {part:.0%} of the space'
                problem = failure_problem(run.returncode, run.stderr) or older.problem()
                if not problem and os.path.exists(older.partial) and frames_of(older.partial) < 1:
                    problem = 'the partial file does not play'
                return problem


def refusal_cases(ending):
    @case(f'refused {ending}: the encoder library is damaged')
    def _(folder):
        copy = Copy(cases.build, folder)
        copy.own_coders()
        copy.run('modules')
        status = os.stat(copy.coders)
        with open(copy.coders, 'wb') as file:
            file.write(b'x' * status.st_size)
        os.utime(copy.coders, ns=(status.st_atime_ns, status.st_mtime_ns))
        os.mkdir(folder + '/out')
        older = Older(folder + '/out', ending)
        run = copy.run(*arguments(ending, older.name))
        return failure_problem(run.returncode, run.stderr) or older.problem() or (
            f'left behind: {older.new_files()}' if older.new_files() else None)


def model_cases(ending):
    models = {'missing': None, 'empty': b'', 'noise': os.urandom(20000), 'a folder': 'folder'}
    for what, content in models.items() if EVERYTHING else list(models.items())[2:3]:
        @case(f'bad model {ending}: {what}')
        def _(folder, content=content):
            model = folder + '/m.ply'
            if content == 'folder':
                os.mkdir(model)
            elif content is not None:
                with open(model, 'wb') as file:
                    file.write(content)
            os.mkdir(folder + '/out')
            older = Older(folder + '/out', ending)
            run = cases.run(folder, [argument if argument != cases.model else model
                                     for argument in arguments(ending, older.name)])
            return failure_problem(run.returncode, run.stderr) or older.problem() or (
                f'left behind: {older.new_files()}' if older.new_files() else None)


if not EVERYTHING:
    skip('other moments, amounts of free space and models', 'TOV_FAULTS=all runs them')
try:
    for ending in VIDEOS:
        for number in (signal.SIGKILL, signal.SIGTERM):
            signal_cases(ending, number, VIDEO_MOMENTS if EVERYTHING else ('a frame plays',))
        disk_cases(ending)
        refusal_cases(ending)
        model_cases(ending)
    for ending in PICTURES:
        for number in (signal.SIGKILL, signal.SIGTERM):
            signal_cases(ending, number, PICTURE_MOMENTS if EVERYTHING else (0.6,))
        disk_cases(ending)
        model_cases(ending)
finally:
    shutil.rmtree(scratch, ignore_errors=True)
finish()
