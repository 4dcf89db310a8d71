// Documents read and written, and the memory that they are in. Those that are refused: examples/40 to 45.
#include "base/error.h"
#include "documents/reader.h"
#include "model/instance_path.h"
#include "store_fixture.h"

#include <chrono>
#include <set>

namespace yfw::test {
namespace {

using Rows = std::vector<std::pair<std::string_view, std::string_view>>;

const Schema &schema() {
    return project_schema();
}

void replace_all(std::string &text, std::string_view what, std::string_view with) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
}

std::string written(const Node *root, const WriteOptions &options = {}) {
    std::string text = document_of(schema(), root, options);
    text.pop_back();
    return text;
}

std::string as_json(const Node *root) {
    return written(root, {.explicit_merge = true});
}

void expect_to_read_back(const Node *root) {
    for (const Syntax syntax : {Syntax::json, Syntax::xml}) {
        for (const bool pretty : {false, true}) {
            Arena arena;
            std::string text = written(root, {.syntax = syntax, .explicit_merge = true, .pretty = pretty});
            EXPECT_EQ(as_json(read_document(arena, schema(), text, syntax, {}).root), as_json(root)) << text;
        }
    }
}

std::string said(const Refused &refused) {
    return std::string(code_name(refused.code())) + ' ' + refused.path() + ": " + refused.what();
}

// What became of a document: the tree as JSON and the unknown nodes, or the refusal.
std::string result_of(std::string_view given, const ReadOptions &options = {}) {
    Arena arena;
    std::string text(given);
    try {
        const Document document = read_document(arena, schema(), text, guess_syntax(text), options);
        expect_to_read_back(document.root);
        std::string result = as_json(document.root);
        for (const std::string &path : document.unknown) {
            result += " unknown " + path;
        }
        return result;
    } catch (const Refused &refused) {
        return said(refused);
    }
}

// Most cases lie within one BGP protocol entry, written here as BGP.
constexpr std::string_view json_head =
    R"({"openconfig-network-instance:network-instances":{"network-instance":[{"name":"DEFAULT","protocols":{"protocol":)"
    R"([{"identifier":"openconfig-policy-types:BGP","name":"core","bgp":{)";
constexpr std::string_view json_tail = "}}]}}]}}";
constexpr std::string_view xml_head =
    R"(<network-instances xmlns="http://openconfig.net/yang/network-instance"><network-instance><name>DEFAULT</name>)"
    R"(<protocols><protocol xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><identifier>BGP</identifier>)"
    R"(<name>core</name><bgp>)";
constexpr std::string_view xml_tail = "</bgp></protocol></protocols></network-instance></network-instances>";
constexpr std::string_view path_head = "/network-instances/network-instance[name=DEFAULT]/protocols/"
                                       "protocol[identifier=BGP][name=core]/bgp";

std::string in_bgp(std::string_view content) {
    const bool is_xml = content.starts_with('<');
    return std::string(is_xml ? xml_head : json_head).append(content).append(is_xml ? xml_tail : json_tail);
}

std::string shortened(std::string text) {
    replace_all(text, json_head, "BGP{");
    replace_all(text, json_tail, "}");
    replace_all(text, path_head, "BGP");
    replace_all(text, "ietf-netconf:operation\":", "operation\":");
    replace_all(text, "openconfig-bgp-types:", "T:");
    return text;
}

// No result means: the document itself.
void expect_in_bgp(const Rows &rows, const ReadOptions &options = {}) {
    for (const auto &[content, result] : rows) {
        const std::string expected = result.empty() ? "BGP{" + std::string(content) + "}" : std::string(result);
        EXPECT_EQ(shortened(result_of(in_bgp(content), options)), expected) << content;
    }
}

TEST(Documents, AreReadAsPeopleWriteThem) {
    constexpr std::string_view as = R"(BGP{"global":{"config":{"as":65000}}})";
    constexpr std::string_view families =
        R"(BGP{"global":{"afi-safis":{"afi-safi":[{"afi-safi-name":"T:IPV4_UNICAST","config":{"enabled":true}}]}}})";
    constexpr std::string_view group =
        "BGP{\"peer-groups\":{\"peer-group\":[{\"peer-group-name\":\"\xc3\xa9\\\"\\n\\\\\","
        "\"config\":{\"peer-group-name\":\"\xc3\xa9\\\"\\n\\\\\"}}]}}";
    expect_in_bgp({
        {R"("openconfig-network-instance:global" : { "config":{"as": "65000" } })", as},
        {"<global><!-- x --><config><as> 65000\n</as></config></global>", as},
        {R"("neighbors":{"neighbor":[{"enable-bfd":{},"timers":{"config":{"hold-time":9.0}},"neighbor-address":"::"}]})",
         R"(BGP{"neighbors":{"neighbor":[{"neighbor-address":"::","timers":{"config":{"hold-time":"9"}},)"
         R"("openconfig-bfd:enable-bfd":{}}]}})"},
        {R"("global":{"afi-safis":{"afi-safi":[{"config":{"enabled":"true"},"afi-safi-name":"IPV4_UNICAST"}]}})",
         families},
        {"<global><afi-safis><afi-safi><afi-safi-name xmlns:t='http://openconfig.net/yang/bgp-types'>t:IPV4_UNICAST"
         "</afi-safi-name><config><enabled>true</enabled></config></afi-safi></afi-safis></global>",
         families},
        {R"("peer-groups":{"peer-group":[{"config":{"peer-group-name":"\u00e9\"\n\\"}}]})", group},
        {"<peer-groups><peer-group><config><peer-group-name>&#233;<![CDATA[\"]]>\n\\</peer-group-name></config>"
         "</peer-group></peer-groups>",
         group},
        {R"("neighbors":{"neighbor":[]},"global":{"config":{}})", R"(BGP{"global":{"config":{}},"neighbors":{}})"},
        // Values are kept in one form.
        {R"("global":{"config":{"as":"065000"}})", R"(BGP{"global":{"config":{"as":65000}}})"},
        {"<global><config><as>+5</as></config></global>", R"(BGP{"global":{"config":{"as":5}}})"},
        {R"("global":{"config":{"as":-0}})", R"(BGP{"global":{"config":{"as":0}}})"},
        {R"("global":{"config":{"as":"007","@as":{"operation":"delete"}}})",
         R"(BGP{"global":{"config":{"as":7,"@as":{"operation":"delete"}}}})"},
        {R"("neighbors":{"neighbor":[{"neighbor-address":"2001:DB8:0::1","config":{"neighbor-address":"2001:db8::0:1"},)"
         R"("timers":{"config":{"hold-time":"90.00","minimum-advertisement-interval":0.5}},)"
         R"("transport":{"config":{"local-address":"::FFFF:192.0.2.1"}}},)"
         R"({"neighbor-address":"10.0.0.1","timers":{"config":{"minimum-advertisement-interval":"030.25"}},)"
         R"("transport":{"config":{"local-address":"Eth0:1"}}}]})",
         R"(BGP{"neighbors":{"neighbor":[{"neighbor-address":"2001:db8::1","config":{"neighbor-address":"2001:db8::1"},)"
         R"("timers":{"config":{"hold-time":"90","minimum-advertisement-interval":"0.500"}},)"
         R"("transport":{"config":{"local-address":"::ffff:192.0.2.1"}}},)"
         R"({"neighbor-address":"10.0.0.1","timers":{"config":{"minimum-advertisement-interval":"30.250"}},)"
         R"("transport":{"config":{"local-address":"Eth0:1"}}}]}})"},
        {R"("peer-groups":{"peer-group":[{"peer-group-name":"2001:DB8::1","config":{"description":""}}]})", ""},
        // Entries need not be alike.
        {R"("neighbors":{"neighbor":[{"neighbor-address":"::1","config":{"local-as":1,"peer-as":2}},)"
         R"({"config":{"local-as":3,"description":"x","peer-as":4},"neighbor-address":"::2"},)"
         R"({"neighbor-address":"::3","config":{"peer-as":5},"timers":{}}]})",
         R"(BGP{"neighbors":{"neighbor":[{"neighbor-address":"::1","config":{"peer-as":2,"local-as":1}},)"
         R"({"neighbor-address":"::2","config":{"peer-as":4,"local-as":3,"description":"x"}},)"
         R"({"neighbor-address":"::3","config":{"peer-as":5},"timers":{}}]}})"},
    });
    // Native: unions that are numbers or not, empty leaves, text that both syntaxes escape.
    constexpr std::string_view native =
        R"({"Tarn-KEL-VN-ipv4-bgp-cfg:bgp":{"instance":[{"instance-name":"core","instance-as":[{"as":0,"four-byte-as":[)"
        R"({"as":65000,"bgp-running":[null],"default-vrf":{"bgp-entity":{"neighbors":{"neighbor":[{"neighbor-address":)"
        R"("10.0.0.1","create":[null],"description":"\r\t\"<&> ]]>","timers":{"hold-time":90,"keepalive-interval":)"
        R"("30.00"}},{"neighbor-address":"10.0.0.2"}]}}}}]}]}]},"Tarn-KEL-VN-ipv4-bgp-cfg:vrfs":{}})";
    EXPECT_EQ(result_of(native, {.edit = false}), native);
}

TEST(Documents, OperationsStandInMetadata) {
    constexpr std::string_view values =
        R"("global":{"confederation":{"config":{"member-as":[1,2],"@member-as":[null,{"operation":"create"}]}}})";
    constexpr std::string_view deleted = R"(BGP{"global":{"config":{"@as":{"operation":"delete"}}}})";
    expect_in_bgp({
        {R"("@":{"operation":"replace"},"neighbors":{"neighbor":[{"@":{"operation":"delete"},"neighbor-address":"::1"}]})",
         ""},
        {R"("global":{"config":{"@as":{"operation":"remove"},"router-id":"1.2.3.4","@router-id":{"operation":"merge"}}})",
         ""},
        {values, ""},
        {"<global nc:operation='create'><confederation operation='remove'/></global>",
         R"(BGP{"global":{"@":{"operation":"create"},"confederation":{"@":{"operation":"remove"}}}})"},
        {"<global><config><as nc:operation='delete'/></config></global>", deleted},
        {R"("global":{"config":{"@as":{"ietf-netconf:operation":"delete"},"as":[null]}})", deleted},
    });
}

TEST(Documents, UnknownNodesAreNamedAndTheRestIsRead) {
    // An identity that is not known takes its entry along when it is the key, with all that is in the entry.
    constexpr std::string_view families =
        R"(BGP{"global":{"afi-safis":{"afi-safi":[{"afi-safi-name":"T:IPV4_UNICAST"}]}}})"
        " unknown BGP/global/afi-safis/afi-safi[afi-safi-name=NEW]";
    const Rows rows = {
        {R"("neighbors":{"neighbor":[{"bar":1,"neighbor-address":"::1"}]},"global":{"x:y":[{"a":[[]]}],"z":"}"})",
         R"(BGP{"global":{},"neighbors":{"neighbor":[{"neighbor-address":"::1"}]}})"
         " unknown BGP/neighbors/neighbor[neighbor-address=::1]/bar unknown BGP/global/x:y unknown BGP/global/z"},
        {R"("global":{"afi-safis":{"afi-safi":[{"a":1,"config":{"afi-safi-name":"NEW","b":2},"add-paths":{}},)"
         R"({"afi-safi-name":"IPV4_UNICAST"}]}})",
         families},
        {"<global><afi-safis><afi-safi><a/><config><afi-safi-name>NEW</afi-safi-name><b/></config><add-paths/>"
         "</afi-safi><afi-safi><afi-safi-name>IPV4_UNICAST</afi-safi-name></afi-safi></afi-safis></global>",
         families},
        {R"("peer-groups":{"peer-group":[{"peer-group-name":"g","config":{"remove-private-as":"NEW"}}]})",
         R"(BGP{"peer-groups":{"peer-group":[{"peer-group-name":"g","config":{}}]}})"
         " unknown BGP/peer-groups/peer-group[peer-group-name=g]/config/remove-private-as"},
    };
    expect_in_bgp(rows, {.skip_unknown = true});
}

TEST(Documents, DepthAndSizeAreBounded) {
    const auto repeated = [](std::string_view piece) {
        std::string text;
        for (int i = 0; i < 100000; ++i) {
            text += piece;
        }
        return text;
    };
    const std::string lists = "{\"a\":" + repeated("[") + repeated("]") + "}";
    EXPECT_TRUE(result_of(lists).starts_with("too-big "));
    EXPECT_EQ(result_of(lists, {.skip_unknown = true}), "{} unknown /a");
    for (const std::string &text : {"{\"a\":\"" + repeated("x") + "\"}", "<a>" + repeated("<b/>") + "</a>"}) {
        EXPECT_TRUE(result_of(text, {.max_size = 1000}).starts_with("too-big "));
    }
    std::string crowded = "<vrfs";
    for (int i = 0; i < 200000; ++i) {
        crowded += " a" + std::to_string(i) + "='>'";
    }
    EXPECT_EQ(result_of("<!-- <x '' --><a/><!-- -->" + crowded + "/>"),
              "too-big : an element has more than 100 attributes");
    // A long value that is none of a tag's is no crowd, and may be longer than libxml2 looks ahead.
    std::string text = in_bgp("<peer-groups><peer-group><peer-group-name>g</peer-group-name><config><description>D"
                              "</description></config></peer-group></peer-groups>");
    replace_all(text, "D<", std::string(11U << 20U, '\'') + "<![CDATA[" + std::string(300, '"') + "]]><");
    EXPECT_GT(result_of(text).size(), 11U << 20U);
}

TEST(Documents, ALongLeafListIsGoneThroughOnce) {
    std::string values, operations;
    for (int i = 1; i <= 100000; ++i) {
        values += ',' + std::to_string(i);
        operations += i % 3 == 0 ? ",{\"operation\":\"create\"}" : ",null";
    }
    std::string text = in_bgp(R"("global":{"confederation":{"config":{"member-as":[)" + values.substr(1) +
                              R"(],"@member-as":[)" + operations.substr(1) + "]}}}");
    const auto begin = std::chrono::steady_clock::now();
    Arena arena;
    const Document document = read_document(arena, schema(), text, Syntax::json, {});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5)); // 0.1 s; half a minute if not
    const Node *config =
        add_instance_path(arena, schema(), document.root, std::string(path_head) + "/global/confederation/config");
    int position = 0;
    for (const Node *value = entries(config, *config->schema().child("member-as"))->first; value != nullptr;
         value = next_entry(value)) {
        ASSERT_EQ(value->operation == YFW_OP_CREATE, ++position % 3 == 0) << position;
    }
    EXPECT_EQ(position, 100000);
}

TEST(Documents, NetconfElementsArePeeledOff) {
    constexpr std::string_view data = "<vrfs xmlns='http://tarn-kel.example/ns/yang/Tarn-KEL-VN-ipv4-bgp-cfg'/>";
    const std::string rpc = "<rpc message-id='1' xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'><edit-config>"
                            "<target><running/></target>";
    const auto default_operation = [&](std::string_view option) {
        Arena arena;
        std::string text = rpc + std::string(option) + "<config>" + std::string(data) + "</config></edit-config></rpc>";
        const Document document = read_document(arena, schema(), text, Syntax::xml, {});
        EXPECT_EQ(as_json(document.root), R"({"Tarn-KEL-VN-ipv4-bgp-cfg:vrfs":{}})");
        return document.default_operation;
    };
    EXPECT_EQ(default_operation("<default-operation>none</default-operation>"), DefaultOperation::none);
    EXPECT_EQ(default_operation(""), std::nullopt);
    EXPECT_EQ(result_of("<data>" + std::string(data) + "<bgp/></data>"),
              R"({"Tarn-KEL-VN-ipv4-bgp-cfg:bgp":{},"Tarn-KEL-VN-ipv4-bgp-cfg:vrfs":{}})");
}

TEST(Documents, SecretsAreNeverShownAndAreWiped) {
    std::string text = in_bgp(R"("peer-groups":{"peer-group":[{"peer-group-name":"g","config":{"auth-password":P}}]})");
    for (const std::string value : {"true", R"(["hunter2"])", R"("hunter2\u0001")", R"("hunter2","auth-password":1)"}) {
        std::string wrong = text;
        replace_all(wrong, ":P", ':' + value);
        const std::string found = result_of(wrong);
        EXPECT_NE(found.find("/auth-password: "), std::string::npos) << found;
        EXPECT_EQ(found.find("hunter2"), std::string::npos) << found;
    }
    EXPECT_EQ(result_of(in_bgp("<peer-groups><peer-group><peer-group-name>g</peer-group-name><config><auth-password>"
                               "&hunter2;</auth-password>"))
                  .find("hunter2"),
              std::string::npos);
    replace_all(text, ":P", ":\"hunter2\"");
    Arena arena;
    const Document document = read_document(arena, schema(), text, Syntax::json, {});
    for (const Syntax syntax : {Syntax::json, Syntax::xml}) {
        const std::string shown = written(document.root, {.syntax = syntax, .hide_secrets = true});
        EXPECT_TRUE(shown.find("********") != std::string::npos && shown.find("hunter2") == std::string::npos) << shown;
    }
    const Node *config = add_instance_path(
        arena, schema(), document.root, std::string(path_head) + "/peer-groups/peer-group[peer-group-name=g]/config");
    arena.wipe();
    EXPECT_STREQ(child(config, "auth-password")->value, "");
}

// What a large request took is there for the next one, and does not stay for ever.
TEST(Documents, MemoryOfEndedRequestsIsUsedAgain) {
    ChunkPool pool;
    std::set<const void *> before;
    const auto fill = [&pool](auto &&each) {
        Arena arena(&pool);
        for (std::size_t i = 0; i < 20000; ++i) { // of 1 kB: some 20 MB, in several chunks
            void *memory = arena.allocate(1024);
            std::memset(memory, 0xa5, 1024);
            each(memory);
        }
    };
    fill([&before](const void *memory) { before.insert(memory); });
    std::size_t again = 0;
    fill([&](const void *memory) { again += before.contains(memory) ? 1 : 0; });
    EXPECT_GT(again, 10000U);
    std::vector<Chunk> held;
    for (Chunk chunk = pool.take(); chunk.memory != nullptr; chunk = pool.take()) {
        EXPECT_LE(chunk.opened, chunk.size);
        held.push_back(std::move(chunk));
    }
    EXPECT_GT(held.size(), 2U);
    const auto now = ChunkPool::Clock::now();
    pool.give_back(std::move(held), now);
    pool.give_back({}, now + ChunkPool::longest);
    EXPECT_NE(pool.take().memory, nullptr);
    pool.give_back({}, now + ChunkPool::longest + std::chrono::seconds(1));
    EXPECT_EQ(pool.take().memory, nullptr);
}

TEST(Documents, TheSinkTakesLongPiecesAndReportsFaults) {
    const std::string name(200000, 'x');
    const std::string text = in_bgp("\"peer-groups\":{\"peer-group\":[{\"peer-group-name\":\"" + name + "\"}]}");
    EXPECT_EQ(result_of(text), text);
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> full(std::fopen("/dev/full", "w"), std::fclose);
    ASSERT_NE(full, nullptr);
    Arena arena;
    Sink sink(full.get());
    EXPECT_THROW(write_document(sink, schema(), new_root(arena, schema()), {}), Unusable);
}

} // namespace
} // namespace yfw::test
