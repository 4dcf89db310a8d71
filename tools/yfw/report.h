// What a command tells beside its result: lines for a person, and for scripts the same as one JSON document.
#pragma once

#include "base/error.h"
#include "engine.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace yfw {
class Sink;
}

namespace yfw::tool {

// Lines on standard error, coloured on a terminal.
class Messages {
  public:
    Messages();
    void error(const std::string &text) const;
    void line(const char *word, const std::string &text) const; // "word: text"

  private:
    bool colour_;
};

// One line for a path, or for several of one kind: ".../afi-safi/config/enabled × 3, as PATH".
std::vector<std::string> grouped(const std::vector<std::string> &paths);

class Report {
  public:
    Report();
    ~Report();
    Report(const Report &) = delete;
    Report &operator=(const Report &) = delete;

    void add_all_option(CLI::App &command);    // --all
    void add_report_option(CLI::App &command); // --report json[:FILE|:fd:N]

    // Before anything is done: the place of the JSON document is opened. Throws Unreadable.
    void open();
    // What is told from here on is the file's.
    void begin(const std::string &file);
    void edited(const Told &told);
    enum class Outcome { kept, tried };
    void end(Outcome outcome);

    void refused(const Refused &refused);
    void failed(const std::string &reason);
    // The files that were kept before another one failed.
    void committed(const std::string &file) const;
    // Writes the JSON document where there is to be one. The exit code: another one when that fails.
    int close(int exit_code);

  private:
    struct File;
    class Descriptor;

    void list(const char *word, const std::vector<std::string> &paths) const;
    void list_notes(const std::vector<Note> &notes) const;
    void tell(const Refused &refused) const;
    void write(Sink &sink, int exit_code) const;

    bool all_ = false;
    std::string destination_; // as the option has it, empty for none
    bool silent_ = false;     // the JSON document stands in the place of the lines
    std::unique_ptr<Descriptor> json_;
    std::vector<File> files_;
    std::string failure_;
};

} // namespace yfw::tool
