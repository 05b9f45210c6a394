#!/usr/bin/env python3
"""Modules and encoder plug-ins that somebody else could have written are not loaded. For root, who can give files away.
usage: permissions.py BUILD [CASE]"""

import os
import shutil
import sys
import tempfile

sys.dont_write_bytecode = True
from caselist import counted, finish, problem_of  # noqa: E402
from programcopy import FORMATS, Copy  # noqa: E402

BUILD = sys.argv[1]
ONLY = sys.argv[2] if len(sys.argv) > 2 else ''
if os.geteuid() != 0:
    print('only root gives files away')
    sys.exit(77)
root = tempfile.mkdtemp(prefix='tov owners %1 ')
os.chmod(root, 0o755)


def case(what):
    def run(function):
        if what.startswith(ONLY):
            counted(what, problem_of(function, Copy(BUILD, root)))
    return run


def given(copy, user, group, mask):
    """Everything is that user's, as made with that mask."""
    for folder, folders, names in os.walk(copy.home):
        for name in (folder, *(os.path.join(folder, name) for name in names)):
            if not os.path.islink(name):
                os.chown(name, user, group)
                os.chmod(name, 0o777 & ~mask)


try:
    # A group that nobody knows here, and a user who has one of the same number.
    @case('a plug-in that a group may change')
    def _(copy):
        os.chown(copy.plugins + 'frames.so', 0, 12345)
        os.chmod(copy.plugins + 'frames.so', 0o664)
        return copy.judge(['frames.so'], formats=FORMATS - 1, texts=['the group 12345 may change it'])

    @case('a module that a group may change')
    def _(copy):
        os.chown(copy.modules + 'libgrab.so', 0, 12345)
        os.chmod(copy.modules + 'libgrab.so', 0o775)
        return copy.judge(texts=['libgrab.so could not be loaded: the group 12345 may change it'], formats=0, status=1)

    @case('a folder that a group may change')
    def _(copy):
        os.chown(copy.plugins, 0, 12345)
        os.chmod(copy.plugins, 0o775)
        problem = copy.judge(['frames.so', 'ffmpeg.so'], formats=0, texts=['the group 12345 may change the folder'])
        os.chmod(copy.plugins, 0o1775)
        return problem or copy.judge()

    @case('a folder above that a group may change')
    def _(copy):
        os.chown(copy.home, 0, 12345)
        os.chmod(copy.home, 0o775)
        problem = copy.judge(texts=['libgrab.so could not be loaded: the group 12345 may change the folder'], formats=0,
                             status=1, environment={'TOV_TRUSTED_FOLDER': ''})
        return problem or copy.judge()

    @case('a folder above that is another user\'s, sticky or not')
    def _(copy):
        os.chown(copy.home, 12345, 0)
        for mode in (0o755, 0o1755):
            os.chmod(copy.home, mode)
            problem = copy.judge(texts=['belongs to another user (12345)'], formats=0, status=1,
                                 environment={'TOV_TRUSTED_FOLDER': ''})
            if problem:
                return f'{mode:o}: {problem}'
        return copy.judge(environment={'TOV_TRUSTED_FOLDER': '', 'SUDO_UID': '12345'})

    @case('all is a user\'s, who has a group alone')
    def _(copy):
        given(copy, 12345, 12345, 0o002)
        problem = copy.judge(environment={'TOV_TRUSTED_FOLDER': '', 'SUDO_UID': '12345', 'SUDO_GID': '12345'})
        copy.user, copy.group = 12345, 12345
        return problem or copy.judge(environment={'TOV_TRUSTED_FOLDER': ''})

    @case('all is a user\'s, whose group has others')
    def _(copy):
        given(copy, 12345, 12346, 0o002)
        copy.user, copy.group = 12345, 12346
        problem = copy.judge(texts=['the group 12346 may change it'], formats=0, status=1,
                             environment={'TOV_TRUSTED_FOLDER': ''})
        given(copy, 12345, 12346, 0o022)
        return problem or copy.judge(environment={'TOV_TRUSTED_FOLDER': ''})

    @case('all is root\'s, and root\'s group may change it')
    def _(copy):
        given(copy, 0, 0, 0o002)
        return copy.judge(environment={'TOV_TRUSTED_FOLDER': ''})
finally:
    shutil.rmtree(root, ignore_errors=True)

finish()
