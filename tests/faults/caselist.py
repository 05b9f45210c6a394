"""A script's list of cases: how many went well, what is wrong with the others, which are left out, and with -v which run."""

import subprocess
import sys

RESULTS = []
VERBOSE = '-v' in sys.argv
if VERBOSE:
    sys.argv.remove('-v')


def left_out(what, why):
    print(f'left out: {what}: {why}', flush=True)


def listed(what):
    if VERBOSE:
        print(what, flush=True)


def problem_of(function, *arguments):
    """What a case says is wrong, or None."""
    try:
        return function(*arguments)
    except subprocess.TimeoutExpired as expired:
        return f'hangs: {expired.stderr}'


def counted(what, problem):
    """Counts a case, and says what is wrong with it."""
    RESULTS.append(problem is None)
    if problem:
        print(f'FAILED: {what}: {problem}', flush=True)


def finish():
    """Says how many cases went well and ends the script."""
    print(f'{sum(RESULTS)} of {len(RESULTS)}')
    sys.exit(0 if RESULTS and all(RESULTS) else 1)
