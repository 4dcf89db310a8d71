#include "base/error.h"
#include "documents/published.h"
#include "documents/reader.h"
#include "documents/writer.h"

#include <gtest/gtest.h>

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
std::string result_of(std::string_view entry, const PublishedNames &published) {
    constexpr std::string_view head = R"({"openconfig-network-instance:network-instances":{"network-instance":[)";
    const bool is_xml = entry.starts_with('<');
    std::string text(is_xml ? "<network-instances xmlns='http://openconfig.net/yang/network-instance'>" : head);
    text.append(entry).append(is_xml ? "</network-instances>" : "]}}");
    std::string result;
    try {
        Arena arena;
        const ReadOptions options{.published = &published};
        const Document document = read_document(arena, schema(), text, guess_syntax(text), options);
        Sink sink(result);
        write_document(sink, schema(), document.root, {.pretty = false});
        result = result.substr(head.size(), result.size() - head.size() - 4);
        for (const std::string &path : document.left_out) {
            result += " out " + path;
        }
    } catch (const Refused &refused) {
        result = refused.path() + ": " + refused.what();
    }
    constexpr std::string_view path = "/network-instances/network-instance[name=a]";
    for (auto at = result.find(path); at != std::string::npos; at = result.find(path)) {
        result.replace(at, path.size(), "I");
    }
    return result;
}

TEST(Published, WhatOursLackIsLeftOutAndAnythingElseIsRefused) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {R"({"vlans":{"vlan":[7]},"openconfig-network-instance:fdb":null,"name":"a"})",
         R"({"name":"a"} out I/vlans out I/fdb)"},
        {R"({"name":"a","config":{"@mtu":{"operation":"delete"},"name":"a","mtu":{}}})",
         R"({"name":"a","config":{"name":"a"}} out I/config/mtu)"},
        {R"({"name":"a","@vlnas":{},"fdb":{}})", "I/@vlnas: the models have no such node: vlans is probably meant"},
        {"<network-instance><fdb/><name>a</name><vlans><x/></vlans><fdb/></network-instance>",
         R"({"name":"a"} out I/fdb out I/vlans)"},
        // With an identity that is a key goes the entry, wherever the key stands.
        {R"({"name":"a","tables":{"table":[{"protocol":"GRIBI","x":1},{"config":{"protocol":"openconfig-policy-types:GRIBI"}}]}})",
         R"({"name":"a","tables":{}} out I/tables/table[protocol=GRIBI])"},
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
