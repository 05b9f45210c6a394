"""Runs the program once for each case of a list."""

import os
import shutil
import subprocess
import tempfile

from caselist import counted, problem_of

VIDEOS = ('mp4', 'hevc.mp4', 'hq.mp4', 'mov', 'alpha.mov', 'mkv', 'av1.mkv', 'lossless.mkv', 'webm', 'alpha.webm', 'avi',
          'gif', 'apng', 'frames')


class Cases:
    """The cases of one script."""

    def __init__(self, build, source):
        self.tov = build + '/bin/tov'
        self.model = source + '/samples/crane.obj'
        self.build = build

    def case(self, what):
        """Runs the decorated function with a folder of its own; it returns what is wrong, or None."""
        def run(function):
            folder = tempfile.mkdtemp(prefix='tov faults ')
            try:
                problem = problem_of(function, folder)
            finally:
                shutil.rmtree(folder, ignore_errors=True)
            counted(what, problem)
        return run

    def environment(self, folder, more=None):
        return {**os.environ, 'TOV_SETTINGS': folder + '/settings.ini', 'LC_ALL': 'C.UTF-8', **(more or {})}

    def run(self, folder, arguments, environment=None, limit_s=60, **how):
        return subprocess.run([self.tov, *arguments], capture_output=True, text=True, errors='replace', cwd=folder,
                              env=self.environment(folder, environment), timeout=limit_s, **how)

    def start(self, folder, arguments, environment=None, **how):
        return subprocess.Popen([self.tov, *arguments], stderr=subprocess.PIPE, stdout=subprocess.DEVNULL, text=True,
                                errors='replace', cwd=folder, env=self.environment(folder, environment), **how)


def settings(folder, *lines):
    """Settings for runs in that folder; small disks are no reason to record nothing."""
    with open(folder + '/settings.ini', 'w', encoding='ascii') as file:
        file.write('\n'.join(('[settings]', 'lowspacelimit=0', *lines)) + '\n')


def one_line(status, error, wanted=(1,)):
    """What is wrong with a failure: it has the status and one line that says why."""
    lines = error.strip().splitlines()
    if status not in wanted:
        return f'status {status}: {lines[-3:]}'
    if sum(line.startswith('tov: ') for line in lines) != 1 or max(map(len, lines)) > 1000:
        return f'status {status}, but not one line says why: {[line[:200] for line in lines]}'
    return None


def frames_of(name):
    """How many frames can be decoded; -1: the file cannot be read."""
    if not os.path.isfile(name) or os.path.getsize(name) == 0:
        return -1
    safe = ['-safe', '0'] if name.endswith('.frames') else []
    probe = subprocess.run(['ffprobe', '-v', 'quiet', *safe, '-count_frames', '-select_streams', 'v:0', '-show_entries',
                            'stream=nb_read_frames', '-of', 'csv=p=0', name], capture_output=True, text=True, check=False)
    text = probe.stdout.strip().strip(',')
    return int(text) if text.isdigit() else -1


def partial(name, frames):
    """What is wrong with what a failed recording left: nothing, or what can be played up to where it ends."""
    if not os.path.lexists(name):
        return None
    count = frames_of(name)
    return None if 0 < count <= frames else f'{os.path.basename(name)} is left and has {count} frames'


def ended(run, name, frames):
    """What is wrong with a recording: it made the whole file, or says why not and leaves nothing that cannot be played."""
    if run.returncode == 0:
        count = frames_of(name)
        return None if count == frames else f'status 0, but {count} frames'
    return one_line(run.returncode, run.stderr) or partial(name, frames)
