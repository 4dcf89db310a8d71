// The models, compiled by libyang once and kept in a compact form: a path text resolves by one hash look-up.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct ly_ctx;
struct lysc_node;
struct lysc_type;

namespace yfw {

enum class NodeKind : std::uint8_t { root, container, list, leaf, leaf_list };

// What decides how a value is written: integers of 64 bits and decimals are JSON strings, for one.
enum class BaseType : std::uint8_t { none, string, boolean, integer, integer64, decimal64, identityref, empty, union_ };

struct Module {
    std::string name;
    std::string prefix;
    std::string name_space;
};

// A when-condition: a leaf near the node has a value, or another leaf another one.
struct When {
    struct Term {
        std::size_t levels_up = 0; // from the node
        std::vector<std::string> path;
        std::string value; // an identity may have a prefix
    };
    std::string text;
    std::vector<Term> terms; // one of them holds
};

// A value that may be written in another way than it is kept.
struct Spelling {
    std::string written;
    std::string kept;
};

struct SchemaNode {
    std::string name;
    std::string path; // without keys and prefixes: "/bgp/instance/instance-name"
    const Module *module = nullptr;
    const SchemaNode *parent = nullptr;       // the root node for a top-level node, null for the root
    std::vector<const SchemaNode *> children; // keys first, then in schema order; [i]->ordinal == i
    std::vector<const SchemaNode *> keys;
    const lysc_node *compiled = nullptr;
    const lysc_node *choice = nullptr; // that the node is in a case of, and the case: one of them drives out the other
    const lysc_node *choice_case = nullptr;
    std::unique_ptr<const When> when; // null: there is none, or one of another form than that
    std::unique_ptr<const Spelling> spelling;
    std::uint32_t id = 0; // dense, from 0, not stable across model changes
    std::uint32_t max_elements = UINT32_MAX;
    std::uint32_t most_bytes = UINT32_MAX; // of a value, where that is less than its type allows
    std::uint16_t ordinal = 0;
    std::uint16_t depth = 0; // 0 for the root
    // Plain decimal numbers from least to most are values of the leaf's type; they are no numbers' range when least is
    // the greater one.
    std::uint32_t least = 1;
    std::uint32_t most = 0;
    NodeKind kind = NodeKind::root;
    BaseType type = BaseType::none;
    bool config = true;
    bool is_key = false;
    bool mandatory = false;
    bool holds_list = false; // some way below
    bool presence = false;   // a container that means something by being there
    bool secret = false;     // a password: its value is never shown
    bool address = false;    // its type takes IPv6 addresses

    [[nodiscard]] bool is_inner() const { return kind <= NodeKind::list; }
    [[nodiscard]] bool repeats() const { return kind == NodeKind::list || kind == NodeKind::leaf_list; }
    // The child of that name; where two modules offer one, the first loaded. Null when there is none.
    [[nodiscard]] const SchemaNode *child(std::string_view child_name) const;

    std::vector<std::uint16_t> by_name; // open addressing over children: ordinal + 1, 0 empty; a power of two long
};

// Has libyang keep its messages for who meets them, instead of printing them.
void keep_libyang_quiet();

class Schema {
  public:
    // Loads every module of the directories; of two modules of one name the earlier directory's is taken. Throws
    // Unusable.
    explicit Schema(const std::vector<std::filesystem::path> &directories);
    ~Schema();
    Schema(const Schema &) = delete;
    Schema &operator=(const Schema &) = delete;

    [[nodiscard]] const SchemaNode &root() const { return *nodes_.front(); }
    // The node of a path as a callback writes it, or null.
    [[nodiscard]] const SchemaNode *find(std::string_view path) const;
    [[nodiscard]] const Module *module(std::string_view name) const;             // or null
    [[nodiscard]] const Module *module_of_namespace(std::string_view uri) const; // or null
    [[nodiscard]] std::size_t size() const { return nodes_.size(); }
    [[nodiscard]] const SchemaNode &node(std::uint32_t id) const { return *nodes_[id]; }

    // Whether a leaf's type takes the value, given with identities unprefixed or prefixed by a module name. On false,
    // reason says why. On true, canonical is the form that the value is kept in where that is another text, else empty;
    // of an identity always. A decimal without a fraction is kept as an integer, another one with all the digits of its
    // type: plug-ins take the digits behind the point for what they are in the type's unit. What was accepted is
    // remembered. reason and canonical may be null.
    bool accepts(const SchemaNode &leaf, std::string_view value, std::string *reason,
                 std::string *canonical = nullptr) const;
    // For leaves whose values are more than their types say, to be called before any value is looked at. A path that
    // the models lack is passed over.
    void limit_bytes(std::string_view path, std::size_t most);
    void add_spelling(std::string_view path, std::string_view written, std::string_view kept);
    // The module of an identity that the leaf's type takes, or null.
    [[nodiscard]] const Module *identity_module(const SchemaNode &leaf, std::string_view identity) const;
    // Whether a union leaf's value is a number for JSON.
    [[nodiscard]] bool is_number(const SchemaNode &leaf, std::string_view value) const;

    // What the node's model asks of its data and the framework does not see to, in YANG's words: a condition of another
    // form, "unique". Empty when there is nothing.
    [[nodiscard]] static std::string unchecked_constraint(const SchemaNode &node);

    // The leaf's type in YANG's words: "uint32", "identity of AFI_SAFI_TYPE", "uint32 or string".
    [[nodiscard]] static std::string type_name(const SchemaNode &leaf);
    // The values that the leaf's type spells out: true and false, enumerated names, identities. A union's are those of
    // all its members; other types have none.
    [[nodiscard]] static std::vector<std::string> named_values(const SchemaNode &leaf);

    // The bases of an identityref leaf's type, with their modules; none for another type.
    [[nodiscard]] static std::vector<std::string> identity_bases(const SchemaNode &leaf);

    [[nodiscard]] ly_ctx *context() const { return context_.get(); }

  private:
    struct ContextDeleter {
        void operator()(ly_ctx *context) const;
    };
    struct Accepted; // per type, the values accepted before
    struct RememberedValue;

    bool accepts_new(const SchemaNode &leaf, std::string_view value, RememberedValue &known, std::string *reason,
                     std::string *canonical) const;
    bool union_takes(const SchemaNode &leaf, const lysc_type *type, std::string_view value,
                     std::string &canonical) const;
    void load(const std::vector<std::filesystem::path> &directories);
    void add_modules();
    void add_children(SchemaNode &parent, const lysc_node *first);
    void index_paths();
    static std::unique_ptr<const When> read_when(const lysc_node *compiled);

    std::unique_ptr<ly_ctx, ContextDeleter> context_;
    std::vector<std::unique_ptr<Module>> modules_;
    std::vector<std::unique_ptr<SchemaNode>> nodes_;
    std::vector<std::uint32_t> by_path_; // open addressing over nodes_: id + 1, 0 empty; a power of two long
    std::unique_ptr<Accepted> accepted_;
};

} // namespace yfw
