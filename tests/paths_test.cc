// Instance paths, and texts made safe for a terminal.
#include "base/error.h"
#include "base/text.h"
#include "boundary/instance.h"
#include "boundary/log.h"
#include "model/instance_path.h"
#include "model/path_text.h"
#include "model/trees.h"
#include "store_fixture.h"

namespace yfw::test {
namespace {

const Schema &schema() {
    return project_schema();
}

// The end of the path as it is printed.
constexpr std::pair<std::string_view, std::string_view> printed_values[] = {
    {"core", "core"},
    {"2001:db8::1", "2001:db8::1"},
    {"eth0/1", "\"eth0/1\""},
    {"a b", "\"a b\""},
    {" ", "\" \""},
    {"", "\"\""},
    {"'q'", "\"'q'\""},
    {"a\"b", "'a\"b'"},
    {"a'\"b", R"("a'""b")"},
    {"\"'\"", R"("""'""")"},
    {"a][b", "\"a][b\""},
    {"a]/b[c=d", "\"a]/b[c=d\""},
    {"\\", "\\"},
    {"a=b", "a=b"},
    {"'", "\"'\""},
    {"\"", "'\"'"},
    {"*", "\"*\""},
};

// The path of a node as it is printed leads to it.
void expect_read_back(const Node *root, const Node *node) {
    Arena arena;
    const Node *read = add_instance_path(arena, schema(), new_root(arena, schema()), instance_path(node));
    EXPECT_EQ(counterpart(root, read), node) << instance_path(node);
}

TEST(InstancePath, EveryKeyReadsBack) {
    const std::string groups = "/network-instances/network-instance[name=DEFAULT]/protocols/"
                               "protocol[identifier=BGP][name=core]/bgp/peer-groups/peer-group";
    for (const auto &[value, text] : printed_values) {
        Arena arena;
        Node *root = new_root(arena, schema());
        Node *group = add_instance_path(arena, schema(), root, groups);
        set_value(arena, ensure_child(arena, group, *group->schema().keys[0]), value);
        group = complete_entry(arena, group);
        const std::string path = instance_path(group);
        EXPECT_EQ(path, groups + "[peer-group-name=" + std::string(text) + ']');
        expect_read_back(root, group);
        PathStep step;
        for (PathParser parser(path); !parser.at_end();) {
            ASSERT_TRUE(parser.next(step)) << parser.fault();
        }
        EXPECT_EQ(step.predicates.at(0).value, value) << path;
    }
}

// A plug-in puts keys into its paths as they are.
TEST(InstancePath, KeysOfPlugInsEndWhereThePathGoesOn) {
    for (const auto &[value, text] : printed_values) {
        for (const std::string tail : {"", "/afi-safis/afi-safi[afi-safi-name=IPV4_UNICAST]"}) {
            Arena arena;
            Node *root = new_root(arena, schema());
            const std::string path = "/network-instances/network-instance[name=" + std::string(value) +
                                     "]/protocols/protocol[identifier=BGP][name=core]/bgp/peer-groups/"
                                     "peer-group[peer-group-name=" +
                                     std::string(value) + ']' + tail + '/';
            Node *entry = join_instance(arena, schema(), root, path);
            ASSERT_NE(entry, nullptr) << path;
            EXPECT_EQ(find_instance(root, path), entry);
            expect_read_back(root, entry);
            const Node *group = tail.empty() ? entry : entry->up()->up();
            EXPECT_EQ(key_value(group, 0), value) << path;
        }
    }
    Arena arena;
    for (const char *wrong :
         {"/bgp/instance[name=a]", "/bgp/instance[instance-name=a", "/bgp/instance[instance-name=a]b",
          "/bgp[instance-name=a]", "/bgp/instance[instance-name=a][instance-name=b]/x"}) {
        EXPECT_EQ(ensure_instance(arena, new_root(arena, schema()), wrong), nullptr) << wrong;
    }
}

TEST(InstancePath, AddsNodesWithTheKeysGiven) {
    const std::string head = R"({"openconfig-network-instance:network-instances":{"network-instance":[)";
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
        {{"/network-instances/network-instance[name=DEFAULT]/protocols/protocol[identifier=BGP][name=core]",
          "network-instances/network-instance[name='DEFAULT']/protocols/protocol[name=\"core\"]"
          "[oc-netinst:identifier = oc-pol-types:BGP]/bgp/global/"},
         head + R"({"name":"DEFAULT","protocols":{"protocol":[{"identifier":"openconfig-policy-types:BGP",)"
                R"("name":"core","bgp":{"global":{}}}]}}]}})"},
        {{"/oc-netinst:network-instances/network-instance/protocols/protocol[identifier=openconfig-policy-types:BGP]",
          "/network-instances/network-instance/protocols/protocol[identifier=BGP]",
          "/network-instances/network-instance[name='a/]b']/config/name"},
         head + R"({"protocols":{"protocol":[{"identifier":"openconfig-policy-types:BGP"}]}},)"
                R"({"name":"a/]b","config":{"name":null}}]}})"},
        {{"/"}, "{}"},
        {{"/network-instances/network-instance[name='it''s \"x\"']"}, head + R"({"name":"it's \"x\""}]}})"},
        {{"/vrfs/foo"}, "/vrfs/foo: the models have no such node"},
        {{"/vrfs[name=x]"}, "/vrfs: only a list has keys"},
        {{"/vrfs/vrf[nome=x]"}, "/vrfs/vrf/nome: the list has no such key"},
        {{"/vrfs/vrf[1]"}, "/vrfs/vrf[1]: a '=' is expected at character 12 of the path"},
        {{"/vrfs/vrf[vrf-name=\"x]"}, "/vrfs/vrf[vrf-name=\"x]: a '\"' is expected at character 23 of the path"},
        {{"/vrfs//vrf"}, "/vrfs//vrf: a node's name is expected at character 7 of the path"},
        {{"/network-instances/network-instance/protocols/protocol[identifier=FOO]"},
         "/network-instances/network-instance/protocols/protocol/identifier: 'FOO' is not of this leaf's type: one "
         "of BGP, DIRECTLY_CONNECTED, IGMP, ISIS, LOCAL_AGGREGATE, OSPF, OSPF3, PIM, STATIC is expected"},
    };
    for (const auto &[paths, expected] : rows) {
        Arena arena;
        Node *root = new_root(arena, schema());
        std::string found;
        try {
            for (const std::string &path : paths) {
                add_instance_path(arena, schema(), root, path);
            }
            found = document_of(schema(), root);
            found.pop_back();
        } catch (const Refused &refused) {
            found = refused.path() + ": " + refused.what();
        }
        EXPECT_EQ(found, expected) << paths.front();
    }
}

TEST(Text, IsMadeVisible) {
    const std::vector<std::pair<std::string_view, std::string_view>> rows = {
        {"gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80 a\\b", ""},
        {"\x1b[2J\a\n\r\t\x7f", "\\x1b[2J\\x07\\x0a\\x0d\\x09\\x7f"},
        {"\xc2\x80 \xc2\x9f \xc2\xa0", "\\x80 \\x9f \xc2\xa0"},
        {"\xe2\x80\xaa\xe2\x80\xae\xe2\x81\xa6\xe2\x81\xa9\xe2\x80\x8f", "\\u202a\\u202e\\u2066\\u2069\\u200f"},
        {"\xe2\x80\xa8\xe2\x80\xa9", "\\u2028\\u2029"},
        {"a\xff\xc3", "a\\xff\\xc3"},                          // no UTF-8, cut short
        {"\xc0\x9b\xe0\x82\x9b", "\\xc0\\x9b\\xe0\\x82\\x9b"}, // a control character in too many bytes
    };
    std::FILE *stream = std::tmpfile();
    Log log(Log::Level::trace, false, stream);
    std::string lines;
    for (const auto &[text, shown] : rows) {
        const std::string_view expected = shown.empty() ? text : shown;
        EXPECT_EQ(visible(text), expected);
        log.write_debug(text);
        lines += std::string(expected) + '\n';
    }
    std::string written(lines.size() + 1, ' ');
    std::rewind(stream);
    written.resize(std::fread(written.data(), 1, written.size(), stream));
    EXPECT_EQ(written, lines);
    std::fclose(stream);
}

} // namespace
} // namespace yfw::test
