#!/usr/bin/env bash
# Compares the PSNR of recordings with that of the ffmpeg program, with the same codec, preset, bit rate and frames.
set -euo pipefail
tov=$1 model=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export TOV_SETTINGS=$folder/settings.ini
common=(--size 640x360 --turntable 100 --bitrate 1200 --background white --quiet)
# Formats without loss keep the transparency; the others show the background.
"$tov" video "$model" -o "$folder/exact.lossless.mkv" "${common[@]}"
ffmpeg -v error -f lavfi -i color=white:size=640x360:rate=25 -i "$folder/exact.lossless.mkv" \
  -filter_complex "[0:v]format=gbrp[a];[a][1:v]overlay=format=gbrp:shortest=1" -c:v ffv1 -pix_fmt bgr0 "$folder/reference.lossless.mkv"
psnr() { # FILE [MATRIX RANGE]
  ffmpeg -hide_banner -i "$1" -i "$folder/reference.lossless.mkv" -lavfi \
    "[0:v]scale=in_color_matrix=${2:-bt709}:in_range=${3:-tv},format=gbrp[a];[1:v]format=gbrp[b];[a][b]psnr" -f null - 2>&1 |
    sed -n 's/.*average:\([0-9.]*\).*/\1/p' | tail -n 1
}
to709=(-vf "scale=out_color_matrix=bt709:out_range=tv:flags=accurate_rnd+full_chroma_int+bicubic,format=yuv420p" -g 50)
printf '%-10s %10s %10s %8s   %10s %10s\n' format "tov dB" "ffmpeg dB" "gap dB" "tov kB" "ffmpeg kB"
matrix=bt709 range=tv
row() { # SUFFIX CONTAINER OPTIONS...
  local suffix=$1 container=$2
  shift 2
  "$tov" video "$model" -o "$folder/ours.$suffix" "${common[@]}"
  ffmpeg -v error -y -i "$folder/reference.lossless.mkv" "${to709[@]}" "$@" "$folder/theirs.$container"
  local ours theirs
  ours=$(psnr "$folder/ours.$suffix" $matrix $range) theirs=$(psnr "$folder/theirs.$container" $matrix $range)
  printf '%-10s %10s %10s %8s   %10s %10s\n' "$suffix" "$ours" "$theirs" \
    "$(awk -v a="$ours" -v b="$theirs" 'BEGIN { printf "%.2f", b - a }')" \
    $(($(stat -c %s "$folder/ours.$suffix") / 1000)) $(($(stat -c %s "$folder/theirs.$container") / 1000))
}
row mp4 mp4 -c:v libx264 -preset veryfast -b:v 1200k
row mkv mkv -c:v libx264 -preset veryfast -b:v 1200k
row hq.mp4 mp4 -c:v libx264 -preset medium -crf 16
row hevc.mp4 mp4 -c:v libx265 -preset fast -b:v 1200k -x265-params log-level=error
row webm webm -c:v libvpx-vp9 -deadline good -cpu-used 5 -row-mt 1 -b:v 1200k
row av1.mkv mkv -c:v libaom-av1 -cpu-used 8 -usage realtime -row-mt 1 -b:v 1200k
# JPEG uses BT.601 at full range.
matrix=bt601 range=pc
to709=(-vf "scale=out_color_matrix=bt601:out_range=pc:flags=accurate_rnd+full_chroma_int+bicubic,format=yuvj420p")
row avi avi -c:v mjpeg -qscale 2 -huffman optimal
# Formats with transparency, over white: size and PSNR. Pictures are in RGB, the others in BT.709.
over_white() { # SCALE INPUT-OPTIONS... FILE
  local scale=$1
  shift
  ffmpeg -hide_banner -f lavfi -i color=white:size=640x360:rate=25 "${@:1:$#-1}" -i "${!#}" -i "$folder/reference.lossless.mkv" \
    -lavfi "[0:v]format=gbrp[w];[1:v]${scale}format=gbrap[o];[w][o]overlay=format=gbrp:shortest=1[a];[2:v]format=gbrp[b];[a][b]psnr" \
    -f null - 2>&1 | sed -n 's/.*average:\([0-9.]*\|inf\) .*/\1/p' | tail -n 1
}
alpha_row() { # SUFFIX SCALE INPUT-OPTIONS...
  local suffix=$1 scale=$2
  shift 2
  "$tov" video "$model" -o "$folder/ours.$suffix" "${common[@]}"
  # The pictures of "frames" are next to their list.
  printf '%-12s %8s %10s %8s   %10s\n' "$suffix" "$(over_white "$scale" "$@" "$folder/ours.$suffix")" "" "" \
    $(($(cat "$folder/ours.$suffix" "$folder"/ours.[0-9]*.png 2>/dev/null | wc -c) / 1000))
  rm -f "$folder"/ours.[0-9]*.png
}
bt709="scale=in_color_matrix=bt709:in_range=tv,"
for suffix in gif apng lossless.mkv; do alpha_row $suffix ""; done
alpha_row alpha.webm "$bt709" -c:v libvpx-vp9
alpha_row alpha.mov "$bt709"
alpha_row frames "" -f concat
