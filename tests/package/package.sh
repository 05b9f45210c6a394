#!/usr/bin/env bash
# Installs the packages with apt in a minimal Debian system and uses them there as an ordinary user without a home folder
# and without a display; upgrades and removes them; builds plug-ins against the installed tov-dev.
#
#   package.sh BUILD SOURCE
#
# Prints the time of each step.
set -uo pipefail
build=$(realpath "$1") source=$(realpath "$2")
# The release of this machine: packages depend on the libraries that they were built with.
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
skip() { echo "skipped: $*"; exit 77; }
[ "$(id -u)" -eq 0 ] || skip "a system of its own needs root"
for program in mmdebstrap lintian unshare setpriv ffprobe; do
  command -v "$program" >/dev/null || skip "$program is not installed"
done
# All mounts below are in a namespace that ends with this process.
[ -n "${TOV_PACKAGE_TEST:-}" ] || { unshare --mount true 2>/dev/null || skip "no mount namespace can be made"; TOV_PACKAGE_TEST=1 exec unshare --mount "$0" "$@"; }

work=$(mktemp -d "$build/package-test.XXXXXX")
root=$work/root
trap 'umount -R "$root/proc" "$root/dev" 2>/dev/null; rm -rf --one-file-system "$work"' EXIT
log=$work/log
count=0 good=0 started=$SECONDS
step() { printf '%4d s  %s\n' $((SECONDS - started)) "$*"; }
check() { # WHAT COMMAND...
  local what=$1
  shift
  count=$((count + 1))
  if "$@" >"$log" 2>&1; then
    good=$((good + 1))
  else
    echo "FAILED: $what"
    tail -n 15 "$log"
  fi
}
in_root() { env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 chroot "$root" "$@"; }
# A user whose only writable folder is /tmp; HOME can be set with the variable `home`.
home=/nonexistent
as_user() {
  env -i PATH=/usr/bin:/bin HOME=$home LC_ALL=C.UTF-8 "$(command -v chroot)" --userspec=4242:4242 --groups= "$root" "$@"
}
user_shell() { as_user bash -c "$1"; }
contains() { # TEXT COMMAND...
  local text=$1
  shift
  "$@" 2>&1 | tee "$work/output" | grep -F -- "$text" >/dev/null || { cat "$work/output"; return 1; }
}
apt_install() { in_root apt-get install -y --no-install-recommends -o Dpkg::Options::=--force-unsafe-io "$@"; }

# The packages, twice from the same build: the files are equal.
cd "$source" || exit 1
check "the packages are made without remarks of lintian" env TOV_BUILD="$build" scripts/package --keep-build
check "the packages are made again" env TOV_BUILD="$build" scripts/package --keep-build --no-lintian "$work/second"
for file in "$build"/packages/*.deb; do
  check "$(basename "$file") is the same file each time" cmp "$file" "$work/second/$(basename "$file")"
done
step "packages"

sources=/etc/apt/sources.list.d/debian.sources
[ -f "$sources" ] || sources=/etc/apt/sources.list
if ! mmdebstrap --mode=root --variant=apt "$suite" "$root" "$sources" >"$log" 2>&1; then
  tail -n 5 "$log"
  skip "no minimal system of $suite can be made; is a mirror reachable?"
fi
cp /etc/resolv.conf "$root/etc/"
mount -t proc proc "$root/proc" && mount --rbind /dev "$root/dev" && mount --make-rslave "$root/dev" || exit 1
in_root apt-get update -qq >"$log" 2>&1 || skip "the mirror is not reachable"
# The tools that the checks below use.
check "man-db and bash-completion" apt_install man-db bash-completion
step "minimal system"

# The version before: the same package with a lower number.
version=$(dpkg-deb -f "$build"/packages/tov_*.deb Version)
dpkg-deb -R "$build"/packages/tov_*.deb "$work/older" && sed -i "s/^Version: .*/Version: $version~older/" "$work/older/DEBIAN/control" &&
  dpkg-deb -b "$work/older" "$root/root/older.deb" >/dev/null && cp "$build"/packages/*.deb "$root/root/" || exit 1
check "apt installs the program" apt_install "/root/older.deb"
sed -n 's/^Need to get/  download:/p; s/^After this operation,/  disk:/p' "$log"
step "program installed"

models=/usr/share/doc/tov/samples
check "the version" contains "tov ${version%%-*}" as_user tov --version
command=$(sed -n 's/^    tov /tov /p' docs/install.md)
check "the command of the installation page" contains "-o" echo "$command"
check "a picture" user_shell "cd /tmp && $command"
check "its size" contains "1920,1080" ffprobe -v error -show_entries stream=width,height -of csv=p=0 "$root/tmp/crane.png"
step "first picture"
check "a model of the importer" as_user tov image $models/glass.gltf -o /tmp/b.png --size 320x240
check "pictures in TIFF and WEBP" user_shell "tov image $models/crane.obj -o /tmp/a.tiff && tov image $models/crane.obj -o /tmp/a.webp"
check "a video" as_user tov video $models/crane.obj -o /tmp/a.mp4 --size 160x120 --turntable 5
check "its frames" contains "nb_read_frames=5" ffprobe -v error -count_frames -show_entries stream=nb_read_frames "$root/tmp/a.mp4"
check "what a model contains" contains "lift" as_user tov info $models/arm.gltf
check "no module or plug-in has a problem" user_shell '! tov modules 2>&1 | grep Problem'
check "the manual page" contains "make pictures and videos" as_user man tov
check "completion in bash" contains "--turntable" user_shell \
  'source /usr/share/bash-completion/bash_completion; _completion_loader tov; COMP_WORDS=(tov video --turn) COMP_CWORD=2 _tov; echo "${COMPREPLY[@]}"; complete -F _tov tov; COMP_WORDS=(tov video --turn) COMP_CWORD=2; _tov; echo "${COMPREPLY[@]}"'
check "a thumbnail" as_user /usr/lib/tov/libexec/tov-thumbnail $models/glass.gltf /tmp/thumbnail 128
check "its size" contains "128,128" ffprobe -v error -f png_pipe -show_entries stream=width,height -of csv=p=0 "$root/tmp/thumbnail"
in_root bash -c 'truncate -s 101M /tmp/large.obj; chmod 644 /tmp/large.obj'
check "no thumbnail of a large file" user_shell '! /usr/lib/tov/libexec/tov-thumbnail /tmp/large.obj /tmp/none 128 && ! test -e /tmp/none'
step "program used"

home=/tmp/home
user_shell 'mkdir -p ~/.config/tov && printf "[settings]\ngrabvideofps=12\n" >~/.config/tov/tov.ini'
check "apt upgrades the program" apt_install "/root/tov_${version}_amd64.deb"
check "the new version is installed" contains "$version" in_root dpkg-query -W -f '${Version}' tov
check "settings are kept" user_shell 'test "$(cat ~/.config/tov/tov.ini)" = "$(printf "[settings]\ngrabvideofps=12")"'
check "a video with these settings" as_user tov video $models/crane.obj -o /tmp/b.mp4 --size 160x120 --turntable 6
check "its rate" contains "r_frame_rate=12/1" ffprobe -v error -show_entries stream=r_frame_rate "$root/tmp/b.mp4"
step "upgraded"

check "apt removes the program" in_root apt-get purge -y --autoremove tov
rm "$root"/root/*.deb
left() { find "$root" -xdev -path "$root/tmp" -prune -o -regextype egrep -regex '.*/(tov|_tov|libtov|org\.tov)[^/]*' -print; }
check "nothing of it is left" bash -c "echo '$(left)'; test -z '$(left)'"
step "removed"

cp "$build"/packages/*.deb "$root/root/"
check "apt installs tov-dev" apt_install "/root/tov_${version}_amd64.deb" "/root/tov-dev_${version}_amd64.deb"
sed -n 's/^Need to get/  download:/p; s/^After this operation,/  disk:/p' "$log"
for plugin in template:y4m examples:anymap; do
  name=${plugin#*:}
  check "${plugin%:*} is built" user_shell "cmake -S /usr/share/tov/${plugin%:*} -B /tmp/$name && cmake --build /tmp/$name"
  check "${plugin%:*} passes the checker" contains "checks passed" as_user tov encoders --check "/tmp/$name/$name.so"
done
check "a plug-in is installed" in_root cmake --install /tmp/y4m
check "a recording in its format" as_user tov video $models/crane.obj -o /tmp/a.y4m --size 64x48 --turntable 4
step "plug-ins"

echo "$good of $count"
[ "$good" -eq "$count" ]
