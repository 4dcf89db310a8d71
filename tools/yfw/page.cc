#include "page.h"

#include "base/error.h"
#include "help.h"

#include <algorithm>
#include <fstream>
#include <span>
#include <utility>

namespace yfw::tool {

namespace {

constexpr std::size_t width = 100;
constexpr std::size_t indent = 2;
constexpr std::size_t column = 26; // where the texts of a table begin

struct Block {
    enum class Kind { text, row, code } kind;
    std::string head; // of a row
    std::string body;
};

struct Section {
    std::string title;
    std::vector<Block> blocks;
};

const CLI::App &root_of(const CLI::App &app) {
    return app.get_parent() == nullptr ? app : *app.get_parent();
}

std::string_view record_name(const CLI::App &app) {
    return app.get_parent() == nullptr ? std::string_view() : std::string_view(app.get_name());
}

bool takes_many(const CLI::Option &option) {
    return option.get_items_expected_max() > 1;
}

// "-o,--output json|xml", "FILE...".
std::string written(const CLI::Option &option) {
    std::string text = option.get_name(option.get_positional(), true);
    if (option.get_positional()) {
        return takes_many(option) ? text + "..." : text;
    }
    if (option.get_items_expected_max() != 0 && !option.get_type_name().empty()) {
        text += ' ' + option.get_type_name();
    }
    return text;
}

std::string text_of(const CLI::Option &option) {
    const std::string &text = option.get_description();
    std::string more;
    if (!option.get_default_str().empty()) {
        more = "default: " + option.get_default_str();
    }
    if (!option.get_envname().empty()) {
        more.append(more.empty() ? "" : "; ").append("environment: " + option.get_envname());
    }
    if (option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll && !option.get_positional()) {
        more.append(more.empty() ? "" : "; ").append("may be repeated");
    }
    return more.empty() ? text : text + " (" + more + ')';
}

Section options_section(const std::string &title, const CLI::App &app, bool positional) {
    Section section{title, {}};
    for (const CLI::Option *option : app.get_options()) {
        if (option->get_positional() == positional && !option->get_group().empty()) {
            section.blocks.push_back({Block::Kind::row, written(*option), text_of(*option)});
        }
    }
    return section;
}

Section table(const std::string &title, std::span<const HelpRow> rows, std::string_view command) {
    Section section{title, {}};
    for (const HelpRow &row : rows) {
        const std::string word = ' ' + std::string(command) + ' ';
        if (row.commands.empty() || command.empty() || row.commands.find(word) != std::string_view::npos) {
            section.blocks.push_back({Block::Kind::row, std::string(row.name), std::string(row.text)});
        }
    }
    return section;
}

void add_blocks(Section &section, std::span<const HelpBlock> blocks) {
    for (const HelpBlock &block : blocks) {
        const std::string head(block.head);
        const std::string body(block.body);
        if (block.kind == HelpBlock::Kind::text) {
            section.blocks.push_back({Block::Kind::text, "", body});
        } else {
            section.blocks.push_back(
                {Block::Kind::text, "", block.kind == HelpBlock::Kind::document ? head + ':' : head});
            section.blocks.push_back({Block::Kind::code, "", body});
        }
    }
}

std::vector<Section> sections_of(const CLI::App &app) {
    const HelpRecord &record = help_of(record_name(app));
    std::vector<Section> sections;
    add_blocks(sections.emplace_back(Section{"Description", {}}), record.description);
    Section commands{"Commands", {}};
    for (const CLI::App *command : visible_commands(app)) {
        commands.blocks.push_back({Block::Kind::row, command->get_name(), command->get_description()});
    }
    sections.push_back(std::move(commands));
    sections.push_back(options_section("Arguments", app, true));
    const bool is_root = app.get_parent() == nullptr;
    sections.push_back(options_section(is_root ? "Global options" : "Options", app, false));
    if (!is_root) {
        Section globals = options_section("Global options", root_of(app), false);
        std::erase_if(globals.blocks, [](const Block &row) { // which are not of a command
            return row.head == "-h,--help" || row.head == "--version";
        });
        sections.push_back(std::move(globals));
    }
    for (const HelpSection &own : record.sections) {
        add_blocks(sections.emplace_back(Section{std::string(own.title), {}}), own.blocks);
    }
    sections.push_back(table("Environment", help_environment(), record_name(app)));
    sections.push_back(table("Exit codes", help_exit_codes(), record_name(app)));
    add_blocks(sections.emplace_back(Section{"Examples", {}}), record.examples);
    std::erase_if(sections, [](const Section &section) { return section.blocks.empty(); });
    return sections;
}

// The command line, behind the program's name.
std::string usage_of(const CLI::App &app) {
    if (app.get_parent() == nullptr) {
        return "[OPTION...] COMMAND [ARGUMENT...]";
    }
    std::string usage = app.get_name() + " [OPTION...]";
    for (const CLI::Option *option : app.get_options()) {
        if (option->get_positional()) {
            const std::string name = written(*option);
            usage += option->get_required() ? ' ' + name : " [" + name + ']';
        }
    }
    return usage;
}

// Appends a text in lines that begin at the margin; the first one stands at `at` already.
void fill(std::string &page, std::string_view text, std::size_t margin, std::size_t at) {
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (at + word.size() > width && at > margin) {
            page.append("\n").append(margin, ' ');
            at = margin;
        }
        page.append(word);
        at += word.size() + 1;
        if (!text.empty() && at + text.substr(0, text.find(' ')).size() <= width) {
            page += ' ';
        }
    }
    page += '\n';
}

void put_code(std::string &page, std::string_view code) {
    while (!code.empty()) {
        const std::string_view line = code.substr(0, code.find('\n'));
        page.append(2 * indent, ' ').append(line).append("\n");
        code.remove_prefix(std::min(line.size() + 1, code.size()));
    }
}

void put_row(std::string &page, const Block &row) {
    page.append(indent, ' ').append(row.head);
    std::size_t at = indent + row.head.size();
    if (at + 1 >= column) {
        page += '\n';
        at = 0;
    }
    page.append(column - at, ' ');
    fill(page, row.body, column, column);
}

// Text as troff takes it: backslashes and hyphens are to be what they look like.
std::string troff(std::string_view text) {
    std::string result;
    bool at_start = true;
    for (const char character : text) {
        if (at_start && (character == '.' || character == '\'')) {
            result += "\\&";
        }
        if (character == '\\') {
            result += "\\e";
        } else if (character == '-') {
            result += "\\-";
        } else if (character == '\'') {
            result += "\\(aq";
        } else {
            result += character;
        }
        at_start = character == '\n';
    }
    return result;
}

// "yfw-edit" of yfw edit.
std::string manual_name(const CLI::App &app) {
    return app.get_parent() == nullptr ? "yfw" : "yfw-" + app.get_name();
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter;
    });
    return text;
}

void put_troff(std::string &page, const Block &block, bool is_first) {
    if (block.kind == Block::Kind::row) {
        page += ".TP\n.B " + troff(block.head) + '\n' + troff(block.body) + '\n';
    } else if (block.kind == Block::Kind::text) {
        page += (is_first ? "" : ".PP\n") + troff(block.body) + '\n'; // a section begins with a paragraph
    } else {
        page += ".PP\n.RS 4\n.nf\n" + troff(block.body) + "\n.fi\n.RE\n";
    }
}

std::string manual_page(const CLI::App &app) {
    const std::string name = manual_name(app);
    std::string page = ".TH " + upper(troff(name)) + " 1 \"\" \"yfw " YFW_VERSION "\" \"User Commands\"\n.nh\n.ad l\n";
    page += ".SH NAME\n" + troff(name) + " \\- " + troff(app.get_description()) + '\n';
    page += ".SH SYNOPSIS\n.B yfw\n" + troff(usage_of(app)) + '\n';
    for (const Section &section : sections_of(app)) {
        page += ".SH " + upper(troff(section.title)) + '\n';
        for (const Block &block : section.blocks) {
            put_troff(page, block, &block == &section.blocks.front());
        }
    }
    std::string others;
    const auto add_other = [&](const CLI::App &other) {
        if (&other != &app) {
            others.append(others.empty() ? "" : " ,\n").append(".BR " + troff(manual_name(other)) + " (1)");
        }
    };
    add_other(root_of(app));
    for (const CLI::App *other : visible_commands(root_of(app))) {
        add_other(*other);
    }
    return page + ".SH SEE ALSO\n" + others + '\n';
}

void write_page(const CLI::App &app, const std::filesystem::path &directory) {
    const auto file = directory / (manual_name(app) + ".1");
    std::ofstream stream(file, std::ios::binary);
    stream << manual_page(app);
    stream.close();
    if (!stream) {
        throw Unusable("cannot write " + file.string());
    }
}

} // namespace

std::vector<const CLI::App *> visible_commands(const CLI::App &app) {
    return app.get_subcommands([](const CLI::App *command) { return !command->get_group().empty(); });
}

std::string help_text(const CLI::App &app) {
    std::string page;
    fill(page, app.get_description(), 0, 0);
    page += "\nUsage: yfw " + usage_of(app) + '\n';
    for (const Section &section : sections_of(app)) {
        page += '\n' + section.title + ":\n";
        const Block *before = nullptr;
        for (const Block &block : section.blocks) {
            if (block.kind == Block::Kind::row) {
                put_row(page, block);
            } else if (block.kind == Block::Kind::code) {
                put_code(page, block.body);
            } else {
                page.append(before == nullptr ? "" : "\n").append(indent, ' ');
                fill(page, block.body, indent, indent);
            }
            before = &block;
        }
    }
    return page;
}

void write_manual_pages(const CLI::App &root, const std::filesystem::path &directory) {
    write_page(root, directory);
    for (const CLI::App *command : visible_commands(root)) {
        write_page(*command, directory);
    }
}

} // namespace yfw::tool
