#include "mapping/plugin.h"

#include "error.h"

#include <dlfcn.h>
#include <elf.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace yfw {

namespace {

// A record at an offset of the file, or Unusable.
template <typename Record>
Record record_at(const std::string &bytes, std::uint64_t offset, const std::filesystem::path &file) {
    if (offset > bytes.size() || bytes.size() - offset < sizeof(Record)) {
        throw Unusable("the plug-in " + file.string() + " is cut short");
    }
    Record record;
    std::memcpy(&record, bytes.data() + offset, sizeof(Record));
    return record;
}

} // namespace

std::vector<std::string> exported_functions(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (bytes.size() < sizeof(Elf64_Ehdr) || bytes.compare(0, SELFMAG, ELFMAG) != 0 || bytes[EI_CLASS] != ELFCLASS64) {
        throw Unusable("the plug-in " + file.string() + " is no shared object of this machine");
    }
    const auto header = record_at<Elf64_Ehdr>(bytes, 0, file);
    std::vector<std::string> names;
    for (std::uint64_t i = 0; i < header.e_shnum; ++i) {
        const auto section = record_at<Elf64_Shdr>(bytes, header.e_shoff + i * sizeof(Elf64_Shdr), file);
        if (section.sh_type != SHT_DYNSYM) {
            continue;
        }
        const auto texts = record_at<Elf64_Shdr>(bytes, header.e_shoff + section.sh_link * sizeof(Elf64_Shdr), file);
        for (std::uint64_t at = 0; at + sizeof(Elf64_Sym) <= section.sh_size; at += sizeof(Elf64_Sym)) {
            const auto symbol = record_at<Elf64_Sym>(bytes, section.sh_offset + at, file);
            if (symbol.st_shndx == SHN_UNDEF || ELF64_ST_TYPE(symbol.st_info) != STT_FUNC) {
                continue;
            }
            record_at<char>(bytes, texts.sh_offset + symbol.st_name, file);
            names.emplace_back(bytes.c_str() + texts.sh_offset + symbol.st_name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

void Plugin::Closer::operator()(void *handle) const {
    dlclose(handle);
}

Plugin::Plugin(const std::filesystem::path &file) : file_(file), exports_(exported_functions(file)) {
    // A name without a slash would be looked for in the system's directories.
    handle_.reset(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL));
    if (handle_ == nullptr) {
        throw Unusable(std::string("the plug-in cannot be loaded: ") + dlerror());
    }
}

void *Plugin::find(const std::string &name) const {
    const bool exported = std::binary_search(exports_.begin(), exports_.end(), name);
    return exported ? dlsym(handle_.get(), name.c_str()) : nullptr;
}

} // namespace yfw
