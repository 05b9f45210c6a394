#!/usr/bin/env python3
"""Runs the program under unusual conditions: environment, names, limits, outputs, settings, signals. Each run ends with a
complete file, or with one line that gives the reason; never with a crash or a hang.

    conditions.py BUILD_FOLDER SOURCE_FOLDER [-v]        TOV_FAULTS=all: stopped for 10 s, larger files, more limits
"""
import glob
import os
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from caselist import announce, finish, record, run_case, skip  # noqa: E402
from faultcases import failure_problem, frames_of, partial_name  # noqa: E402

BUILD, SOURCE = sys.argv[1], sys.argv[2]
TOV = BUILD + '/bin/tov'
MODEL = SOURCE + '/samples/crane.obj'
# Without coplanar faces, whose order of drawing is not fixed.
CUBE = '/usr/share/glmark2/models/cube.3ds'
EVERYTHING = os.environ.get('TOV_FAULTS') == 'all'
# Root can read and write everything, so cases about permissions run as another user.
USER = 65533 if os.geteuid() == 0 else None


def run(folder, arguments, environment=None, drop=(), limits=(), stdin=None, limit_s=60, close=(), user=None):
    env = {**os.environ, 'TOV_SETTINGS': folder + '/settings.ini', 'LC_ALL': 'C.UTF-8', **(environment or {})}
    for name in drop:
        env.pop(name, None)

    def prepare():
        for which, value in limits:
            resource.setrlimit(which, (value, value))
        for descriptor in close:
            os.close(descriptor)

    return subprocess.run([TOV] + arguments, capture_output=True, env=env, cwd=folder, timeout=limit_s, preexec_fn=prepare,
                          user=user)


def check(what, function):
    announce(what)
    with tempfile.TemporaryDirectory() as folder:
        problem = run_case(function, folder)
    record(what, problem)


def case(what):
    return lambda function: check(what, function)


def error_of(done):
    return done.stderr.decode(errors='replace')


def refused(done, name, wanted=(1,), alone=True):
    """Checks a failure: its status, one line with the reason, no file. `alone`: libraries print nothing either."""
    problem = failure_problem(done.returncode, error_of(done), wanted)
    if problem is None and alone and len(error_of(done).strip().splitlines()) != 1:
        problem = f'printed: {error_of(done)[-300:]}'
    return problem or (f'{name} was made' if os.path.exists(name) else None)


def whole(name):
    return subprocess.run([b'pngcheck', b'-q', name if isinstance(name, bytes) else name.encode()],
                          capture_output=True).returncode == 0


def makes(name='a.png', **how):
    """Makes a picture."""
    def test(folder):
        done = run(folder, ['image', MODEL, '-o', name, '--width', '100', '--quiet'], **how)
        path = os.path.join(folder.encode(), name if isinstance(name, bytes) else name.encode())
        if done.returncode != 0:
            return f'status {done.returncode}: {done.stderr[-200:]}'
        return None if whole(path) else 'the picture is not complete'
    return test


def refuses(arguments, text, status=1, before=None, **how):
    """One line with the text, and the status."""
    def test(folder):
        if before:
            before(folder)
        done = run(folder, arguments, **how)
        lines = done.stderr.decode(errors='replace').strip().splitlines()
        if done.returncode != status:
            return f'status {done.returncode} instead of {status}: {lines}'
        if len(lines) != 1 or text not in lines[0] or not lines[0].startswith('tov: '):
            return f'printed: {lines}'
        return None
    return test


# Environment
check('without HOME', makes(drop=('HOME',)))
check('without XDG_RUNTIME_DIR', makes(drop=('XDG_RUNTIME_DIR',)))
check('without both and without settings of its own', makes(drop=('HOME', 'XDG_RUNTIME_DIR', 'TOV_SETTINGS')))
check('LC_ALL=C', makes(environment={'LC_ALL': 'C'}))
check('an unknown locale', makes(environment={'LC_ALL': 'xx_YY'}))
check('a missing home folder', makes(environment={'HOME': '/proc/nonexistent', 'XDG_CONFIG_HOME': '/proc/nonexistent/c'}))

# With a locale that has decimal commas, results are identical byte by byte. The locale is created here.
locales = tempfile.mkdtemp(prefix='tov locales ')
made = subprocess.run(['localedef', '-f', 'UTF-8', '-i', 'de_DE', locales + '/de_DE.UTF-8'], capture_output=True,
                      text=True) if shutil.which('localedef') else None
COMMA = {'LC_ALL': 'de_DE.UTF-8', 'LOCPATH': locales}
point = subprocess.run([sys.executable, '-c', 'import locale; locale.setlocale(locale.LC_ALL, ""); '
                        'print(locale.localeconv()["decimal_point"])'], capture_output=True, text=True, env={**os.environ, **COMMA})
if point.stdout.strip() != ',':
    skip('4 cases with comma decimals', 'the locale cannot be made: ' +
             (made.stderr if made else 'there is no localedef').strip())
else:
    TURNED = '0.6 0 0.8 0 0 1 0 0 -0.8 0 0.6 -12.5 0 0 0 1'

    def same(name, arguments, content):
        """The results of two runs are the same; `content` reads one."""
        def test(folder):
            found = []
            for environment in ({'LC_ALL': 'C'}, COMMA):
                if os.path.exists(folder + '/' + name):
                    os.remove(folder + '/' + name)
                done = run(folder, arguments, environment=environment)
                if done.returncode != 0:
                    return f'status {done.returncode} with {environment["LC_ALL"]}: {error_of(done)[-200:]}'
                found.append(content(folder + '/' + name))
            return None if found[0] and found[0] == found[1] else 'the results differ'
        return test

    def pixels(name):
        """A checksum of each frame of the turn of 12 frames, or of the 4 positions of the flight."""
        sums = subprocess.run(['ffmpeg', '-v', 'error', '-i', name, '-f', 'framemd5', '-'], capture_output=True, text=True)
        frames = [line for line in sums.stdout.splitlines() if not line.startswith('#')]
        return frames if len(frames) in (4, 12) and frames_of(name) == len(frames) else None

    def read(name):
        with open(name, 'rb') as file:
            return file.read()

    check('comma decimals: a picture with a view of decimals',
          same('a.png', ['image', MODEL, '-o', 'a.png', '--width', '300', '--transform', TURNED], read))
    check('comma decimals: a video of a turn', same('a.lossless.mkv', [
        'video', CUBE, '-o', 'a.lossless.mkv', '--turntable', '12', '--size', '160x120'], pixels))
    with open(SOURCE + '/samples/flight.tum', encoding='ascii') as flight, \
            open(locales + '/flight.tum', 'w', encoding='ascii') as some:
        some.writelines([line for line in flight if line[0] != '#'][:4])
    check('comma decimals: a video along a file of decimals', same('a.lossless.mkv', [
        'video', CUBE, '-o', 'a.lossless.mkv', '--trajectory', locales + '/flight.tum', '--every-position', '--size', '160x120'], pixels))

    @case('comma decimals: a command text with decimals is refused in every locale')
    def _(folder):
        for width in ('300.5', '300,5'):
            both = [run(folder, ['run', MODEL, '-c', f'grabimage a.png {width}'], environment=environment)
                    for environment in ({'LC_ALL': 'C'}, COMMA)]
            for done in both:
                problem = refused(done, folder + '/a.png')
                if problem or f'"{width}"' not in error_of(done):
                    return f'{width}: {problem}: {error_of(done)}'
        return None
shutil.rmtree(locales)

# Names
for name in ('a b.png', '"quoted".png', "'q'.png", '100%.png', '%s%n.png', 'new\nline.png', '-dash.png', 'é中.png',
             'x' * 251 + '.png', b'latin\xe9.png'):
    argument = name if isinstance(name, bytes) else name

    def named(folder, argument=argument):
        path = os.path.join(folder.encode(), argument if isinstance(argument, bytes) else argument.encode())
        done = subprocess.run([TOV.encode(), b'image', MODEL.encode(), b'--width', b'100', b'--quiet', b'-o', path],
                              capture_output=True, timeout=60,
                              env=dict(os.environ, TOV_SETTINGS=folder + '/settings.ini', LC_ALL='C.UTF-8'))
        if isinstance(argument, bytes):
            # Command texts are UTF-8, so other names cannot be given.
            return None if done.returncode == 2 and b'not UTF-8' in done.stderr else f'status {done.returncode}'
        if done.returncode != 0:
            return f'status {done.returncode}: {done.stderr[-200:]}'
        return None if whole(path) else 'the picture is not complete'
    check(f'the output name {name!r:.40}', named)
check('a name of more than 255 bytes', refuses(['image', MODEL, '-o', 'x' * 300 + '.png', '--width', '100'], 'x'))

# Outputs
check('an output that is a folder', refuses(['image', MODEL, '-o', 'd.png'], 'is a folder',
                                            before=lambda f: os.mkdir(f + '/d.png')))
check('an output that is a pipe', refuses(['image', MODEL, '-o', 'p.png'], 'no program reads from it',
                                          before=lambda f: os.mkfifo(f + '/p.png')))
check('a video into a pipe', refuses(['video', MODEL, '--turntable', '2', '-o', 'p.mp4'], 'no program reads from it',
                                     before=lambda f: os.mkfifo(f + '/p.mp4')))
check('an output that is a full device', refuses(['image', MODEL, '-o', 'f.png', '--width', '16'], 'f.png',
                                                 before=lambda f: os.symlink('/dev/full', f + '/f.png')))
check('an output in a missing folder', refuses(['image', MODEL, '-o', 'no/a.png'], 'there is no folder'))


def through_link(folder):
    os.symlink(folder + '/real.png', folder + '/link.png')
    problem = makes('link.png')(folder)
    return problem or (None if os.path.isfile(folder + '/real.png') else 'the link was replaced')


check('an output that is a link', through_link)

# Limits
VERBS = {'image': ['image', MODEL, '-o', 'a.png', '--width', '200', '--quiet'],
         'video': ['video', MODEL, '-o', 'a.mkv', '--turntable', '12', '--size', '320x240', '--quiet']}


def limited(verb, limit):
    """Makes the complete file, or prints one line with the reason and leaves none."""
    def test(folder):
        done = run(folder, VERBS[verb], limits=(limit,))
        name = folder + '/' + VERBS[verb][3]
        if done.returncode == 0:
            count = frames_of(name)
            return None if count == (1 if verb == 'image' else 12) else f'status 0, but {count} frames'
        # Qt ends the process when the event loop of a thread gets no file descriptor; the partial video stays.
        if 'Cannot continue without a thread pipe' in error_of(done):
            return failure_problem(done.returncode, error_of(done))
        return refused(done, name, alone=False)
    return test


if not EVERYTHING:
    skip('42 more limits on open files, 6 on memory', 'TOV_FAULTS=all runs them')
with open(TOV, 'rb') as program:
    sanitized = b'__asan_init' in program.read()
if sanitized:
    skip('less than 16 open files', 'the sanitizer itself opens pipes to inspect objects')
for verb in VERBS:
    for files in range(16 if sanitized else 4, 33, 1 if EVERYTHING else 4):
        check(f'{verb}: {files} open files', limited(verb, (resource.RLIMIT_NOFILE, files)))
check('small files only', refuses(['image', MODEL, '-o', 'a.png', '--width', '900'], 'a.png',
                                  limits=((resource.RLIMIT_FSIZE, 1000),)))
if sanitized:
    skip('limits on memory', 'the address sanitizer reserves terabytes of addresses')
else:
    # With less, software rendering (Mesa) crashes when an allocation fails.
    for verb in VERBS:
        for megabytes in (1200, 1300, 1400, 1600, 2000, 3000) if EVERYTHING else (1200, 1500, 3000):
            check(f'{verb}: {megabytes} MB of addresses', limited(verb, (resource.RLIMIT_AS, megabytes << 20)))
    for width in (20000, 30000):
        for megabytes in (1300, 1500, 1700):
            @case(f'a picture {width} wide in {megabytes} MB of addresses')
            def _(folder, width=width, megabytes=megabytes):
                done = run(folder, ['image', MODEL, '-o', 'a.png', '--width', str(width)],
                           limits=((resource.RLIMIT_AS, megabytes << 20),), limit_s=180)
                if done.returncode == 0:
                    return None if whole(folder + '/a.png') else 'status 0, but the picture is not complete'
                return refused(done, folder + '/a.png')
    for megabytes in (1600, 1700, 2000):
        @case(f'a video of 8000 x 8000 in {megabytes} MB of addresses')
        def _(folder, megabytes=megabytes):
            done = run(folder, ['video', MODEL, '-o', 'a.mkv', '--turntable', '2', '--size', '8000x8000', '--quiet'],
                       limits=((resource.RLIMIT_AS, megabytes << 20),))
            return refused(done, folder + '/a.mkv', alone=False)


def closed_stdout(folder):
    done = run(folder, ['encoders'], close=(1,))
    return None if done.returncode in (0, 1) else f'status {done.returncode}'


check('closed standard output', closed_stdout)

# The exit status for each number. A blank around a number is ignored.
WIDTHS = {'0': 2, '1': 2, '-1': 2, '-2147483648': 2, '2147483647': 2, '200001': 2, '15': 0, '16': 0, ' 16': 0, '16 ': 0, '2147483648': 2,
          '1e9': 2, '1 6': 2, 'nan': 2, 'NaN': 2, 'inf': 2, '': 2, ' ': 2, '16.0': 2, '16,0': 2, '0x10': 2, '١٢': 2}
SIZES = {'16x16': 0, '64X48': 0, '15x64': 2, '64x15': 2, '15x15': 2, '65535x65535': 1, '0x0': 2, '2147483647x2147483647': 2,
         '-1x64': 2, '64x-1': 2, ' 16x16': 2, '16x16 ': 2, '16 x 16': 2, '1e9x1e9': 2, 'nanxnan': 2, '64': 2, 'x': 2, '': 2, '16x': 2,
         'x16': 2, '64x64x64': 2, '99999999999x2': 2, '16.0x16': 2, '64×48': 2}
for option, values, verb in (('--width', WIDTHS, 'image'), ('--size', SIZES, 'video')):
    for value, status in values.items():
        @case(f'{option} {value!r}')
        def _(folder, option=option, value=value, verb=verb, status=status):
            name = 'a.png' if verb == 'image' else 'a.mkv'
            how = [] if verb == 'image' else ['--turntable', '2']
            done = run(folder, [verb, MODEL, '-o', name, '--quiet', *how, option, value])
            name = folder + '/' + name
            if status != 0:
                return refused(done, name, (status,))
            if done.returncode != 0 or done.stderr:
                return f'status {done.returncode}: {error_of(done)[-200:]}'
            return None if frames_of(name) == (1 if verb == 'image' else 2) else 'it is not complete'


def settings(prepare):
    def test(folder):
        prepare(folder + '/settings.ini')
        return makes()(folder)
    return test


def write(path, content):
    with open(path, 'wb') as file:
        file.write(content)


check('a settings file of noise', settings(lambda p: write(p, bytes(range(256)) * 40)))
check('a cut settings file', settings(lambda p: write(p, b'[settings]\ngrabvideofps=')))
check('a settings file of 20 MB', settings(lambda p: write(p, b'[x]\n' + b'k=1\n' * 5000000)))
check('settings that are a folder', settings(os.mkdir))
check('a settings file of 100 MB in one line', settings(lambda p: write(p, b'[x]\nk=' + b'1' * 100000000)))
if EVERYTHING:
    check('a settings file of 100 MB', settings(lambda p: write(p, b'[x]\n' + b'k=1\n' * 25000000)))
else:
    skip('a settings file of 100 MB in 25 million lines', 'it takes long; TOV_FAULTS=all runs it')


def guarded(mode, arguments, rate=None):
    """With a settings file of that mode that belongs to another user. `rate`: the frame rate of the recording."""
    def test(folder):
        write(folder + '/settings.ini', b'[settings]\ngrabvideofps=30\nlowspacelimit=0\n')
        os.chmod(folder + '/settings.ini', mode)
        os.mkdir(folder + '/out')
        os.chmod(folder + '/out', 0o777)
        # The file cannot be replaced either.
        os.chmod(folder, 0o555)
        done = run(folder, arguments, environment={'HOME': folder + '/out'}, user=USER)
        os.chmod(folder, 0o755)
        if done.returncode != 0 or 'Note: ' in error_of(done):
            return f'status {done.returncode}: {error_of(done)[-300:]}'
        name = folder + '/out/a.' + ('png' if arguments[0] == 'image' else 'mkv')
        found = subprocess.run(['ffprobe', '-v', 'error', '-show_entries', 'stream=r_frame_rate', '-of', 'csv=p=0', name],
                              capture_output=True, text=True).stdout.strip(' ,\n')
        if rate and found != rate:
            return f'{found} frames per second'
        with open(folder + '/settings.ini', 'rb') as file:
            if b'grabvideofps=30' not in file.read():
                return 'the settings were changed'
        return None if frames_of(name) > 0 else 'it is not complete'
    return test


for what, mode in (('unreadable', 0o000), ('read-only', 0o444)):
    check(f'settings that are {what}: a picture', guarded(mode, ['image', MODEL, '-o', 'out/a.png', '--width', '100']))
    check(f'settings that are {what}: a video', guarded(
        mode, ['video', MODEL, '-o', 'out/a.mkv', '--turntable', '2', '--size', '64x48']))
    check(f'settings that are {what}: changed for one call', guarded(mode, [
        'run', MODEL, '--turntable', '4', '-c', 'setvideosettings 50 10 4000 1', '-c', 'grabvideo out/a.mkv 64 48 1'],
        rate='10/1'))

# Settings of a recording that are out of range are reported, others are limited or replaced by the default.
ODD = {'grabvideofps=-5': 'grabvideofps', 'grabvideofps=0': 'grabvideofps', 'grabvideofps=2147483647': 'grabvideofps',
       'grabvideofps=abc': 'grabvideofps', 'grabvideofps=99999999999': 'grabvideofps', 'grabvideokbps=-1': 'grabvideokbps',
       'grabvideokbps=0': 'grabvideokbps', 'grabvideokbps=2147483647': 'grabvideokbps', 'grabvideokbps=abc': 'grabvideokbps',
       'grabvideokbps=99999999999': 'grabvideokbps', 'grabvideotempfilesize=-1': 'tempfile',
       'grabvideotempfilesize=0': 0, 'grabvideotempfilesize=2147483647': 'tempfile', 'grabvideotempfilesize=x': 'tempfile',
       'grabvideousememoryasbuffer=maybe': 'memory', 'multisampling=1000000': 0, 'multisampling=-3': 0,
       'background=nocolour': 0, 'lowspacelimit=NaN': 0, 'lowspacelimit=-1': 0, 'lowspacelimit=99999999999999': 'left'}
for line, outcome in ODD.items():
    @case('the setting ' + line)
    def _(folder, line=line, outcome=outcome):
        write(folder + '/settings.ini', b'[settings]\n' + line.encode() + b'\n')
        done = run(folder, ['video', MODEL, '-o', 'a.mp4', '--turntable', '2', '--size', '64x48', '--quiet'])
        name = folder + '/a.mp4'
        if outcome:
            return refused(done, name) or (None if outcome in error_of(done) else f'the setting is not named: {error_of(done)}')
        if done.returncode != 0 or done.stderr:
            return f'status {done.returncode}: {error_of(done)}'
        return None if frames_of(name) == 2 else 'it is not complete'


# Signals


def chunks_in_files(process, folder):
    """The number of unnamed temporary files that the process has open there."""
    found = 0
    for name in glob.glob(f'/proc/{process.pid}/fd/*'):
        try:
            target = os.readlink(name)
        except OSError:
            continue
        found += target.startswith(os.path.realpath(folder) + '/') and target.endswith('(deleted)')
    return found


def signalled(what, *numbers, ending='mkv', size='160x120', lines=(), kept=True, status=130, files=False):
    """Sends signals, half a second apart, to a recording whose first frames can be played. The partial file plays then; with
    `kept` false there may be none. `files`: the recording keeps frames in temporary files."""
    @case(what)
    def _(folder):
        write(folder + '/settings.ini', '\n'.join(('[settings]', 'lowspacelimit=0', *lines, '')).encode())
        name = partial_name(f'{folder}/a.{ending}', ending)
        env = dict(os.environ, TOV_SETTINGS=folder + '/settings.ini', TMPDIR=folder, LC_ALL='C.UTF-8')
        process = subprocess.Popen([TOV, 'video', MODEL, '-o', f'{folder}/a.{ending}', '--turntable', '100000', '--size', size, '--quiet'],
                                   env=env, stderr=subprocess.PIPE)
        try:
            end = time.monotonic() + 60
            while time.monotonic() < end and process.poll() is None and (
                    frames_of(name) < 1 or files and not chunks_in_files(process, folder)):
                time.sleep(0.05)
            if process.poll() is not None or time.monotonic() >= end:
                return f'no such recording: status {process.poll()}, {frames_of(name)} frames'
            for i, number in enumerate(numbers):
                time.sleep(0.5 if i else 0)
                process.send_signal(number)
                if number != signal.SIGSTOP:
                    continue
                time.sleep(0.2)
                before = os.path.getsize(name)
                time.sleep(10 if EVERYTHING else 2)
                with open(f'/proc/{process.pid}/stat', encoding='ascii') as state:
                    if state.read().rpartition(')')[2].split()[0] != 'T' or os.path.getsize(name) != before:
                        return 'it was not stopped'
                process.send_signal(signal.SIGCONT)
                end = time.monotonic() + 30
                while os.path.getsize(name) == before and time.monotonic() < end:
                    time.sleep(0.01)
                if os.path.getsize(name) == before:
                    return 'it did not continue'
            process.wait(60)
            error = process.stderr.read()
        except subprocess.TimeoutExpired:
            return 'hangs'
        finally:
            process.kill()
            process.wait()
            process.stderr.close()
        if process.returncode != status:
            return f'status {process.returncode}: {error[-200:]}'
        if kept and frames_of(name) < 1:
            return 'the partial file does not play'
        if os.path.exists(f'{folder}/a.{ending}'):
            return 'a file has the final name'
        # Qt makes a folder for sockets where the system has none.
        left = [found for found in os.listdir(folder) if found not in (os.path.basename(name), 'settings.ini', 'settings.ini.lock')
                and not found.startswith('runtime-')]
        return f'left behind: {left}' if left else None


FILES = ('grabvideousememoryasbuffer=0', 'grabvideotempfilesize=1')
for name in ('SIGINT', 'SIGTERM', 'SIGHUP'):
    signalled(name, getattr(signal, name))
    # Encoding is slow, so frames are pending when the second one comes: the program exits without them.
    signalled(name + ' twice, an encoder far behind', *2 * (getattr(signal, name),), ending='av1.mkv', size='640x480',
              kept=False)
signalled('SIGSTOP, SIGCONT, SIGINT', signal.SIGSTOP, signal.SIGINT)
signalled('SIGKILL', signal.SIGKILL, status=-signal.SIGKILL)
signalled('SIGKILL, frames in temporary files', signal.SIGKILL, status=-signal.SIGKILL, lines=FILES, files=True)
signalled('SIGTERM, frames in temporary files', signal.SIGTERM, lines=FILES, files=True)

finish()
