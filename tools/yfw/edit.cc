// yfw edit: translates OpenConfig edits, shows and commits the native ones.
#include "command.h"

#include "base/temporary_directory.h"

#include <optional>

namespace yfw::tool {

namespace {

struct Arguments {
    EditOptions options;
    bool dry_run = false;
    Output output;
    std::vector<std::string> files;
};

// The store of a dry run: the real one where it can be written, so that the edit is checked against it; an empty one of
// its own where there is none.
class DryRunDirectory {
  public:
    explicit DryRunDirectory(const std::filesystem::path &db) : db_(db) {
        if (!std::filesystem::exists(db / "data.mdb")) {
            own_.emplace();
        }
    }
    [[nodiscard]] const std::filesystem::path &path() const { return own_ ? own_->path() : db_; }

  private:
    const std::filesystem::path &db_;
    std::optional<TemporaryDirectory> own_;
};

void print_edit(const Run &run, const Arguments &arguments, const EditResult &result) {
    WriteOptions writing = arguments.output.options();
    writing.operations = true;
    Sink sink(stdout);
    write_document(sink, run.schema(), result.native(), writing);
}

void edit_one(Run &run, const Arguments &arguments, const std::string &file, Transaction &transaction) {
    SecretText text(file);
    const Syntax syntax = guess_syntax(text.get());
    const EditResult result = run.engine().edit(text.get(), syntax, arguments.options, transaction);
    run.globals().report->edited(result);
    if (!arguments.dry_run) {
        transaction.commit();
    }
    try {
        print_edit(run, arguments, result);
    } catch (const Unusable &) {
        if (!arguments.dry_run) {
            run.globals().report->end(Report::Outcome::kept);
            run.globals().report->committed(file);
        }
        throw;
    }
}

void run(const Globals &globals, const Arguments &arguments) {
    Report &report = *globals.report;
    report.open();
    Run run(globals);
    run.show_progress();
    if (arguments.dry_run) {
        const DryRunDirectory directory(globals.db);
        const Store store(directory.path(), run.schema(), Access::write);
        // The files see each other's changes, and the store sees none.
        Transaction transaction = store.begin(Access::write);
        const StoreKey key(transaction, KeyUse::dry_run);
        for (const std::string &file : arguments.files) {
            if (&file == &arguments.files.back()) {
                transaction.keep_nothing();
            }
            report.begin(file);
            edit_one(run, arguments, file, transaction);
            report.end(Report::Outcome::tried);
        }
        return;
    }
    const Store store = run.open(Access::write);
    for_each_file(arguments.files, report, [&](const std::string &file) {
        Transaction transaction = store.begin(Access::write);
        const StoreKey key(transaction, KeyUse::edit);
        edit_one(run, arguments, file, transaction);
    });
}

} // namespace

void add_edit(CLI::App &app, const Globals &globals, int *) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App *command = app.add_subcommand("edit", "Translate OpenConfig edits, show and commit the native ones");
    command->add_flag("--dry-run", arguments->dry_run, "Do everything but the commit");
    add_choice<DefaultOperation>(
        *command, "--default-operation", arguments->options.default_operation,
        {{"merge", DefaultOperation::merge}, {"replace", DefaultOperation::replace}, {"none", DefaultOperation::none}},
        "What applies to nodes without an operation of their own: merge, replace or none");
    command->add_flag("--skip-unknown", arguments->options.skip_unknown,
                      "List nodes outside the models instead of refusing the edit");
    command->add_flag("--strict", arguments->options.strict, "Refuse an edit with nodes that are not mapped");
    command->add_flag("--verify", arguments->options.verify,
                      "Read back what the edit set and list what differs; refuse the edit then under --strict");
    globals.report->add_all_option(*command);
    globals.report->add_report_option(*command);
    add_output_options(*command, arguments->output);
    command
        ->add_option("FILE", arguments->files, "Documents, JSON or XML; '-' is standard input; each is one transaction")
        ->required();
    command->callback([&globals, arguments] { run(globals, *arguments); });
}

} // namespace yfw::tool
