#!/usr/bin/python3
"""What it costs to install and start tov, f3d and VTK for Python: a table in Markdown.

    footprint.py TOV PACKAGE MODEL [ROUNDS]

Download and disk: everything that apt would install on a system without any package, without recommended packages. Start: a
whole process that makes a picture of MODEL with 200 x 200 pixels; medians, programs alternating. Needs a display for the peers.
"""
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))


def installed(package, folder):
    """Megabytes to download and on the disk."""
    status = os.path.join(folder, 'status')
    open(status, 'w').close()
    # An empty status file represents a system without packages; with an empty archive folder nothing counts as downloaded.
    archives = os.path.join(folder, 'archives')
    os.makedirs(os.path.join(archives, 'partial'), exist_ok=True)
    command = ['apt-get', '-o', f'Dir::State::status={status}', '-o', f'Dir::Cache::archives={archives}', '-o',
               'Debug::NoLocking=1', '--assume-no', '--no-install-recommends', 'install', package]
    text = subprocess.run(command, capture_output=True, text=True, env=dict(os.environ, LC_ALL='C')).stdout
    download = re.search(r'Need to get (?:\S+ [kM]B/)?(\S+) MB', text)
    disk = re.search(r'After this operation, (\S+) MB', text)
    if not download or not disk:
        sys.exit(f'footprint.py: apt-get cannot simulate the installation of {package}: {text.strip()[-200:]}')
    return [float(match[1].replace(',', '')) for match in (download, disk)]


def measured(command):
    """Seconds and peak memory (MB) of a whole process."""
    start = time.perf_counter()
    done = subprocess.run(['/usr/bin/time', '-f', 'peak=%M'] + command, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f'footprint.py: {command[0]}: status {done.returncode}: {done.stderr.strip()[-200:]}')
    return time.perf_counter() - start, int(re.findall(r'peak=(\d+)', done.stderr)[-1]) * 1024 / 1e6


def main():
    if len(sys.argv) not in (4, 5):
        sys.exit(__doc__)
    tov, package, model = (os.path.abspath(name) for name in sys.argv[1:4])
    rounds = int(sys.argv[4]) if len(sys.argv) == 5 else 5
    with tempfile.TemporaryDirectory() as folder:
        picture = folder + '/picture.png'
        programs = {
            'tov': (package, [tov, 'image', model, '-o', picture, '--size', '200x200', '--quiet']),
            'f3d': ('f3d', ['f3d', '--dry-run', '--resolution', '200,200', '--output', picture, model]),
            'VTK for Python': ('python3-vtk9', [os.path.join(HERE, 'peer_vtk.py'), 'picture', model, picture, '200', '200', '0', '0',
                                                '0', '5', 'facets', '1']),
        }
        runs = {name: [] for name in programs}
        for _ in range(rounds):
            for name, (_, command) in programs.items():
                runs[name].append(measured(command))
                if os.path.getsize(picture) == 0:
                    sys.exit(f'footprint.py: {name} wrote an empty picture')
                os.unlink(picture)
        print('| program | download | on the disk | start to exit, a picture 200 x 200 | peak memory |')
        print('|---|---|---|---|---|')
        for name, (source, _) in programs.items():
            download, disk = installed(source, folder)
            seconds, memory = (statistics.median(values) for values in zip(*runs[name]))
            print(f'| {name} | {download:.0f} MB | {disk:.0f} MB | {seconds:.2f} s | {memory:.0f} MB |')


main()
