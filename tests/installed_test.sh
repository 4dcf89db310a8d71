#!/usr/bin/env bash
# A program outside the repository is compiled and linked against what is installed, and runs on it.
#   installed_test.sh BUILD-DIRECTORY COMPILER [FLAGS OF THE BUILD...]
set -euo pipefail
build=$1 compiler=$2
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/usr" >"$scratch/log"
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
read -ra flags < <(PKG_CONFIG_PATH=$pc pkg-config --define-prefix --cflags --libs yfw)
"$compiler" -std=c++20 "$@" "$scratch/program.cc" "${flags[@]}" -o "$scratch/program"
LD_LIBRARY_PATH=$(dirname "$pc") "$scratch/program" "$scratch/usr" "$(find "$scratch/usr" -name libocni_bgp_map.so)"
# The command finds what belongs to it.
"$scratch/usr/bin/yfw" --db "$scratch/db" sysdb
