#!/usr/bin/env python3
"""Lets the N-th write or the N-th creation of a file fail, N = 1, 2, ... until a run passes without a fault; once and from
then on. After each run: no crash, no hang; status 0 means a whole file, anything else one line that says what is wrong.

    nthcall.py BUILD_FOLDER SOURCE_FOLDER [HIGHEST_N]
"""
import errno
import os
import shutil
import subprocess
import sys
import tempfile

FRAMES = 8


def whole_picture(name):
    return subprocess.run(['pngcheck', '-q', name], capture_output=True).returncode == 0


def frames_of(name):
    probe = subprocess.run(['ffprobe', '-v', 'quiet', '-count_frames', '-show_entries', 'stream=nb_read_frames', '-of',
                            'csv=p=0', name], capture_output=True, text=True)
    text = probe.stdout.strip().strip(',')
    return int(text) if text.isdigit() else -1


def main(build, source, highest=10000):
    model = source + '/samples/crane.obj'
    jobs = {
        'png': (['image', model, '--width', '300', '--quiet'], whole_picture),
        'bmp': (['image', model, '--width', '300', '--quiet'], lambda name: os.path.getsize(name) == 300 * 168 * 4 + 54 or
                os.path.getsize(name) > 300 * 168 * 3),
        'mp4': (['video', model, '--size', '64x48', '--turntable', str(FRAMES), '--quiet'], lambda n: frames_of(n) == FRAMES),
        'mkv': (['video', model, '--size', '64x48', '--turntable', str(FRAMES), '--quiet'], lambda n: frames_of(n) == FRAMES),
    }
    faults = [('write', errno.ENOSPC), ('write', errno.EIO), ('write', errno.EINTR), ('write', 0), ('create', errno.EMFILE),
              ('create', errno.EACCES), ('sysinfo', errno.EFAULT)]
    runs = good = 0
    for suffix, (arguments, is_whole) in jobs.items():
        for kind, number in faults:
            for once in (1, 0):
                # Interrupted for ever or never more than half: no disk does that.
                if not once and number in (errno.EINTR, 0):
                    continue
                for n in range(1, highest + 1):
                    with tempfile.TemporaryDirectory() as folder:
                        output = f'{folder}/out.{suffix}'
                        environment = dict(os.environ, LD_PRELOAD=build + '/tests/libfaultshim.so',
                                           TOV_FAULT=f'{kind}:{n}:{once}:{number}', TOV_FAULT_COUNT=folder + '/count',
                                           TOV_SETTINGS=folder + '/settings.ini', LC_ALL='C.UTF-8')
                        what = f'{suffix}: {kind} number {n}{"" if once else " and after"}: ' + \
                            (errno.errorcode[number] if number else 'half')
                        problem = None
                        try:
                            run = subprocess.run([build + '/bin/tov'] + arguments + ['-o', output], capture_output=True,
                                                 text=True, timeout=60, env=environment)
                            lines = run.stderr.strip().splitlines()
                            if run.returncode < 0 or run.returncode > 2:
                                problem = f'ended with {run.returncode}: {run.stderr[-300:]}'
                            elif run.returncode == 0 and not (os.path.exists(output) and is_whole(output)):
                                problem = 'status 0, but the file is not whole'
                            elif run.returncode != 0 and not (len(lines) == 1 and lines[0].startswith('tov: ')):
                                problem = f'status {run.returncode}, but not one line says why: {lines}'
                        except subprocess.TimeoutExpired:
                            problem = 'hangs'
                        runs += 1
                        if problem:
                            print(f'FAILED: {what}: {problem}', flush=True)
                        else:
                            good += 1
                        try:
                            reached = int(open(folder + '/count').read()) >= n
                        except (OSError, ValueError):
                            reached = True
                    if not reached:
                        break
    print(f'{good} of {runs}')
    return 0 if good == runs else 1


for needed in ('pngcheck', 'ffprobe'):
    if not shutil.which(needed):
        sys.exit(f'nthcall.py: {needed} is needed')
sys.exit(main(sys.argv[1], sys.argv[2], *[int(n) for n in sys.argv[3:4]]))
