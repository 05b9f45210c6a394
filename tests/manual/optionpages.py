#!/usr/bin/env python3
"""Compares the help, the manual page, the shell completions and the tables of the manual with the table of options.

    optionpages.py OPTION-PAGES TOV SOURCE-FOLDER PAGES-FOLDER

Completions are tried in the shells that are installed."""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

GENERATOR, TOV, SOURCE, PAGES = (pathlib.Path(argument).resolve() for argument in sys.argv[1:5])
VERBS = ("image", "video", "run", "info", "commands", "encoders", "modules")
# A row of the tables: option, commands, meaning.
ROW = re.compile(r"^\| `(?:-\w, )?--([\w-]+)[^`]*` \| ([\w, ]+) \|", re.M)

problems = []


def expect(condition, text):
    if not condition:
        problems.append(text)


def output(*command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60, **options)
    expect(done.returncode == 0, f"{command}: status {done.returncode}\n{done.stdout}")
    return done.stdout


def option_table():
    """The verbs of each option."""
    table = {}
    for name, verbs in ROW.findall(output(GENERATOR, "tables")):
        table[name] = set(VERBS) if verbs == "all" else set(verbs.split(", "))
    return table


def check_help(table):
    for verb in VERBS:
        shown = set(re.findall(r"^  (?:-\w, )?--([\w-]+)", output(TOV, verb, "--help", env={"LC_ALL": "C.UTF-8"}), re.M))
        wanted = {name for name, verbs in table.items() if verb in verbs}
        expect(shown == wanted, f"tov {verb} --help: differs in {sorted(shown ^ wanted)}")


def check_manual_page(table):
    text = (PAGES / "tov.1").read_text()
    shown = set(re.findall(r"^\\fB(?:-\w, )?--([\w-]+)", text.replace("\\-", "-"), re.M))
    expect(shown == set(table), f"tov.1: differs in {sorted(shown ^ set(table))}")
    if shutil.which("man"):
        warnings = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", PAGES / "tov.1"], stdout=subprocess.DEVNULL,
                                  stderr=subprocess.PIPE, text=True, env={"MANROFFSEQ": "", "MANWIDTH": "80", "LC_ALL": "C.UTF-8",
                                                                          "PATH": "/usr/bin:/bin"})
        expect(warnings.stderr == "", f"tov.1: {warnings.stderr}")


def complete_in_bash(line, folder):
    words = line.split(" ")
    script = (f"source {PAGES}/tov.bash; COMP_WORDS=({' '.join(repr(word) for word in words)}); "
              f"COMP_CWORD={len(words) - 1}; compopt() {{ :; }}; _tov; printf '%s\\n' \"${{COMPREPLY[@]}}\"")
    return set(output("bash", "-c", script, cwd=folder).split("\n")) - {""}


def complete_in_fish(line, folder):
    script = f"source {PAGES}/tov.fish; complete -C {line!r}"
    lines = output("fish", "--no-config", "-c", script, cwd=folder, env={"HOME": folder, "PATH": "/usr/bin:/bin"})
    return {row.split("\t")[0] for row in lines.splitlines()}


def check_completion(complete, table):
    with tempfile.TemporaryDirectory() as folder:
        (pathlib.Path(folder) / "a model.obj").touch()
        name = complete.__name__
        expect(set(VERBS) <= complete("tov ", folder), f"{name}: verbs")
        for verb in VERBS:
            wanted = {f"--{option}" for option, verbs in table.items() if verb in verbs}
            found = {word for word in complete(f"tov {verb} --", folder) if word.startswith("--")}
            expect(found == wanted, f"{name}: tov {verb}: differs in {sorted(found ^ wanted)}")
        expect({"iso", "top"} <= complete("tov image a.obj --view ", folder), f"{name}: values of --view")
        expect({"studio"} == complete("tov image a.obj --light st", folder), f"{name}: values of --light")
        found = {word.replace("\\", "") for word in complete("tov image a", folder)}
        expect("a model.obj" in found, f"{name}: files: {found}")
        expect(not complete("tov image --zoom ", folder) & {"a model.obj"}, f"{name}: no file is a zoom factor")


def check_zsh(table):
    """zsh completes only in a terminal, so the script is parsed and its options are compared."""
    text = (PAGES / "_tov").read_text()
    output("zsh", "-n", str(PAGES / "_tov"))
    for verb in VERBS:
        body = re.search(rf"^    {verb}\) (.*?);;$", text, re.M | re.S)[1]
        found = set(re.findall(r"'\*--([\w-]+)=?\[", body))
        wanted = {name for name, verbs in table.items() if verb in verbs}
        expect(found == wanted, f"zsh: tov {verb}: differs in {sorted(found ^ wanted)}")


def main():
    table = option_table()
    expect(len(table) > 40, f"only {len(table)} options")
    check_help(table)
    check_manual_page(table)
    check_completion(complete_in_bash, table)
    if shutil.which("fish"):
        check_completion(complete_in_fish, table)
    if shutil.which("zsh"):
        check_zsh(table)
    output(SOURCE / "scripts/option-tables", "--check", GENERATOR)
    print("\n".join(problems))
    print(f"{len(table)} options, {len(problems)} problems")
    return 1 if problems else 0


sys.exit(main())
