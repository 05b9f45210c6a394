#!/usr/bin/env python3
"""The process and its surroundings: a clock that is set during a recording, a loaded machine, no more threads, two programs with
the same settings file, a display that disappears. Every run ends with a complete file or with one line that gives the reason.

    process.py BUILD_FOLDER SOURCE_FOLDER [-v]        TOV_FAULTS=all: more limits and formats
"""
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from caselist import announce, finish, skip  # noqa: E402
from faultcases import Cases, recording_problem, frames_of, failure_problem, settings  # noqa: E402

BUILD, SOURCE = sys.argv[1:3]
cases = Cases(BUILD, SOURCE)

EVERYTHING = os.environ.get('TOV_FAULTS') == 'all'
CLOCKS = ('back', 'forth', 'both', 'midnight', 'leap')
LIMITS = (1, 2, 3, 4, 5, 6, 7, 8, 10, 12, 16, 24)
FEW_LIMITS = (1, 3, 6, 7, 12)
SMALL = ['--size', '64x64', '--quiet']


def case(what):
    announce(what)
    return cases.case(what)


# The clock is set half a second after the recording has started.
for clock in CLOCKS:
    environment = {'LD_PRELOAD': BUILD + '/tests/libclockshim.so', 'TOV_CLOCK': clock}

    @case(f'clock {clock}: a recording in real time')
    def _(folder, environment=environment):
        settings(folder, 'grabvideotempfilesize=0')
        run = cases.run(folder, ['video', cases.model, *SMALL, '--free', '1', '-o', 'a.mkv'], environment)
        count = frames_of(folder + '/a.mkv')
        if run.returncode != 0 or not 5 < count < 200:
            return f'status {run.returncode}, {count} frames: {run.stderr}'
        return None

    @case(f'clock {clock}: a recording in steps')
    def _(folder, environment=environment):
        settings(folder, 'grabvideotempfilesize=0')
        run = cases.run(folder, ['video', cases.model, *SMALL, '--turntable', '300', '-o', 'a.mkv'], environment)
        return f'status {run.returncode}: {run.stderr}' if run.returncode else recording_problem(run, folder + '/a.mkv', 'mkv', 300)

    @case(f'clock {clock}: a script over older files')
    def _(folder, environment=environment):
        script = ['-c', 'grabimage a.png 900', '-c', 'grabvideo a.mkv 64 64 1', '-c', 'grabimage b.png 64']
        arguments = ['run', cases.model, '--turntable', '100', '--quiet', *script]
        for again in (False, True):
            run = cases.run(folder, arguments, environment)
            if run.returncode != 0 or frames_of(folder + '/a.mkv') != 100 or frames_of(folder + '/b.png') != 1:
                return f'status {run.returncode}{" the second time" if again else ""}: {run.stderr}'
        return None


@case('four other busy processes')
def _(folder):
    busy = [subprocess.Popen(['sh', '-c', 'while :; do :; done']) for _ in range(4)]
    try:
        # Encoding runs at idle priority.
        run = cases.run(folder, ['video', cases.model, *SMALL, '--turntable', '24', '-o', 'a.mp4'], limit_s=120)
        picture = cases.run(folder, ['image', cases.model, '--width', '400', '-o', 'a.png'])
        if run.returncode or picture.returncode:
            return run.stderr + picture.stderr
        return recording_problem(run, folder + '/a.mp4', 'mp4', 24)
    finally:
        for process in busy:
            process.kill()
            process.wait()


# A limit on threads does not apply to root, so the program runs as another user, who has no other processes.
USER = 65533 if os.getuid() == 0 else None
RUNNING = 0 if USER else int(subprocess.run(['ps', '-L', '-U', str(os.getuid()), '--no-headers'], capture_output=True,
                                            text=True, check=True).stdout.count('\n'))
for verb in ('image', 'video'):
    if not EVERYTHING:
        skip(f'{verb} with {[n for n in LIMITS if n not in FEW_LIMITS]} threads at most', 'TOV_FAULTS=all runs them')
    for threads in LIMITS if EVERYTHING else FEW_LIMITS:
        @case(f'{verb} with {threads} threads at most')
        def _(folder, verb=verb, threads=threads):
            if USER:
                os.chmod(folder, 0o777)
            name = folder + ('/a.png' if verb == 'image' else '/a.mkv')
            arguments = [verb, cases.model, '-o', name, *(SMALL if verb == 'video' else ['--width', '64', '--quiet'])]
            limit = RUNNING + threads
            run = subprocess.run([cases.tov, *arguments, *(['--turntable', '8'] if verb == 'video' else [])],
                                 capture_output=True, text=True, timeout=20, cwd=folder, user=USER, check=False,
                                 env=cases.environment(folder, {'HOME': folder}),
                                 preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NPROC, (limit, limit)))
            if run.returncode == 0:
                return None if frames_of(name) == (8 if verb == 'video' else 1) else 'status 0, but the file is not complete'
            return failure_problem(run.returncode, run.stderr)


@case('settings of one call are not stored')
def _(folder):
    settings(folder, 'grabvideofps=30')
    with open(folder + '/settings.ini', 'rb') as file:
        before = file.read()
    both = [cases.start(folder, ['run', '-c', 'setvideosettings ' + values]) for values in ('11 12 1300 1', '21 22 2300 0')]
    for process in both:
        if process.wait(30) != 0:
            return f'status {process.returncode}: {process.stderr.read()}'
    with open(folder + '/settings.ini', 'rb') as file:
        content = file.read()
    return None if content == before else f'the file holds {content}'


def display():
    """An X server of our own and its name."""
    reading, writing = os.pipe()
    server = subprocess.Popen(['Xvfb', '-displayfd', str(writing), '-screen', '0', '1600x1200x24', '-nolisten', 'tcp'],
                              pass_fds=(writing,), stderr=subprocess.DEVNULL)
    os.close(writing)
    with os.fdopen(reading, encoding='ascii') as file:
        name = file.readline().strip()
    return server, ':' + name


if not os.path.exists(BUILD + '/bin/tst_window') or not shutil.which('Xvfb'):
    skip('the display disappears', 'no window test or no X server')
else:
    if not EVERYTHING:
        skip('the display disappears while a gif or frames are recorded', 'TOV_FAULTS=all runs them')
    for ending in ('mkv', 'mp4', 'gif', 'frames') if EVERYTHING else ('mkv', 'mp4'):
        @case(f'{ending}: the display disappears while the window records')
        def _(folder, ending=ending):
            # The name is typed into the console without quotes, so it must not hold a blank.
            folder = tempfile.mkdtemp(dir=os.path.dirname(folder))
            server, name = display()
            video = f'{folder}/a.{ending}'
            window = subprocess.Popen([BUILD + '/bin/tst_window', '--gtest_filter=WindowDisplayGone.*'], text=True,
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                      env={**os.environ, 'DISPLAY': name, 'HOME': folder, 'TOV_RECORD_TO': video})
            try:
                lines = []
                for line in window.stdout:
                    lines.append(line)
                    if line.startswith('recording'):
                        break
                else:
                    return f'no recording: {lines[-6:]} {window.stderr.read()[-300:]}'
                # Waits until a frame can be played.
                end = time.monotonic() + 30
                while frames_of(video) < 1 and time.monotonic() < end:
                    time.sleep(0.1)
                server.kill()
                server.wait()
                try:
                    window.wait(20)
                except subprocess.TimeoutExpired:
                    return 'hangs'
                error = window.stderr.read()
            finally:
                for process in (server, window):
                    process.kill()
                    process.wait()
                count = frames_of(video)
                shutil.rmtree(folder)
            # Either Xlib or the program notices it first and ends the process; both print one line.
            if window.returncode != 1 or 'X server' not in error or error.strip().count('\n') != 0:
                return f'status {window.returncode}: {error}'
            return None if count > 0 else 'the recording does not play'

finish()
