#!/usr/bin/env python3
"""Output and temporary folders that are full, read-only, missing, or replaced while a recording runs; outputs that are pipes or
full devices. Every run ends with a complete file, or with one line that gives the reason and no file that cannot be played.

    outputs.py BUILD_FOLDER SOURCE_FOLDER [-v]        some formats; TOV_FAULTS=all: every one
"""
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from caselist import announce, finish, record, skip  # noqa: E402
from faultcases import (VIDEOS, Cases, failure_problem, frames_of, literal_recording_problem,  # noqa: E402
                        partial_name, recording_problem, settings)
from smalldisk import PAGE, Disk, enter_namespace  # noqa: E402

enter_namespace()
FRAMES = 12
EVERYTHING = os.environ.get('TOV_FAULTS') == 'all'
cases = Cases(*sys.argv[1:3])
VIDEO = ['video', cases.model, '--size', '320x240', '--turntable', str(FRAMES), '--quiet', '-o']
PICTURES = ('png', 'bmp', 'jpg', 'ppm', 'tif', 'webp', 'xbm', 'xpm', 'ico', 'pbm', 'pgm', 'wbmp', 'jp2', 'icns', 'cur')


def case(what):
    announce(what)
    return cases.case(what)


def some(what, chosen, all_of_them):
    """The chosen ones of a list; reports the others as skipped."""
    if EVERYTHING:
        return all_of_them
    skip(f'{what}: {", ".join(one for one in all_of_them if one not in chosen)}', 'TOV_FAULTS=all runs them')
    return chosen


def content_of(name):
    """None: there is no such file."""
    if not os.path.exists(name):
        return None
    with open(name, 'rb') as file:
        return file.read()


def readable(name):
    return subprocess.run(['ffprobe', '-v', 'error', name], capture_output=True, check=False).returncode == 0


FAMILIES = some('videos on full and read-only disks, pipes', ('mp4', 'mkv', 'avi', 'gif', 'frames'), VIDEOS)

# A disk that is full at the first write, in the middle, or at the last write.
for ending in FAMILIES:
    with tempfile.TemporaryDirectory() as scratch, Disk(scratch) as disk:
        settings(scratch)
        whole = cases.run(scratch, [*VIDEO, disk.path + '/a.' + ending])
        need = disk.used()
        if whole.returncode != 0 or frames_of(disk.path + '/a.' + ending) != FRAMES:
            record(f'{ending} on a disk with free space', f'status {whole.returncode}: {whole.stderr}')
    for moment, room in (('first', 0), ('middle', need // 2 // PAGE * PAGE), ('last', need - PAGE)):
        @case(f'{ending} on a disk that is full at the {moment} write')
        def _(folder, ending=ending, room=room):
            settings(folder)
            with Disk(folder) as disk:
                disk.fill(room)
                name = disk.path + '/a.' + ending
                run = cases.run(folder, [*VIDEO, name])
                return recording_problem(run, name, ending, FRAMES)

# Small pictures, for which a writer may report success although nothing reached the disk, and larger ones.
BY_SCRIPT = some('pictures of 16 x 16 pixels by a script', ('png', 'bmp', 'jpg'), PICTURES)
for ending in PICTURES:
    with tempfile.TemporaryDirectory() as scratch:
        whole = cases.run(scratch, ['image', cases.model, '-o', 'a.' + ending, '--panel', '16x16', '--width', '16'])
        if 'unknown picture format' in whole.stderr:
            skip(f'{ending}, pictures of 16 x 16 pixels on a full disk', 'Qt cannot write this format here')
            continue
        if whole.returncode != 0:
            record(f'{ending} with room', f'status {whole.returncode}: {whole.stderr}')
    for verb in ('image', 'run') if ending in BY_SCRIPT else ('image',):
        @case(f'{ending} of 16 x 16 pixels on a full disk, by {verb}')
        def _(folder, ending=ending, verb=verb):
            with Disk(folder) as disk:
                disk.fill(0)
                name = disk.path + '/a.' + ending
                how = ['-o', name, '--width', '16'] if verb == 'image' else ['-c', f'grabimage "{name}" 16']
                run = cases.run(folder, [verb, cases.model, '--panel', '16x16', '--quiet', *how])
                if run.returncode == 0:
                    return 'status 0'
                return failure_problem(run.returncode, run.stderr) or ('a file is left' if os.path.exists(name) else None)

for ending in ('png', 'bmp', 'jpg', 'ppm', 'tif', 'webp'):
    with tempfile.TemporaryDirectory() as scratch, Disk(scratch) as disk:
        picture = ['image', cases.model, '--width', '1200', '--quiet', '-o']
        cases.run(scratch, [*picture, disk.path + '/a.' + ending])
        need = disk.used()
        with open(disk.path + '/a.' + ending, 'rb') as whole:
            reference = whole.read()
    for moment, room in (('middle', need // 2 // PAGE * PAGE), ('last', need - PAGE)):
        for old in (False, True):
            @case(f'{ending} on a disk that is full at the {moment} write{", over an older one" if old else ""}')
            def _(folder, ending=ending, room=room, old=old, reference=reference):
                with Disk(folder) as disk:
                    name = disk.path + '/a.' + ending
                    if old:
                        cases.run(folder, ['image', cases.model, '-o', name, '--panel', '16x16', '--width', '16'])
                    before = content_of(name)
                    disk.fill(max(0, room - (PAGE if old else 0)))
                    run = cases.run(folder, [*picture, name])
                    if run.returncode == 0:
                        with open(name, 'rb') as file:
                            return None if file.read() == reference else 'status 0, but the file is not complete'
                    left = [found for found in os.listdir(disk.path) if found != 'filler']
                    return failure_problem(run.returncode, run.stderr) or (
                        None if left == (['a.' + ending] if old else []) and content_of(name) == before
                        else f'left: {left}, or the older file was changed')

# Read-only outputs.
for ending in ('png', *FAMILIES):
    @case(f'{ending} into a read-only folder')
    def _(folder, ending=ending):
        settings(folder)
        with Disk(folder) as disk:
            disk.protect()
            name = disk.path + '/a.' + ending
            run = cases.run(folder, [*VIDEO, name] if ending != 'png' else ['image', cases.model, '-o', name])
            return failure_problem(run.returncode, run.stderr)

# Pipes without a reader and full devices, as outputs of verbs and in command texts.
if not EVERYTHING:
    skip('full devices and links to pipes as -o', 'TOV_FAULTS=all runs them')
for ending in ('png', 'bmp', *FAMILIES):
    for what in ('pipe', 'full device', 'link to a pipe'):
        for verb in ('run', 'verb') if EVERYTHING or what == 'pipe' else ('run',):
            @case(f'{ending}: a {what}, by {verb if verb == "run" else "image or video"}')
            def _(folder, ending=ending, what=what, verb=verb):
                settings(folder)
                name = folder + '/a.' + ending
                if what == 'pipe':
                    os.mkfifo(name)
                elif what == 'full device':
                    os.symlink('/dev/full', name)
                else:
                    os.mkfifo(folder + '/pipe')
                    os.symlink('pipe', name)
                picture = ending in ('png', 'bmp')
                if verb == 'verb':
                    arguments = ['image', cases.model, '-o', name, '--width', '64'] if picture else [*VIDEO, name]
                else:
                    text = f'grabimage "{name}" 64' if picture else f'grabvideo "{name}" 64 48 1'
                    arguments = ['run', cases.model, '--turntable', '3', '--quiet', '-c', text]
                run = cases.run(folder, arguments, limit_s=20)
                return failure_problem(run.returncode, run.stderr) or (
                    None if os.path.lexists(name) else 'the name was removed')

# The temporary folder: one chunk for the whole recording, or one per frame.
FRAME = 640 * 480 * 4
SOME = some('temporary folders, output folders that disappear', ('mp4', 'frames'), VIDEOS)
LARGE = ['video', cases.model, '--size', '640x480', '--turntable', str(FRAMES), '--quiet', '-o']
for ending in SOME:
    for megabytes in (50, 1):
        for what, room in (('read-only', None), ('full at the first write', 0),
                           ('full in the middle', FRAMES * FRAME // 2 // PAGE * PAGE),
                           ('full at the last write', FRAMES * FRAME - PAGE)):
            @case(f'{ending}: temporary folder {what}, chunks of {megabytes} MB')
            def _(folder, ending=ending, megabytes=megabytes, room=room):
                settings(folder, 'grabvideousememoryasbuffer=0', f'grabvideotempfilesize={megabytes}')
                with Disk(folder) as disk:
                    if room is None:
                        disk.protect()
                    else:
                        disk.fill(room)
                    name = folder + '/a.' + ending
                    run = cases.run(folder, [*LARGE, name], {'TMPDIR': disk.path})
                    # Chunks of one frame are encoded and deleted before the next ones need the space.
                    if run.returncode == 0 and (megabytes == 50 or not room):
                        return 'status 0'
                    return recording_problem(run, name, ending, FRAMES)


@case('a small frame, which stays in a buffer until the file is read, in a full temporary folder')
def _(folder):
    settings(folder, 'grabvideousememoryasbuffer=0')
    with Disk(folder) as disk:
        disk.fill(0)
        run = cases.run(folder, ['video', cases.model, '--size', '32x32', '--turntable', '2', '--quiet', '-o', 'a.mkv'],
                        {'TMPDIR': disk.path})
        return 'status 0' if run.returncode == 0 else recording_problem(run, folder + '/a.mkv', 'mkv', 2)


for sync in (0, 1):
    @case(f'a recording of a script, sync={sync}, in a read-only temporary folder')
    def _(folder, sync=sync):
        settings(folder, 'grabvideousememoryasbuffer=0')
        with Disk(folder) as disk:
            disk.protect()
            run = cases.run(folder, ['run', cases.model, '--turntable', '3', '--quiet', '-c',
                                     f'grabvideo a.mkv 64 48 {sync}'], {'TMPDIR': disk.path})
            return 'status 0' if run.returncode == 0 else literal_recording_problem(run, folder + '/a.mkv', 3)

    @case(f'a recording of a script, sync={sync}, into a missing folder')
    def _(folder, sync=sync):
        run = cases.run(folder, ['run', cases.model, '--turntable', '3', '--quiet', '-c',
                                 f'grabvideo no/a.mkv 64 48 {sync}'])
        return failure_problem(run.returncode, run.stderr)


@case('no temporary folder, and none where Qt looks instead')
def _(folder):
    settings(folder, 'grabvideousememoryasbuffer=0')
    name = folder + '/a.mkv'
    with Disk(folder) as disk:
        shutil.copy(folder + '/settings.ini', disk.path)
        run = subprocess.run(['unshare', '-m', 'sh', '-c', 'mount -o remount,bind,ro / && exec "$@"', 'sh', cases.tov,
                              *VIDEO, disk.path + '/a.mkv'], capture_output=True, text=True, timeout=60, check=False,
                             env=cases.environment(disk.path, {'TMPDIR': '/proc/no such folder'}))
        if run.returncode == 0:
            return 'status 0'
        return recording_problem(run, name, 'mkv', FRAMES)


for what in ('read-only', 'missing'):
    @case(f'a picture needs no temporary folder: {what}')
    def _(folder, what=what):
        with Disk(folder) as disk:
            disk.protect()
            path = disk.path + ('/no' if what == 'missing' else '')
            run = cases.run(folder, ['image', cases.model, '-o', 'a.png', '--width', '64'], {'TMPDIR': path})
            return None if run.returncode == 0 and readable(folder + '/a.png') else f'{run.returncode}: {run.stderr}'


# The output folder disappears while the recording runs.
def wait_for(condition, limit_s=30):
    end = time.monotonic() + limit_s
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.01)
    return False


def size(name):
    return os.path.getsize(name) if os.path.exists(name) else -1


for ending in SOME:
    for what in ('removed', 'renamed away', 'replaced by a link', 'replaced by another folder'):
        @case(f'{ending}: output folder {what} while recording')
        def _(folder, ending=ending, what=what):
            settings(folder, 'grabvideotempfilesize=0')
            place, other, gone = folder + '/place', folder + '/other', folder + '/gone'
            os.mkdir(place)
            os.mkdir(other)
            name, precious = place + '/a.' + ending, other + '/a.' + ending
            # A good video in another folder, which must not change.
            made = cases.run(folder, ['video', cases.model, '--size', '64x64', '--turntable', '500', '--quiet', '-o',
                                      precious])
            content = {found: open(other + '/' + found, 'rb').read() for found in os.listdir(other)}
            if made.returncode != 0:
                return made.stderr
            process = cases.start(folder, ['video', cases.model, '--size', '64x64', '--turntable', '500', '--quiet', '-o',
                                           name])
            try:
                if not wait_for(lambda: size(partial_name(name, ending)) > 0):
                    return 'nothing is written'
                # Stopped, so that the folder disappears before the recording ends.
                process.send_signal(signal.SIGSTOP)
                if what == 'removed':
                    shutil.rmtree(place)
                else:
                    os.rename(place, gone)
                if what == 'replaced by a link':
                    os.symlink(other, place)
                elif what == 'replaced by another folder':
                    os.rename(other, place)
                    other = place
                process.send_signal(signal.SIGCONT)
                process.wait(60)
                error = process.stderr.read()
            finally:
                process.kill()
                process.wait()
            problem = failure_problem(process.returncode, error)
            if problem:
                return problem
            if content != {found: open(other + '/' + found, 'rb').read() for found in os.listdir(other)}:
                return 'the files in the other folder were changed'
            if what != 'removed' and ending != 'frames' and frames_of(partial_name(gone + '/a.' + ending, ending)) != 500:
                return 'the video does not play in the renamed folder'
            return None

finish()
