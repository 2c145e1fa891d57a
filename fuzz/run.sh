#!/usr/bin/env bash
# Builds the "fuzz" preset (clang, libFuzzer, AddressSanitizer) and runs each
# fuzz target for a bounded time: the XML targets from the seeds in
# fuzz/corpus, the container targets from fuzz/corpus-container with the
# words of fuzz/container.dict.
# Exits non-zero if a target finds a crash, a leak, a timeout or a failed
# check; the failing input is kept in build-fuzz/artifacts/.
#
# Usage: fuzz/run.sh [seconds per target, default 60]
set -euo pipefail

seconds="${1:-60}"
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$root"

targets=(xml_parse_text xml_parse_file xml_differential container_text container_file)

cmake --preset fuzz >/dev/null
cmake --build build-fuzz -j2 --target "${targets[@]/#/fuzz_}"

artifacts="$root/build-fuzz/artifacts"
mkdir -p "$artifacts"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

status=0
for target in "${targets[@]}"; do
    echo "== fuzz_$target for ${seconds}s"
    mkdir -p "$work/$target"
    options=(-max_len=16384 fuzz/corpus)
    # A short document can already load a million beans: shorter inputs
    # keep the container targets quick enough to explore.
    [[ $target == container_* ]] && options=(-max_len=4096 -dict=fuzz/container.dict fuzz/corpus-container)
    # New inputs go to the scratch directory; the seeds stay as they are.
    if ! "build-fuzz/fuzz/fuzz_$target" \
        -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -artifact_prefix="$artifacts/$target-" -print_final_stats=1 \
        "$work/$target" "${options[@]}"; then
        echo "fuzz_$target failed; see $artifacts" >&2
        status=1
    fi
done
exit "$status"
