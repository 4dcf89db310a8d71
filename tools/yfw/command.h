// What the subcommands share: the global options, messages, exit codes.
#pragma once

#include "base/error.h"
#include "documents/writer.h"
#include "engine.h"
#include "report.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace yfw::tool {

enum Exit { done = 0, refused = 1, usage = 2, unusable = 3, nothing = 4 };

struct Globals {
    std::filesystem::path db;
    std::filesystem::path own_models;          // the built-in ones
    std::vector<std::filesystem::path> models; // once the command line is read, those last
    std::filesystem::path mapping;
    std::filesystem::path plugin;
    bool trace = false;
    Log::Level log_level = Log::Level::off;
    std::shared_ptr<Report> report = std::make_shared<Report>();
};

// One run of a subcommand: the engine and what hangs on the global options.
class Run {
  public:
    explicit Run(const Globals &globals);
    ~Run(); // prints the trace buffer when it was asked for
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    [[nodiscard]] Engine &engine() { return *engine_; }
    [[nodiscard]] const Engine &engine() const { return *engine_; }
    [[nodiscard]] const Schema &schema() const { return engine_->schema(); }
    [[nodiscard]] const Globals &globals() const { return globals_; }
    [[nodiscard]] Store open(Access access) const { return {globals_.db, schema(), access}; }
    // Tells a person at a terminal, from the second second on, what is being done.
    void show_progress();

  private:
    const Globals &globals_;
    Log log_;
    std::unique_ptr<Engine> engine_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// A document that cannot be read: wrong usage.
class Unreadable : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The text of a file, or of standard input for "-", overwritten when it goes: it may hold passwords in clear.
class SecretText {
  public:
    // Throws Unreadable, or Refused when it is larger than a document may be.
    explicit SecretText(const std::string &file);
    ~SecretText();
    SecretText(const SecretText &) = delete;
    SecretText &operator=(const SecretText &) = delete;
    std::string &get() { return text_; }

  private:
    void append(std::string_view piece);

    std::string text_;
};

// The files of a command, each committed by itself: when work fails at one, those before it are named.
void for_each_file(const std::vector<std::string> &files, Report &report,
                   const std::function<void(const std::string &)> &work);

// Adds the subcommands. Each sets *exit_code when it is run.
void add_edit(CLI::App &app, const Globals &globals, int *exit_code);
void add_load(CLI::App &app, const Globals &globals, int *exit_code);
void add_get(CLI::App &app, const Globals &globals, int *exit_code);
void add_sysdb(CLI::App &app, const Globals &globals, int *exit_code);
void add_check(CLI::App &app, const Globals &globals, int *exit_code);
void add_export(CLI::App &app, const Globals &globals, int *exit_code);
void add_import(CLI::App &app, const Globals &globals, int *exit_code);
void add_map(CLI::App &app, const Globals &globals, int *exit_code);
void add_diff(CLI::App &app, const Globals &globals, int *exit_code);
void add_log(CLI::App &app, const Globals &globals, int *exit_code);
void add_rollback(CLI::App &app, const Globals &globals, int *exit_code);
void add_status(CLI::App &app, const Globals &globals, int *exit_code);

struct Output {
    Syntax syntax = Syntax::json;
    bool compact = false;

    [[nodiscard]] WriteOptions options() const { return {.syntax = syntax, .pretty = !compact}; }
};

// An option that takes one of a few words.
template <typename Value>
using Choices = std::vector<std::pair<std::string_view, Value>>;
template <typename Value>
void add_choice(CLI::App &command, const std::string &name, Value &value, const Choices<Value> &choices,
                const std::string &description) {
    std::string words;
    std::string usual;
    for (const auto &[word, meant] : choices) {
        words.append(words.empty() ? "" : "|").append(word);
        usual = meant == value ? word : usual;
    }
    const auto take = [name, &value, choices, words](const std::string &given) {
        for (const auto &[word, meant] : choices) {
            if (given == word) {
                value = meant;
                return;
            }
        }
        throw CLI::ValidationError(name.substr(name.find("--")), '\'' + given + "' is none of " + words);
    };
    command.add_option_function<std::string>(name, take, description)->type_name(words)->default_str(usual);
}

// Notes that passwords cannot be read, if they cannot.
void tell(const StoreKey &key);

// The options -o json|xml and --compact.
void add_output_options(CLI::App &command, Output &output);

} // namespace yfw::tool
