// The models that NETCONF's clients are told of: they compile, what the daemon says of itself is valid by them, and a
// client that follows them sends nothing that is not served.
#include "documents/xml_parser.h"
#include "engine_fixture.h"
#include "serve/netconf/operations.h"

#include <libyang/libyang.h>

namespace yfw::serve {
namespace {

using test::write_file;

const std::string protocol = "/network-instances/network-instance/protocols/protocol";
const std::string connection = "/network-instances/network-instance/table-connections/table-connection/";
const std::string families = protocol + "/bgp/neighbors/neighbor/afi-safis/afi-safi/afi-safi-name";

class AnnouncedModels : public test::EngineTest {
  protected:
    void SetUp() override {
        for (const LibraryModule &module : library_.modules()) {
            write_file(directory_ / "announced" / (module.name + ".yang"), module.text);
            for (const LibraryModule &submodule : module.submodules) {
                write_file(directory_ / "announced" / (submodule.name + ".yang"), submodule.text);
            }
        }
    }

    // As a client compiles them; null, with libyang's words, where it cannot.
    [[nodiscard]] std::shared_ptr<ly_ctx> compiled() const {
        ly_ctx *made = nullptr;
        EXPECT_EQ(
            ly_ctx_new((directory_ / "announced").c_str(), LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIR_CWD, &made),
            LY_SUCCESS);
        std::shared_ptr<ly_ctx> context(made, [](ly_ctx *context) { ly_ctx_destroy(context); });
        for (const LibraryModule &module : library_.modules()) {
            std::istringstream list(module.features);
            std::vector<std::string> names;
            for (std::string name; std::getline(list, name, ',');) {
                names.push_back(name);
            }
            std::vector<const char *> features;
            std::transform(names.begin(), names.end(), std::back_inserter(features),
                           [](auto &name) { return name.c_str(); });
            features.push_back(nullptr);
            const lys_module *loaded =
                ly_ctx_load_module(made, module.name.c_str(), module.revision.c_str(), features.data());
            EXPECT_NE(loaded, nullptr) << module.name << ": " << (ly_errmsg(made) == nullptr ? "" : ly_errmsg(made));
            EXPECT_TRUE(loaded == nullptr || loaded->ns == module.name_space) << module.name;
        }
        return context;
    }

    std::string ask(const std::string &operation) {
        std::string message =
            "<rpc xmlns='" + std::string(netconf_namespace) + "' message-id='1'>" + operation + "</rpc>";
        return operations_.answer(session_, message).text;
    }

    // All that a <get> tells, if it is valid.
    lyd_node *told(ly_ctx &context) {
        const std::string answer = ask("<get/>");
        const auto begin = answer.find("<data>") + 6;
        const std::string data = answer.substr(begin, answer.rfind("</data>") - begin);
        lyd_node *tree = nullptr;
        EXPECT_EQ(lyd_parse_data_mem(&context, data.c_str(), LYD_XML, LYD_PARSE_STRICT, LYD_VALIDATE_PRESENT, &tree),
                  LY_SUCCESS)
            << ly_errmsg(&context) << ' ' << ly_errpath(&context);
        return tree;
    }

    // Adds a leaf with a value. What one address family has goes into that family's entry.
    void add(Arena &arena, Node *root, const SchemaNode &leaf, const std::string &network_instance) const {
        std::string path = test::sample_instance(schema(), *leaf.parent, network_instance) + '/';
        const std::string entry = "afi-safi[afi-safi-name=";
        if (const auto begin = path.find(entry); begin != std::string::npos) {
            const auto key = begin + entry.size();
            const auto inner = path.find(']', key) + 2;
            std::string family = path.substr(inner, path.find('/', inner) - inner);
            std::transform(family.begin(), family.end(), family.begin(),
                           [](char letter) { return letter == '-' ? '_' : static_cast<char>(std::toupper(letter)); });
            if (schema().accepts(*schema().find(families), family, nullptr)) {
                path.replace(key, inner - 2 - key, family);
            }
        }
        path.pop_back();
        Node *parent = add_instance_path(arena, schema(), root, path);
        const std::string value = test::sample_value(schema(), leaf);
        if (leaf.kind == NodeKind::leaf_list) {
            ensure_value(arena, parent, leaf, value);
        } else if (!leaf.is_key) {
            set_value(arena, ensure_child(arena, parent, leaf), value);
        }
    }

    // The reason of the refusal of a strict edit; empty when it is done.
    std::string refusal(const Node *root, bool test_only) {
        std::string text = test::written(schema(), root, {.syntax = Syntax::xml});
        EditOrder order;
        order.test_only = test_only;
        try {
            service_.edit(session_, text, order);
            return "";
        } catch (const Refused &refused) {
            std::string reason = code_name(refused.code());
            for (const RpcError &error : errors_of(refused)) {
                reason += "\n" + error.path + ": " + error.message;
            }
            return reason;
        }
    }

    // Whether the mapping tells that some edits of the leaf come to nothing.
    static bool is_told(const SchemaNode &leaf) {
        const MappingDescription &description = engine().mapping().description();
        return std::any_of(description.notes.begin(), description.notes.end(), [&leaf](const auto &note) {
            return std::find(note.paths.begin(), note.paths.end(), leaf.path) != note.paths.end();
        });
    }

    Library library_{schema(), engine().mapping(), "/usr/share/yuma/modules/ietf"};
    Service service_{engine(), store_, {}};
    Operations operations_{service_, library_};
    SessionId session_ =
        service_.open({.user = "x & y", .role = Role::writer, .by = "NETCONF", .since = {}, .end = {}});
};

TEST_F(AnnouncedModels, TakeWhatTheDaemonTells) {
    const std::shared_ptr<ly_ctx> context = compiled();
    ask("<lock><target><running/></target></lock>");
    lyd_node *tree = told(*context);
    for (const char *path : {"/ietf-netconf-monitoring:netconf-state/datastores/datastore/locks/global-lock",
                             "/ietf-netconf-monitoring:netconf-state/sessions/session[username='x & y']",
                             "/ietf-yang-library:modules-state/module[name='openconfig-network-instance']/deviation"}) {
        ly_set *found = nullptr;
        EXPECT_EQ(lyd_find_xpath(tree, path, &found), LY_SUCCESS);
        EXPECT_TRUE(found != nullptr && found->count > 0) << path;
        ly_set_free(found, nullptr);
    }
    lyd_free_all(tree);
}

TEST_F(AnnouncedModels, LetNothingBeSentThatIsNotServed) {
    // By the framework's own view of them, for the values; the native models are the router's.
    const Schema models({directory_ / "announced", YFW_MODELS_DIR});
    for (const char *name : {"DEFAULT", "blue"}) {
        const bool is_default = std::string_view(name) == "DEFAULT";
        for (const char *instance : {"core", "default"}) { // into the second goes redistribution
            edit(R"({"network-instances": {"network-instance": [{"name": ")" + std::string(name) +
                 R"(", "protocols": {"protocol": [{"identifier": "BGP", "name": ")" + instance +
                 R"(", "bgp": {"global": {"config": {"as": 65000}}}}]}}]}})");
        }
        // The keys and what else stands, then each leaf alone, and all of them at once.
        Arena arena;
        Node *all = new_root(arena, schema());
        for (const bool stands : {true, false}) {
            int leaves = 0;
            for (std::uint32_t id = 1; id < models.size(); ++id) {
                const SchemaNode &node = models.node(id);
                const bool is_default_only =
                    node.path.starts_with(protocol + "/bgp/peer-groups") || node.path.starts_with(connection);
                if (node.is_inner() || !node.config || (is_default_only && !is_default) ||
                    !(node.path.starts_with(protocol + "/bgp/") || node.path.starts_with(connection))) {
                    continue;
                }
                const SchemaNode &leaf = *schema().find(node.path);
                const bool is_needed =
                    leaf.name == "afi-safi-name" || leaf.path.ends_with("/ebgp-multihop/config/enabled");
                if (stands) {
                    is_needed ? add(arena, all, leaf, name) : void();
                    continue;
                }
                Arena one;
                Node *root = new_root(one, schema());
                add(one, root, leaf, name);
                const std::string reason = refusal(root, true);
                EXPECT_TRUE(reason.empty() || is_told(leaf)) << name << " " << leaf.path << ": " << reason;
                leaves += reason.empty() ? 1 : 0;
                reason.empty() ? add(arena, all, leaf, name) : void();
            }
            EXPECT_EQ(refusal(all, false), "");
            EXPECT_TRUE(stands || leaves > 80) << leaves;
        }
    }
    lyd_free_all(told(*compiled()));
}

} // namespace
} // namespace yfw::serve
