#!/usr/bin/env bash
# Installs what is missing, builds a release, runs every benchmark and writes the table of
# docs/performance.md, with the machine and the date. Takes some two minutes. On a busy
# machine the ratios waver, and the late ticks of row 10 are the machine's.
#
#   scripts/bench.sh
source "$(dirname "$0")/common.sh"

table=docs/performance.md
begin='<!-- table: begin -->'
end='<!-- table: end -->'
benchmarks=(vcd marker frame stroke delivery load start)

install_packages "${build_packages[@]}"
folder=build/bench
build release "$folder" -D KESTRUNE_BUILD_TESTS=OFF

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_RUNTIME_DIR=$work

model=$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1)
memory=$(awk '/^MemTotal/ { printf "%.0f GiB", $2 / 1048576 }' /proc/meminfo)
machine="$(nproc) cores, $model, $memory; load average $(cut -d ' ' -f 1 /proc/loadavg) before and"
for benchmark in "${benchmarks[@]}"; do
    step "Running bench_$benchmark"
    "$folder/bench/bench_$benchmark" --table 2>"$work/errors" | tee -a "$work/rows" ||
        fail "bench_$benchmark: $(cat "$work/errors")"
done
machine+=" $(cut -d ' ' -f 1 /proc/loadavg) after the run"

{
    sed "/^$begin\$/q" "$table"
    printf '\n%s. Measured on %s.\n\n' "$machine" "$(date -u +%F)"
    printf '| # | what | measured | against | ratio | target |\n|---|---|---|---|---|---|\n'
    sort -s -t '|' -k 2,2n "$work/rows"
    printf '\n'
    sed -n "/^$end\$/,\$p" "$table"
} >"$work/table"
cat "$work/table" >"$table"
step "Wrote $table"
