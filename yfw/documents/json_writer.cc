#include "documents/json_check.h"
#include "documents/write_common.h"

#include <algorithm>

namespace yfw {

namespace {

constexpr EscapeSet special("\"\\", true);

void escape(Sink &sink, char character) {
    switch (character) {
    case '"':
        sink.put("\\\"");
        break;
    case '\\':
        sink.put("\\\\");
        break;
    case '\n':
        sink.put("\\n");
        break;
    case '\t':
        sink.put("\\t");
        break;
    case '\r':
        sink.put("\\r");
        break;
    default:
        constexpr std::string_view digits = "0123456789abcdef";
        sink.put("\\u00");
        sink.put(digits[static_cast<unsigned char>(character) >> 4U]);
        sink.put(digits[static_cast<unsigned char>(character) & 0xfU]);
        break;
    }
}

class JsonWriter {
  public:
    JsonWriter(Sink &sink, const Schema &schema, const WriteOptions &options)
        : sink_(sink), schema_(schema), options_(options) {}

    // The object of a container, list entry or root.
    void object(const Node *node) {
        sink_.put('{');
        ++depth_;
        bool is_first = true;
        if (const auto operation = written_operation(node, options_); !operation.empty()) {
            next(is_first);
            sink_.put(options_.pretty ? "\"@\": " : "\"@\":");
            annotation(operation);
        }
        for_each_member(node, [&](const Node *first) { member(first->schema(), first, is_first); });
        --depth_;
        if (!is_first) {
            new_line();
        }
        sink_.put('}');
    }

    void value(const SchemaNode &leaf, const char *text) {
        if (leaf.type == BaseType::empty) {
            sink_.put("[null]");
        } else if (text == nullptr) {
            sink_.put("null");
        } else if (leaf.secret) {
            write_json_text(sink_, written_value(leaf, text, options_));
        } else if (is_bare(leaf, text)) {
            sink_.put(text);
        } else if (leaf.type == BaseType::integer) {
            integer(text);
        } else if (const Module *module = identity_of(schema_, leaf, text)) {
            sink_.put('"');
            sink_.put(module->name);
            sink_.put(':');
            sink_.put(text);
            sink_.put('"');
        } else {
            write_json_text(sink_, text);
        }
    }

  private:
    void new_line() {
        if (options_.pretty) {
            sink_.put_line_break(depth_);
        }
    }

    void next(bool &is_first) {
        if (!is_first) {
            sink_.put(',');
        }
        is_first = false;
        new_line();
    }

    void name(const SchemaNode &schema, std::string_view mark) {
        sink_.put('"');
        sink_.put(mark);
        if (schema.module != schema.parent->module) {
            sink_.put(schema.module->name);
            sink_.put(':');
        }
        sink_.put(schema.name);
        sink_.put(options_.pretty ? "\": " : "\":");
    }

    void member(const SchemaNode &schema, const Node *first, bool &is_first) {
        switch (schema.kind) {
        case NodeKind::list:
            next(is_first);
            name(schema, "");
            array(first, [this](const Node *entry) { object(entry); });
            break;
        case NodeKind::leaf_list:
            next(is_first);
            name(schema, "");
            array(first, [&](const Node *entry) { value(schema, entry->value); });
            leaf_list_operations(schema, first, is_first);
            break;
        case NodeKind::leaf:
            leaf(schema, first, is_first);
            break;
        default:
            next(is_first);
            name(schema, "");
            object(first);
            break;
        }
    }

    template <typename Element>
    void array(const Node *first, Element element) {
        sink_.put('[');
        ++depth_;
        bool is_first = true;
        for (const Node *entry = first; entry != nullptr; entry = next_entry(entry)) {
            next(is_first);
            element(entry);
        }
        --depth_;
        new_line();
        sink_.put(']');
    }

    void leaf(const SchemaNode &schema, const Node *node, bool &is_first) {
        const auto operation = written_operation(node, options_);
        // What is deleted may come without a value, or with an empty one that its type would not take.
        const bool no_value = node->value == nullptr || (*node->value == '\0' && schema.type != BaseType::empty &&
                                                         schema.type != BaseType::string);
        if (!no_value || operation.empty() || !node->is_delete()) {
            next(is_first);
            name(schema, "");
            value(schema, node->value);
        }
        if (!operation.empty()) {
            next(is_first);
            name(schema, "@");
            annotation(operation);
        }
    }

    void leaf_list_operations(const SchemaNode &schema, const Node *first, bool &is_first) {
        const Node *last = nullptr; // with an operation
        for (const Node *entry = first; entry != nullptr; entry = next_entry(entry)) {
            if (!written_operation(entry, options_).empty()) {
                last = entry;
            }
        }
        if (last == nullptr) {
            return;
        }
        next(is_first);
        name(schema, "@");
        array(first, [this](const Node *entry) { annotation(written_operation(entry, options_)); });
    }

    void annotation(std::string_view operation) {
        if (operation.empty()) {
            sink_.put("null");
            return;
        }
        sink_.put(options_.pretty ? "{\"ietf-netconf:operation\": \"" : "{\"ietf-netconf:operation\":\"");
        sink_.put(operation);
        sink_.put("\"}");
    }

    // A number as YANG takes it ("007", "+5") may be none for JSON, which then gets the same one as it writes it.
    void integer(std::string_view text) {
        std::string_view digits = text.substr(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
        digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
        const std::string_view number = digits.empty() ? "0" : digits;
        if (!is_json_number(number)) { // in an edit that is to be refused
            write_json_text(sink_, text);
            return;
        }
        if (text.starts_with('-') && !digits.empty()) {
            sink_.put('-');
        }
        sink_.put(number);
    }

    [[nodiscard]] bool is_bare(const SchemaNode &leaf, std::string_view text) const {
        switch (leaf.type) {
        case BaseType::boolean:
            return text == "true" || text == "false";
        case BaseType::integer:
            return is_json_number(text);
        case BaseType::union_:
            return is_json_number(text) && schema_.is_number(leaf, text);
        default:
            return false;
        }
    }

    static bool is_json_number(std::string_view text) {
        return !text.empty() && json_number_length(text) == text.size();
    }

    Sink &sink_;
    const Schema &schema_;
    const WriteOptions &options_;
    unsigned depth_ = 0;
};

} // namespace

void write_json(Sink &sink, const Schema &schema, const Node *root, const WriteOptions &options) {
    JsonWriter(sink, schema, options).object(root);
}

void write_json_value(Sink &sink, const Schema &schema, const Node *leaf) {
    const WriteOptions options{.hide_secrets = true};
    JsonWriter(sink, schema, options).value(leaf->schema(), leaf->value);
}

void write_json_text(Sink &sink, std::string_view text) {
    sink.put('"');
    special.put(sink, text, [&sink](char character) { escape(sink, character); });
    sink.put('"');
}

} // namespace yfw
