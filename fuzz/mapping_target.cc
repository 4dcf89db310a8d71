// The mapping description: any text is read and bound, or it cannot be used and the reason is told.
#include "base/error.h"
#include "bgp/companion.h"
#include "bytes.h"
#include "mapping/mapping.h"
#include "tests/scratch.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const yfw::test::ScratchDirectory directory;
    static const yfw::Schema schema({YFW_MODELS_DIR});
    static const yfw::Plugin plugin(YFW_PLUGIN);
    // The description and its module.
    const auto file = directory / "mapping.json", module = directory / "yfw-mapping.yang";
    std::filesystem::copy_file(std::filesystem::path(YFW_MAPPING).replace_filename("yfw-mapping.yang"), module,
                               std::filesystem::copy_options::skip_existing);
    yfw::test::write_file(file, {reinterpret_cast<const char *>(data), size});
    try {
        const yfw::Mapping mapping(yfw::read_mapping(file), schema, plugin, yfw::bgp_companion);
    } catch (const yfw::Unusable &unusable) {
        yfw::fuzz::require(*unusable.what() != '\0', "there is a reason");
    }
    return 0;
}
