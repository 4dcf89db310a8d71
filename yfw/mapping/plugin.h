// The plug-in: a shared object, opened once.
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace yfw {

class Plugin {
  public:
    // Opens it with all its symbols bound. Throws Unusable with the file and the reason.
    explicit Plugin(const std::filesystem::path &file);
    ~Plugin();
    Plugin(const Plugin &) = delete;
    Plugin &operator=(const Plugin &) = delete;

    [[nodiscard]] void *find(const std::string &name) const; // null when it exports no such function
    // The functions that it exports, sorted.
    [[nodiscard]] const std::vector<std::string> &exports() const { return exports_; }
    [[nodiscard]] const std::filesystem::path &file() const { return file_; }
    // The part of its image that cannot be written: texts in it stay what they are.
    [[nodiscard]] std::span<const char> constants() const { return constants_; }

  private:
    struct Closer {
        void operator()(void *handle) const;
    };
    std::filesystem::path file_;
    std::unique_ptr<void, Closer> handle_;
    std::vector<std::string> exports_;
    std::span<const char> constants_;
    const void *dynamic_section_ = nullptr; // an address in the object
};

// The names of the functions that an ELF shared object exports, sorted. Throws Unusable when it is none.
std::vector<std::string> exported_functions(const std::filesystem::path &file);

} // namespace yfw
