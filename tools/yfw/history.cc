// yfw log, yfw rollback: what was committed, and how to get back.
#include "history.h"

#include "handover.h"

#include "base/text.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace yfw::tool {

void add_difference_options(CLI::App &command, DifferenceOutput &output) {
    using Form = DifferenceOutput::Form;
    add_choice<Form>(command, "-o,--output", output.form, {{"text", Form::text}, {"json", Form::json}},
                     "The form of the difference: text or json");
    command.add_flag_callback(
        "--native", [&output] { output.view = Engine::View::native; }, "Of the native configuration");
}

bool shows_colour() {
    return isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr;
}

void print_difference(const Schema &schema, const Engine::DifferenceResult &difference,
                      const DifferenceOutput &output) {
    Sink sink(stdout);
    write_difference(sink, schema, difference, output, shows_colour());
}

void add_comment_option(CLI::App &command, std::string &comment) {
    const auto is_line = [](const std::string &given) {
        return visible(given) == given ? "" : "a comment is one line of text";
    };
    command.add_option("-m,--comment", comment, "A comment, for the history")
        ->type_name("COMMENT")
        ->check(CLI::Validator(is_line, ""));
}

CommitNote commit_note(const std::string &comment) {
    const uid_t user = ::getuid();
    const char *behind = user == 0 ? std::getenv("SUDO_USER") : nullptr; // who became root
    const passwd *known = behind == nullptr ? ::getpwuid(user) : nullptr;
    return {behind != nullptr ? behind : known != nullptr ? known->pw_name : std::to_string(user), "command", comment};
}

namespace {

// The local time, as ISO 8601 has it.
std::string text_of(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local{};
    std::array<char, 40> text{};
    ::localtime_r(&seconds, &local);
    std::string shown(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &local));
    return shown.insert(shown.size() - 2, ":"); // of the offset
}

// "neighbor +2 ~1, vrf -1": of how many entries of a list were added, changed, removed; of lists of one name together.
std::string summary(const HistoryEntry &entry) {
    std::vector<std::pair<std::string, HistoryEntry::Count>> lists;
    for (const HistoryEntry::Count &count : entry.counts) {
        const std::string name = count.list == nullptr ? "/" : count.list->name;
        auto known = std::find_if(lists.begin(), lists.end(), [&](const auto &list) { return list.first == name; });
        if (known == lists.end()) {
            known = lists.insert(known, {name, {}});
        }
        known->second.added += count.added;
        known->second.changed += count.changed;
        known->second.removed += count.removed;
    }
    std::string text;
    for (const auto &[name, count] : lists) {
        text += (text.empty() ? "" : ", ") + name;
        for (const auto &[mark, number] :
             {std::pair{" +", count.added}, {" ~", count.changed}, {" -", count.removed}}) {
            text += number == 0 ? "" : mark + std::to_string(number);
        }
    }
    return entry.has_images ? text : "more than is kept";
}

void print_line(Sink &sink, const HistoryEntry &entry) {
    const auto or_dash = [](const std::string &text) { return text.empty() ? "-" : visible(text); };
    sink.put(std::to_string(entry.number) + "  " + text_of(entry.time) + "  " + or_dash(entry.note.who) + "  " +
             or_dash(entry.note.by) + "  " + summary(entry));
    sink.put(entry.note.comment.empty() ? "\n" : "  # " + visible(entry.note.comment) + '\n');
}

void print_object(Sink &sink, const HistoryEntry &entry) {
    sink.put("{\"number\": " + std::to_string(entry.number) + ", \"time\": \"" + text_of(entry.time) + '"');
    for (const auto &[name, text] : {std::pair{", \"who\": ", &entry.note.who},
                                     {", \"by\": ", &entry.note.by},
                                     {", \"comment\": ", &entry.note.comment}}) {
        sink.put(name);
        write_json_text(sink, *text);
    }
    sink.put(entry.has_images ? ", \"kept\": true, \"changes\": [" : ", \"kept\": false, \"changes\": [");
    bool is_first = true;
    for (const HistoryEntry::Count &count : entry.counts) {
        sink.put(is_first ? "{\"list\": " : ", {\"list\": ");
        is_first = false;
        write_json_text(sink, count.list == nullptr ? "/" : count.list->path);
        sink.put(", \"added\": " + std::to_string(count.added) + ", \"changed\": " + std::to_string(count.changed) +
                 ", \"removed\": " + std::to_string(count.removed) + '}');
    }
    sink.put("]}");
}

void print_log(const Globals &globals, std::size_t most, DifferenceOutput::Form form) {
    const Run run(globals);
    const Store store = run.open(Access::read);
    const Transaction transaction = store.begin(Access::read);
    const std::vector<HistoryEntry> entries = read_history(transaction, most);
    Sink sink(stdout);
    if (form == DifferenceOutput::Form::json) {
        sink.put('[');
        for (const HistoryEntry &entry : entries) {
            sink.put(&entry == &entries.front() ? "\n  " : ",\n  ");
            print_object(sink, entry);
        }
        sink.put(entries.empty() ? "]\n" : "\n]\n");
    } else {
        for (const HistoryEntry &entry : entries) {
            print_line(sink, entry);
        }
    }
    sink.flush();
    if (entries.empty()) {
        Messages().line("note", "no commit is kept: the history begins with the next one");
    }
}

struct RollbackArguments {
    std::uint64_t number = 0;
    bool dry_run = false;
    DifferenceOutput output;
    std::string comment;
};

void roll_back(const Globals &globals, const RollbackArguments &arguments) {
    if (!arguments.dry_run && is_owned(globals)) {
        serve::HandedOver request = request_of(serve::HandedOver::What::rollback, arguments.comment);
        request.number = arguments.number;
        set_output(request, arguments.output);
        print(hand_over(globals, request));
        return;
    }
    Run run(globals);
    run.show_progress();
    // A store that is not there need not be made to say that it has no history.
    const Access access = std::filesystem::exists(globals.db / "data.mdb") ? Access::write : Access::read;
    const Store store = run.open(access);
    Transaction transaction = access == Access::write ? begin_writing(store) : store.begin(access);
    const StoreKey key(transaction, KeyUse::read);
    tell(key);
    restore(transaction, run.schema(), arguments.number);
    const Transaction before = transaction.before();
    const Engine::DifferenceResult difference =
        run.engine().difference(transaction.touched(), before, transaction, arguments.output.view);
    if (!arguments.dry_run) {
        const std::string usual = "rollback to " + std::to_string(arguments.number);
        transaction.commit(commit_note(arguments.comment.empty() ? usual : arguments.comment));
    }
    print_difference(run.schema(), difference, arguments.output);
}

} // namespace

void add_log(CLI::App &app, const Globals &globals, int *) {
    auto most = std::make_shared<std::size_t>(std::numeric_limits<std::size_t>::max());
    auto form = std::make_shared<DifferenceOutput::Form>(DifferenceOutput::Form::text);
    CLI::App *command = app.add_subcommand("log", "Show the commits that are kept, the newest first");
    command->add_option("-n", *most, "No more than this")->type_name("N");
    add_choice<DifferenceOutput::Form>(*command, "-o,--output", *form,
                                       {{"text", DifferenceOutput::Form::text}, {"json", DifferenceOutput::Form::json}},
                                       "The form of the list: text or json");
    command->callback([&globals, most, form] { print_log(globals, *most, *form); });
}

void add_rollback(CLI::App &app, const Globals &globals, int *) {
    auto arguments = std::make_shared<RollbackArguments>();
    CLI::App *command =
        app.add_subcommand("rollback", "Make the configuration what it was after a commit, by a new one");
    command->add_flag("--dry-run", arguments->dry_run, "Do everything but the commit");
    add_difference_options(*command, arguments->output);
    add_comment_option(*command, arguments->comment);
    command
        ->add_option("N", arguments->number, "The commit's number, as yfw log shows it; 0 is before the first one kept")
        ->required()
        ->type_name("");
    command->callback([&globals, arguments] { roll_back(globals, *arguments); });
}

} // namespace yfw::tool
