#!/usr/bin/env python3
"""Modules and encoder plug-ins are refused if somebody who cannot replace the program could have written them. Runs as root,
because only root can change the owner of a file.
usage: permissions.py BUILD [CASE]"""

import os
import shutil
import sys
import tempfile

sys.dont_write_bytecode = True
from caselist import finish, record, run_case  # noqa: E402
from programcopy import FORMATS, Copy  # noqa: E402

BUILD = sys.argv[1]
ONLY = sys.argv[2] if len(sys.argv) > 2 else ''
if os.geteuid() != 0:
    print('only root can change the owner of a file')
    sys.exit(77)
root = tempfile.mkdtemp(prefix='tov owners %1 ')
os.chmod(root, 0o755)


def case(what):
    def run(function):
        if what.startswith(ONLY):
            record(what, run_case(function, Copy(BUILD, root)))
    return run


def change_owner(copy, user, group, mask):
    """Gives every file to that user and group, with the modes that result from that mask."""
    for folder, folders, names in os.walk(copy.home):
        for name in (folder, *(os.path.join(folder, name) for name in names)):
            if not os.path.islink(name):
                os.chown(name, user, group)
                os.chmod(name, 0o777 & ~mask)


try:
    # A group without an entry in the group file, and a user with the same number.
    @case('a plug-in that a group may change')
    def _(copy):
        os.chown(copy.plugins + 'frames.so', 0, 12345)
        os.chmod(copy.plugins + 'frames.so', 0o664)
        return copy.judge(['frames.so'], formats=FORMATS - 1, texts=['the group 12345 may change it'])

    @case('a module that a group may change')
    def _(copy):
        os.chown(copy.modules + 'libgrab.so', 0, 12345)
        os.chmod(copy.modules + 'libgrab.so', 0o775)
        return copy.judge(texts=['libgrab.so cannot be loaded: the group 12345 may change it'], formats=0, status=1)

    @case('a folder that a group may change')
    def _(copy):
        os.chown(copy.plugins, 0, 12345)
        os.chmod(copy.plugins, 0o775)
        problem = copy.judge(['frames.so', 'ffmpeg.so'], formats=0, texts=['the group 12345 may change the folder'])
        os.chmod(copy.plugins, 0o1775)
        return problem or copy.judge()

    @case('a folder above the program that a group may change')
    def _(copy):
        os.chown(copy.home, 0, 12345)
        os.chmod(copy.home, 0o775)
        problem = copy.judge()
        # The same group may then write plug-ins, others may not.
        os.chown(copy.plugins + 'frames.so', 0, 12345)
        os.chmod(copy.plugins + 'frames.so', 0o664)
        problem = problem or copy.judge()
        os.chown(copy.plugins + 'frames.so', 0, 12346)
        return problem or copy.judge(['frames.so'], formats=FORMATS - 1, texts=['the group 12346 may change it'])

    @case('a folder above the program of another user, sticky or not')
    def _(copy):
        os.chown(copy.home, 12345, 0)
        os.chown(copy.plugins + 'frames.so', 12345, 0)
        for mode in (0o755, 0o1755):
            os.chmod(copy.home, mode)
            problem = copy.judge()
            if problem:
                return f'{mode:o}: {problem}'
        os.chown(copy.plugins + 'frames.so', 12346, 0)
        return copy.judge(['frames.so'], formats=FORMATS - 1, texts=['belongs to another user (12346)'])

    @case('a plug-in of another user, under sudo')
    def _(copy):
        os.chown(copy.plugins + 'frames.so', 12345, 12345)
        return copy.judge(['frames.so'], formats=FORMATS - 1, texts=['belongs to another user (12345)'],
                          environment={'SUDO_UID': '12345', 'SUDO_GID': '12345'})

    @case('everything belongs to a user; run by root and by the user')
    def _(copy):
        change_owner(copy, 12345, 12346, 0o002)
        problem = copy.judge()
        copy.user, copy.group = 12345, 12346
        return problem or copy.judge()

    @case('a plug-in that the private group of the program\'s owner may change')
    def _(copy):
        change_owner(copy, 12345, 12345, 0o022)
        os.chmod(copy.plugins + 'frames.so', 0o775)
        problem = copy.judge()
        copy.user, copy.group = 12345, 12345
        return problem or copy.judge()

    @case('a plug-in that a shared group of the program\'s owner may change')
    def _(copy):
        change_owner(copy, 12345, 12346, 0o022)
        os.chmod(copy.plugins + 'frames.so', 0o775)
        problem = copy.judge(['frames.so'], formats=FORMATS - 1, texts=['the group 12346 may change it'])
        copy.user, copy.group = 12345, 12346
        return problem or copy.judge(['frames.so'], formats=FORMATS - 1, texts=['the group 12346 may change it'])

    @case('everything belongs to root, and root\'s group may change it')
    def _(copy):
        change_owner(copy, 0, 0, 0o002)
        return copy.judge()
finally:
    shutil.rmtree(root, ignore_errors=True)

finish()
