#pragma once

#include <cstddef>
#include <string>

namespace Agent {

class Service;

/// The media type of `metricsText`.
inline constexpr char const* metricsType = "text/plain; version=0.0.4; charset=utf-8";

/// The state of a service in Prometheus's text form. No label is taken from configuration: how many
/// series there are does not depend on how much is configured.
///
/// Cost: one pass over the keys that wait.
std::string metricsText(Service const& service, std::size_t clients);

}  // namespace Agent
