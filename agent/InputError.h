#pragma once

#include "mdl/Exception.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace Agent {

/// A place in an input text, as editors count: both from 1. Line 0 says "not known", column 0 "the
/// line as a whole".
struct TextPosition {
   std::size_t line = 0;
   std::size_t column = 0;

   friend bool operator==(TextPosition const&, TextPosition const&) = default;
};

/// The position of the byte at `offset` (0 is the first).
TextPosition positionAt(std::string_view text, std::size_t offset) noexcept;

/// An input file cannot be used: unreadable, malformed, or asking for what cannot be.
///
/// `what()` is one line for the person who wrote the file: "FILE:LINE:COLUMN: PLACE: reason", with
/// the parts that apply.
class InputError final : public Mdl::Exception {
 public:
   InputError(std::string const& file, TextPosition position, std::string place,
              std::string reason);
   InputError(std::string const& file, std::string reason)
       : InputError(file, {}, {}, std::move(reason)) {}
   ~InputError() override;

   TextPosition position() const noexcept { return position_; }
   /// The path inside the document, such as "groups[1].decapIps[3]"; empty where there is none.
   std::string const& place() const noexcept { return place_; }
   std::string const& reason() const noexcept { return reason_; }

 private:
   TextPosition position_;
   std::string place_;
   std::string reason_;
};

/// A value that its reader cannot take. The reader of the document knows where the value stands
/// and makes an `InputError` of it.
class ValueError final : public Mdl::Exception {
 public:
   explicit ValueError(std::string const& reason) : Exception(reason) {}
   ~ValueError() override;
};

/// The text with control characters replaced, so that a message stays one line and a terminal
/// obeys nobody's file.
std::string printable(std::string_view text);

}  // namespace Agent
