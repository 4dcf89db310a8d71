// The whole mapping as a document for a reader.
#pragma once

#include "describe/survey.h"
#include "documents/sink.h"

namespace yfw {

// Writes the mapping as Markdown: what each served OpenConfig node becomes in the native model, which function maps it,
// and what is read as what. What a node becomes is found by translating edits of sample values.
void write_table(Sink &sink, const Engine &engine);

// The OpenConfig nodes that each native node is written from, or read for; found in the same way.
Origins native_origins(const Engine &engine);

} // namespace yfw
