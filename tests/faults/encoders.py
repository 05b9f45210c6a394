#!/usr/bin/env python3
"""Encoder plug-ins that misbehave inside the program: it ends in good order, or can be left. usage: encoders.py BUILD [CASE]"""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from programcopy import Copy  # noqa: E402

BUILD = sys.argv[1]
MODEL = '/usr/share/glmark2/models/cube.3ds'
ONLY = sys.argv[2] if len(sys.argv) > 2 else ''
RESULTS = []
root = tempfile.mkdtemp(prefix='tov encoders ')
os.chmod(root, 0o755)


def case(what):
    def add(function):
        if ONLY and what != ONLY:
            return
        copy = Copy(BUILD, root)
        for name in ('misbehaves.so', 'troublesome.so', 'throws.so'):
            shutil.copy(BUILD + '/tests/zoo/' + name, copy.plugins)
        # Memory for two frames a chunk: many chunks.
        with open(copy.home + '/settings.ini', 'w', encoding='ascii') as file:
            file.write('[settings]\ngrabvideotempfilesize=1\n')
        try:
            problem = function(copy)
        except subprocess.TimeoutExpired:
            problem = 'hangs'
        RESULTS.append(problem is None)
        if problem:
            print(f'FAILED: {what}: {problem}', flush=True)
        shutil.rmtree(copy.home, ignore_errors=True)
    return add


def video(ending, *more):
    return ['video', MODEL, '-o', f'a.{ending}', '--size', '640x480', *more]


def run(copy, *arguments):
    return subprocess.run([copy.home + '/bin/tov', *arguments], capture_output=True, text=True, timeout=100,
                          cwd=copy.home, env=copy.environment())


def orderly(done):
    if done.returncode not in (0, 1):
        return f'status {done.returncode}: {done.stderr[-300:]}'
    lines = done.stderr.strip().splitlines()
    if done.returncode == 1 and sum(line.startswith('tov: ') for line in lines) != 1:
        return f'not one line: {lines}'
    return None


try:
    for ending in ('refuses', 'fails', 'failsmiddle', 'failslast', 'throwsatstart', 'throwsatchunk', 'throwslast',
                   'throwsatend', 'noencoder', 'overreads', 'writesnothing', 'keepsthefile', 'complainsoften', 'moves',
                   'closes'):
        @case(ending)
        def _(copy, ending=ending):
            done = run(copy, *video(ending, '--turntable', '12'))
            problem = orderly(done)
            if problem is None and ending in ('refuses', 'throwsatstart', 'noencoder', 'writesnothing') and done.returncode == 0:
                problem = 'nothing was recorded, yet the status is 0'
            if problem is None and done.returncode == 0 and not os.path.getsize(f'{copy.home}/a.{ending}'):
                problem = 'the file is empty'
            if problem is None and ending in ('moves', 'closes', 'overreads', 'complainsoften', 'throwsatend'):
                size = os.path.getsize(f'{copy.home}/a.{ending}')
                if size != 12 * 640 * 480 * 4:
                    problem = f'{size} bytes are not 12 frames'
            return problem

    for ending in ('mp4', 'lossless.mkv'):
        @case(f'{ending} after a plug-in that failed, in one process')
        def _(copy, ending=ending):
            texts = [f'grabvideo filename="a.{name}" width=320 height=240' for name in ('failsmiddle', ending)]
            done = run(copy, 'run', MODEL, '--turntable', '10', '-c', texts[0], '-c', texts[1])
            if done.returncode not in (0, 1):
                return f'status {done.returncode}: {done.stderr[-300:]}'
            return None if os.path.exists(f'{copy.home}/a.{ending}') or done.returncode == 1 else 'no file'

    def interrupted(copy, ending, times):
        """The status after so many interrupts, half a second apart, once the recording is on."""
        process = subprocess.Popen([copy.home + '/bin/tov', *video(ending, '--duration', '60')], cwd=copy.home,
                                   env=copy.environment(), stderr=subprocess.PIPE, text=True)
        try:
            begin = time.monotonic()
            while not os.path.exists(f'{copy.home}/a.{ending}') and process.poll() is None and time.monotonic() < begin + 30:
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

    @case('10 s a chunk: the second interrupt leaves at once')
    def _(copy):
        status = interrupted(copy, 'tenseconds', 2)
        return None if status == 130 else f'status {status}'

    if os.path.exists(BUILD + '/bin/tst_window'):
        @case('one that hangs, in the window: it is told of, work goes on, quitting is offered')
        def _(copy):
            shutil.copy(BUILD + '/bin/tst_window', copy.home + '/bin/tst_window')
            done = subprocess.run(['xvfb-run', '-a', '-s', '-screen 0 1600x1200x24', copy.home + '/bin/tst_window',
                                   '--gtest_filter=WindowStuck.*'], capture_output=True, text=True, timeout=100,
                                  env=copy.environment())
            if 'leaving without it' in done.stdout and done.returncode == 1 and 'Failure' not in done.stdout:
                return None
            return f'status {done.returncode}: {done.stdout[-1500:]}'
finally:
    shutil.rmtree(root, ignore_errors=True)

print(f'{sum(RESULTS)} of {len(RESULTS)}')
sys.exit(0 if RESULTS and all(RESULTS) else 1)
