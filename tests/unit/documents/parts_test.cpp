// The small parts of the reader against simple models of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <tuple>

#include "device/documents/document_findings.h"
#include "device/documents/findings.h"
#include "device/documents/merged_routes.h"
#include "device/documents/name_set.h"
#include "device/documents/nearest_name.h"
#include "device/documents/text_positions.h"
#include "tests/models/random_run.h"
#include "tests/unit/documents/reading.h"

namespace {

using documents::Finding;
using documents::Findings;
using documents::Position;
using documents::Severity;
using test_models::Random;
using testing::ElementsAre;
using testing::IsEmpty;

// ---- names

TEST(NameSet, FindsTheNamesThatHadBeenAdded) {
  documents::NameSet names;
  names.Add("b", 10);
  names.Add("a", 20);
  names.Add("b", 30);
  names.Add("a", 40);
  names.Add("b", 50);
  EXPECT_THAT(names.FindDoubled(), ElementsAre(30, 40, 50));
  names.Clear();
  EXPECT_THAT(names.FindDoubled(), IsEmpty());
  names.Add("b", 60);
  names.Add("c", 70);
  EXPECT_THAT(names.FindDoubled(), IsEmpty());
}

TEST(NameSet, IsLikeASet) {
  Random random;
  for (unsigned int run = 0; run < test_models::Scaled(2000); ++run) {
    documents::NameSet names;
    if (random.Percent(50)) {
      names.Add("before", 1);
      names.Add("before", 2);
      names.Clear();
    }
    std::vector<std::string> added(random.Below(12));
    for (std::string& name : added) {
      name = std::string(random.Below(3), static_cast<char>('a' + random.Below(2)));
      name += random.Percent(20) ? std::string("\0\xFF", 2) : "";
    }
    if (random.Percent(30)) {
      std::sort(added.begin(), added.end());
    }
    std::set<std::string> known;
    std::vector<std::size_t> doubled;
    std::size_t offset = 0;
    for (const std::string& name : added) {
      offset += 1 + random.Below(5);
      names.Add(name, offset);
      if (!known.insert(name).second) {
        doubled.push_back(offset);
      }
    }
    ASSERT_EQ(names.FindDoubled(), doubled);
  }
}

TEST(NearestName, TakesTheFewestChanges) {
  const std::vector<std::string> known = {"enabled", "INTERFACES", "IF_LIST", "AREA_LIST"};
  EXPECT_EQ(documents::NearestName("enable", known), "enabled");
  EXPECT_EQ(documents::NearestName("interface", known), "INTERFACES");
  EXPECT_EQ(documents::NearestName("LIST", known), "IF_LIST");
  EXPECT_EQ(documents::NearestName("AREALIST", known), "AREA_LIST");
  EXPECT_EQ(documents::NearestName("enalbed", known), "enabled");
  EXPECT_EQ(documents::NearestName("x", {"a", "b"}), "a");
  EXPECT_EQ(documents::NearestName("", {"ab", "a"}), "a");
  EXPECT_EQ(documents::NearestName("a", {}), "");
  EXPECT_EQ(documents::NearestName("ac", {"xy", "abc"}), "abc");
  EXPECT_EQ(documents::NearestName("abc", {"xyc", "ac"}), "ac");
  EXPECT_EQ(documents::NearestName(std::string(1000000, 'x') + "a", {"b", std::string(64, 'x')}),
            std::string(64, 'x'));
}

// ---- positions

Position PositionOf(const std::string& text, std::size_t offset) {
  Position position{1, 1};
  const std::size_t begin = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  for (std::size_t i = begin; i < std::min(offset, text.size()); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    position.line += byte == '\n' ? 1 : 0;
    position.column = byte == '\n' ? 1 : position.column + (byte < 0x80 || byte >= 0xC0 ? 1 : 0);
  }
  return position;
}

TEST(TextPositions, CountLinesAndCharacters) {
  Random random;
  const char* const pieces[] = {"a",    "\n", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
                                "\r\n", "\t"};
  for (unsigned int run = 0; run < test_models::Scaled(2000); ++run) {
    std::string text = random.Percent(20) ? "\xEF\xBB\xBF" : "";
    for (unsigned int i = random.Below(30); i > 0; --i) {
      text += pieces[random.Below(7)];
    }
    documents::TextPositions positions(text);
    std::size_t offset = 0;
    while (offset <= text.size() + 2) {
      const Position found = positions.Find(offset);
      const Position expected = PositionOf(text, offset);
      ASSERT_TRUE(found == expected)
          << text << "\nat " << offset << ": " << found.line << ":" << found.column;
      offset += random.Below(6);
      if (random.Percent(20)) {
        const Position again = positions.Find(0);  // before the last one
        ASSERT_TRUE(again == expected);
      }
    }
  }
}

// ---- findings

Finding FindingAt(Severity severity, const std::string& problem) {
  return {severity, {"a.json", {1, 2}, "b"}, problem};
}

TEST(Findings, ReadAsLines) {
  EXPECT_EQ(FindingAt(Severity::ERROR, "wrong").Line(), "a.json:1:2: b: wrong");
  EXPECT_EQ(FindingAt(Severity::WARNING, "odd").Line(), "a.json:1:2: warning: b: odd");
  EXPECT_EQ((Finding{Severity::WARNING, {"a.json", {}, {}}, "odd"}.Line()), "a.json: warning: odd");
  EXPECT_EQ((Finding{Severity::ERROR, {"a.json", {3, 1}, {}}, "wrong"}.Line()),
            "a.json:3:1: wrong");
}

std::vector<std::string> Numbers(const std::string& prefix, unsigned int count) {
  std::vector<std::string> lines;
  for (unsigned int i = 0; i < count; ++i) {
    lines.push_back(prefix + std::to_string(i));
  }
  return lines;
}

TEST(Findings, ShowAHundredErrorsFirst) {
  Findings findings;
  for (unsigned int i = 0; i < 30; ++i) {
    findings.Add(FindingAt(Severity::WARNING, std::to_string(i)));
  }
  for (unsigned int i = 0; i < 90; ++i) {
    findings.Add(FindingAt(Severity::ERROR, std::to_string(i)));
  }
  EXPECT_EQ(findings.CountErrors(), 90u);
  EXPECT_EQ(findings.CountWarnings(), 30u);
  std::vector<std::string> expected = Numbers("a.json:1:2: b: ", 90);
  const auto warnings = Numbers("a.json:1:2: warning: b: ", 10);
  expected.insert(expected.end(), warnings.begin(), warnings.end());
  expected.push_back("and 0 more errors, 20 more warnings");
  EXPECT_EQ(findings.Lines(), expected);
}

TEST(Findings, CountWhatTheyDoNotKeep) {
  Findings findings;
  EXPECT_FALSE(findings.HasErrors());
  EXPECT_THAT(findings.Lines(), IsEmpty());
  for (unsigned int i = 0; i < 100; ++i) {
    findings.Add(FindingAt(Severity::ERROR, std::to_string(i)));
  }
  EXPECT_EQ(findings.Lines(), Numbers("a.json:1:2: b: ", 100));
  findings.Add(FindingAt(Severity::ERROR, "one more"));
  findings.AddUntold(Severity::WARNING, 2);
  EXPECT_TRUE(findings.HasErrors());
  EXPECT_EQ(findings.Get(Severity::ERROR).size(), Findings::KEPT);
  EXPECT_EQ(findings.Lines().back(), "and 1 more errors, 2 more warnings");
  Findings all;
  all.Add(FindingAt(Severity::WARNING, "w"));
  all.Add(findings);
  EXPECT_EQ(all.CountErrors(), 101u);
  EXPECT_EQ(all.CountWarnings(), 3u);
  EXPECT_EQ(all.Lines().back(), "and 1 more errors, 3 more warnings");
  Findings warnings;
  warnings.AddUntold(Severity::WARNING, 1);
  EXPECT_FALSE(warnings.HasErrors());
}

TEST(DocumentFindings, KeepTheFirstHundredByOffset) {
  Random random;
  for (unsigned int run = 0; run < test_models::Scaled(50); ++run) {
    const std::string text(1000, '\n');
    documents::DocumentFindings findings;
    std::vector<std::pair<std::size_t, std::string>> all[2];
    const unsigned int count = random.Below(500);
    for (unsigned int i = 0; i < count; ++i) {
      const auto severity = random.Percent(50) ? Severity::ERROR : Severity::WARNING;
      const std::size_t offset = random.Below(999);
      const std::string problem = std::to_string(i);
      all[severity == Severity::ERROR ? 0 : 1].emplace_back(offset, problem);
      if (random.Percent(50) || findings.Wants(severity, offset)) {
        findings.Add(severity, offset, "p", problem);
      }
    }
    const Findings finished = findings.Finish(text, "a.json");
    ASSERT_EQ(finished.CountErrors(), all[0].size());
    ASSERT_EQ(finished.CountWarnings(), all[1].size());
    for (int i = 0; i < 2; ++i) {
      std::stable_sort(all[i].begin(), all[i].end(),
                       [](const auto& a, const auto& b) { return a.first < b.first; });
      std::vector<std::string> expected;
      for (std::size_t j = 0; j < std::min(all[i].size(), Findings::KEPT); ++j) {
        expected.push_back("a.json:" + std::to_string(all[i][j].first + 1) +
                           ":1: p: " + all[i][j].second);
      }
      std::vector<std::string> kept;
      for (const Finding& finding : finished.Get(i == 0 ? Severity::ERROR : Severity::WARNING)) {
        kept.push_back(finding.place.Text() + ": " + finding.problem);
      }
      ASSERT_EQ(kept, expected);
    }
  }
}

// ---- the routes of several documents

struct Told {
  std::string interface;
  documents::RouteTarget target;
  std::size_t document;
  std::uint16_t metric;

  auto Key() const {
    return std::tie(target.vlan, target.ip6, target.destination, target.length, target.gateway,
                    interface);
  }
};

std::string RandomRoute(Random& random) {
  const std::string interfaces[] = {"", "", "eth0", "eth1"};
  const std::string name = interfaces[random.Below(4)];
  const std::string interface = name.empty() ? "" : "\"interface\": \"" + name + "\", ";
  return "{" + interface + R"("network": "10.)" + std::to_string(random.Below(2)) +
         R"(.0.0", "netmask": "255.255.)" + (random.Percent(50) ? "0" : "128") +
         R"(.0", "gateway": "10.1.2.)" + std::to_string(random.Below(2)) + R"(", "metric": )" +
         std::to_string(random.Below(3)) + "}";
}

TEST(MergedRoutes, GoThroughAllDocumentsInOrder) {
  Random random;
  test_models::Occurrences count;
  for (unsigned int run = 0; run < test_models::Scaled(500); ++run) {
    documents::ConfigFiles files;
    std::vector<Told> expected;
    for (unsigned int i = random.Below(5); i > 0; --i) {
      std::string entries;
      for (const char* vlan : {"10", "9"}) {
        std::string routes;
        for (unsigned int j = random.Below(6); j > 0; --j) {
          routes += (routes.empty() ? "" : ", ") + RandomRoute(random);
        }
        entries += (entries.empty() ? "\"" : ", \"") + std::string(vlan) + "\": {\"vid\": " + vlan +
                   ", \"STATIC_ROUTES\": [" + routes + "]}";
      }
      auto file = std::make_shared<documents::ConfigFile>(
          documents_tests::ReadVlans(documents_tests::WithEntries(entries)).file);
      for (const documents::Route& route : file->routes.Get()) {
        expected.push_back(
            {file->routes.InterfaceOf(route), route.target, files.size(), route.metric});
      }
      files.push_back(std::move(file));
    }
    std::stable_sort(expected.begin(), expected.end(),
                     [](const Told& a, const Told& b) { return a.Key() < b.Key(); });
    documents::MergedRoutes merged(files);
    ASSERT_EQ(merged.CountAll(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const documents::Route* const route = merged.Next();
      ASSERT_NE(route, nullptr);
      ASSERT_TRUE(route->target == expected[i].target);
      ASSERT_EQ(merged.GetInterface(), expected[i].interface);
      ASSERT_EQ(&merged.GetDocument(), files[expected[i].document].get());
      ASSERT_EQ(route->metric, expected[i].metric);
      const bool isFirst = i == 0 || expected[i - 1].Key() != expected[i].Key();
      ASSERT_EQ(merged.IsFirst(), isFirst);
      count(isFirst ? "first" : "again");
    }
    ASSERT_EQ(merged.Next(), nullptr);
    ASSERT_EQ(merged.Next(), nullptr);
    for (const unsigned short vlan : {8, 9, 10, 11}) {
      documents::MergedRoutes some(files, vlan);
      std::size_t all = 0;
      for (const Told& told : expected) {
        if (told.target.vlan == vlan) {
          const documents::Route* const route = some.Next();
          ASSERT_NE(route, nullptr);
          ASSERT_TRUE(route->target == told.target);
          ASSERT_EQ(&some.GetDocument(), files[told.document].get());
          ++all;
        }
      }
      ASSERT_EQ(some.Next(), nullptr);
      ASSERT_EQ(some.CountAll(), all);
    }
  }
  count.ExpectAtLeast(1000, "first");
  count.ExpectAtLeast(200, "again");
}

}  // namespace
