#include "tests/unit/keepers/keeper_fixture.h"

#include <sstream>

#include "tests/support/read_documents.h"
#include "vantacore/config_parser.h"

namespace keepers_test {

using rows::Row;
using rows::Standing;

namespace {

struct Texts {
  std::string operator()(const rows::InstanceRow& row) const {
    return std::to_string(row.vlan) + (row.ip6 ? " ip6" : " ip4");
  }
  std::string operator()(const rows::InterfaceRow& row) const {
    return std::to_string(row.vlan) + "/" + std::to_string(row.ifIndex);
  }
  std::string operator()(const rows::AddressRow& row) const {
    const Tarsel::string address = row.ip6
                                       ? Tarsel::FormatIp6Addr(row.address.data())
                                       : Tarsel::Ip4Addr::FromBytes(row.address.data()).ToString();
    return (*this)(rows::InterfaceRow{row.vlan, row.ifIndex}) + " " + address.c_str();
  }
  std::string operator()(const rows::ProtocolRow& row) const {
    return std::to_string(row.instance) + " " + std::to_string(row.table) + " " + row.key;
  }
  template <typename Other>
  std::string operator()(const Other&) const {
    return "a row of another kind";
  }
};

}  // namespace

std::string KindText(Standing::Kind kind) {
  switch (kind) {
    case Standing::Kind::EQUAL:
      return "equal";
    case Standing::Kind::UNDER_WAY:
      return "under way";
    case Standing::Kind::MISSING:
      return "missing";
    case Standing::Kind::OTHER:
      return "other";
    case Standing::Kind::UNWANTED:
      return "unwanted";
  }
  return "";
}

std::string RowText(const Row& row) { return std::visit(Texts(), row); }

void KeeperFixture::SetUp() {
  Start(10);
  LoadVlans(R"("a": {"vid": 10})");
  ASSERT_TRUE(Settle());
  TakeCalls();
}

void KeeperFixture::LoadVlans(const std::string& entries) {
  Reload("{\"VLAN_CONFIGURATIONS\": {" + entries + "}}", "vlans.json");
}

void KeeperFixture::Want(const std::string& wanted) {
  interfaces.Apply(
      test_support::ReadDevice(R"({"default_vlan": 10, "interfaces": [)" + wanted + "]}"), {10});
}

void KeeperFixture::Script(routing_stack::RowType type, const routing_stack::Answer& answer,
                           unsigned int times) {
  Control().Script(type, answer, times);
}

void KeeperFixture::EndLostRequests() {
  Control().EndLostRequests();
  ASSERT_TRUE(Settle());
}

std::vector<std::string> KeeperFixture::Pass(rows::Keeper& keeper, std::size_t most) {
  std::vector<std::string> lines;
  keeper.BeginPass();
  while (keeper.ContinuePass(most, [&](const Row& row, const Standing& standing) {
    lines.push_back(KindText(standing.kind) + " " + RowText(row));
    const Standing now = keeper.Look(row);
    EXPECT_EQ(KindText(now.kind), KindText(standing.kind)) << RowText(row);
    EXPECT_EQ(now.status, standing.status) << RowText(row);
  })) {
  }
  return lines;
}

std::size_t KeeperFixture::CountSlices(rows::Keeper& keeper, std::size_t most) {
  std::size_t slices = 1;
  keeper.BeginPass();
  while (keeper.ContinuePass(
      most, [](const Row& row, const Standing&) { ADD_FAILURE() << RowText(row); })) {
    ++slices;
  }
  return slices;
}

void KeeperFixture::AskForAll(rows::Keeper& keeper) {
  std::vector<Row> rows;
  keeper.BeginPass();
  while (keeper.ContinuePass(1000, [&](const Row& row, const Standing& standing) {
    if (standing.IsDifference()) {
      rows.push_back(row);
    }
  })) {
  }
  for (const Row& row : rows) {
    keeper.AskAgain(row);
  }
  ASSERT_TRUE(Settle());
}

std::vector<std::string> KeeperFixture::Rows(const std::string& word) {
  std::istringstream dump(Dump());
  std::vector<std::string> rows;
  for (std::string line; std::getline(dump, line);) {
    if (line.compare(0, word.size() + 1, word + " ") == 0) {
      rows.push_back(line.substr(word.size() + 1));
    }
  }
  return rows;
}

}  // namespace keepers_test
