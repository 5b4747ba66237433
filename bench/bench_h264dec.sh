#!/bin/sh
# The example decoder on a 1280x720 baseline CAVLC stream, timed side by side
# in one run: each decoder (and ffmpeg's portable C decoder,
# `ffmpeg -cpuflags 0 -threads 1`) is run RUNS times in turn, and the best
# user time of each is reported, with the ratios between them.
#
#   sh bench/bench_h264dec.sh STREAM RUNS LABEL=DECODER[,BEFORE] ...
#
# Each LABEL=DECODER names one build (x86-64, x86-32); with ,BEFORE the
# decoder built from an earlier commit is timed against it in the same
# rounds, after a check that both give the same frames.  ffmpeg is timed
# in the same rounds when FFMPEG (default: ffmpeg) is not empty.  The stream
# is made on first use: x264 --profile baseline --ref 4 --bitrate 3000,
# 120 frames of ffmpeg's testsrc2.
set -e
stream=$1
runs=$2
shift 2
ffmpeg=${FFMPEG-ffmpeg}
if [ ! -f "$stream" ]; then
    ffmpeg -loglevel error -f lavfi -i "testsrc2=size=1280x720:rate=25" -frames:v 120 -pix_fmt yuv420p \
        -f rawvideo - |
        x264 --quiet --profile baseline --ref 4 --bitrate 3000 --input-res 1280x720 --fps 25 \
            -o "$stream.tmp" - 2>/dev/null
    mv "$stream.tmp" "$stream"
fi

# User seconds of one run of CMD..., output discarded.
usertime() {
    /usr/bin/env bash -c 'TIMEFORMAT=%U; time "$@" >/dev/null 2>&1' timer "$@" 2>&1 | tail -n 1
}

# The decoders to run, one "name path" pair a line.
list=$(mktemp)
trap 'rm -f "$list" "$list".*' EXIT
for arg in "$@"; do
    label=${arg%%=*}
    paths=${arg#*=}
    cur=${paths%%,*}
    echo "$label $cur" >>"$list"
    if [ "$paths" != "$cur" ]; then
        before=${paths#*,}
        "$cur" "$stream" --md5 >"$list.a"
        "$before" "$stream" --md5 >"$list.b"
        if ! cmp -s "$list.a" "$list.b"; then
            echo "$label: the decoder before gives different frames" >&2
            exit 1
        fi
        echo "$label-before $before" >>"$list"
    fi
done
first=$(head -n 1 "$list" | cut -d' ' -f2)
frames=$("$first" "$stream" --md5 | wc -l)

# Best user time per name, alternating: round r runs every entry once.
for r in $(seq "$runs"); do
    while read -r name path; do
        echo "$name $(usertime "$path" "$stream" --quiet)" >>"$list.t"
    done <"$list"
    if [ -n "$ffmpeg" ]; then
        echo "ffmpeg $(usertime "$ffmpeg" -cpuflags 0 -threads 1 -i "$stream" -f null -)" >>"$list.t"
    fi
done

echo "stream: $stream ($frames frames, 1280x720); best user time of $runs runs each, alternating"
awk -v frames="$frames" '
    { if (!($1 in best) || $2 < best[$1]) best[$1] = $2; if (!($1 in seen)) { seen[$1] = 1; order[n++] = $1 } }
    END {
        for (i = 0; i < n; ++i)
            printf "  %-16s %7.3f s  %7.1f fps\n", order[i], best[order[i]], frames / best[order[i]]
        for (i = 0; i < n; ++i) {
            b = order[i] "-before"
            if (b in best) printf "  %s: %.3fx the decoder before\n", order[i], best[b] / best[order[i]]
        }
        if ("ffmpeg" in best && "x86-64" in best)
            printf "  x86-64 against ffmpeg -cpuflags 0 -threads 1: %.3fx\n", best["ffmpeg"] / best["x86-64"]
    }' "$list.t"
