#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace Agent {

class SchemaNode;

/// Reads a JSON text (RFC 8259) into a schema, value by value as they come: no copy of the document
/// is built. Comments (`//` and `/* */`) are skipped, as configurations want them.
///
/// Throws InputError: for bad syntax with line and column, for a value that the schema refuses with
/// line and path. What the schema's nodes had taken by then has been taken.
///
/// `file` names the text in errors. `progress` hears how many bytes have been read, now and then;
/// it may be empty.
void readJson(std::string const& file, std::string_view text, SchemaNode& root,
              std::function<void(std::size_t)> progress = {});

}  // namespace Agent
