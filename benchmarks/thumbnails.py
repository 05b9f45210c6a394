#!/usr/bin/python3
"""Thumbnails of many models: tov in one process, tov in one process per model, and f3d in one process per model. Prints a
table in Markdown.

    thumbnails.py BUILD_FOLDER [COUNT [SIZE]]        200 models, 256x256
"""
import math
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time

RINGS, SECTORS = 50, 80  # 8,000 triangles


def write_model(name, number):
    """A sphere with bumps that differ from model to model."""
    lines = []
    for ring in range(RINGS + 1):
        for sector in range(SECTORS):
            polar, turn = math.pi * ring / RINGS, 2 * math.pi * sector / SECTORS
            radius = 1 + 0.2 * math.sin((number % 9 + 1) * polar) * math.cos((number % 7 + 1) * turn)
            lines.append(f'v {radius * math.sin(polar) * math.cos(turn):.6f} {radius * math.cos(polar):.6f} '
                         f'{radius * math.sin(polar) * math.sin(turn):.6f}')
    for ring in range(RINGS):
        for sector in range(SECTORS):
            a, b = ring * SECTORS + sector + 1, ring * SECTORS + (sector + 1) % SECTORS + 1
            lines += [f'f {a} {b} {b + SECTORS}', f'f {a} {b + SECTORS} {a + SECTORS}']
    with open(name, 'w', encoding='ascii') as file:
        file.write('\n'.join(lines) + '\n')


def run(commands):
    """Runs the commands one after the other. Returns the seconds of all, and the peak memory of one process in MB."""
    peak = 0
    start = time.perf_counter()
    for command in commands:
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f'thumbnails.py: {" ".join(command[:4])} ...: status {process.returncode}')
        peak = max(peak, usage.ru_maxrss * 1024 / 1e6)
    return time.perf_counter() - start, peak


def main():
    tov = sys.argv[1] + '/bin/tov'
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 200
    size = sys.argv[3] if len(sys.argv) > 3 else '256x256'
    folder = tempfile.mkdtemp(prefix='tov-thumbnails-')
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    try:
        models = [f'{folder}/{number:03}.obj' for number in range(count)]
        for number, name in enumerate(models):
            write_model(name, number)
        rows = [('tov, one process', [[tov, 'image', *models, '--each', '-o', folder + '/{name}.png', '--size', size, '-q']]),
                ('tov, one process per model', [[tov, 'image', name, '-o', name + '.png', '--size', size, '-q']
                                                for name in models])]
        if shutil.which('f3d') and os.environ.get('DISPLAY'):
            resolution = size.replace('x', ',')
            rows.append(('f3d, one process per model', [['f3d', name, '--output', name + '.f3d.png', '--dry-run',
                                                         f'--resolution={resolution}'] for name in models]))
        print(f'{count} pictures of {size} pixels, a model of {2 * RINGS * SECTORS:,} triangles each.\n')
        print('| | seconds | pictures per second | memory of a process (MB) |')
        print('|---|---|---|---|')
        for what, commands in rows:
            seconds, peak = run(commands)
            print(f'| {what} | {seconds:.1f} | {count / seconds:.1f} | {peak:.0f} |', flush=True)
        pictures = [name for name in os.listdir(folder) if name.endswith('.png')]
        if len(pictures) != count * len(rows):
            sys.exit(f'thumbnails.py: {len(pictures)} pictures instead of {count * len(rows)}')
    finally:
        shutil.rmtree(folder, ignore_errors=True)


main()
