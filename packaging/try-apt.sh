#!/bin/bash
# Installs the packages on a clean Debian 12 as README.md says, uses them and purges them: try-apt.sh PACKAGES FOLDER
# As root. The Debian lies in FOLDER; it is made when it is not there, and left as clean as it was. What is
# mounted in it is seen by this script alone, and is gone when it ends.
set -euo pipefail

if [[ ${3-} != inside ]]; then
    exec unshare --mount --pid --fork "$0" "$1" "$2" inside
fi

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
packages=$1 debian=$2/debian12
install=$(sed -n 's/^    sudo apt install //p' "$root/README.md" | head -n 1)
mkdir -p "$2"
if [[ ! -e $debian/made ]]; then
    echo "try-apt: making $debian" >&2
    rm -rf --one-file-system "$debian"
    if ! debootstrap --variant=minbase --include=man-db,bash-completion bookworm "$debian" >"$2/debootstrap.log" 2>&1; then
        tail -n 5 "$2/debootstrap.log" >&2
        exit 1
    fi
    touch "$debian/made"
fi
mount -t proc proc "$debian/proc"
mkdir -p "$debian/build/packages"
mount --bind "$packages" "$debian/build/packages"

LC_ALL=C.UTF-8 chroot "$debian" /bin/bash -s "$install" <<'INSIDE'
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin
cd /
eval "wanted=($1)"

say() {
    echo "try-apt: $*" >&2
}

# quietly COMMAND...: its output is shown when it fails
quietly() {
    local output
    output=$("$@" 2>&1 </dev/null) || { echo "$output" >&2 && say "failed: $*" && return 1; }
}

dpkg --get-selections >/tmp/before
quietly apt-get update
say "apt install $1"
# shellcheck disable=SC2154
quietly apt-get install -y --no-install-recommends "${wanted[@]}"

say "poshost --stand verify"
poshost --stand verify </dev/null 2>/dev/null >/tmp/basket || (($? == 1))
grep -q 'Кодов 11: прошли 8, отказано 3' /tmp/basket
poshost --scenario blackout verify --json </dev/null 2>/dev/null >/tmp/blackout || (($? == 1))
grep -q '"source":"offline"' /tmp/blackout

say "man poshost, man marksim, in both languages"
for page in poshost marksim; do
    man "$page" | grep -q -- '--scenario'
    man -L ru "$page" | grep -q 'ОПИСАНИЕ'
done

say "completion, as bash loads it"
bash --norc -i <<'COMPLETION' >/tmp/completed 2>/dev/null
source /usr/share/bash-completion/bash_completion
for program in poshost marksim; do
    _completion_loader "$program"
    complete -p "$program"
done
COMPLETION
[[ $(grep -c '^complete -F _crptservice_tools ' /tmp/completed) == 2 ]]

say "apt purge"
quietly apt-get purge -y crptservice crptservice-tools liborvexhost0
quietly apt-get autoremove --purge -y
dpkg --get-selections | diff /tmp/before -
# man's own cache aside, which is emptied week by week
left=$(find / -xdev \( -name '*crptservice*' -o -name '*orvexhost*' -o -name 'poshost*' -o -name 'marksim*' \) -not -path '/build/*' -not -path '/var/cache/man/*')
if [[ -n $left ]]; then
    say "left behind: $left"
    exit 1
fi
INSIDE
echo "try-apt: all well" >&2
