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
raw "mandelbrot=size=176x120:rate=25" 16 /tmp/zub_f.yuv \
    /tmp/zub_g.yuv /tmp/zub_h.yuv /tmp/zub_i.yuv /tmp/zub_j.yuv /tmp/zub_k.yuv /tmp/zub_l.yuv /tmp/zub_m.yuv /tmp/zub_n.yuv \
    /tmp/zub_o.yuv /tmp/zub_p.yuv /tmp/zub_q.y
x264 --quiet --no-progress --profile main --no-cabac --bframes 0 --fake-interlaced --ref 2 --input-res 176x120 \
    --fps 25 --qp 30 -o fakeint_frames.264 /tmp/zub_f.yuv \
    /tmp/zub_g.yuv /tmp/zub_h.yuv /tmp/zub_i.yuv /tmp/zub_j.yuv /tmp/zub_k.yuv /tmp/zub_l.yuv /tmp/zub_m.yuv /tmp/zub_n.yuv \
    /tmp/zub_o.yuv /tmp/zub_p.yuv /tmp/zub_q.y

ffmpeg -loglevel error -y -f lavfi -i "testsrc=size=208x112:rate=25" -frames:v 20 -pix_fmt yuv420p -c:v libx264 -coder 0 \
    -profile:v baseline -g 10 -qp 30 -slices 2 ffmpeg_testsrc.264

ffmpeg -loglevel error -y -f lavfi -i "mandelbrot=size=320x240:rate=25" -frames:v 10 -pix_fmt yuv420p -c:v libx264 -coder 0 \
    -profile:v baseline -crf 40 -chromaoffset 4 ffmpeg_mandel_cqp.264

# Features x264 never writes, added by rewriting headers of x264 streams with
# rewrite_h264.py (the slice data stays as encoded).
# pic_order_cnt_type 0 with a wrapping 4-bit pic_order_cnt_lsb and
# delta_pic_order_cnt_bottom; two IDRs.
raw "testsrc2=size=176x144:rate=25,hue=H=t/2" 20 /tmp/zub_g.yuv
x poc0_src 176x144 /tmp/zub_g.yuv --qp 27 --keyint 13 --ref 2
python3 rewrite_h264.py poc0 poc0_src.264 poc_type0.264

# pic_order_cnt_type 1 with a cycle of three reference offsets and
# delta_pic_order_cnt[0], [1]; the IDR pictures are long-term references.
raw "mandelbrot=size=176x144:rate=25" 16 /tmp/zub_h.yuv
x poc1_src 176x144 /tmp/zub_h.yuv --qp 30 --keyint 10 --ref 2
python3 rewrite_h264.py poc1 poc1_src.264 poc_type1.264

# Memory management control operations 1, 2, 3, 4 and 6: long-term
# references in the P reference lists (three references, ref_idx up to 2).
raw "testsrc2=size=176x144:rate=25,scroll=horizontal=0.02:vertical=0.01" 24 /tmp/zub_i.yuv
x mmco_src 176x144 /tmp/zub_i.yuv --qp 28 --keyint 100 --no-scenecut --ref 3
python3 rewrite_h264.py mmco mmco_src.264 mmco_longterm.264
# The same source with pic_order_cnt_type 1 and five non-reference pictures
# (offset_for_non_ref_pic, frame_num counting reference pictures only).
python3 rewrite_h264.py poc1nonref mmco_src.264 nonref_poc1.264
# Output order unlike decoding order without B slices: non-reference P
# pictures with a POC before that of the reference picture decoded before them.
python3 rewrite_h264.py reorder mmco_src.264 nonref_reorder.264

# Memory management control operation 5 (all references unused, frame_num and
# POC restart) on a one-reference stream.
raw "testsrc2=size=176x144:rate=25,hue=s=t/2" 16 /tmp/zub_j.yuv
x mmco5_src 176x144 /tmp/zub_j.yuv --qp 28 --keyint 100 --no-scenecut --ref 1
python3 rewrite_h264.py mmco5 mmco5_src.264 mmco5_reset.264
# The same with pic_order_cnt_type 0 and a DPB that holds three pictures.
python3 rewrite_h264.py poc0mmco5 mmco5_src.264 mmco5_poc0.264

# disable_deblocking_filter_idc 2 in some slices of a five-slice stream.
raw "mandelbrot=size=176x144:rate=25" 12 /tmp/zub_k.yuv
x deblock2_src 176x144 /tmp/zub_k.yuv --qp 36 --slices 5 --ref 2 --keyint 8
python3 rewrite_h264.py deblock2 deblock2_src.264 deblock_idc2.264
rm -f poc0_src.264 poc1_src.264 mmco_src.264 mmco5_src.264 deblock2_src.264

# I_PCM macroblocks, which no encoder here writes: an IDR picture of them,
# then P pictures of I_PCM and P_Skip macroblocks, deblocked, cropped.
raw "testsrc2=size=168x88:rate=25" 8 /tmp/zub_l.yuv
python3 make_pcm.py 168 88 8 /tmp/zub_l.yuv ipcm_skip.264

# High profile, CAVLC, P only: the 8x8 transform with the flat matrices, the
# default (JVT) matrices and custom ones from custom.cqm; fallback.cqm repeats
# lists, which x264 then leaves out, so that the fall-back rules fill them.
# Very low and very high QP, and a size of 12.5 x 7.5 macroblocks.
raw "testsrc2=size=176x144:rate=25,hue=H=t" 20 /tmp/zub_m.yuv
raw "mandelbrot=size=200x120:rate=25" 12 /tmp/zub_n.yuv
hp() {  # hp NAME SIZE INPUT ARGS...
    name=$1 size=$2 input=$3
    shift 3
    x264 --quiet --no-progress --profile high --no-cabac --8x8dct --bframes 0 --input-res "$size" --fps 25 "$@" \
        -o "$name.264" "$input"
}
hp dct8_flat 176x144 /tmp/zub_m.yuv --cqm flat --qp 26 --keyint 10 --ref 3
hp dct8_jvt 176x144 /tmp/zub_m.yuv --cqm jvt --qp 26 --keyint 10 --ref 3
hp dct8_cqmfile 176x144 /tmp/zub_m.yuv --cqmfile custom.cqm --qp 24 --keyint 10 --ref 3
hp cqm_fallback 176x144 /tmp/zub_m.yuv --cqmfile fallback.cqm --qp 30 --keyint 8 --ref 2
hp dct8_qp4 176x144 /tmp/zub_m.yuv --qp 4 --keyint 10 --frames 6
hp dct8_qp51 200x120 /tmp/zub_n.yuv --qp 51 --keyint 6
hp dct8_odd 200x120 /tmp/zub_n.yuv --crf 20 --keyint 6 --cqm jvt --ref 4 --partitions all

# B slices (Main and High profile, CAVLC): B-pyramid with implicit weights
# and weighted P prediction on a fading source, spatial and temporal direct
# prediction, 16 references, the 8x8 transform with B slices, and B slices
# without weights.  x264 writes neither explicit bi-predictive weights nor
# direct_8x8_inference_flag 0.
raw "testsrc2=size=176x144:rate=25,fade=in:0:10,fade=out:20:10" 30 /tmp/zub_o.yuv
raw "testsrc2=size=176x144:rate=25,scroll=horizontal=0.03:vertical=0.02" 24 /tmp/zub_p.yuv
bs() {  # bs NAME INPUT ARGS...
    name=$1 input=$2
    shift 2
    x264 --quiet --no-progress --no-cabac --input-res 176x144 --fps 25 "$@" -o "$name.264" "$input"
}
bs b_pyramid_fade /tmp/zub_o.yuv --profile main --bframes 3 --b-pyramid normal --weightp 2 --ref 4 --qp 28
bs b_direct_spatial /tmp/zub_p.yuv --profile main --bframes 2 --direct spatial --ref 3 --crf 24
bs b_direct_temporal /tmp/zub_p.yuv --profile main --bframes 2 --direct temporal --ref 3 --crf 24
bs b_ref16 /tmp/zub_p.yuv --profile main --bframes 3 --b-pyramid normal --ref 16 --qp 30
bs b_dct8 /tmp/zub_o.yuv --profile high --bframes 3 --8x8dct --cqm jvt --direct temporal --qp 26
bs b_noweightb /tmp/zub_p.yuv --profile main --bframes 2 --no-weightb --qp 26
# 4:0:0 (ffmpeg writes the chroma planes as 128): B slices, and 199x117
# samples with the 8x8 transform (crop units of one sample, chroma planes
# rounded up).
bs mono_b /tmp/zub_p.yuv --output-csp i400 --profile high --bframes 2 --qp 28
ffmpeg -loglevel error -y -f lavfi -i "mandelbrot=size=199x117:rate=25" -frames:v 10 -pix_fmt gray -f rawvideo /tmp/zub_q.y
x264 --quiet --no-progress --no-cabac --input-csp i400 --input-res 199x117 --fps 25 --output-csp i400 --profile high     --8x8dct --bframes 2 --qp 30 -o mono_odd.264 /tmp/zub_q.y
# Lossless macroblocks (--qp 0: High 4:4:4 Predictive, transform bypass):
# with B slices, intra only with 4x4 and 16x16 prediction, intra only with the
# 8x8 transform, and 4:0:0.
bs lossless_b /tmp/zub_p.yuv --qp 0 --bframes 2 --frames 8
bs lossless_intra /tmp/zub_p.yuv --qp 0 --keyint 1 --frames 4 --no-8x8dct
bs lossless_i8 /tmp/zub_p.yuv --qp 0 --8x8dct --keyint 1 --frames 3
bs lossless_mono /tmp/zub_p.yuv --qp 0 --output-csp i400 --frames 6

for s in *.264; do
    ffmpeg -loglevel error -i "$s" -f framemd5 - | grep -v '^#' | awk -F', *' '{print $6}' > "${s%.264}.md5"
done
rm -f /tmp/zub_a.yuv /tmp/zub_b.yuv /tmp/zub_c.yuv /tmp/zub_d.yuv /tmp/zub_e.yuv /tmp/zub_f.yuv \
    /tmp/zub_g.yuv /tmp/zub_h.yuv /tmp/zub_i.yuv /tmp/zub_j.yuv /tmp/zub_k.yuv /tmp/zub_l.yuv /tmp/zub_m.yuv /tmp/zub_n.yuv \
    /tmp/zub_o.yuv /tmp/zub_p.yuv /tmp/zub_q.y
