#include "store/history_record.h"

#include "base/error.h"

#include <algorithm>

namespace yfw {

std::string history_key_of(std::uint64_t number) {
    std::string key(history_key);
    append_fixed(key, number);
    return key;
}

void append_image(std::string &bytes, std::string_view previous, std::string_view key, RecordChange change,
                  std::string_view image) {
    const std::size_t end = std::min(previous.size(), key.size());
    std::size_t same = 0;
    while (same < end && previous[same] == key[same]) {
        ++same;
    }
    append_length(bytes, same);
    append_text(bytes, key.substr(same));
    bytes += static_cast<char>(change);
    if (change != RecordChange::added) {
        append_text(bytes, image);
    }
}

std::string encode_commit(std::uint64_t end, std::chrono::system_clock::time_point time, const CommitNote &note,
                          bool has_images, std::string_view images) {
    std::string texts;
    for (const std::string &text : {note.who, note.by, note.comment}) {
        append_text(texts, text);
    }
    const auto since = std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
    std::string bytes;
    append_fixed(bytes, static_cast<std::uint64_t>(since));
    append_fixed(bytes, end + 2 * fixed_size + 1 + texts.size() + images.size());
    bytes += static_cast<char>(has_images);
    bytes += texts;
    bytes += images;
    return bytes;
}

HistoryReader::HistoryReader(const Transaction &transaction, std::string_view key, std::string_view bytes)
    : transaction_(transaction), left_(bytes) {
    std::uint64_t time = 0;
    std::uint64_t has_images = 0;
    key.remove_prefix(history_key.size());
    is_whole_ = take_fixed(key, number) && key.empty() && take_fixed(left_, time) && take_fixed(left_, end) &&
                take_small(has_images) && take_text(left_, who) && take_text(left_, by) && take_text(left_, comment) &&
                has_images <= 1;
    this->time = std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(std::chrono::microseconds(time)));
    this->has_images = has_images == 1;
}

bool HistoryReader::next() {
    std::size_t same = 0;
    std::string_view rest;
    std::uint64_t kind = 0;
    if (!is_whole_ || left_.empty()) {
        return false;
    }
    is_whole_ = take_length(left_, same) && same <= key.size() && take_text(left_, rest) && take_small(kind) &&
                kind <= static_cast<unsigned>(RecordChange::removed);
    if (is_whole_) {
        change = static_cast<RecordChange>(kind);
        key.replace(same, std::string::npos, rest);
        bytes = {};
        is_whole_ = key.starts_with(root_key) && (change == RecordChange::added || take_text(left_, bytes));
    }
    return is_whole_;
}

void HistoryReader::check() const {
    if (!is_whole_) {
        throw_damaged(transaction_.directory());
    }
}

bool HistoryReader::take_small(std::uint64_t &number_of_one_byte) {
    if (left_.empty()) {
        return false;
    }
    number_of_one_byte = static_cast<unsigned char>(left_.front());
    left_.remove_prefix(1);
    return true;
}

} // namespace yfw
