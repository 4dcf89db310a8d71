// The mapping description: any text is read and bound, or it cannot be used and the reason is told.
#include "base/error.h"
#include "bgp/companion.h"
#include "bytes.h"
#include "mapping/mapping.h"

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

// A directory with the description's module, for the description.
class Directory {
  public:
    Directory() {
        std::string name = (fs::temp_directory_path() / "yfw-fuzz-XXXXXX").string();
        yfw::fuzz::require(mkdtemp(name.data()) != nullptr, "a directory for the description");
        path_ = name;
        fs::copy_file(fs::path(YFW_MAPPING).parent_path() / "yfw-mapping.yang", path_ / "yfw-mapping.yang");
    }
    ~Directory() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;
    [[nodiscard]] fs::path file() const { return path_ / "mapping.json"; }

  private:
    fs::path path_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const Directory directory;
    static const yfw::Schema schema({YFW_MODELS_DIR});
    static const yfw::Plugin plugin(YFW_PLUGIN);
    std::ofstream(directory.file(), std::ios::binary)
        .write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
    try {
        const yfw::Mapping mapping(yfw::read_mapping(directory.file()), schema, plugin, yfw::bgp_companion);
    } catch (const yfw::Unusable &unusable) {
        yfw::fuzz::require(*unusable.what() != '\0', "there is a reason");
    }
    return 0;
}
