// Plans between random configurations, held against what each of the two has by itself: the plan
// from nothing to it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>

#include "tests/convergence/folder_model.h"
#include "tests/models/random_run.h"
#include "tests/unit/plan/plan_cases.h"

namespace {

using namespace plan_tests;
using convergence::FolderModel;
using convergence::FolderRoute;
using convergence::FolderVlan;

constexpr unsigned int RUNS = 1500;

// ---- random models

class Models {
 public:
  explicit Models(test_models::Random& random) : m_random(random) {}

  FolderModel DrawFirst() {
    FolderModel model;
    model.mark = 1000;
    for (unsigned int i = m_random.Below(120); i > 0; --i) Change(model);
    return model;
  }

  void Change(FolderModel& model) {
    const auto id = static_cast<unsigned short>(10 * (1 + m_random.Below(3)));
    if (m_random.Percent(25)) {
      ChangeInterface(id, model);
    } else if (m_random.Percent(25)) {
      ChangeRemote(id, model.remotes[m_random.Percent(50) ? "remote/a.json" : "remote/b.json"]);
    } else if (model.vlans.count(id) == 0) {
      model.vlans[id];
    } else if (m_random.Percent(3)) {
      model.vlans.erase(id);
    } else {
      ChangeVlan(id, model.vlans[id]);
    }
  }

 private:
  void ChangeInterface(unsigned short id, FolderModel& model) {
    const std::pair<unsigned short, unsigned int> key = {id, id + 1U + m_random.Below(2)};
    if (m_random.Percent(15)) {
      model.interfaces.erase(key);
      return;
    }
    convergence::FolderInterface& interface = model.interfaces[key];
    switch (m_random.Below(5)) {
      case 0:
        interface.up = !interface.up;
        break;
      case 1:
        interface.joined = !interface.joined;
        break;
      case 2:
        interface.mtu = 1400 + 100 * m_random.Below(3);
        break;
      case 3:
        interface.address = m_random.Below(4);
        break;
      default:
        interface.address6 = m_random.Below(3);
    }
  }

  void ChangeRemote(unsigned short id, convergence::FolderRemote& remote) {
    if (m_random.Percent(10)) {
      remote.erase(id);
    } else if (m_random.Percent(50)) {
      ChangeRoute(remote[id].routes);
    } else {
      ChangeProtocol(id, remote[id].protocols);
    }
  }

  void ChangeVlan(unsigned short id, FolderVlan& vlan) {
    const unsigned int kind = m_random.Below(10);
    if (kind < 4) {
      ChangeRoute(vlan.routes);
    } else if (kind < 8) {
      ChangeProtocol(id, vlan.protocols);
    } else if (kind < 9) {
      static const char* const SOURCES[] = {"static", "connected", "rip", "ospf", "bgp"};
      const std::string source = SOURCES[m_random.Below(5)];
      vlan.hasProfile = m_random.Percent(70);
      if (vlan.closedSources.erase(source) == 0) vlan.closedSources.insert(source);
    } else {
      vlan.distances = m_random.Below(3);
    }
  }

  void ChangeProtocol(unsigned short id, convergence::FolderMembers& protocols) {
    const std::size_t number = m_random.Below(std::size(convergence::FOLDER_PROTOCOLS));
    if (m_random.Percent(15)) {
      protocols.erase(number);
      return;
    }
    convergence::FolderMember& protocol = protocols[number];
    const unsigned int row = id + 1 + m_random.Below(3);
    if (m_random.Percent(10)) {
      protocol.isEnabled = !protocol.isEnabled;
    } else if (m_random.Percent(20)) {
      protocol.rows.erase(row);
    } else {
      protocol.rows[row] = 1 + m_random.Below(9);
    }
  }

  void ChangeRoute(std::map<FolderRoute, unsigned int>& routes) {
    const FolderRoute route = {m_random.Percent(35), m_random.Below(4), m_random.Below(2),
                               m_random.Percent(50)};
    if (m_random.Percent(35)) {
      routes.erase(route);
    } else {
      routes[route] = 1 + m_random.Below(3);
    }
  }

  test_models::Random& m_random;
};

// ---- what lines say

/// A change without its place: "+ TITLE: DETAILS".
struct Said {
  char sign = ' ';
  std::string title;
  std::string details;
};

/// What changes is called. An interface has one IPv4 address, so that is the same with any value.
using Key = std::pair<std::string, std::string>;  // VLAN and title
using Changes = std::map<Key, Said>;

bool BeginsWith(const std::string& text, const std::string& with) {
  return text.compare(0, with.size(), with) == 0;
}

bool IsIp4Address(const std::string& title) { return BeginsWith(title, "address 10."); }

Said Parse(std::string line) {
  if (line.back() == ')') line.erase(line.rfind(" ("));
  Said said{line[2], line.substr(4), {}};
  const std::size_t colon = said.title.find(": ");
  if (colon != std::string::npos) {
    said.details = said.title.substr(colon + 2);
    said.title.erase(colon);
  }
  return said;
}

Changes ParseAll(const Lines& lines) {
  Changes changes;
  std::string vlan;
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
    if (lines[i][0] != ' ') {
      vlan = lines[i];
      continue;
    }
    const Said said = Parse(lines[i]);
    const std::string title =
        IsIp4Address(said.title) ? said.title.substr(said.title.find(" of ")) : said.title;
    const bool isNew = vlan == "device" || changes.emplace(Key{vlan, title}, said).second;
    EXPECT_TRUE(isNew) << lines[i];
  }
  return changes;
}

plan::Count& CountOf(plan::Totals& totals, const std::string& title) {
  if (title == "VLAN") return totals.vlans;
  if (BeginsWith(title, "interface ")) return totals.interfaces;
  if (BeginsWith(title, "address ")) return totals.addresses;
  if (BeginsWith(title, "route ")) return totals.routes;
  if (BeginsWith(title, "redistribution ")) return totals.rules;
  return title.find(' ') == std::string::npos ? totals.protocols : totals.rows;
}

bool Waits(const Said& said) { return said.details.find("waits for") != std::string::npos; }

std::size_t RequestsOf(const Key& key, const Said& said, const Changes& all,
                       const Changes& before) {
  const bool isChange = said.sign == '~';
  const std::string& title = said.title;
  if (title == "VLAN") return 2;
  if (BeginsWith(title, "interface ")) {
    return !isChange || said.details.find("mtu") != std::string::npos ||
                   said.details.find("status") != std::string::npos
               ? 2
               : 0;
  }
  if (BeginsWith(title, "address ")) return isChange ? 2 : 1;
  if (BeginsWith(title, "redistribution ")) return 1;
  if (BeginsWith(title, "route ")) {
    const bool waited = before.count(key) != 0 && Waits(before.at(key));
    const bool isMetricOnly = said.details.find("nterface") == std::string::npos;
    if (said.sign == '+') return Waits(said) ? 0 : 1;
    return waited && (said.sign == '-' || isMetricOnly) ? 0 : 1;
  }
  const auto vlan = all.find({key.first, "VLAN"});
  const bool leaves = vlan != all.end() && vlan->second.sign == '-';
  const bool isRow = title.find(' ') != std::string::npos;
  return isRow && !leaves ? 1 : 0;
}

/// "a 1, was 2; b 3, was 4" the other way round.
std::string Turned(const std::string& details) {
  std::string turned;
  std::string rest = details;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find("; "), rest.size());
    const std::string part = rest.substr(0, end);
    rest.erase(0, std::min(end + 2, rest.size()));
    const std::size_t was = part.find(", was ");
    const std::size_t blank = part.rfind(' ', was - 1);
    turned += (turned.empty() ? "" : "; ") + part.substr(0, blank + 1) + part.substr(was + 6) +
              ", was " + part.substr(blank + 1, was - blank - 1);
  }
  return turned;
}

// ---- properties

class RandomPlan : public testing::Test {
 protected:
  void ExpectWay(const Changes& a, const Changes& b, const Changes& way) {
    for (const auto& [key, said] : way) {
      const bool wasThere = a.count(key) != 0;
      const bool willBeThere = b.count(key) != 0;
      EXPECT_EQ(said.sign, !wasThere ? '+' : !willBeThere ? '-' : '~') << said.title;
      if (said.sign == '+') {
        EXPECT_EQ(said.details, b.at(key).details);
      } else if (said.sign == '-') {
        EXPECT_EQ(said.details, "");
      } else {
        EXPECT_TRUE(a.at(key).details != b.at(key).details || a.at(key).title != b.at(key).title)
            << said.title;
      }
      m_count(std::string(1, said.sign) + " " + said.title.substr(0, said.title.find(' ')));
    }
    for (const auto& [key, said] : a) {
      const auto then = b.find(key);
      if (then == b.end() || then->second.details != said.details ||
          then->second.title != said.title) {
        EXPECT_EQ(way.count(key), 1u) << said.title;
      }
    }
    for (const auto& entry : b) {
      const bool isTold = a.count(entry.first) != 0 || way.count(entry.first) != 0;
      EXPECT_TRUE(isTold) << entry.second.title;
    }
  }

  void ExpectTotals(const Changes& way, const Changes& before, const plan::Totals& totals) {
    plan::Totals counted;
    for (const auto& [key, said] : way) {
      plan::Count& count = CountOf(counted, said.title);
      ++(said.sign == '+' ? count.added : said.sign == '-' ? count.removed : count.changed);
      counted.requests += RequestsOf(key, said, way, before);
    }
    EXPECT_EQ(plan::DescribeTotals(counted), plan::DescribeTotals(totals));
  }

  static void ExpectMirrored(const Changes& there, const Changes& back) {
    EXPECT_EQ(there.size(), back.size());
    for (const auto& [key, said] : there) {
      ASSERT_EQ(back.count(key), 1u) << said.title;
      const Said& other = back.at(key);
      EXPECT_EQ(other.sign, said.sign == '+' ? '-' : said.sign == '-' ? '+' : '~') << said.title;
      const bool hasWaited = said.details.find("wait") != std::string::npos ||
                             other.details.find("wait") != std::string::npos;
      if (said.sign == '~' && !hasWaited && !IsIp4Address(said.title)) {
        EXPECT_EQ(other.details, Turned(said.details));
      }
    }
  }

  // The prefixes that routes of the VLAN lead to which do not wait.
  static std::set<std::string> PrefixesOf(const Changes& changes, const std::string& vlan) {
    std::set<std::string> prefixes;
    for (const auto& [key, said] : changes) {
      if (key.first == vlan && BeginsWith(said.title, "route ") && !Waits(said)) {
        prefixes.insert(said.title.substr(0, said.title.find(" via ")));
      }
    }
    return prefixes;
  }

  static std::map<std::string, std::size_t> RowsOf(const Changes& changes,
                                                   const std::string& vlan) {
    std::map<std::string, std::size_t> rows;
    plan::Totals totals;
    for (const auto& [key, said] : changes) {
      if (key.first == vlan && &CountOf(totals, said.title) == &totals.rows) {
        ++rows[said.title.substr(0, said.title.find(' '))];
      }
    }
    return rows;
  }

  void ExpectLosses(const Changes& a, const Changes& b, const std::vector<plan::VlanLoss>& losses) {
    auto loss = losses.begin();
    for (const unsigned short id : {10, 20, 30}) {
      const std::string vlan = "VLAN " + std::to_string(id);
      const std::set<std::string> before = PrefixesOf(a, vlan);
      const std::set<std::string> after = PrefixesOf(b, vlan);
      const auto lost = static_cast<std::size_t>(
          std::count_if(before.begin(), before.end(),
                        [&](const std::string& prefix) { return after.count(prefix) == 0; }));
      const bool isLeaving = a.count({vlan, "VLAN"}) != 0 && b.count({vlan, "VLAN"}) == 0;
      std::set<std::string> rows;
      for (const auto& [protocol, count] : RowsOf(a, vlan)) {
        if (count > 1 && RowsOf(b, vlan).count(protocol) == 0) rows.insert(protocol);
      }
      if (lost == 0 && !isLeaving && rows.empty()) continue;
      ASSERT_NE(loss, losses.end());
      EXPECT_EQ(loss->vlan, id);
      EXPECT_EQ(loss->isLeaving, isLeaving);
      EXPECT_EQ(loss->prefixes, before.size());
      EXPECT_EQ(loss->lost.size(), lost);
      EXPECT_EQ(std::set<std::string>(loss->allRowsOf.begin(), loss->allRowsOf.end()), rows);
      m_count(isLeaving ? "VLANs that leave" : rows.empty() ? "lost prefixes" : "lost rows");
      ++loss;
    }
    EXPECT_EQ(loss, losses.end());
  }

  test_models::Occurrences m_count;
};

TEST_F(RandomPlan, IsTheDifferenceOfWhatBothHave) {
  test_models::Random random;
  Models models(random);
  for (unsigned int run = 0; run < test_models::Scaled(RUNS); ++run) {
    SCOPED_TRACE(run);
    const FolderModel first = models.DrawFirst();
    FolderModel second = random.Percent(10) ? models.DrawFirst() : first;
    for (unsigned int i = random.Below(10); i > 0; --i) models.Change(second);
    const intent::Intent from = IntentOf(first.Files());
    const intent::Intent to = IntentOf(second.Files());
    const Changes a = ParseAll(ListAll(intent::Intent(), from));
    const Changes b = ParseAll(ListAll(intent::Intent(), to));
    const Changes way = ParseAll(ListAll(from, to));
    const plan::Plan plan = plan::MakePlan(from, to);
    ExpectWay(a, b, way);
    ExpectTotals(way, a, plan.totals);
    ExpectMirrored(way, ParseAll(ListAll(to, from)));
    ExpectLosses(a, b, plan.losses);
    EXPECT_EQ(ListAll(from, IntentOf(first.Files())), Lines{"no change"});
    if (HasFailure()) {
      for (const auto& [name, text] : first.Files())
        std::printf("%s: %s", name.c_str(), text.c_str());
      for (const auto& [name, text] : second.Files()) {
        std::printf("then %s: %s", name.c_str(), text.c_str());
      }
      return;
    }
  }
  for (const char* kind : {"VLAN", "interface", "address", "route", "BGP", "OSPF"}) {
    for (const char* sign : {"+ ", "- "})
      m_count.ExpectAtLeast(RUNS / 100, sign + std::string(kind));
  }
  for (const char* kind :
       {"~ VLAN", "~ interface", "~ address", "~ route", "~ BGP", "~ OSPF", "+ redistribution",
        "- redistribution", "VLANs that leave", "lost prefixes", "lost rows"}) {
    m_count.ExpectAtLeast(RUNS / 100, kind);
  }
}

// Blanks change every entry's digest, and nothing that it says.
TEST_F(RandomPlan, IsEmptyForTheSameInOtherWords) {
  test_models::Random random;
  Models models(random);
  for (unsigned int run = 0; run < test_models::Scaled(RUNS / 5); ++run) {
    const convergence::FolderFiles files = models.DrawFirst().Files();
    Texts other = files;
    for (auto& [name, text] : other) {
      for (std::size_t at = 0; (at = text.find(": ", at)) != std::string::npos; at += 3) {
        text.insert(at, " ");
      }
    }
    ASSERT_EQ(ListAll(files, other), Lines{"no change"}) << other.at("vlans.json");
  }
}

}  // namespace
