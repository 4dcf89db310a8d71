#include "documents/write_common.h"

namespace yfw {

void write_document(Sink &sink, const Schema &schema, const Node *root, const WriteOptions &options) {
    if (options.syntax == Syntax::json) {
        write_json(sink, schema, root, options);
    } else {
        write_xml(sink, schema, root, options);
    }
    if (!options.is_part) {
        sink.put('\n');
    }
    sink.flush();
}

std::string_view written_operation(const Node *node, const WriteOptions &options) {
    // A key names its entry, which carries the operation.
    if (!options.operations || node->schema().is_key) {
        return {};
    }
    switch (node->operation) {
    case YFW_OP_CREATE:
        return "create";
    case YFW_OP_REPLACE:
        return "replace";
    case YFW_OP_DELETE:
        return "delete";
    case YFW_OP_REMOVE:
        return "remove";
    default:
        return options.explicit_merge && node->op_is_set() ? "merge" : std::string_view();
    }
}

} // namespace yfw
