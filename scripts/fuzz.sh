#!/usr/bin/env bash
# Installs what is missing, builds the fuzzers, and runs each for some time, two at once. What they
# find stays in build/fuzz/found.
#
#   scripts/fuzz.sh                       all of them, a minute each
#   scripts/fuzz.sh SECONDS [NAME...]     these of report, info, capture, scene
source "$(dirname "$0")/common.sh"

seconds=${1:-60}
names=("${@:2}")
[[ $seconds =~ ^[1-9][0-9]*$ ]] || fail "'$seconds' is no number of seconds"
all=(report info capture scene)
[[ ${#names[@]} -gt 0 ]] || names=("${all[@]}")
for name in "${names[@]}"; do
    [[ " ${all[*]} " == *" $name "* ]] || fail "no fuzzer '$name': it is one of ${all[*]}"
done

install_packages "${build_packages[@]}" clang libclang-rt-14-dev
configure fuzz build/fuzz
step "Building the fuzzers"
cmake --build --preset fuzz

at_once=2
found=build/fuzz/found
leaks=LSAN_OPTIONS=suppressions=$PWD/fuzz/lsan.supp:print_suppressions=0

# fuzz NAME: the corpus of the repository is read, what is new goes into one in the build folder.
fuzz() {
    local run=build/fuzz/runs/$1 bounds=()
    case $1 in # longer inputs are slow rather than new
    report) bounds=(-max_len=1024) ;;
    scene) bounds=(-max_len=512) ;;
    esac
    rm -rf "$run"
    mkdir -p "$run/corpus" "$found/$1"
    env "$leaks" "build/fuzz/fuzz/fuzz_$1" -max_total_time="$seconds" -timeout=30 -len_control=0 \
        "${bounds[@]}" -print_final_stats=1 -close_fd_mask=1 -artifact_prefix="$found/$1/" \
        "$run/corpus" "tests/data/fuzz/$1" >"$run/log" 2>&1 && touch "$run/passed"
}

step "Fuzzing ${names[*]} for $seconds seconds each"
for name in "${names[@]}"; do
    while [[ $(jobs -r -p | wc -l) -ge $at_once ]]; do wait -n || true; done
    fuzz "$name" &
done
wait

failed=()
for name in "${names[@]}"; do
    log=build/fuzz/runs/$name/log
    executions=$(awk '/stat::number_of_executed_units/ { print $2 }' "$log")
    memory=$(awk '/stat::peak_rss_mb/ { print $2 }' "$log")
    coverage=$(grep -a -o 'cov: [0-9]*' "$log" | tail -n 1 || true)
    step "$name: ${executions:-no} executions, ${coverage:-no coverage}, ${memory:-?} MB at most"
    [[ ! -e build/fuzz/runs/$name/passed ]] || continue
    failed+=("$name")
    tail -n 50 "$log"
    input=$(grep -a -o "$found/$name/[a-z]*-[0-9a-f]*" "$log" | tail -n 1 || true)
    step "$name has failed. Once more: $leaks build/fuzz/fuzz/fuzz_$name ${input:-(see $log)}"
done
[[ ${#failed[@]} -eq 0 ]] || fail "these fuzzers have failed: ${failed[*]}"
step "The fuzzers have found nothing."
