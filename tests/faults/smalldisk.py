"""Small disks in a name space of the script's own."""

import os
import subprocess
import sys

from caselist import VERBOSE, skip

PAGE = 4096


def enter_namespace():
    """Starts the script again in a name space where it can mount disks; skips it where that is not allowed."""
    if '--inside' in sys.argv:
        sys.argv.remove('--inside')
        return
    if subprocess.run(['unshare', '-Urm', 'true'], capture_output=True, check=False).returncode != 0:
        skip('every case', 'this machine allows no name spaces')
        sys.exit(77)
    # The leak checker cannot inspect a process in a name space of its own.
    os.environ['ASAN_OPTIONS'] = os.environ.get('ASAN_OPTIONS', '') + ':detect_leaks=0'
    os.execvp('unshare', ['unshare', '-Urm', sys.executable, *map(os.path.abspath, sys.argv[:1]), *sys.argv[1:], '--inside',
                          *(['-v'] if VERBOSE else [])])


class Disk:
    """A disk of that many bytes; `fill` leaves `room` of them free."""

    def __init__(self, folder, size='64m'):
        self.path = folder + '/disk'
        self.empty = 0
        os.makedirs(self.path, exist_ok=True)
        subprocess.run(['mount', '-t', 'tmpfs', '-o', f'size={size}', 'none', self.path], check=True)
        self.empty = self.used()

    def used(self):
        state = os.statvfs(self.path)
        return (state.f_blocks - state.f_bfree) * state.f_frsize - self.empty

    def fill(self, room):
        state = os.statvfs(self.path)
        with open(self.path + '/filler', 'wb') as file:
            os.posix_fallocate(file.fileno(), 0, state.f_bfree * state.f_frsize - room)

    def protect(self):
        subprocess.run(['mount', '-o', 'remount,ro', self.path], check=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        subprocess.run(['umount', '-l', self.path], check=True)
