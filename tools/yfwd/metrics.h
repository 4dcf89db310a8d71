// The counters over HTTP.
#pragma once

#include "serve/net/connection.h"
#include "serve/service/metrics.h"

#include <string>

namespace yfw::serve {

// Answers one request for /metrics, whatever its headers.
class MetricsSpeaker : public Speaker {
  public:
    MetricsSpeaker(const Metrics &metrics, Connection &connection) : metrics_(metrics), connection_(connection) {}
    std::size_t take(std::string_view bytes) override;

  private:
    const Metrics &metrics_;
    Connection &connection_;
    std::string request_;
    bool answered_ = false;
};

} // namespace yfw::serve
