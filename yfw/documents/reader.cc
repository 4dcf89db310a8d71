#include "documents/reader.h"

#include "documents/builder.h"
#include "documents/json_reader.h"
#include "documents/xml_reader.h"

namespace yfw {

Document read_document(Arena &arena, const Schema &schema, std::string &text, Syntax syntax,
                       const ReadOptions &options) {
    if (text.size() > options.max_size) {
        throw Refused(Reason::too_big, "",
                      "the document has " + std::to_string(text.size()) + " bytes, more than " +
                          std::to_string(options.max_size));
    }
    Builder builder(arena, schema, options);
    if (syntax == Syntax::json) {
        read_json(builder, text);
        return builder.finish();
    }
    const std::optional<DefaultOperation> default_operation = read_xml(builder, text);
    Document document = builder.finish();
    document.default_operation = default_operation;
    return document;
}

Syntax guess_syntax(std::string_view text) {
    if (text.starts_with("\xef\xbb\xbf")) {
        text.remove_prefix(3);
    }
    const auto first = text.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && text[first] == '<' ? Syntax::xml : Syntax::json;
}

} // namespace yfw
