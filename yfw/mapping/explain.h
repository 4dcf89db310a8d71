// The reason of a refusal in words, for a plug-in that gives the client a text only here and there and says the rest in
// its trace.
#pragma once

#include "boundary/request.h"

#include <functional>
#include <string>

namespace yfw {

// Made before a callback is called.
class Explanation {
  public:
    explicit Explanation(Request &request)
        : request_(request), traced_(request.log() == nullptr ? 0 : request.log()->trace().size()) {}

    // The text for the client, else what the callback traced, else what the code means. again calls the callback once
    // more, for its trace, when the trace is off; what that adds is of no account, as the request is refused.
    std::string reason(cerrno code, const std::function<void()> &again);

    // What the callback traced beside Start and End; empty when there was nothing.
    std::string message(const std::function<void()> &again);

  private:
    Request &request_;
    std::size_t traced_;
};

} // namespace yfw
