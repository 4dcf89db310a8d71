// The reader of documents: any text is read or refused, and what was read is written so that it reads the same again.
#pragma once

#include "base/error.h"
#include "bytes.h"
#include "documents/reader.h"
#include "tests/scratch.h"

namespace yfw::fuzz {

inline void read_any(const std::uint8_t *data, std::size_t size, Syntax syntax) {
    static const Schema schema({YFW_MODELS_DIR});
    const auto written = [syntax](const Node *root) {
        return test::document_of(schema, root, {.syntax = syntax, .explicit_merge = true});
    };
    for (const bool skip_unknown : {false, true}) {
        ReadOptions options;
        options.skip_unknown = skip_unknown;
        try {
            Arena arena;
            std::string text(reinterpret_cast<const char *>(data), size);
            const std::string first = written(read_document(arena, schema, text, syntax, options).root);
            std::string again = first;
            try {
                const Document document = read_document(arena, schema, again, syntax, {});
                const std::string second = written(document.root);
                require(second == first, "what was written reads the same", first + second);
            } catch (const Refused &refused) {
                require(false, "what was written can be read", first + refused.path() + ": " + refused.what());
            }
        } catch (const Refused &refused) {
            require(*refused.what() != '\0', "a refusal has a reason");
        }
    }
}

} // namespace yfw::fuzz
