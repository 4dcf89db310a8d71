// yfw map --deviations: the module fits the models in use, takes away what the mapping does not serve and nothing else.
#include "base/error.h"
#include "documents/reader.h"
#include "engine.h"
#include "store_fixture.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace yfw::test {
namespace {

const std::string bgp = "/network-instances/network-instance/protocols/protocol/bgp";

std::string output_of(const std::string &command) {
    std::string text;
    std::FILE *pipe = popen(command.c_str(), "r");
    for (char piece[4096]; std::size_t size = std::fread(piece, 1, sizeof piece, pipe);) {
        text.append(piece, size);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
}

class Deviations : public testing::Test {
  protected:
    // The models with the module that is printed for them.
    std::vector<fs::path> deviated(const std::string &arguments, std::vector<fs::path> models) {
        const std::string module = output_of(shell_word(YFW_COMMAND) + " map --deviations " + arguments);
        write_file(directory_ / "more/yfw-openconfig-deviations.yang", module);
        models.insert(models.begin() + 1, directory_ / "more");
        return models;
    }

    ScratchDirectory directory_;
};

// The mapping fits the deviated models: they have every node that it names. What it does not reach is gone, but for
// these.
std::vector<std::string> left_over(const Engine &engine) {
    std::vector<std::string> paths;
    for (std::uint32_t id = 1; id < engine.schema().size(); ++id) {
        const SchemaNode &node = engine.schema().node(id);
        const bool is_copy = node.depth > 1 && node.parent->parent->child(node.name) != nullptr &&
                             node.parent->parent->child(node.name)->is_key;
        if (node.path.starts_with(bgp) && !node.is_inner() && engine.mapping().find(node) == nullptr && !node.is_key &&
            !is_copy) {
            paths.push_back(node.path.substr(bgp.size()));
        }
    }
    return paths;
}

TEST_F(Deviations, FitTheCutModels) {
    const Engine engine({deviated("", {YFW_MODELS_DIR}), YFW_MAPPING, YFW_PLUGIN}, nullptr);
    EXPECT_EQ(left_over(engine), std::vector<std::string>());
    EXPECT_NE(engine.schema().find(bgp + "/neighbors/neighbor/config/neighbor-address"), nullptr);
}

TEST_F(Deviations, FitThePublishedModels) {
    const char *published = std::getenv("YFW_PUBLISHED_MODELS");
    if (published == nullptr || !fs::is_directory(published)) {
        GTEST_SKIP() << "YFW_PUBLISHED_MODELS names no directory with the published modules";
    }
    const Engine engine(
        {deviated("--models " + shell_word(published), {published, YFW_MODELS_DIR}), YFW_MAPPING, YFW_PLUGIN}, nullptr);
    EXPECT_EQ(left_over(engine), std::vector<std::string>());
    const Schema &schema = engine.schema();
    for (const char *gone :
         {"/rib", "/global/dynamic-neighbor-prefixes", "/neighbors/neighbor/as-path-options/config",
          "/neighbors/neighbor/timers/config/connect-retry", "/neighbors/neighbor/state/auth-password",
          "/global/afi-safis/afi-safi/use-multiple-paths/ebgp/config/allow-multiple-as"}) {
        EXPECT_EQ(schema.find(bgp + gone), nullptr) << gone;
    }
    for (const char *there : {"/global/config/as", "/global/afi-safis/afi-safi/config/afi-safi-name",
                              "/neighbors/neighbor/neighbor-address", "/neighbors/neighbor/timers/config/hold-time",
                              "/neighbors/neighbor/enable-bfd/config/enabled",
                              // Named by the leafref of a neighbor's peer group.
                              "/peer-groups/peer-group/peer-group-name"}) {
        EXPECT_NE(schema.find(bgp + there), nullptr) << there;
    }
    // What is no part of BGP is another mapping's to tell.
    EXPECT_NE(schema.find("/network-instances/network-instance/protocols/protocol/isis"), nullptr);
}

TEST_F(Deviations, LeaveWhatReadsShow) {
    const Schema schema(deviated("", {YFW_MODELS_DIR}));
    const std::string yfw = shell_word(YFW_COMMAND) + " --db " + shell_word(directory_ / "db");
    output_of(yfw + " edit --skip-unknown " + shell_word(YFW_EXAMPLES_DIR) +
              "/70-published/*.json >/dev/null 2>&1; true");
    std::string shown = output_of(yfw + " get --state");
    EXPECT_NE(shown.find("\"neighbor\""), std::string::npos);
    Arena arena;
    ReadOptions reading;
    reading.edit = false;
    EXPECT_NO_THROW(read_document(arena, schema, shown, Syntax::json, reading)) << shown;
}

// No node can be deviated twice and taken away.
TEST_F(Deviations, LeaveANodeThatAnotherModuleDeviates) {
    const std::string leaf = "/neighbors/neighbor/timers/config/minimum-advertisement-interval";
    std::string mapping = file_bytes(YFW_MAPPING);
    const std::size_t from = mapping.find("{\"path\": \"" + bgp + leaf);
    ASSERT_NE(from, std::string::npos);
    mapping.erase(from, mapping.find('\n', from) + 1 - from);
    // What is left must fit: a note is about served nodes, and every exported function is named.
    const std::size_t notes = mapping.find(",\n    \"note\": [");
    ASSERT_NE(notes, std::string::npos);
    mapping.erase(notes, mapping.find("\n    ]", notes) + std::string_view("\n    ]").size() - notes);
    mapping.insert(mapping.find("{\"name\""),
                   R"({"name": "oc_bgp_nbr_timers_cfg_minimum_adv_interval", "reason": "left out"}, )");
    write_file(directory_ / "mapping/bgp.json", mapping);
    fs::copy(fs::path(YFW_MAPPING).parent_path() / "yfw-mapping.yang", directory_ / "mapping/yfw-mapping.yang");
    const std::string description = (directory_ / "mapping/bgp.json").string();
    const Engine engine({deviated("--mapping " + shell_word(description), {YFW_MODELS_DIR}), description, YFW_PLUGIN},
                        nullptr);
    EXPECT_EQ(left_over(engine), std::vector{leaf});
    EXPECT_NE(file_bytes(directory_ / "more/yfw-openconfig-deviations.yang")
                  .find("// Not served either, but yfw-openconfig-departures deviates it already:\n  // " + bgp + leaf),
              std::string::npos);
}

} // namespace
} // namespace yfw::test
