#include "documents/xml_reader.h"

#include "documents/xml_parser.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace yfw {

namespace {

enum class Wrapper : std::uint8_t { none, rpc, rpc_reply, edit_config, source, data, ignored, option };

struct WrapperRule {
    std::string_view name;
    Wrapper outer;
    Wrapper inner;
    bool in_messages_only = false; // whose operation is the caller's
};

// NETCONF's elements around the data. The target is the caller's to choose.
constexpr WrapperRule wrapper_rules[] = {
    {"rpc", Wrapper::none, Wrapper::rpc},
    {"rpc-reply", Wrapper::none, Wrapper::rpc_reply},
    {"edit-config", Wrapper::none, Wrapper::edit_config},
    {"config", Wrapper::none, Wrapper::data},
    {"data", Wrapper::none, Wrapper::data},
    {"edit-config", Wrapper::rpc, Wrapper::edit_config},
    {"data", Wrapper::rpc_reply, Wrapper::data},
    {"target", Wrapper::edit_config, Wrapper::ignored},
    {"default-operation", Wrapper::edit_config, Wrapper::option},
    {"test-option", Wrapper::edit_config, Wrapper::option},
    {"error-option", Wrapper::edit_config, Wrapper::option},
    {"config", Wrapper::edit_config, Wrapper::data},
    {"copy-config", Wrapper::rpc, Wrapper::edit_config, true},
    {"validate", Wrapper::rpc, Wrapper::edit_config, true},
    {"source", Wrapper::edit_config, Wrapper::source, true},
    {"config", Wrapper::source, Wrapper::data, true},
};

// Appends, and leaves nothing behind in memory that was outgrown.
void append_secret(std::string &text, std::string_view piece) {
    if (text.size() + piece.size() > text.capacity()) {
        std::string larger;
        larger.reserve(std::max((text.size() + piece.size()) * 2, std::size_t{256}));
        larger = text;
        explicit_bzero(text.data(), text.size());
        text.swap(larger);
    }
    text += piece;
}

class XmlReader : public XmlEvents {
  public:
    XmlReader(Builder &builder, std::string_view text) : builder_(builder), parser_(text) {}
    ~XmlReader() override { explicit_bzero(value_.data(), value_.capacity()); }
    XmlReader(const XmlReader &) = delete;
    XmlReader &operator=(const XmlReader &) = delete;

    std::optional<DefaultOperation> read() {
        parser_.parse(*this);
        if (wrapped_ && !wrapped_data_) {
            throw Refused(Reason::malformed_document, "", "the document has no <config> or <data>");
        }
        return default_operation_;
    }

  private:
    void text(std::string_view piece) override {
        if (skipped_ != 0) {
            return;
        }
        if (leaf_ != nullptr || inside() == Wrapper::option) {
            append_secret(value_, piece);
        } else if (!trimmed(piece).empty()) {
            parser_.malformed(builder_.path_of(nullptr), "elements are expected, not text");
        }
    }

    void start(const XmlName &name, const XmlAttributes &attributes) override {
        if (skipped_ == 0) {
            builder_.stand_at(parser_.position());
        }
        try {
            element(name, attributes);
        } catch (const Builder::Skip &) {
            skip_into();
        }
    }

    void element(const XmlName &name, const XmlAttributes &attributes) {
        if (skipped_ != 0 || builder_.dropping() || inside() == Wrapper::ignored) {
            skip_into();
            return;
        }
        if (leaf_ != nullptr) {
            is_leaf_wrong_ = true;
            builder_.refuse(Reason::invalid_value, leaf_, "a value is expected here, not elements");
        }
        if (builder_.at_top() && inside() != Wrapper::data && wrapper(name, attributes)) {
            return;
        }
        const SchemaNode *schema = builder_.find({name.local, name.name_space, QualifiedName::Kind::name_space});
        if (schema == nullptr) {
            unknown_ = name;
            skip_into();
        } else if (schema->is_inner()) {
            builder_.enter(*schema);
            if (const auto operation = operation_of(attributes, nullptr)) {
                builder_.set_level_operation(*operation);
            }
        } else {
            leaf_ = schema;
            is_leaf_wrong_ = false;
            value_.clear();
            operation_ = operation_of(attributes, schema);
        }
    }

    [[nodiscard]] bool in_message() const { return builder_.options().in_message; }
    [[nodiscard]] Wrapper inside() const { return wrappers_.empty() ? Wrapper::none : wrappers_.back(); }

    // Whether the element is one of NETCONF's; refuses what does not belong between these.
    bool wrapper(const XmlName &element, const XmlAttributes &attributes) {
        const std::string_view name = element.local;
        const std::string_view name_space = element.name_space;
        const Wrapper outer = inside();
        const auto *rule =
            std::find_if(std::begin(wrapper_rules), std::end(wrapper_rules), [&](const WrapperRule &row) {
                return row.outer == outer && row.name == name && (in_message() || !row.in_messages_only);
            });
        const bool bare_data = outer == Wrapper::none && builder_.schema().root().child(name) != nullptr;
        const bool is_ours = name_space == netconf_namespace || (name_space.empty() && !bare_data);
        if (rule == std::end(wrapper_rules) || !is_ours) {
            if (outer == Wrapper::none) {
                return false;
            }
            throw Refused(Reason::unknown_element, "/" + std::string(name), "the element is not known in this place");
        }
        if (rule->inner == Wrapper::data && wrapped_data_) {
            throw Refused(Reason::duplicate, "/" + std::string(name), "the document has this element twice");
        }
        if (in_message() && wrapped_data_) {
            throw Refused(Reason::unknown_element, "/" + std::string(name), "the element must stand before <config>");
        }
        wrapped_ = true;
        wrapped_data_ = wrapped_data_ || rule->inner == Wrapper::data;
        for (std::size_t i = 0; i < attributes.size(); ++i) {
            if (is_operation(attributes[i].name)) {
                throw Refused(Reason::unknown_operation, "/" + std::string(name),
                              "an operation belongs to a data node");
            }
        }
        wrappers_.push_back(rule->inner);
        value_.clear();
        return true;
    }

    void end(std::string_view element) override {
        if (skipped_ != 0) {
            if (--skipped_ == 0 && unknown_) { // now that it is not too deep
                const XmlName name = *std::exchange(unknown_, std::nullopt);
                builder_.unknown({name.local, name.name_space, QualifiedName::Kind::name_space}, name.local);
            }
        } else if (leaf_ != nullptr) {
            try {
                end_leaf();
            } catch (const Builder::Skip &) {
                // the next one is read
            }
        } else if (!builder_.at_top()) {
            builder_.leave();
        } else {
            if (inside() == Wrapper::option) {
                option(element, trimmed(value_));
            }
            wrappers_.pop_back();
        }
    }

    void option(std::string_view name, std::string_view value) {
        bool is_known = in_message() || (value != "test-only" && value != "continue-on-error");
        if (name == "default-operation" && !in_message()) {
            default_operation_ = default_operation_of(value);
            is_known = default_operation_.has_value();
        }
        if (!is_known) {
            throw Refused(Reason::invalid_value, "/edit-config/" + std::string(name),
                          '\'' + std::string(value.substr(0, 30)) + "' is not offered");
        }
    }

    // The document drives the depth here: what is skipped is read over event by event. libxml2 has its own limit.
    void skip_into() {
        ++skipped_;
        if (builder_.depth() + skipped_ > Builder::max_depth) {
            throw Refused(Reason::too_big, builder_.path_of(nullptr),
                          "the document is nested more than " + std::to_string(Builder::max_depth) + " levels");
        }
    }

    static bool is_operation(const XmlName &attribute) {
        return attribute.local == "operation" &&
               (attribute.name_space.empty() || attribute.name_space == netconf_namespace);
    }

    std::optional<std::uint32_t> operation_of(const XmlAttributes &attributes, const SchemaNode *leaf) {
        std::optional<std::uint32_t> operation;
        for (std::size_t i = 0; i < attributes.size(); ++i) {
            if (!is_operation(attributes[i].name)) {
                builder_.unknown_annotation(leaf, attributes[i].name.local);
                continue;
            }
            if (operation) {
                builder_.complain(Reason::duplicate, leaf, "the document gives this node two operations");
            }
            operation = builder_.operation(leaf, attributes[i].value);
        }
        return operation;
    }

    void end_leaf() {
        const SchemaNode &schema = *leaf_;
        leaf_ = nullptr;
        if (is_leaf_wrong_) {
            return;
        }
        std::string_view value = schema.type == BaseType::string || schema.type == BaseType::union_
                                     ? std::string_view(value_)
                                     : trimmed(value_);
        const bool deletes = operation_ == YFW_OP_DELETE || operation_ == YFW_OP_REMOVE;
        const bool is_named_only = deletes && value.empty() && schema.type != BaseType::empty;
        if (schema.type == BaseType::identityref || schema.type == BaseType::union_) {
            value = with_module(schema, value);
        }
        Node *leaf = builder_.leaf(schema, value, is_named_only ? Form::none : Form::text);
        if (leaf != nullptr && operation_) {
            leaf->set_operation(*operation_);
        }
    }

    // An identity's prefix is the document's: in its place goes the name of the module, as in JSON.
    std::string_view with_module(const SchemaNode &schema, std::string_view value) {
        const auto colon = value.find(':');
        if (colon == std::string_view::npos) {
            return value;
        }
        const std::string_view *declared = colon == 0 ? nullptr : parser_.name_space(value.substr(0, colon));
        const std::string_view module =
            declared == nullptr ? std::string_view() : builder_.module_of_namespace(*declared);
        if (module.empty()) {
            return value;
        }
        identity_ = module;
        identity_ += value.substr(colon);
        return schema.type == BaseType::identityref || builder_.schema().identity_module(schema, identity_) != nullptr
                   ? std::string_view(identity_)
                   : value;
    }

    Builder &builder_;
    XmlParser parser_;

    std::vector<Wrapper> wrappers_;
    bool wrapped_ = false;
    bool wrapped_data_ = false;
    std::optional<DefaultOperation> default_operation_;

    std::size_t skipped_ = 0;        // open elements that are read over
    std::optional<XmlName> unknown_; // the outermost of them, when it was not known
    const SchemaNode *leaf_ = nullptr;
    bool is_leaf_wrong_ = false;             // which has been told
    std::optional<std::uint32_t> operation_; // of the open leaf
    std::string value_;
    std::string identity_;
};

} // namespace

std::optional<DefaultOperation> read_xml(Builder &builder, std::string_view text) {
    return XmlReader(builder, text).read();
}

} // namespace yfw
