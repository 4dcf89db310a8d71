#include "documents/xml_reader.h"

#include "documents/json_check.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <utility>

namespace yfw {

namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string_view view(const xmlChar *text) {
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char *>(text));
}

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(blanks);
    return begin == std::string_view::npos ? std::string_view("")
                                           : text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

constexpr int most_attributes = 100;

// The '<' of a start tag with more attributes and declarations of prefixes than any element here can use, npos when
// there is none: libxml2 holds each against all before it, ahead of the first call. A '<' begins what stands behind it
// wherever a tag can be, so a tag is never missed; in a comment or a CDATA section something may be taken for one.
std::size_t find_crowded_tag(std::string_view text) {
    for (std::size_t begin = text.find('<'); begin != std::string_view::npos;) {
        std::size_t at = begin + 1;
        int count = 0;
        const char first = at < text.size() ? text[at] : '\0';
        char quote = first == '!' || first == '?' || first == '/' ? '<' : '\0'; // no attributes: on to the next
        for (; quote != '<' && at < text.size() && text[at] != '<'; ++at) {
            const char character = text[at];
            if (quote != '\0') {
                quote = character == quote ? '\0' : quote;
            } else if (character == '"' || character == '\'') {
                quote = character;
                if (++count > most_attributes) {
                    return begin;
                }
            } else if (character == '>') {
                break;
            }
        }
        begin = text.find('<', at);
    }
    return std::string_view::npos;
}

// libxml2's own messages quote the text, which may be a password that was not escaped.
const char *fault_reason(int code) {
    switch (code) {
    case XML_ERR_TAG_NAME_MISMATCH:
        return "the end tag does not match the start tag";
    case XML_ERR_TAG_NOT_FINISHED:
    case XML_ERR_DOCUMENT_END: // too early, or with text behind it
        return "the document does not end where it should";
    case XML_ERR_UNDECLARED_ENTITY:
        return "an entity is not declared";
    case XML_ERR_INVALID_CHAR:
    case XML_ERR_INVALID_ENCODING:
        return "a character is not allowed here";
    case XML_NS_ERR_UNDEFINED_NAMESPACE:
        return "a namespace prefix is not declared";
    default:
        return "the text is not well-formed XML";
    }
}

enum class Wrapper : std::uint8_t { none, rpc, rpc_reply, edit_config, data, ignored, option };

struct WrapperRule {
    std::string_view name;
    Wrapper outer;
    Wrapper inner;
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
};

// A name as libxml2 has it, which keeps it until the document ends.
struct XmlName {
    std::string_view local;
    std::string_view name_space;
};

struct XmlAttribute {
    XmlName name;
    std::string_view value;
};

// An element's attributes, five pointers each: local name, prefix, namespace, and the bounds of the value.
class XmlAttributes {
  public:
    XmlAttributes(const xmlChar **begin, int count) : begin_(begin), count_(static_cast<std::size_t>(count)) {}
    [[nodiscard]] std::size_t size() const { return count_; }
    [[nodiscard]] XmlAttribute operator[](std::size_t i) const {
        const xmlChar **at = begin_ + i * 5;
        return {{view(at[0]), view(at[2])},
                {reinterpret_cast<const char *>(at[3]), static_cast<std::size_t>(at[4] - at[3])}};
    }

  private:
    const xmlChar **begin_;
    std::size_t count_;
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

class XmlReader {
  public:
    XmlReader(Builder &builder, std::string_view text) : builder_(builder), text_(text) {}
    ~XmlReader() { explicit_bzero(value_.data(), value_.capacity()); }
    XmlReader(const XmlReader &) = delete;
    XmlReader &operator=(const XmlReader &) = delete;

    std::optional<DefaultOperation> read() {
        open();
        xmlParseDocument(context_.get());
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        if (wrapped_ && !wrapped_data_) {
            throw Refused(Reason::malformed_document, "", "the document has no <config> or <data>");
        }
        return default_operation_;
    }

  private:
    struct ContextDeleter {
        void operator()(xmlParserCtxt *context) const { xmlFreeParserCtxt(context); }
    };

    void open() {
        if (trimmed(text_).empty()) {
            throw Refused(Reason::malformed_document, "", "line 1, column 1: the document is empty");
        }
        if (text_.size() > INT_MAX) {
            throw Refused(Reason::too_big, "", "an XML document of more than 2 GiB cannot be read");
        }
        if (const auto zero = text_.find('\0'); zero != std::string_view::npos) {
            throw Refused(Reason::malformed_document, "",
                          position_of(text_, zero) + ": " + fault_reason(XML_ERR_INVALID_CHAR));
        }
        if (const auto crowded = find_crowded_tag(text_); crowded != std::string_view::npos) {
            throw Refused(Reason::too_big, "",
                          position_of(text_, crowded) + ": an element has more than " +
                              std::to_string(most_attributes) + " attributes");
        }
        context_.reset(xmlNewParserCtxt());
        if (!context_) {
            throw std::bad_alloc();
        }
        *context_->sax = handler();
        context_->userData = this;
        xmlCtxtUseOptions(context_.get(), XML_PARSE_NONET);
        // The text where it lies: there may be passwords in it, and a copy would stay in the heap. It ends with a 0.
        xmlParserInput *input =
            xmlNewStringInputStream(context_.get(), reinterpret_cast<const xmlChar *>(text_.data()));
        if (input == nullptr || inputPush(context_.get(), input) < 0) {
            throw std::bad_alloc();
        }
    }

    // Called from C: nothing is thrown through it.
    template <typename Act>
    static void act(void *self, Act act) {
        auto *reader = static_cast<XmlReader *>(self);
        if (reader->failure_) {
            return;
        }
        try {
            act(*reader);
        } catch (...) {
            reader->failure_ = std::current_exception();
            xmlStopParser(reader->context_.get());
        }
    }

    static xmlSAXHandler handler() {
        xmlSAXHandler calls{};
        calls.initialized = XML_SAX2_MAGIC;
        calls.serror = [](void *self, xmlErrorPtr error) {
            act(self, [&](XmlReader &reader) { reader.fault(*error); });
        };
        calls.startDocument = [](void *self) { act(self, [](XmlReader &reader) { reader.check_encoding(); }); };
        calls.internalSubset = [](void *self, const xmlChar *, const xmlChar *, const xmlChar *) {
            act(self, [](XmlReader &reader) {
                throw Refused(Reason::malformed_document, "",
                              reader.here() + ": a document type declaration is not allowed");
            });
        };
        calls.startElementNs = [](void *self, const xmlChar *name, const xmlChar *, const xmlChar *uri, int spaces,
                                  const xmlChar **space, int attributes, int, const xmlChar **attribute) {
            act(self, [&](XmlReader &reader) {
                reader.open_names(space, spaces);
                reader.element({view(name), view(uri)}, {attribute, attributes});
            });
        };
        calls.endElementNs = [](void *self, const xmlChar *name, const xmlChar *, const xmlChar *) {
            act(self, [&](XmlReader &reader) {
                reader.end(view(name));
                reader.close_names();
            });
        };
        calls.characters = [](void *self, const xmlChar *text, int size) {
            act(self, [&](XmlReader &reader) {
                reader.text({reinterpret_cast<const char *>(text), static_cast<std::size_t>(size)});
            });
        };
        calls.ignorableWhitespace = calls.characters;
        calls.cdataBlock = [](void *self, const xmlChar *text, int size) {
            const auto length = static_cast<std::size_t>(size);
            act(self, [&](XmlReader &reader) { reader.text({reinterpret_cast<const char *>(text), length}); });
            // libxml2's copy, which it frees as it is.
            explicit_bzero(const_cast<xmlChar *>(text), length);
        };
        return calls;
    }

    void fault(const xmlError &error) {
        if (error.level < XML_ERR_ERROR) {
            return;
        }
        if (error.code == XML_ERR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        throw Refused(Reason::malformed_document, "",
                      "line " + std::to_string(std::max(error.line, 1)) + ", column " +
                          std::to_string(std::max(error.int2, 1)) + ": " + fault_reason(error.code));
    }

    // UTF-8 is noted in another place.
    void check_encoding() {
        const std::string_view declared = view(context_->input->encoding);
        if (!declared.empty() && declared != "US-ASCII") {
            throw Refused(Reason::malformed_document, "",
                          here() + ": the encoding is " + std::string(declared.substr(0, 30)) +
                              ", and only UTF-8 is read");
        }
    }

    std::string here() {
        return "line " + std::to_string(context_->input->line) + ", column " + std::to_string(context_->input->col);
    }

    void open_names(const xmlChar **space, int count) {
        ++open_elements_;
        for (int i = 0; i < count; ++i, space += 2) {
            prefixes_.push_back({view(space[0]), view(space[1]), open_elements_});
        }
    }

    void close_names() {
        while (!prefixes_.empty() && prefixes_.back().element == open_elements_) {
            prefixes_.pop_back();
        }
        --open_elements_;
    }

    void text(std::string_view piece) {
        if (skipped_ != 0) {
            return;
        }
        if (leaf_ != nullptr || inside() == Wrapper::option) {
            append_secret(value_, piece);
        } else if (piece.find_first_not_of(blanks) != std::string_view::npos) {
            throw Refused(Reason::malformed_document, builder_.path_of(nullptr),
                          here() + ": elements are expected, not text");
        }
    }

    void element(const XmlName &name, const XmlAttributes &attributes) {
        if (skipped_ != 0 || builder_.dropping() || inside() == Wrapper::ignored) {
            skip_into();
            return;
        }
        if (leaf_ != nullptr) {
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
            value_.clear();
            operation_ = operation_of(attributes, schema);
        }
    }

    [[nodiscard]] Wrapper inside() const { return wrappers_.empty() ? Wrapper::none : wrappers_.back(); }

    // Whether the element is one of NETCONF's; refuses what does not belong between these.
    bool wrapper(const XmlName &element, const XmlAttributes &attributes) {
        const std::string_view name = element.local;
        const std::string_view name_space = element.name_space;
        const Wrapper outer = inside();
        const auto *rule = std::find_if(std::begin(wrapper_rules), std::end(wrapper_rules),
                                        [&](const WrapperRule &row) { return row.outer == outer && row.name == name; });
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

    void end(std::string_view element) {
        if (skipped_ != 0) {
            if (--skipped_ == 0 && unknown_) { // now that it is not too deep
                const XmlName name = *std::exchange(unknown_, std::nullopt);
                builder_.unknown({name.local, name.name_space, QualifiedName::Kind::name_space}, name.local);
            }
        } else if (leaf_ != nullptr) {
            end_leaf();
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
        bool is_known = value != "test-only" && value != "continue-on-error";
        if (name == "default-operation") {
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
            builder_.refuse(Reason::too_big, nullptr,
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
                builder_.refuse(Reason::duplicate, leaf, "the document gives this node two operations");
            }
            operation = builder_.operation(leaf, attributes[i].value);
        }
        return operation;
    }

    void end_leaf() {
        const SchemaNode &schema = *leaf_;
        leaf_ = nullptr;
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
        const auto declared = std::find_if(prefixes_.rbegin(), prefixes_.rend(), [&](const Prefix &prefix) {
            return prefix.prefix == value.substr(0, colon);
        });
        const std::string_view module = declared == prefixes_.rend() || colon == 0
                                            ? std::string_view()
                                            : builder_.module_of_namespace(declared->name_space);
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
    std::string_view text_;
    std::unique_ptr<xmlParserCtxt, ContextDeleter> context_;
    std::exception_ptr failure_; // the first: nothing is looked at after it

    // The prefixes in force, each with the depth of the element that declares it.
    struct Prefix {
        std::string_view prefix;
        std::string_view name_space;
        std::size_t element;
    };
    std::vector<Prefix> prefixes_;
    std::size_t open_elements_ = 0;

    std::vector<Wrapper> wrappers_;
    bool wrapped_ = false;
    bool wrapped_data_ = false;
    std::optional<DefaultOperation> default_operation_;

    std::size_t skipped_ = 0;        // open elements that are read over
    std::optional<XmlName> unknown_; // the outermost of them, when it was not known
    const SchemaNode *leaf_ = nullptr;
    std::optional<std::uint32_t> operation_; // of the open leaf
    std::string value_;
    std::string identity_;
};

} // namespace

std::optional<DefaultOperation> read_xml(Builder &builder, std::string_view text) {
    return XmlReader(builder, text).read();
}

} // namespace yfw
