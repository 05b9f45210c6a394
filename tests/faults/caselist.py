"""Runs the cases of a script, prints the failures and how many cases passed; with -v also the name of each case."""

import subprocess
import sys

RESULTS = []
VERBOSE = '-v' in sys.argv
if VERBOSE:
    sys.argv.remove('-v')


def skip(what, why):
    print(f'skipped: {what}: {why}', flush=True)


def announce(what):
    if VERBOSE:
        print(what, flush=True)


def run_case(function, *arguments):
    """Returns the problem that a case found, or None."""
    try:
        return function(*arguments)
    except subprocess.TimeoutExpired as expired:
        return f'hangs: {expired.stderr}'
    except OSError as error:
        return f'the case itself failed: {error}'


def record(what, problem):
    """Counts a case and prints its problem."""
    RESULTS.append(problem is None)
    if problem:
        print(f'FAILED: {what}: {problem}', flush=True)


def finish():
    """Prints how many cases passed and ends the script."""
    print(f'{sum(RESULTS)} of {len(RESULTS)}')
    sys.exit(0 if RESULTS and all(RESULTS) else 1)
