#!/usr/bin/env bash
# Good plug-ins pass every check; for each bad one the mistake is reported.
set -uo pipefail
build=$1
count=0 good=0
# In a build with the address sanitizer crashes are still crashes.
export ASAN_OPTIONS="${ASAN_OPTIONS:-}:handle_segv=0"
expect() { # STATUS TEXT FILE [CHOSEN FORMAT LINES]
  count=$((count + 1))
  local status=$1 text=$2 output actual
  output=$("$build/bin/tov" encoders --check "$3" 2>&1)
  actual=$?
  if [ "$actual" -eq "$status" ] && grep -F -- "$text" <<<"$output" >/dev/null; then
    good=$((good + 1))
  else
    printf 'FAILED: %s: status %s, wanted %s with "%s"; it said:\n%s\n' "$3" "$actual" "$status" "$text" "$(grep -v '^ok' <<<"$output" | head -n 5)"
  fi
}
expect 0 "25 of 25 checks passed" "$build/bin/plugins/video/frames.so"
expect 0 "352 of 352 checks passed" "$build/bin/plugins/video/ffmpeg.so"
expect 1 'it exports no function "doRegister"' "$build/tests/zoo/noregister.so"
expect 1 "doRegister returned false" "$build/tests/zoo/refuses.so"
expect 1 "an exception left doRegister" "$build/tests/zoo/throws.so"
expect 1 "the same file extension twice" "$build/tests/zoo/twice.so"
expect 1 "it was built for version 0 of the encoder interface" "$build/tests/zoo/otherabi.so"
expect 1 "probeVideo found 1 frames of 3" "$build/tests/zoo/wrongfunctions.so"
expect 1 "retimeVideo does not return 0 for a file that holds no video" "$build/tests/zoo/wrongfunctions.so"
expect 1 "joinVideos wrote a file although a part was incomplete" "$build/tests/zoo/wrongfunctions.so"
expect 1 'listAlphaFormats returns "absent", which doRegister has not registered' "$build/tests/zoo/wronglists.so"
expect 1 "an exception left listStreamFormats" "$build/tests/zoo/wronglists.so"
expect 1 "libabsent.so" "$build/tests/zoo/needsabsent.so"
expect 1 "raw: a full disk: encodeChunk returned false" "$build/tests/zoo/rawcopy.so"
expect 2 "no such file" "$build/tests/zoo/nothing.so"

# Every mistake of one plug-in, from one run.
export TOV_CHECK_LIMIT=1
output=$("$build/bin/tov" encoders --check "$build/tests/zoo/misbehaves.so" 2>&1)
while IFS='|' read -r format text; do
  count=$((count + 1))
  if grep -F "FAILED  $format: " <<<"$output" | grep -F -- "$text" >/dev/null; then
    good=$((good + 1))
  else
    printf 'FAILED: %s: nothing says "%s"; it said:\n%s\n' "$format" "$text" "$(grep -F " $format: " <<<"$output" | head -n 3)"
  fi
done <<'ROWS'
refuses|initEncoding refuses
fails|encodeChunk returned false
throwsatstart|an exception left a hook
throwsatchunk|an exception left a hook
throwsatend|an exception left a hook
noencoder|the factory returned no encoder
overreads|it crashes
crashes|it crashes
exits|it ended the process with status 7
hangs|it does not return
writesnothing|nothing was written
keepsthefile|the file is there after an abort
complainsoften|one fault was logged more than once
ROWS
echo "$good of $count"
[ "$good" -eq "$count" ]
