#!/bin/bash
# Draws the diagrams of docs/pictures: every .dot into a .svg with the colours of diagram.css.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$here/../../docs/pictures"
for diagram in *.dot; do
    dot -Tsvg "$diagram" | sed -e '/^<!-- Gen/,/-->$/d' -e "/^ viewBox/{
a <style>
r $here/diagram.css
a </style>
}" >"${diagram%.dot}.svg"
done
