// yfw load: native configuration and operational data as the router would hold them.
#include "history.h"

namespace yfw::tool {

void add_load(CLI::App &app, const Globals &globals, int *) {
    auto files = std::make_shared<std::vector<std::string>>();
    auto comment = std::make_shared<std::string>();
    CLI::App *command =
        app.add_subcommand("load", "Store native configuration or operational data, in the place of what is stored");
    command->add_option("FILE", *files, "Native documents, JSON or XML; '-' is standard input; each is one transaction")
        ->required();
    add_comment_option(*command, *comment);
    command->callback([&globals, files, comment] {
        Session session(globals);
        session.show_progress();
        const Store store = session.open(Access::write);
        for_each_file(*files, [&](const std::string &file) {
            SecretText text(file);
            const Syntax syntax = guess_syntax(text.get());
            Transaction transaction = store.begin(Access::write);
            session.engine().load(text.get(), syntax, transaction);
            transaction.commit(commit_note(*comment));
        });
    });
}

} // namespace yfw::tool
