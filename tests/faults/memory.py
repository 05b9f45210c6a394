#!/usr/bin/env python3
"""The memory of a recording does not depend on its length, with a fast encoder and with a slow one that does not count
its frames.

    memory.py BUILD_FOLDER [-v]        small videos; TOV_MEMORY=full: 100, 600 and 3000 frames of 1920 x 1080
"""
import os
import shutil
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
from caselist import announce, finish, record, run_case, skip  # noqa: E402
from faultcases import settings  # noqa: E402
from programcopy import Copy  # noqa: E402

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
FULL = os.environ.get('TOV_MEMORY') == 'full'
TOLERANCE = 1.1
MOST_MB = 700
LIMIT_S = 3 * 3600
SIZE = '1920x1080' if FULL else '640x360'
# Small chunks and a low limit, so that small videos reach it.
SETTINGS = () if FULL else ('backloglimit=20', 'grabvideotempfilesize=2')

scratch = tempfile.mkdtemp(prefix='tov memory ')
copy = Copy(sys.argv[1], scratch)
shutil.copy(sys.argv[1] + '/tests/zoo/troublesome.so', copy.plugins)
settings(copy.home, *SETTINGS)


def peak_mb(ending, frames, environment):
    """The most memory that a recording used, in MB; it must succeed."""
    process = subprocess.Popen([copy.home + '/bin/tov', 'video', SOURCE + '/samples/crane.obj', '--size', SIZE, '--turntable',
                                str(frames), '--quiet', '-o', f'{scratch}/v.{ending}'],
                               env=copy.environment(environment), stderr=subprocess.PIPE)
    with process.stderr:
        message = process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise OSError(f'{frames} frames of {ending}: status {process.returncode}: {message.decode()}')
    return usage.ru_maxrss * 1024 / 1e6


def case(what, ending, counts, environment=None):
    def compare():
        peaks = [peak_mb(ending, count, environment) for count in counts]
        print(f'{what}: ' + ', '.join(f'{count} frames {peak:.0f} MB' for count, peak in zip(counts, peaks)), flush=True)
        if max(peaks) > TOLERANCE * min(peaks):
            return 'the memory depends on the length'
        return f'more than {MOST_MB} MB' if FULL and max(peaks) > MOST_MB else None
    announce(what)
    record(what, run_case(compare))


if not FULL:
    skip('1920 x 1080', 'TOV_MEMORY=full records it')
try:
    case('mp4', 'mp4', (100, 600, 3000) if FULL else (80, 240))
    # Ten times the time that the mp4 takes for a chunk of three frames.
    case('a slow encoder that does not count', 'slow', (100, 300) if FULL else (30, 90),
         {'TOV_CHUNK_SECONDS': '1' if FULL else '0.1'})
finally:
    shutil.rmtree(scratch, ignore_errors=True)
finish()
