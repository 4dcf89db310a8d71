#include "command.h"

#include "base/text.h"
#include "documents/reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace yfw::tool {

Run::Run(const Globals &globals)
    : globals_(globals),
      log_(globals.log_level, globals.trace, stderr),
      engine_(std::make_unique<Engine>(EngineFiles{globals.models, globals.mapping, globals.plugin}, &log_)) {}

Run::~Run() {
    for (const std::string &line : log_.trace()) {
        std::fprintf(stderr, "%s\n", visible(line).c_str());
    }
}

void Run::show_progress() {
    if (isatty(STDERR_FILENO) == 0) {
        return;
    }
    engine_->on_stage = [this](const char *stage) {
        const auto waited = std::chrono::steady_clock::now() - start_;
        if (waited > std::chrono::seconds(1)) {
            std::fprintf(stderr, "%s (%.1f s)\n", stage, std::chrono::duration<double>(waited).count());
        }
    };
}

namespace {

constexpr std::size_t largest_document = ReadOptions{}.max_size;
constexpr std::size_t room = 256; // behind a text, for its reader

[[noreturn]] void refuse_size(const std::string &file) {
    throw Refused(Reason::too_big, "", file + " has more than " + std::to_string(largest_document) + " bytes");
}

} // namespace

SecretText::SecretText(const std::string &file) {
    const bool standard = file == "-";
    const FileHandle opened(standard ? -1 : ::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    const int descriptor = standard ? STDIN_FILENO : opened.get();
    if (descriptor < 0) {
        throw Unreadable(file + " cannot be opened: " + std::strerror(errno));
    }
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        const auto size = static_cast<std::size_t>(status.st_size);
        if (size > largest_document) {
            refuse_size(file);
        }
        text_.reserve(size + room);
    }
    std::array<char, std::size_t{64} << 10U> buffer{};
    ssize_t count = 1;
    while (count > 0 && text_.size() <= largest_document) {
        do {
            count = ::read(descriptor, buffer.data(), buffer.size());
        } while (count < 0 && errno == EINTR);
        append({buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))});
    }
    const int error = errno;
    explicit_bzero(buffer.data(), buffer.size());
    if (count < 0) {
        throw Unreadable((standard ? "standard input" : file) + " cannot be read: " + std::strerror(error));
    }
    if (text_.size() > largest_document) {
        explicit_bzero(text_.data(), text_.size());
        refuse_size(standard ? "standard input" : file);
    }
}

// What was outgrown is overwritten, too.
void SecretText::append(std::string_view piece) {
    if (text_.size() + piece.size() > text_.capacity()) {
        std::string larger;
        const std::size_t needed = text_.size() + piece.size();
        larger.reserve(std::max(needed, std::min(2 * needed, largest_document)) + room);
        larger.append(text_);
        explicit_bzero(text_.data(), text_.size());
        text_.swap(larger);
    }
    text_.append(piece);
}

SecretText::~SecretText() {
    explicit_bzero(text_.data(), text_.size());
}

void for_each_file(const std::vector<std::string> &files, Report &report,
                   const std::function<void(const std::string &)> &work) {
    std::size_t done = 0;
    try {
        for (; done < files.size(); ++done) {
            report.begin(files[done]);
            work(files[done]);
            report.end(Report::Outcome::kept);
        }
    } catch (...) {
        for (std::size_t i = 0; i < done; ++i) {
            report.committed(files[i]);
        }
        throw;
    }
}

void tell(const StoreKey &key) {
    if (!key.note().empty()) {
        Messages().line("note", key.note());
    }
}

void add_output_options(CLI::App &command, Output &output) {
    add_choice<Syntax>(command, "-o,--output", output.syntax, {{"json", Syntax::json}, {"xml", Syntax::xml}},
                       "The syntax of what is printed: json or xml");
    command.add_flag("--compact", output.compact, "Print it in one line, without blanks");
}

} // namespace yfw::tool
