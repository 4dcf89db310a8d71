// The form of a commit's record in the history.
#pragma once

#include "store/history.h"
#include "store/store.h"

namespace yfw {

// A record of the history has this key and the commit's number. It holds, each a number of eight bytes, the time in
// microseconds and the bytes that all records so far were long together, this one included; whether there are images;
// who, by what and the comment, each with its length; the images.
inline constexpr std::string_view history_key = "h";

std::string history_key_of(std::uint64_t number);

// An image is what its key shares with the one before, the rest of it, the change, and what was there.
void append_image(std::string &bytes, std::string_view previous, std::string_view key, RecordChange change,
                  std::string_view image);
// end is that of the record before, 0 for none.
std::string encode_commit(std::uint64_t end, std::chrono::system_clock::time_point time, const CommitNote &note,
                          bool has_images, std::string_view images);

// Goes through a record of the history.
class HistoryReader {
  public:
    HistoryReader(const Transaction &transaction, std::string_view key, std::string_view bytes);
    // The next image; false at the end.
    bool next();
    [[nodiscard]] bool is_whole() const { return is_whole_; }
    // Throws Unusable.
    void check() const;

    std::uint64_t number = 0;
    std::uint64_t end = 0;
    std::chrono::system_clock::time_point time;
    bool has_images = false;
    std::string_view who;
    std::string_view by;
    std::string_view comment;
    std::string key;
    RecordChange change = RecordChange::added;
    std::string_view bytes;

  private:
    bool take_small(std::uint64_t &number_of_one_byte);

    const Transaction &transaction_;
    std::string_view left_;
    bool is_whole_ = false;
};

} // namespace yfw
