#!/usr/bin/env python3
"""Encoder plug-ins that misbehave inside the program: it ends cleanly, or can be stopped, and the next
recording in the same process is complete. usage: encoders.py BUILD [CASE] [-v]"""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from caselist import announce, finish, record, run_case, skip  # noqa: E402
from faultcases import failure_problem  # noqa: E402
from programcopy import Copy  # noqa: E402

BUILD = sys.argv[1]
MODEL = '/usr/share/glmark2/models/cube.3ds'
ONLY = sys.argv[2] if len(sys.argv) > 2 else ''
FRAMES = 12
FRAME = 640 * 480 * 4
NOTHING = ('refuses', 'throwsatstart', 'noencoder', 'writesnothing')
FAILING = ('fails', 'failsmiddle', 'failslast', 'throwsatchunk', 'throwslast', 'throwsatend', 'keepsthefile')
HARMLESS = ('moves', 'closes', 'overreads', 'complainsoften')
root = tempfile.mkdtemp(prefix='tov encoders ')
os.chmod(root, 0o755)


def case(what):
    def add(function):
        if ONLY and what != ONLY:
            return
        announce(what)
        copy = Copy(BUILD, root)
        for name in ('misbehaves.so', 'troublesome.so', 'throws.so', 'readsback.so'):
            shutil.copy(BUILD + '/tests/zoo/' + name, copy.plugins)
        # Chunks of two frames, so that there are many.
        with open(copy.home + '/settings.ini', 'w', encoding='ascii') as file:
            file.write('[settings]\ngrabvideotempfilesize=1\n')
        record(what, run_case(function, copy))
        shutil.rmtree(copy.home, ignore_errors=True)
    return add


def video(ending, *more):
    return ['video', MODEL, '-o', f'a.{ending}', '--size', '640x480', *more]


def run(copy, *arguments):
    return subprocess.run([copy.home + '/bin/tov', *arguments], capture_output=True, text=True, timeout=100,
                          cwd=copy.home, env=copy.environment())


try:
    for ending in (*NOTHING, *FAILING, *HARMLESS):
        @case(ending)
        def _(copy, ending=ending):
            done = run(copy, *video(ending, '--turntable', str(FRAMES)))
            name = f'{copy.home}/a.{ending}'
            if done.returncode != 0 and os.path.exists(name):
                return f'status {done.returncode}, but the file was made'
            size = os.path.getsize(name) if os.path.exists(name) else 0
            if done.returncode != 0:
                if ending in HARMLESS:
                    return f'status {done.returncode}: {done.stderr[-300:]}'
                return failure_problem(done.returncode, done.stderr)
            if ending in NOTHING:
                return 'nothing was recorded, but the status is 0'
            # The one that keeps the file appends a word to it.
            whole = FRAMES * FRAME + (len('end') if ending == 'keepsthefile' else 0)
            return None if size == whole else f'status 0, but {size} bytes are not {FRAMES} frames'

    @case('a script ends at the recording that failed')
    def _(copy):
        texts = [f'grabvideo filename="a.{name}" width=320 height=240' for name in ('fails', 'mp4')]
        done = run(copy, 'run', MODEL, '--turntable', '10', '-c', texts[0], '-c', texts[1])
        problem = failure_problem(done.returncode, done.stderr)
        return problem or ('the next command was run' if os.path.exists(copy.home + '/a.mp4') else None)

    # The result of a plug-in's check of its finished file is used.
    for what, ending, positions, wanted in (
            ('a plug-in counts the frames', 'sevenframes', 7, (0, ', 7 frames')),
            ('a plug-in counts other frames', 'sevenframes', 6, (1, '7 frames instead of 6')),
            ('a plug-in cannot read its file', 'unreadable', 6, (1, 'cannot be read back')),
            ('a plug-in does not know its ending', 'unknown', 6, (0, 'kB')),
            ('a plug-in throws while it reads', 'throwing', 6, (0, 'kB'))):
        @case(what)
        def _(copy, ending=ending, positions=positions, wanted=wanted):
            done = run(copy, *video(ending, '--turntable', str(positions)))
            if done.returncode != wanted[0] or wanted[1] not in done.stdout + done.stderr:
                return f'status {done.returncode}: {done.stdout[-300:]} {done.stderr[-300:]}'
            if wanted[0]:
                return failure_problem(done.returncode, done.stderr)
            return 'frames are reported' if ending != 'sevenframes' and ' frames' in done.stdout else None

    # One process: a failing recording, two good ones, the next failing one, and so on.
    after = {}
    SECOND = 'recordings after faults, in one process'
    if not os.path.exists(BUILD + '/bin/tst_window') or not shutil.which('xvfb-run'):
        skip(SECOND, 'no window test or no X server')
    else:
        @case(SECOND)
        def _(copy):
            shutil.copy(BUILD + '/bin/tst_window', copy.home + '/bin/tst_window')
            done = subprocess.run(['xvfb-run', '-a', '-s', '-screen 0 1600x1200x24', copy.home + '/bin/tst_window',
                                   '--gtest_filter=WindowAfterFault.*'], capture_output=True, text=True, timeout=300,
                                  env=copy.environment({'TOV_FAULTY': ','.join((*NOTHING, *FAILING, *HARMLESS))}))
            for line in done.stdout.splitlines():
                if line.startswith('after '):
                    name, _, rest = line[6:].partition(': ')
                    after[name] = rest
            return None if done.returncode == 0 else f'status {done.returncode}: {done.stdout[-1500:]}'

        for ending in (*NOTHING, *FAILING, *HARMLESS):
            @case(f'mp4 and lossless.mkv after {ending}, in one process')
            def _(copy, ending=ending):
                found = after.get(ending, 'not run')
                return None if found == f'ended, then {FRAMES} and {FRAMES} frames' else found

    def interrupted(copy, ending, times):
        """The status after that many interrupts, half a second apart, once the recording runs."""
        process = subprocess.Popen([copy.home + '/bin/tov', *video(ending, '--free', '60')], cwd=copy.home,
                                   env=copy.environment(), stderr=subprocess.PIPE, text=True)
        try:
            begin = time.monotonic()
            while not os.path.exists(f'{copy.home}/a~partial.{ending}') and process.poll() is None and time.monotonic() < begin + 30:
                time.sleep(0.01)
            time.sleep(1.5)
            for _ in range(times):
                process.send_signal(signal.SIGINT)
                time.sleep(0.5)
            return process.wait(timeout=60)
        finally:
            if process.poll() is None:
                process.kill()
                process.wait()
            process.stderr.close()

    @case('one that hangs: the second interrupt leaves at once')
    def _(copy):
        status = interrupted(copy, 'hangs', 2)
        return None if status == 130 else f'status {status}'

    @case('a slow one: the second interrupt leaves at once')
    def _(copy):
        status = interrupted(copy, 'slow', 2)
        return None if status == 130 else f'status {status}'

    if os.path.exists(BUILD + '/bin/tst_window'):
        @case('one that hangs, in the window: it is reported, work goes on, quitting is offered')
        def _(copy):
            shutil.copy(BUILD + '/bin/tst_window', copy.home + '/bin/tst_window')
            done = subprocess.run(['xvfb-run', '-a', '-s', '-screen 0 1600x1200x24', copy.home + '/bin/tst_window',
                                   '--gtest_filter=WindowStuck.*'], capture_output=True, text=True, timeout=100,
                                  env=copy.environment())
            if 'leaving without it' in done.stdout and done.returncode == 1 and 'Failure' not in done.stdout:
                return None
            return f'status {done.returncode}: {done.stdout[-1500:]}'

        @case('a slow one, in the window: closing its panel aborts it after the current chunk')
        def _(copy):
            shutil.copy(BUILD + '/bin/tst_window', copy.home + '/bin/tst_window')
            seconds = {'TOV_CHUNK_SECONDS': '10'} if os.environ.get('TOV_FAULTS') == 'all' else {}
            done = subprocess.run(['xvfb-run', '-a', '-s', '-screen 0 1600x1200x24', copy.home + '/bin/tst_window',
                                   '--gtest_filter=WindowBadEncoders.*'], capture_output=True, text=True, timeout=200,
                                  env=copy.environment(seconds))
            if done.returncode == 0 and 'slow and aborted: good' in done.stdout:
                return None
            return f'status {done.returncode}: {done.stdout[-1500:]}'
    else:
        skip('one that hangs, in the window', 'no window test')
finally:
    shutil.rmtree(root, ignore_errors=True)

finish()
