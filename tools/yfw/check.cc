// yfw check: whether the store is whole.
#include "command.h"

#include "store/check.h"

namespace yfw::tool {

void add_check(CLI::App &app, const Globals &globals, int *exit_code) {
    CLI::App *command = app.add_subcommand("check", "Say whether the store is whole: its pages, records and key");
    command->callback([&globals, exit_code] {
        Run run(globals);
        const Store store = run.open(Access::read);
        Transaction transaction = store.begin(Access::read);
        const StoreCheck found = check_records(transaction, run.schema());
        const Messages messages;
        for (const std::string &problem : found.problems) {
            messages.error(problem);
        }
        const StoreKey key(transaction, KeyUse::read);
        if (!key.note().empty()) {
            messages.error(key.note());
        }
        if (!found.problems.empty() || !key.note().empty()) {
            *exit_code = unusable;
            return;
        }
        Sink sink(stdout);
        sink.put("whole: " + std::to_string(found.entries) + " entries\n");
        sink.flush();
    });
}

} // namespace yfw::tool
