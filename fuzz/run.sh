#!/usr/bin/env bash
# Runs every fuzz target, one after the other, for SECONDS each on a corpus seeded by the
# library's own writers:   fuzz/run.sh <fuzz build directory> [SECONDS] [target...]
# Inputs that crash land in <build>/fuzz/artifacts/<target>/; the exit status is 1 if any did.
set -uo pipefail
build=$1
seconds=${2:-60}
shift $(( $# > 1 ? 2 : 1 ))
targets=("$@")
dir=$build/fuzz
# Without names: every target that was built.
if [[ ${#targets[@]} -eq 0 ]]; then
    for exe in "$dir"/fuzz_*; do
        name=${exe##*/fuzz_}
        [[ -x $exe && -f $exe && $name != *seeds ]] && targets+=("$name")
    done
fi

here=$(cd "$(dirname "$0")" && pwd)
export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export LSAN_OPTIONS=suppressions=$here/../tests/lsan.supp
"$dir/fuzz_seeds" "$dir/corpus" || exit 1
"$dir/fuzz_sound_seeds" "$dir/corpus" || exit 1

status=0
for target in "${targets[@]}"; do
    mkdir -p "$dir/corpus/$target" "$dir/artifacts/$target"
    echo "== $target: $seconds s"
    "$dir/fuzz_$target" -max_total_time="$seconds" -print_final_stats=1 -timeout=20 \
        -rss_limit_mb=2048 -artifact_prefix="$dir/artifacts/$target/" "$dir/corpus/$target" \
        > "$dir/$target.log" 2>&1
    rc=$?
    grep -E "^(stat::number_of_executed_units|stat::new_units_added)|==[0-9]+==ERROR|SUMMARY|Test unit written|runtime error" \
        "$dir/$target.log"
    [[ $rc -eq 0 ]] || { echo "!! $target failed (exit $rc), see $dir/$target.log"; status=1; }
done
exit $status
