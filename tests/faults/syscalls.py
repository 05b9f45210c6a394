#!/usr/bin/env python3
"""Checks every system call that could leave the program's own area. No network, no port, no shell; no program except its own and,
in the window test, ffprobe. The program writes only to its own folders and to the outputs that were named, temporary data is
private, and models and scripts cannot change that.

    syscalls.py BUILD_FOLDER SOURCE_FOLDER [CASE]
"""
import glob
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from caselist import finish, record, run_case  # noqa: E402

BUILD, SOURCE = sys.argv[1], sys.argv[2]
ONLY = sys.argv[3] if len(sys.argv) > 3 else ''
TOV = BUILD + '/bin/tov'
CRANE = SOURCE + '/samples/crane.obj'
CUBE = '/usr/share/glmark2/models/cube.3ds'
LATER = []

CALLS = ('%network,execve,execveat,open,openat,openat2,creat,rename,renameat,renameat2,link,linkat,symlink,symlinkat,unlink,'
         'unlinkat,mkdir,mkdirat,rmdir,truncate,chmod,fchmodat,chown,fchownat,mknod,mknodat')
# Services that Qt and the C library talk to: the display, the session's and the system's message bus (for screen
# readers and input methods), the name service cache.
PARTNERS = re.compile(r'sun_path=@?"(/tmp/\.X11-unix/X\d+|/(var/)?run/dbus/system_bus_socket|/run/user/\d+/.*|/(var/)?run/nscd/socket)"')
PROGRAMS = re.compile(r'.*/(tov|tov-import|tov-check-encoder)$')
# The window test checks videos with ffprobe; the program itself does not.
WINDOW_PROGRAMS = re.compile(r'(.*/(tst_window|tov-import|tov-check-encoder)|(/usr)?/bin/ffprobe)$')
# Not files: terminals, graphics cards, information about the process.
NO_FILES = ('/dev/null', '/dev/dri/', '/dev/shm/', '/dev/tty', '/proc/self', '/sys/')


def is_temporary(path, output, is_unnamed):
    """Whether a path is a temporary name of an output: a partial video, or a picture that is being saved."""
    folder, name = os.path.split(output)
    stem, _, ending = name.partition('.')
    if path == folder and is_unnamed:
        return True  # An unnamed file, created with O_TMPFILE.
    return (os.path.dirname(path) == folder and
            re.fullmatch(re.escape(stem) + r'(\.' + re.escape(ending) + r'~joined\.\w+|[~_]partial(-[0-9a-f]{8})?(\.\d{5})?\.\w+~?|\.' + re.escape(ending) + r'\.\w{6})',
                         os.path.basename(path)) is not None)


class Watched:
    """A folder with its own home and temporary folder, and a trace of what was done there."""

    def __init__(self):
        self.folder = os.path.realpath(tempfile.mkdtemp(prefix='tov-watched-'))
        self.home = self.folder + '/home'
        self.temporary = self.folder + '/tmp'
        self.traces = self.folder + '/traces'
        self.work = self.folder + '/work'
        self.window = None
        for name in (self.home, self.home + '/run', self.temporary, self.traces, self.work):
            os.mkdir(name, 0o700)
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(('XDG_', 'DBUS_', 'WAYLAND', 'QT_', 'TOV_')) and name != 'DISPLAY'}
        self.environment.update(HOME=self.home, TMPDIR=self.temporary, XDG_RUNTIME_DIR=self.home + '/run', TOV_SETTINGS=self.home + '/settings.ini',
                                LC_ALL='C.UTF-8',
                                # The graphics driver looks up its folder in the list of users.
                                MESA_SHADER_CACHE_DIR=self.home + '/.cache',
                                # The leak checker stops a traced process.
                                ASAN_OPTIONS=os.environ.get('ASAN_OPTIONS', '') + ':detect_leaks=0')

    def command(self, program, *arguments):
        return ['strace', '-ff', '-qq', '-s', '4096', '-e', 'signal=none', '-e', 'trace=' + CALLS, '-o',
                self.traces + '/trace', program, *arguments]

    def run(self, *arguments, program=TOV, under=()):
        return subprocess.run([*under, *self.command(program, *arguments)], cwd=self.work, env=self.environment, timeout=120,
                              capture_output=True, text=True, errors='replace')

    def lines(self):
        for name in glob.glob(self.traces + '/trace*'):
            with open(name, encoding='utf-8', errors='replace') as trace:
                yield from (line.rstrip('\n') for line in trace)

    def remove(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def files(self):
        """The content of every file in the working folder and in the folder above."""
        found = {}
        for top in (self.work, self.folder):
            for folder, folders, names in os.walk(top):
                if top == self.folder:
                    folders[:] = []
                for name in names:
                    with open(os.path.join(folder, name), 'rb') as file:
                        found[os.path.relpath(os.path.join(folder, name), self.work)] = file.read()
        return found

    def may_write(self, path, outputs, is_unnamed):
        """Settings, caches, temporary files, and the named outputs with their temporary names."""
        own = tuple(folder + end for folder in (self.home, self.temporary) for end in ('', '/'))
        return (path in own or path.startswith((own[1], own[3], *NO_FILES)) or
                path in (self.absolute(name) for name in outputs) or
                any(is_temporary(path, self.absolute(name), is_unnamed) for name in outputs))

    def beyond(self, *outputs):
        """The first call that was not allowed, or None. `outputs`: the named outputs."""
        seen = private = 0
        started = set()
        for line in self.lines():
            call, _, rest = line.partition('(')
            result = line.rpartition(' = ')[2]
            paths = [self.absolute(path) for path in re.findall(r'"((?:[^"\\]|\\.)*)"', rest)]
            seen += 1
            if call in ('bind', 'listen', 'accept', 'accept4'):
                return 'a port: ' + line
            if call == 'socket' and not rest.startswith(('AF_UNIX', 'AF_LOCAL')):
                return 'a socket: ' + line
            if call == 'connect' and not PARTNERS.search(rest):
                return 'a connection: ' + line
            if call in ('sendto', 'sendmsg') and 'sun_path' in rest or 'sin_addr' in rest:
                return 'a message: ' + line
            if call in ('execve', 'execveat'):
                if not (WINDOW_PROGRAMS if self.window else PROGRAMS).match(paths[0]):
                    return 'a program: ' + line[:300]
                started.add(os.path.basename(paths[0]))
            writes = call not in ('open', 'openat', 'openat2') or re.search(r'O_WRONLY|O_RDWR|O_CREAT|O_TRUNC', rest)
            if call in CALLS.split(',') and call not in ('execve', 'execveat') and writes:
                for path in paths:
                    if not self.may_write(path, outputs, 'O_TMPFILE' in rest):
                        return 'written: ' + line
                    # Files in such a folder are protected by the folder.
                    if self.temporary == (path if 'O_TMPFILE' in rest else os.path.dirname(path)):
                        mode = re.search(r', (0[0-7]*)\)', line)
                        if 'O_CREAT' in rest or 'O_TMPFILE' in rest:
                            if not mode or int(mode.group(1), 8) & 0o077:
                                return 'open to others: ' + line
                            private += 1
        self.private, self.started = private, started
        if seen < 20 or os.path.basename(self.window or 'tov') not in started:
            return f'the trace has only {seen} calls'
        return None

    def absolute(self, path):
        path = path.encode('utf-8', 'surrogateescape').decode('unicode_escape', 'replace')
        return os.path.normpath(os.path.join(self.work, path))


def check(what, function):
    watched = Watched()
    try:
        problem = run_case(function, watched)
    finally:
        watched.remove()
    record(what, problem)


def case(what):
    return lambda function: None if ONLY and not what.startswith(ONLY) else check(what, function)


def succeeded(done):
    return None if done.returncode == 0 else f'status {done.returncode}: {(done.stdout + done.stderr)[-300:]}'


def made(watched, *names):
    """Checks that the working folder holds these files and no others."""
    files = sorted(watched.files())
    return None if files == sorted(names) else f'files: {files}'


def one_cache(watched):
    """Checks that everything cached is in one folder that only the user can read."""
    caches = watched.home + '/.cache/'
    found = sorted(name for name in os.listdir(caches) if name.startswith('tov')) if os.path.isdir(caches) else []
    if found != ['tov']:
        return f'folders of caches: {found}'
    mode = os.stat(caches + 'tov').st_mode & 0o7777
    return None if mode == 0o700 else f'a cache with mode {mode:o}'


def secret(watched):
    """A file above the working folder that must not be read, and a function that tells whether it was."""
    name = watched.folder + '/secret.bin'
    with open(name, 'wb') as file:
        file.write(b'\0' * 36)
    return name, lambda: any('secret' in line and re.match(r'open(at2?)?\(', line) and not re.search(r' = -1 ', line)
                             for line in watched.lines())


if subprocess.run(['strace', '-qq', '-o', os.devnull, 'true'], capture_output=True).returncode != 0:
    print('this machine does not allow ptrace')
    sys.exit(77)


# Tests the check itself: a program of the same name that makes one of these calls is reported.
DOORS = {
    'a socket': 'import socket; socket.socket(socket.AF_INET, socket.SOCK_STREAM)',
    'a connection': 'import socket; socket.socket(socket.AF_UNIX).connect_ex("/nowhere/socket")',
    'a port': 'import socket; socket.socket(socket.AF_UNIX).bind("socket")',
    'a program': 'import subprocess; subprocess.run("true", shell=True)',
    'a program: execve("/usr/bin/ffprobe"': 'import os; os.execv("/usr/bin/ffprobe", ["ffprobe", "-version"])',
    'written': 'import os; os.mkdir("/nowhere/a")',
    'written: openat': 'open("/nowhere/a", "a")',
    'written: openat(AT_FDCWD, "beside"': 'open("beside", "w")',
    'written: unlink(': 'import os; os.unlink("model.obj")',
    'open to others': 'import os; os.umask(0); open(os.environ["TMPDIR"] + "/a", "w")',
}
for door, act in DOORS.items():
    @case('the check itself: ' + door)
    def _(watched, door=door, act=act):
        os.symlink(os.path.realpath(sys.executable), watched.work + '/tov')
        watched.run('-I', '-S', '-c', 'try:\n    ' + act + '\nexcept OSError:\n    pass', program=watched.work + '/tov')
        found = watched.beyond('a.png') or 'nothing'
        return None if found.startswith(door) else 'not detected; ' + found


@case('a picture')
def _(watched):
    return succeeded(watched.run('image', CRANE, '-o', 'a.png', '--width', '200')) or watched.beyond('a.png') or made(watched, 'a.png') or one_cache(watched)


@case('a picture of a model that the import process reads')
def _(watched):
    problem = succeeded(watched.run('image', CUBE, '-o', 'a.png', '--width', '200')) or watched.beyond('a.png') or made(watched, 'a.png')
    return problem or (None if 'tov-import' in watched.started else 'the import process was not started') or one_cache(watched)


@case('a video with its frames in files')
def _(watched):
    with open(watched.home + '/settings.ini', 'w', encoding='ascii') as file:
        file.write('[settings]\ngrabvideousememoryasbuffer=false\ngrabvideotempfilesize=1\n')
    problem = succeeded(watched.run('video', CRANE, '-o', 'a.mp4', '--size', '320x240', '--turntable', '12')) or watched.beyond('a.mp4')
    problem = problem or made(watched, 'a.mp4')
    if problem is None and watched.private < 3:
        problem = f'only {watched.private} temporary files'
    if problem is None and os.listdir(watched.temporary):
        problem = f'left: {os.listdir(watched.temporary)}'
    return problem or one_cache(watched)


@case('numbered pictures')
def _(watched):
    problem = succeeded(watched.run('video', CRANE, '-o', 'a.frames', '--size', '64x48', '--turntable', '3'))
    pictures = ['a.00001.png', 'a.00002.png', 'a.00003.png']
    temporary = [name + '~' for name in pictures]
    return problem or watched.beyond('a.frames', *pictures, *temporary) or made(watched, 'a.frames', *pictures) or one_cache(watched)


@case('the list of modules')
def _(watched):
    return succeeded(watched.run('modules')) or watched.beyond() or one_cache(watched)


@case('nobody else can read pending frames in files')
def _(watched):
    with open(watched.home + '/settings.ini', 'w', encoding='ascii') as file:
        file.write('[settings]\ngrabvideousememoryasbuffer=false\n')
    process = subprocess.Popen([TOV, 'video', CRANE, '-o', 'a.mkv', '--size', '64x48', '--free', '60'], cwd=watched.work,
                               env=watched.environment, stderr=subprocess.DEVNULL)
    try:
        found = []
        begin = time.monotonic()
        while not found and process.poll() is None and time.monotonic() < begin + 30:
            for name in glob.glob(f'/proc/{process.pid}/fd/*'):
                try:
                    if os.readlink(name).startswith(watched.temporary):
                        found.append((os.readlink(name), os.stat(name)))
                except OSError:
                    pass
        process.send_signal(signal.SIGINT)
        status = process.wait(timeout=60)
    finally:
        if process.poll() is None:
            process.kill()
            process.wait()
    if status != 130:
        return f'status {status}'
    if not found:
        return 'no temporary file was open'
    name, state = found[0]
    if state.st_mode & 0o077 or state.st_uid != os.geteuid():
        return f'{name}: mode {state.st_mode:o}'
    return None if state.st_nlink == 0 and name.endswith('(deleted)') else f'{name} has a name'


def gltf(uri):
    return ('{"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"meshes":[{"primitives":'
            '[{"attributes":{"POSITION":0}}]}],"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3",'
            '"min":[0,0,0],"max":[1,1,0]}],"bufferViews":[{"buffer":0,"byteLength":36}],'
            f'"buffers":[{{"byteLength":36,"uri":"{uri}"}}]}}')


HOSTILE_MODELS = {
    'above.gltf': lambda name: gltf('../secret.bin'),
    'absolute.gltf': gltf,
    'escaped.gltf': lambda name: gltf('%2e%2e/secret.bin'),
    'scheme.gltf': lambda name: gltf('file://' + name),
    'network.gltf': lambda name: gltf('http://127.0.0.1:9/secret.bin'),
    'material.obj': lambda name: f'mtllib ../secret.bin\nmtllib {name}\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n',
    'entity.dae': lambda name: f'<?xml version="1.0"?><!DOCTYPE a [<!ENTITY e SYSTEM "file://{name}">]><COLLADA version="1.4.1" '
                               'xmlns="http://www.collada.org/2005/11/COLLADASchema"><asset>&e;</asset></COLLADA>',
}
for model, text in HOSTILE_MODELS.items():
    @case('a model that names a file elsewhere: ' + model)
    def _(watched, model=model, text=text):
        name, was_read = secret(watched)
        with open(f'{watched.work}/{model}', 'w', encoding='utf-8') as file:
            file.write(text(name))
        before = watched.files()
        done = watched.run('image', model, '-o', 'a.png', '--width', '64')
        if done.returncode not in (0, 1) or done.returncode == 1 and len(done.stderr.strip().splitlines()) != 1:
            return f'status {done.returncode}: {done.stderr[-300:]}'
        after = watched.files()
        if (after.pop('a.png', None) is not None) != (done.returncode == 0) or after != before:
            return f'files: {sorted(before)} before, {sorted(after)} after'
        return watched.beyond('a.png') or ('it was read' if was_read() else None)


# A script and the file it makes (None: it is refused with one line).
SCRIPTS = {
    'open ../secret.bin': None,
    'open ../../etc/passwd': None,
    'source ../secret.bin': None,
    '!touch owned': None,
    'exec touch owned': None,
    'grabimage a.png 64 | touch owned': None,
    'grabimage a.png 64; touch owned': None,
    'grabimage `touch owned`.png 64': None,
    'grabimage ../secret.bin 64': None,
    'grabvideo ../secret.bin 64 48 0': None,
    'grabimage "$(touch owned).png" 64': '$(touch owned).png',
    'grabimage "|touch owned;.png" 64': '|touch owned;.png',
    'grabimage "$HOME.png" 64': '$HOME.png',
    'grabimage ~.png 64': '~.png',
    'grabimage a*.png 64': 'a*.png',
    'grabimage ../named.png 64': '../named.png',
}
for script, made in SCRIPTS.items():
    @case('a script: ' + script)
    def _(watched, script=script, made=made):
        name, was_read = secret(watched)
        with open(watched.work + '/script.tov', 'w', encoding='utf-8') as file:
            file.write(script + '\n')
        done = watched.run('run', CRANE, 'script.tov')
        if (done.returncode != 0) != (made is None):
            return f'status {done.returncode}: {done.stderr[-300:]}'
        if made is None and not done.stderr.startswith('tov: '):
            return f'no reason: {done.stderr[-300:]}'
        files = {os.path.relpath(path, watched.work) for path in
                 (*(f'{watched.work}/{f}' for f in os.listdir(watched.work)), *glob.glob(watched.folder + '/*.*'))}
        if files != {'script.tov', '../secret.bin'} | ({made} if made else set()):
            return f'files: {files}'
        if os.path.getsize(name) != 36:
            return 'the file elsewhere was changed'
        return watched.beyond(*([made] if made else [])) or ('it was read' if was_read() else None)


if os.path.exists(BUILD + '/bin/tst_window') and shutil.which('xvfb-run'):
    UNDER = ('xvfb-run', '-a', '-s', '-screen 0 1600x1200x24')

    @case('the window: opened with a model, then terminated')
    def _(watched):
        process = subprocess.Popen([*UNDER, *watched.command(TOV, CRANE)], cwd=watched.work, env=watched.environment,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        try:
            # The thumbnail for the list of recent files is the last step of the start-up.
            begin = time.monotonic()
            pictures = watched.home + '/.cache/tov/thumbnails/*.png'
            while not glob.glob(pictures) and process.poll() is None and time.monotonic() < begin + 60:
                time.sleep(0.05)
            first = min(glob.glob(watched.traces + '/trace.*'), key=lambda name: int(name.rpartition('.')[2]))
            if process.poll() is None:
                os.kill(int(first.rpartition('.')[2]), signal.SIGTERM)
            error = process.communicate(timeout=60)[1]
        finally:
            if process.poll() is None:
                process.kill()
                process.wait()
        if process.returncode not in (0, 130):
            return f'status {process.returncode}: {error[-300:]}'
        if not glob.glob(pictures):
            return 'no model was opened'
        return watched.beyond() or one_cache(watched)

    @case('the window: pictures, settings, recordings')
    def _(watched):
        watched.window = 'tst_window'
        done = watched.run('--gtest_filter=WindowRecordings.DialogRecordsAlongTheTrajectory:WindowRecordings.StopButton*:'
                           'WindowCommands.MenuAndDialogMakeAPicture:WindowCommands.SettingsAre*:'
                           'WindowCommands.ViewIsCopied*', program=BUILD + '/bin/tst_window', under=UNDER)
        return succeeded(done) or watched.beyond()

finish()
