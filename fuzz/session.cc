#include "session.h"

#include "base/error.h"
#include "base/memory.h"
#include "model/instance_path.h"

#include <libyang/libyang.h>

namespace yfw::fuzz {

Session &Session::shared() {
    static Session session;
    return session;
}

Session::Session()
    : engine_({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr),
      generator_(engine_.schema(), engine_.mapping().description()),
      store_(directory_ / "db", engine_.schema(), Access::write, StoreLimits{std::size_t{256} << 20U, {}}) {
    for (std::uint32_t id = 1; id < engine_.schema().size(); ++id) {
        const SchemaNode &node = engine_.schema().node(id);
        if (!node.path.starts_with("/network-instances") && !node.path.starts_with("/routing-policy")) {
            native_.push_back(&node);
        } else if (engine_.mapping().reaches(node)) {
            openconfig_.push_back(&node);
        }
    }
}

void Session::check_valid() const {
    const Schema &schema = engine_.schema();
    Arena arena;
    Node *wanted = new_root(arena, schema);
    for (const char *path : {"/bgp", "/vrfs"}) {
        add_instance_path(arena, schema, wanted, path);
    }
    Node *found = new_root(arena, schema);
    store_.begin(Access::read).fetch(arena, wanted, found);
    const std::string text = test::document_of(schema, found);
    lyd_node *tree = nullptr;
    const LY_ERR status =
        lyd_parse_data_mem(schema.context(), text.c_str(), LYD_JSON, LYD_PARSE_STRICT, LYD_VALIDATE_PRESENT, &tree);
    const char *message = ly_errmsg(schema.context());
    require(status == LY_SUCCESS, "the committed native configuration is valid",
            text + (message == nullptr ? "" : message));
    lyd_free_all(tree);
}

void Session::load(Bytes &bytes) {
    const test::RandomEdit native = generator_.anything(bytes, native_, 24, false);
    std::string document = test::print(engine_.schema(), native.document, native.syntax);
    try {
        Transaction transaction = store_.begin(Access::write);
        engine_.load(document, native.syntax, transaction);
        transaction.commit();
    } catch (const Refused &) {}
}

// What most edits need in order not to be refused.
void Session::begin_instances() {
    const SchemaNode *as =
        engine_.schema().find("/network-instances/network-instance/protocols/protocol/bgp/global/config/as");
    for (const char *name : {"DEFAULT", "blue"}) {
        Arena arena;
        Node *root = new_root(arena, engine_.schema());
        const std::string path = test::sample_instance(engine_.schema(), *as, name);
        set_value(arena, add_instance_path(arena, engine_.schema(), root, path), "65000");
        try {
            std::string document = test::document_of(engine_.schema(), root);
            Transaction transaction = store_.begin(Access::write);
            engine_.edit(document, Syntax::json, {}, transaction);
            transaction.commit();
        } catch (const Refused &) {} // by what the system database holds
    }
}

void Session::edit(const test::RandomEdit &edit, Bytes &bytes) {
    const test::Records before = records();
    std::string document = test::print(engine_.schema(), edit.document, edit.syntax, edit.default_name);
    const std::string shown = document;
    EditOptions options;
    options.strict = bytes.one_in(16);
    options.default_operation = bytes.one_in(16)   ? DefaultOperation::none
                                : bytes.one_in(16) ? DefaultOperation::replace
                                                   : edit.default_operation;
    try {
        Transaction transaction = store_.begin(Access::write);
        const EditResult result = engine_.edit(document, edit.syntax, options, transaction);
        test::document_of(engine_.schema(), result.native(), {.syntax = Syntax::xml});
        transaction.commit();
    } catch (const Refused &refused) {
        require(*refused.what() != '\0', "a refusal has a reason", shown);
        require(records() == before, "a refused edit leaves the store as it was", shown);
        return;
    }
    check_valid();
}

// Mostly of one node: everything takes many times as long.
void Session::read(Bytes &bytes) {
    std::vector<std::string> paths;
    if (!bytes.one_in(8)) {
        const char *network_instance = bytes.below(2) == 0 ? "DEFAULT" : "blue";
        const SchemaNode &node = *openconfig_[bytes.below(openconfig_.size())];
        paths.push_back(test::sample_instance(engine_.schema(), node, network_instance));
    }
    try {
        const Transaction transaction = store_.begin(Access::read);
        const auto result = engine_.read(paths, bytes.below(2) == 1, transaction);
        test::document_of(engine_.schema(), result.openconfig());
    } catch (const Refused &) {}
}

void Session::play(Bytes &bytes) {
    const std::int64_t outstanding = memory::outstanding();
    Transaction transaction = store_.begin(Access::write);
    test::restore(transaction, {});
    transaction.commit();
    if (bytes.below(2) == 1) {
        load(bytes);
    }
    if (bytes.below(4) != 3) {
        begin_instances();
    }
    for (std::size_t edits = 1 + bytes.below(4); edits > 0; --edits) {
        if (bytes.one_in(2)) {
            const test::Item stored = test::item_of(engine_.read({}, false, store_.begin(Access::read)).openconfig());
            edit(generator_.edit(bytes, stored), bytes);
        } else {
            edit(generator_.anything(bytes, openconfig_, 12, true), bytes);
        }
        read(bytes);
    }
    require(memory::outstanding() == outstanding, "requests release what they were given");
}

} // namespace yfw::fuzz

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    yfw::fuzz::Session::shared();
    return 0;
}
