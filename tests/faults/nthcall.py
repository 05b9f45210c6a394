#!/usr/bin/env python3
"""Lets the N-th call of a kind fail, N = 1, 2, ... until a run passes without a fault; once and from then on. After each run:
no crash, no hang; status 0 means the same file as without a fault, anything else one line that says what is wrong, and
nothing left that looks like a result.

    nthcall.py BUILD_FOLDER SOURCE_FOLDER [HIGHEST_N [files|drawing|threads|memory ...]]

files: writing, making files, asking for the free memory. drawing: OpenGL contexts, framebuffer objects, reading back. memory:
allocations above 256 KiB that the program's own libraries ask for, directly or of Qt.
"""
import errno
import os
import shutil
import subprocess
import sys
import tempfile

FRAMES = 8
FILES = [('write', errno.ENOSPC), ('write', errno.EIO), ('write', errno.EINTR), ('write', 0), ('create', errno.EMFILE),
         ('create', errno.EACCES), ('sysinfo', errno.EFAULT)]
THREADS = [('thread', 1)]
DRAWING = [(kind, 1) for kind in ('context', 'current', 'bind', 'target', 'read')]
MEMORY = [('alloc', 1), ('allocqt', 1)]


def content(name):
    """What a picture or a video shows; None: it cannot be read to its end."""
    done = subprocess.run(['ffmpeg', '-v', 'error', '-i', name, '-f', 'md5', '-'], capture_output=True, text=True, check=False)
    return done.stdout if done.returncode == 0 and not done.stderr else None


class Loop:
    def __init__(self, build, source, highest):
        self.build, self.highest = build, highest
        self.model = source + '/samples/crane.obj'
        self.size(300, '64x48')
        self.multisampled = False
        self.runs = self.good = 0

    def size(self, width, frames):
        picture = ['image', self.model, '--width', str(width), '--quiet']
        video = ['video', self.model, '--size', frames, '--turntable', str(FRAMES), '--quiet']
        self.jobs = {'png': picture, 'bmp': picture, 'mp4': video, 'mkv': video}

    def run(self, suffix, folder, shim=None, fault=None):
        output = f'{folder}/out.{suffix}'
        environment = dict(os.environ, TOV_SETTINGS=folder + '/settings.ini', LC_ALL='C.UTF-8')
        with open(folder + '/settings.ini', 'w', encoding='ascii') as file:
            # What the buffer for multisampling is refused is drawn without, and looks a little different.
            file.write(f'[settings]\nmultisampling={4 if self.multisampled else 0}\n')
        if fault:
            environment.update(LD_PRELOAD=f'{self.build}/tests/lib{shim}.so', TOV_FAULT=fault, TOV_FAULT_OWN=self.build,
                               TOV_FAULT_COUNT=folder + '/count')
        return subprocess.run([self.build + '/bin/tov', *self.jobs[suffix], '-o', output], capture_output=True, text=True,
                              timeout=20, env=environment, check=False), output

    def reference(self, suffix):
        with tempfile.TemporaryDirectory() as folder:
            done, output = self.run(suffix, folder)
            shown = content(output) if done.returncode == 0 else None
            if not shown:
                sys.exit(f'nthcall.py: no {suffix} without a fault: {done.stderr}')
            return shown

    def judge(self, done, output, reference):
        lines = [line for line in done.stderr.strip().splitlines() if line.startswith('tov: ')]
        if done.returncode not in (0, 1, 2):
            return f'ended with {done.returncode}: {done.stderr[-300:]}'
        if done.returncode == 0:
            return None if os.path.exists(output) and content(output) == reference else 'status 0, but the file is another'
        if len(lines) != 1:
            return f'status {done.returncode}, but not one line says why: {done.stderr[-500:]}'
        # Of a video what there is may stay, of a picture nothing.
        if os.path.exists(output) and (output.endswith(('png', 'bmp')) or not content(output)):
            return f'{os.path.basename(output)} is left, {os.path.getsize(output)} bytes: {lines}'
        return None

    def loop(self, suffixes, shim, faults):
        for suffix in suffixes:
            reference = self.reference(suffix)
            for kind, number in faults:
                for once in (1, 0):
                    # Interrupted for ever or never more than half: no disk does that.
                    if not once and number in (errno.EINTR, 0):
                        continue
                    for n in range(1, self.highest + 1):
                        if not self.step(suffix, shim, kind, n, once, number, reference):
                            break

    def step(self, suffix, shim, kind, n, once, number, reference):
        """False: the run had fewer such calls."""
        with tempfile.TemporaryDirectory() as folder:
            try:
                done, output = self.run(suffix, folder, shim, f'{kind}:{n}:{once}:{number}')
                problem = self.judge(done, output, reference)
            except subprocess.TimeoutExpired:
                problem = 'hangs'
            try:
                with open(folder + '/count', encoding='ascii') as file:
                    reached = int(file.read()) >= n
            except (OSError, ValueError):
                reached = True
        self.runs += 1
        self.good += problem is None
        if problem:
            error = f' {errno.errorcode[number]}' if shim == 'faultshim' and number > 1 else ''
            print(f'FAILED: {suffix}: {kind} number {n}{"" if once else " and after"}{error}: {problem}', flush=True)
        return reached


def main(build, source, highest='10000', *groups):
    loop = Loop(build, source, int(highest))
    groups = groups or ('files', 'drawing', 'threads', 'memory')
    if 'files' in groups:
        loop.loop(('png', 'bmp', 'mp4', 'mkv'), 'faultshim', FILES)
    if 'drawing' in groups:
        loop.loop(('png', 'mkv'), 'faultshim', DRAWING)
        loop.multisampled = True
        loop.loop(('png', 'mkv'), 'faultshim', [('blit', 1)])
        loop.multisampled = False
    if 'threads' in groups:
        loop.loop(('png', 'mkv'), 'faultshim', THREADS)
    # The sanitizers have allocators of their own.
    if 'memory' in groups and os.path.exists(build + '/tests/liballocshim.so'):
        loop.size(700, '320x240')
        loop.loop(('png', 'mp4'), 'allocshim', MEMORY)
    print(f'{loop.good} of {loop.runs}')
    return 0 if loop.good == loop.runs else 1


for needed in ('ffmpeg', ):
    if not shutil.which(needed):
        sys.exit(f'nthcall.py: {needed} is needed')
sys.exit(main(*sys.argv[1:]))
