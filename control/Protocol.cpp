#include "control/Protocol.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace Control {

namespace {

using Json = nlohmann::json;

constexpr std::size_t mostWords = 64;

std::string line(Json const& document) {
   return document.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

/// The document of a line. Anything nested deeper than a request is refused while it is read.
Json documentFrom(std::string_view text) {
   constexpr int deepest = 2;
   Json::parser_callback_t const shallow = [](int depth, Json::parse_event_t, Json&) {
      if (depth > deepest) throw ProtocolError("a request is not nested so deep");
      return true;
   };
   try {
      Json document = Json::parse(text, shallow);
      if (!document.is_object()) throw ProtocolError("a request is a JSON object");
      return document;
   } catch (Json::exception const&) {
      throw ProtocolError("a line is not JSON");
   }
}

std::size_t numberOf(Json const& document, char const* name, std::size_t otherwise) {
   auto const at = document.find(name);
   if (at == document.end()) return otherwise;
   if (!at->is_number_unsigned()) {
      throw ProtocolError(std::string("'") + name + "' is a number of 0 or more");
   }
   return at->get<std::uint64_t>();
}

std::string textOf(Json const& value, char const* name) {
   if (!value.is_string()) throw ProtocolError(std::string("'") + name + "' is text");
   std::string text = value.get<std::string>();
   if (text.find('\0') != std::string::npos) {
      throw ProtocolError(std::string("'") + name + "' has a zero byte");
   }
   return text;
}

}  // namespace

std::string encode(Request const& request) {
   Json document = {{"words", request.words}, {"rows", request.rows}};
   if (request.json) document["json"] = true;
   if (request.from != 0) document["from"] = request.from;
   if (!request.file.empty()) document["file"] = request.file;
   return line(document);
}

std::string encode(ReplyHeader const& header) {
   Json document = {{"status", static_cast<int>(header.status)}, {"length", header.length}};
   if (header.next != 0) document["next"] = header.next;
   return line(document);
}

Request requestFrom(std::string_view text) {
   Json const document = documentFrom(text);
   Request request;
   auto const words = document.find("words");
   if (words == document.end() || !words->is_array()) {
      throw ProtocolError("'words' is the list of a command's words");
   }
   if (words->size() > mostWords) throw ProtocolError("a command has not so many words");
   for (Json const& word : *words) request.words.push_back(textOf(word, "words"));
   if (auto const json = document.find("json"); json != document.end()) {
      if (!json->is_boolean()) throw ProtocolError("'json' is true or false");
      request.json = json->get<bool>();
   }
   request.rows = std::min(numberOf(document, "rows", request.rows), greatestRows);
   request.from = numberOf(document, "from", 0);
   if (auto const file = document.find("file"); file != document.end()) {
      request.file = textOf(*file, "file");
   }
   return request;
}

ReplyHeader headerFrom(std::string_view text) {
   Json const document = documentFrom(text);
   std::size_t const none = std::numeric_limits<std::size_t>::max();
   std::size_t const status = numberOf(document, "status", none);
   std::size_t const length = numberOf(document, "length", none);
   if (status > static_cast<std::size_t>(Status::failed) || length == none) {
      throw ProtocolError("a reply begins with its status and length");
   }
   return {static_cast<Status>(status), length, numberOf(document, "next", 0)};
}

}  // namespace Control
