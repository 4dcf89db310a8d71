#include "base/error.h"
#include "documents/published.h"
#include "documents/reader.h"
#include "documents/writer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>

namespace yfw {
namespace {

const Schema &schema() {
    static const Schema loaded({YFW_MODELS_DIR});
    return loaded;
}

// What is left of an entry of network-instances, and what is left out; or why it is refused. I is its path.
std::string result_of(std::string_view given, const PublishedNames &published) {
    const bool is_xml = given.starts_with('<');
    std::string text = is_xml ? "<network-instances xmlns='http://openconfig.net/yang/network-instance'>"
                              : R"({"openconfig-network-instance:network-instances":{"network-instance":[)";
    text.append(given).append(is_xml ? "</network-instances>" : "]}}");
    std::string result;
    try {
        Arena arena;
        ReadOptions options;
        options.published = &published;
        const Document document = read_document(arena, schema(), text, guess_syntax(text), options);
        Sink sink(result);
        write_document(sink, schema(), document.root, {.pretty = false});
        for (const std::string &path : document.left_out) {
            result += " out " + path;
        }
    } catch (const Refused &refused) {
        result = refused.path() + ": " + refused.what();
    }
    for (const auto &[what, with] :
         {std::pair(R"({"openconfig-network-instance:network-instances":{"network-instance":[{"name":"a")", "A"),
          {"/network-instances/network-instance[name=a]", "I"},
          {"}]}}\n", ""}}) {
        for (auto at = result.find(what); at != std::string::npos; at = result.find(what)) {
            result.replace(at, std::strlen(what), with);
        }
    }
    return result;
}

TEST(Published, WhatOursLackIsLeftOutAndAnythingElseIsRefused) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {R"({"vlans":{"vlan":[7]},"openconfig-network-instance:fdb":null,"name":"a"})", "A out I/vlans out I/fdb"},
        {R"({"name":"a","config":{"@mtu":{"operation":"delete"},"type":"L3VRF","mtu":{}}})",
         R"(A,"config":{"type":"openconfig-network-instance-types:L3VRF"} out I/config/mtu)"},
        {R"({"name":"a","@vlnas":{},"fdb":{}})", "I/@vlnas: the models have no such node: vlans is probably meant"},
        {"<network-instance><fdb/><name>a</name><vlans><x/></vlans><fdb/></network-instance>",
         "A out I/fdb out I/vlans"},
        {"<network-instance><name>a</name><b:fdb xmlns:b='http://openconfig.net/yang/bgp'/></network-instance>",
         "I/fdb: the models have no such node: openconfig-network-instance:fdb is probably meant"},
        // With an identity that is a key goes the entry, wherever the key stands.
        {R"({"name":"a","tables":{"table":[{"protocol":"GRIBI","vlanz":1},{"config":{"protocol":"STATIC","address-family":)"
         R"("IPV4"}},{"config":{"protocol":"openconfig-policy-types:GRIBI"}}]}})",
         R"(A,"tables":{"table":[{"protocol":"openconfig-policy-types:STATIC","address-family":"openconfig-types:IPV4",)"
         R"("config":{"protocol":"openconfig-policy-types:STATIC","address-family":"openconfig-types:IPV4"}}]})"
         " out I/tables/table[protocol=GRIBI]"},
    };
    const PublishedNames published({"nowhere", YFW_MODELS_DIR});
    for (const auto &[entry, result] : rows) {
        EXPECT_EQ(result_of(entry, published), result) << entry;
    }
    for (std::uint32_t id = 1; id < schema().size(); ++id) { // the index is no older than ours
        const SchemaNode &node = schema().node(id);
        if (node.module->name.starts_with("openconfig-") && node.parent->module != nullptr) {
            EXPECT_TRUE(published.has(*node.parent, {node.name, node.module->name})) << node.path;
        }
    }
}

TEST(Published, AFileThatIsMissingOrDamagedIsTold) {
    constexpr std::string_view entry = R"({"name":"a","fdb":{}})";
    EXPECT_EQ(result_of(entry, PublishedNames({"here", "there"})),
              "I/fdb: the models have no such node; whether published ones have it is not known, for their index "
              "there/published.index is missing");
    for (const char *text : {"nodes\n  a\n", "nodes\n\n", "nodes\n a", "modules\n", ""}) {
        const auto directory = std::filesystem::path(testing::TempDir()) / "yfw-published";
        std::filesystem::create_directories(directory);
        std::ofstream(directory / "published.index") << text;
        EXPECT_THROW(result_of(entry, PublishedNames({directory})), Unusable) << text;
        std::filesystem::remove_all(directory);
    }
}

} // namespace
} // namespace yfw
