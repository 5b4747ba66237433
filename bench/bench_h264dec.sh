#!/bin/sh
# Frames per second of zubvc-h264dec against `ffmpeg -cpuflags 0 -threads 1`
# (ffmpeg's portable C paths, one thread) on the same 1280x720 CAVLC stream.
#   sh bench/bench_h264dec.sh DECODER STREAM.264 [X264 OPTIONS...]
# A missing stream is made: with x264 options, by x264 --no-cabac from 300
# frames of testsrc2 (e.g. --profile main --bframes 3 --b-pyramid normal
# --ref 4 --weightp 2 --bitrate 3000), otherwise a baseline stream by ffmpeg.
set -e
dec=$1
stream=$2
shift 2
frames=300
if [ ! -f "$stream" ]; then
    if [ $# -gt 0 ]; then
        ffmpeg -loglevel error -y -f lavfi -i "testsrc2=size=1280x720:rate=25" -frames:v $frames -pix_fmt yuv420p \
            -f rawvideo "$stream.yuv"
        x264 --quiet --no-progress --no-cabac --input-res 1280x720 --fps 25 "$@" -o "$stream" "$stream.yuv" 2>/dev/null
        rm -f "$stream.yuv"
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
echo "zubvc-h264dec: $(echo "$frames / $ours" | bc -l | cut -c1-6) fps"
echo "ffmpeg -cpuflags 0 -threads 1: $(echo "$frames / $theirs" | bc -l | cut -c1-6) fps"
echo "ratio (ours / ffmpeg): $(echo "$theirs / $ours" | bc -l | cut -c1-5)"
