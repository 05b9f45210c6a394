#!/usr/bin/env python3
"""Makes the N-th call of a kind fail, once or from then on, for N = 1, 2, 3, a middle one and the last; with TOV_FAULTS=all for
every N until a run passes without a fault, and for more formats. No run crashes or hangs. After status 0 the file is the same as
without a fault; otherwise one line gives the reason, no file has the final name, and a partial video plays.

    nthcall.py BUILD_FOLDER SOURCE_FOLDER [files|chunks|again|drawing|threads|memory ...]

files: writing and creating files, opening and reading the model, opening the output again, querying the free memory. chunks:
the same with pending frames in temporary files. again: three pictures or recordings in one process; a single fault spoils at
most one of them. drawing: OpenGL contexts, framebuffer objects, reading back. threads: creating threads. memory: allocations
above 256 KiB by the program's own libraries, direct or through Qt.
"""
import errno
import os
import shutil
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
from faultcases import partial_name  # noqa: E402

FRAMES = 8
WRITING = [('write', errno.ENOSPC), ('write', errno.EIO), ('write', errno.EINTR), ('write', 0), ('create', errno.EMFILE),
           ('create', errno.EACCES)]
FILES = WRITING + [('output', errno.EMFILE), ('output', errno.EACCES), ('model', errno.EACCES), ('model', errno.EMFILE),
                   ('modelread', errno.EIO), ('sysinfo', errno.EFAULT)]
CHUNKS = [('write', errno.ENOSPC), ('write', errno.EIO), ('write', 0), ('tmpfile', errno.EMFILE), ('tmpfile', errno.ENOSPC),
          ('sysinfo', errno.EFAULT)]
THREADS = [('thread', 1)]
DRAWING = [(kind, 1) for kind in ('context', 'current', 'bind', 'target', 'read')]
MEMORY = [('alloc', 1), ('allocqt', 1)]
AGAIN = [('write', errno.ENOSPC), ('write', errno.EIO), ('create', errno.EMFILE), ('output', errno.EACCES),
         ('sysinfo', errno.EFAULT), *DRAWING]
EVERY = os.environ.get('TOV_FAULTS') == 'all'
NONE = 1 << 30


def content(name):
    """A checksum of the decoded pixels; None: the file cannot be read to its end."""
    done = subprocess.run(['ffmpeg', '-v', 'error', '-i', name, '-f', 'md5', '-'], capture_output=True, text=True, check=False)
    return done.stdout if done.returncode == 0 and not done.stderr else None


def frames(name):
    """The number of frames of a video; None: it cannot be read to its end."""
    done = subprocess.run(['ffprobe', '-v', 'error', '-count_frames', '-show_entries', 'stream=nb_read_frames', '-of', 'csv=p=0',
                           name], capture_output=True, text=True, check=False)
    return done.stdout.strip() if done.returncode == 0 and not done.stderr else None


class Loop:
    def __init__(self, build, source):
        self.build = build
        self.model = source + '/samples/crane.obj'
        self.settings = ['multisampling=0']
        self.runs = self.good = 0

    def multisampling(self, samples):
        # Without a buffer for multisampling the frame is drawn without it, and differs a little.
        self.settings = [f'multisampling={samples}']

    def environment(self, folder, output, shim, fault):
        environment = dict(os.environ, TOV_SETTINGS=folder + '/settings.ini', LC_ALL='C.UTF-8')
        with open(folder + '/settings.ini', 'w', encoding='ascii') as file:
            file.write('\n'.join(['[settings]', *self.settings, '']))
        if fault:
            environment.update(LD_PRELOAD=f'{self.build}/tests/lib{shim}.so', TOV_FAULT=fault, TOV_FAULT_OWN=self.build,
                               TOV_FAULT_OUTPUT=output if output.endswith(('png', 'bmp')) else partial_name(output, output.split('.', 1)[1]), TOV_FAULT_MODEL=self.model, TOV_FAULT_COUNT=folder + '/count')
        return environment

    def step(self, job, shim, kind, n, once, number):
        """The number of such calls in the run; None: it did not reach its end."""
        with tempfile.TemporaryDirectory() as folder:
            try:
                problem = job.check(self, folder, shim, f'{kind}:{n}:{once}:{number}', once)
            except subprocess.TimeoutExpired:
                problem = 'hangs'
            try:
                with open(folder + '/count', encoding='ascii') as file:
                    calls = int(file.read())
            except (OSError, ValueError):
                calls = None
        self.runs += 1
        self.good += problem is None
        if problem:
            error = f' {errno.errorcode[number]}' if shim == 'faultshim' and number > 1 else ''
            which = 'none' if n == NONE else f'number {n}{"" if once else " and after"}'
            print(f'FAILED: {job}: {kind} {which}{error}: {problem}', flush=True)
        return calls

    def loop(self, jobs, shim, faults):
        before = self.good, self.runs
        for job in jobs:
            job.reference = None
            with tempfile.TemporaryDirectory() as folder:
                job.refer(self, folder)
            for kind, number in faults:
                # Real disks do not interrupt every write, and do not shorten every write.
                ways = (1, ) if number in (errno.EINTR, 0) or not job.lasting else (1, 0)
                if EVERY:
                    for once in ways:
                        n = 1
                        while True:
                            calls = self.step(job, shim, kind, n, once, number)
                            if calls is not None and calls < n:
                                break
                            n += 1
                else:
                    last = self.step(job, shim, kind, NONE, 1, number) or 0
                    for once in ways:
                        for n in sorted({1, 2, 3, (last + 1) // 2, last}):
                            if 0 < n <= last:
                                self.step(job, shim, kind, n, once, number)
        return f'{self.good - before[0]} of {self.runs - before[1]}'


class Job:
    """One picture or video, by the program's own command line."""
    lasting = True

    def __init__(self, suffix, picture_width=300, frame_size='64x48'):
        self.suffix = suffix
        self.reference = None
        if suffix in ('png', 'bmp'):
            self.arguments = ['image', '--width', str(picture_width)]
        else:
            self.arguments = ['video', '--size', frame_size, '--turntable', str(FRAMES)]

    def __str__(self):
        return self.suffix

    def run(self, loop, folder, shim=None, fault=None):
        output = f'{folder}/out.{self.suffix}'
        verb, *rest = self.arguments
        return subprocess.run([loop.build + '/bin/tov', verb, loop.model, *rest, '--quiet', '-o', output], capture_output=True,
                              text=True, timeout=40, env=loop.environment(folder, output, shim, fault), check=False), output

    def shown(self, name):
        """Pixels, where the encoder always makes the same file; otherwise the number of frames."""
        if not os.path.exists(name):
            return None
        return content(name) if self.suffix in ('png', 'bmp', 'lossless.mkv') else frames(name)

    def refer(self, loop, folder):
        done, output = self.run(loop, folder)
        self.reference = self.shown(output) if done.returncode == 0 else None
        if not self.reference:
            sys.exit(f'nthcall.py: no {self.suffix} without a fault: {done.stderr}')

    def check(self, loop, folder, shim, fault, once):
        done, output = self.run(loop, folder, shim, fault)
        lines = [line for line in done.stderr.strip().splitlines() if line.startswith('tov: ')]
        if done.returncode not in (0, 1, 2):
            return f'ended with {done.returncode}: {done.stderr[-300:]}'
        if done.returncode == 0:
            return None if self.shown(output) == self.reference else 'status 0, but the file differs'
        if len(lines) != 1:
            return f'status {done.returncode}, but the reason is not in exactly one line: {done.stderr[-500:]}'
        if os.path.exists(output):
            return f'{os.path.basename(output)} was made, {os.path.getsize(output)} bytes: {lines}'
        partial = partial_name(output, self.suffix)
        if os.path.exists(partial) and not content(partial):
            return f'{os.path.basename(partial)} does not play, {os.path.getsize(partial)} bytes: {lines}'
        return None


class Again(Job):
    """Three of them in one process."""
    lasting = False

    def __str__(self):
        return self.suffix + ' three times'

    def run(self, loop, folder, shim=None, fault=None):
        outputs = [f'{folder}/{name}.{self.suffix}' for name in ('one', 'two', 'three')]
        texts = [f'grabimage filename="{output}" width=300' if self.suffix == 'png' else
                 f'grabvideo filename="{output}" width=64 height=48 sync=1' for output in outputs]
        # With a trajectory, each recording starts at the same view.
        with open(os.path.dirname(loop.model) + '/flight.tum', encoding='ascii') as flight, \
                open(folder + '/path.tum', 'w', encoding='ascii') as path:
            path.writelines(flight.readlines()[:2 + FRAMES])
        return subprocess.run([loop.build + '/bin/tov_several_commands', loop.model, folder + '/path.tum', *texts],
                              capture_output=True, text=True,
                              timeout=40, env=loop.environment(folder, outputs[0], shim, fault), check=False), outputs

    def refer(self, loop, folder):
        done, outputs = self.run(loop, folder)
        self.reference = self.shown(outputs[0])
        if not self.reference or any(self.shown(output) != self.reference for output in outputs[1:]):
            sys.exit(f'nthcall.py: {self} differ without a fault: {done.stderr}')

    def check(self, loop, folder, shim, fault, once):
        done, outputs = self.run(loop, folder, shim, fault)
        at_start, *results = done.stdout.split() or ['0']
        lines = [line for line in done.stderr.strip().splitlines() if line.startswith('tov: ')]
        if done.returncode == 1 and not results and len(lines) == 1 and not any(map(os.path.exists, outputs)):
            return None
        if done.returncode != 0 or len(results) != 3:
            return f'ended with {done.returncode}, {results}: {done.stderr[-300:]}'
        if len(lines) != results.count('failed'):
            return f'{results}, but with these lines: {lines}'
        # A fault during the start-up may affect every command: the module, the panel, OpenGL.
        if int(fault.split(':')[1]) <= int(at_start) and results == ['failed'] * 3 and not any(map(os.path.exists, outputs)):
            return None
        whole = [self.shown(output) == self.reference for output in outputs]
        if sum(whole) < 2:
            return f'complete: {whole}: {results} {lines}'
        return None


def main(build, source, *groups):
    loop = Loop(build, source)
    for group in groups or ('files', 'chunks', 'again', 'drawing', 'threads', 'memory'):
        if group == 'files':
            found = loop.loop([Job(suffix) for suffix in ('png', 'mp4', 'lossless.mkv', *(('bmp', 'mkv') if EVERY else ()))], 'faultshim', FILES)
        elif group == 'chunks':
            # Three frames per chunk.
            loop.settings += ['grabvideousememoryasbuffer=0', 'grabvideotempfilesize=1']
            found = loop.loop([Job(suffix, frame_size='320x240') for suffix in ('mp4', *(('lossless.mkv', ) if EVERY else ()))], 'faultshim', CHUNKS)
        elif group == 'again':
            found = loop.loop([Again('png'), Again('mkv')], 'faultshim', AGAIN)
        elif group == 'drawing':
            jobs = [Job('png'), Job('mkv')]
            found = loop.loop(jobs, 'faultshim', DRAWING)
            loop.multisampling(4)
            found += ', ' + loop.loop(jobs, 'faultshim', [('blit', 1)])
        elif group == 'threads':
            found = loop.loop([Job('png'), Job('mkv')], 'faultshim', THREADS)
        elif group == 'memory':
            # The sanitizers have their own allocators.
            if not os.path.exists(build + '/tests/liballocshim.so'):
                continue
            found = loop.loop([Job('png', picture_width=700), Job('mp4', frame_size='320x240')], 'allocshim', MEMORY)
        else:
            sys.exit(f'nthcall.py: there is no group {group}')
        loop.multisampling(0)
        print(f'{group}: {found}', flush=True)
    print(f'{loop.good} of {loop.runs}')
    return 0 if loop.good == loop.runs else 1


for needed in ('ffmpeg', ):
    if not shutil.which(needed):
        sys.exit(f'nthcall.py: {needed} is needed')
sys.exit(main(*sys.argv[1:]))
