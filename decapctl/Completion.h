#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace Ctl {

/// Whether the words ask for what a shell needs: "completion bash", or "complete" and the words
/// typed so far, which is what the shell then asks.
bool isCompletion(std::vector<std::string> const& words);

/// Answers; returns the exit code.
int completion(std::vector<std::string> const& words, std::ostream& out);

}  // namespace Ctl
