#!/usr/bin/python3
"""Times tov beside VTK on the same jobs, whole processes in turns, and prints a table in Markdown.

    peers.py BUILD_FOLDER MODEL LARGE_MODEL [ROUNDS]
"""
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
HALF_HEIGHT = 0.4274205123390469  # of tov's pictures, at distance 1
PEER = os.path.join(HERE, 'peer_vtk.py')


def output_of(command):
    """What a command prints; one line says which failed, and ends everything."""
    process = subprocess.run(command, capture_output=True, text=True)
    if process.returncode != 0:
        last = (process.stderr.strip().splitlines() or ['it said nothing'])[-1]
        sys.exit(f'peers.py: {" ".join(command)}: status {process.returncode}: {last}')
    return process.stdout, process.stderr


def measured(command):
    """Seconds and peak memory in MB of a whole process."""
    start = time.perf_counter()
    _, errors = output_of(['/usr/bin/time', '-f', 'peak=%M'] + command)
    return time.perf_counter() - start, int(re.findall(r'peak=(\d+)', errors)[-1]) / 1000


def view_of(model, width, height):
    """The same view of a model for both: where the peer's camera looks and from how far, and tov's transform."""
    numbers = [float(word) for word in output_of([PEER, 'box', model])[0].split()]
    low, high = numbers[:3], numbers[3:]
    centre = [(a + b) / 2 for a, b in zip(low, high)]
    size = [b - a for a, b in zip(low, high)]
    room = 1.04
    distance = size[2] / 2 + room / 2 / HALF_HEIGHT * max(size[1], size[0] * height / width)
    scaling = 100 / max(size)
    rows = [[scaling if row == column else 0 for column in range(3)] + [-scaling * centre[row]] for row in range(3)]
    rows[2][3] -= scaling * distance
    matrix = [number for row in rows + [[0, 0, 0, 1]] for number in row]
    return [repr(number) for number in centre + [distance]], ' '.join(repr(number) for number in matrix)


def in_turns(ours, theirs, rounds):
    """Medians of both, run in turns so that what else the machine does falls on both."""
    results = ([], [])
    for _ in range(rounds):
        for command, into in ((ours, results[0]), (theirs, results[1])):
            into.append(measured(command))
    return [(statistics.median(r[0] for r in each), statistics.median(r[1] for r in each)) for each in results]


def row(what, ours, theirs, ratio, limit, unit):
    verdict = 'reached' if (ratio <= limit if unit != 'frames/s' else ratio >= limit) else 'missed'
    comparison = 'at most' if unit != 'frames/s' else 'at least'
    print(f'| {what} | {ours:.2f} {unit} | {theirs:.2f} {unit} | {ratio:.2f} | {comparison} {limit} | {verdict} |', flush=True)


def main(build, model, big, rounds=5):
    tov = os.path.join(build, 'bin/tov')
    for program in ('/usr/bin/time', 'xvfb-run', 'ffmpeg'):
        if not shutil.which(program):
            sys.exit(f'peers.py: {program} is needed')
    with tempfile.TemporaryDirectory() as folder:
        os.environ['TOV_SETTINGS'] = folder + '/settings.ini'
        print('| job | tov | peer | ratio | limit | |')
        print('|---|---|---|---|---|---|')
        for name, file, wall in (('bunny', model, 0.75), ('1.1 M triangles', big, 0.5)):
            where, transform = view_of(file, 10000, 7500)
            for shading in ('smooth', 'facets'):
                peer = f'VTK {shading}'
                ours, theirs = in_turns(
                    [tov, 'image', file, '-o', folder + '/a.png', '--panel', '1280x960', '--width', '10000', '--quiet',
                     '--transform', transform],
                    [PEER, 'picture', file, folder + '/b.png', '10000', '7500', *where, shading], rounds)
                row(f'picture 10000 x 7500, {name}, {peer}, wall', ours[0], theirs[0], ours[0] / theirs[0], wall, 's')
                row(f'picture 10000 x 7500, {name}, {peer}, peak memory', ours[1], theirs[1], ours[1] / theirs[1], 0.7, 'MB')
        ours, theirs = in_turns(
            [tov, 'image', model, '-o', folder + '/a.png', '--panel', '1280x960', '--width', '10000', '--quiet'],
            [tov, 'image', model, '-o', folder + '/a.png', '--panel', '1280x960', '--width', '5000', '--quiet'], rounds)
        row('four times the pixels (5000 to 10000 wide)', ours[0], theirs[0], ours[0] / theirs[0], 4.3, 's')
        ours, theirs = in_turns(
            [tov, 'video', model, '-o', folder + '/a.mp4', '--size', '1280x720', '--turntable', '100', '--quiet'],
            [PEER, 'video', model, folder + '/b.mp4', '1280', '720', '100'], rounds)
        row('video 1280 x 720, 100 frames, H.264', 100 / ours[0], 100 / theirs[0], theirs[0] / ours[0], 2.5, 'frames/s')
        ours, theirs = in_turns(
            [tov, 'image', '/usr/share/glmark2/models/cube.3ds', '-o', folder + '/a.png', '--panel', '200x200', '--width',
             '200', '--quiet'], [os.path.join(build, 'benchmarks/empty_gl')], rounds)
        row('start to exit, a cube 200 x 200, beyond an empty Qt program', ours[0] - theirs[0], theirs[0], ours[0] - theirs[0],
            0.25, 's')
        for name, file in (('bunny.obj', model), ('1.1 M triangles, binary PLY', big)):
            ours, theirs = [], []
            for _ in range(rounds):
                ours.append(float(output_of([os.path.join(build, 'benchmarks/bench_import'), file])[0]))
                theirs.append(float(output_of([PEER, 'read', file])[0]))
            a, b = statistics.median(ours), statistics.median(theirs)
            row(f'reading {name}', a, b, a / b, 1.0, 's')


if len(sys.argv) < 4:
    sys.exit(__doc__)
main(*sys.argv[1:4], *[int(n) for n in sys.argv[4:5]])
