// yfw edit: translates OpenConfig edits, shows and commits the native ones.
#include "edit.h"

#include "base/temporary_directory.h"

#include <optional>

namespace yfw::tool {

namespace {

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

void report(const Messages &messages, const EditResult &result) {
    for (const std::string &path : result.unknown) {
        messages.line("not served", path);
    }
    for (const std::string &path : result.not_mapped) {
        messages.line("not mapped", path);
    }
    for (const Note &note : result.notes) {
        messages.line("note", note.path + ": " + note.text);
    }
    for (const Deviation &deviation : result.deviations) {
        messages.line("differs", deviation.text());
    }
}

void print_edit(const Session &session, const EditArguments &arguments, const EditResult &result) {
    WriteOptions writing = arguments.output.options();
    writing.operations = true;
    Sink sink(stdout);
    write_document(sink, session.schema(), result.native(), writing);
}

Engine::DifferenceResult difference_of(const Session &session, const EditArguments &arguments,
                                       const Transaction &transaction) {
    const Transaction before = transaction.before();
    return session.engine().difference(transaction.touched(), before, transaction, arguments.difference.view);
}

EditResult translate(Session &session, const EditArguments &arguments, const std::string &file,
                     Transaction &transaction) {
    SecretText text(file);
    const Syntax syntax = guess_syntax(text.get());
    EditResult result = session.engine().edit(text.get(), syntax, arguments.options, transaction);
    report(Messages(), result);
    return result;
}

// The files see each other's changes, and the store sees none.
void run_dry(Session &session, const EditArguments &arguments) {
    const DryRunDirectory directory(session.globals().db);
    const Store store(directory.path(), session.schema(), Access::write);
    Transaction transaction = store.begin(Access::write);
    const StoreKey key(transaction, KeyUse::dry_run);
    for (const std::string &file : arguments.files) {
        if (&file == &arguments.files.back() && !arguments.diff) {
            transaction.keep_nothing();
        }
        const EditResult result = translate(session, arguments, file, transaction);
        if (!arguments.diff) {
            print_edit(session, arguments, result);
        }
    }
    if (arguments.diff) {
        print_difference(session.schema(), difference_of(session, arguments, transaction), arguments.difference);
    }
}

void edit_one(Session &session, const EditArguments &arguments, const std::string &file, Transaction &transaction) {
    const EditResult result = translate(session, arguments, file, transaction);
    std::optional<Engine::DifferenceResult> difference;
    if (arguments.diff) {
        difference = difference_of(session, arguments, transaction);
    }
    transaction.commit(commit_note(arguments.comment));
    try {
        if (difference) {
            print_difference(session.schema(), *difference, arguments.difference);
        } else {
            print_edit(session, arguments, result);
        }
    } catch (const Unusable &) {
        Messages().line("committed", file);
        throw;
    }
}

} // namespace

void run_edits(const Globals &globals, const EditArguments &arguments) {
    Session session(globals);
    session.show_progress();
    if (arguments.dry_run) {
        run_dry(session, arguments);
        return;
    }
    const Store store = session.open(Access::write);
    for_each_file(arguments.files, [&](const std::string &file) {
        Transaction transaction = store.begin(Access::write);
        const StoreKey key(transaction, KeyUse::edit);
        edit_one(session, arguments, file, transaction);
    });
}

void add_edit_options(CLI::App &command, EditOptions &options) {
    add_choice<DefaultOperation>(
        command, "--default-operation", options.default_operation,
        {{"merge", DefaultOperation::merge}, {"replace", DefaultOperation::replace}, {"none", DefaultOperation::none}},
        "What applies to nodes without an operation of their own: merge, replace or none");
    command.add_flag("--skip-unknown", options.skip_unknown,
                     "List nodes outside the models instead of refusing the edit");
    command.add_flag("--strict", options.strict, "Refuse an edit with nodes that are not mapped");
    command.add_flag("--verify", options.verify,
                     "Read back what the edit set and list what differs; refuse the edit then under --strict");
}

void add_edit(CLI::App &app, const Globals &globals, int *) {
    auto arguments = std::make_shared<EditArguments>();
    CLI::App *command = app.add_subcommand("edit", "Translate OpenConfig edits, show and commit the native ones");
    command->add_flag("--dry-run", arguments->dry_run, "Do everything but the commit");
    add_edit_options(*command, arguments->options);
    add_output_options(*command, arguments->output);
    command->add_flag("--diff", arguments->diff, "Print what the edit changes instead, as yfw diff does")
        ->excludes("--output")
        ->excludes("--compact");
    add_comment_option(*command, arguments->comment);
    command
        ->add_option("FILE", arguments->files, "Documents, JSON or XML; '-' is standard input; each is one transaction")
        ->required();
    command->callback([&globals, arguments] { run_edits(globals, *arguments); });
}

} // namespace yfw::tool
