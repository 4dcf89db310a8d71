// yfw load: native configuration and operational data as the router would hold them.
#include "handover.h"

namespace yfw::tool {

void add_load(CLI::App &app, const Globals &globals, int *) {
    auto files = std::make_shared<std::vector<std::string>>();
    auto comment = std::make_shared<std::string>();
    auto drops = std::make_shared<bool>(false);
    CLI::App *command =
        app.add_subcommand("load", "Store native configuration or operational data, in the place of what is stored");
    command->add_option("FILE", *files, "Native documents, JSON or XML; '-' is standard input; each is one transaction")
        ->required();
    add_comment_option(*command, *comment);
    command->add_flag("--drop-passwords", *drops,
                      "Leave passwords out, such as those that another store's key enciphered");
    globals.report->add_report_option(*command);
    command->callback([&globals, files, drops, comment] {
        globals.report->open();
        if (is_owned(globals)) {
            for_each_file(*files, *globals.report, [&](const std::string &file) {
                SecretText text(file);
                serve::HandedOver request = request_of(serve::HandedOver::What::load, *comment);
                request.drop_passwords = *drops;
                request.text.swap(text.get());
                hand_over(globals, request);
            });
            return;
        }
        Run run(globals);
        run.show_progress();
        const Store store = run.open(Access::write);
        for_each_file(*files, *globals.report, [&](const std::string &file) {
            SecretText text(file);
            const Syntax syntax = guess_syntax(text.get());
            Transaction transaction = begin_writing(store);
            const StoreKey key(transaction, KeyUse::read);
            Engine::LoadOptions options;
            if (*drops) {
                options.password = [](const Node *) { return std::nullopt; };
            }
            run.engine().load(text.get(), syntax, transaction, options);
            transaction.commit(commit_note(*comment));
        });
    });
}

} // namespace yfw::tool
