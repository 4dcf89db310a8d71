#!/usr/bin/env bash
# What is installed works: a program outside the repository is compiled and linked against it and runs on it, and the
# command does its job. A directory of packages is unpacked instead.
#   installed_test.sh BUILD-DIRECTORY|PACKAGES COMPILER [FLAGS OF THE BUILD...]
set -euo pipefail
from=$1 compiler=$2
examples=$(cd "$(dirname "${BASH_SOURCE[0]}")/../examples" && pwd)
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
if compgen -G "$from/*.deb" >/dev/null; then
    for package in "$from"/*.deb; do
        dpkg-deb -x "$package" "$scratch"
    done
else
    cmake --install "$from" --prefix "$scratch/usr" >"$scratch/log"
fi
cat >"$scratch/program.cc" <<'CC'
#include <engine.h>
#include <error.h>
#include <unistd.h>

#include <cstdio>
#include <string>

int main(int, char **argv) {
    const std::string usr = argv[1];
    const yfw::Engine engine({{usr + "/share/yfw/models"}, usr + "/share/yfw/mapping/bgp.json", argv[2]}, nullptr);
    const yfw::Store store(usr + "/db", engine.schema(), yfw::Access::write);
    yfw::Transaction transaction = store.begin(yfw::Access::write);
    std::string edit = "{\"nowhere\": 1}";
    try {
        engine.edit(edit, yfw::Syntax::json, {}, transaction);
    } catch (const yfw::Refused &refused) {
        // The file that only the plug-in is offered.
        return refused.path() == "/nowhere" && access("/pkg/lib/libsysdb.so", R_OK) != 0 ? 0 : 2;
    }
    return 3;
}
CC
pc=$(dirname "$(find "$scratch/usr" -name yfw.pc)")
read -ra flags < <(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs yfw)
"$compiler" -std=c++20 "$@" "$scratch/program.cc" "${flags[@]}" -o "$scratch/program"
LD_LIBRARY_PATH=$(dirname "$pc") "$scratch/program" "$scratch/usr" "$(find "$scratch/usr" -name libocni_bgp_map.so)"
# The command finds what belongs to it.
yfw=("$scratch/usr/bin/yfw" --db "$scratch/db")
"${yfw[@]}" edit "$examples/01-first-edits/first.json" >"$scratch/native"
"${yfw[@]}" get --native | diff "$scratch/native" -
read_back=$("${yfw[@]}" get /network-instances/network-instance/protocols/protocol/bgp/global/config/as)
[[ $read_back == *'"as": 65000'* ]]
# What a person and the shells look for stands where they look.
for file in man/man1/yfw.1.gz man/man1/yfw-edit.1.gz bash-completion/completions/yfw zsh/vendor-completions/_yfw; do
    [[ -s $scratch/usr/share/$file ]] || { echo "$file is not installed" >&2; exit 1; }
done
