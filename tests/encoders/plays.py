#!/usr/bin/env python3
"""Plays mp4 and webm in Chromium's <video> element, and checks with mediainfo: size, duration, a seek to the middle.

    plays.py BUILD_FOLDER SOURCE_FOLDER        exit status 77 (skipped) where these programs are not installed
"""
import functools
import http.server
import os
import queue
import shutil
import subprocess
import sys
import tempfile
import threading
import urllib.parse

# The complete file is fetched first: this small server does not support ranges, which seeking needs.
PAGE = """<video id=v muted></video><script>
const v = document.getElementById('v');
const say = text => fetch('/said?' + encodeURIComponent(text));
v.onerror = () => say('error ' + v.error.message);
v.onloadeddata = () => v.currentTime = 1.5;
v.onseeked = () => say('seeked ' + v.videoWidth + 'x' + v.videoHeight + ' ' + v.duration.toFixed(2) + ' at ' +
  v.currentTime.toFixed(2));
fetch('/%s').then(answer => answer.blob()).then(blob => v.src = URL.createObjectURL(blob));
</script>
"""


class Handler(http.server.SimpleHTTPRequestHandler):
    answers = queue.Queue()

    def do_GET(self):
        path, _, said = self.path.partition('?')
        if path == '/said':
            self.answers.put(urllib.parse.unquote(said))
            self.send_response(204)
            self.end_headers()
        elif path == '/page':
            page = (PAGE % said).encode()
            self.send_response(200)
            self.send_header('Content-Type', 'text/html')
            self.send_header('Content-Length', str(len(page)))
            self.end_headers()
            self.wfile.write(page)
        else:
            super().do_GET()

    def log_message(self, *arguments):
        pass


def played(folder, port, name):
    """The report of Chromium on the file."""
    browser = subprocess.Popen(
        ['chromium', '--headless', '--no-sandbox', '--disable-gpu', '--user-data-dir=' + folder + '/profile',
         '--disable-background-networking', '--no-first-run', f'http://127.0.0.1:{port}/page?{name}'],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        return Handler.answers.get(timeout=60)
    except queue.Empty:
        return 'nothing within a minute'
    finally:
        browser.terminate()
        browser.wait()


def main(build, source):
    for program in ('chromium', 'mediainfo'):
        if not shutil.which(program):
            print(f'skipped: {program} is not installed')
            return 77
    suffixes = ('mp4', 'hq.mp4', 'webm', 'alpha.webm')
    good = 0
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as folder:
        os.environ.update(TOV_SETTINGS=folder + '/settings.ini', HOME=folder, XDG_CONFIG_HOME=folder + '/config',
                          XDG_CACHE_HOME=folder + '/cache')
        server = http.server.ThreadingHTTPServer(('127.0.0.1', 0), functools.partial(Handler, directory=folder))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        for suffix in suffixes:
            name = 'clip.' + suffix
            subprocess.run([build + '/bin/tov', 'video', source + '/samples/crane.obj', '-o', folder + '/' + name, '--size',
                            '320x240', '--turntable', '75', '--quiet'], check=True)
            said = played(folder, server.server_port, name)
            media = subprocess.run(['mediainfo', folder + '/' + name], capture_output=True, text=True, check=True).stdout
            fields = {line.partition(':')[0].strip(): line.partition(':')[2].strip() for line in media.splitlines()}
            if said != 'seeked 320x240 3.00 at 1.50':
                print(f'FAILED: {suffix}: Chromium says: {said}')
            elif fields.get('Width') != '320 pixels' or not fields.get('Duration', '').startswith('3 s'):
                print(f'FAILED: {suffix}: mediainfo says:\n{media}')
            elif 'IsTruncated' in fields or 'conformance' in media.lower():
                print(f'FAILED: {suffix}: mediainfo warns:\n{media}')
            else:
                good += 1
        server.shutdown()
    print(f'{good} of {len(suffixes)}')
    return 0 if good == len(suffixes) else 1


sys.exit(main(*sys.argv[1:]))
