// Random filters of `route` against a plain model, and rows that come and go between pieces.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "device/documents/merged_routes.h"
#include "device/views/names.h"
#include "tests/models/random_run.h"
#include "tests/unit/views/view_fixture.h"

namespace {

using test_models::Occurrences;
using test_models::Random;
using views::Address;
using views::Prefix;
using views::Protocol;
using views::RouteQuery;

/// A row as the model has it.
struct Row {
  unsigned int vlan = 0;
  Prefix prefix;
  Protocol protocol = Protocol::STATIC;
  Address gateway;
  std::string interface;  // its name; empty for none
  std::string requested;  // so too, as it was asked for
  std::string state;

  std::string Text() const {
    const bool hasGateway = gateway.bytes != Address().bytes;
    return std::to_string(vlan) + ' ' + Describe(prefix) + ' ' +
           std::to_string(static_cast<int>(protocol)) + ' ' +
           (hasGateway ? Describe(gateway) : "-") + ' ' + interface + ' ' + state;
  }
};

class RouteModel : public views_test::ViewFixture {
 protected:
  RouteModel() {
    m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
      {"name": "eth1", "vlan": 10, "index": 4, "ipv4": "10.2.0.1/16", "up": false},
      {"name": "eth0", "vlan": 20, "index": 5, "ipv4": "10.1.0.1/16"}]})");
  }

  /// One of a few, that hold each other.
  Prefix DrawPrefix() {
    Prefix prefix;
    prefix.address.bytes = {20, static_cast<unsigned char>(random.Below(3)),
                            static_cast<unsigned char>(random.Below(3)),
                            static_cast<unsigned char>(random.Below(2))};
    constexpr unsigned char LENGTHS[] = {0, 8, 15, 16, 24, 31, 32};
    prefix.length = LENGTHS[random.Below(7)];
    return Cut(prefix);
  }
  std::string DrawRoutes() {
    std::string routes;
    const unsigned int count = random.Below(25);
    std::set<std::string> drawn;
    for (unsigned int i = 0; i < count; ++i) {
      const Prefix prefix = DrawPrefix();
      const std::string gateway = std::string("10.") + std::to_string(1 + random.Below(3)) + ".2." +
                                  std::to_string(1 + random.Below(2));
      constexpr const char* INTERFACES[] = {"", "", "eth0", "eth1", "eth9", "eth8"};
      const std::string interface = INTERFACES[random.Below(6)];
      if (!drawn.insert(Describe(prefix) + gateway + interface).second) {
        continue;
      }
      Prefix mask{{}, prefix.length};
      mask.address.bytes.fill(0xFF);
      std::fill(mask.address.bytes.begin() + 4, mask.address.bytes.end(), 0);
      mask = Cut(mask);
      routes += (routes.empty() ? "" : ",") +
                Route(std::to_string(i), Describe(prefix.address), Describe(mask.address),
                      "\"gateway\": \"" + gateway + "\"" +
                          (interface.empty() ? "" : ", \"interface\": \"" + interface + "\""));
    }
    return routes;
  }
  void PutSomeCandidates() {
    const unsigned int count = random.Below(20);
    for (unsigned int i = 0; i < count; ++i) {
      constexpr std::uint32_t PROTOCOLS[] = {8, 13, 14};
      routing_stack::Candidate candidate =
          CandidateOf(Describe(DrawPrefix()).c_str(), PROTOCOLS[random.Below(3)],
                      static_cast<unsigned char>(7 + random.Below(2)), random.Below(3));
      candidate.instance = random.Percent(70) ? 10 : 20;
      Control().PutCandidate(candidate);
    }
  }

  std::string NameOf(unsigned int vlan, std::uint32_t ifIndex) const {
    const auto found = m_interfaces.Get().find({static_cast<unsigned short>(vlan), ifIndex});
    return found == m_interfaces.Get().end() ? "" : found->second.name;
  }
  /// All rows of IPv4: what the stack has, and what documents have besides. Nothing is under way.
  std::vector<Row> ReadRows() const {
    std::vector<Row> rows;
    for (const unsigned short vlan : {10, 20}) {
      for (const views::Candidate& one : m_tables.ReadCandidates(vlan, false, nullptr, 100000)) {
        rows.push_back({vlan,
                        {{false, one.target.destination}, one.target.length},
                        one.protocol,
                        {false, one.target.gateway},
                        NameOf(vlan, one.ifIndex != 0 ? one.ifIndex : one.requestedIfIndex),
                        NameOf(vlan, one.requestedIfIndex),
                        one.isInstalled ? "installed" : "candidate"});
        if (rows.back().interface.empty() || (one.requestedIfIndex == 0 && !one.isReached)) {
          // An interface that is down shows for next hops in its network.
          rows.back().interface = !one.isReached && one.target.gateway[1] == 2 && vlan == 10 &&
                                          one.requestedIfIndex == 0
                                      ? "eth1"
                                      : rows.back().interface;
        }
      }
    }
    documents::MergedRoutes merged(m_reloader->GetIntent().GetDocuments());
    while (const documents::Route* route = merged.Next()) {
      const std::string& interface = merged.GetInterface();
      if (!interface.empty() && !m_interfaces.IndexOf(route->target.vlan, interface)) {
        rows.push_back({route->target.vlan,
                        {{false, route->target.destination}, route->target.length},
                        Protocol::STATIC,
                        {false, route->target.gateway},
                        interface,
                        interface,
                        "waiting"});
      }
    }
    return rows;
  }

  static bool Passes(const Row& row, const RouteQuery& query) {
    constexpr const char* STATES[] = {"installed", "waiting", "refused"};
    return (!query.vlan || *query.vlan == row.vlan) &&
           (!query.protocol || *query.protocol == row.protocol) &&
           (!query.via || *query.via == row.gateway) &&
           (query.interface.empty() || query.interface == row.interface ||
            query.interface == row.requested) &&
           (!query.state || row.state == STATES[static_cast<int>(*query.state)]);
  }
  /// The prefix that the address matches in the VLAN.
  static std::optional<Prefix> Match(const std::vector<Row>& rows, unsigned int vlan,
                                     const RouteQuery& query) {
    const auto longest = [&](const std::string& state) {
      std::optional<Prefix> best;
      for (const Row& row : rows) {
        if (row.vlan == vlan && Holds(row.prefix, *query.address) &&
            (state.empty() || row.state == state) && (!best || row.prefix.length > best->length)) {
          best = row.prefix;
        }
      }
      return best;
    };
    if (query.state) {
      return longest(*query.state == RouteQuery::State::WAITING ? "waiting" : "installed");
    }
    const auto installed = longest("installed");
    return installed ? installed : longest("");
  }
  static std::multiset<std::string> Expect(const std::vector<Row>& rows, const RouteQuery& query) {
    std::multiset<std::string> texts;
    for (const Row& row : rows) {
      const bool isAsked = query.address  ? Match(rows, row.vlan, query) == row.prefix
                           : query.prefix ? (query.isLonger ? Holds(*query.prefix, row.prefix)
                                                            : *query.prefix == row.prefix)
                                          : true;
      if (isAsked && Passes(row, query)) {
        texts.insert(row.Text());
      }
    }
    return texts;
  }
  static Json::Value Parse(const std::string& text) {
    Json::Value document;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &document, &errors))
        << errors;
    return document;
  }
  static Row RowOf(const Json::Value& value) {
    Row row;
    row.vlan = value["vlan"].asUInt();
    row.prefix = *views::ReadPrefix(value["prefix"].asString());
    for (int i = 0; i < static_cast<int>(views::PROTOCOLS); ++i) {
      if (value["protocol"].asString() == views::NameOf(static_cast<Protocol>(i))) {
        row.protocol = static_cast<Protocol>(i);
      }
    }
    if (value.isMember("next_hop")) {
      row.gateway = *views::ReadAddress(value["next_hop"].asString());
    }
    row.interface = value.get("interface", "").asString();
    row.state = value["state"].asString();
    return row;
  }
  static std::vector<Row> RowsOf(const std::string& text) {
    std::vector<Row> rows;
    const Json::Value document = Parse(text);
    for (const Json::Value& value : document["routes"]) {
      rows.push_back(RowOf(value));
    }
    return rows;
  }

  RouteQuery DrawQuery() {
    RouteQuery query;
    const auto draw = [this] { return random.Percent(35); };
    if (random.Percent(70)) {
      query.vlan = random.Percent(70) ? 10 : 20;
    }
    if (draw()) {
      Prefix prefix = DrawPrefix();
      prefix.address.bytes[3] |= static_cast<unsigned char>(random.Below(3));
      query.address = prefix.address;
    } else if (draw()) {
      query.prefix = DrawPrefix();
      query.isLonger = random.Percent(50);
    }
    if (draw()) {
      query.protocol = static_cast<Protocol>(random.Below(views::PROTOCOLS));
    }
    if (draw()) {
      query.via = views::ReadAddress(random.Percent(60) ? "10.1.2.1" : "10.1.0.7");
    }
    if (draw()) {
      constexpr const char* NAMES[] = {"eth0", "eth1", "eth9", "eth7"};
      query.interface = NAMES[random.Below(4)];
    }
    if (draw()) {
      query.state = random.Percent(50) ? RouteQuery::State::INSTALLED : RouteQuery::State::WAITING;
    }
    return query;
  }

  Random random;
};

TEST_F(RouteModel, ShowsWhatThePlainModelHas) {
  Occurrences occurrences;
  StartWith(Entry(10, "") + "," + Entry(20, ""));
  for (unsigned int round = 0; round < test_models::Scaled(10); ++round) {
    WriteVlans(Entry(10, DrawRoutes()) + "," + Entry(20, DrawRoutes()));
    Reload();
    ASSERT_TRUE(SettleAll());
    loop.AdvanceMilliseconds(100000);
    ASSERT_TRUE(SettleAll());
    PutSomeCandidates();
    const std::vector<Row> rows = ReadRows();
    for (unsigned int i = 0; i < 100; ++i) {
      const RouteQuery query = DrawQuery();
      const std::string text = Routes(query, views::Format::JSON);
      std::multiset<std::string> shown;
      for (const Row& row : RowsOf(text)) {
        shown.insert(row.Text());
      }
      ASSERT_EQ(shown, Expect(rows, query)) << "round " << round << ", query " << i;
      occurrences(shown.empty() ? "nothing" : "rows");
      occurrences(query.address && !shown.empty() ? "matches" : "other");
      for (const std::string& line : Lines(Routes(query))) {
        ASSERT_LE(line.size(), 80u) << line;
      }
    }
  }
  occurrences.ExpectAtLeast(300, "rows");
  occurrences.ExpectAtLeast(60, "matches");
}

TEST_F(RouteModel, ShowsARowThatStaysOnceWhateverComesAndGoes) {
  StartWith(Entry(10, ""));
  std::set<unsigned int> present;
  std::set<unsigned int> touched;
  const auto candidateOf = [](unsigned int number) {
    const std::string prefix =
        "30." + std::to_string(number / 256) + "." + std::to_string(number % 256) + ".0/24";
    return CandidateOf(prefix.c_str(), 14, 7);
  };
  constexpr unsigned int COUNT = 4000;
  for (unsigned int number = 0; number < COUNT; number += 2) {
    Control().PutCandidate(candidateOf(number));
    present.insert(number);
  }
  unsigned int pieces = 0;
  const auto view = m_questions.Routes(RouteQuery(), views::Format::JSON);
  const std::string text = Read(*view, [&] {
    ++pieces;
    for (int i = 0; i < 40; ++i) {
      const unsigned int number = random.Below(COUNT);
      touched.insert(number);
      if (present.count(number) != 0) {
        Control().RemoveCandidate(candidateOf(number));
        present.erase(number);
      } else {
        Control().PutCandidate(candidateOf(number));
        present.insert(number);
      }
    }
  });
  ASSERT_GE(pieces, 5u);
  std::map<std::string, unsigned int> shown;
  for (const Row& row : RowsOf(text)) {
    EXPECT_EQ(++shown[Describe(row.prefix)], 1u) << Describe(row.prefix);
  }
  unsigned int stayed = 0;
  for (const unsigned int number : present) {
    if (touched.count(number) == 0) {
      const auto candidate = candidateOf(number);
      const std::string prefix = "30." + std::to_string(candidate.destination[1]) + "." +
                                 std::to_string(candidate.destination[2]) + ".0/24";
      EXPECT_EQ(shown[prefix], 1u) << prefix;
      ++stayed;
    }
  }
  EXPECT_GE(stayed, 500u);
}

// What the stack does not have comes in slices as well. Each prefix has two routes, which differ in
// their interface only.
TEST_F(RouteModel, ShowsEachRouteThatTheStackLacksOnce) {
  constexpr unsigned int PREFIXES = 800;
  std::string routes;
  for (unsigned int i = 0; i < 2 * PREFIXES; ++i) {
    const unsigned int number = i / 2;
    routes += (i == 0 ? "" : ",") + Route(std::to_string(i),
                                          "30." + std::to_string(number / 256) + "." +
                                              std::to_string(number % 256) + ".0",
                                          "255.255.255.0",
                                          std::string(R"("gateway": "10.1.2.1")") +
                                              (i % 2 == 0 ? "" : R"(, "interface": "eth0")"));
  }
  StartWith(Entry(10, ""));
  Control().Hold();
  WriteVlans(Entry(10, routes));
  Reload();
  RouteQuery query = All();
  query.protocol = Protocol::STATIC;
  std::map<std::string, unsigned int> shown;
  for (const Row& row : RowsOf(Routes(query, views::Format::JSON))) {
    ++shown[Describe(row.prefix)];
  }
  EXPECT_EQ(shown.size(), PREFIXES);
  for (const auto& [prefix, count] : shown) {
    EXPECT_EQ(count, 2u) << prefix;
  }
  Control().Release();
}

// The configuration goes while it is shown, and then the whole VLAN.
TEST_F(RouteModel, EndsWhenTheVlanGoes) {
  std::string routes;
  for (int i = 0; i < 2000; ++i) {
    routes += (routes.empty() ? "" : ",") +
              Route(std::to_string(i),
                    "20." + std::to_string(i / 256) + "." + std::to_string(i % 256) + ".0",
                    "255.255.255.0",
                    std::string(R"("gateway": "10.1.2.1")") +
                        (i % 2 == 0 ? "" : R"(, "interface": "eth9")"));
  }
  StartWith(Entry(10, "") + "," + Entry(20, routes));
  unsigned int pieces = 0;
  const auto view = m_questions.Routes(RouteQuery(), views::Format::JSON);
  const std::string text = Read(*view, [&] {
    if (++pieces == 2) {
      WriteVlans(Entry(10, ""));
      Reload();
      ASSERT_TRUE(SettleAll());
    }
  });
  const std::size_t shown = RowsOf(text).size();
  EXPECT_GE(shown, 256u);
  EXPECT_LT(shown, 1500u);
}

}  // namespace
