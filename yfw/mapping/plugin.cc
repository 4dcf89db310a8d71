#include "mapping/plugin.h"

#include "base/error.h"
#include "boundary/files.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

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

namespace {

// What lies before the first segment that can be written.
std::span<const char> read_only_part(void *handle) {
    struct Search {
        ElfW(Addr) base;
        std::span<const char> found;
    };
    const link_map *map = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0) {
        return {};
    }
    Search search{map->l_addr, {}};
    dl_iterate_phdr(
        [](dl_phdr_info *image, std::size_t, void *data) {
            auto *wanted = static_cast<Search *>(data);
            if (image->dlpi_addr != wanted->base) {
                return 0;
            }
            std::size_t size = 0;
            for (std::size_t i = 0; i < image->dlpi_phnum; ++i) {
                const ElfW(Phdr) &segment = image->dlpi_phdr[i];
                if (segment.p_type == PT_LOAD && (segment.p_flags & PF_W) != 0) {
                    break;
                }
                if (segment.p_type == PT_LOAD) {
                    size = segment.p_vaddr + segment.p_filesz;
                }
            }
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader tells the address as a number
            wanted->found = {reinterpret_cast<const char *>(image->dlpi_addr), size};
            return 1;
        },
        &search);
    return search.found;
}

} // namespace

void Plugin::Closer::operator()(void *handle) const {
    dlclose(handle);
}

Plugin::Plugin(const std::filesystem::path &file) : file_(file), exports_(exported_functions(file)) {
    // A name without a slash would be looked for in the system's directories.
    handle_.reset(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL));
    if (handle_ == nullptr) {
        throw Unusable(std::string("the plug-in cannot be loaded: ") + dlerror());
    }
    constants_ = read_only_part(handle_.get());
    const link_map *map = nullptr;
    if (dlinfo(handle_.get(), RTLD_DI_LINKMAP, &map) != 0) {
        throw Unusable(std::string("the plug-in cannot be loaded: ") + dlerror());
    }
    dynamic_section_ = map->l_ld;
    files::offer_to(dynamic_section_);
}

Plugin::~Plugin() {
    files::withdraw_from(dynamic_section_);
}

void *Plugin::find(const std::string &name) const {
    const bool exported = std::binary_search(exports_.begin(), exports_.end(), name);
    return exported ? dlsym(handle_.get(), name.c_str()) : nullptr;
}

} // namespace yfw
