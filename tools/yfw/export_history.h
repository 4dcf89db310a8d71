// The history in an export: one line of JSON a commit.
#pragma once

#include "command.h"

#include "store/history_copy.h"

#include <functional>
#include <string>
#include <string_view>

namespace yfw::tool {

// Another text for a password: sealed under the passphrase, or the store's own. None leaves it out.
using TurnPassword = std::function<std::optional<std::string>(const std::string &)>;

// What the part begins with, at the beginning of a line behind the configuration.
inline constexpr std::string_view history_word = "history: ";

bool has_password(const CopiedCommit &commit);

void write_history(Sink &sink, const Transaction &transaction, const TurnPassword &turn);

// Takes that part, from its first line on, into a store. Throws Refused; line is the number of its first one, for that.
void take_history(std::string_view text, std::size_t line, Transaction &transaction, const Schema &schema,
                  const TurnPassword &turn);

} // namespace yfw::tool
