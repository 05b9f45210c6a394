#!/usr/bin/env python3
"""The process and what is around it: a clock that is set while a recording runs, busy processes beside, no threads to be had,
settings that two programs write at once, a display that goes. Every run ends with a whole file, or one line that says why not.

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
from caselist import finish, left_out, listed  # noqa: E402
from faultcases import Cases, ended, frames_of, one_line, settings  # noqa: E402

BUILD, SOURCE = sys.argv[1:3]
cases = Cases(BUILD, SOURCE)

EVERYTHING = os.environ.get('TOV_FAULTS') == 'all'
CLOCKS = ('back', 'forth', 'both', 'midnight', 'leap')
LIMITS = (1, 2, 3, 4, 5, 6, 7, 8, 10, 12, 16, 24)
FEW_LIMITS = (1, 3, 6, 7, 12)
SMALL = ['--size', '64x64', '--quiet']


def case(what):
    listed(what)
    return cases.case(what)


# The clock is set. Half a second of recording goes over it.
for clock in CLOCKS:
    environment = {'LD_PRELOAD': BUILD + '/tests/libclockshim.so', 'TOV_CLOCK': clock}

    @case(f'clock {clock}: a recording in real time')
    def _(folder, environment=environment):
        settings(folder, 'grabvideotempfilesize=0')
        run = cases.run(folder, ['video', cases.model, *SMALL, '--duration', '1', '-o', 'a.mkv'], environment)
        count = frames_of(folder + '/a.mkv')
        if run.returncode != 0 or not 5 < count < 200:
            return f'status {run.returncode}, {count} frames: {run.stderr}'
        return None

    @case(f'clock {clock}: a recording in steps')
    def _(folder, environment=environment):
        settings(folder, 'grabvideotempfilesize=0')
        run = cases.run(folder, ['video', cases.model, *SMALL, '--turntable', '300', '-o', 'a.mkv'], environment)
        return f'status {run.returncode}: {run.stderr}' if run.returncode else ended(run, folder + '/a.mkv', 300)

    @case(f'clock {clock}: a script over older files')
    def _(folder, environment=environment):
        script = ['-c', 'grabimage a.png 900', '-c', 'grabvideo a.mkv 64 64 1', '-c', 'grabimage b.png 64']
        arguments = ['run', cases.model, '--turntable', '100', '--quiet', *script]
        for again in (False, True):
            run = cases.run(folder, arguments, environment)
            if run.returncode != 0 or frames_of(folder + '/a.mkv') != 100 or frames_of(folder + '/b.png') != 1:
                return f'status {run.returncode}{" the second time" if again else ""}: {run.stderr}'
        return None


@case('four busy processes beside')
def _(folder):
    busy = [subprocess.Popen(['sh', '-c', 'while :; do :; done']) for _ in range(4)]
    try:
        # Encoding is done with what the others leave.
        run = cases.run(folder, ['video', cases.model, *SMALL, '--turntable', '24', '-o', 'a.mp4'], limit_s=120)
        picture = cases.run(folder, ['image', cases.model, '--width', '400', '-o', 'a.png'])
        if run.returncode or picture.returncode:
            return run.stderr + picture.stderr
        return ended(run, folder + '/a.mp4', 24)
    finally:
        for process in busy:
            process.kill()
            process.wait()


# As many threads as the limit leaves. Root has none, so another user is taken for it, who has nothing else running.
USER = 65533 if os.getuid() == 0 else None
RUNNING = 0 if USER else int(subprocess.run(['ps', '-L', '-U', str(os.getuid()), '--no-headers'], capture_output=True,
                                            text=True, check=True).stdout.count('\n'))
for verb in ('image', 'video'):
    if not EVERYTHING:
        left_out(f'{verb} with {[n for n in LIMITS if n not in FEW_LIMITS]} threads at most', 'TOV_FAULTS=all runs them')
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
                return None if frames_of(name) == (8 if verb == 'video' else 1) else 'status 0, but no whole file'
            return one_line(run.returncode, run.stderr)


@case('two programs write the settings at once')
def _(folder):
    keys = ('grabvideotempfilesize', 'grabvideofps', 'grabvideokbps', 'grabvideousememoryasbuffer')
    values = {'first': ('11', '12', '1300', '1'), 'second': ('21', '22', '2300', '0')}
    for _ in range(10):
        both = [cases.start(folder, ['run', '-c', 'setvideosettings ' + ' '.join(some)]) for some in values.values()]
        for process in both:
            if process.wait(30) != 0:
                return f'status {process.returncode}: {process.stderr.read()}'
        with open(folder + '/settings.ini', encoding='ascii') as file:
            found = dict(line.strip().split('=') for line in file if '=' in line)
        written = tuple(found.get(key, '').replace('true', '1').replace('false', '0') for key in keys)
        if any(written[i] not in (values['first'][i], values['second'][i]) for i in range(4)):
            return f'the file holds {found}'
    return None


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
    left_out('the display goes', 'there is no window or no X server')
else:
    if not EVERYTHING:
        left_out('the display goes while a gif or frames are recorded', 'TOV_FAULTS=all runs them')
    for ending in ('mkv', 'mp4', 'gif', 'frames') if EVERYTHING else ('mkv', 'mp4'):
        @case(f'{ending}: the display goes while the window records')
        def _(folder, ending=ending):
            # The name is typed into the console, without quotes.
            folder = tempfile.mkdtemp(dir=os.path.dirname(folder))
            server, name = display()
            video = f'{folder}/a.{ending}'
            window = subprocess.Popen([BUILD + '/bin/tst_window', '--gtest_filter=WindowDisplayGone.*'], text=True,
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                      env={**os.environ, 'DISPLAY': name, 'HOME': folder, 'TOV_RECORD_TO': video})
            try:
                said = []
                for line in window.stdout:
                    said.append(line)
                    if line.startswith('recording'):
                        break
                else:
                    return f'no recording: {said[-6:]} {window.stderr.read()[-300:]}'
                # Until there is something that can be played.
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
            # One thread or another sees it first: Xlib ends the process then, or the program. Either says it in one line.
            if window.returncode != 1 or 'X server' not in error or error.strip().count('\n') != 0:
                return f'status {window.returncode}: {error}'
            return None if count > 0 else 'what was written cannot be played'

finish()
