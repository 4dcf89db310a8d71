// What the two writers share.
#pragma once

#include "documents/writer.h"

#include <array>
#include <string_view>

namespace yfw {

void write_json(Sink &sink, const Schema &schema, const Node *root, const WriteOptions &options);
void write_xml(Sink &sink, const Schema &schema, const Node *root, const WriteOptions &options);

// The value to be written: of a password that is to be hidden, none that says it.
inline std::string_view written_value(const SchemaNode &leaf, std::string_view value, const WriteOptions &options) {
    if (!leaf.secret || !options.hide_secrets) {
        return value;
    }
    if (options.hidden != nullptr) {
        ++*options.hidden;
    }
    return hidden_value;
}

// The name of the operation that is to be written with the node, empty for none.
std::string_view written_operation(const Node *node, const WriteOptions &options);

// The characters that a syntax cannot take as they are.
class EscapeSet {
  public:
    explicit constexpr EscapeSet(std::string_view characters, bool controls) {
        for (std::size_t i = 0; controls && i < 0x20; ++i) {
            is_special_[i] = true;
        }
        for (const char character : characters) {
            is_special_[static_cast<unsigned char>(character)] = true;
        }
    }

    // Calls escape for each such character of the text, and puts the rest.
    template <typename Escape>
    void put(Sink &sink, std::string_view text, Escape escape) const {
        std::size_t begin = 0;
        for (std::size_t at = 0; at < text.size(); ++at) {
            if (is_special_[static_cast<unsigned char>(text[at])]) [[unlikely]] {
                sink.put(text.substr(begin, at - begin));
                escape(text[at]);
                begin = at + 1;
            }
        }
        sink.put(text.substr(begin));
    }

  private:
    std::array<bool, 256> is_special_{};
};

// The module of the identity that the value of a leaf is, null for other values.
inline const Module *identity_of(const Schema &schema, const SchemaNode &leaf, const char *value) {
    return leaf.type == BaseType::identityref || leaf.type == BaseType::union_ ? schema.identity_module(leaf, value)
                                                                               : nullptr;
}

} // namespace yfw
