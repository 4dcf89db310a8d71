#include "export_history.h"

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <unordered_map>

namespace yfw::tool {

namespace {

namespace dom = simdjson::dom;

constexpr std::array<std::string_view, 3> change_names{"added", "changed", "removed"}; // by RecordChange
constexpr std::string_view commits_word = " commits";

// The nodes that commits name, by numbers of the file's own.
class Nodes {
  public:
    std::size_t number(const SchemaNode *node) {
        const auto [place, is_new] = numbers_.try_emplace(node, nodes_.size());
        if (is_new) {
            nodes_.push_back(node);
        }
        return place->second;
    }
    [[nodiscard]] const std::vector<const SchemaNode *> &all() const { return nodes_; }

  private:
    std::unordered_map<const SchemaNode *, std::size_t> numbers_;
    std::vector<const SchemaNode *> nodes_;
};

void put_pair(Sink &sink, std::size_t node, std::string_view text) {
    sink.put('[' + std::to_string(node) + ',');
    write_json_text(sink, text);
    sink.put(']');
}

void put_image(Sink &sink, const CopiedImage &image, Nodes &nodes) {
    sink.put(R"({"entry":)");
    write_json_array(sink, image.entry, [&](const CopiedImage::Level &level) {
        sink.put('[' + std::to_string(nodes.number(level.list)));
        for (const std::string &key : level.keys) {
            sink.put(',');
            write_json_text(sink, key);
        }
        sink.put(']');
    });
    sink.put(R"(,"change":)");
    write_json_text(sink, change_names.at(static_cast<std::size_t>(image.change)));
    sink.put(R"(,"was":)");
    write_json_array(sink, image.items,
                     [&](const auto &item) { put_pair(sink, nodes.number(item.first), item.second); });
    sink.put('}');
}

void put_commit(Sink &sink, const CopiedCommit &commit, Nodes &nodes) {
    const auto since = std::chrono::duration_cast<std::chrono::microseconds>(commit.time.time_since_epoch());
    sink.put(R"({"number":)" + std::to_string(commit.number) + R"(,"microseconds":)" + std::to_string(since.count()));
    for (const auto &[name, text] : {std::pair{R"(,"who":)", &commit.note.who},
                                     {R"(,"by":)", &commit.note.by},
                                     {R"(,"comment":)", &commit.note.comment}}) {
        sink.put(name);
        write_json_text(sink, *text);
    }
    if (commit.has_images) {
        sink.put(R"(,"records":)");
        write_json_array(sink, commit.images, [&](const CopiedImage &image) { put_image(sink, image, nodes); });
    }
    sink.put("}\n");
}

void turn_passwords(CopiedCommit &commit, const TurnPassword &turn) {
    for (CopiedImage &image : commit.images) {
        std::erase_if(image.items, [&turn](auto &item) {
            const auto turned = item.first->secret ? turn(item.second) : std::optional(std::move(item.second));
            item.second = turned.value_or("");
            return !turned;
        });
    }
}

// Reads the part, line by line.
class Reading {
  public:
    Reading(std::string_view text, std::size_t line, const Schema &schema)
        : rest_(text), line_(line - 1), schema_(schema) {}

    void run(HistoryTaker &taker, const TurnPassword &turn) {
        const std::size_t count = take_count();
        try {
            for (const std::string_view path : dom::array(next()["nodes"])) {
                nodes_.push_back(schema_.find(path));
                if (nodes_.back() == nullptr) {
                    throw Refused(Reason::unknown_element, std::string(path),
                                  "the history has this node, which the models in use lack");
                }
            }
            for (std::size_t i = 0; i < count; ++i) {
                CopiedCommit commit = read_commit(next());
                turn_passwords(commit, turn);
                taker.take(commit);
            }
        } catch (const simdjson::simdjson_error &) {
            damaged();
        }
        if (!rest_.empty()) {
            ++line_;
            damaged();
        }
    }

  private:
    [[noreturn]] void damaged() const {
        throw Refused(Reason::malformed_document, "", "the history is damaged in line " + std::to_string(line_));
    }

    std::string_view take_line() {
        ++line_;
        const auto end = rest_.find('\n');
        if (end == std::string_view::npos) {
            damaged(); // or its end is missing
        }
        const std::string_view line = rest_.substr(0, end);
        rest_.remove_prefix(end + 1);
        return line;
    }

    dom::element next() {
        const std::string_view line = take_line();
        return parser_.parse(line.data(), line.size());
    }

    std::size_t take_count() {
        std::string_view line = take_line();
        line.remove_prefix(history_word.size());
        std::size_t count = 0;
        const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), count);
        if (error != std::errc() || std::string_view(end, line.data() + line.size()) != commits_word) {
            damaged();
        }
        return count;
    }

    const SchemaNode *node(dom::element number) const {
        const std::uint64_t index = number;
        if (index >= nodes_.size()) {
            damaged();
        }
        return nodes_[index];
    }

    CopiedImage read_image(dom::element element) const {
        CopiedImage image;
        for (const dom::array level : dom::array(element["entry"])) {
            image.entry.push_back({node(level.at(0)), {}});
            for (std::size_t i = 1; i < level.size(); ++i) {
                image.entry.back().keys.emplace_back(std::string_view(level.at(i)));
            }
        }
        const std::string_view name = element["change"];
        const auto *change = std::find(change_names.begin(), change_names.end(), name);
        for (const dom::array item : dom::array(element["was"])) {
            image.items.emplace_back(node(item.at(0)), std::string_view(item.at(1)));
        }
        image.change = static_cast<RecordChange>(change - change_names.begin());
        if (change == change_names.end() || (image.change == RecordChange::added && !image.items.empty())) {
            damaged();
        }
        return image;
    }

    CopiedCommit read_commit(dom::element element) const {
        CopiedCommit commit;
        commit.number = element["number"];
        commit.time += std::chrono::microseconds(std::int64_t(element["microseconds"]));
        for (const auto &[name, text] :
             {std::pair{"who", &commit.note.who}, {"by", &commit.note.by}, {"comment", &commit.note.comment}}) {
            *text = std::string_view(element[name]);
        }
        dom::array records;
        commit.has_images = element["records"].get(records) == simdjson::SUCCESS;
        for (const dom::element record : commit.has_images ? records : dom::array()) {
            commit.images.push_back(read_image(record));
        }
        return commit;
    }

    std::string_view rest_;
    std::size_t line_;
    const Schema &schema_;
    dom::parser parser_;
    std::vector<const SchemaNode *> nodes_;
};

} // namespace

bool has_password(const CopiedCommit &commit) {
    return std::any_of(commit.images.begin(), commit.images.end(), [](const CopiedImage &image) {
        return std::any_of(image.items.begin(), image.items.end(), [](const auto &item) { return item.first->secret; });
    });
}

// Twice through the commits: the numbers of the nodes stand before them.
void write_history(Sink &sink, const Transaction &transaction, const TurnPassword &turn) {
    std::size_t count = 0;
    Nodes nodes;
    std::string none;
    copy_history(transaction, [&](const CopiedCommit &commit) {
        ++count;
        Sink unused(none);
        put_commit(unused, commit, nodes);
    });
    sink.put(history_word);
    sink.put(std::to_string(count));
    sink.put(commits_word);
    sink.put("\n{\"nodes\":");
    write_json_array(sink, nodes.all(), [&sink](const SchemaNode *node) { write_json_text(sink, node->path); });
    sink.put("}\n");
    copy_history(transaction, [&](CopiedCommit &commit) {
        turn_passwords(commit, turn);
        put_commit(sink, commit, nodes);
    });
    sink.flush();
}

void take_history(std::string_view text, std::size_t line, Transaction &transaction, const Schema &schema,
                  const TurnPassword &turn) {
    HistoryTaker taker(transaction, schema);
    Reading(text, line, schema).run(taker, turn);
    taker.finish();
}

} // namespace yfw::tool
