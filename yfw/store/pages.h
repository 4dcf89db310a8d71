// A look at the pages of a store's file before LMDB follows them: it trusts what stands there, and a damaged page would
// end the process or be made worse.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string_view>

namespace yfw {

// A file's bytes as they are, to be looked at; none when it cannot be read.
class FileView {
  public:
    explicit FileView(const std::filesystem::path &file);
    ~FileView();
    FileView(const FileView &) = delete;
    FileView &operator=(const FileView &) = delete;
    [[nodiscard]] std::string_view bytes() const { return bytes_; }

  private:
    std::string_view bytes_;
};

// Whether the two pages at the file's beginning, of which LMDB takes the newer one, are sound. A file too short for
// them, or of another kind or version, is left for LMDB to refuse.
bool meta_pages_are_sound(std::string_view file);

// Whether all that a transaction of that number can come to is sound: the form of each page, the order and bounds of
// the keys, the counts, and that no page is used twice or used and free. The file is what it reads, and does not change
// as long as the transaction is open.
bool pages_are_sound(std::string_view file, std::uint64_t transaction);

} // namespace yfw
