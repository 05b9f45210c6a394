"""A copy of the built program that tests can damage."""

import os
import shutil
import subprocess
import tempfile
import time

FORMATS = 14


class Copy:
    """In a folder of its own below `root`."""

    def __init__(self, build, root):
        self.build = build
        self.home = tempfile.mkdtemp(dir=root)
        shutil.copytree(build + '/bin/modules', self.home + '/bin/modules')
        shutil.copytree(build + '/bin/plugins', self.home + '/bin/plugins')
        os.makedirs(self.home + '/libexec')
        for name in ('bin/tov', 'libexec/tov-check-encoder', 'libexec/encoderchecks.so'):
            shutil.copy(build + '/' + name, self.home + '/' + name)
        os.symlink(build + '/lib', self.home + '/lib')
        self.plugins = self.home + '/bin/plugins/video/'
        self.modules = self.home + '/bin/modules/'
        self.coders = self.home + '/lib/libtovcoders.so'
        self.user = self.group = None
        self.runs_in = self.home
        # Duration of the first start by `judge`, when nothing is cached yet.
        self.first_start = None

    def run(self, *arguments, environment=None):
        return subprocess.run([self.home + '/bin/tov', *arguments], capture_output=True, text=True, timeout=120,
                              env=self.environment(environment), user=self.user, group=self.group,
                              cwd=self.runs_in)

    def own_coders(self):
        """Makes a copy of the library that links FFmpeg."""
        folder = self.build + '/lib'
        os.remove(self.home + '/lib')
        os.mkdir(self.home + '/lib')
        for name in os.listdir(folder):
            os.symlink(f'{folder}/{name}', f'{self.home}/lib/{name}')
        self.repair_coders()

    def repair_coders(self):
        """Replaces it by a complete one with the original date."""
        shutil.copy2(self.build + '/lib/libtovcoders.so', self.coders + '.new')
        os.replace(self.coders + '.new', self.coders)

    def lend(self, user):
        """Runs it as that user from now on, with another home folder; the files keep their owner."""
        self.user = user
        self.runs_in = self.home + '/home'
        os.mkdir(self.runs_in)
        os.chown(self.runs_in, user, user)
        os.chmod(self.home, 0o755)

    def environment(self, more=None):
        env = {**os.environ, 'HOME': self.runs_in, 'TOV_SETTINGS': self.runs_in + '/settings.ini', 'LC_ALL': 'C.UTF-8',
               **(more or {})}
        env.pop('XDG_CACHE_HOME', None)
        return env

    def judge(self, bad=(), formats=FORMATS, texts=(), environment=None, arguments=(), status=0):
        """Starts the program and returns the problem, or None. `bad`: file names or paths that must be reported once each;
        `texts`: texts that the reports must contain."""
        begin = time.monotonic()
        done = self.run('modules', *arguments, environment=environment)
        self.first_start = self.first_start or time.monotonic() - begin
        if done.returncode != status:
            return f'status {done.returncode}: {done.stderr[-300:]}'
        problems = [line for line in (done.stdout + done.stderr).splitlines() if line.startswith('Problem: ')]
        for name in bad:
            reports = [line for line in problems
                    if name in line and name[0] == '/' or f"'{name.split('.')[0]}'" in line or '/' + name in line]
            if len(reports) != 1:
                return f'{name} is reported {len(reports)} times: {problems[:5]}'
        for text in texts:
            if not any(text in line for line in problems):
                return f'no report contains "{text}": {problems[:5]}'
        listed = self.run('encoders', environment=environment).stdout.splitlines()
        known = {line.split()[0] for line in listed if line and line[0].islower()}
        if len(known) != formats:
            return f'{len(known)} formats instead of {formats}: {sorted(known)}'
        return None
