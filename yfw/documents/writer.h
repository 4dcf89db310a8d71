// Writes data trees as JSON (RFC 7951) or XML, in the schema's order, as read_document reads them.
#pragma once

#include "documents/reader.h"
#include "documents/sink.h"
#include "model/schema.h"
#include "model/tree.h"

#include <cstddef>

namespace yfw {

struct WriteOptions {
    Syntax syntax = Syntax::json;
    bool operations = false;     // as ietf-netconf's operation annotation
    bool explicit_merge = false; // annotate nodes too whose operation was set to none, which is merge
    bool pretty = false;
    bool is_part = false;          // XML: the top-level elements alone, for the caller's element around them
    bool hide_secrets = false;     // hidden_value in place of passwords
    std::size_t *hidden = nullptr; // counts those, when given
};

// Ends with a line break, and with the sink flushed.
void write_document(Sink &sink, const Schema &schema, const Node *root, const WriteOptions &options);

// A leaf's value as JSON has it, of a password asterisks; any text as a JSON string. Neither flushes the sink.
void write_json_value(Sink &sink, const Schema &schema, const Node *leaf);
void write_json_text(Sink &sink, std::string_view text);

// An array: put(element) writes each. Likewise.
template <typename Elements, typename Put>
void write_json_array(Sink &sink, const Elements &elements, Put put) {
    sink.put('[');
    const char *between = "";
    for (const auto &element : elements) {
        sink.put(between);
        put(element);
        between = ",";
    }
    sink.put(']');
}

} // namespace yfw
