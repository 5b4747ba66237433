#!/bin/sh
# Makes the H.264 test streams of this folder and their reference MD5 lists.
# Not run by CI: the streams and lists are committed.  Needs ffmpeg with
# libx264 and the x264 command-line encoder (Debian packages ffmpeg, x264).
# Each NAME.264 has NAME.md5: one MD5 per frame in output order, the hash
# column of `ffmpeg -f framemd5` for the same decode.
set -e
cd "$(dirname "$0")"

raw() {  # raw() SOURCE FRAMES OUT.yuv
    ffmpeg -loglevel error -y -f lavfi -i "$1" -frames:v "$2" -pix_fmt yuv420p -f rawvideo "$3"
}
x() {  # x NAME SIZE INPUT ARGS...: x264 baseline-style CAVLC I/P stream
    name=$1 size=$2 input=$3
    shift 3
    x264 --quiet --no-progress --profile baseline --no-cabac --input-res "$size" --fps 25 "$@" -o "$name.264" "$input"
}

raw "testsrc2=size=176x144:rate=25" 30 /tmp/zub_a.yuv
x qcif_qp26 176x144 /tmp/zub_a.yuv --qp 26 --keyint 12

raw "mandelbrot=size=200x120:rate=25" 20 /tmp/zub_b.yuv
x mandel_slices 200x120 /tmp/zub_b.yuv --qp 34 --slices 3 --ref 4 --keyint 30 --deblock -2:1

raw "testsrc2=size=160x96:rate=25,scroll=horizontal=0.06:vertical=0.04" 24 /tmp/zub_c.yuv
x scroll_mv 160x96 /tmp/zub_c.yuv --crf 22 --ref 6 --merange 64 --me umh --subme 7 --keyint 24 --constrained-intra

raw "testsrc2=size=176x144:rate=25,hue=H=t" 12 /tmp/zub_d.yuv
x lowqp_nodeblock 176x144 /tmp/zub_d.yuv --qp 8 --no-deblock --keyint 6 --ref 16

# Main profile, still CAVLC and P only: explicit weighted prediction, which
# x264 pairs with reference list modifications (duplicated references).
raw "testsrc2=size=176x144:rate=25,fade=in:0:12,fade=out:14:10" 24 /tmp/zub_e.yuv
x264 --quiet --no-progress --profile main --no-cabac --bframes 0 --weightp 2 --ref 3 --input-res 176x144 \
    --fps 25 --qp 28 -o fade_weightp.264 /tmp/zub_e.yuv

# frame_mbs_only_flag 0 with frame pictures only (crop unit of 4 rows).
raw "mandelbrot=size=176x120:rate=25" 16 /tmp/zub_f.yuv
x264 --quiet --no-progress --profile main --no-cabac --bframes 0 --fake-interlaced --ref 2 --input-res 176x120 \
    --fps 25 --qp 30 -o fakeint_frames.264 /tmp/zub_f.yuv

ffmpeg -loglevel error -y -f lavfi -i "testsrc=size=208x112:rate=25" -frames:v 20 -pix_fmt yuv420p -c:v libx264 -coder 0 \
    -profile:v baseline -g 10 -qp 30 -slices 2 ffmpeg_testsrc.264

ffmpeg -loglevel error -y -f lavfi -i "mandelbrot=size=320x240:rate=25" -frames:v 10 -pix_fmt yuv420p -c:v libx264 -coder 0 \
    -profile:v baseline -crf 40 -chromaoffset 4 ffmpeg_mandel_cqp.264

for s in *.264; do
    ffmpeg -loglevel error -i "$s" -f framemd5 - | grep -v '^#' | awk -F', *' '{print $6}' > "${s%.264}.md5"
done
rm -f /tmp/zub_a.yuv /tmp/zub_b.yuv /tmp/zub_c.yuv /tmp/zub_d.yuv /tmp/zub_e.yuv /tmp/zub_f.yuv
