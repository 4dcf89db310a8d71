#include "xml_reader.h"

#include "json_check.h"

#include <libxml/xmlreader.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <new>

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

// The document type declaration of a text, npos when it has none. Without one there are no entities to expand.
std::size_t find_doctype(std::string_view text) {
    std::size_t at = 0;
    for (;;) {
        at = text.find('<', at);
        if (at == std::string_view::npos) {
            return at;
        }
        const std::string_view rest = text.substr(at);
        std::string_view end;
        if (rest.starts_with("<!DOCTYPE")) {
            return at;
        }
        if (rest.starts_with("<?")) {
            end = "?>";
        } else if (rest.starts_with("<!--")) {
            end = "-->";
        } else {
            return std::string_view::npos;
        }
        at = text.find(end, at + 2);
    }
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

class XmlReader {
  public:
    XmlReader(Builder &builder, std::string_view text) : builder_(builder), text_(text) {}

    std::optional<DefaultOperation> read() {
        open();
        while (advance()) {
            event();
        }
        if (wrapped_ && !wrapped_data_) {
            throw Refused(Reason::malformed_document, "", "the document has no <config> or <data>");
        }
        return default_operation_;
    }

  private:
    struct Fault {
        int code;
        int line;
        int column;
    };
    struct ReaderDeleter {
        void operator()(xmlTextReader *reader) const { xmlFreeTextReader(reader); }
    };
    struct XmlTextDeleter {
        void operator()(xmlChar *text) const { xmlFree(text); }
    };

    void open() {
        if (const auto doctype = find_doctype(text_); doctype != std::string_view::npos) {
            throw Refused(Reason::malformed_document, "",
                          position_of(text_, doctype) + ": a document type declaration is not allowed");
        }
        if (trimmed(text_).empty()) {
            throw Refused(Reason::malformed_document, "", "line 1, column 1: the document is empty");
        }
        if (text_.size() > INT_MAX) {
            throw Refused(Reason::too_big, "", "an XML document of more than 2 GiB cannot be read");
        }
        // HUGE lifts libxml2's limits on depth and size: the builder and the caller have their own.
        reader_.reset(xmlReaderForMemory(text_.data(), static_cast<int>(text_.size()), nullptr, "UTF-8",
                                         XML_PARSE_NONET | XML_PARSE_HUGE));
        if (!reader_) {
            throw std::bad_alloc();
        }
        xmlTextReaderSetStructuredErrorHandler(reader_.get(), note_fault, this);
    }

    // Called from C, and ahead of the events.
    static void note_fault(void *self, xmlErrorPtr error) {
        auto &fault = static_cast<XmlReader *>(self)->fault_;
        if (error->level >= XML_ERR_ERROR && !fault) {
            fault = Fault{error->code, std::max(error->line, 1), std::max(error->int2, 1)};
        }
    }

    bool advance() {
        const int result = xmlTextReaderRead(reader_.get());
        if (fault_) {
            throw Refused(Reason::malformed_document, "",
                          "line " + std::to_string(fault_->line) + ", column " + std::to_string(fault_->column) + ": " +
                              fault_reason(fault_->code));
        }
        if (result < 0) {
            throw Refused(Reason::malformed_document, "", fault_reason(XML_ERR_OK));
        }
        return result == 1;
    }

    void event() {
        xmlNode *node = xmlTextReaderCurrentNode(reader_.get());
        switch (xmlTextReaderNodeType(reader_.get())) {
        case XML_READER_TYPE_ELEMENT: {
            const bool is_empty = xmlTextReaderIsEmptyElement(reader_.get()) == 1;
            element(node);
            if (is_empty) {
                end(node);
            }
            break;
        }
        case XML_READER_TYPE_END_ELEMENT:
            end(node);
            break;
        case XML_READER_TYPE_TEXT:
        case XML_READER_TYPE_CDATA:
        case XML_READER_TYPE_WHITESPACE:
        case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
            text(view(node->content));
            break;
        case XML_READER_TYPE_ENTITY_REFERENCE:
        case XML_READER_TYPE_DOCUMENT_TYPE:
            throw Refused(Reason::malformed_document, "", here() + ": entities are not allowed");
        default: // comments, processing instructions
            break;
        }
    }

    std::string here() {
        return "line " + std::to_string(xmlTextReaderGetParserLineNumber(reader_.get())) + ", column " +
               std::to_string(xmlTextReaderGetParserColumnNumber(reader_.get()));
    }

    void text(std::string_view piece) {
        if (skipped_ != 0) {
            return;
        }
        if (leaf_ != nullptr || inside() == Wrapper::option) {
            value_ += piece;
        } else if (piece.find_first_not_of(blanks) != std::string_view::npos) {
            throw Refused(Reason::malformed_document, builder_.path_of(nullptr),
                          here() + ": elements are expected, not text");
        }
    }

    void element(xmlNode *node) {
        if (skipped_ != 0 || builder_.dropping() || inside() == Wrapper::ignored) {
            skip_into();
            return;
        }
        if (leaf_ != nullptr) {
            builder_.refuse(Reason::invalid_value, leaf_, "a value is expected here, not elements");
        }
        if (builder_.at_top() && inside() != Wrapper::data && wrapper(node)) {
            return;
        }
        const SchemaNode *schema = builder_.find(
            {view(node->name), view(node->ns == nullptr ? nullptr : node->ns->href), QualifiedName::Kind::name_space});
        if (schema == nullptr) {
            unknown_ = view(node->name);
            skip_into();
            if (builder_.options().skip_unknown) {
                builder_.unknown(unknown_);
            }
        } else if (schema->is_inner()) {
            builder_.enter(*schema);
            if (const auto operation = operation_of(node, nullptr)) {
                builder_.set_level_operation(*operation);
            }
        } else {
            leaf_ = schema;
            value_.clear();
            operation_ = operation_of(node, schema);
        }
    }

    [[nodiscard]] Wrapper inside() const { return wrappers_.empty() ? Wrapper::none : wrappers_.back(); }

    // Whether the element is one of NETCONF's; refuses what does not belong between these.
    bool wrapper(xmlNode *node) {
        const std::string_view name = view(node->name);
        const std::string_view name_space = view(node->ns == nullptr ? nullptr : node->ns->href);
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
        if (find_operation(node) != nullptr) {
            throw Refused(Reason::unknown_operation, "/" + std::string(name), "an operation belongs to a data node");
        }
        wrappers_.push_back(rule->inner);
        value_.clear();
        return true;
    }

    void end(xmlNode *node) {
        if (skipped_ != 0) {
            if (--skipped_ == 0 && !unknown_.empty()) {
                const std::string name = std::move(unknown_);
                unknown_.clear();
                if (!builder_.options().skip_unknown) {
                    builder_.unknown(name); // refuses it, now that it is not too deep
                }
            }
        } else if (leaf_ != nullptr) {
            end_leaf(node);
        } else if (!builder_.at_top()) {
            builder_.leave();
        } else {
            if (inside() == Wrapper::option) {
                option(view(node->name), trimmed(value_));
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

    // The document drives the depth here: what is skipped is read over event by event.
    void skip_into() {
        ++skipped_;
        if (!builder_.options().skip_unknown && builder_.depth() + skipped_ > Builder::max_depth) {
            builder_.refuse(Reason::too_big, nullptr,
                            "the document is nested more than " + std::to_string(Builder::max_depth) + " levels");
        }
    }

    static xmlAttr *find_operation(xmlNode *node) {
        for (xmlAttr *attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
            if (is_operation(attribute)) {
                return attribute;
            }
        }
        return nullptr;
    }

    static bool is_operation(const xmlAttr *attribute) {
        return view(attribute->name) == "operation" &&
               (attribute->ns == nullptr || view(attribute->ns->href) == netconf_namespace);
    }

    std::optional<std::uint32_t> operation_of(xmlNode *node, const SchemaNode *leaf) {
        std::optional<std::uint32_t> operation;
        for (xmlAttr *attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
            if (!is_operation(attribute)) {
                builder_.unknown_annotation(leaf, view(attribute->name));
                continue;
            }
            if (operation) {
                builder_.refuse(Reason::duplicate, leaf, "the document gives this node two operations");
            }
            const std::unique_ptr<xmlChar, XmlTextDeleter> text(
                xmlNodeListGetString(node->doc, attribute->children, 1));
            operation = builder_.operation(leaf, view(text.get()));
        }
        return operation;
    }

    void end_leaf(xmlNode *node) {
        const SchemaNode &schema = *leaf_;
        leaf_ = nullptr;
        std::string_view value = schema.type == BaseType::string || schema.type == BaseType::union_
                                     ? std::string_view(value_)
                                     : trimmed(value_);
        const bool deletes = operation_ == YFW_OP_DELETE || operation_ == YFW_OP_REMOVE;
        const bool is_named_only = deletes && value.empty() && schema.type != BaseType::empty;
        if (schema.type == BaseType::identityref || schema.type == BaseType::union_) {
            value = with_module(node, schema, value);
        }
        Node *leaf = builder_.leaf(schema, value, is_named_only ? Form::none : Form::text);
        if (leaf != nullptr && operation_) {
            leaf->set_operation(*operation_);
        }
    }

    // An identity's prefix is the document's: in its place goes the name of the module, as in JSON.
    std::string_view with_module(xmlNode *node, const SchemaNode &schema, std::string_view value) {
        const auto colon = value.find(':');
        if (colon == std::string_view::npos) {
            return value;
        }
        const std::string prefix(value.substr(0, colon));
        const xmlNs *name_space = xmlSearchNs(node->doc, node, reinterpret_cast<const xmlChar *>(prefix.c_str()));
        const Module *module =
            name_space == nullptr ? nullptr : builder_.schema().module_of_namespace(view(name_space->href));
        if (module == nullptr) {
            return value;
        }
        identity_ = module->name;
        identity_ += value.substr(colon);
        return schema.type == BaseType::identityref || builder_.schema().identity_module(schema, identity_) != nullptr
                   ? std::string_view(identity_)
                   : value;
    }

    Builder &builder_;
    std::string_view text_;
    std::unique_ptr<xmlTextReader, ReaderDeleter> reader_;
    std::optional<Fault> fault_;

    std::vector<Wrapper> wrappers_;
    bool wrapped_ = false;
    bool wrapped_data_ = false;
    std::optional<DefaultOperation> default_operation_;

    std::size_t skipped_ = 0; // open elements that are read over
    std::string unknown_;     // the outermost of them, when it was not known
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
