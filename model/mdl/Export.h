#pragma once

/// Marks what leaves the model library. Everything else is hidden, so that a symbol which is not
/// part of the interface can change without anybody outside noticing.
#define MDL_EXPORT __attribute__((visibility("default")))
