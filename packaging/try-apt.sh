#!/bin/bash
# Follows README.md and the pages of docs/ on a clean Debian 12: installs the packages, uses them, purges them.
#   try-apt.sh PACKAGES FOLDER CHECKDOCS
#   PACKAGES   folder with the .deb files
#   FOLDER     where the Debian lies; it is made when it is not there, and left as clean as it was
#   CHECKDOCS  the program of tools/checkdocs, which runs the documents' commands
# As root. What is mounted is seen by this script alone, and is gone when it ends.
set -euo pipefail

if [[ ${4-} != inside ]]; then
    exec unshare --mount --pid --fork "$0" "$1" "$2" "$3" inside
fi

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
packages=$1 debian=$2/debian12 checkdocs=$3
home=/home/reader
mkdir -p "$2"

say() {
    echo "try-apt: $*" >&2
}

if [[ ! -e $debian/made ]]; then
    say "making $debian"
    rm -rf --one-file-system "$debian"
    if ! debootstrap --variant=minbase --include=man-db,bash-completion,sudo bookworm "$debian" >"$2/debootstrap.log" 2>&1; then
        tail -n 5 "$2/debootstrap.log" >&2
        exit 1
    fi
    cat >"$debian/etc/apt/apt.conf.d/90unattended" <<'CONF'
APT::Get::Assume-Yes "true";
APT::Install-Recommends "false";
CONF
    echo force-unsafe-io >"$debian/etc/dpkg/dpkg.cfg.d/unsafe-io"  # nobody mourns this Debian
    chroot "$debian" dpkg --get-selections >"$debian/made"
fi
mount -t proc proc "$debian/proc"
rm -rf --one-file-system "${debian:?}$home" "$debian/etc/xdg/crptservice"  # of a run that has failed
mkdir -p "$debian$home/build/packages"

inside=(chroot "$debian" /usr/bin/env -i --chdir="$home" HOME="$home" LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin bash)

# quietly COMMAND...: its output is shown when it fails
quietly() {
    local output
    output=$("$@" 2>&1 </dev/null) || { echo "$output" >&2 && say "failed: $*" && return 1; }
}

# follow DOCUMENT...: runs what somebody types who has the packages, and compares what it prints
follow() {
    say "following $*"
    "$checkdocs" --root "$root" --installed "${inside[*]}" "$@" >&2
}

# Takes away what is not of the Debian itself.
purge() {
    local added
    added=$("${inside[@]}" -c '(dpkg --get-selections | grep -vxFf /made || true) | cut -f 1 | xargs')
    [[ -z $added ]] || quietly "${inside[@]}" -c "apt-get purge $added"
    "${inside[@]}" -c 'dpkg --get-selections | diff /made -'
}

purge
mount --bind "$packages" "$debian$home/build/packages"
quietly "${inside[@]}" -c 'apt-get update'
(cd "$root" && follow ./*.md)

say "the sample settings, with the addresses of a stand in place of the operator's and the module's"
"${inside[@]}" >"$2/stand.log" 2>&1 <<'INSIDE'
set -euo pipefail
# The first site is the fastest by far, so that doctor's table is the same each time.
cat >order.json <<'SCENARIO'
{"servers": {"site-2": {"behaviours": [{"method": "health", "latencyMs": 100}]},
             "site-3": {"behaviours": [{"method": "health", "latencyMs": 200}]}}}
SCENARIO
# In place of the key of zeros, which doctor knows as an example.
key=6b1f4c52-93d7-4e08-a1c6-5d2e9f7b0000
marksim --key "$key" --scenario order.json >ready.json &
until [[ -s ready.json ]]; do sleep 0.1; done
url() { grep -o "\"name\":\"$1\"[^}]*" ready.json | grep -o 'http://[0-9.:]*'; }
sed -e "s|https://markirovka.example|$(url operator-1)|" -e "s|http://127.0.0.1:5995|$(url module-1)|" \
    -e 's|^enable = false|enable = true|' -e "s|00000000-0000-4000-8000-000000000000|$key|" /usr/share/doc/crptservice/examples/till.ini >till.ini
install -D till.ini /etc/xdg/crptservice/poshost.ini
INSIDE
(cd "$root" && follow ./docs/*.md)

"${inside[@]}" <<'INSIDE'
set -euo pipefail

say() {
    echo "try-apt: $*" >&2
}

rm -r /etc/xdg/crptservice
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
INSIDE

say "apt purge"
purge
umount "$debian$home/build/packages"
rm -rf --one-file-system "${debian:?}$home"
# man's own cache aside, which is emptied week by week
left=$(find "$debian" -xdev \( -name '*crptservice*' -o -name '*orvexhost*' -o -name 'poshost*' -o -name 'marksim*' \) \
    -not -path "$debian/var/cache/man/*")
if [[ -n $left ]]; then
    say "left behind: $left"
    exit 1
fi
say "all well"
