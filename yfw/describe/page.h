// The whole mapping as a page for a browser.
#pragma once

#include "documents/published.h"
#include "documents/sink.h"
#include "engine.h"

namespace yfw {

// Writes one HTML page that needs nothing else: each OpenConfig node with what it becomes natively and what it is read
// from, each native node with where it comes from, and what is not mapped, of the models in use and of what is
// published of BGP and the table connections. What a node becomes is found by translating edits of sample values.
void write_page(Sink &sink, const Engine &engine);

} // namespace yfw
