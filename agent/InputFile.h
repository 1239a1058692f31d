#pragma once

#include <cstddef>
#include <string>

namespace Agent {

/// The content of a file; "-" is standard input. Throws InputError, also when there is more than
/// `greatest` bytes of it.
std::string readInputFile(std::string const& file, std::size_t greatest = std::size_t{1} << 30);

}  // namespace Agent
