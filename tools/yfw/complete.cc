#include "complete.h"

#include "base/text.h"
#include "bgp/items.h"
#include "key_search.h"
#include "page.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>

namespace yfw::tool {

namespace {

using End = Candidates::End;

// The words before the one at the cursor, as CLI11 would read them.
struct Line {
    const CLI::App *command = nullptr; // null: none yet
    std::size_t arguments = 0;
    std::map<const CLI::Option *, std::vector<std::string>> given; // options, with their values
    const CLI::Option *wants = nullptr;                            // whose value is completed
    bool is_known = true;
    bool only_arguments = false; // behind "--"
    std::string before;
    std::string word;
};

bool takes_value(const CLI::Option &option) {
    return option.get_items_expected_max() != 0;
}

const CLI::Option *find_option(const CLI::App &app, const Line &line, const std::string &word) {
    const std::string name = word.substr(0, word.find('='));
    const CLI::Option *own = line.command == nullptr ? nullptr : line.command->get_option_no_throw(name);
    return own != nullptr ? own : app.get_option_no_throw(name);
}

void read_word(const CLI::App &app, const std::string &word, Line &line) {
    if (line.wants != nullptr) {
        line.given[line.wants].push_back(word);
        line.wants = nullptr;
    } else if (!line.only_arguments && word == "--") {
        line.only_arguments = true;
    } else if (!line.only_arguments && word.size() > 1 && word.starts_with('-')) {
        const CLI::Option *option = find_option(app, line, word);
        if (option == nullptr) {
            return;
        }
        std::vector<std::string> &values = line.given[option];
        if (const auto sign = word.find('='); sign != std::string::npos) {
            values.push_back(word.substr(sign + 1));
        } else if (takes_value(*option)) {
            line.wants = option;
        }
    } else if (line.command != nullptr) {
        ++line.arguments;
    } else {
        const auto commands = visible_commands(app);
        const auto found = std::find_if(commands.begin(), commands.end(),
                                        [&word](const CLI::App *command) { return command->get_name() == word; });
        line.is_known = found != commands.end();
        line.command = line.is_known ? *found : nullptr;
    }
}

Line read_line(const CLI::App &app, const std::vector<std::string> &words) {
    Line line;
    for (std::size_t i = 0; i + 1 < words.size() && line.is_known; ++i) {
        read_word(app, words[i], line);
    }
    line.word = words.empty() ? "" : words.back();
    const auto sign = line.word.find('=');
    if (line.wants == nullptr && !line.only_arguments && line.word.starts_with("--") && sign != std::string::npos) {
        line.wants = find_option(app, line, line.word);
        line.is_known = line.wants != nullptr;
        line.before = line.word.substr(0, sign + 1);
        line.word.erase(0, sign + 1);
    }
    return line;
}

bool is_given(const Line &line, const std::string &name) {
    const CLI::Option *option = line.command->get_option_no_throw(name);
    return option != nullptr && line.given.contains(option);
}

// What the command reads, with what the line says of it.
class Source {
  public:
    Source(const CLI::App &app, const Globals &globals, const Line &line) : db_(globals.db) {
        for (const std::string &models : values(app, line, "--models")) {
            models_.emplace_back(models);
        }
        models_.push_back(globals.own_models);
        const CLI::Option &db = *app.get_option("--db");
        if (const char *variable = std::getenv(db.get_envname().c_str()); variable != nullptr && *variable != '\0') {
            db_ = variable;
        }
        if (const auto given = values(app, line, "--db"); !given.empty()) {
            db_ = given.back();
        }
    }

    const Schema &schema() {
        if (!schema_) {
            schema_ = std::make_unique<Schema>(models_);
        }
        return *schema_;
    }

    // Null when the store cannot be read.
    const Transaction *transaction() {
        try {
            // Nobody waits here for another process.
            StoreLimits limits;
            limits.lock_wait = std::chrono::milliseconds(0);
            store_ = std::make_unique<Store>(db_, schema(), Access::read, limits);
            transaction_.emplace(store_->begin(Access::read));
            return &*transaction_;
        } catch (const Unusable &) {
            return nullptr;
        }
    }

  private:
    static std::vector<std::string> values(const CLI::App &app, const Line &line, const std::string &name) {
        const auto found = line.given.find(app.get_option(name));
        return found == line.given.end() ? std::vector<std::string>() : found->second;
    }

    std::filesystem::path db_;
    std::vector<std::filesystem::path> models_;
    std::unique_ptr<Schema> schema_;
    std::unique_ptr<Store> store_;
    std::optional<Transaction> transaction_;
};

// One of a few words, "json|json:FILE"; what is in capitals is for the user to write.
void add_choices(std::string_view choices, Candidates &candidates) {
    while (!choices.empty()) {
        const std::string_view choice = choices.substr(0, choices.find('|'));
        const std::string text(choice.substr(0, choice.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ")));
        candidates.add(text, text == choice ? End::finished : End::open);
        choices.remove_prefix(std::min(choice.size() + 1, choices.size()));
    }
}

void add_option_values(const CLI::Option &option, Candidates &candidates) {
    const std::string type = option.get_type_name();
    if (type == "DIR") {
        candidates.add_directories();
    } else if (type == "FILE") {
        candidates.add_files();
    } else if (type.find('|') != std::string::npos) {
        add_choices(type, candidates);
    }
}

void add_options(const CLI::App &app, Candidates &candidates) {
    for (const CLI::Option *option : app.get_options()) {
        for (const std::string &name : option->get_lnames()) {
            candidates.add("--" + name, End::finished, option->get_description());
        }
        if (option->get_lnames().empty() && !option->get_snames().empty()) {
            candidates.add("-" + option->get_snames().front(), End::finished, option->get_description());
        }
    }
}

// The numbers of commits, the newest first. A record's key ends with the number, of eight bytes.
void add_commits(const Transaction *transaction, Candidates &candidates) {
    constexpr std::string_view history = "h";
    constexpr std::size_t enough = 20;
    if (transaction == nullptr) {
        return;
    }
    Cursor cursor(*transaction);
    bool more = cursor.seek_last(history);
    for (std::size_t i = 0; more && i < enough; ++i, more = cursor.previous(history)) {
        std::uint64_t number = 0;
        for (const char byte : cursor.key().substr(history.size())) {
            number = number << 8U | static_cast<unsigned char>(byte);
        }
        candidates.add(std::to_string(number), End::finished);
    }
}

bool is_any(std::string_view component) {
    return component == ".*";
}

// Notes what the components say of a rule's keys; false when they are of another item.
bool bind(const ItemRule &rule, const PathComponents &components, Given &given) {
    for (std::size_t i = 0; i < components.size(); ++i) {
        const ItemRule::Component &component = rule.path[i];
        const std::string_view text = components.begin()[i];
        if (is_any(text)) {
            continue;
        }
        if (component.is_key) {
            given.emplace_back(rule.lists[component.level]->keys.front(),
                               component.numbered.empty() ? text : component.name_of(text));
        } else if (component.text != text) {
            return false;
        }
    }
    return true;
}

// The next component of a path of the system database. The items are not looked for, only the list entries that they
// show: there may be many.
void add_items(const Schema &schema, const Transaction *transaction, Candidates &candidates) {
    if (transaction == nullptr) {
        return;
    }
    const std::string &word = candidates.word();
    const auto slash = word.rfind('/');
    const std::string above = slash == std::string::npos ? "" : word.substr(0, slash + 1);
    const std::string path = above.substr(0, above.empty() ? 0 : slash);
    const PathComponents components(path);
    const std::vector<ItemRule> rules = bgp_items(schema);
    for (const ItemRule &rule : rules) {
        Given given;
        if (components.size() >= rule.path.size() || !bind(rule, components, given)) {
            continue;
        }
        const ItemRule::Component &next = rule.path[components.size()];
        const bool is_plain = next.is_key && next.numbered.empty();
        const SchemaNode &key = *rule.lists[next.is_key ? next.level : 0]->keys.front();
        std::set<std::string> values;
        KeySearch(*transaction, given, is_plain ? std::string_view(word).substr(above.size()) : std::string_view(),
                  next.is_key ? Candidates::most : 1, values)
            .run(*rule.lists.back(), key);
        const bool is_last = components.size() + 1 == rule.path.size();
        for (const std::string &value : values) {
            const std::string name = !next.is_key ? std::string(next.text) : is_plain ? value : next.number_of(value);
            candidates.add(above + name + (is_last ? "" : "/"), is_last ? End::finished : End::open);
        }
    }
}

void add_arguments(const CLI::App &command, const Line &line, Source &source, Candidates &candidates) {
    std::vector<std::string> names;
    for (const CLI::Option *option : command.get_options()) {
        if (option->get_positional()) {
            names.insert(names.end(), option->get_items_expected_max() > 1 ? line.arguments + 1 : 1,
                         option->get_name(true));
        }
    }
    const std::string name = line.arguments < names.size() ? names[line.arguments] : "";
    const auto transaction = [&source] { return source.transaction(); };
    if (name.starts_with("FILE")) {
        candidates.add_files();
    }
    if (name == "PATH") {
        const bool takes_both = command.get_option_no_throw("--native") == nullptr;
        complete_path(source.schema(), transaction,
                      takes_both                   ? Offer::both
                      : is_given(line, "--native") ? Offer::native
                                                   : Offer::openconfig,
                      candidates);
    } else if (name == "PATTERN") {
        add_items(source.schema(), transaction(), candidates);
    } else if (name == "N" || (name == "FILE|N" && !line.word.empty())) {
        add_commits(transaction(), candidates);
    }
}

void add_candidates(const CLI::App &app, const Globals &globals, const Line &line, Candidates &candidates) {
    if (line.wants != nullptr) {
        add_option_values(*line.wants, candidates);
    } else if (!line.only_arguments && line.word.starts_with('-')) {
        if (line.command != nullptr) {
            add_options(*line.command, candidates);
        }
        add_options(app, candidates);
    } else if (line.command == nullptr) {
        for (const CLI::App *command : visible_commands(app)) {
            candidates.add(command->get_name(), End::finished, command->get_description());
        }
    } else {
        Source source(app, globals, line);
        add_arguments(*line.command, line, source, candidates);
    }
}

} // namespace

void Candidates::add(const std::string &text, End end, const std::string &description) {
    // What would not come back as it is, and what is there already, is no help.
    if (is_full() || !text.starts_with(word_) || visible(text) != text) {
        return;
    }
    if (texts_.insert(text).second) {
        lines_.push_back((end == End::open ? '+' : '=') + before_ + text +
                         (description.empty() ? "" : '\t' + description));
    }
}

void Candidates::write(Sink &sink) const {
    if (!files_.empty()) {
        sink.put(files_ + '\n');
    }
    for (const std::string &line : lines_) {
        sink.put(line + '\n');
    }
    sink.flush();
}

void complete(const CLI::App &app, const Globals &globals, const std::vector<std::string> &words) {
    const Line line = read_line(app, words);
    if (!line.is_known) {
        return;
    }
    Candidates candidates(line.before, line.word);
    // Models that cannot be read, a damaged store, a shell that has gone: the command itself says why.
    const auto without_fault = [](const auto &work) {
        try {
            work();
        } catch (const std::exception &) {
            return; // what was found before is offered
        }
    };
    without_fault([&] { add_candidates(app, globals, line, candidates); });
    without_fault([&] {
        Sink sink(stdout);
        candidates.write(sink);
    });
}

} // namespace yfw::tool
