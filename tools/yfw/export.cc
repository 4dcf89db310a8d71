// yfw export and import: a store's configuration as one text file, and back into another store.
#include "export_history.h"
#include "handover.h"

#include "bgp/roots.h"
#include "model/trees.h"
#include "store/passphrase.h"
#include "vnos_platform.h"

#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iostream>
#include <map>
#include <optional>

namespace yfw::tool {

namespace {

// The file: two lines, the native configuration as JSON behind them, and the history if it was asked for. In both
// passwords are sealed under the passphrase, or left out.
constexpr std::string_view first_line = "yfw export 1\n";
constexpr std::string_view without_passwords = "passwords: none\n";
constexpr std::string_view with_passphrase = "passwords: under a passphrase, salt ";
constexpr std::string_view proof_word = ", proof ";
constexpr std::string_view proof = "the passphrase is right";

// Overwritten when it goes; so it is not moved either, which may leave a short text behind.
struct Secret {
    std::string text;
    Secret() = default;
    ~Secret() { explicit_bzero(text.data(), text.size()); }
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;
};

// What a person types is not shown meanwhile.
class Hidden {
  public:
    Hidden() {
        tcgetattr(STDIN_FILENO, &before_);
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~Hidden() {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
        std::fputc('\n', stderr);
    }
    Hidden(const Hidden &) = delete;
    Hidden &operator=(const Hidden &) = delete;

  private:
    termios before_{};
};

void ask(const char *question, std::string &answer) {
    std::fputs(question, stderr);
    const Hidden hidden;
    std::getline(std::cin, answer);
}

// The first line of a file, or what a person at the terminal types; twice, where it is a new one.
void read_passphrase(const std::string &file, bool is_new, Secret &passphrase) {
    if (!file.empty()) {
        SecretText text(file);
        passphrase.text.assign(text.get(), 0, text.get().find('\n'));
    } else if (isatty(STDIN_FILENO) != 0) {
        ask("passphrase: ", passphrase.text);
        Secret again;
        if (is_new) {
            ask("once more: ", again.text);
        }
        if (is_new && again.text != passphrase.text) {
            throw Unreadable("the two passphrases differ");
        }
    } else {
        throw Unreadable(std::string("passwords ") + (is_new ? "go" : "are") +
                         " under a passphrase: give it with --passphrase-file, or leave them out with --no-passwords");
    }
    if (passphrase.text.empty()) {
        throw Unreadable("the passphrase is empty");
    }
}

// What was the same stays the same, so that no difference of the history comes of it.
class Turned {
  public:
    // turn is given what was not met before.
    template <typename Turn>
    const std::string &get(const std::string &text, Turn turn) {
        const auto known = texts_.find(text);
        return known != texts_.end() ? known->second : texts_.emplace(text, turn()).first->second;
    }

  private:
    std::map<std::string, std::string> texts_;
};

std::string sealed(const std::string &enciphered, const Passphrase &passphrase) {
    char *clear = pw_decrypt(own_cipher, enciphered.c_str());
    if (clear == nullptr) {
        throw Refused(Reason::constraint, "", "the store's key does not decipher a password");
    }
    std::string text = passphrase.seal(clear);
    explicit_bzero(clear, std::strlen(clear));
    vnos_named_free(clear);
    return text;
}

struct ExportArguments {
    bool history = false;
    bool no_passwords = false;
    std::string passphrase_file;
};

Node *fetch_configuration(const Transaction &transaction, const Schema &schema, Arena &arena) {
    Node *wanted = new_root(arena, schema);
    Node *found = new_root(arena, schema);
    for (const std::string_view root : native_roots) {
        ensure_child(arena, wanted, *schema.find(root));
    }
    transaction.fetch(arena, wanted, found);
    return found;
}

void run_export(const Globals &globals, const ExportArguments &arguments) {
    Run run(globals);
    const Store store = run.open(Access::read);
    Transaction transaction = store.begin(Access::read);
    const StoreKey key(transaction, KeyUse::read);
    Arena arena;
    Node *found = fetch_configuration(transaction, run.schema(), arena);
    bool has_passwords = false;
    for_each_password(found, [&has_passwords](const Node *) { has_passwords = true; });
    if (arguments.history) {
        copy_history(transaction, [&](const CopiedCommit &commit) { has_passwords |= has_password(commit); });
    }
    std::string head(first_line);
    std::unique_ptr<Passphrase> passphrase;
    if (arguments.no_passwords || !has_passwords) {
        head += without_passwords;
    } else {
        if (!key.note().empty()) {
            throw Unusable(key.note());
        }
        Secret text;
        read_passphrase(arguments.passphrase_file, true, text);
        const std::string salt = Passphrase::new_salt();
        passphrase = std::make_unique<Passphrase>(text.text, salt);
        head.append(with_passphrase).append(salt).append(proof_word).append(passphrase->seal(proof)).append("\n");
    }
    Turned turned;
    const TurnPassword seal = [&](const std::string &text) -> std::optional<std::string> {
        return passphrase == nullptr ? std::nullopt
                                     : std::optional(turned.get(text, [&] { return sealed(text, *passphrase); }));
    };
    for_each_password(found, [&](Node *leaf) {
        if (const auto text = seal(leaf->value)) {
            set_value(arena, leaf, *text);
        } else {
            unlink(leaf);
        }
    });
    Sink sink(stdout);
    sink.put(head);
    write_document(sink, run.schema(), found, {.pretty = true});
    if (arguments.history) {
        write_history(sink, transaction, seal);
    }
}

struct ImportArguments {
    bool replace = false;
    bool no_history = false;
    bool no_passwords = false;
    std::string passphrase_file;
    std::string file;
    std::string comment;
};

bool take(std::string_view &rest, std::string_view text) {
    const bool is_there = rest.starts_with(text);
    rest.remove_prefix(is_there ? text.size() : 0);
    return is_there;
}

// Blanks the two lines out. Null where the file has no passwords, or they are not wanted.
std::unique_ptr<Passphrase> take_head(std::string &text, const ImportArguments &arguments) {
    std::string_view rest = text;
    std::unique_ptr<Passphrase> passphrase;
    if (!take(rest, first_line)) {
        throw Refused(Reason::malformed_document, "", arguments.file + " is no file that yfw export wrote");
    }
    if (!take(rest, without_passwords)) {
        const bool is_sealed = take(rest, with_passphrase);
        const std::string_view line = rest.substr(0, rest.find('\n'));
        const auto middle = line.find(proof_word);
        if (!is_sealed || middle == std::string_view::npos) {
            throw Refused(Reason::malformed_document, "", arguments.file + " is damaged in its second line");
        }
        Secret secret;
        if (!arguments.no_passwords) {
            read_passphrase(arguments.passphrase_file, false, secret);
            passphrase = std::make_unique<Passphrase>(secret.text, line.substr(0, middle));
        }
        std::string opened;
        if (passphrase != nullptr &&
            (!passphrase->open(line.substr(middle + proof_word.size()), opened) || opened != proof)) {
            throw Refused(Reason::invalid_value, "",
                          "the passphrase is not the one that the passwords were exported with");
        }
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    // Blanks, so that faults keep their lines.
    std::replace_if(
        text.begin(), text.end() - static_cast<std::ptrdiff_t>(rest.size()),
        [](char character) { return character != '\n'; }, ' ');
    return passphrase;
}

std::string own_password(const std::string &text, const std::string &path, const Passphrase *passphrase) {
    Secret clear;
    if (passphrase == nullptr || !passphrase->open(text, clear.text)) {
        throw Refused(Reason::invalid_value, path, "the password is not sealed under the passphrase");
    }
    char *enciphered = pw_encrypt(own_cipher, clear.text.c_str());
    if (enciphered == nullptr) {
        throw std::bad_alloc();
    }
    std::string own = enciphered;
    vnos_named_free(enciphered);
    return own;
}

// Takes the history off the end of the file's text.
std::string split_history(std::string &text) {
    const auto at = text.find(std::string("\n").append(history_word));
    std::string history = at == std::string::npos ? std::string() : text.substr(at + 1);
    text.resize(text.size() - history.size());
    return history;
}

void check_store(const Transaction &transaction, const Schema &schema, const ImportArguments &arguments,
                 bool with_history) {
    Arena arena;
    const bool is_empty = fetch_configuration(transaction, schema, arena)->first() == nullptr;
    if (!is_empty && !arguments.replace) {
        throw Refused(Reason::data_exists, "",
                      "the store holds a configuration: --replace puts the file's in its place");
    }
    if (with_history && !read_history(transaction, 1).empty()) {
        throw Refused(Reason::data_exists, "",
                      "the store has a history of its own: --no-history takes the configuration alone");
    }
    if (with_history && !arguments.comment.empty()) {
        throw Unreadable("the file has a history, to which no commit of the import is added: a comment goes with "
                         "--no-history");
    }
}

void run_import(const Globals &globals, const ImportArguments &arguments) {
    globals.report->begin(arguments.file);
    refuse_owned(globals, "import");
    Run run(globals);
    SecretText text(arguments.file);
    const auto passphrase = take_head(text.get(), arguments);
    const std::string history = split_history(text.get());
    const auto line = static_cast<std::size_t>(std::count(text.get().begin(), text.get().end(), '\n')) + 1;
    const bool with_history = !history.empty() && !arguments.no_history;
    const Store store = run.open(Access::write);
    Transaction transaction = begin_writing(store);
    const StoreKey key(transaction, KeyUse::edit);
    check_store(transaction, run.schema(), arguments, with_history);
    Turned turned;
    const auto own = [&](const std::string &sealed, const std::string &path) -> std::optional<std::string> {
        if (arguments.no_passwords) {
            return std::nullopt;
        }
        return turned.get(sealed, [&] { return own_password(sealed, path, passphrase.get()); });
    };
    Engine::LoadOptions options;
    options.everything = true;
    options.password = [&own](const Node *leaf) { return own(leaf->value, instance_path(leaf)); };
    run.engine().load(text.get(), Syntax::json, transaction, options);
    if (with_history) {
        take_history(history, line, transaction, run.schema(), [&own](const auto &sealed) { return own(sealed, ""); });
    }
    transaction.commit(commit_note(arguments.comment));
}

} // namespace

void add_export(CLI::App &app, const Globals &globals, int *) {
    auto arguments = std::make_shared<ExportArguments>();
    CLI::App *command = app.add_subcommand("export", "Write the configuration as one text file, for another store");
    command->add_flag("--history", arguments->history, "The commits that are kept, too");
    auto *without = command->add_flag("--no-passwords", arguments->no_passwords, "Leave passwords out");
    command
        ->add_option("--passphrase-file", arguments->passphrase_file,
                     "Encipher passwords under the passphrase in its first line; without it, it is asked for")
        ->type_name("FILE")
        ->excludes(without);
    command->callback([&globals, arguments] { run_export(globals, *arguments); });
}

void add_import(CLI::App &app, const Globals &globals, int *) {
    auto arguments = std::make_shared<ImportArguments>();
    CLI::App *command = app.add_subcommand("import", "Take what yfw export wrote into a store, as one transaction");
    command->add_flag("--replace", arguments->replace, "In the place of the configuration that the store holds");
    command->add_flag("--no-history", arguments->no_history,
                      "Leave the file's history out: the import is a commit then");
    auto *without = command->add_flag("--no-passwords", arguments->no_passwords, "Leave passwords out");
    command
        ->add_option("--passphrase-file", arguments->passphrase_file,
                     "The passphrase of the export, in its first line; without it, it is asked for")
        ->type_name("FILE")
        ->excludes(without);
    add_comment_option(*command, arguments->comment);
    command->add_option("FILE", arguments->file, "What yfw export wrote; '-' is standard input")->required();
    command->callback([&globals, arguments] { run_import(globals, *arguments); });
}

} // namespace yfw::tool
