// What tests and fuzzers need around a store: a directory, files, random numbers, documents, and all that is stored.
#pragma once

#include "documents/writer.h"
#include "store/store.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace yfw::test {

namespace fs = std::filesystem;

// A directory that goes with the test.
class ScratchDirectory {
  public:
    ScratchDirectory() {
        std::string name = (fs::temp_directory_path() / "yfw-test-XXXXXX").string();
        path_ = ::mkdtemp(name.data());
    }
    ~ScratchDirectory() { fs::remove_all(path_); }
    ScratchDirectory(const ScratchDirectory &) = delete;
    ScratchDirectory &operator=(const ScratchDirectory &) = delete;
    [[nodiscard]] fs::path operator/(const std::string &name) const { return path_ / name; }

  private:
    fs::path path_;
};

// A word of a shell's command line: the build's directory may be called anything.
inline std::string shell_word(const fs::path &word) {
    std::string text = "'";
    for (const char character : word.string()) {
        text += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return text + '\'';
}

inline std::string file_bytes(const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void write_file(const fs::path &file, std::string_view text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}

inline std::string written(const Schema &schema, const Node *root, const WriteOptions &writing) {
    std::string text;
    Sink sink(text);
    write_document(sink, schema, root, writing);
    return text;
}

// As JSON, with its operations.
inline std::string document_of(const Schema &schema, const Node *root, WriteOptions writing = {}) {
    writing.operations = true;
    return written(schema, root, writing);
}

// Of a run that is to be repeated: with the seed in YFW_TEST_SEED.
inline std::mt19937 random_numbers() {
    const char *given = std::getenv("YFW_TEST_SEED");
    const auto seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device()();
    std::printf("YFW_TEST_SEED=%u\n", seed);
    return std::mt19937(seed);
}

using Records = std::vector<std::pair<std::string, std::string>>;

// All that is configured, as it is stored.
inline Records records_of(const Transaction &transaction) {
    Records found;
    Cursor cursor(transaction);
    for (bool more = cursor.seek(root_key); more && cursor.key().starts_with(root_key); more = cursor.next()) {
        found.emplace_back(cursor.key(), cursor.bytes());
    }
    return found;
}

inline void restore(Transaction &transaction, const Records &records) {
    transaction.erase_all(root_key);
    for (const auto &[key, bytes] : records) {
        transaction.put(key, bytes);
    }
}

} // namespace yfw::test
