// Every way in which a configuration can be wrong, with the one line that says so.

#include "agent/ConfigFile.h"
#include "agent/InputError.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

std::string errorOf(std::string const& text) {
   try {
      configurationFromText("c.json", text);
   } catch (InputError const& error) {
      return error.what();
   }
   return "no error";
}

/// The error of a document whose only group has these fields beside its name.
std::string errorOfGroup(std::string const& fields) {
   return errorOf(R"({"groups": [{"name": "a", )" + fields + "}]}");
}

std::string errorOfPrefix(std::string const& prefix) {
   return errorOfGroup(R"("decapIps": [")" + prefix + R"("])");
}

TEST(ConfigSyntaxError, SaysWhereTheTextEnds) {
   EXPECT_EQ(errorOf(""),
             "c.json:1:1: syntax error while parsing value - unexpected end of input; "
             "expected '[', '{', or a literal");
   EXPECT_EQ(errorOf("{\"groups\": []"),
             "c.json:1:14: syntax error while parsing object - unexpected end of input; "
             "expected '}'");
}

TEST(ConfigSyntaxError, SaysLineAndColumnOfWhatIsWrong) {
   EXPECT_EQ(errorOf("{\n  \"groups\": [\n    {\"name\": \"a\",}\n  ]\n}"),
             "c.json:3:18: syntax error while parsing object key - unexpected '}'; expected string "
             "literal");
}

TEST(ConfigSyntaxError, PointsAtTheStartOfAStringThatHasNoPlace) {
   EXPECT_EQ(errorOf("{\"groups\": [] \"hardware\": {}}"),
             "c.json:1:15: syntax error while parsing object - unexpected string literal; expected "
             "'}'");
}

TEST(ConfigSyntaxError, PointsAtTheStartOfANumberThatHasNoPlace) {
   EXPECT_EQ(errorOf("{\"groups\" 57}"),
             "c.json:1:11: syntax error while parsing object separator - unexpected number "
             "literal; expected ':'");
}

TEST(ConfigSyntaxError, RefusesWhatFollowsTheDocument) {
   EXPECT_EQ(errorOf("{\"groups\": []}{}"),
             "c.json:1:15: syntax error while parsing value - unexpected '{'; expected end of "
             "input");
}

TEST(ConfigSyntaxError, DoesNotRepeatALongText) {
   std::string const line = errorOf("{\"groups\": \"" + std::string(100000, 'x'));
   EXPECT_EQ(line,
             "c.json:1:100013: syntax error while parsing value - invalid string: missing "
             "closing quote");
}

TEST(ConfigSyntaxError, RefusesTextThatIsNotUtf8) {
   EXPECT_EQ(errorOf("{\"groups\": [{\"name\": \"a\xff\"}]}"),
             "c.json:1:24: syntax error while parsing value - invalid string: ill-formed UTF-8 "
             "byte");
}

TEST(ConfigSyntaxError, RefusesANumberThatIsTooGreatForAny) {
   EXPECT_EQ(errorOf(R"({"groups": [], "hardware": {"latency": 1e999}})"),
             "c.json:1:45: number overflow parsing '1e999'");
}

TEST(ConfigError, NamesTheLineAndTheUnknownField) {
   EXPECT_EQ(errorOf("{\n\"group\": []}"),
             "c.json:2: group: unknown field; known here: groups, interfaces, hardware, review");
   EXPECT_EQ(errorOfGroup(R"("port": 1)"),
             "c.json:1: groups[0].port: unknown field; known here: name, tunnelType, destPort, "
             "payloadType, vrf, decapIps, decapInterfaces, excludeInterfaces");
   EXPECT_EQ(errorOf(R"({"groups": [], "hardware": {"capacityByType": {"vxlan": 1}}})"),
             "c.json:1: hardware.capacityByType.vxlan: unknown field; known here: gre, ipip, udp");
}

TEST(ConfigError, QuotesAFieldNameThatIsNoPlainWord) {
   EXPECT_EQ(errorOf("{\"we ird\\u001b[31m\": 1}"),
             "c.json:1: [\"we ird\\x1b[31m\"]: unknown field; known here: groups, "
             "interfaces, hardware, review");
}

TEST(ConfigError, RefusesAFieldThatAppearsTwice) {
   EXPECT_EQ(errorOf("{\n\"groups\": [],\n\"groups\": []}"),
             "c.json:3: groups: the field appears a second time");
}

TEST(ConfigError, RefusesWrongTypes) {
   EXPECT_EQ(errorOf("[]"), "c.json:1: document: expected an object, found a list");
   EXPECT_EQ(errorOf("{\"groups\": {}}"), "c.json:1: groups: expected a list, found an object");
   EXPECT_EQ(errorOf("{\"groups\": [5]}"),
             "c.json:1: groups[0]: expected an object, found the number 5");
   EXPECT_EQ(errorOf("{\"groups\": [{\"name\": 5}]}"),
             "c.json:1: groups[0].name: expected a name, found the number 5");
   EXPECT_EQ(errorOfGroup(R"("decapIps": "10.1.0.0/16")"),
             "c.json:1: groups[0].decapIps: expected a list, found the text \"10.1.0.0/16\"");
   EXPECT_EQ(errorOfGroup(R"("decapIps": ["10.1.0.0/16", null])"),
             "c.json:1: groups[0].decapIps[1]: expected a prefix as text, found null");
   EXPECT_EQ(errorOfGroup(R"("destPort": "6635")"),
             "c.json:1: groups[0].destPort: expected a whole number from 0 to 65535, found the "
             "text \"6635\"");
   EXPECT_EQ(errorOf(R"({"groups": [], "hardware": {"capacity": true}})"),
             "c.json:1: hardware.capacity: expected a whole number from 0 to 4294967295, found "
             "true");
}

TEST(ConfigError, TheLineOfANumberIsItsOwnWhateverFollows) {
   EXPECT_EQ(errorOf("{\"groups\": [{\"name\": \"a\",\n\"destPort\": 65536\n\n}]}"),
             "c.json:2: groups[0].destPort: expected a whole number from 0 to 65535, found the "
             "number 65536");
}

TEST(ConfigError, RefusesAPortOutOfRange) {
   EXPECT_EQ(errorOfGroup(R"("destPort": 65536)"),
             "c.json:1: groups[0].destPort: expected a whole number from 0 to 65535, found the "
             "number 65536");
   EXPECT_EQ(errorOfGroup(R"("destPort": -1)"),
             "c.json:1: groups[0].destPort: expected a whole number from 0 to 65535, found the "
             "number -1");
   EXPECT_EQ(errorOfGroup(R"("destPort": 1.5)"),
             "c.json:1: groups[0].destPort: expected a whole number from 0 to 65535, found the "
             "number 1.5");
}

TEST(ConfigError, RefusesAnUnknownTunnelType) {
   EXPECT_EQ(errorOfGroup(R"("tunnelType": "vxlan")"),
             "c.json:1: groups[0].tunnelType: unknown tunnel type \"vxlan\"; known are gre, ipip, "
             "udp");
}

TEST(ConfigError, RefusesTheNamesOfWhatIsNotSet) {
   EXPECT_EQ(errorOfGroup(R"("tunnelType": "unknown")"),
             "c.json:1: groups[0].tunnelType: unknown tunnel type \"unknown\"; known are gre, "
             "ipip, udp");
   EXPECT_EQ(errorOfGroup(R"("payloadType": "unset")"),
             "c.json:1: groups[0].payloadType: unknown payload type \"unset\"; known are ip, "
             "mpls");
}

TEST(ConfigError, RefusesHostBitsAndSaysWhichPrefixIsMeant) {
   EXPECT_EQ(errorOf("{\"groups\": [{\"name\": \"a\", \"decapIps\": [\"10.1.0.0/16\",\n"
                     "\"10.1.2.3/16\"]}]}"),
             "c.json:2: groups[0].decapIps[1]: bits are set beyond the prefix length: "
             "\"10.1.2.3/16\" lies in 10.1.0.0/16");
   EXPECT_EQ(errorOfPrefix("2001:db8::1/63"),
             "c.json:1: groups[0].decapIps[0]: bits are set beyond the prefix length: "
             "\"2001:db8::1/63\" lies in 2001:db8::/63");
}

TEST(ConfigError, RefusesAPrefixThatCoversEveryAddress) {
   std::string const reason =
       "c.json:1: groups[0].decapIps[0]: a prefix of length 0 covers every address; a decap "
       "destination needs a length of at least 1";
   EXPECT_EQ(errorOfPrefix("0.0.0.0/0"), reason);
   EXPECT_EQ(errorOfPrefix("::/0"), reason);
}

TEST(ConfigError, RefusesWhatIsNoPrefix) {
   EXPECT_EQ(errorOfPrefix("10.1.0.0/33"),
             "c.json:1: groups[0].decapIps[0]: prefix length greater than 32: \"10.1.0.0/33\"");
   EXPECT_EQ(errorOfPrefix("hello"),
             "c.json:1: groups[0].decapIps[0]: not an IP prefix: \"hello\"");
   EXPECT_EQ(errorOfPrefix(""), "c.json:1: groups[0].decapIps[0]: an empty text is no prefix");
}

TEST(ConfigError, RefusesASecondGroupOfTheSameName) {
   EXPECT_EQ(errorOf("{\"groups\": [{\"name\": \"a\"}, {\"name\": \"b\"},\n{\"name\": \"a\"}]}"),
             "c.json:2: groups[2].name: duplicate group \"a\", which is also groups[0]");
}

TEST(ConfigError, RefusesAGroupWithoutAName) {
   EXPECT_EQ(errorOf(R"({"groups": [{"tunnelType": "gre"}]})"),
             "c.json:1: groups[0]: the field \"name\" is missing");
   EXPECT_EQ(errorOf(R"({"groups": [{"name": ""}]})"),
             "c.json:1: groups[0].name: a name must not be empty");
}

TEST(ConfigError, RefusesNamesThatNoTerminalShouldSee) {
   EXPECT_EQ(errorOf(R"({"groups": [{"name": "a\n"}]})"),
             "c.json:1: groups[0].name: a name must not hold control characters");
   EXPECT_EQ(errorOfGroup("\"vrf\": \"" + std::string(256, 'v') + "\""),
             "c.json:1: groups[0].vrf: a name has at most 255 bytes");
}

TEST(ConfigError, RefusesADocumentWithoutGroups) {
   EXPECT_EQ(errorOf("{}"), "c.json:1: document: the field \"groups\" is missing");
}

TEST(ConfigError, RefusesATimeBeforeTheStart) {
   EXPECT_EQ(errorOf(R"({"groups": [], "hardware": {"latency": -0.5}})"),
             "c.json:1: hardware.latency: expected seconds, a number of at least 0, found the "
             "number -0.5");
   EXPECT_EQ(errorOf(R"({"groups": [], "review": {"interval": -1}})"),
             "c.json:1: review.interval: expected seconds, a number of at least 0, found the "
             "number -1");
}

TEST(ConfigError, RefusesAScriptedAnswerThatIsNoAnswer) {
   EXPECT_EQ(errorOf(R"({"groups": [], "hardware": {"answers": [{"prefix": "10.0.0.0/8"}]}})"),
             "c.json:1: hardware.answers[0]: the field \"answer\" is missing");
   EXPECT_EQ(errorOf(R"({"groups": [], "hardware": {"answers":
                     [{"prefix": "10.0.0.0/8", "answer": "maybe"}]}})"),
             "c.json:2: hardware.answers[0].answer: unknown answer \"maybe\"; known are success, "
             "not-ready, exists, unsupported, full, max, pending");
}

TEST(ConfigError, KeepsItsMessageOnOneLineWhateverTheFileIsCalled) {
   try {
      configurationFromText("evil\n\x1b[31m.json", "");
      FAIL();
   } catch (InputError const& error) {
      EXPECT_EQ(std::string(error.what()).rfind("evil??[31m.json:1:1: ", 0), 0u);
   }
}

}  // namespace
}  // namespace Agent
