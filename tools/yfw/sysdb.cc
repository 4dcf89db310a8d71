// yfw sysdb: the system database as the plug-in sees it.
#include "command.h"

#include "base/text.h"
#include "bgp/items.h"

namespace yfw::tool {

void add_sysdb(CLI::App &app, const Globals &globals, int *) {
    auto pattern = std::make_shared<std::string>();
    CLI::App *command = app.add_subcommand("sysdb", "Show the system database, an item a line");
    command->add_option("PATTERN", *pattern, "Only items whose path begins so; the component .* stands for any");
    command->callback([&globals, pattern] {
        Run run(globals);
        const Store store = run.open(Access::read);
        const Transaction transaction = store.begin(Access::read);
        Sink sink(stdout);
        const SystemDatabase database(transaction, bgp_items(run.schema()));
        const std::vector<SystemDatabase::Item> items = database.items(*pattern);
        for (const SystemDatabase::Item &item : items) {
            sink.put(visible(item.path) + " = " + visible(item.value.text) + '\n');
        }
        sink.flush();
        if (items.empty() && !pattern->empty()) {
            Messages().line("note", "no item's path begins with " + *pattern);
        }
    });
}

} // namespace yfw::tool
