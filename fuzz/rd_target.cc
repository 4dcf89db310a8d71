// The parser of route distinguishers, with a text that ends where its memory does.
#include "base/error.h"
#include "boundary/request.h"
#include "bytes.h"
#include "mapping/plugin.h"

#include <cstring>

namespace {

using yfw::fuzz::require;
using Parser = cerrno (*)(yfw_map_ctx, char *, std::uint32_t *, std::uint32_t *, std::uint32_t *, std::uint32_t *,
                          char *, std::uint32_t *);

struct Parsed {
    cerrno code = 0;
    std::uint32_t type = 0, as_upper = 0, as = 0, as_index = 0, address_index = 0;
    char address[64] = {};
};

Parsed parse(Parser parser, std::string_view text) {
    static const yfw::Schema schema({YFW_MODELS_DIR});
    yfw::Request request(schema, YFW_KIND_EDIT, nullptr);
    const std::unique_ptr<char[]> copy(new char[text.size() + 1]);
    std::memcpy(copy.get(), text.data(), text.size());
    copy[text.size()] = '\0';
    Parsed parsed;
    parsed.code = parser(&request, copy.get(), &parsed.type, &parsed.as_upper, &parsed.as, &parsed.as_index,
                         parsed.address, &parsed.address_index);
    return parsed;
}

const yfw::Plugin &plugin() {
    static const yfw::Plugin opened(YFW_PLUGIN);
    return opened;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    plugin(); // the fuzzer is to see its code
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const auto parser = reinterpret_cast<Parser>(plugin().find("oc_bgp_vrf_extract_rd"));
    const Parsed parsed = parse(parser, {reinterpret_cast<const char *>(data), size});
    if (parsed.code != 0) {
        require(parsed.code == OCBGP_ERR_GENERAL, "the one code of a refusal");
        return 0;
    }
    require(parsed.type <= 2 && parsed.as_upper == 0, "one of three types");
    require(std::memchr(parsed.address, '\0', sizeof parsed.address) != nullptr, "the address ends");
    require((parsed.type == 1) == (parsed.address[0] != '\0'), "an address for the type that has one");
    require(parsed.address_index <= UINT16_MAX, "the range of an address's index");
    require(parsed.type != 2 || (parsed.as > UINT16_MAX && parsed.as_index <= UINT16_MAX), "ranges of type 2");
    if (parsed.type == 0 && (parsed.as == 0 || parsed.as > UINT16_MAX)) {
        return 0; // a hexadecimal or octal number that is in range, and as a decimal one is not
    }
    const std::string plain = parsed.type == 1
                                  ? std::string(parsed.address) + ':' + std::to_string(parsed.address_index)
                                  : std::to_string(parsed.as) + ':' + std::to_string(parsed.as_index);
    const Parsed again = parse(parser, plain);
    require(again.code == 0 && again.type == parsed.type && again.as == parsed.as &&
                again.as_index == parsed.as_index && again.address_index == parsed.address_index,
            "what was parsed is parsed the same from its plain text", plain);
    return 0;
}
