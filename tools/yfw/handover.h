// What the command does about a store that a daemon owns: it hands writing over, and tells what it always tells.
#pragma once

#include "command.h"
#include "history.h"

#include "serve/handover/handover.h"

namespace yfw::tool {

// Whether a daemon owns the store.
bool is_owned(const Globals &globals);

// A request by the user who runs the command.
serve::HandedOver request_of(serve::HandedOver::What what, const std::string &comment);
void set_output(serve::HandedOver &request, const DifferenceOutput &output);

// Has the daemon carry it out, and wipes the document. Throws what it would throw if it were done here.
serve::HandedBack hand_over(const Globals &globals, serve::HandedOver &request);

// Puts what the daemon printed on standard output.
void print(const serve::HandedBack &answer);

// A transaction of a store that no daemon owns, to be committed. Throws Unusable while a commit waits to be confirmed:
// the daemon will undo what came behind it, too.
Transaction begin_writing(const Store &store);

// Throws Unusable for what is not handed over.
void refuse_owned(const Globals &globals, const char *what);

} // namespace yfw::tool
