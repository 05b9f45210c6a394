#!/usr/bin/env bash
# Installs the build tree into a folder that is then moved, and tests the program, the desktop files, the kit for plug-ins,
# and the link options of every library there.
set -uo pipefail
cmake=$1 build=$2 source=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
count=0 good=0
check() { # WHAT COMMAND...
  count=$((count + 1))
  local what=$1 output
  shift
  if output=$("$@" 2>&1); then
    good=$((good + 1))
  else
    echo "FAILED: $what"
    printf '%s\n' "$output" | head -n 20
  fi
}
contains() { # TEXT COMMAND...
  local text=$1
  shift
  # Without -q: a reader that stops early would also end the writer.
  "$@" 2>&1 | grep -F -- "$text" >/dev/null
}

check "installing" "$cmake" --install "$build" --prefix "$folder/first"
mv "$folder/first" "$folder/moved place"
prefix="$folder/moved place"
export TOV_SETTINGS="$folder/settings.ini"
unset DISPLAY WAYLAND_DISPLAY

check "version" contains "tov 0." "$prefix/bin/tov" --version
check "modules are found" contains "Grab" "$prefix/bin/tov" modules
check "encoders are found" contains "mp4" "$prefix/bin/tov" encoders
check "encoders with folders of their own are found" contains "frames" "$prefix/bin/tov" encoders
check "a picture" "$prefix/bin/tov" image "$source/samples/crane.obj" -o "$folder/a.png" --width 200
check "the picture's size" contains "200 x" file "$folder/a.png"
check "a video" "$prefix/bin/tov" video "$source/samples/crane.obj" -o "$folder/a.mp4" --size 160x120 --turntable 5
check "the video's frames" contains "nb_read_frames=5" ffprobe -v error -count_frames -show_entries stream=nb_read_frames \
  "$folder/a.mp4"

check "desktop file" desktop-file-validate "$prefix/share/applications/tov.desktop"
check "the icon of the desktop file exists" test -s "$prefix/share/icons/hicolor/scalable/apps/tov.svg"
mkdir -p "$folder/data/mime/packages"
cp "$prefix/share/mime/packages/tov.xml" "$folder/data/mime/packages/"
check "MIME types" update-mime-database "$folder/data/mime"
for type in application/x-tov-ply application/x-tov-trajectory application/x-tov-scene; do
  check "MIME type $type is in the desktop file" grep -q "$type" "$prefix/share/applications/tov.desktop"
  check "MIME type $type is declared" test -s "$folder/data/mime/$type.xml"
done

# The kit for plug-ins, from outside the source tree.
check "the template is configured" "$cmake" -S "$prefix/share/tov/template" -B "$folder/plugin" -G Ninja \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix"
check "the template is built" "$cmake" --build "$folder/plugin"
check "the template passes the checker" contains "25 of 25 checks passed" "$prefix/bin/tov" encoders --check \
  "$folder/plugin/y4m.so"
check "the template is installed" "$cmake" --install "$folder/plugin"
check "the program knows the new format" contains "y4m" "$prefix/bin/tov" encoders
check "the program lists the plug-in" contains "Frames without compression" "$prefix/bin/tov" modules
check "a recording in the new format" "$prefix/bin/tov" video "$source/samples/crane.obj" -o "$folder/a.y4m" --size 64x48 \
  --turntable 4
check "its frames" contains "nb_read_frames=4" ffprobe -v error -count_frames -show_entries \
  stream=nb_read_frames "$folder/a.y4m"

# The guide's example, built in the same way.
check "the example is configured" "$cmake" -S "$prefix/share/tov/examples" -B "$folder/example" -G Ninja \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix"
check "the example is built" "$cmake" --build "$folder/example"
check "the example passes the checker" contains "49 of 49 checks passed" "$prefix/bin/tov" encoders --check \
  "$folder/example/anymap.so"
check "the example is installed" "$cmake" --install "$folder/example"
check "the program knows the example's formats" contains "Portable pixmaps with transparency" "$prefix/bin/tov" encoders
check "a recording as ppm" "$prefix/bin/tov" video "$source/samples/crane.obj" -o "$folder/a.ppm" --size 64x48 --turntable 4
# Readers take a file with this ending for a single picture, so its frames are not counted.
check "a recording as pam" "$prefix/bin/tov" video "$source/samples/crane.obj" -o "$folder/a.pam" --size 64x48 --turntable 4
check "the pixmaps' size" test "$(stat -c %s "$folder/a.ppm")" -eq $((4 * (13 + 64 * 48 * 3)))
check "the pixmaps are read" contains "nb_read_frames=4" ffprobe -v error -f ppm_pipe -count_frames -show_entries \
  stream=nb_read_frames "$folder/a.ppm"
check "the pixmaps with transparency are read" contains "pix_fmt=rgba" ffprobe -v error -f pam_pipe -show_entries \
  stream=pix_fmt "$folder/a.pam"

# Link options: search paths relative to the file only, all symbols resolved at start, nothing both writable and executable,
# random load addresses, a guarded stack.
only_origin() {
  local path
  path=$(readelf -dW "$1" | sed -n 's/.*(\(RUNPATH\|RPATH\)).*\[\(.*\)\]/\2/p')
  [ -z "$path" ] || ! tr ':' '\n' <<<"$path" | grep -qv '^\$ORIGIN\(/\|$\)'
}
all_now() { readelf -dW "$1" | grep 'BIND_NOW\|FLAGS_1.*NOW' >/dev/null; }
relro() { readelf -lW "$1" | grep -q GNU_RELRO; }
plain_stack() { readelf -lW "$1" | grep GNU_STACK | grep ' RW ' >/dev/null; }
movable() { readelf -hW "$1" | grep 'Type: *DYN' >/dev/null; }
guarded() { readelf -sW --dyn-syms "$1" | grep '__stack_chk_fail' >/dev/null; }
# Copies into buffers of known size are checked. Sanitizers have their own checks.
for name in bin/tov lib/libtovkernel.so lib/libtovcoders.so; do
  nm -D --undefined-only "$prefix/lib/tov/$name" | grep '__[at]san_init' >/dev/null && continue
  check "$name: buffers checked" contains "_chk@" nm -D --undefined-only "$prefix/lib/tov/$name"
done
files=0
while IFS= read -r -d '' file; do
  head -c 4 "$file" | grep -q ELF || continue
  files=$((files + 1))
  name=${file#"$prefix/"}
  check "$name: search path" only_origin "$file"
  check "$name: bound at start" all_now "$file"
  check "$name: relocations read-only" relro "$file"
  check "$name: stack not executable" plain_stack "$file"
  check "$name: position independent" movable "$file"
  check "$name: stack guarded" guarded "$file"
  check "$name: not writable by others" test -z "$(find "$file" -perm /022)"
done < <(find "$prefix" -type f ! -name y4m.so ! -name anymap.so -print0)
check "at least 8 files were checked" test "$files" -ge 8

echo "$good of $count"
[ "$good" -eq "$count" ]
