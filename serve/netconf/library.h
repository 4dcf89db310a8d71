// What is told of the models: capabilities, the modules' texts, yang-library.
#pragma once

#include "serve/netconf/message.h"

#include "mapping/mapping.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace yfw::serve {

// A module, or submodule, that clients are told of.
struct LibraryModule {
    std::string name;
    std::string revision; // may be empty
    std::string name_space;
    std::string text;
    std::string features;                // with commas between
    std::vector<std::string> deviations; // modules that deviate it
    std::vector<LibraryModule> submodules;
};

class Library {
  public:
    // The OpenConfig modules of the models, what they import, the deviations that tell what is not served, and
    // NETCONF's own modules as far as a directory has them. Throws Unusable.
    Library(const Schema &schema, const Mapping &mapping, const std::filesystem::path &ietf);

    [[nodiscard]] const std::vector<LibraryModule> &modules() const { return modules_; }
    [[nodiscard]] const std::vector<std::string> &capabilities() const { return capabilities_; }
    // The text of a module or submodule, null for none. An empty revision is any.
    [[nodiscard]] const std::string *find(std::string_view name, std::string_view revision) const;
    // <modules-state> of ietf-yang-library; <capabilities> and <schemas> of ietf-netconf-monitoring.
    [[nodiscard]] Element modules_state() const;
    [[nodiscard]] Element monitored_capabilities() const;
    [[nodiscard]] Element schemas() const;

  private:
    void add_models(const Schema &schema, const Mapping &mapping);
    void add_own(const std::filesystem::path &directory);
    void add_capabilities();

    std::vector<LibraryModule> modules_;
    std::vector<std::string> capabilities_;
    std::string set_id_; // another one for other modules
};

} // namespace yfw::serve
