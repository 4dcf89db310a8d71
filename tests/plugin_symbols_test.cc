// The plug-in's edges: it exports the functions of a list and nothing else, and imports the boundary and the standard
// libraries.
#include "plugin_fixture.h"

#include <elf.h>

#include <set>

namespace yfw::test {
namespace {

using Names = std::set<std::string>;

const fs::path project = fs::path(YFW_MODELS_DIR).parent_path();

struct Symbol {
    std::string name, library; // of a versioned import, else empty
    bool defined, weak;
};

// The dynamic symbols of a shared object.
class SharedObject {
  public:
    explicit SharedObject(const fs::path &file) : bytes_(file_bytes(file)) {
        const auto header = at<Elf64_Ehdr>(0);
        for (std::uint64_t i = 0; i < header.e_shnum; ++i) {
            sections_.push_back(at<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr)));
        }
    }

    [[nodiscard]] std::vector<Symbol> symbols() const {
        const Elf64_Shdr table = section(SHT_DYNSYM);
        const std::map<std::uint16_t, std::string> libraries = version_libraries();
        std::vector<Symbol> found;
        for (std::uint64_t i = 1; i < table.sh_size / sizeof(Elf64_Sym); ++i) {
            const auto symbol = at<Elf64_Sym>(table.sh_offset + i * sizeof(Elf64_Sym));
            const auto version = at<std::uint16_t>(section(SHT_GNU_versym).sh_offset + i * sizeof(std::uint16_t));
            const auto library = libraries.find(version);
            found.push_back({text(table, symbol.st_name), library == libraries.end() ? "" : library->second,
                             symbol.st_shndx != SHN_UNDEF, ELF64_ST_BIND(symbol.st_info) == STB_WEAK});
        }
        return found;
    }

    [[nodiscard]] Names needed() const {
        const Elf64_Shdr table = section(SHT_DYNAMIC);
        Names found;
        for (std::uint64_t i = 0; i < table.sh_size / sizeof(Elf64_Dyn); ++i) {
            const auto entry = at<Elf64_Dyn>(table.sh_offset + i * sizeof(Elf64_Dyn));
            if (entry.d_tag == DT_NEEDED) {
                found.insert(text(table, entry.d_un.d_val));
            }
        }
        return found;
    }

  private:
    template <typename Record>
    [[nodiscard]] Record at(std::uint64_t offset) const {
        Record record;
        std::memcpy(&record, bytes_.substr(offset, sizeof record).data(), sizeof record);
        return record;
    }
    [[nodiscard]] Elf64_Shdr section(std::uint32_t type) const {
        return *std::find_if(sections_.begin(), sections_.end(),
                             [type](const Elf64_Shdr &any) { return any.sh_type == type; });
    }
    [[nodiscard]] std::string text(const Elf64_Shdr &of, std::uint64_t offset) const {
        return bytes_.c_str() + sections_.at(of.sh_link).sh_offset + offset;
    }
    [[nodiscard]] std::map<std::uint16_t, std::string> version_libraries() const {
        const Elf64_Shdr table = section(SHT_GNU_verneed);
        std::map<std::uint16_t, std::string> libraries;
        std::uint64_t offset = table.sh_offset;
        for (std::uint32_t file = 0; file < table.sh_info; ++file) {
            const auto need = at<Elf64_Verneed>(offset);
            std::uint64_t next = offset + need.vn_aux;
            for (std::uint16_t i = 0; i < need.vn_cnt; ++i) {
                const auto version = at<Elf64_Vernaux>(next);
                libraries[version.vna_other] = text(table, need.vn_file);
                next += version.vna_next;
            }
            offset += need.vn_next;
        }
        return libraries;
    }

    std::string bytes_;
    std::vector<Elf64_Shdr> sections_;
};

Names listed() {
    std::ifstream list(project / "tests" / "plugin_symbols.txt");
    Names names;
    for (std::string line; std::getline(list, line);) {
        if (!line.empty() && line[0] != '#') {
            names.insert(line);
        }
    }
    return names;
}

TEST(PluginSymbols, ExportsTheListAndNothingElse) {
    const std::vector<std::string> functions = exported_functions(YFW_PLUGIN);
    EXPECT_EQ(Names(functions.begin(), functions.end()), listed());
    Names defined;
    for (const Symbol &symbol : SharedObject(YFW_PLUGIN).symbols()) {
        if (symbol.defined) {
            defined.insert(symbol.name);
        }
    }
    EXPECT_EQ(defined, listed()); // no data either
}

TEST(PluginSymbols, ImportsTheBoundaryAndTheStandardLibraries) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "a sanitized plug-in imports the sanitizers too";
#endif
    const Names standard{"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1"};
    std::string boundary;
    for (const fs::directory_entry &header : fs::directory_iterator(project / "include")) {
        boundary += file_bytes(header.path());
    }
    const SharedObject plug_in(YFW_PLUGIN);
    int of_boundary = 0;
    for (const Symbol &symbol : plug_in.symbols()) {
        if (symbol.defined || !symbol.library.empty()) {
            EXPECT_TRUE(symbol.defined || standard.count(symbol.library) == 1)
                << symbol.name << " of " << symbol.library;
            continue;
        }
        // Weak ones are the compiler's own and may be missing.
        const bool declared = std::regex_search(boundary, std::regex("[ *]" + symbol.name + "\\("));
        EXPECT_TRUE(declared || symbol.weak) << symbol.name;
        of_boundary += declared ? 1 : 0;
    }
    EXPECT_GT(of_boundary, 20);
    for (const std::string &library : plug_in.needed()) {
        EXPECT_EQ(standard.count(library), 1U) << library;
    }
}

} // namespace
} // namespace yfw::test
