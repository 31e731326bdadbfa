#!/bin/bash
# Uses the packages as their readers would, without installing them on this machine: check-installed.sh BUILD PACKAGES WORK
#   BUILD     the build that the packages were made from
#   PACKAGES  folder with the .deb files
#   WORK      a folder to work in, emptied first
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$1 packages=$2 work=$3
jobs=${JOBS:-$(nproc)}
rm -rf "$work"
mkdir -p "$work/home"
# Neither this machine's settings nor its libraries.
export HOME="$work/home" XDG_CONFIG_DIRS="$work/home" LC_ALL=C.UTF-8
export CMAKE_BUILD_PARALLEL_LEVEL=$jobs
unset XDG_CONFIG_HOME LD_LIBRARY_PATH PKG_CONFIG_PATH CMAKE_PREFIX_PATH CXXFLAGS LDFLAGS

say() {
    echo "check-installed: $*" >&2
}

# expect STATUS TEXT COMMAND...: the command ends so, and prints a line with the text
expect() {
    local wanted=$1 text=$2 status=0 output
    shift 2
    output=$("$@" 2>&1) || status=$?
    if ((status != wanted)) || ! grep -qF -- "$text" <<<"$output"; then
        echo "$output" >&2
        say "status $status; wanted $wanted and \"$text\" from: $*"
        exit 1
    fi
}

# as_documented DOCUMENT BEGIN FROM TO...: runs the command that the document has in its text and that begins so,
# with each FROM of it replaced
as_documented() {
    local document=$1 begin=$2 command
    if ! command=$(grep -o -m 1 "\`${begin}[^\`]*" "$root/$document"); then
        say "$document lacks \`$begin"
        exit 1
    fi
    command=${command#\`}
    shift 2
    while (($#)); do
        command=${command//"$1"/"$2"}
        shift 2
    done
    say "$command"
    eval "$command" >"$work/command.log" || { cat "$work/command.log" >&2 && exit 1; }
}

say "cmake --install lays out what the packages hold"
for package in "$packages"/*.deb; do
    dpkg-deb -x "$package" "$work/unpacked"
done
as_documented CONTRIBUTING.md 'cmake --install' build/release "$build" DIR "$work/installed"
diff <(cd "$work/unpacked/usr" && find . | sort) <(cd "$work/installed" && find . | sort)
prefix="$work/unpacked/usr"
poshost="$prefix/bin/poshost"

say "the tools, from where they were unpacked to"
if ldd "$poshost" "$prefix"/lib/*/crptservice/libcrptservice.so | grep -E "not found|$build/"; then
    say "libraries are missing, or taken from the build"
    exit 1
fi
expect 1 'Кодов 11: прошли 8, отказано 3' "$poshost" --stand verify
"$root/packaging/check-manuals.sh" "$prefix/bin" "$prefix/share/man"
for page in "$prefix"/share/man/{,ru/}man1/*; do
    said=$(MANROFFSEQ='' MANWIDTH=80 man --warnings -E UTF-8 -l "$page" 2>&1 >/dev/null) || said+=" man failed"
    if [[ -n $said ]]; then
        say "$page: $said"
        exit 1
    fi
done
"$root/packaging/check-completion.sh" "$prefix/bin" "$prefix/share/bash-completion/completions/marksim" \
    "$prefix/share/fish/vendor_completions.d/marksim.fish" "$prefix/share/zsh/vendor-completions/_poshost"

say "the documents: every link leads somewhere, and no page needs a script"
documents="$prefix/share/doc/crptservice-doc"
while IFS=: read -r file link; do
    if [[ ! -e ${file%/*}/$link ]]; then
        say "$file: there is no $link"
        exit 1
    fi
done < <(find "$documents" -name '*.md' -exec grep -oHP '\]\((?![a-z]+:)\K[^)#\s]+' {} +)
if [[ ! -s $documents/html/index.html ]] || grep -rlE '<script|onload=' "$documents/html" || [[ $(find "$documents" -name '*.js') ]]; then
    say "the reference of the host SDK is not as it should be"
    exit 1
fi

stoplist="$prefix/share/doc/crptservice-dev/examples/stoplist"
sale=(verify 0104602114050016215wDq 0104607026010011215rhT)
# An older standard than the headers need: the targets are to ask for theirs, each of them.
consumer=(-G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_STANDARD=17)
for targets in "$prefix"/lib/*/cmake/{OrvexHost/OrvexHost,CrptService/CrptService}Targets.cmake; do
    if [[ $(grep -c '^add_library' "$targets") != $(grep -c 'INTERFACE_COMPILE_FEATURES "cxx_std_20"' "$targets") ]]; then
        say "$targets has a target without cxx_std_20"
        exit 1
    fi
done
say "a plug-in of one's own with find_package()"
cmake -S "$stoplist" -B "$work/stoplist" "${consumer[@]}" >/dev/null
cmake --build "$work/stoplist" >/dev/null
expect 1 'продажа заблокирована; «в стоп-листе магазина»' \
    "$poshost" --config "$stoplist/stoplist.ini" --plugin "$work/stoplist/libstoplist.so" "${sale[@]}"

say "a host of one's own, beside the stand"
cp -r "$prefix/share/doc/crptservice-dev/examples/host" "$work/host"
cmake -S "$work/host" -B "$work/host/build" "${consumer[@]}" >/dev/null
cmake --build "$work/host/build" >/dev/null
sed 's/^keys = .*/keys = of-nobody/' "$work/host/host.ini" >"$work/refused.ini"
"$prefix/bin/marksim" --log-level debug --scenario "$work/host/stand.json" >"$work/ready.json" 2>"$work/stand.log" &
stand=$!
trap 'kill "$stand" 2>/dev/null || true' EXIT
until [[ -s $work/ready.json ]]; do
    kill -0 "$stand"
    sleep 0.1
done
host=("$work/host/build/host" "$prefix"/lib/*/crptservice/libcrptservice.so)
expect 0 'sold: RU-401301-AAA0277031' "${host[@]}" "$work/host/host.ini" RU-401301-AAA0277031
expect 1 'refused: 0104602114050023215Hlpa' "${host[@]}" "$work/host/host.ini" $'0104602114050023215Hlpa+Bq/Cefu\x1d93Xxhu'
expect 1 'ошибка токена' "${host[@]}" "$work/refused.ini" RU-401301-AAA0277031
for request in /cdn/info /codes/check /api/v2/init; do
    grep -q "$request" "$work/stand.log" || { say "the host has brought about no $request" && exit 1; }
done
kill "$stand"
wait "$stand"
expect 1 'the operator does not answer' "${host[@]}" "$work/host/host.ini" RU-401301-AAA0277031

say "the plug-in of one's own with pkg-config, from cmake --install --prefix"
modules=("$work"/installed/lib/*/pkgconfig)
read -ra cflags < <(PKG_CONFIG_PATH=${modules[0]} pkg-config --cflags crptservice)
read -ra libs < <(PKG_CONFIG_PATH=${modules[0]} pkg-config --libs crptservice)
"$(pkg-config --variable=libexecdir Qt6Core)/moc" "${cflags[@]}" "$stoplist/stoplist.h" -o "$work/moc_stoplist.cpp"
g++ -std=c++20 -shared -fPIC "${cflags[@]}" -I"$stoplist" "$stoplist/stoplist.cpp" "$work/moc_stoplist.cpp" \
    "${libs[@]}" -o "$work/libstoplist.so"
expect 1 'прошли 1, отказано 1' \
    "$work/installed/bin/poshost" --config "$stoplist/stoplist.ini" --plugin "$work/libstoplist.so" "${sale[@]}"

say "crptservice itself against the SDK, from a copy of the sources"
mkdir "$work/tree"
(cd "$root" && git -c safe.directory="$root" ls-files -z | xargs -0 cp --parents -t "$work/tree")
(cd "$work/tree" && as_documented docs/host-developers.md 'cmake --preset release' '<prefix>' "$prefix")
expect 1 'Кодов 11: прошли 8, отказано 3' "$poshost" --plugin "$work/tree/build/release/lib/libcrptservice.so" --stand verify
say "all well"
