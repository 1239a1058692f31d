#include "agent/Tokens.h"

#include "mdl/Value.h"

#include <charconv>
#include <cmath>
#include <utility>

namespace Agent {

namespace {

bool isBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r'; }

/// Reads the whole text as a `T`.
template <class T>
std::optional<T> parsed(std::string_view text) {
   T value{};
   auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
   if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
   return value;
}

}  // namespace

Tokens::Tokens(std::string const& file, std::size_t line, std::string_view text)
    : file_(file), line_(line) {
   cut(text);
   std::size_t const first = tokens_.empty() ? width_ : tokens_.front().column - 1;
   text_ = printable(text.substr(first, width_ - first));
}

void Tokens::cut(std::string_view text) {
   std::size_t at = 0;
   while (at < text.size() && text[at] != '#') {
      char const c = text[at];
      if (isBlank(c)) {
         ++at;
         continue;
      }
      Token token;
      token.column = at + 1;
      if (c == ',') {
         token.text = text[at++];
      } else if (c == '"') {
         token.quoted = true;
         for (++at; at < text.size() && text[at] != '"'; ++at) {
            if (text[at] == '\\' && at + 1 < text.size()) ++at;
            token.text += text[at];
         }
         if (at == text.size()) fail(token, "the quote is not closed");
         ++at;
      } else {
         while (at < text.size() && !isBlank(text[at]) && text[at] != ',' && text[at] != '#') {
            token.text += text[at++];
         }
      }
      tokens_.push_back(std::move(token));
   }
   // Blanks before a comment are nobody's place.
   while (at != 0 && isBlank(text[at - 1])) --at;
   width_ = at;
}

TextPosition Tokens::position() const noexcept {
   return {line_, atEnd() ? width_ + 1 : tokens_[next_].column};
}

TextPosition Tokens::start() const noexcept {
   return {line_, tokens_.empty() ? 1 : tokens_.front().column};
}

bool Tokens::is(std::string_view keyword) const noexcept {
   return !atEnd() && !tokens_[next_].quoted && tokens_[next_].text == keyword;
}

bool Tokens::take(std::string_view keyword) {
   if (!is(keyword)) return false;
   ++next_;
   return true;
}

void Tokens::need(std::string_view keyword) {
   if (!take(keyword)) unexpected(keyword);
}

Token const& Tokens::word(std::string_view what) {
   if (atEnd() || is(",")) unexpected(what);
   return tokens_[next_++];
}

std::uint64_t Tokens::number(std::string_view what, std::uint64_t greatest) {
   std::string const wanted =
       std::string(what) + ", a whole number from 0 to " + std::to_string(greatest);
   Token const& token = word(wanted);
   auto const value = parsed<std::uint64_t>(token.text);
   if (!value || *value > greatest) {
      fail(token, "expected " + wanted + ", found " + Mdl::quotedForMessage(token.text));
   }
   return *value;
}

double Tokens::seconds() {
   Token const& token = word("seconds");
   auto const value = parsed<double>(token.text);
   if (!value || !std::isfinite(*value) || *value < 0.0) {
      fail(token,
           "expected seconds, a number of at least 0, found " + Mdl::quotedForMessage(token.text));
   }
   return *value;
}

void Tokens::needEnd() {
   if (!atEnd()) unexpected("the end of the line");
}

void Tokens::unexpected(std::string_view what) const {
   std::string const found =
       atEnd() ? "the end of the line" : Mdl::quotedForMessage(tokens_[next_].text);
   throw InputError(file_, position(), {}, "expected " + std::string(what) + ", found " + found);
}

void Tokens::fail(Token const& token, std::string const& reason) const {
   throw InputError(file_, {line_, token.column}, {}, reason);
}

}  // namespace Agent
