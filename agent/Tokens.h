#pragma once

#include "agent/InputError.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// One word of a scenario line.
struct Token {
   std::string text;
   std::size_t column = 0;  ///< of its first byte, from 1
   bool quoted = false;     ///< a quoted word is never a keyword
};

/// One line of a scenario as words: separated by blanks, a comma by itself; "..." with backslashes
/// before quotes and backslashes for words that hold blanks; # up to the line's end for a comment.
///
/// Reads from left to right. Whatever is not as asked for is an InputError at the word's place.
class Tokens {
 public:
   /// `line` counts from 1. Throws InputError for a quote that is not closed.
   Tokens(std::string const& file, std::size_t line, std::string_view text);

   bool atEnd() const noexcept { return next_ == tokens_.size(); }
   /// The place of the next word, or right behind the last one.
   TextPosition position() const noexcept;
   /// The place of the first word; column 1 of an empty line.
   TextPosition start() const noexcept;
   /// The line without comment and outer blanks.
   std::string const& text() const noexcept { return text_; }

   /// Whether the next word is this keyword.
   bool is(std::string_view keyword) const noexcept;
   /// Takes the next word when it is this keyword.
   bool take(std::string_view keyword);
   /// Demands this keyword.
   void need(std::string_view keyword);

   /// The next word, whatever it is; `what` is what the message asks for when there is none.
   Token const& word(std::string_view what);
   std::uint64_t number(std::string_view what, std::uint64_t greatest);
   double seconds();
   /// Reads the next word with a reader that throws ValueError.
   template <class Read>
   auto read(std::string_view what, Read const& reader) {
      Token const& token = word(what);
      try {
         return reader(std::string_view(token.text));
      } catch (ValueError const& error) {
         fail(token, error.what());
      }
   }

   /// Demands that nothing follows.
   void needEnd();
   /// Refuses the next word: "expected WHAT, found ...".
   [[noreturn]] void unexpected(std::string_view what) const;

 private:
   [[noreturn]] void fail(Token const& token, std::string const& reason) const;
   void cut(std::string_view text);

   std::string const& file_;
   std::size_t const line_;
   std::string text_;
   std::size_t width_ = 0;
   std::vector<Token> tokens_;
   std::size_t next_ = 0;
};

}  // namespace Agent
