#!/bin/sh
# Frames per second of an example decoder against `ffmpeg -cpuflags 0 -threads 1`
# (ffmpeg's portable C paths, one thread) on the same 1280x720 stream: CAVLC
# H.264 for zubvc-h264dec, or with CODEC mpeg2 MPEG-2 with B-frames for
# zubvc-mpeg2dec.
#   sh bench/bench_h264dec.sh DECODER STREAM [h264|mpeg2]
set -e
dec=$1
stream=$2
codec=${3:-h264}
frames=300
if [ ! -f "$stream" ]; then
    if [ "$codec" = mpeg2 ]; then
        ffmpeg -loglevel error -y -f lavfi -i "testsrc2=size=1280x720:rate=25" -frames:v $frames -pix_fmt yuv420p \
            -c:v mpeg2video -bf 2 -g 15 -b:v 6M -f mpeg2video "$stream"
    else
        ffmpeg -loglevel error -y -f lavfi -i "testsrc2=size=1280x720:rate=25" -frames:v $frames -pix_fmt yuv420p \
            -c:v libx264 -coder 0 -profile:v baseline -preset medium -crf 23 -g 50 "$stream"
    fi
fi
best() {  # best N CMD...: the shortest wall time of N runs, in seconds
    n=$1
    shift
    b=""
    for i in $(seq "$n"); do
        s=$(date +%s.%N)
        "$@" >/dev/null 2>&1
        e=$(date +%s.%N)
        t=$(echo "$e - $s" | bc -l)
        if [ -z "$b" ] || [ "$(echo "$t < $b" | bc -l)" = 1 ]; then b=$t; fi
    done
    echo "$b"
}
ours=$(best 3 "$dec" "$stream" --quiet)
theirs=$(best 3 ffmpeg -cpuflags 0 -threads 1 -i "$stream" -f null -)
echo "stream: $stream ($frames frames, 1280x720)"
echo "$(basename "$dec"): $(echo "$frames / $ours" | bc -l | cut -c1-6) fps"
echo "ffmpeg -cpuflags 0 -threads 1: $(echo "$frames / $theirs" | bc -l | cut -c1-6) fps"
echo "ratio (ours / ffmpeg): $(echo "$theirs / $ours" | bc -l | cut -c1-5)"
