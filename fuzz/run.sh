#!/bin/bash
# Runs the libFuzzer targets of fuzz/ (see fuzz/README.md).
#
#   fuzz/run.sh replay BUILD              every seed and regression input once
#                                         through each target of BUILD/fuzz
#   fuzz/run.sh fuzz BUILD COVBUILD SECS  each target for SECS seconds, then
#                                         its line coverage from COVBUILD
#   fuzz/run.sh coverage COVBUILD         line coverage of the seeds, the
#                                         regressions and the campaign corpora
#
# Optional: FUZZ_TARGETS="cavlc expgolomb" limits the run to those targets;
# FUZZ_JOBS=2 runs that many targets at once in fuzz mode (default 1);
# FUZZ_FLAGS adds libFuzzer flags.  Campaign corpora and findings are kept
# beside BUILD: <build>/../fuzz-corpus/<name>, <build>/../fuzz-findings/<name>.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
mode=$1
shift

targets() {
    local names=${FUZZ_TARGETS:-}
    if [ -z "$names" ]; then
        for f in "$root"/fuzz/fuzz_*.cpp; do names="$names $(basename "$f" .cpp | sed 's/^fuzz_//')"; done
    fi
    echo $names
}

# Collects the seeds of target $1 into directory $2: fuzz/corpus/<name>/ and
# the committed files that fuzz/corpus/<name>.streams names (one glob per
# line, relative to the top of the tree).
seeds() {
    local name=$1 dir=$2
    rm -rf "$dir"
    mkdir -p "$dir"
    if [ -d "$root/fuzz/corpus/$name" ]; then cp "$root/fuzz/corpus/$name"/* "$dir"/ 2>/dev/null; fi
    if [ -f "$root/fuzz/corpus/$name.streams" ]; then
        sed -e 's/#.*//' -e '/^[[:space:]]*$/d' "$root/fuzz/corpus/$name.streams" | while read -r pattern; do
            for f in $root/$pattern; do [ -f "$f" ] && cp "$f" "$dir/$(echo "${f#$root/}" | tr / _)"; done
        done
    fi
}

count() { find "$@" -type f 2>/dev/null | wc -l; }

# Line coverage of target $1 in coverage build $2 over the inputs in the
# remaining directories: the files named on the target's "// Coverage:" line.
coverage() {
    local name=$1 cov=$2
    shift 2
    local bin=$cov/fuzz/fuzz_$name prof=$cov/profiles/$name
    rm -rf "$prof"
    mkdir -p "$prof"
    LLVM_PROFILE_FILE="$prof/%p.profraw" "$bin" -runs=0 "$@" > "$prof/run.log" 2>&1 \
        || { echo "fuzz_$name: coverage run failed (see $prof/run.log)"; return 1; }
    llvm-profdata merge -sparse "$prof"/*.profraw -o "$prof/merged.profdata" || return 1
    local lib
    lib=$(ls "$cov"/libzubvcpx.so.* 2>/dev/null | head -1)
    local report=(llvm-cov report "$bin" ${lib:+-object "$lib"} -instr-profile="$prof/merged.profdata")
    # Each item of the "// Coverage:" line is a file glob, or FILE:REGEX for
    # the lines of the functions of FILE whose (mangled) names match REGEX,
    # or FILE:!REGEX for those of the others.
    for item in $(sed -n 's|^// Coverage:||p' "$root/fuzz/fuzz_$name.cpp" | head -1); do
        local pattern=${item%%:*} regex=""
        [ "$item" != "$pattern" ] && regex=${item#*:}
        for f in $root/$pattern; do
            [ -f "$f" ] || continue
            if [ -z "$regex" ]; then
                # Columns: file, regions, missed, cover, functions, missed,
                # executed, lines, missed, cover, ...
                "${report[@]}" "$f" 2>/dev/null | awk -v name="fuzz_$name" -v file="${f#$root/}" '
                    $1 != "TOTAL" && NF >= 10 && $10 ~ /%$/ {
                        printf "  %-16s %-40s lines %7s of %5d\n", name, file, $10, $8 }'
            else
                # Columns: function, regions, missed, cover, lines, missed, ...
                "${report[@]}" -show-functions "$f" 2>/dev/null | awk -v name="fuzz_$name" \
                    -v file="${f#$root/} ($regex)" -v re="$regex" '
                    BEGIN { neg = substr(re, 1, 1) == "!"; if (neg) re = substr(re, 2) }
                    NF >= 7 && $7 ~ /%$/ && $1 != "Name" && (($1 ~ re) != neg) { n += $5; miss += $6 }
                    END { if (n) printf "  %-16s %-40s lines %6.2f%% of %5d\n", name, file, 100 * (n - miss) / n, n }'
            fi
        done
    done
}

# Line coverage of every file that some target names, over all targets'
# profiles together (so a module read by several targets shows as a whole).
combined() {
    local cov=$1 objs=() profs=() files=""
    for name in $(targets); do
        objs+=(-object "$cov/fuzz/fuzz_$name")
        profs+=("$cov/profiles/$name/merged.profdata")
        for item in $(sed -n 's|^// Coverage:||p' "$root/fuzz/fuzz_$name.cpp" | head -1); do
            for f in $root/${item%%:*}; do [ -f "$f" ] && case " $files " in *" $f "*) ;; *) files="$files $f" ;; esac; done
        done
    done
    local lib
    lib=$(ls "$cov"/libzubvcpx.so.* 2>/dev/null | head -1)
    llvm-profdata merge -sparse "${profs[@]}" -o "$cov/profiles/all.profdata" || return 1
    echo "all targets together:"
    for f in $files; do
        llvm-cov report "$lib" "${objs[@]}" -instr-profile="$cov/profiles/all.profdata" "$f" 2>/dev/null \
            | awk -v file="${f#$root/}" '$1 != "TOTAL" && NF >= 10 && $10 ~ /%$/ {
                printf "  %-16s %-40s lines %7s of %5d\n", "all", file, $10, $8 }'
    done
}

case $mode in
replay)
    build=$1
    status=0
    for name in $(targets); do
        bin=$build/fuzz/fuzz_$name
        [ -x "$bin" ] || { echo "fuzz_$name: not built"; status=1; continue; }
        dir=$build/fuzz-seeds/$name
        seeds "$name" "$dir"
        reg=$root/fuzz/regressions/$name
        mkdir -p "$build/fuzz-logs"
        log=$build/fuzz-logs/replay_$name.log
        if "$bin" -runs=0 -timeout=60 "$dir" $( [ -d "$reg" ] && echo "$reg") > "$log" 2>&1; then
            echo "fuzz_$name: $(count "$dir") seeds and $(count "$reg") regression inputs replayed"
        else
            echo "fuzz_$name: FAILED on a replayed input:"
            grep -E "contract broken|ERROR|SUMMARY|Test unit|runtime error" "$log" | head -5
            status=1
        fi
    done
    exit $status
    ;;
fuzz)
    build=$1 cov=$2 secs=$3
    base=$(dirname "$build")
    jobs=${FUZZ_JOBS:-1}
    run_one() {
        local name=$1
        local bin=$build/fuzz/fuzz_$name work=$base/fuzz-corpus/$name found=$base/fuzz-findings/$name
        local dir=$build/fuzz-seeds/$name reg=$root/fuzz/regressions/$name log=$build/fuzz-logs/fuzz_$name.log
        mkdir -p "$work" "$found" "$build/fuzz-logs"
        seeds "$name" "$dir"
        # Each job is its own process; -fork would hide the per-run figures.
        "$bin" -max_total_time="$secs" -timeout=25 -rss_limit_mb=2048 -print_final_stats=1 \
            -artifact_prefix="$found/" ${FUZZ_FLAGS:-} "$work" "$dir" $( [ -d "$reg" ] && echo "$reg") > "$log" 2>&1
        local rc=$?
        local runs speed
        runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
        speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
        local cov
        cov=$(grep -E '^#[0-9]+' "$log" | tail -1 | grep -o 'cov: [0-9]*' )
        if [ $rc -eq 0 ]; then
            echo "fuzz_$name: ${runs:-?} executions in ${secs} s, ${speed:-?} per second, $cov edges, no finding; corpus $(count "$work") inputs"
        else
            echo "fuzz_$name: FINDING after ${runs:-?} executions (log: $log), reproducer in $found:"
            grep -E "contract broken|ERROR|SUMMARY|runtime error" "$log" | head -5
        fi
        return $rc
    }
    status=0
    pids=()
    names=()
    for name in $(targets); do
        run_one "$name" &
        pids+=($!)
        names+=("$name")
        if [ ${#pids[@]} -ge "$jobs" ]; then
            wait "${pids[0]}" || status=1
            pids=("${pids[@]:1}")
        fi
    done
    for p in "${pids[@]}"; do wait "$p" || status=1; done
    echo "line coverage of the files each target exercises (seeds, regressions and campaign corpus):"
    for name in $(targets); do
        coverage "$name" "$cov" "$base/fuzz-corpus/$name" "$build/fuzz-seeds/$name" \
            $( [ -d "$root/fuzz/regressions/$name" ] && echo "$root/fuzz/regressions/$name")
    done
    combined "$cov"
    exit $status
    ;;
coverage)
    cov=$1
    base=$(dirname "$cov")
    for name in $(targets); do
        seeds "$name" "$cov/fuzz-seeds/$name"
        coverage "$name" "$cov" "$cov/fuzz-seeds/$name" \
            $( [ -d "$base/fuzz-corpus/$name" ] && echo "$base/fuzz-corpus/$name") \
            $( [ -d "$root/fuzz/regressions/$name" ] && echo "$root/fuzz/regressions/$name")
    done
    combined "$cov"
    ;;
*)
    echo "usage: fuzz/run.sh replay BUILD | fuzz BUILD COVBUILD SECONDS | coverage COVBUILD" >&2
    exit 2
    ;;
esac
