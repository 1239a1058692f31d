#pragma once

#include "FwdL3Unicast/Export.h"
#include "mdl/Log.h"
#include "mdl/Trace.h"

namespace Fwd {

/// The source by which assertions and verification reports name this library.
inline constexpr char sourceFile[] = "FwdL3Unicast/FwdDecapGroup";

/// Every trace of the library: level 2 for a handler's entry and its decisions, 5 for details, 7
/// for what happens to each key in a review.
extern FWD_EXPORT Mdl::TraceHandle traceHandle;

/// Hardware has no room for a key.
extern FWD_EXPORT Mdl::LogHandle const TUNNEL_HW_RESOURCE_FULL;
/// Every key that waited has left the backlog.
extern FWD_EXPORT Mdl::LogHandle const TUNNEL_HW_RESOURCE_NORMAL;

}  // namespace Fwd

/// Traces for the state machine, in the name of the function that it stands in, or of the operation
/// that a helper function works for.
#define FWD_TRACE(level, pieces) MDL_TRACE(::Fwd::traceHandle, level, pieces)
#define FWD_TRACE_AS(function, level, pieces) \
   MDL_TRACE_AS(::Fwd::traceHandle, level, function, pieces)
