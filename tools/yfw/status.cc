// yfw status: the daemon that owns the store, if one does.
#include "handover.h"

namespace yfw::tool {

void add_status(CLI::App &app, const Globals &globals, int *exit_code) {
    CLI::App *command = app.add_subcommand("status", "Say whether a yfwd owns the store, and how it is");
    command->callback([&globals, exit_code] {
        if (!is_owned(globals)) {
            Messages().line("note", "no yfwd owns the store in " + globals.db.string());
            *exit_code = nothing;
            return;
        }
        serve::HandedOver request = request_of(serve::HandedOver::What::status, "");
        print(hand_over(globals, request));
    });
}

} // namespace yfw::tool
