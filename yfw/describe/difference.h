// What differs between two states, told in full: also that nothing does.
#pragma once

#include "documents/sink.h"
#include "engine.h"

namespace yfw {

// How a difference is shown.
struct DifferenceOutput {
    enum class Form { text, json };
    Form form = Form::text;
    Engine::View view = Engine::View::openconfig;
};

// Ends with the sink flushed.
void write_difference(Sink &sink, const Schema &schema, const Engine::DifferenceResult &difference,
                      const DifferenceOutput &output, bool colour);

} // namespace yfw
