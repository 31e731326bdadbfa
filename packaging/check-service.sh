#!/bin/bash
# Has systemd look over the unit, and starts what it would start: check-service.sh MARKSIM UNIT
set -euo pipefail

program=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
sed "s|/usr/bin/marksim|$program|" "$2" >"$folder/marksim.service"
if said=$(systemd-analyze verify --man=no "$folder/marksim.service" 2>&1) && [[ -z $said ]]; then
    systemd-analyze security --offline=yes --threshold=20 --no-pager "$folder/marksim.service" >"$folder/exposed" ||
        { cat "$folder/exposed" >&2 && exit 1; }
else
    echo "$said" >&2
    exit 1
fi
# shellcheck disable=SC2016 # the unit names the variable, and so does the pattern
read -ra command < <(sed -n 's/^ExecStart=\(.*\) \$MARKSIM_OPTIONS$/\1/p' "$folder/marksim.service")
status=0
# What it hands out is to lie where the unit says, outside of its private /tmp.
if ! grep -q '^Environment=.*TMPDIR=%t/marksim$' "$2" || ! grep -qx 'RuntimeDirectory=marksim' "$2"; then
    echo "the unit keeps the authority's certificate to itself" >&2
    exit 1
fi
line=$(TMPDIR=$folder timeout 2 "${command[@]}" --admin-port 0 --public-address stand.example --tls 2>"$folder/errors") || status=$?
if [[ $line != *"\"caFile\":\"$folder/marksim-"*'"url":"https://stand.example:'*'"ready":true'* ]]; then
    echo "the unit's command ends with $status and prints: $line" >&2
    cat "$folder/errors" >&2
    exit 1
fi
