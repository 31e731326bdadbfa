#!/bin/bash
# Holds what poshost prints with --json against the published schemas: check-schemas.sh POSHOST FOLDER
set -euo pipefail

poshost=$1
schemas=$2
status=0
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# fits SCHEMA ARGS...: each line that poshost prints fits the schema
fits() {
    local schema=$schemas/$1.schema.json line number=0
    shift
    "$poshost" --log-level off "$@" >"$folder/out" 2>/dev/null || true
    while read -r line; do
        number=$((number + 1))
        printf '%s\n' "$line" >"$folder/line.json"
        /usr/bin/python3 -m jsonschema -i "$folder/line.json" "$schema" || status=1
    done <"$folder/out"
    if ((number == 0)); then
        echo "poshost $*: nothing was printed" >&2
        status=1
    fi
}

fits verify --stand verify --json
fits verify --scenario blackout verify --json --explain
fits verify --scenario silence verify --json --explain RU-401301-AAA0277031
printf '[MarkedGoods]\n[Log]\nlevel = debug\nfile = %s/till.log\n' "$folder" >"$folder/till.ini"
for scenario in dead-site blackout blackout-alone cross-border; do
    "$poshost" --config "$folder/till.ini" --scenario "$scenario" verify RU-401301-AAA0277031 >/dev/null 2>&1 || true
done
sed -i '$d' "$folder/till.log"  # the end of the last check
fits story story --json "$folder/till.log"
fits ping --stand ping --json
fits doctor --scenario module-setup doctor --json
fits doctor --config "$folder/missing.ini" doctor --json
printf '[Host]\nkeys = a\nkeys = b\n[LMCHZ1]\nenable = true\n' >"$folder/till.ini"
fits doctor doctor --offline --json "$folder/till.ini" "$folder/missing.ini"
fits doctor-keys doctor --keys --json
exit "$status"
