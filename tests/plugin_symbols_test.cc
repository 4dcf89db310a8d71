// The plug-in's edges: it exports the functions of a list and nothing else, and imports what docs/boundary.md says and
// the standard libraries.
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

// All that a pattern with one group finds in a text.
Names found_in(const std::string &text, const char *pattern) {
    const std::regex regex(pattern);
    const std::sregex_token_iterator first(text.begin(), text.end(), regex, 1);
    return {first, std::sregex_token_iterator()};
}

TEST(PluginSymbols, ImportsWhatTheBoundaryIsSaidToOffer) {
    const std::string document = file_bytes(project / "docs" / "boundary.md");
    const std::string section = document.substr(document.find("\n## Operations to offer"));
    std::istringstream rows(section.substr(0, section.find("\n### ")));
    Names offered;
    Names listed; // what is not imported, too
    for (std::string row; std::getline(rows, row);) {
        if (row.starts_with('|')) {
            listed.merge(found_in(row, "`(\\w+)`"));
            offered.merge(found_in(row.substr(0, row.find(" | ", row.find(" | ") + 1)), "`(\\w+)`"));
        }
    }
    Names declared;
    for (const fs::directory_entry &header : fs::directory_iterator(project / "include")) {
        declared.merge(found_in(file_bytes(header.path()), "\n[a-z][\\w ]*[ *](\\w+)\\("));
    }
    EXPECT_EQ(listed, declared);

    void *standard = dlopen("libstdc++.so.6", RTLD_LAZY); // and what that one needs
    Names imports = dynamic_symbols().second;
    std::erase_if(imports, [standard](const std::string &name) {
        const bool sanitizer = std::regex_search(name, std::regex("^__(asan|ubsan|sanitizer)_"));
        return sanitizer || dlsym(standard, name.c_str()) != nullptr;
    });
    dlclose(standard);
    EXPECT_EQ(imports, offered);
}

} // namespace
} // namespace yfw::test
