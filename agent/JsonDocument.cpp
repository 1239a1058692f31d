#include "agent/JsonDocument.h"

#include "agent/InputError.h"
#include "agent/Schema.h"
#include "mdl/Value.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <istream>
#include <streambuf>
#include <utility>
#include <vector>

namespace Agent {

namespace {

/// The text as a stream that knows how far it has been read.
class TextBuffer final : public std::streambuf {
 public:
   TextBuffer(std::string_view text, std::function<void(std::size_t)> progress)
       : text_(text), progress_(std::move(progress)) {
      window(0);
   }

   std::size_t offset() const noexcept { return static_cast<std::size_t>(gptr() - start()); }

 protected:
   int_type underflow() override {
      std::size_t const at = offset();
      if (progress_) progress_(at);
      if (at == text_.size()) return traits_type::eof();
      window(at);
      return traits_type::to_int_type(*gptr());
   }

 private:
   char* start() const noexcept { return const_cast<char*>(text_.data()); }
   void window(std::size_t at) {
      std::size_t constexpr width = 1 << 18;
      char* const begin = start() + at;
      setg(begin, begin, begin + std::min(width, text_.size() - at));
   }

   std::string_view const text_;
   std::function<void(std::size_t)> const progress_;
};

/// Whether a field's name can stand in a path without quotes.
bool isPlainName(std::string_view name) {
   return !name.empty() && name.size() <= 64 && std::all_of(name.begin(), name.end(), [](char c) {
      return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
             c == '_' || c == '-';
   });
}

/// Follows the document and the schema side by side.
class Reader final : public nlohmann::json_sax<nlohmann::json> {
 public:
   Reader(std::string const& file, std::string_view text, TextBuffer const& buffer,
          SchemaNode& root)
       : file_(file), text_(text), buffer_(buffer), root_(root) {}

   bool null() override {
      return value([](SchemaNode& node) { node.null(); });
   }
   bool boolean(bool flag) override {
      return value([flag](SchemaNode& node) { node.flag(flag); });
   }
   bool number_integer(number_integer_t number) override {
      return numeric([number](SchemaNode& node) {
         node.real(static_cast<double>(number), std::to_string(number));
      });
   }
   bool number_unsigned(number_unsigned_t number) override {
      return numeric([number](SchemaNode& node) { node.number(number); });
   }
   bool number_float(number_float_t number, string_t const& written) override {
      return numeric([&](SchemaNode& node) { node.real(number, written); });
   }
   bool string(string_t& text) override {
      return value([&text](SchemaNode& node) { node.text(text); });
   }
   bool binary(binary_t&) override { return false; }  // JSON texts hold none

   bool start_object(std::size_t) override {
      return open([](SchemaNode& node) { node.beginRecord(); }, false);
   }
   bool key(string_t& name) override {
      Frame& frame = frames_.back();
      frame.name = name;
      frame.inside = true;
      guarded(0, [&] { frame.field = &frame.node->field(name); });
      return true;
   }
   bool end_object() override {
      return close([](SchemaNode& node) { node.endRecord(); });
   }
   bool start_array(std::size_t) override {
      return open([](SchemaNode& node) { node.beginList(); }, true);
   }
   bool end_array() override {
      return close([](SchemaNode& node) { node.endList(); });
   }

   bool parse_error(std::size_t, std::string const& lastToken,
                    nlohmann::detail::exception const& error) override {
      std::string const reason = syntaxReason(error.what());
      throw InputError(file_, positionAt(text_, errorOffset(reason, lastToken)), {}, reason);
   }

 private:
   struct Frame {
      SchemaNode* node;
      bool isList;
      SchemaNode* field = nullptr;  ///< what the field just named calls for
      std::string name;
      std::size_t index = 0;
      bool inside = false;  ///< a field or an element has begun
   };

   SchemaNode& expected() {
      if (frames_.empty()) return root_;
      Frame& frame = frames_.back();
      if (!frame.isList) return *frame.field;
      if (frame.inside) ++frame.index;
      frame.inside = true;
      return frame.node->element();
   }

   /// Runs what may refuse a value. `lookahead` is how many bytes behind the value have been read.
   template <class Work>
   void guarded(std::size_t lookahead, Work const& work) {
      try {
         work();
      } catch (ValueError const& error) {
         std::size_t const at = std::max<std::size_t>(buffer_.offset(), 1 + lookahead);
         throw InputError(file_, {positionAt(text_, at - 1 - lookahead).line, 0}, place(),
                          error.what());
      }
   }

   template <class Give>
   bool value(Give const& give) {
      guarded(0, [&] { give(expected()); });
      return true;
   }
   /// The end of a number is seen only by what follows it.
   template <class Give>
   bool numeric(Give const& give) {
      guarded(buffer_.offset() == text_.size() ? 0 : 1, [&] { give(expected()); });
      return true;
   }

   template <class Begin>
   bool open(Begin const& begin, bool isList) {
      SchemaNode* node = nullptr;
      guarded(0, [&] {
         node = &expected();
         begin(*node);
      });
      frames_.push_back({node, isList, nullptr, {}, 0, false});
      return true;
   }

   template <class End>
   bool close(End const& end) {
      // What is missing is missing from the object, not from its last field.
      frames_.back().inside = false;
      guarded(0, [&] { end(*frames_.back().node); });
      frames_.pop_back();
      return true;
   }

   std::string place() const {
      std::string path;
      for (Frame const& frame : frames_) {
         if (!frame.inside) break;
         if (frame.isList) {
            path += '[' + std::to_string(frame.index) + ']';
         } else if (isPlainName(frame.name)) {
            path += (path.empty() ? "" : ".") + frame.name;
         } else {
            path += '[' + Mdl::quotedForMessage(frame.name) + ']';
         }
      }
      return path.empty() ? "document" : path;
   }

   /// Where the text goes wrong: at its end when something is missing there, at the start of a
   /// string or number that has no place here, otherwise at the last byte read.
   std::size_t errorOffset(std::string_view reason, std::string const& token) const {
      auto const says = [reason](std::string_view words) {
         return reason.find(words) != std::string_view::npos;
      };
      std::size_t const end = buffer_.offset();
      if (says("unexpected end of input") || says("missing closing")) return end;
      if (says("unexpected string literal") || says("unexpected number literal")) {
         // The token ends where reading has come to, or one byte before.
         for (std::size_t const lookahead : {std::size_t{0}, std::size_t{1}}) {
            if (token.empty() || end < token.size() + lookahead) continue;
            std::size_t const start = end - lookahead - token.size();
            if (text_.substr(start, token.size()) == token) return start;
         }
      }
      return std::max<std::size_t>(end, 1) - 1;
   }

   /// The parser's message without its own prefix and without the text that it had read, which may
   /// be long.
   static std::string syntaxReason(std::string_view message) {
      if (message.starts_with('[')) message.remove_prefix(message.find("] ") + 2);
      if (auto const at = message.find("syntax error"); at != std::string_view::npos) {
         message.remove_prefix(at);
      }
      std::string reason(message.substr(0, 300));
      if (auto const from = reason.find("; last read: '"); from != std::string::npos) {
         auto const to = reason.rfind("'; expected ");
         reason.erase(from, to == std::string::npos || to < from ? to : to + 1 - from);
      }
      return printable(reason);
   }

   std::string const& file_;
   std::string_view const text_;
   TextBuffer const& buffer_;
   SchemaNode& root_;
   std::vector<Frame> frames_;
};

}  // namespace

void readJson(std::string const& file, std::string_view text, SchemaNode& root,
              std::function<void(std::size_t)> progress) {
   TextBuffer buffer(text, std::move(progress));
   std::istream stream(&buffer);
   Reader reader(file, text, buffer, root);
   nlohmann::json::sax_parse(stream, &reader, nlohmann::json::input_format_t::json, true, true);
}

}  // namespace Agent
