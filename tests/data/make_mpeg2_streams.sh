#!/bin/sh
# Makes the MPEG-1 and MPEG-2 test streams of this folder and their
# references.  Not run by CI: the streams and references are committed.  Needs
# Debian's ffmpeg.  Each NAME.m1v / NAME.m2v (a video elementary stream, under
# 200 KB) has NAME.yuv.gz: ffmpeg's decode of it, raw planar frames (Y, U, V,
# cropped to the display size) in display order, compressed with gzip.
set -e
cd "$(dirname "$0")"

# enc NAME.EXT SOURCE FRAMES ARGS...: encode SOURCE, then decode the reference.
enc() {
    out=$1 src=$2 frames=$3
    shift 3
    ffmpeg -loglevel error -y -f lavfi -i "$src" -frames:v "$frames" -flags +bitexact "$@" "$out"
    pix=$(ffprobe -loglevel error -select_streams v:0 -show_entries stream=pix_fmt -of default=nw=1:nk=1 "$out" | head -1)
    ffmpeg -loglevel error -y -flags +bitexact -idct simple -i "$out" -fps_mode passthrough -f rawvideo -pix_fmt "$pix" - \
        | gzip -9n > "${out%.*}.yuv.gz"
    echo "$out: $(wc -c < "$out") bytes, reference $(wc -c < "${out%.*}.yuv.gz") bytes"
}

M2="-c:v mpeg2video -f mpeg2video"
# MPEG-1 with B-frames (half-sample vectors, skipped macroblocks, D-free).
enc mpeg1_testsrc.m1v "testsrc=size=176x144:rate=25" 15 -c:v mpeg1video -f mpeg1video -bf 2 -g 12 -q:v 6
# MPEG-2 Main profile with B-frames on a zoom (every vector position).
enc mpeg2_mandel_b.m2v "mandelbrot=size=176x144:rate=25" 15 $M2 -bf 2 -g 15 -q:v 4
enc mpeg2_intravlc.m2v "testsrc2=size=176x144:rate=25" 12 $M2 -bf 1 -g 6 -q:v 3 -intra_vlc 1
enc mpeg2_altscan.m2v "testsrc2=size=176x144:rate=25,hue=H=t" 12 $M2 -bf 2 -q:v 5 -alternate_scan 1
enc mpeg2_nonlinear.m2v "mandelbrot=size=176x144:rate=25" 12 $M2 -bf 2 -q:v 9 -qmax 28 -non_linear_quant 1
# Interlaced frame pictures: field and frame prediction, field and frame DCT.
enc mpeg2_field_tff.m2v "testsrc=size=176x144:rate=25,scroll=horizontal=0.03:vertical=0.02" 12 $M2 -bf 2 \
    -q:v 4 -flags +ilme+ildct -top 1
enc mpeg2_field_bff.m2v "mandelbrot=size=176x144:rate=25" 12 $M2 -bf 1 -q:v 5 -flags +ilme+ildct -top 0
# 4:2:2 profile.
enc mpeg2_422.m2v "testsrc2=size=176x144:rate=25" 12 $M2 -pix_fmt yuv422p -bf 2 -q:v 4
# Downloaded quantiser matrices (a ramp for intra, a flatter one for inter).
intra="8,9,10,11,12,13,14,15,9,10,11,12,13,14,15,16,10,11,12,13,14,15,16,17,11,12,13,14,15,16,17,18"
intra="$intra,12,13,14,15,16,17,18,19,13,14,15,16,17,18,19,20,14,15,16,17,18,19,20,21,15,16,17,18,19,20,21,22"
inter="16,17,17,18,18,19,19,20,17,17,18,18,19,19,20,20,17,18,18,19,19,20,20,21,18,18,19,19,20,20,21,21"
inter="$inter,18,19,19,20,20,21,21,22,19,19,20,20,21,21,22,22,19,20,20,21,21,22,22,23,20,20,21,21,22,22,23,23"
enc mpeg2_matrices.m2v "mandelbrot=size=176x144:rate=25" 12 $M2 -bf 2 -q:v 4 -intra_matrix "$intra" \
    -inter_matrix "$inter"
# intra_dc_precision 9, 10 and 11 bits.
for dc in 9 10 11; do
    enc mpeg2_dc$dc.m2v "testsrc2=size=176x144:rate=25" 8 $M2 -bf 1 -q:v 2 -dc $dc
done
# The finest quantiser: large levels and escapes.
enc mpeg2_q1.m2v "mandelbrot=size=176x144:rate=25" 6 $M2 -bf 1 -g 6 -q:v 1
# A size that is not a multiple of 16.
enc mpeg2_oddsize.m2v "testsrc=size=170x98:rate=25" 10 $M2 -bf 2 -q:v 4
