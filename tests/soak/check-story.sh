#!/bin/bash
# check-story.sh SOAK POSHOST SECONDS: the soak, and that story tells of each of its checks by the log, which
# eight threads have written at once.
set -euo pipefail

soak=$1 poshost=$2 seconds=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

"$soak" --seconds "$seconds" --log "$folder/till.log" | tee "$folder/figures"
read -r checks untaken < <(sed -nE 's/^checks ([0-9]+) .* stopped ([0-9]+);.*/\1 \2/p' "$folder/figures")
"$poshost" story --json "$folder/till.log" >"$folder/story"
told=$(wc -l <"$folder/story")
echo "story tells of $told checks of $checks, $untaken of which were not taken"
((told == checks - untaken && told > 0))
