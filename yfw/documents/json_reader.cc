#include "documents/json_reader.h"

#include "documents/json_check.h"

#include <simdjson.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace yfw {

namespace {

namespace ondemand = simdjson::ondemand;

std::string_view without_trailing_blanks(std::string_view token) {
    while (!token.empty() &&
           (token.back() == ' ' || token.back() == '\n' || token.back() == '\r' || token.back() == '\t')) {
        token.remove_suffix(1);
    }
    return token;
}

const char *kind_name(ondemand::json_type type) {
    switch (type) {
    case ondemand::json_type::array:
        return "an array";
    case ondemand::json_type::object:
        return "an object";
    default:
        return "a single value";
    }
}

// Its recursion follows the schema, so the document cannot drive it deep.
class JsonReader {
  public:
    JsonReader(Builder &builder, std::string &text) : builder_(builder), text_(text) {}

    void read() {
        text_.reserve(text_.size() + simdjson::SIMDJSON_PADDING);
        if (text_.starts_with("\xef\xbb\xbf")) {
            text_.replace(0, 3, "   "); // a byte order mark, which is none of JSON's business
        }
        ondemand::document document;
        const simdjson::padded_string_view padded(text_.data(), text_.size(), text_.capacity());
        if (const auto error = parser_.iterate(padded).get(document); error != simdjson::SUCCESS) {
            malformed(error);
        }
        ondemand::object top;
        if (const auto error = document.get_object().get(top); error == simdjson::INCORRECT_TYPE) {
            const JsonCheck check = check_json(text_);
            if (check.fault == nullptr) {
                throw Refused(Reason::malformed_document, "", "the document is not a JSON object");
            }
            malformed(error);
        } else if (error != simdjson::SUCCESS) {
            malformed(error);
        }
        object(top);
        if (document.current_location().error() != simdjson::OUT_OF_BOUNDS) {
            malformed(simdjson::TAPE_ERROR); // there is more
        }
    }

  private:
    struct Scalar {
        std::string_view text;
        Form form;
    };

    // simdjson says that a text is wrong, but hardly where.
    [[noreturn]] void malformed(simdjson::error_code error) const {
        if (error == simdjson::MEMALLOC) {
            throw std::bad_alloc();
        }
        malformed(0, check_json(text_), simdjson::error_message(error));
    }

    [[noreturn]] void malformed(std::size_t base, const JsonCheck &check, const char *otherwise) const {
        if (check.fault == nullptr) {
            throw Refused(Reason::malformed_document, "", otherwise);
        }
        throw Refused(Reason::malformed_document, "", position_of(text_, base + check.offset) + ": " + check.fault);
    }

    template <typename Value>
    void take(simdjson::simdjson_result<Value> result, Value &value) {
        if (const auto error = simdjson::simdjson_result<Value>(result).get(value); error != simdjson::SUCCESS) {
            malformed(error);
        }
    }

    void object(ondemand::object &members) {
        for (auto next : members) {
            ondemand::field member;
            take(next, member);
            if (const SchemaNode *usual = usual_of(member); usual != nullptr) {
                known(*usual, member.value());
                continue;
            }
            std::string_view name = name_of(member);
            if (builder_.dropping()) {
                skip(member.value());
            } else if (name.starts_with('@')) {
                name.remove_prefix(1);
                annotation(name, member.value());
            } else {
                known_or_unknown(name, member.value());
            }
        }
    }

    // The node that came here in the last object of the kind, if the member is named so.
    const SchemaNode *usual_of(ondemand::field &member) {
        const SchemaNode *usual = builder_.dropping() ? nullptr : builder_.usual();
        const char *begin = member.key().raw();
        const auto room = static_cast<std::size_t>(text_.data() + text_.size() - begin);
        if (usual == nullptr || usual->name.size() >= room || begin[usual->name.size()] != '"' ||
            std::memcmp(begin, usual->name.data(), usual->name.size()) != 0) {
            return nullptr;
        }
        builder_.follow(*usual);
        return usual;
    }

    std::string_view name_of(ondemand::field &member) {
        const char *begin = member.key().raw();
        const auto room = static_cast<std::size_t>(text_.data() + text_.size() - begin);
        const auto *end = static_cast<const char *>(std::memchr(begin, '"', room));
        std::string_view name(begin, end == nullptr ? 0 : static_cast<std::size_t>(end - begin));
        if (name.find('\\') != std::string_view::npos) {
            std::size_t length = 0;
            while (length < room && begin[length] != '"') {
                length += begin[length] == '\\' ? 2 : 1;
            }
            name = unescaped(member.key(), length);
        }
        return name;
    }

    static QualifiedName qualified(std::string_view name) {
        const auto colon = name.find(':');
        if (colon == std::string_view::npos) {
            return {name, {}};
        }
        return {name.substr(colon + 1), name.substr(0, colon)};
    }

    void known_or_unknown(std::string_view name, ondemand::value value) {
        const SchemaNode *schema = builder_.find(qualified(name));
        if (schema == nullptr) {
            const std::string copy(name); // its place may be unescaped into again
            skip(value);
            builder_.unknown(qualified(copy), copy);
            return;
        }
        known(*schema, value);
    }

    void known(const SchemaNode &schema, ondemand::value value) {
        switch (schema.kind) {
        case NodeKind::list:
            list(schema, value);
            break;
        case NodeKind::leaf:
            leaf(schema, value);
            break;
        case NodeKind::leaf_list:
            leaf_list(schema, value);
            break;
        default:
            enter(schema, value);
            break;
        }
    }

    ondemand::json_type type_of(ondemand::value &value) {
        ondemand::json_type type{};
        take(value.type(), type);
        return type;
    }

    void expect(const SchemaNode &schema, ondemand::value &value, ondemand::json_type wanted, const char *what) {
        if (const ondemand::json_type type = type_of(value); type != wanted) {
            builder_.refuse(Reason::invalid_value, &schema,
                            std::string(what) + " is expected here, not " + kind_name(type));
        }
    }

    void enter(const SchemaNode &schema, ondemand::value value) {
        expect(schema, value, ondemand::json_type::object, "an object");
        ondemand::object members;
        take(value.get_object(), members);
        builder_.enter(schema);
        object(members);
        builder_.leave();
    }

    template <typename Visit>
    void for_each_element(const SchemaNode &schema, ondemand::value value, const char *what, Visit visit) {
        expect(schema, value, ondemand::json_type::array, what);
        ondemand::array elements;
        take(value.get_array(), elements);
        for (auto next : elements) {
            ondemand::value element;
            take(next, element);
            visit(element);
        }
    }

    void list(const SchemaNode &schema, ondemand::value value) {
        builder_.refuse_second(schema);
        for_each_element(schema, value, "the array of a list's entries",
                         [&](ondemand::value &entry) { enter(schema, entry); });
    }

    void leaf_list(const SchemaNode &schema, ondemand::value value) {
        builder_.refuse_second(schema);
        for_each_element(schema, value, "the array of a leaf-list's values", [&](ondemand::value &element) {
            const Scalar one = scalar(schema, element);
            builder_.leaf(schema, one.text, one.form);
        });
    }

    void leaf(const SchemaNode &schema, ondemand::value value) {
        const Scalar one =
            type_of(value) == ondemand::json_type::array ? empty_value(schema, value) : scalar(schema, value);
        builder_.leaf(schema, one.text, one.form);
    }

    // [null]: the value of a leaf of type empty, and a way to name a leaf that is deleted.
    Scalar empty_value(const SchemaNode &schema, ondemand::value value) {
        ondemand::array elements;
        take(value.get_array(), elements);
        std::size_t count = 0;
        for (auto next : elements) {
            ondemand::value element;
            take(next, element);
            if (++count > 1 || type_of(element) != ondemand::json_type::null) {
                count = 0;
                break;
            }
            scalar(schema, element);
        }
        if (count == 0) {
            builder_.refuse(Reason::invalid_value, &schema, "a single value is expected here, not an array");
        }
        return {"", schema.type == BaseType::empty ? Form::text : Form::none};
    }

    Scalar scalar(const SchemaNode &schema, ondemand::value value) {
        const ondemand::json_type type = type_of(value);
        if (type == ondemand::json_type::object || type == ondemand::json_type::array) {
            builder_.refuse(Reason::invalid_value, &schema,
                            std::string("a single value is expected here, not ") + kind_name(type));
        }
        const std::string_view token = without_trailing_blanks(value.raw_json_token());
        switch (type) {
        case ondemand::json_type::string:
            return {string(schema, value, token), Form::text};
        case ondemand::json_type::number:
            if (json_number_length(token) != token.size()) {
                malformed(simdjson::NUMBER_ERROR);
            }
            return {token, Form::text};
        case ondemand::json_type::boolean:
            if (token != "true" && token != "false") {
                malformed(simdjson::T_ATOM_ERROR);
            }
            return {token, Form::boolean};
        default:
            if (token != "null") {
                malformed(simdjson::N_ATOM_ERROR);
            }
            return {"", Form::none};
        }
    }

    // simdjson's own buffer for these is not used: it does not look whether it got the memory.
    std::string_view unescaped(ondemand::raw_json_string raw, std::size_t longest) {
        auto *place = static_cast<std::uint8_t *>(builder_.arena().allocate(longest + simdjson::SIMDJSON_PADDING));
        std::string_view text;
        take(parser_.unescape(raw, place), text);
        return text;
    }

    std::string_view string_in(ondemand::value &value, std::string_view token) {
        if (token.size() < 2 || token.back() != '"') {
            malformed(simdjson::STRING_ERROR);
        }
        ondemand::raw_json_string raw;
        take(value.get_raw_json_string(), raw);
        const std::string_view text = token.substr(1, token.size() - 2);
        const bool has_escapes = std::memchr(text.data(), '\\', text.size()) != nullptr;
        return has_escapes ? unescaped(raw, token.size()) : text;
    }

    std::string_view string(const SchemaNode &schema, ondemand::value &value, std::string_view token) {
        const std::string_view text = string_in(value, token);
        if (text.data() == token.data() + 1) {
            return text; // without escapes
        }
        if (schema.secret) {
            builder_.arena().note_secret(const_cast<char *>(text.data()), text.size());
        }
        return text;
    }

    // A string that is left to simdjson to step over would pass for a member's name when a ':' follows it.
    void read_over_string(ondemand::value &value) {
        ondemand::raw_json_string raw;
        take(value.get_raw_json_string(), raw);
    }

    // Reads over a value that the tree does not take. It is held to the syntax all the same.
    void skip(ondemand::value value) {
        const ondemand::json_type type = type_of(value);
        std::string_view text;
        if (type == ondemand::json_type::object) {
            ondemand::object members;
            take(value.get_object(), members);
            take(members.raw_json(), text);
        } else if (type == ondemand::json_type::array) {
            ondemand::array elements;
            take(value.get_array(), elements);
            take(elements.raw_json(), text);
        } else {
            text = value.raw_json_token();
            if (type == ondemand::json_type::string) {
                read_over_string(value);
            }
        }
        const JsonCheck check = check_json(text);
        if (!builder_.options().skip_unknown && builder_.depth() + check.depth > Builder::max_depth) {
            builder_.refuse(Reason::too_big, nullptr,
                            "the document is nested more than " + std::to_string(Builder::max_depth) + " levels");
        }
        if (check.fault != nullptr) {
            malformed(static_cast<std::size_t>(text.data() - text_.data()), check, "");
        }
    }

    // "@": of the object it stands in; "@leaf": of the leaf or leaf-list beside it.
    void annotation(std::string_view name, ondemand::value value) {
        if (name.empty()) {
            if (const auto operation = operation_in(nullptr, value)) {
                builder_.set_level_operation(*operation);
            }
            return;
        }
        const SchemaNode *schema = builder_.find(qualified(name));
        if (schema == nullptr) {
            const std::string copy = '@' + std::string(name);
            skip(value);
            builder_.unknown(qualified(std::string_view(copy).substr(1)), copy);
        } else if (schema->is_inner()) {
            builder_.refuse(Reason::invalid_value, schema,
                            "the annotation of a container or list entry stands inside it, as \"@\"");
        } else if (schema->kind == NodeKind::leaf) {
            if (const auto operation = operation_in(schema, value)) {
                builder_.note_operation(*schema, 0, *operation);
            }
        } else {
            annotations(*schema, value);
        }
    }

    void annotations(const SchemaNode &leaf_list, ondemand::value value) {
        std::uint32_t position = 0;
        for_each_element(leaf_list, value, "the array of a leaf-list's annotations", [&](ondemand::value &element) {
            if (type_of(element) == ondemand::json_type::null) {
                scalar(leaf_list, element);
            } else if (const auto operation = operation_in(&leaf_list, element)) {
                builder_.note_operation(leaf_list, position, *operation);
            }
            ++position;
        });
    }

    std::optional<std::uint32_t> operation_in(const SchemaNode *of, ondemand::value value) {
        if (type_of(value) != ondemand::json_type::object) {
            builder_.refuse(Reason::invalid_value, of, "an annotation is an object");
        }
        ondemand::object members;
        take(value.get_object(), members);
        std::optional<std::uint32_t> operation;
        for (auto next : members) {
            ondemand::field member;
            take(next, member);
            const std::string_view name = name_of(member);
            if ((name != "ietf-netconf:operation" && name != "operation") || (of == nullptr && builder_.at_top())) {
                const std::string copy(name);
                skip(member.value());
                builder_.unknown_annotation(of, copy);
                continue;
            }
            if (operation) {
                builder_.refuse(Reason::duplicate, of, "the document gives this node two operations");
            }
            operation = operation_named(of, member.value());
        }
        return operation;
    }

    std::uint32_t operation_named(const SchemaNode *of, ondemand::value value) {
        std::string_view name;
        if (type_of(value) == ondemand::json_type::string) {
            name = string_in(value, without_trailing_blanks(value.raw_json_token()));
        }
        return builder_.operation(of, name);
    }

    Builder &builder_;
    std::string &text_;
    ondemand::parser parser_;
};

} // namespace

void read_json(Builder &builder, std::string &text) {
    JsonReader(builder, text).read();
}

} // namespace yfw
