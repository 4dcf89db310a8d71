#include "report.h"

#include "command.h"

#include "base/text.h"
#include "documents/writer.h"
#include "model/path_text.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <map>
#include <optional>

namespace yfw::tool {

Messages::Messages() : colour_(isatty(STDERR_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr) {}

void Messages::error(const std::string &text) const {
    std::fprintf(stderr, "%serror:%s %s\n", colour_ ? "\033[1;31m" : "", colour_ ? "\033[0m" : "",
                 visible(text).c_str());
}

void Messages::line(const char *word, const std::string &text) const {
    std::fprintf(stderr, "%s: %s\n", word, visible(text).c_str());
}

namespace {

// What is the same of all nodes of a kind: the path without its keys.
struct Kind {
    std::string path;
    std::string tail; // from the innermost list entry on that it lies in
};

Kind kind_of(std::string_view path) {
    Kind kind;
    std::size_t tail = 0; // where it begins
    PathParser parser(path);
    for (PathStep step; !parser.at_end();) {
        if (!parser.next(step)) {
            return {std::string(path), std::string(path)};
        }
        if (!step.predicates.empty() && !parser.at_end()) {
            tail = kind.path.size();
        }
        kind.path.append("/").append(step.name);
    }
    kind.tail = (tail == 0 ? "" : "...") + kind.path.substr(tail);
    return kind;
}

// Those of a kind that go together, in the order of the first ones.
struct Group {
    std::string first;
    std::string tail;
    std::string rest; // of the line
    std::size_t count;

    [[nodiscard]] std::string text() const {
        return (count == 1 ? first : tail + " \u00d7 " + std::to_string(count) + ", as " + first) + rest;
    }
};

class Groups {
  public:
    void add(const std::string &path, const std::string &rest) {
        Kind kind = kind_of(path);
        const auto [place, is_new] = known_.try_emplace({std::move(kind.path), rest}, groups_.size());
        if (is_new) {
            groups_.push_back({path, std::move(kind.tail), rest, 0});
        }
        ++groups_[place->second].count;
    }
    [[nodiscard]] const std::vector<Group> &get() const { return groups_; }

  private:
    std::vector<Group> groups_;
    std::map<std::pair<std::string, std::string>, std::size_t> known_;
};

std::string code_text(cerrno code) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08x", code);
    return text.data();
}

void put_text(Sink &sink, std::string_view text) {
    write_json_text(sink, visible(text));
}

// The members of an object whose values are texts and numbers.
class Members {
  public:
    explicit Members(Sink &sink) : sink_(sink) { sink_.put('{'); }
    Members(const Members &) = delete;
    Members &operator=(const Members &) = delete;
    ~Members() { sink_.put('}'); }

    Sink &name(std::string_view name) {
        if (!is_first_) {
            sink_.put(", ");
        }
        is_first_ = false;
        put_text(sink_, name);
        sink_.put(": ");
        return sink_;
    }
    void text(std::string_view member, std::string_view value) { put_text(name(member), value); }
    void number(std::string_view member, std::size_t value) { name(member).put(std::to_string(value)); }

    // An array, an element a line.
    template <typename Elements, typename Put>
    void array(std::string_view member, const Elements &elements, const char *indent, Put put) {
        name(member).put('[');
        bool is_first = true;
        for (const auto &element : elements) {
            sink_.put(is_first ? "\n" : ",\n");
            sink_.put(indent);
            put(element);
            is_first = false;
        }
        sink_.put(']');
    }

  private:
    Sink &sink_;
    bool is_first_ = true;
};

void put_fault(Sink &sink, const Fault &fault) {
    Members members(sink);
    members.text("path", fault.path);
    members.text("reason", fault.reason);
    members.text("code", code_text(fault.code));
    members.text("name", code_name(fault.code));
    if (fault.place.line != 0) {
        members.number("line", fault.place.line);
        members.number("column", fault.place.column);
    }
    if (!fault.hint.empty()) {
        members.text("hint", fault.hint);
    }
}

} // namespace

std::vector<std::string> grouped(const std::vector<std::string> &paths) {
    Groups groups;
    for (const std::string &path : paths) {
        groups.add(path, "");
    }
    std::vector<std::string> lines;
    for (const Group &group : groups.get()) {
        lines.push_back(group.text());
    }
    return lines;
}

struct Report::File {
    std::string name;
    const char *outcome = "failed"; // unless something else is said
    Told told;
    std::vector<Fault> errors;
};

class Report::Descriptor {
  public:
    explicit Descriptor(int number) : stream_(number < 0 ? nullptr : ::fdopen(number, "w")) {}
    ~Descriptor() {
        if (stream_ != nullptr) {
            std::fclose(stream_);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    [[nodiscard]] std::FILE *get() const { return stream_; }

  private:
    std::FILE *stream_;
};

Report::Report() = default;
Report::~Report() = default;

void Report::add_all_option(CLI::App &command) {
    command.add_flag("--all", all_,
                     "List every node that is left out, and every note: not one line for those of a kind");
}

void Report::add_report_option(CLI::App &command) {
    const auto take = [this](const std::string &given) {
        if (given != "json" && (!given.starts_with("json:") || given.size() == std::strlen("json:"))) {
            throw CLI::ValidationError("--report", '\'' + given + "' is none of json, json:FILE, json:fd:N");
        }
        destination_ = given;
    };
    command
        .add_option_function<std::string>("--report", take,
                                          "Tell what is left out, noted or wrong as a JSON document, on standard error "
                                          "in the place of the lines, in a file, or on an open descriptor")
        ->type_name("json|json:FILE|json:fd:N");
}

void Report::open() {
    if (destination_.empty()) {
        return;
    }
    const std::string place = destination_.substr(std::min(destination_.size(), std::strlen("json:")));
    int opened = -1;
    if (place.empty()) {
        silent_ = true;
        opened = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    } else if (place.starts_with("fd:")) {
        const char *begin = place.data() + 3;
        const char *end = place.data() + place.size();
        int number = -1;
        const bool is_number = std::from_chars(begin, end, number).ptr == end && begin != end;
        errno = EBADF;
        opened = is_number ? ::fcntl(number, F_DUPFD_CLOEXEC, 3) : -1;
        if (opened >= 0 && (::fcntl(opened, F_GETFL) & O_ACCMODE) == O_RDONLY) {
            ::close(opened);
            opened = -1;
            errno = EBADF;
        }
    } else {
        opened = ::open(place.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    }
    if (opened < 0) {
        silent_ = false;
        throw Unreadable("the report cannot be written to " + place + ": " + std::strerror(errno));
    }
    json_ = std::make_unique<Descriptor>(opened);
}

void Report::begin(const std::string &file) {
    files_.push_back({.name = file, .told = {}, .errors = {}});
}

void Report::list(const char *word, const std::vector<std::string> &paths) const {
    for (const std::string &line : all_ ? paths : grouped(paths)) {
        Messages().line(word, line);
    }
}

void Report::list_notes(const std::vector<Note> &notes) const {
    Groups groups;
    for (const Note &note : notes) {
        if (all_) {
            Messages().line("note", note.path + ": " + note.text);
        } else {
            groups.add(note.path, ": " + note.text);
        }
    }
    for (const Group &group : groups.get()) {
        Messages().line("note", group.text());
    }
}

void Report::edited(const Told &told) {
    if (json_ != nullptr) {
        files_.back().told = told;
    }
    if (silent_) {
        return;
    }
    list("not served", told.unknown);
    list("not mapped", told.not_mapped);
    list_notes(told.notes);
    for (const Deviation &deviation : told.deviations) {
        Messages().line("differs", deviation.text());
    }
}

void Report::end(Outcome outcome) {
    files_.back().outcome = outcome == Outcome::kept ? "committed" : "dry-run";
}

void Report::refused(const Refused &refused) {
    if (files_.empty()) {
        begin("");
    }
    File &file = files_.back();
    file.outcome = "refused";
    file.errors = refused.faults();
    if (const auto *strictly = dynamic_cast<const StrictlyRefused *>(&refused)) {
        file.told = strictly->told();
    }
    if (!silent_) {
        tell(refused);
    }
}

void Report::tell(const Refused &refused) const {
    if (refused.code() == static_cast<cerrno>(Reason::not_mapped)) {
        list("not mapped", refused.lines());
    } else {
        for (const std::string &line : refused.lines()) {
            Messages().line("differs", line);
        }
    }
    const std::string &name = files_.back().name;
    const std::string *hint = nullptr;
    for (const Fault &fault : refused.faults()) {
        std::string text;
        if (fault.place.line != 0) {
            text = (name == "-" ? "<stdin>" : name) + ':' + std::to_string(fault.place.line) + ':' +
                   std::to_string(fault.place.column) + ": ";
        }
        text += (fault.path.empty() ? "" : fault.path + ": ") + fault.reason;
        Messages().error(text + " (" + code_text(fault.code) + ' ' + code_name(fault.code) + ')');
        hint = fault.hint.empty() ? hint : &fault.hint;
    }
    if (hint != nullptr) {
        Messages().line("hint", *hint);
    }
    if (refused.faults().size() >= most_faults) {
        Messages().line("note", "reading stopped here: there may be more");
    }
}

void Report::failed(const std::string &reason) {
    failure_ = reason;
    if (!silent_) {
        Messages().error(reason);
    }
}

void Report::committed(const std::string &file) const {
    if (!silent_) {
        Messages().line("committed", file);
    }
}

void Report::write(Sink &sink, int exit_code) const {
    const auto put_path = [&sink](const std::string &path) { put_text(sink, path); };
    const auto put_file = [&](const File &file) {
        Members members(sink);
        members.text("file", file.name);
        members.text("outcome", file.outcome);
        members.array("errors", file.errors, "    ", [&](const Fault &fault) { put_fault(sink, fault); });
        members.array("not-served", file.told.unknown, "    ", put_path);
        members.array("not-mapped", file.told.not_mapped, "    ", put_path);
        members.array("notes", file.told.notes, "    ", [&](const Note &note) {
            Members of_note(sink);
            of_note.text("path", note.path);
            of_note.text("text", note.text);
        });
        members.array("deviations", file.told.deviations, "    ", [&](const Deviation &deviation) {
            Members of_deviation(sink);
            of_deviation.text("path", deviation.path);
            of_deviation.text("wanted", deviation.wanted);
            of_deviation.text("found", deviation.found);
        });
    };
    {
        Members members(sink);
        members.number("exit-code", static_cast<std::size_t>(exit_code));
        if (!failure_.empty()) {
            members.text("failure", failure_);
        }
        members.array("files", files_, "  ", put_file);
    }
    sink.put('\n');
    sink.flush();
}

int Report::close(int exit_code) {
    if (json_ == nullptr) {
        return exit_code;
    }
    try {
        Sink sink(json_->get());
        write(sink, exit_code);
        return exit_code;
    } catch (const Unusable &failure) {
        Messages().error(std::string("the report: ") + failure.what());
        for (const File &file : files_) {
            if (file.outcome == std::string_view("committed")) {
                Messages().line("committed", file.name);
            }
        }
        return unusable;
    }
}

} // namespace yfw::tool
