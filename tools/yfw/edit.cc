// yfw edit: translates OpenConfig edits, shows and commits the native ones.
#include "edit.h"

#include "handover.h"

#include "base/temporary_directory.h"

#include <cstring>
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

void print_edit(const Run &run, const EditArguments &arguments, const EditResult &result) {
    WriteOptions writing = arguments.output.options();
    writing.operations = true;
    Sink sink(stdout);
    write_document(sink, run.schema(), result.native(), writing);
}

Engine::DifferenceResult difference_of(const Run &run, const EditArguments &arguments, const Transaction &transaction) {
    const Transaction before = transaction.before();
    return run.engine().difference(transaction.touched(), before, transaction, arguments.difference.view);
}

// A document that can be read only once, kept as long as its faults may have to be found in it. It may have passwords.
struct KeptText {
    std::string text;
    explicit KeptText(std::string kept) : text(std::move(kept)) {}
    ~KeptText() { explicit_bzero(text.data(), text.size()); }
    KeptText(const KeptText &) = delete;
    KeptText &operator=(const KeptText &) = delete;
};

// What is found behind the reading of a document is told with its place in it, too.
Refused placed(const Refused &refused, const Run &run, const EditOptions &options, std::string &text) {
    ReadOptions reading;
    reading.skip_unknown = options.skip_unknown;
    reading.published = &run.engine().published();
    return Refused(with_places(refused.faults(), run.schema(), text, reading));
}

// Calls work(text) with a document's text, and adds places to what it refuses. run gives what the models are in.
template <typename GetRun, typename Work>
auto with_text(const std::string &file, const EditOptions &options, GetRun run, Work work) {
    SecretText text(file);
    std::error_code error;
    const bool is_there_again = file != "-" && std::filesystem::is_regular_file(file, error);
    KeptText kept(is_there_again ? std::string() : text.get());
    try {
        return work(text.get());
    } catch (const Refused &refused) {
        const Fault &first = refused.faults().front();
        if (dynamic_cast<const StrictlyRefused *>(&refused) != nullptr || !refused.lines().empty() ||
            first.place.line != 0 || first.path.empty()) {
            throw;
        }
        if (!is_there_again) {
            throw placed(refused, run(), options, kept.text);
        }
        SecretText again(file);
        throw placed(refused, run(), options, again.get());
    }
}

EditResult translate(Run &run, const EditArguments &arguments, const std::string &file, Transaction &transaction) {
    return with_text(
        file, arguments.options, [&run]() -> const Run & { return run; },
        [&](std::string &text) {
            EditResult result = run.engine().edit(text, guess_syntax(text), arguments.options, transaction);
            run.globals().report->edited(result);
            return result;
        });
}

// The files see each other's changes, and the store sees none.
void run_dry(Run &run, const EditArguments &arguments) {
    const DryRunDirectory directory(run.globals().db);
    const Store store(directory.path(), run.schema(), Access::write);
    Transaction transaction = store.begin(Access::write);
    const StoreKey key(transaction, KeyUse::dry_run);
    Report &report = *run.globals().report;
    for (const std::string &file : arguments.files) {
        report.begin(file);
        if (&file == &arguments.files.back() && !arguments.diff) {
            transaction.keep_nothing();
        }
        const EditResult result = translate(run, arguments, file, transaction);
        if (!arguments.diff) {
            print_edit(run, arguments, result);
        }
        report.end(Report::Outcome::tried);
    }
    if (arguments.diff) {
        print_difference(run.schema(), difference_of(run, arguments, transaction), arguments.difference);
    }
}

void edit_one(Run &run, const EditArguments &arguments, const std::string &file, Transaction &transaction) {
    const EditResult result = translate(run, arguments, file, transaction);
    std::optional<Engine::DifferenceResult> difference;
    if (arguments.diff) {
        difference = difference_of(run, arguments, transaction);
    }
    transaction.commit(commit_note(arguments.comment));
    try {
        if (difference) {
            print_difference(run.schema(), *difference, arguments.difference);
        } else {
            print_edit(run, arguments, result);
        }
    } catch (const Unusable &) {
        run.globals().report->end(Report::Outcome::kept);
        run.globals().report->committed(file);
        throw;
    }
}

void hand_over_one(const Globals &globals, const EditArguments &arguments, const std::string &file) {
    serve::HandedOver request = request_of(serve::HandedOver::What::edit, arguments.comment);
    request.options = arguments.options;
    request.syntax = arguments.output.syntax;
    request.compact = arguments.output.compact;
    if (arguments.diff) {
        set_output(request, arguments.difference);
    }
    std::optional<Run> run;
    const serve::HandedBack answer = with_text(
        file, arguments.options, [&]() -> const Run & { return run ? *run : run.emplace(globals); },
        [&](std::string &text) {
            request.text.swap(text);
            return hand_over(globals, request);
        });
    globals.report->edited(answer.told);
    try {
        print(answer);
    } catch (const Unusable &) {
        globals.report->end(Report::Outcome::kept);
        globals.report->committed(file);
        throw;
    }
}

} // namespace

void run_edits(const Globals &globals, const EditArguments &arguments) {
    globals.report->open();
    if (!arguments.dry_run && is_owned(globals)) {
        for_each_file(arguments.files, *globals.report,
                      [&](const std::string &file) { hand_over_one(globals, arguments, file); });
        return;
    }
    Run run(globals);
    run.show_progress();
    if (arguments.dry_run) {
        run_dry(run, arguments);
        return;
    }
    const Store store = run.open(Access::write);
    for_each_file(arguments.files, *globals.report, [&](const std::string &file) {
        Transaction transaction = begin_writing(store);
        const StoreKey key(transaction, KeyUse::edit);
        edit_one(run, arguments, file, transaction);
    });
}

void add_edit_options(CLI::App &command, const Globals &globals, EditOptions &options) {
    add_choice<DefaultOperation>(
        command, "--default-operation", options.default_operation,
        {{"merge", DefaultOperation::merge}, {"replace", DefaultOperation::replace}, {"none", DefaultOperation::none}},
        "What applies to nodes without an operation of their own: merge, replace or none");
    command.add_flag("--skip-unknown", options.skip_unknown,
                     "List nodes outside the models instead of refusing the edit");
    command.add_flag("--strict", options.strict, "Refuse an edit with nodes that are not mapped");
    command.add_flag("--verify", options.verify,
                     "Read back what the edit set and list what differs; refuse the edit then under --strict");
    globals.report->add_all_option(command);
    globals.report->add_report_option(command);
}

void add_edit(CLI::App &app, const Globals &globals, int *) {
    auto arguments = std::make_shared<EditArguments>();
    CLI::App *command = app.add_subcommand("edit", "Translate OpenConfig edits, show and commit the native ones");
    command->add_flag("--dry-run", arguments->dry_run, "Do everything but the commit");
    add_edit_options(*command, globals, arguments->options);
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
