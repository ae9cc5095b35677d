#!/usr/bin/env bash
# Measures what the library costs, against what it must cost: ./bench.sh [--update]
#
# Installs and builds what is missing first. Prints times, instruction counts, sizes and stack depths, and
# fails when an operation takes more instructions than bench/instructions.json says, or misses a goal that does
# not depend on how busy the machine is. --update writes that file anew, and the tables of docs/performance.md.
# The same as JSON: build/bench/results/report.json.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh" || exit 1

if [ $# -gt 1 ] || { [ $# -eq 1 ] && [ "$1" != --update ]; }; then
    say "usage: $0 [--update]"
    exit 2
fi

install_for bench binutils python3 valgrind libbenchmark-dev libcli11-dev nlohmann-json3-dev
build bench

out=$here/build/bench
results=$out/results
rm -rf "$results"
mkdir -p "$results"

# The shortest of many short repetitions in changing order: what else the machine does lengthens some of them.
quietly "Measuring times" "$out/bench/bench_measure_time" --benchmark_repetitions=15 \
    --benchmark_min_time=0.02 --benchmark_enable_random_interleaving=true \
    --benchmark_out="$results/time.json" --benchmark_out_format=json

# count FILE COMMAND...: runs a program under callgrind, with the same environment on every machine. Repeated
# string instructions count once per byte: without them fills and copies count as the loops that they are.
no_repeats=glibc.cpu.x86_rep_stosb_threshold=1073741824:glibc.cpu.x86_rep_movsb_threshold=1073741824
count() {
    local file=$1
    shift
    env -i GLIBC_TUNABLES="$no_repeats" "${preload[@]}" \
        valgrind -q --tool=callgrind --compress-strings=no --callgrind-out-file="$file" "$@"
}

for run in 1 2; do
    counts=$results/counts-$run
    mkdir "$counts"
    preload=()
    quietly "Counting instructions, run $run" count "$counts/operations" "$out/bench/bench_count_instructions"
    quietly "Counting instructions of /bin/true, run $run" count "$counts/process-true" /bin/true
    preload=("LD_PRELOAD=$out/emu/liborxemu.so")
    quietly "Counting instructions of orxtest, run $run" \
        count "$counts/process-orxtest" "$out/app/orxtest" -t 0
done

# ask FILE COMMAND...: what a request takes, in nanoseconds.
ask() {
    "${@:2}" >"$1"
}
quietly "Measuring requests on a null device" ask "$results/request-null" "$out/bench/bench_stand_in" /dev/null
quietly "Measuring requests on the stand-in" ask "$results/request-in-process" \
    env LD_PRELOAD="$out/emu/liborxemu.so" "$out/bench/bench_stand_in" /dev/pktorx
quietly "Measuring requests in a session" ask "$results/request-in-session" \
    "$out/emu/orxemu" run -- "$out/bench/bench_stand_in" /dev/pktorx

# The other targets' sizes and stacks.
targets=()
for preset in powerpc mips; do
    install_for "$preset"
    tree=$here/build/bench-$preset
    quietly "Configuring $preset" cmake --preset "$preset" -B "$tree" -DQIR_BUILD_TESTS=OFF
    quietly "Building $preset" cmake --build "$tree" --parallel "$(nproc)" --target orxtest_static
    targets+=("$preset=$tree")
done

options=("$@")
python3 "$here/bench/report.py" "${options[@]}" "$results" "$out" "${targets[@]}"
