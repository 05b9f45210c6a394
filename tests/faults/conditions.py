#!/usr/bin/env python3
"""Runs the program under odd conditions: environment, names, limits, outputs, settings, signals. Each ends with what a
person expects: a whole file, or one line that says why not; never a crash or a hang.

    conditions.py BUILD_FOLDER SOURCE_FOLDER
"""
import os
import resource
import signal
import subprocess
import sys
import tempfile
import time

BUILD, SOURCE = sys.argv[1], sys.argv[2]
TOV = BUILD + '/bin/tov'
MODEL = SOURCE + '/samples/crane.obj'
RESULTS = []


def run(folder, arguments, environment=None, drop=(), limits=(), stdin=None, limit_s=60, close=()):
    env = {**os.environ, 'TOV_SETTINGS': folder + '/settings.ini', 'LC_ALL': 'C.UTF-8', **(environment or {})}
    for name in drop:
        env.pop(name, None)

    def prepare():
        for which, value in limits:
            resource.setrlimit(which, (value, value))
        for descriptor in close:
            os.close(descriptor)

    return subprocess.run([TOV] + arguments, capture_output=True, env=env, cwd=folder, timeout=limit_s, preexec_fn=prepare)


def check(what, function):
    with tempfile.TemporaryDirectory() as folder:
        try:
            problem = function(folder)
        except subprocess.TimeoutExpired:
            problem = 'hangs'
    RESULTS.append(problem is None)
    if problem:
        print(f'FAILED: {what}: {problem}', flush=True)


def whole(name):
    return subprocess.run([b'pngcheck', b'-q', name if isinstance(name, bytes) else name.encode()],
                          capture_output=True).returncode == 0


def makes(name='a.png', **how):
    """A picture comes out."""
    def test(folder):
        done = run(folder, ['image', MODEL, '-o', name, '--width', '100', '--quiet'], **how)
        path = os.path.join(folder.encode(), name if isinstance(name, bytes) else name.encode())
        if done.returncode != 0:
            return f'status {done.returncode}: {done.stderr[-200:]}'
        return None if whole(path) else 'the picture is not whole'
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
            return f'it said {lines}'
        return None
    return test


# Environment
check('without HOME', makes(drop=('HOME',)))
check('without XDG_RUNTIME_DIR', makes(drop=('XDG_RUNTIME_DIR',)))
check('without both and without settings of its own', makes(drop=('HOME', 'XDG_RUNTIME_DIR', 'TOV_SETTINGS')))
check('LC_ALL=C', makes(environment={'LC_ALL': 'C'}))
check('a locale with comma decimals', makes(environment={'LC_ALL': 'de_DE.UTF-8'}))
check('an unknown locale', makes(environment={'LC_ALL': 'xx_YY'}))
check('a home that is not there', makes(environment={'HOME': '/proc/nonexistent', 'XDG_CONFIG_HOME': '/proc/nonexistent/c'}))

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
            # Names that are no UTF-8 cannot be said in a command text.
            return None if done.returncode == 2 and b'not UTF-8' in done.stderr else f'status {done.returncode}'
        if done.returncode != 0:
            return f'status {done.returncode}: {done.stderr[-200:]}'
        return None if whole(path) else 'the picture is not whole'
    check(f'the output name {name!r:.40}', named)
check('a name of more than 255 bytes', refuses(['image', MODEL, '-o', 'x' * 300 + '.png', '--width', '100'], 'x'))

# Outputs
check('an output that is a folder', refuses(['image', MODEL, '-o', 'd.png'], 'is a folder',
                                            before=lambda f: os.mkdir(f + '/d.png')))
check('an output that is a pipe', refuses(['image', MODEL, '-o', 'p.png'], 'is no ordinary file',
                                          before=lambda f: os.mkfifo(f + '/p.png')))
check('a video into a pipe', refuses(['video', MODEL, '--turntable', '2', '-o', 'p.mp4'], 'is no ordinary file',
                                     before=lambda f: os.mkfifo(f + '/p.mp4')))
check('an output that is a full device', refuses(['image', MODEL, '-o', 'f.png', '--width', '16'], 'f.png',
                                                 before=lambda f: os.symlink('/dev/full', f + '/f.png')))
check('an output in no folder', refuses(['image', MODEL, '-o', 'no/a.png'], 'there is no folder'))


def through_link(folder):
    os.symlink(folder + '/real.png', folder + '/link.png')
    problem = makes('link.png')(folder)
    return problem or (None if os.path.isfile(folder + '/real.png') else 'the link was replaced')


check('an output that is a link', through_link)

# Limits
for files in (4, 8, 12, 16):
    check(f'{files} open files', lambda folder, files=files: (
        lambda done: None if done.returncode in (0, 1, 2, 127) else f'status {done.returncode}: {done.stderr[-200:]}')(
            run(folder, ['image', MODEL, '-o', 'a.png', '--width', '100'], limits=((resource.RLIMIT_NOFILE, files),))))
check('small files only', refuses(['image', MODEL, '-o', 'a.png', '--width', '900'], 'a.png',
                                  limits=((resource.RLIMIT_FSIZE, 1000),)))
# The address sanitizer asks for terabytes of addresses.
if b'__asan_init' not in open(TOV, 'rb').read():
    check('little memory for a large picture', refuses(['image', MODEL, '-o', 'a.png', '--width', '30000'], '',
                                                       limits=((resource.RLIMIT_AS, 1500 << 20),)))


def closed_stdout(folder):
    done = run(folder, ['encoders'], close=(1,))
    return None if done.returncode in (0, 1) else f'status {done.returncode}'


check('closed standard output', closed_stdout)

# Numbers
for width in ('0', '1', '-1', '-2147483648', '2147483648', '1e9', 'NaN', '', '١٢', '2147483647'):
    check(f'--width {width!r}', lambda folder, width=width: (
        lambda done: None if done.returncode in (1, 2) and done.stderr.startswith(b'tov: ') and
        done.stderr.count(b'\n') == 1 else f'status {done.returncode}: {done.stderr[-200:]}')(
            run(folder, ['image', MODEL, '-o', 'a.png', '--width', width])))
for size in ('0x0', '15x64', '64x15', '-1x64', '65535x65535', '64', 'x', '64x64x64', '99999999999x2'):
    check(f'--size {size}', lambda folder, size=size: (
        lambda done: None if done.returncode in (1, 2) and done.stderr.startswith(b'tov: ') and
        not os.path.exists(folder + '/a.mp4') else f'status {done.returncode}: {done.stderr[-200:]}')(
            run(folder, ['video', MODEL, '-o', 'a.mp4', '--turntable', '2', '--size', size])))


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
check('settings with odd numbers', lambda folder: (
    write(folder + '/settings.ini', b'[settings]\ngrabvideofps=-5\ngrabvideokbps=99999999999\ngrabvideotempfilesize=x\n'
          b'grabvideousememoryasbuffer=maybe\nmultisampling=1000000\nbackground=nocolour\nlowspacelimit=NaN\n'),
    (lambda done: None if done.returncode in (0, 1, 2) else f'status {done.returncode}')(
        run(folder, ['video', MODEL, '-o', 'a.mp4', '--turntable', '2', '--size', '64x48'])))[1])

# Signals


def signalled(number, wanted):
    def test(folder):
        env = dict(os.environ, TOV_SETTINGS=folder + '/settings.ini', TMPDIR=folder, LC_ALL='C.UTF-8')
        process = subprocess.Popen([TOV, 'video', MODEL, '-o', folder + '/a.mkv', '--turntable', '100000', '--size', '160x120',
                                    '--quiet'], env=env, stderr=subprocess.PIPE)
        end = time.monotonic() + 30
        while time.monotonic() < end and not (os.path.exists(folder + '/a.mkv') and os.path.getsize(folder + '/a.mkv')):
            time.sleep(0.01)
        process.send_signal(number)
        if number == signal.SIGSTOP:
            process.send_signal(signal.SIGCONT)
            process.send_signal(signal.SIGINT)
        try:
            process.wait(60)
        except subprocess.TimeoutExpired:
            process.kill()
            return 'hangs'
        if process.returncode not in wanted:
            return f'status {process.returncode}: {process.stderr.read()[-200:]}'
        # Qt's own folder for sockets is made where the system has none.
        left = [name for name in os.listdir(folder)
                if name not in ('a.mkv', 'settings.ini', 'settings.ini.lock') and not name.startswith('runtime-')]
        return f'left behind: {left}' if left else None
    return test


check('SIGINT', signalled(signal.SIGINT, (130,)))
check('SIGTERM', signalled(signal.SIGTERM, (130, 143)))
check('SIGHUP', signalled(signal.SIGHUP, (130,)))
check('SIGKILL leaves no temporary file', signalled(signal.SIGKILL, (-signal.SIGKILL,)))
check('SIGSTOP, SIGCONT, SIGINT', signalled(signal.SIGSTOP, (130,)))

print(f'{sum(RESULTS)} of {len(RESULTS)}')
sys.exit(0 if all(RESULTS) else 1)
