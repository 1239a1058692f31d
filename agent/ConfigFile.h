#pragma once

#include "agent/Configuration.h"

#include <functional>
#include <string>
#include <string_view>

namespace Agent {

/// Reads a configuration text; docs/agent.md describes it. Throws InputError, see `readJson`.
///
/// Cost: beside the text, 24 bytes a prefix.
Configuration configurationFromText(std::string const& file, std::string_view text,
                                    std::function<void(std::size_t)> progress = {});

/// Reads a configuration file, with a progress line for a long one.
Configuration configurationFromFile(std::string const& file);

}  // namespace Agent
