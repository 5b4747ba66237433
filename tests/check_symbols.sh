#!/bin/bash
# Compares the dynamic symbols the shared object defines with the expected
# list (the union of the per-family lists in the given folder).
set -euo pipefail
lib=$1
dir=$2
expected=$(mktemp)
actual=$(mktemp)
trap 'rm -f "$expected" "$actual"' EXIT
cat "$dir"/*.txt | sed -e 's/#.*//' -e 's/[[:space:]]//g' | grep -v '^$' | sort -u > "$expected"
# Defined dynamic symbols, without the linker's own and the version node.
nm -D --defined-only "$lib" | awk '{print $3}' | grep -v -E '^(_init|_fini|_edata|_end|__bss_start)$' \
  | grep -v '^$' | sort -u > "$actual"
if ! diff -u "$expected" "$actual"; then
  echo "exported symbols differ from the expected list ('-' missing from the library, '+' leaked)"
  exit 1
fi
echo "exported symbols: $(wc -l < "$actual") as expected"

# Every exported function has a row in the bad-argument sweep's table.
functions=$(mktemp)
rows=$(mktemp)
trap 'rm -f "$expected" "$actual" "$functions" "$rows"' EXIT
nm -D --defined-only "$lib" | awk '$2 == "T" {print $3}' | sort -u > "$functions"
sed -e 's/#.*//' "$dir/arguments.table" | awk 'NF {print $1}' | sort > "$rows"
if [ -n "$(uniq -d "$rows")" ]; then
  echo "functions with more than one row in $dir/arguments.table:" $(uniq -d "$rows")
  exit 1
fi
if ! diff -u "$rows" "$functions"; then
  echo "exported functions differ from the rows of $dir/arguments.table ('-' row without a function, '+' function without a row)"
  exit 1
fi
echo "argument table: a row for each of the $(wc -l < "$functions") exported functions"
