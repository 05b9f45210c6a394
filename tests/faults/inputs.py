#!/usr/bin/env python3
"""Trajectories that change while a recording follows them; trajectories, scripts, command texts and models that are empty,
endless or noise. Every run ends with a complete file, or with one line that gives the reason.

    inputs.py BUILD_FOLDER SOURCE_FOLDER
"""
import json
import os
import random
import signal
import sys
import time

sys.dont_write_bytecode = True
from caselist import finish  # noqa: E402
from faultcases import Cases, failure_problem, frames_of, recording_problem, settings  # noqa: E402

POSITIONS = 300
cases = Cases(*sys.argv[1:3])
case = cases.case
VIDEO = ['video', cases.model, '--size', '64x64', '--quiet', '-o', 'a.mkv', '--every-position', '--trajectory']
TURN = [[1, 0, 0, 0], [0, 1, 0, 0], [0, 0, 1, 5], [0, 0, 0, 1]]
GOOD = {
    'csv': '\n'.join(f'{i * 0.01},0,0' for i in range(POSITIONS)) + '\n',
    'tum': '\n'.join(f'{i} 0 0 {5 + i * 0.01} 0 0 0 1' for i in range(POSITIONS)) + '\n',
    'json': json.dumps([{'camera': sum(TURN, [])} for _ in range(POSITIONS)]),
}


def write(path, content):
    with open(path, 'wb') as file:
        file.write(content if isinstance(content, bytes) else content.encode())


def size(path):
    return os.path.getsize(path) if os.path.exists(path) else 0


def shrink(path):
    os.truncate(path, os.path.getsize(path) // 2 - 3)


def replace(path):
    write(path + '.new', 'all of this is something else\n')
    os.rename(path + '.new', path)


def turn_into_folder(path):
    os.remove(path)
    os.mkdir(path)


def turn_into_pipe(path):
    os.remove(path)
    os.mkfifo(path)


CHANGES = {'emptied': lambda path: os.truncate(path, 0), 'cut in half': shrink, 'replaced': replace, 'removed': os.remove,
           'made a folder': turn_into_folder, 'made a pipe': turn_into_pipe,
           'written over': lambda path: write(path, b'\0' * 100000)}

for kind, good in GOOD.items():
    for change, apply in CHANGES.items():
        @case(f'{kind}: the trajectory is {change} while it is recorded')
        def _(folder, kind=kind, good=good, apply=apply):
            settings(folder, 'grabvideotempfilesize=0')
            name = f'{folder}/t.{kind}'
            write(name, good)
            process = cases.start(folder, [*VIDEO, name])
            try:
                end = time.monotonic() + 30
                while time.monotonic() < end and process.poll() is None and not size(folder + '/a~partial.mkv'):
                    time.sleep(0.002)
                if process.poll() is not None:
                    return f'no recording to disturb: status {process.returncode}'
                process.send_signal(signal.SIGSTOP)
                apply(name)
                process.send_signal(signal.SIGCONT)
                process.wait(60)
            finally:
                process.kill()
                process.wait()
            if process.returncode != 0:
                return f'status {process.returncode}: {process.stderr.read()}'
            count = frames_of(folder + '/a.mkv')
            return None if count == POSITIONS else f'{count} frames'

    for what, content in {'empty': b'', 'of blanks': b' \n\t\n' * 1000, 'of NUL bytes': b'\0' * 5000,
                          'of noise': random.Random(1).randbytes(20000), 'with one endless line': b'1 ' * 10000000,
                          'with one endless word': b'1' * 20000000, 'with a NUL in it': good.encode()[:200] + b'\0,0\n',
                          'cut': good.encode()[:len(good) // 2 - 3], 'of open brackets': b'[' * 1000000}.items():
        @case(f'{kind}: a trajectory {what}')
        def _(folder, kind=kind, content=content):
            write(f'{folder}/t.{kind}', content)
            run = cases.run(folder, [*VIDEO, f't.{kind}'])
            # Cut between two positions it is still valid.
            if run.returncode == 0 and kind != 'json':
                return None if frames_of(folder + '/a.mkv') > 0 else 'status 0, but no frames'
            return failure_problem(run.returncode, run.stderr) or ('a file is left' if os.path.exists(folder + '/a.mkv') else None)

    @case(f'{kind}: a trajectory of 300 MB')
    def _(folder, kind=kind):
        with open(f'{folder}/t.{kind}', 'wb') as file:
            file.truncate(300 << 20)
        run = cases.run(folder, [*VIDEO, f't.{kind}'])
        return failure_problem(run.returncode, run.stderr)

    for what in ('/dev/zero', 'pipe', 'folder', 'nothing'):
        @case(f'{kind}: a trajectory that is a {what}')
        def _(folder, kind=kind, what=what):
            name = f'{folder}/t.{kind}'
            if what == '/dev/zero':
                os.symlink('/dev/zero', name)
            elif what == 'pipe':
                os.mkfifo(name)
            elif what == 'folder':
                os.mkdir(name)
            run = cases.run(folder, [*VIDEO, name], limit_s=20)
            return failure_problem(run.returncode, run.stderr)


def script(content, wanted=(1,), **how):
    def test(folder):
        name = folder + '/script'
        if isinstance(content, bytes):
            write(name, content)
        elif content:
            os.symlink(content, name)
        run = cases.run(folder, ['run', cases.model, name], **how)
        # The reason, and then a note that the script ends there.
        lines = run.stderr.strip().splitlines()
        if run.returncode == 1 and lines and lines[-1].endswith('the script ends here'):
            lines.pop()
        problem = failure_problem(run.returncode, '\n'.join(lines), wanted)
        return problem or ('files are left' if set(os.listdir(folder)) - {'script', 'settings.ini'} else None)
    return test


PICTURE = b'grabimage a.png 64\n'
SCRIPTS = {
    'a line of 100 MB': b'grabimage ' + b'x' * 100000000 + b'\n' + PICTURE,
    'a line of 10 MB, one word': b'x' * 10000000,
    'a line of 10 MB, many words': b'grabimage ' + b'x ' * 5000000,
    'a line of 10 MB in quotes': b'grabimage "' + b'x' * 10000000 + b'"\n',
    'a line of 10 MB in a quote that is not closed': b'grabimage "' + b'x' * 10000000,
    'an argument name of 10 MB': b'grabimage ' + b'x' * 10000000 + b'=1\n',
    'a million unknown commands': b'nonsense\n' * 1000000,
    'NUL bytes': b'grabimage\0 a.png 64\n',
    'a NUL after the first line': PICTURE + b'\0\n',
    'a NUL in a name': b'grabimage "a\0b.png" 64\n',
    'NUL bytes only': b'\0' * 100000,
    'an unknown command': b'grabpicture a.png 64\n',
    'an unknown argument': b'grabimage filename=a.png breadth=64\n',
    'too many arguments': b'grabimage a.png 64 3 4 5\n',
    'an argument twice': b'grabimage filename=a.png filename=b.png width=64\n',
    'a word for a number': b'grabimage a.png wide\n',
    'a huge number': b'grabimage a.png 99999999999999999999\n',
    'not UTF-8': b'grabim\xe4ge a.png 64\n',
    'not UTF-8 in a name': b'grabimage f\xfcr/a.png 64\n',
    'an equals sign first': b'=grabimage a.png\n',
    'noise': random.Random(2).randbytes(100000),
    'control characters': b'\x1b[2Jgrabimage\x07 a.png\n',
}
for what, content in SCRIPTS.items():
    case(f'a script with {what}')(script(content, (1, 2)))
for device in ('/dev/zero', '/dev/full', '/dev/urandom'):
    case(f'a script that is {device}')(script(device, (1, 2), limit_s=20))
for what, content in {'nothing': b'', 'comments': b'# nothing\n' * 100000, 'blank lines': b'\r\n' * 100000}.items():
    case(f'a script of {what}')(script(content, (2,)))


@case('a script with a million comments and windows line ends runs')
def _(folder):
    write(folder + '/script', b'# comment\r\n' * 1000000 + b'grabimage a.png 64\r\n')
    run = cases.run(folder, ['run', cases.model, 'script'])
    return run.stderr if run.returncode else recording_problem(run, folder + '/a.png', 'png', 1)


@case('a script from a pipe runs')
def _(folder):
    run = cases.run(folder, ['run', cases.model, '/dev/stdin'], input='grabimage a.png 64\n')
    return run.stderr if run.returncode else recording_problem(run, folder + '/a.png', 'png', 1)


@case('a script from a pipe without data can be interrupted')
def _(folder):
    os.mkfifo(folder + '/script')
    process = cases.start(folder, ['run', cases.model, 'script'])
    try:
        holder = os.open(folder + '/script', os.O_RDWR)
        process.send_signal(signal.SIGINT)
        process.wait(20)
        os.close(holder)
    finally:
        process.kill()
        process.wait()
    return None if process.returncode in (130, -signal.SIGINT) else f'status {process.returncode}'


for text in ('x' * 100000, 'grabimage "' + 'x' * 100000, 'grabimage filename=' + 'x' * 100000, '', '=', '"', 'grabimage =a',
             'grabimage ' + '"" ' * 30000, 'setvideosettings 1e999', "grabvideo 'a\nb.mkv' -1 -1 2"):
    @case(f'a command text {text[:20]!r} of {len(text)} characters')
    def _(folder, text=text):
        run = cases.run(folder, ['run', cases.model, '-c', text])
        return failure_problem(run.returncode, run.stderr, (1, 2))

# Models that are not regular files, or are endless.
for what in ('/dev/zero', 'pipe', 'folder', '/dev/full'):
    for ending in ('obj', 'ply', 'stl', 'dae'):
        @case(f'a model {ending} that is a {what}')
        def _(folder, what=what, ending=ending):
            name = f'{folder}/m.{ending}'
            if what == 'pipe':
                os.mkfifo(name)
            elif what == 'folder':
                os.mkdir(name)
            else:
                os.symlink(what, name)
            run = cases.run(folder, ['image', name, '-o', 'a.png', '--width', '64'], limit_s=20)
            return failure_problem(run.returncode, run.stderr)

finish()
