#!/usr/bin/env python3
"""Runs every command line of the documentation as it is shown, in a folder of its own.

    manualcommands.py TOV SOURCE-FOLDER [PAGE...]

Without pages, those of the whole documentation. A command is an indented line that starts with "tov " and names no placeholder. An indented block that starts with "# NAME"
is a file that later commands of that page use."""

import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

PAGES = ("README.md", "samples/README.md", "docs/five-minutes.md", "docs/command-line.md", "docs/looks.md",
         "docs/motion.md", "docs/formats.md", "docs/clusters.md", "docs/command-texts.md", "docs/troubleshooting.md")
PLACEHOLDER = re.compile(r"\b[A-Z]{4,}\b|\[|\|(?! file)")
SECONDS = 300


def blocks(text):
    """The indented blocks of a page, as lists of lines without the indent."""
    block = []
    for line in text.splitlines() + [""]:
        if line.startswith("    "):
            block.append(line[4:])
        elif block:
            yield block
            block = []


def is_command(line):
    return line.startswith("tov ") and not PLACEHOLDER.search(line)


def opens_window(line):
    """True for "tov FILE": nothing but a file follows the name of the program."""
    words = shlex.split(line)
    return len(words) == 2 and pathlib.Path(words[1]).suffix != ""


def outputs(line):
    """Files that a command names with -o, except names with placeholders; an empty list for calls that make one part of a video."""
    words = shlex.split(line)
    if "--part" in words or "--status" in words:
        return []
    names = [words[i + 1] for i, word in enumerate(words[:-1]) if word == "-o"]
    return [name for name in names if name != "-" and "{" not in name]


def run_page(page, folder, environment):
    """Runs the commands of a page; returns their number and the problems."""
    count, problems = 0, []
    for block in blocks(page.read_text()):
        if block[0].startswith("# "):
            (folder / block[0][2:].strip()).write_text("\n".join(block[1:]) + "\n")
            continue
        for line in filter(is_command, block):
            if opens_window(line):
                continue
            count += 1
            done = subprocess.run(["bash", "-o", "pipefail", "-c", line], cwd=folder, env=environment, timeout=SECONDS,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")
            missing = [name for name in outputs(line) if not (folder / name).exists()]
            if done.returncode != 0 or missing:
                problems.append("%s: %s\n  status %d, missing %s\n  %s"
                                % (page.name, line, done.returncode, missing, done.stdout.strip()))
    return count, problems


def main():
    program, source = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    chosen = sys.argv[3:]
    total, problems = 0, []
    with tempfile.TemporaryDirectory(prefix="tov-manual-") as name:
        environment = dict(os.environ, PATH="%s:%s" % (program.parent, os.environ["PATH"]), LC_ALL="C.UTF-8",
                           TOV_SETTINGS=os.path.join(name, "settings.ini"))
        for page in (page for page in PAGES if not chosen or page in chosen):
            folder = pathlib.Path(name) / page.replace("/", "-")
            folder.mkdir()
            (folder / "samples").symlink_to(source / "samples")
            count, found = run_page(source / page, folder, environment)
            print("%s: %d commands, %d problems" % (page, count, len(found)))
            total += count
            problems += found
    print("\n".join(problems))
    # Without commands this test would pass without testing anything.
    return 1 if problems or (not chosen and total < 20) else 0


sys.exit(main())
