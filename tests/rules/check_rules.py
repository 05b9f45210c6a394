#!/usr/bin/env python3
"""Plants one violation of each rule of scripts/check in a small tree and verifies that it is reported, and that the tree
without it passes.

usage: check_rules.py SOURCE"""

import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(sys.argv[1]).resolve()
TRANSLATION = """<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>Dialog</name>
    <message>
        <source>View</source>
        <translation>Ansicht</translation>
    </message>
</context>
</TS>
"""
CLEAN = {
    ".clang-format": (SOURCE / ".clang-format").read_text(),
    ".clang-tidy": (SOURCE / ".clang-tidy").read_text(),
    "tests/rules/phrases.txt": (SOURCE / "tests/rules/phrases.txt").read_text(),
    "tests/rules/messages.txt": "# Kept.\nThis text stays!\n",
    "tests/rules/spelling.txt": "",
    "kernel/value.h": "#pragma once\n\n/// The answer.\nint value();\n",
    "kernel/text.h": '#pragma once\n\n/// Kept.\nconstexpr const char* Text = "This text stays!";\n',
    "kernel/value.cpp": '#include "kernel/value.h"\n\nint value()\n{\n    return 42;\n}\n',
    "README.md": "# Tree\n\nSee [the source](kernel/value.cpp) and `--view top`.\n\n    tov image a.obj -o a.png\n",
    "app/translations/tov_de.ts": TRANSLATION,
    "app/viewer/dialog.cpp": '#include "app/viewer/dialog.h"\n\nQString title()\n{\n    return Dialog::tr("View");\n}\n',
    **{f"{folder}/empty.h": "#pragma once\n" for folder in ("grab", "scene", "trajectory")},
    "build/bin/tov": '#!/bin/sh\n[ $# = 4 ] && touch "$4"\n',
    "app/cli/options/optiontable.cpp": 'const Option options[] = {\n    {"view", 0, "NAME"},\n};\n',
}
LONG = "int grow(int start)\n{\n" + "    ++start;\n" * 80 + "    return start;\n}\n"
NESTED = ("int nest(int a)\n{\n" + "".join("    " * (depth + 1) + f"if (a > {depth})\n" for depth in range(9)) + "    " * 10 +
          "++a;\n" + "    return a;\n}\n")
MUTANT = ("Preset: release\nTest: tst_value\nFilter: *\n\n--- a/kernel/value.cpp\n+++ b/kernel/value.cpp\n@@ -3,4 +3,4 @@\n"
          " int value()\n {\n-    return 41;\n+    return 0;\n }\n")

# Rule; the file that violates it; its content.
VIOLATIONS = [
    ("format", "kernel/value.cpp", "int  value( ) { return 42; }\n"),
    ("length", "kernel/long.cpp", LONG),
    ("docs", "kernel/value.h", "#pragma once\n\n/// A value.\nclass Value\n{\npublic:\n    int get() const;\n};\n"),
    ("complexity", "kernel/value.cpp", '#include "kernel/value.h"\n\n' + NESTED),
    ("cycles", "kernel/value.h", '#pragma once\n\n#include "kernel/other.h"\n'),
    ("language", "kernel/value.cpp", "// Looked up anew each time.\n"),
    ("language", "kernel/value.cpp", 'const char* text = "the width is no number";\n'),
    ("language", "README.md", "The road of a frame.\n"),
    ("language", "scripts/tool", "#!/bin/bash\n# Prints the results, one " "a line.\n"),
    ("messages", "kernel/value.cpp", 'const char* text = "could " "not open the file";\n'),
    ("messages", "kernel/value.cpp", 'const char* text = "cannot open the file!";\n'),
    ("messages", "kernel/value.cpp", 'const char* text = "please open the file";\n'),
    ("messages", "kernel/value.cpp", 'const char* text = "cannot open the file.";\n'),
    ("messages", "app/viewer/window.cpp", 'const char* text = "Sorry, there is no view";\n'),
    ("arguments", "kernel/value.cpp", 'auto text = tr("%1: %2").arg(fileName).arg(reason);\n'),
    ("spelling", "kernel/value.cpp", "// Rec" "ieves the value.\n"),
    ("links", "README.md", "See [the manual](docs/manual.md).\n"),
    ("links", "README.md", "# Tree\n\nSee [below](#leaves).\n"),
    ("options", "README.md", "Use `--views top`.\n"),
    ("options", "README.md", "# Tree\n\n    tov image a.obj --veiw top\n"),
    ("translation", "app/viewer/window.cpp", 'QString text = Dialog::tr("Not translated");\n'),
    ("commands", "README.md", "# Tree\n\n    tov image a.obj\n"),
    ("mutants", "tests/mutants/wrong-answer.patch", MUTANT),
]


def make_tree(root, changed):
    for name, text in {**CLEAN, "kernel/other.h": '#pragma once\n\n#include "kernel/third.h"\n',
                       "kernel/third.h": "#pragma once\n", **changed}.items():
        path = root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        path.chmod(0o755 if name == "build/bin/tov" else 0o644)
    (root / "scripts").mkdir(exist_ok=True)
    shutil.copy(SOURCE / "scripts/mutants", root / "scripts/mutants")
    (root / "tests/mutants").mkdir(exist_ok=True)
    commands = [{"directory": str(root), "file": f"{root}/kernel/value.cpp", "command": f"g++ -I{root} -c {root}/kernel/value.cpp"}]
    (root / "build/compile_commands.json").write_text(json.dumps(commands))


def problems(rule, changed):
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder).resolve()
        make_tree(root, changed)
        result = subprocess.run([str(SOURCE / "scripts/check"), "--all", "--rule", rule, "--root", str(root)],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return result.returncode, result.stdout.strip()


def main():
    passed = failed = 0
    cases = [(rule, {}, False) for rule in dict.fromkeys(rule for rule, _, _ in VIOLATIONS)]
    cases += [(rule, {name: text}, True) for rule, name, text in VIOLATIONS]
    for rule, changed, expected in cases:
        if "kernel/value.h" in changed:
            changed["kernel/third.h"] = '#pragma once\n\n#include "kernel/value.h"\n'
        status, output = problems(rule, changed)
        reported = status == 1 and output.startswith(f"{rule}: ")
        if reported == expected and status in (0, 1):
            passed += 1
        else:
            failed += 1
            print(f"FAILED: {rule} {'violated in ' + ', '.join(changed) if expected else 'kept'}: status {status}\n{output}")
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
