#include "documents/write_common.h"
#include "documents/xml_parser.h"
#include "model/trees.h"

namespace yfw {

namespace {

constexpr EscapeSet special("&<>\"\r", false);

class XmlWriter {
  public:
    XmlWriter(Sink &sink, const Schema &schema, const WriteOptions &options)
        : sink_(sink), schema_(schema), options_(options) {}

    // Within a <config> when there would be no single root element, or no place to declare the operations' prefix.
    void document(const Node *root) {
        const Node *first = root->first();
        if (options_.is_part || (!options_.operations && first != nullptr && first->next() == nullptr)) {
            members(root);
            return;
        }
        sink_.put("<config xmlns=\"");
        sink_.put(netconf_namespace);
        if (options_.operations) {
            sink_.put("\" xmlns:nc=\"");
            sink_.put(netconf_namespace);
        }
        sink_.put(first == nullptr ? "\"/>" : "\">");
        if (first != nullptr) {
            ++depth_;
            members(root);
            --depth_;
            new_line();
            sink_.put("</config>");
        }
    }

  private:
    void new_line() {
        if (options_.pretty && started_) {
            sink_.put_line_break(depth_);
        }
    }

    void members(const Node *parent) {
        for_each_in_order(parent, [this](const Node *node) {
            started_ = started_ || depth_ != 0;
            new_line();
            started_ = true;
            element(node->schema(), node);
        });
    }

    void element(const SchemaNode &schema, const Node *node) {
        sink_.put('<');
        sink_.put(schema.name);
        if (schema.module != schema.parent->module) {
            name_space("", *schema.module);
        }
        if (const auto operation = written_operation(node, options_); !operation.empty()) {
            sink_.put(" nc:operation=\"");
            sink_.put(operation);
            sink_.put('"');
        }
        if (schema.is_inner() ? node->first() == nullptr : node->value == nullptr || *node->value == '\0') {
            sink_.put("/>");
            return;
        }
        if (schema.is_inner()) {
            sink_.put('>');
            ++depth_;
            members(node);
            --depth_;
            new_line();
        } else {
            value(schema, node->value);
        }
        sink_.put("</");
        sink_.put(schema.name);
        sink_.put('>');
    }

    void name_space(std::string_view prefix, const Module &module) {
        sink_.put(prefix.empty() ? " xmlns" : " xmlns:");
        sink_.put(prefix);
        sink_.put("=\"");
        escaped(module.name_space);
        sink_.put('"');
    }

    // The rest of a start tag, and the text behind it.
    void value(const SchemaNode &leaf, const char *text) {
        const Module *identity = identity_of(schema_, leaf, text);
        if (identity != nullptr && identity != leaf.module) {
            name_space(identity->prefix, *identity);
            sink_.put('>');
            sink_.put(identity->prefix);
            sink_.put(':');
        } else {
            sink_.put('>');
        }
        escaped(written_value(leaf, text, options_));
    }

    // For text and for attributes in double quotes.
    void escaped(std::string_view text) {
        special.put(sink_, text, [this](char character) { sink_.put(entity(character)); });
    }

    static std::string_view entity(char character) {
        switch (character) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        default:
            return "&#13;"; // a reader would make a line feed of the character itself
        }
    }

    Sink &sink_;
    const Schema &schema_;
    const WriteOptions &options_;
    unsigned depth_ = 0;
    bool started_ = false;
};

} // namespace

void write_xml(Sink &sink, const Schema &schema, const Node *root, const WriteOptions &options) {
    XmlWriter(sink, schema, options).document(root);
}

} // namespace yfw
