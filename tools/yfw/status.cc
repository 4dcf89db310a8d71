// yfw status: the daemon that owns the store, if one does.
#include "handover.h"

#include "base/text.h"

namespace yfw::tool {

void add_status(CLI::App &app, const Globals &globals, int *exit_code) {
    CLI::App *command = app.add_subcommand("status", "Say whether a yfwd owns the store, and how it is");
    command->callback([&globals, exit_code] {
        serve::HandedBack answer;
        if (is_owned(globals)) {
            serve::HandedOver request = request_of(serve::HandedOver::What::status, "");
            answer = hand_over(globals, request);
        } else {
            answer.printed = "no yfwd owns the store in " + visible(globals.db.string()) + '\n';
            *exit_code = nothing;
        }
        print(answer);
    });
}

} // namespace yfw::tool
