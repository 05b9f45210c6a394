#!/usr/bin/env python3
"""Good and bad files in the folders of modules and encoder plug-ins: each bad file is reported once, the good ones are used, and
the program starts at most 5 s later than without them. usage: pluginfolder.py BUILD [CASE] [-v]"""

import glob
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from caselist import announce, finish, record, run_case, skip  # noqa: E402
from programcopy import FORMATS, Copy  # noqa: E402

BUILD = sys.argv[1]
ONLY = sys.argv[2] if len(sys.argv) > 2 else ''
ZOO = BUILD + '/tests/zoo/'
# The limit on the additional start-up time, whatever is in the folders.
LONGER_S = 5
MODEL = '/usr/share/glmark2/models/cube.3ds'
STARTS = []
root = tempfile.mkdtemp(prefix='tov plugins ')
os.chmod(root, 0o755)


def case(what):
    """Runs the decorated function with a copy of the program, for which it returns the problem, or None."""
    def run(function):
        if not what.startswith(ONLY):
            return
        announce(what)
        # A slow start is measured again, next to one without bad files: the machine may be loaded.
        without = plain
        for attempt in range(3):
            copy = Copy(BUILD, root)
            problem = run_case(function, copy)
            longer = copy.first_start - without if copy.first_start else 0
            if problem or longer <= LONGER_S:
                break
            without = max(plain, starts(1))
        STARTS.append((longer, what))
        announce(f'    the first start took {longer:+.2f} s')
        if problem is None and longer > LONGER_S and not sanitized:
            problem = f'the start took {copy.first_start:.2f} s, without {without:.2f} s'
        record(what, problem)
    return run


def starts(count):
    """The median duration of that many first starts without bad files, in seconds."""
    found = []
    for _ in range(count):
        copy = Copy(BUILD, root)
        problem = copy.judge()
        if problem:
            sys.exit('without bad files: ' + problem)
        found.append(copy.first_start)
    return sorted(found)[count // 2]


def good_library():
    with open(BUILD + '/bin/plugins/video/frames.so', 'rb') as file:
        return file.read()


def write(name, data):
    with open(name, 'wb') as file:
        file.write(data)


def start_hanging(copy):
    """Starts the program and returns it while its start hangs."""
    shutil.copy(ZOO + 'starthangs.so', copy.plugins)
    process = subprocess.Popen([copy.home + '/bin/tov', 'modules'], env=copy.environment(),
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    folder = copy.home + '/.cache/tov'
    while process.poll() is None and not any(name.startswith('starting-') for name in
                                             (os.listdir(folder) if os.path.isdir(folder) else [])):
        time.sleep(0.01)
    return process


def cut(length):
    return lambda name: os.truncate(name, length)


def replace(name):
    """Replaces it with that library of the zoo."""
    return lambda coders: shutil.copy(ZOO + name + '.so', coders)


with open(BUILD + '/lib/libtovcoders.so', 'rb') as library:
    CODERS_SIZE = len(library.read())
# The damage, how to cause it, the expected message.
SPOILED_CODERS = [
    *((f'cut at {length} bytes', cut(length), text) for length, text in (
        (0, 'file too short'), (100, 'file is truncated'), (4096, 'file is truncated'), (60000, 'file is truncated'),
        (CODERS_SIZE // 2, 'file is truncated'), (CODERS_SIZE - 1, 'file is truncated'))),
    ('that is missing', os.remove, 'not a regular file'),
    ('that is a text', lambda name: write(name, b'text\n' * 1000), 'invalid ELF header'),
    ('that ends its process', replace('startexits'), 'ended its process'),
]
HANGING_CODERS = ('that hangs', replace('starthangs'), 'did not return')
OPEN_CODERS = ('that everybody may change', lambda name: os.chmod(name, 0o666), 'everybody may change it')


def as_old(name):
    """A text of the same size and date."""
    state = os.stat(name)
    write(name, b'x' * state.st_size)
    os.utime(name, ns=(state.st_atime_ns, state.st_mtime_ns))


def picture_and_video(copy):
    """Makes a picture and a video; returns the problem of the picture, the finished process of the video, and whether the video
    was made."""
    names = copy.home + '/a.png', copy.home + '/a.mkv'
    runs = (copy.run('image', MODEL, '-o', names[0], '--width', '32'),
            copy.run('video', MODEL, '-o', names[1], '--size', '32x32', '--turntable', '2', '--quiet'))
    made = [os.path.exists(name) and os.path.getsize(name) > 0 for name in names]
    for name in names:
        if os.path.exists(name):
            os.remove(name)
    problem = None if runs[0].returncode == 0 and made[0] else f'picture: status {runs[0].returncode}, {runs[0].stderr[-300:]}'
    return problem, runs[1], made[1]


def without_coders(copy, text, noticed=True):
    """A start without video formats: the problem is reported, pictures are made, videos are refused with one line. Not
    `noticed`: the formats are still listed, and the line gives the problem."""
    problem = copy.judge(formats=0, texts=[text]) if noticed else copy.judge()
    if problem:
        return problem
    problem, video, made = picture_and_video(copy)
    expected = 'see tov modules' if noticed else text
    if (video.returncode != 1 or made or len(video.stderr.splitlines()) != 1 or not video.stderr.startswith('tov: ') or
            expected not in video.stderr):
        problem = problem or f'video: status {video.returncode}, file: {made}, {video.stderr[-300:]}'
    return problem


def with_coders(copy):
    """Everything works again once the library is repaired."""
    copy.repair_coders()
    problem = copy.judge()
    if problem:
        return 'repaired: ' + problem
    problem, video, made = picture_and_video(copy)
    if video.returncode != 0 or not made:
        problem = problem or f'repaired: status {video.returncode}, {video.stderr[-300:]}'
    return problem


with open(BUILD + '/bin/tov', 'rb') as program:
    sanitized = b'__asan_init' in program.read()

try:
    plain = starts(3)

    @case('no bad files')
    def _(copy):
        return copy.judge()

    @case('no folder of plug-ins')
    def _(copy):
        shutil.rmtree(copy.plugins)
        return copy.judge(formats=0)

    @case('an empty folder')
    def _(copy):
        for name in os.listdir(copy.plugins):
            os.remove(copy.plugins + name)
        return copy.judge(formats=0)

    @case('no folder of modules')
    def _(copy):
        shutil.rmtree(copy.modules)
        return copy.judge(formats=0, status=1)

    @case('a folder that may not be read')
    def _(copy):
        # Root can read every folder, so the program runs as another user.
        if os.geteuid() == 0:
            copy.lend(65533)
        os.chmod(copy.plugins, 0)
        problem = copy.judge(formats=0)
        os.chmod(copy.plugins, 0o755)
        return problem or copy.judge()

    @case('200 text files named like libraries')
    def _(copy):
        names = [f'f{i}.so' for i in range(200)]
        for name in names:
            write(copy.plugins + name, b'text\n')
        return copy.judge(names)

    @case('a folder, an empty file, a text and a pipe, named like libraries')
    def _(copy):
        for folder in (copy.plugins, copy.modules):
            os.mkdir(folder + 'folder.so')
            write(folder + 'empty.so', b'')
            write(folder + 'text.so', b'#!/bin/sh\nexit 0\n' * 100)
            os.mkfifo(folder + 'pipe.so')
        # In the folder of plug-ins, pipes are skipped like anything that is not a file.
        reported = ('folder.so', 'empty.so', 'text.so')
        return copy.judge([folder + name for folder in (copy.plugins, copy.modules) for name in reported] +
                          [copy.modules + 'pipe.so'])

    @case('a good plug-in cut at 127 lengths')
    def _(copy):
        data = good_library()
        names = []
        for i in range(127):
            names.append(f'cut{i}.so')
            write(copy.plugins + names[-1], data[:len(data) * (i + 1) // 128])
        return copy.judge(names)

    @case('a good module cut at 15 lengths')
    def _(copy):
        with open(copy.modules + 'libgrab.so', 'rb') as file:
            data = file.read()
        for i in range(15):
            write(copy.modules + f'a{i}.so', data[:len(data) * (i + 1) // 16])
        return copy.judge([f'{copy.modules}a{i}.so' for i in range(15)])

    bits = random.Random(3)
    # The address sanitizer trusts its own tables in each library.
    if sanitized:
        skip('plug-ins with a flipped bit, 10 batches', 'the address sanitizer is in every library')
    for batch in range(0 if sanitized else 10):
        @case(f'good plug-ins with a flipped bit, 15 at a time, batch {batch}')
        def _(copy):
            # A copy that still loads offers the format "frames" again; the first plug-in keeps it.
            for i in range(15):
                data = bytearray(good_library())
                data[bits.randrange(len(data))] ^= 1 << bits.randrange(8)
                write(copy.plugins + f'z{i}.so', data)
            return copy.judge()

    @case('a link')
    def _(copy):
        os.symlink(BUILD + '/bin/plugins/video/frames.so', copy.plugins + 'link.so')
        os.symlink('nowhere', copy.plugins + 'broken.so')
        return copy.judge()

    @case('a link to a library that hangs')
    def _(copy):
        # Links are not loaded, so their targets are never run.
        os.symlink(ZOO + 'starthangs.so', copy.plugins + 'link.so')
        return copy.judge() or ('its target was run' if copy.first_start > 4 else None)

    @case('trials that get no processor time')
    def _(copy):
        # The program's own libraries are loaded anyway, others are tried again at the next start.
        write(copy.home + '/libexec/tov-check-encoder', b'#!/bin/sh\nwhile :; do :; done\n')
        shutil.copy(ZOO + 'rawcopy.so', copy.plugins)
        return copy.judge(['rawcopy.so'], texts=['did not return'])

    for name, text in (('needsabsent', 'libabsent.so'), ('undefined', 'nobodyHasThis'),
                       ('otherabi', 'tovGrabEncoderAbi0'), ('startexits', 'ended its process'),
                       ('startthrows', 'crashed when it was tried'), ('starthangs', 'did not return')):
        @case(name)
        def _(copy):
            shutil.copy(ZOO + name + '.so', copy.plugins)
            return copy.judge([name + '.so'], texts=[text])

    for name, text in (('needsabsent', 'libabsent.so'), ('undefined', 'nobodyHasThis'),
                       ('startexits', 'ended its process'), ('startthrows', 'crashed when it was tried'),
                       ('starthangs', 'did not return'), ('rawcopy', 'it exports no "getFactory"')):
        @case(name + ' as a module')
        def _(copy):
            shutil.copy(ZOO + name + '.so', copy.modules)
            return copy.judge([copy.modules + name + '.so'], texts=[text])

    @case('40 that hang, and one as a module')
    def _(copy):
        # Trials share a time limit; libraries beyond it are tried at a later start.
        names = [f'f{i}.so' for i in range(40)]
        for name in names:
            shutil.copy(ZOO + 'starthangs.so', copy.plugins + name)
        shutil.copy(ZOO + 'starthangs.so', copy.modules)
        return copy.judge([*names, copy.modules + 'starthangs.so'], texts=['did not return'])

    @case('the result of a trial is remembered until the file changes')
    def _(copy):
        shutil.copy(ZOO + 'startexits.so', copy.plugins)
        problem = copy.judge(['startexits.so'])
        os.remove(copy.home + '/libexec/tov-check-encoder')
        problem = problem or copy.judge(['startexits.so'], texts=['ended its process'])
        with open(copy.home + '/.cache/tov/libraries', 'rb') as file:
            if b'startexits' not in file.read():
                return 'the result was not stored'
        shutil.copy(ZOO + 'rawcopy.so', copy.plugins + 'startexits.so')
        return problem or copy.judge(formats=FORMATS + 3)

    for what, data in (('noise', os.urandom(1000)), ('a list', b'[1, 2]'), ('nothing', b''), ('2 MB', b'{' * 2000000)):
        @case('a cache of trials that holds ' + what)
        def _(copy):
            os.makedirs(copy.home + '/.cache/tov')
            write(copy.home + '/.cache/tov/libraries', data)
            shutil.copy(ZOO + 'startthrows.so', copy.plugins)
            return copy.judge(['startthrows.so'])

    @case('a cache folder that cannot be made')
    def _(copy):
        write(copy.home + '/.cache', b'a file')
        shutil.copy(ZOO + 'startthrows.so', copy.plugins)
        return copy.judge(['startthrows.so'])

    @case('a plug-in that is replaced while a recording uses it')
    def _(copy):
        os.chdir(copy.home)
        process = subprocess.Popen([copy.home + '/bin/tov', 'video', MODEL, '-o',
                                    copy.home + '/a.mp4', '--size', '64x48', '--free', '2', '--quiet'],
                                   env=copy.environment(), stderr=subprocess.PIPE, text=True)
        while not glob.glob(glob.escape(copy.home) + '/a*.mp4') and process.poll() is None:
            time.sleep(0.01)
        write(copy.plugins + 'new', b'text')
        os.rename(copy.plugins + 'new', copy.plugins + 'ffmpeg.so')
        error = process.communicate(timeout=60)[1]
        return None if process.returncode == 0 else f'status {process.returncode}: {error[-200:]}'

    @case('a plug-in that everybody may change')
    def _(copy):
        os.chmod(copy.plugins + 'frames.so', 0o666)
        return copy.judge(['frames.so'], formats=FORMATS - 1, texts=['everybody may change it'])

    @case('a folder of plug-ins that everybody may change')
    def _(copy):
        os.chmod(copy.plugins, 0o777)
        return copy.judge(['frames.so', 'ffmpeg.so'], formats=0, texts=['everybody may change the folder'])

    @case('a folder above the program that everybody may change')
    def _(copy):
        # Users who can write plug-ins there can also replace the program.
        os.chmod(copy.home, 0o777)
        shutil.copy(ZOO + 'rawcopy.so', copy.plugins)
        os.chmod(copy.plugins + 'rawcopy.so', 0o666)
        return copy.judge(formats=FORMATS + 3)

    @case('a module that everybody may change')
    def _(copy):
        os.chmod(copy.modules + 'libgrab.so', 0o666)
        return copy.judge([copy.modules + 'libgrab.so'], texts=['everybody may change it'], formats=0, status=1)

    if os.geteuid() == 0:
        @case('a plug-in of another user')
        def _(copy):
            os.chown(copy.plugins + 'frames.so', 12345, 12345)
            problem = copy.judge(['frames.so'], formats=FORMATS - 1, texts=['belongs to another user'])
            # The owner of the program may install plug-ins.
            os.chown(copy.home + '/bin/tov', 12345, 12345)
            return problem or copy.judge()
    else:
        skip('a plug-in of another user', 'only root can change the owner of a file')

    for known in (False, True):
        for what, spoil, text in [*SPOILED_CODERS, HANGING_CODERS if known else OPEN_CODERS]:
            @case(f'a coders\' library {what}, {"known from before" if known else "never seen"}')
            def _(copy, known=known, spoil=spoil, text=text):
                copy.own_coders()
                problem = copy.judge() if known else None
                spoil(copy.coders)
                return problem or without_coders(copy, text) or with_coders(copy)

    # The cached formats are valid as long as size and date are the same; recording checks the file itself.
    for what, spoil, text in (OPEN_CODERS, ('that is a text, as long and as old', as_old, 'invalid ELF header')):
        @case(f'a coders\' library {what}, known from before')
        def _(copy, spoil=spoil, text=text):
            copy.own_coders()
            problem = copy.judge()
            spoil(copy.coders)
            return problem or without_coders(copy, text, noticed=False) or with_coders(copy)

    @case('safe mode does not load what is not part of the program')
    def _(copy):
        shutil.copy(ZOO + 'rawcopy.so', copy.plugins)
        problem = copy.judge(formats=FORMATS + 3)
        return problem or copy.judge(['rawcopy.so'], formats=FORMATS + 3, texts=['--safe-mode'], arguments=['--safe-mode'])

    @case('a start that crashed is reported once')
    def _(copy):
        copy.run('modules')
        ended = subprocess.Popen(['true'])
        ended.wait()
        write(f'{copy.home}/.cache/tov/starting-{ended.pid}', b'')
        first, second = copy.run('modules'), copy.run('modules')
        if 'previous start crashed' not in first.stderr:
            return 'not reported: ' + first.stderr
        return 'reported again' if 'crashed' in second.stderr else None

    @case('a start that is stopped has not crashed')
    def _(copy):
        process = start_hanging(copy)
        for _ in range(3):
            process.send_signal(signal.SIGTERM)
            time.sleep(0.05)
        process.wait(timeout=60)
        return 'reported as a crash' if 'crashed' in copy.run('modules').stderr else None

    @case('a start that is killed has crashed')
    def _(copy):
        process = start_hanging(copy)
        process.kill()
        process.wait()
        return None if 'previous start crashed' in copy.run('modules').stderr else 'not reported'

    @case('the question about safe mode ends with the session')
    def _(copy):
        folder = copy.home + '/.cache/tov/'
        os.makedirs(folder)
        ended = subprocess.Popen(['true'])
        ended.wait()
        write(f'{folder}starting-{ended.pid}', b'')
        process = subprocess.Popen(['xvfb-run', '-a', copy.home + '/bin/tov'], env=copy.environment())
        # While the question is open, a file with the number of the process marks the start.
        asking = []
        while process.poll() is None and not asking:
            asking = [int(name[9:]) for name in os.listdir(folder)
                      if name.startswith('starting-') and name != f'starting-{ended.pid}']
            time.sleep(0.01)
        if not asking:
            return 'it did not ask'
        while not os.path.exists(f'{folder}starting-{asking[0]}'):
            time.sleep(0.01)
        os.kill(asking[0], signal.SIGTERM)
        process.wait(timeout=60)
        return 'a file is left' if os.path.exists(f'{folder}starting-{asking[0]}') else None
finally:
    shutil.rmtree(root, ignore_errors=True)

most, what = max(STARTS)
print(f'a first start without bad files: {plain:.2f} s; the longest: {plain + most:.2f} s, {most:.2f} s more ({what})')
if sanitized:
    skip('the limit on start-up time', 'the address sanitizer slows every start')
finish()
