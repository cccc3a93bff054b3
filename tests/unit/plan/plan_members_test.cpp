// What the plan says of members of every kind, of protocols that other routers declare, and of
// protocols that nobody has declared.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/documents/vlan_document.h"
#include "tests/unit/plan/plan_cases.h"

namespace {

using namespace plan_tests;
using documents::Kind;
using documents::Member;
using testing::ElementsAre;

constexpr const char* WORDS[] = {"slow", "fast", nullptr};

constexpr Member Words(const char* name, Kind kind) {
  Member member = documents::Plain(name, kind);
  member.words = WORDS;
  return member;
}

constexpr Member Digits(const char* name, Kind kind) {
  Member member = documents::Number(name, 0, 99, 5);
  member.kind = kind;
  return member;
}

constexpr Member INNER_MEMBERS[] = {documents::Number("low", 0, 9, 1),
                                    documents::Flag("on", false)};
constexpr documents::Object INNER = documents::ObjectWith("inner", INNER_MEMBERS);

constexpr Member BGP_MEMBERS[] = {
    documents::ENABLED,
    documents::Flag("flag", true),
    documents::Number("number", 0, 0xFFFFFFFF, 7),
    Digits("digits", Kind::DIGITS),
    Digits("length", Kind::PREFIX_LENGTH),
    documents::Text("text", Kind::TEXT, 0, documents::ANY_LENGTH),
    documents::Text("name", Kind::INTERFACE_NAME, 1, 20),
    Words("word", Kind::WORD),
    Words("letters", Kind::ANY_CASE_WORD),
    documents::Plain("ip4", Kind::IP4, "none"),
    documents::Plain("ip6", Kind::IP6, "none"),
    documents::Plain("mask", Kind::IP4_MASK, "none"),
    documents::Plain("group", Kind::IP4_GROUP, "none"),
    documents::Plain("prefix", Kind::IP4_PREFIX, "none"),
    documents::ObjectOf("inner", INNER),
    documents::ListOf("list", INNER),
};
constexpr documents::Object BGP = documents::ObjectWith("BGP", BGP_MEMBERS);
constexpr Member PROTOCOL_MEMBERS[] = {documents::ObjectOf("BGP", BGP)};
constexpr documents::Protocols DECLARED = documents::ProtocolsOf(PROTOCOL_MEMBERS);

// VLAN 10 with these members.
intent::Intent ReadVlan(const documents::Protocols& declared, const std::string& members) {
  const auto file = std::make_shared<documents::ConfigFile>();
  file->name = "vlans.json";
  EXPECT_TRUE(
      documents::ReadVlanDocument(WithMembers(members), documents::VlanShapes(declared), *file));
  EXPECT_FALSE(file->findings.HasErrors()) << file->findings.Lines()[0];
  documents::Folder folder;
  folder.declared = declared;
  folder.files.push_back(file);
  return intent::Intent(folder);
}

// BGP runs, with these members, too.
intent::Intent Read(const documents::Protocols& declared, const std::string& members) {
  return ReadVlan(declared, R"("BGP": {"enabled": true)" + members + "}");
}

// What the only changed line says of BGP, between the name and the place.
std::string Change(const documents::Protocols& declared, const std::string& from,
                   const std::string& to) {
  const Lines lines = ListAll(Read(declared, from), Read(declared, to));
  if (lines.size() != 3) return "";
  const std::string before = "  ~ BGP: ";
  const std::string after = " (vlans.json: VLAN_CONFIGURATIONS.v.BGP)";
  EXPECT_EQ(lines[1].substr(0, before.size()), before);
  EXPECT_EQ(lines[1].substr(lines[1].size() - after.size()), after);
  EXPECT_EQ(lines[2], "1 protocol changed; 0 requests");
  return lines[1].substr(before.size(), lines[1].size() - before.size() - after.size());
}

class DeclaredMember : public testing::Test {
 protected:
  static std::string Change(const std::string& from, const std::string& to) {
    return ::Change(DECLARED, from, to);
  }
};

TEST_F(DeclaredMember, HasItsDefaultWhenItIsAbsent) {
  EXPECT_EQ(Change("", R"(, "flag": true, "number": 7, "digits": 5, "length": "5", "text": "",
                           "word": "slow", "letters": "SLOW", "inner": {"low": 1, "on": false},
                           "list": [])"),
            "");
}

TEST_F(DeclaredMember, IsToldWithItsValues) {
  EXPECT_EQ(Change("", R"(, "flag": false)"), "flag false, was true");
  EXPECT_EQ(Change(R"(, "number": 4294967295)", ""), "number 7, was 4294967295");
  EXPECT_EQ(Change(R"(, "digits": "007")", R"(, "digits": 8)"), "digits 8, was 7");
  EXPECT_EQ(Change(R"(, "length": "7")", R"(, "length": 8)"), "length 8, was 7");
  EXPECT_EQ(Change(R"(, "text": "a")", ""), R"(text "", was "a")");
  EXPECT_EQ(Change(R"(, "name": "a")", R"(, "name": "b")"), R"(name "b", was "a")");
  EXPECT_EQ(Change("", R"(, "word": "fast")"), "word fast, was slow");
  EXPECT_EQ(Change("", R"(, "letters": "FasT")"), "letters fast, was slow");
  EXPECT_EQ(Change("", R"(, "ip4": "1.2.3.4")"), "ip4 1.2.3.4, was none");
  EXPECT_EQ(Change("", R"(, "ip6": "FE80::0:1")"), "ip6 fe80::1, was none");
  EXPECT_EQ(Change("", R"(, "mask": "255.0.0.0")"), "mask 255.0.0.0, was none");
  EXPECT_EQ(Change("", R"(, "group": "224.0.0.1")"), "group 224.0.0.1, was none");
  EXPECT_EQ(Change("", R"(, "prefix": "1.2.3.4/8")"), "prefix 1.2.3.4/8, was none");
  EXPECT_EQ(Change(R"(, "inner": {"on": true})", R"(, "inner": {"low": 2})"),
            "inner {low 2, on false}, was {low 1, on true}");
  EXPECT_EQ(Change(R"(, "list": [{"low": 2}, {"low": 1}])", R"(, "list": {"a": {"on": true}})"),
            "list {low 1, on true}, was {low 1, on false} {low 2, on false}");
}

TEST_F(DeclaredMember, IsASetWhereItIsAList) {
  EXPECT_EQ(Change(R"(, "list": [{"low": 2}, {"low": 3}])",
                   R"(, "list": {"b": {"low": 3}, "a": {"low": 2}, "c": {"low": 2}})"),
            "");
}

TEST_F(DeclaredMember, IsToldInTheOrderOfNames) {
  EXPECT_EQ(Change("", R"(, "text": "a", "flag": false)"),
            R"(flag false, was true; text "a", was "")");
}

TEST_F(DeclaredMember, IsCutWhereItIsLong) {
  const std::string text(198, 'x');
  EXPECT_EQ(Change("", R"(, "text": ")" + text + "\""), "text \"" + text + "\", was \"\"");
  EXPECT_EQ(Change("", R"(, "text": "x)" + text + "\""), "text \"x" + text + "..., was \"\"");
}

TEST_F(DeclaredMember, IsMadePrintable) {
  EXPECT_EQ(Change("", R"(, "text": "a\u001b\nb")"), R"(text "a\x1b\x0ab", was "")");
}

TEST_F(DeclaredMember, CountsAsTheLastDocumentHasIt) {
  const auto with = [](unsigned int number) {
    intent::Intent intent = Read(DECLARED, R"(, "number": 1)");
    documents::Folder folder = intent.GetFolder();
    auto remote = std::make_shared<documents::ConfigFile>(
        *Read(DECLARED, R"(, "number": )" + std::to_string(number)).GetDocuments()[0]);
    remote->name = "remote/a.json";
    remote->type = Tarsel::DclConfigObject::REMOTE_OPTIONS;
    folder.files.push_back(remote);
    return intent::Intent(folder);
  };
  EXPECT_THAT(
      ListAll(with(2), with(3)),
      ElementsAre("VLAN 10", "  ~ BGP: number 3, was 2 (vlans.json: VLAN_CONFIGURATIONS.v.BGP)",
                  "1 protocol changed; 0 requests"));
  EXPECT_THAT(ListAll(Read(DECLARED, R"(, "number": 1)"), with(1)), ElementsAre("no change"));
}

// ---- that nobody has declared

class UndeclaredMember : public testing::Test {
 protected:
  static std::string Change(const std::string& from, const std::string& to) {
    return ::Change({nullptr, 0}, from, to);
  }
};

TEST_F(UndeclaredMember, IsToldAsRoutersCanReadIt) {
  EXPECT_EQ(Change(R"(, "a": 1, "same": {"x": [1]})", R"(, "a": "text", "same": {"x": [1]})"),
            "a text, was 1");
  EXPECT_EQ(Change("", R"(, "a": {"b": true, "c": {}})"), "a {b true, c {}}, was none");
  EXPECT_EQ(Change(R"(, "a": [{"b": 1}, {}])", R"(, "a": [{"b": 1, "c": "2"}, [{"d": 3}]])"),
            "a [{b 1, c 2}, [{d 3}]], was [{b 1}, {}]");
}

TEST_F(UndeclaredMember, IsNotLookedAtWhereRoutersCannotRead) {
  EXPECT_EQ(Change(R"(, "a": [1, 2])", R"(, "a": [3, 4])"), "");
}

// That a protocol runs is told by its line, not by the member that says so.
TEST(UndeclaredProtocol, RunsOrNotInAnyWords) {
  const auto vlan = [](const std::string& members) { return ReadVlan({nullptr, 0}, members); };
  const auto without = vlan(R"("x-note": 1)");
  const auto running = vlan(R"("BGP": {"enabled": true, "a": 1})");
  EXPECT_THAT(ListAll(without, running),
              ElementsAre("VLAN 10", "  + BGP: a 1 (vlans.json: VLAN_CONFIGURATIONS.v.BGP)",
                          "1 protocol added; 0 requests"));
  EXPECT_THAT(ListAll(running, vlan(R"("BGP": {"enabled": false, "a": 1})")),
              ElementsAre("VLAN 10", "  - BGP", "1 protocol removed; 0 requests"));
  EXPECT_THAT(ListAll(running, vlan(R"("BGP": {"a": 1})")), ElementsAre("no change"));
  EXPECT_THAT(ListAll(vlan(R"("BGP": {"a": 1})"), running), ElementsAre("no change"));
}

}  // namespace
