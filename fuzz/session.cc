#include "session.h"

#include "base/error.h"
#include "base/memory.h"
#include "document.h"
#include "model/instance_path.h"
#include "tests/sample_values.h"

#include <libyang/libyang.h>

#include <cstdlib>

namespace yfw::fuzz {

namespace {

constexpr std::size_t map_size = std::size_t{256} << 20U;

std::filesystem::path make_directory() {
    std::string name = (std::filesystem::temp_directory_path() / "yfw-fuzz-XXXXXX").string();
    require(mkdtemp(name.data()) != nullptr, "a directory for the store");
    return name;
}

bool is_openconfig(const SchemaNode &node) {
    return node.path.starts_with("/network-instances") || node.path.starts_with("/routing-policy");
}

} // namespace

Session &Session::shared() {
    static Session session;
    return session;
}

Session::Session()
    : directory_(make_directory()),
      engine_({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr),
      openconfig_(engine_.schema(),
                  [this](const SchemaNode &node) { return is_openconfig(node) && engine_.mapping().reaches(node); }),
      native_(engine_.schema(), [](const SchemaNode &node) { return !is_openconfig(node); }),
      likely_(engine_.schema(), engine_.mapping().description()) {
    store_.emplace(directory_ / "db", engine_.schema(), Access::write, StoreLimits{map_size, {}});
    key_.emplace(directory_ / "db/key", true);
}

Session::~Session() {
    key_.reset();
    store_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

void Session::clear() {
    Transaction transaction = store_->begin(Access::write);
    transaction.erase_all(root_key);
    transaction.commit();
}

Session::Records Session::records() const {
    Records found;
    const Transaction transaction = store_->begin(Access::read);
    Cursor cursor(transaction);
    for (bool more = cursor.seek(root_key); more; more = cursor.next()) {
        found.emplace_back(cursor.key(), cursor.bytes());
    }
    return found;
}

void Session::check_valid() const {
    const Schema &schema = engine_.schema();
    Arena arena;
    Node *wanted = new_root(arena, schema);
    for (const char *path : {"/bgp", "/vrfs"}) {
        add_instance_path(arena, schema, wanted, path);
    }
    Node *found = new_root(arena, schema);
    const Transaction transaction = store_->begin(Access::read);
    transaction.fetch(arena, wanted, found);
    const std::string text = written(schema, found, Syntax::json, false);
    lyd_node *tree = nullptr;
    const LY_ERR status =
        lyd_parse_data_mem(schema.context(), text.c_str(), LYD_JSON, LYD_PARSE_STRICT, LYD_VALIDATE_PRESENT, &tree);
    const char *message = ly_errmsg(schema.context());
    require(status == LY_SUCCESS, "the committed native configuration is valid",
            text + (message == nullptr ? "" : message));
    lyd_free_all(tree);
}

void Session::load(Bytes &bytes) {
    try {
        Transaction transaction = store_->begin(Access::write);
        std::string document = native_.document(bytes, 24, false);
        engine_.load(document, Syntax::xml, transaction);
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
            std::string document = written(engine_.schema(), root, Syntax::json, false);
            Transaction transaction = store_->begin(Access::write);
            engine_.edit(document, Syntax::json, {}, transaction);
            transaction.commit();
        } catch (const Refused &) { // by what the system database holds
        }
    }
}

void Session::edit(std::string document, Bytes &bytes) {
    const Records before = records();
    const std::string shown = document;
    EditOptions options;
    options.strict = bytes.one_in(16);
    options.default_operation = bytes.one_in(16)   ? DefaultOperation::none
                                : bytes.one_in(16) ? DefaultOperation::replace
                                                   : DefaultOperation::merge;
    try {
        Transaction transaction = store_->begin(Access::write);
        const EditResult result = engine_.edit(document, Syntax::xml, options, transaction);
        written(engine_.schema(), result.native(), Syntax::xml, false);
        transaction.commit();
    } catch (const Refused &refused) {
        require(*refused.what() != '\0', "a refusal has a reason", shown);
        require(records() == before, "a refused edit leaves the store as it was", shown);
        return;
    }
    check_valid();
}

std::string Session::likely_edit(Bytes &bytes) {
    const Transaction transaction = store_->begin(Access::read);
    const test::Item stored = test::item_of(engine_.read({}, false, transaction).openconfig());
    const test::RandomEdit edit = likely_.edit(bytes, stored);
    return test::print(engine_.schema(), edit.document, Syntax::xml, false, edit.default_name);
}

// Mostly of one node: everything takes many times as long.
void Session::read(Bytes &bytes) {
    std::vector<std::string> paths;
    if (!bytes.one_in(8)) {
        const char *network_instance = bytes.below(2) == 0 ? "DEFAULT" : "blue";
        paths.push_back(test::sample_instance(engine_.schema(), openconfig_.node(bytes), network_instance));
    }
    try {
        const Transaction transaction = store_->begin(Access::read);
        const auto result = engine_.read(paths, bytes.below(2) == 1, transaction);
        written(engine_.schema(), result.openconfig(), Syntax::json, false);
    } catch (const Refused &) {}
}

void Session::play(Bytes &bytes) {
    const std::int64_t outstanding = memory::outstanding();
    clear();
    if (bytes.below(2) == 1) {
        load(bytes);
    }
    if (bytes.below(4) != 3) {
        begin_instances();
    }
    for (std::size_t edits = 1 + bytes.below(4); edits > 0; --edits) {
        edit(bytes.one_in(2) ? likely_edit(bytes) : openconfig_.document(bytes, 12, true), bytes);
        read(bytes);
    }
    require(memory::outstanding() == outstanding, "requests release what they were given");
}

} // namespace yfw::fuzz

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    yfw::fuzz::Session::shared();
    return 0;
}
