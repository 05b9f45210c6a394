"""What a script says of its list of cases: each that it leaves out, and with -v each that it runs."""

import sys

VERBOSE = '-v' in sys.argv
if VERBOSE:
    sys.argv.remove('-v')


def left_out(what, why):
    print(f'left out: {what}: {why}', flush=True)


def listed(what):
    if VERBOSE:
        print(what, flush=True)
