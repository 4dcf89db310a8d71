// Instance paths as texts: "/a/b[name=x]/c", how they are read and how their values are written.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace yfw {

struct PathPredicate {
    std::string_view name; // "." for a leaf-list's value
    std::string value;     // without its quotes
    bool any = false;      // a * without quotes: whatever the value
};

struct PathStep {
    std::string_view name;
    std::vector<PathPredicate> predicates;
};

// Goes through a path step by step. Values stand bare or in quotes of either kind, within which a quote of that kind is
// written twice; blanks around names and values are passed over. The text must outlive the steps.
class PathParser {
  public:
    explicit PathParser(std::string_view path);

    [[nodiscard]] bool at_end() const { return rest_.empty(); }
    // False when the text is wrong there; fault then says how and where.
    bool next(PathStep &step);
    [[nodiscard]] const std::string &fault() const { return fault_; }

  private:
    bool wrong(const std::string &reason);
    bool predicate(PathPredicate &result);
    bool quoted(std::string &value);
    bool expect(char character);
    void skip_blanks();
    std::string_view take_until(std::string_view stops);

    std::string_view path_;
    std::string_view rest_;
    std::string fault_;
};

// Adds "[name=value]", with the value in quotes where the parser would not read it back otherwise.
void append_predicate(std::string &path, std::string_view name, std::string_view value);

} // namespace yfw
