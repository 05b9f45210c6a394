"""Runs the program once for each case of a list."""

import os
import shutil
import subprocess
import tempfile

from caselist import record, run_case

VIDEOS = ('mp4', 'hevc.mp4', 'hq.mp4', 'mov', 'alpha.mov', 'mkv', 'av1.mkv', 'lossless.mkv', 'webm', 'alpha.webm', 'avi',
          'gif', 'apng', 'frames')


class Cases:
    """The cases of one script."""

    def __init__(self, build, source):
        self.tov = build + '/bin/tov'
        self.model = source + '/samples/crane.obj'
        self.build = build

    def case(self, what):
        """Runs the decorated function in a folder of its own; it returns the problem, or None."""
        def run(function):
            folder = tempfile.mkdtemp(prefix='tov faults ')
            try:
                problem = run_case(function, folder)
            finally:
                shutil.rmtree(folder, ignore_errors=True)
            record(what, problem)
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
    """Writes the settings for runs in that folder. A small disk must not prevent a recording."""
    with open(folder + '/settings.ini', 'w', encoding='ascii') as file:
        file.write('\n'.join(('[settings]', 'lowspacelimit=0', *lines)) + '\n')


def partial_name(name, ending):
    """The temporary name under which a recording is written until it is complete."""
    folder, base = os.path.split(name)
    stem = base[:-len(ending) - 1].replace('.', '_')
    return os.path.join(folder, f'{stem}~partial.{ending}')


def failure_problem(status, error, wanted=(1,)):
    """Checks a failed run: its status, and that exactly one line gives the reason."""
    lines = error.strip().splitlines()
    if status not in wanted:
        return f'status {status}: {lines[-3:]}'
    if sum(line.startswith('tov: ') for line in lines) != 1 or max(map(len, lines)) > 1000:
        return f'status {status}, but the reason is not in exactly one line: {[line[:200] for line in lines]}'
    return None


def frames_of(name):
    """The number of frames that can be decoded; -1: the file cannot be read."""
    if not os.path.isfile(name) or os.path.getsize(name) == 0:
        return -1
    safe = ['-safe', '0'] if name.endswith('.frames') else []
    probe = subprocess.run(['ffprobe', '-v', 'quiet', *safe, '-count_frames', '-select_streams', 'v:0', '-show_entries',
                            'stream=nb_read_frames', '-of', 'csv=p=0', name], capture_output=True, text=True, check=False)
    text = probe.stdout.strip().strip(',')
    return int(text) if text.isdigit() else -1


def leftover_problem(name, frames):
    """Checks the file that a failed recording left: there is none, or it plays up to where it ends."""
    if not os.path.lexists(name):
        return None
    count = frames_of(name)
    return None if 0 < count <= frames else f'{os.path.basename(name)} is left and has {count} frames'


def recording_problem(run, name, ending, frames):
    """Checks a recording: the file is complete, or one line gives the reason, nothing has the final name, and the partial
    file plays if there is one."""
    if run.returncode == 0:
        count = frames_of(name)
        return None if count == frames else f'status 0, but {count} frames'
    if os.path.lexists(name):
        return f'status {run.returncode}, but {os.path.basename(name)} was made'
    return failure_problem(run.returncode, run.stderr) or leftover_problem(partial_name(name, ending), frames)


def literal_recording_problem(run, name, frames):
    """The same for a command text, which writes under the name that it gives."""
    if run.returncode == 0:
        count = frames_of(name)
        return None if count == frames else f'status 0, but {count} frames'
    return failure_problem(run.returncode, run.stderr) or leftover_problem(name, frames)
