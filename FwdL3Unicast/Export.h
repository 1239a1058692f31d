#pragma once

/// Marks what an agent may link to. Everything else in the library is hidden.
#define FWD_EXPORT __attribute__((visibility("default")))
