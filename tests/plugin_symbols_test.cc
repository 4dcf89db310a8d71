// The plug-in's edges: it exports the functions of a list and nothing else, and imports the boundary and the standard
// libraries.
#include "plugin_fixture.h"

#include <elf.h>

namespace yfw::test {
namespace {

using Names = std::set<std::string>;

const fs::path project = fs::path(YFW_MODELS_DIR).parent_path();

// The dynamic symbols of the plug-in: what it defines, and what it does not.
std::pair<Names, Names> dynamic_symbols() {
    const std::string bytes = file_bytes(YFW_PLUGIN);
    const auto at = [&bytes]<typename Record>(Record, std::uint64_t offset) {
        Record record;
        std::memcpy(&record, bytes.substr(offset, sizeof record).data(), sizeof record);
        return record;
    };
    const auto header = at(Elf64_Ehdr(), 0);
    std::pair<Names, Names> names;
    for (std::uint64_t i = 0; i < header.e_shnum; ++i) {
        const auto table = at(Elf64_Shdr(), header.e_shoff + i * sizeof(Elf64_Shdr));
        const auto texts = at(Elf64_Shdr(), header.e_shoff + table.sh_link * sizeof(Elf64_Shdr));
        for (std::uint64_t offset = sizeof(Elf64_Sym); table.sh_type == SHT_DYNSYM && offset < table.sh_size;
             offset += sizeof(Elf64_Sym)) {
            const auto symbol = at(Elf64_Sym(), table.sh_offset + offset);
            const bool undefined = symbol.st_shndx == SHN_UNDEF;
            if (!undefined || ELF64_ST_BIND(symbol.st_info) != STB_WEAK) { // what is weak may be missing
                (undefined ? names.second : names.first).insert(bytes.c_str() + texts.sh_offset + symbol.st_name);
            }
        }
    }
    return names;
}

TEST(PluginSymbols, ExportsTheListAndNothingElse) {
    std::ifstream list(project / "tests" / "plugin_symbols.txt");
    Names listed;
    for (std::string line; std::getline(list, line);) {
        listed.insert(line);
    }
    const std::vector<std::string> functions = exported_functions(YFW_PLUGIN);
    EXPECT_EQ(Names(functions.begin(), functions.end()), listed);
    EXPECT_EQ(dynamic_symbols().first, listed); // no data either
}

TEST(PluginSymbols, ImportsTheBoundaryAndTheStandardLibraries) {
    std::string boundary;
    for (const fs::directory_entry &header : fs::directory_iterator(project / "include")) {
        boundary += file_bytes(header.path());
    }
    void *standard = dlopen("libstdc++.so.6", RTLD_LAZY); // and what that one needs
    const Names imports = dynamic_symbols().second;
    EXPECT_EQ(imports.count("yfw_oc_error_path") + imports.count("strlen"), 2U);
    for (const std::string &name : imports) {
        const bool declared = std::regex_search(boundary, std::regex("[ *]" + name + "\\("));
        const bool sanitizer = std::regex_search(name, std::regex("^__(asan|ubsan|sanitizer)_"));
        EXPECT_TRUE(declared || sanitizer || dlsym(standard, name.c_str()) != nullptr) << name;
    }
    dlclose(standard);
}

} // namespace
} // namespace yfw::test
