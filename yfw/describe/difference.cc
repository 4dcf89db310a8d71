#include "describe/difference.h"

#include "changes/write.h"

namespace yfw {

void write_difference(Sink &sink, const Schema &schema, const Engine::DifferenceResult &difference,
                      const DifferenceOutput &output, bool colour) {
    if (output.form == DifferenceOutput::Form::json) {
        write_changes_json(sink, schema, difference.changes);
    } else if (!difference.changes.empty()) {
        write_changes(sink, difference.changes, colour);
    } else {
        const bool natively = !changes(difference.before->source(), difference.after->source()).empty();
        sink.put(natively ? "nothing changes in OpenConfig: --native shows what does\n" : "nothing changes\n");
        sink.flush();
    }
}

} // namespace yfw
