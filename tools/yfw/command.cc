#include "command.h"

#include "text.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <map>

namespace yfw::tool {

Messages::Messages() : colour_(isatty(STDERR_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr) {}

void Messages::error(const std::string &text) const {
    std::fprintf(stderr, "%serror:%s %s\n", colour_ ? "\033[1;31m" : "", colour_ ? "\033[0m" : "",
                 visible(text).c_str());
}

void Messages::error(const Refused &refused) const {
    std::array<char, 80> code{};
    std::snprintf(code.data(), code.size(), " (0x%08x %s)", refused.code(), code_name(refused.code()));
    error((refused.path().empty() ? std::string() : refused.path() + ": ") + refused.what() + code.data());
}

void Messages::line(const char *word, const std::string &text) const {
    std::fprintf(stderr, "%s: %s\n", word, visible(text).c_str());
}

Session::Session(const Globals &globals)
    : globals_(globals),
      log_(globals.log_level, globals.trace, stderr),
      engine_(std::make_unique<Engine>(EngineFiles{globals.models, globals.mapping, globals.plugin}, &log_)) {}

Session::~Session() {
    for (const std::string &line : log_.trace()) {
        std::fprintf(stderr, "%s\n", visible(line).c_str());
    }
}

void Session::show_progress() {
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

std::string read_text(const std::string &file) {
    const bool standard = file == "-";
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> opened(
        standard ? nullptr : std::fopen(file.c_str(), "rb"), [](std::FILE *stream) { return std::fclose(stream); });
    std::FILE *stream = standard ? stdin : opened.get();
    if (stream == nullptr) {
        throw Refused(Reason::malformed_document, file, std::string("cannot be opened: ") + std::strerror(errno));
    }
    std::string text;
    if (!standard && std::fseek(stream, 0, SEEK_END) == 0) {
        const long size = std::ftell(stream);
        std::rewind(stream);
        text.reserve(size > 0 ? static_cast<std::size_t>(size) + 256 : 0);
    }
    std::array<char, std::size_t{64} << 10U> buffer{};
    for (std::size_t count = 1; count > 0;) {
        count = std::fread(buffer.data(), 1, buffer.size(), stream);
        text.append(buffer.data(), count);
    }
    explicit_bzero(buffer.data(), buffer.size());
    if (std::ferror(stream) != 0) {
        throw Refused(Reason::malformed_document, file, std::string("cannot be read: ") + std::strerror(errno));
    }
    return text;
}

SecretText::SecretText(const std::string &file) : text_(read_text(file)) {}

SecretText::~SecretText() {
    explicit_bzero(text_.data(), text_.size());
}

void add_output_options(CLI::App &command, Output &output) {
    static const std::map<std::string, Syntax> syntaxes{{"json", Syntax::json}, {"xml", Syntax::xml}};
    command.add_option("-o,--output", output.syntax, "The syntax of what is printed: json or xml")
        ->transform(CLI::CheckedTransformer(syntaxes).description(""))
        ->type_name("json|xml");
    command.add_flag("--compact", output.compact, "Print it in one line, without blanks");
}

} // namespace yfw::tool
