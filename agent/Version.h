#pragma once

namespace Agent {

/// The version of the agent, as of semver.org.
char const* version() noexcept;

}  // namespace Agent
