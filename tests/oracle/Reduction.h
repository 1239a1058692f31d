#pragma once

#include "oracle/Event.h"

#include <functional>

namespace Oracle {

/// Whether a sequence still shows what is looked for.
using Fails = std::function<bool(Events const&)>;

/// Leaves out what a failure does not need: of the result no single event can be spared any more.
///
/// Events go in ever smaller pieces (delta debugging), so that most of a long sequence goes in few
/// plays. `events` fails. `left` hears how many events are left, each time that some go.
Events reduced(Events events, Fails const& fails,
               std::function<void(std::size_t left)> const& left);

}  // namespace Oracle
