#include "control/Protocol.h"

#include <gtest/gtest.h>

#include <limits>

namespace Control {
namespace {

std::string repeated(std::string const& text, std::size_t times) {
   std::string all;
   for (std::size_t i = 0; i < times; ++i) all += text;
   return all;
}

TEST(Protocol, ARequestArrivesAsItWasSent) {
   Request request;
   request.words = {"show", "groups", "a \"b\"\n\\"};
   request.json = true;
   request.rows = 7;
   request.from = 14;
   request.file = "folder/a file";
   EXPECT_EQ(requestFrom(encode(request)), request);
}

TEST(Protocol, ARequestWithNothingSpecialArrivesToo) {
   EXPECT_EQ(requestFrom(encode(Request())), Request());
}

TEST(Protocol, AReplyHeaderArrivesAsItWasSent) {
   for (Status const status : {Status::ok, Status::found, Status::refused, Status::failed}) {
      for (std::size_t const next : {0u, 10'000u}) {
         ReplyHeader const header{status, 12345, next};
         EXPECT_EQ(headerFrom(encode(header)), header);
      }
   }
}

TEST(Protocol, WhatIsSentIsOneLine) {
   Request request;
   request.words = {"a\nb\r"};
   for (std::string const& line : {encode(request), encode(ReplyHeader())}) {
      EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
   }
}

TEST(Protocol, BytesThatAreNoTextAreReplacedAndNotLost) {
   Request request;
   request.words = {"\xff"};
   EXPECT_EQ(requestFrom(encode(request)).words, std::vector<std::string>{"\xef\xbf\xbd"});
}

TEST(Protocol, TheEndOfTheLineMayBeMissing) {
   Request request;
   request.words = {"verify"};
   std::string line = encode(request);
   line.pop_back();
   EXPECT_EQ(requestFrom(line).words, std::vector<std::string>{"verify"});
}

TEST(Protocol, RowsAreCapped) {
   EXPECT_EQ(requestFrom(R"({"words":[],"rows":10001})").rows, greatestRows);
   EXPECT_EQ(requestFrom(R"({"words":[],"rows":18446744073709551615})").rows, greatestRows);
   EXPECT_EQ(requestFrom(R"({"words":[],"rows":10000})").rows, greatestRows);
   EXPECT_EQ(requestFrom(R"({"words":[],"rows":0})").rows, 0u);
   EXPECT_EQ(requestFrom(R"({"words":[]})").rows, 40u);
}

TEST(Protocol, WhatIsUnknownIsPassedOver) {
   EXPECT_EQ(requestFrom(R"({"words":["verify"],"colour":"red"})").words,
             std::vector<std::string>{"verify"});
}

TEST(Protocol, ACommandHasUpTo64Words) {
   auto const line = [](std::size_t words) {
      return "{\"words\":[\"x\"" + repeated(",\"x\"", words - 1) + "]}";
   };
   EXPECT_EQ(requestFrom(line(64)).words.size(), 64u);
   EXPECT_THROW(requestFrom(line(65)), ProtocolError);
}

void thenRefused(std::vector<std::string> const& lines) {
   for (std::string const& line : lines) {
      EXPECT_THROW(requestFrom(line), ProtocolError) << line.substr(0, 100);
   }
}

TEST(MalformedRequest, ThatIsNoJsonIsRefused) {
   thenRefused({"", "\n", " ", "show groups", "{", "{\"words\":[\"a\"]", "{\"words\":[\"a\"]}}",
                "{'words':['a']}", "{\"words\":[\"\xff\"]}", "{\"words\":[\"\\ud800\"]}",
                "// {\"words\":[]}", "{\"words\":[\"a\",]}", "{\"words\":[]}{\"words\":[]}"});
}

TEST(MalformedRequest, ThatIsNoObjectIsRefused) {
   thenRefused({"null", "true", "1", "\"words\"", "[]", "[\"words\"]"});
}

TEST(MalformedRequest, WithoutItsListOfWordsIsRefused) {
   thenRefused({"{}", R"({"words":null})", R"({"words":"verify"})", R"({"words":{}})",
                R"({"words":[1]})", R"({"words":[null]})", R"({"words":[["a"]]})"});
}

TEST(MalformedRequest, WithAMemberOfAnotherTypeIsRefused) {
   thenRefused({R"({"words":[],"json":1})", R"({"words":[],"json":"true"})",
                R"({"words":[],"rows":"7"})", R"({"words":[],"rows":true})",
                R"({"words":[],"rows":[]})", R"({"words":[],"from":null})",
                R"({"words":[],"file":1})", R"({"words":[],"file":["a"]})"});
}

TEST(MalformedRequest, WithANegativeNumberIsRefused) {
   thenRefused({R"({"words":[],"rows":-1})", R"({"words":[],"from":-1})",
                R"({"words":[],"from":-9223372036854775809})"});
}

TEST(MalformedRequest, WithANumberThatIsNotWholeIsRefused) {
   thenRefused(
       {R"({"words":[],"rows":1.5})", R"({"words":[],"rows":1e3})", R"({"words":[],"rows":NaN})"});
}

TEST(MalformedRequest, WithANumberThatIsTooGreatIsRefused) {
   thenRefused({R"({"words":[],"rows":18446744073709551616})", R"({"words":[],"from":1e400})",
                R"({"words":[],"rows":99999999999999999999999999999999})"});
}

TEST(MalformedRequest, WithAZeroByteIsRefused) {
   thenRefused({R"({"words":["a\u0000b"]})", R"({"words":["diff"],"file":"a\u0000"})",
                std::string("\0", 1), std::string("{\"words\":[\0]}", 13)});
}

TEST(MalformedRequest, ThatIsNestedTooDeepIsRefused) {
   thenRefused({R"({"words":[],"more":{"a":{"b":1}}})", R"({"words":[[["a"]]]})",
                "{\"words\":" + repeated("[", 60'000),
                repeated("[", 60'000) + repeated("]", 60'000), repeated("{\"a\":", 10'000)});
}

TEST(MalformedHeader, IsRefused) {
   for (char const* line :
        {"", "HTTP/1.1 200 OK", "[]", "{}", R"({"status":0})", R"({"length":0})",
         R"({"status":4,"length":0})", R"({"status":-1,"length":0})",
         R"({"status":"0","length":0})", R"({"status":0,"length":-1})",
         R"({"status":0,"length":1.0})", R"({"status":0,"length":18446744073709551615})",
         R"({"status":0,"length":0,"next":-1})", R"({"status":0,"length":0,"next":"x"})"}) {
      EXPECT_THROW(headerFrom(line), ProtocolError) << line;
   }
}

}  // namespace
}  // namespace Control
