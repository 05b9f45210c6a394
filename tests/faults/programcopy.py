"""A copy of the built program, to be spoiled."""

import os
import shutil
import subprocess
import tempfile
import time

FORMATS = 14


class Copy:
    """In a folder of its own below `root`."""

    def __init__(self, build, root):
        self.home = tempfile.mkdtemp(dir=root)
        shutil.copytree(build + '/bin/modules', self.home + '/bin/modules')
        shutil.copytree(build + '/bin/plugins', self.home + '/bin/plugins')
        os.makedirs(self.home + '/libexec')
        for name in ('bin/tov', 'libexec/tov-check-encoder', 'libexec/encoderchecks.so'):
            shutil.copy(build + '/' + name, self.home + '/' + name)
        os.symlink(build + '/lib', self.home + '/lib')
        self.plugins = self.home + '/bin/plugins/video/'
        self.modules = self.home + '/bin/modules/'

    def run(self, *arguments, environment=None):
        begin = time.monotonic()
        done = subprocess.run([self.home + '/bin/tov', *arguments], capture_output=True, text=True, timeout=120,
                              env=self.environment(environment))
        self.seconds = time.monotonic() - begin
        return done

    def environment(self, more=None):
        env = {**os.environ, 'HOME': self.home, 'TOV_SETTINGS': self.home + '/settings.ini', 'LC_ALL': 'C.UTF-8',
               'TOV_TRUSTED_FOLDER': self.home, **(more or {})}
        env.pop('XDG_CACHE_HOME', None)
        return env

    def judge(self, bad=(), formats=FORMATS, texts=(), environment=None, arguments=(), status=0):
        """Says what is wrong, or None. `bad`: file names that must be told of, once each."""
        done = self.run('modules', *arguments, environment=environment)
        if done.returncode != status:
            return f'status {done.returncode}: {done.stderr[-300:]}'
        problems = [line for line in (done.stdout + done.stderr).splitlines() if line.startswith('Problem: ')]
        for name in bad:
            told = [line for line in problems if f"'{name.split('.')[0]}'" in line or '/' + name in line]
            if len(told) != 1:
                return f'{name} is named {len(told)} times: {problems[:5]}'
        for text in texts:
            if not any(text in line for line in problems):
                return f'nothing says "{text}": {problems[:5]}'
        listed = self.run('encoders', environment=environment).stdout.splitlines()
        known = {line.split()[0] for line in listed if line and line[0].islower()}
        if len(known) != formats:
            return f'{len(known)} formats instead of {formats}: {sorted(known)}'
        return None
