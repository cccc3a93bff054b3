// Documents that come in any order, onto a stack that is slow, refuses for now and answers late or
// from inside the call: once everything is answered, its rows are those of the documents.
#include <map>

#include "tests/models/random_run.h"
#include "tests/unit/routers/router_fixture.h"

namespace {

using test_models::Occurrences;
using test_models::Random;
using test_models::Scaled;

constexpr unsigned int STEPS = 3000;
constexpr unsigned int ROWS = 6;
// In the order in which they count.
const char* const FILES[] = {"vlans.json", "remote/a.json", "remote/b.json"};

/// What a document says: row number to cost.
typedef std::map<unsigned int, unsigned int> Document;

class RowRandom : public RouterFixture {
 protected:
  void SetUp() override {
    RouterFixture::SetUp();
    LoadFile(0);
    ASSERT_TRUE(Settle());
  }

  // Rows of RIP and of OSPF: those that the configuration keeps, and those of the router's lists.
  void LoadFile(unsigned int file) {
    std::string rip;
    std::string ospf;
    for (const auto& [row, cost] : m_documents[file]) {
      std::string& list = row % 2 == 0 ? rip : ospf;
      const std::string name = (row % 2 == 0 ? "RIP_10_" : "OSPF_10_") + std::to_string(row + 1);
      list += (list.empty() ? R"({"Name": ")" : R"(, {"Name": ")") + name + R"(", "cost": )" +
              std::to_string(cost) + "}";
    }
    const std::string members = R"("RIPV2": {"x": 1, "IF_LIST": [)" + rip +
                                R"(]}, "OSPF": {"x": 1, "IF_LIST": [)" + ospf + "]}";
    if (file == 0) {
      Load(members, FILES[file]);
    } else {
      LoadRemote(members, FILES[file]);
    }
  }

  void ChangeDocument(Random& random) {
    const unsigned int file = random.Below(3);
    Document& document = m_documents[file];
    for (unsigned int changes = random.Below(3); changes > 0; --changes) {
      const unsigned int row = random.Below(ROWS);
      if (random.Percent(40)) {
        document.erase(row);
      } else {
        document[row] = 1 + random.Below(5);
      }
    }
    LoadFile(file);
  }

  // A repeated answer is left out: its second completion lets a request overtake the row's previous
  // one, and what then comes out is the faulty stack's.
  void ScriptAnswer(Random& random, Occurrences& occurrences) {
    routing_stack::Answer answer;
    if (random.Percent(50)) {
      answer.kind = routing_stack::Answer::kLate;
      answer.delayMs = random.Below(400);
      occurrences("late answer");
    } else {
      occurrences("retry");
    }
    Control().Script(routing_stack::RowType::kProtocol, answer, 1 + random.Below(2));
  }

  // Of several documents the last one in order counts.
  std::vector<std::string> Expected() const {
    Document rows;
    for (const Document& document : m_documents) {
      for (const auto& [row, cost] : document) {
        rows[row] = cost;
      }
    }
    std::vector<std::string> lines;
    for (const auto& [row, cost] : rows) {
      const std::string number = std::to_string(row + 1);
      lines.push_back(
          row % 2 == 0 ? "10 6 \"" + number + "\" \"cost=" + std::to_string(cost) + "\" up"
                       : "10 3 \"" + number + ".0.0\" \"area=0.0.0.0 cost=" + std::to_string(cost) +
                             " priority=1 hello=10 dead=40\" up");
    }
    std::sort(lines.begin(), lines.end());
    return lines;
  }

  Document m_documents[3];
};

TEST_F(RowRandom, TheStacksRowsAreThoseOfTheDocuments) {
  Random random;
  Occurrences occurrences;
  for (unsigned int step = 0; step < Scaled(STEPS); ++step) {
    SCOPED_TRACE(step);
    if (random.Percent(20)) {
      Control().SetSynchronous(random.Percent(30));
    }
    if (random.Percent(20)) {
      Control().Hold();
    }
    for (unsigned int loads = 1 + random.Below(4); loads > 0; --loads) {
      if (random.Percent(30)) {
        ScriptAnswer(random, occurrences);
      }
      ChangeDocument(random);
      loop.AdvanceMilliseconds(random.Below(3) * 60);
    }
    Control().Release();
    ASSERT_TRUE(Settle());
    Control().ClearScripts();
    const std::vector<std::string> rows = Rows();
    ASSERT_EQ(rows, Expected());
    TakeRequests();
    LoadFile(random.Below(3));
    ASSERT_TRUE(Settle());
    ASSERT_EQ(TakeRequests(), std::vector<std::string>());
    for (const char* words :
         {"retried", "refused", "lost", "gone", "leaving", "pending", "behind"}) {
      ASSERT_EQ((ShowIp("rip") + ShowIp("ospf")).find(words), std::string::npos) << words;
    }
    if (ShowIp("rip").find("overridden") != std::string::npos) {
      occurrences("overridden row");
    }
    traces.Take();
  }
  occurrences.ExpectAtLeast(200, "retry");
  occurrences.ExpectAtLeast(200, "late answer");
  occurrences.ExpectAtLeast(500, "overridden row");
}

}  // namespace
