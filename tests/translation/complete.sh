#!/usr/bin/env bash
# complete.sh LUPDATE SOURCE-FOLDER [LEAST]
# Fails when a text of the sources has no finished German translation, when a translation lost a placeholder, or when there
# are fewer than LEAST texts.
set -euo pipefail
lupdate=$1 source=$2 least=${3:-100}
copy=$(mktemp --suffix=.ts)
trap 'rm -f "$copy"' EXIT
cp "$source/app/translations/tov_de.ts" "$copy"
cd "$source"
"$lupdate" -no-obsolete -locations none -I . app kernel scene trajectory grab -ts "$copy" >/dev/null 2>&1
python3 - "$copy" "$source/app/translations/tov_de.ts" "$least" <<'PYTHON'
import re
import sys
import xml.etree.ElementTree as ElementTree

fresh = ElementTree.parse(sys.argv[1])
problems = []
count = 0
for context in fresh.getroot().findall('context'):
    name = context.find('name').text
    for message in context.findall('message'):
        count += 1
        text = message.find('source').text
        translation = message.find('translation')
        forms = [form.text for form in translation.findall('numerusform')] or [translation.text]
        if translation.get('type') == 'unfinished' or not all(forms):
            problems.append(f'{name}: not translated: {text!r} (ninja translations brings it into the file)')
            continue
        wanted = sorted(set(re.findall('%[0-9n]', text)))
        for form in forms:
            if sorted(set(re.findall('%[0-9n]', form))) != wanted:
                problems.append(f'{name}: other placeholders than {text!r}: {form!r}')
stored = {(c.find('name').text, m.find('source').text) for c in ElementTree.parse(sys.argv[2]).getroot().findall('context')
          for m in c.findall('message')}
known = {(c.find('name').text, m.find('source').text) for c in fresh.getroot().findall('context') for m in c.findall('message')}
problems += [f'{name}: no longer in the sources: {text!r}' for name, text in sorted(stored - known)]
print('\n'.join(problems))
print(f'{count - len(problems)} of {count}')
sys.exit(1 if problems or count < int(sys.argv[3]) else 0)
PYTHON
