#!/usr/bin/python3
"""Compares tov with VTK on the same jobs, whole processes in turns, and prints a table in Markdown.

    peers.py BUILD_FOLDER MODEL LARGE_MODEL [ROUNDS [TEXTURED_MODEL]]

Both draw with a physically based material, for each pixel, textures included, and with 4 samples.
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
BACKGROUND = bytes((38, 42, 51))  # opaque, as VTK's pictures are
HALF_HEIGHT = 0.4274205123390469  # of tov's pictures, at distance 1
# Of 2, 4, 5, 8, 10 and 20 tiles per side, VTK's fastest choice for both models, and the one that takes least memory.
FASTEST, LEANEST = '5', '20'
PEER = os.path.join(HERE, 'peer_vtk.py')


def output_of(command):
    """Standard output and error of a command. Ends the program with one line when it fails."""
    process = subprocess.run(command, capture_output=True, text=True)
    if process.returncode != 0:
        last = (process.stderr.strip().splitlines() or ['no message'])[-1]
        sys.exit(f'peers.py: {" ".join(command)}: status {process.returncode}: {last}')
    return process.stdout, process.stderr


def measured(command):
    """Seconds and peak memory (MB) of a whole process."""
    start = time.perf_counter()
    _, errors = output_of(['/usr/bin/time', '-f', 'peak=%M'] + command)
    return time.perf_counter() - start, int(re.findall(r'peak=(\d+)', errors)[-1]) * 1024 / 1e6


def view_of(model, width, height):
    """The same view of a model for both programs: the focal point and distance of the peer's camera, and tov's transform."""
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
    """Medians of both, run in turns so that other load on the machine affects both."""
    results = ([], [])
    for _ in range(rounds):
        for command, into in ((ours, results[0]), (theirs, results[1])):
            into.append(measured(command))
    return [(statistics.median(r[0] for r in each), statistics.median(r[1] for r in each)) for each in results]


def alike(ours, theirs):
    """The share of each picture that the model covers (percent), the mean difference per channel, and the file sizes (MB)."""
    raw = [subprocess.run(['ffmpeg', '-v', 'error', '-i', name, '-vf', 'scale=1000:750:flags=area', '-f', 'rawvideo', '-pix_fmt',
                           'rgb24', '-'], capture_output=True, check=True).stdout for name in (ours, theirs)]
    covered = [sum(1 for i in range(0, len(each), 3) if each[i:i + 3] != BACKGROUND) * 300 / len(each) for each in raw]
    difference = sum(abs(a - b) for a, b in zip(*raw)) / len(raw[0])
    return covered + [difference] + [os.path.getsize(name) / 1e6 for name in (ours, theirs)]


def covered_in(video):
    """The average share of a frame that the model covers (percent), of every tenth frame. Coding changes colours slightly."""
    raw = subprocess.run(['ffmpeg', '-v', 'error', '-i', video, '-vf', r'select=not(mod(n\,10)),scale=iw/4:ih/4:flags=neighbor',
                          '-vsync', 'vfr', '-f', 'rawvideo', '-pix_fmt', 'rgb24', '-'], capture_output=True, check=True).stdout
    near = [frozenset(range(value - 8, value + 9)) for value in BACKGROUND]
    drawn = sum(1 for i in range(0, len(raw), 3) if any(raw[i + c] not in near[c] for c in range(3)))
    return drawn * 300 / len(raw)


def row(what, ours, theirs, ratio, limit, unit):
    verdict = 'reached' if (ratio <= limit if unit != 'frames/s' else ratio >= limit) else 'missed'
    comparison = 'at most' if unit != 'frames/s' else 'at least'
    print(f'| {what} | {ours:.2f} {unit} | {theirs:.2f} {unit} | {ratio:.2f} | {comparison} {limit} | {verdict} |', flush=True)


def textured_row(tov, model, folder, rounds):
    """A picture of a textured glTF model."""
    where, transform = view_of(model, 10000, 7500)
    ours, theirs = in_turns(
        [tov, 'image', model, '-o', folder + '/a.png', '--panel', '1280x960', '--width', '10000', '--quiet', '--transform',
         transform, '--background', '#' + BACKGROUND.hex()],
        [PEER, 'picture', model, folder + '/b.png', '10000', '7500', *where, 'smooth', FASTEST], rounds)
    row(f'picture 10000 x 7500, textured glTF {os.path.basename(model)}, wall', ours[0], theirs[0], ours[0] / theirs[0], 0.67, 's')


def main(build, model, big, rounds=5, textured='/usr/share/assimp/models/glTF2/BoxTextured-glTF-Binary/BoxTextured.glb'):
    tov = os.path.join(build, 'bin/tov')
    for program in ('/usr/bin/time', 'xvfb-run', 'ffmpeg'):
        if not shutil.which(program):
            sys.exit(f'peers.py: {program} is needed')
    compared = []
    with tempfile.TemporaryDirectory() as folder:
        os.environ['TOV_SETTINGS'] = folder + '/settings.ini'
        print('| job | tov | peer | ratio | limit | |')
        print('|---|---|---|---|---|---|')
        for name, file, wall in (('bunny', model, 0.7), ('1.1 M triangles', big, 0.6)):
            where, transform = view_of(file, 10000, 7500)
            pictures = [folder + '/a.png', folder + '/b.png']
            for shading in ('smooth', 'facets'):
                for tiles, what in ((FASTEST, f'{name}, VTK {shading}'), (LEANEST, f'{name}, VTK {shading}, smaller tiles')):
                    ours, theirs = in_turns(
                        [tov, 'image', file, '-o', pictures[0], '--panel', '1280x960', '--width', '10000', '--quiet',
                         '--transform', transform, '--background', '#' + BACKGROUND.hex()],
                        [PEER, 'picture', file, pictures[1], '10000', '7500', *where, shading, tiles], rounds)
                    if tiles == FASTEST:
                        row(f'picture 10000 x 7500, {what}, wall', ours[0], theirs[0], ours[0] / theirs[0], wall, 's')
                        compared.append((f'{name}, {shading}', *alike(*pictures)))
                    row(f'picture 10000 x 7500, {what}, peak memory', ours[1], theirs[1], ours[1] / theirs[1], 0.7, 'MB')
        textured_row(tov, textured, folder, rounds)
        ours, theirs = in_turns(
            [tov, 'image', model, '-o', folder + '/a.png', '--panel', '1280x960', '--width', '10000', '--quiet'],
            [tov, 'image', model, '-o', folder + '/a.png', '--panel', '1280x960', '--width', '5000', '--quiet'], rounds)
        print(f'| four times the pixels: width 5000 to 10000 | {theirs[0]:.2f} to {ours[0]:.2f} s | | {ours[0] / theirs[0]:.2f} |'
              f' at most 4.3 | {"reached" if ours[0] / theirs[0] <= 4.3 else "missed"} |', flush=True)
        ours, theirs = in_turns(
            [tov, 'video', model, '-o', folder + '/a.mp4', '--size', '1280x720', '--turntable', '100', '--quiet'],
            [PEER, 'video', model, folder + '/b.mp4', '1280', '720', '100'], 3 * rounds)
        row('video 1280 x 720, 100 frames, H.264', 100 / ours[0], 100 / theirs[0], theirs[0] / ours[0], 2, 'frames/s')
        videos = [covered_in(folder + name) for name in ('/a.mp4', '/b.mp4')]
        ours, theirs = in_turns(
            [tov, 'image', '/usr/share/glmark2/models/cube.3ds', '-o', folder + '/a.png', '--panel', '200x200', '--width',
             '200', '--quiet'], [os.path.join(build, 'benchmarks/empty_gl')], rounds)
        beyond = ours[0] - theirs[0]
        print(f'| start to exit, a cube 200 x 200; an empty Qt program with one context {theirs[0]:.2f} s, {theirs[1]:.0f} MB |'
              f' {ours[0]:.2f} s | | {beyond:.2f} s more | at most 0.25 s | {"reached" if beyond <= 0.25 else "missed"} |', flush=True)
        seconds, memory = measured([PEER, 'nothing'])
        print(f'| start to exit, empty window | | {seconds:.2f} s, {memory:.0f} MB | | | |', flush=True)
        for name, file in (('bunny.obj', model), ('1.1 M triangles, binary PLY', big)):
            ours, theirs = [], []
            for _ in range(rounds):
                ours.append(float(output_of([os.path.join(build, 'benchmarks/bench_import'), file])[0]))
                theirs.append(float(output_of([PEER, 'read', file])[0]))
            a, b = statistics.median(ours), statistics.median(theirs)
            row(f'reading {name}', a, b, a / b, 1.0, 's')
    print()
    print('| the pictures compared with VTK\'s | covered, tov | covered, VTK | mean difference of 255 | file, tov | file, VTK |')
    print('|---|---|---|---|---|---|')
    for name, ours, theirs, difference, size, other in compared:
        print(f'| {name} | {ours:.2f} % | {theirs:.2f} % | {difference:.1f} | {size:.1f} MB | {other:.1f} MB |')
    print(f'| the video, every tenth frame | {videos[0]:.2f} % | {videos[1]:.2f} % | | | |')


if len(sys.argv) < 4:
    sys.exit(__doc__)
main(*sys.argv[1:4], *[int(n) for n in sys.argv[4:5]], *sys.argv[5:6])
