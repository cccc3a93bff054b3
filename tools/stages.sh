# Sourced by .ci/run and tools/long: stages that all run, whatever became of the ones before, and a
# summary that tells how each ended and how long it took.
#
#   stage NAME COMMAND...   runs the command as a stage
#   finish                  prints the summary; exits with 1 when a stage failed

summary=()
failures=0

stage() {
    local name=$1 start=$SECONDS result=passed
    shift
    printf '\n=== %s\n' "$name"
    "$@" || { result=FAILED; failures=$((failures + 1)); }
    summary+=("$(printf '%-12s %-6s %5d s' "$name" "$result" $((SECONDS - start)))")
}

finish() {
    printf '\n=== summary\n'
    printf '%s\n' "${summary[@]}"
    exit $((failures > 0))
}
