// The protocols' own rows.

#include "device/stack/protocol_rows.h"

#include "stack_test.h"

namespace stack_test {
namespace {

Lines g_answers;

void NoteAnswer(unsigned int table, unsigned int instance, const unsigned char* key,
                unsigned int keyLength, int rowStatus, int adminStatus, unsigned int status) {
  g_answers.push_back(std::to_string(table) + " " + std::to_string(instance) + " " +
                      std::string(reinterpret_cast<const char*>(key), keyLength) + " " +
                      std::to_string(rowStatus) + " " + std::to_string(adminStatus) + " " +
                      std::to_string(status));
  HostDouble::Get().Note("answer " + g_answers.back());
}

class ProtocolRowsTest : public StackTest {
 protected:
  void SetUp() override {
    g_answers.clear();
    sms_register_protocol_answer(&NoteAnswer);
    Start();
    AddInstance(10);
    RunAll();
    host.Take();
  }
  void TearDown() override { sms_register_protocol_answer(nullptr); }

  void Send(int rowStatus, unsigned int instance, const std::string& key,
            const char* payload = "text", int adminStatus = 1, unsigned int table = 2) {
    sms_act_protocol_row(1, table, rowStatus, adminStatus, instance,
                         reinterpret_cast<const unsigned char*>(key.data()),
                         static_cast<unsigned int>(key.size()), payload);
    RunAll();
  }
  static Lines Rows(unsigned int table, unsigned int instance) {
    Lines lines;
    sms_protocol_row row = {};
    int more = sms_get_next_protocol_row(table, instance, nullptr, 0, &row);
    while (more == 1) {
      lines.push_back(std::string(reinterpret_cast<char*>(row.key), row.key_length) + "=" +
                      row.payload + " " + std::to_string(row.admin_status));
      more = sms_get_next_protocol_row(table, instance, row.key, row.key_length, &row);
    }
    return lines;
  }
};

TEST_F(ProtocolRowsTest, RowsAreStoredAnsweredAndThenCompleted) {
  Send(1, 10, "abcd", "payload");
  EXPECT_THAT(host.Take(),
              ElementsAre("answer 2 10 abcd 1 1 1", "cRunPendingAction(5:2:10:4:1633837924)"));
  EXPECT_THAT(Rows(2, 10), ElementsAre("abcd=payload 1"));
}

TEST_F(ProtocolRowsTest, TheCompletionHasTheBuildersIdentifier) {
  const std::string key = "peer 10.1.2.1";
  Send(1, 10, key);
  unsigned int oid[SMS_OID_MAX];
  const unsigned int length =
      sms_get_protocol_row_oid(oid, 2, 10, reinterpret_cast<const unsigned char*>(key.data()),
                               static_cast<unsigned int>(key.size()));
  EXPECT_EQ("cRunPendingAction(" + OidText(oid, length) + ")", host.Take().back());
}

TEST_F(ProtocolRowsTest, RowsAreOverwrittenAndRemoved) {
  Send(1, 10, "a", "one");
  Send(4, 10, "a", "two", 2);
  EXPECT_THAT(Rows(2, 10), ElementsAre("a=two 2"));
  Send(6, 10, "a");
  EXPECT_THAT(Rows(2, 10), IsEmpty());
  EXPECT_EQ("2 10 a 6 1 1", g_answers.back());
  Send(6, 10, "a");
  EXPECT_EQ("2 10 a 6 1 6", g_answers.back());
}

TEST_F(ProtocolRowsTest, Refusals) {
  Send(2, 10, "a");
  EXPECT_EQ("2 10 a 2 1 3", g_answers.back());
  Send(1, 10, "a", "", 3);
  EXPECT_EQ("2 10 a 1 3 3", g_answers.back());
  Send(1, 11, "a");
  EXPECT_EQ("2 11 a 1 1 5", g_answers.back());
  Send(1, 10, "");
  EXPECT_EQ("2 10  1 1 3", g_answers.back());
  Send(1, 10, std::string(65, 'k'));
  EXPECT_EQ("2 10 " + std::string(64, 'k') + " 1 1 3", g_answers.back());
  Send(1, 10, std::string(64, 'k'));
  EXPECT_EQ("2 10 " + std::string(64, 'k') + " 1 1 1", g_answers.back());
  Send(6, 10, std::string(65, 'k'));
  EXPECT_EQ("2 10 " + std::string(64, 'k') + " 6 1 6", g_answers.back());
}

TEST_F(ProtocolRowsTest, KeysAreBytesInTheirOrder) {
  Send(1, 10, std::string("a\0b", 3), "1");
  Send(1, 10, "a", "2");
  Send(1, 10, "\xff", "3");
  Send(1, 10, "B", "4");
  EXPECT_THAT(Rows(2, 10),
              ElementsAre("B=4 1", "a=2 1", std::string("a\0b", 3) + "=1 1", "\xff=3 1"));
}

TEST_F(ProtocolRowsTest, OneRowIsFoundByItsWholeKey) {
  const std::string longest(64, 'k');
  Send(1, 10, longest, "one", 2);
  const std::string longer(100, 'k');
  const auto get = [](unsigned int table, unsigned int instance, const std::string& key,
                      unsigned int length, sms_protocol_row* row) {
    return sms_get_protocol_row(table, instance, reinterpret_cast<const unsigned char*>(key.data()),
                                length, row);
  };
  sms_protocol_row row = {};
  EXPECT_EQ(0, get(2, 10, longer, 63, &row));
  EXPECT_EQ(0, get(2, 10, longer, 65, &row));
  EXPECT_EQ(0, get(2, 10, longer, 100, &row));
  EXPECT_EQ(0, get(3, 10, longest, 64, &row));
  EXPECT_EQ(0, get(2, 11, longest, 64, &row));
  EXPECT_EQ(0, get(2, 10, longest, 64, nullptr));
  EXPECT_EQ(0u, row.key_length);
  EXPECT_EQ(1, get(2, 10, longest, 64, &row));
  EXPECT_EQ(64u, row.key_length);
  EXPECT_EQ(2, row.admin_status);
  EXPECT_STREQ("one", row.payload);
}

TEST_F(ProtocolRowsTest, TablesAndInstancesAreApart) {
  AddInstance(11);
  RunAll();
  Send(1, 10, "a", "one", 1, 2);
  Send(1, 10, "a", "two", 1, 3);
  Send(1, 11, "a", "three", 1, 2);
  EXPECT_THAT(Rows(2, 10), ElementsAre("a=one 1"));
  EXPECT_THAT(Rows(3, 10), ElementsAre("a=two 1"));
  EXPECT_THAT(Rows(2, 11), ElementsAre("a=three 1"));
  EXPECT_THAT(Rows(4, 10), IsEmpty());
}

TEST_F(ProtocolRowsTest, RowsGoWithTheirInstance) {
  AddInstance(11);
  RunAll();
  Send(1, 10, "a");
  Send(1, 11, "a");
  DropInstance(10);
  RunAll();
  EXPECT_THAT(Rows(2, 10), IsEmpty());
  EXPECT_EQ(1u, Rows(2, 11).size());
}

TEST_F(ProtocolRowsTest, WithoutAnAnswerFunctionTheRowIsCompletedAllTheSame) {
  sms_register_protocol_answer(nullptr);
  Send(1, 10, "abcd");
  EXPECT_THAT(host.Take(), ElementsAre("cRunPendingAction(5:2:10:4:1633837924)"));
}

TEST_F(ProtocolRowsTest, NullsAreHarmless) {
  sms_act_protocol_row(1, 2, 1, 1, 10, nullptr, 4, nullptr);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("answer 2 10  1 1 3", "cRunPendingAction(5:2:10:4:0)"));
  const unsigned char key[] = {'k'};
  sms_act_protocol_row(1, 2, 1, 1, 10, key, 1, nullptr);
  RunAll();
  EXPECT_THAT(Rows(2, 10), ElementsAre("k= 1"));
  EXPECT_EQ(0, sms_get_next_protocol_row(2, 10, nullptr, 0, nullptr));
  EXPECT_EQ(0u, sms_get_protocol_row_oid(nullptr, 2, 10, key, 1));
}

TEST_F(ProtocolRowsTest, AScriptMayConcernOneVlan) {
  AddInstance(20 | kIp6Bit);
  const routing_stack::Answer retry;
  control.ScriptVlan(routing_stack::RowType::kProtocol, 20, retry, 1);
  Send(1, 10, "a");
  EXPECT_EQ("2 10 a 1 1 1", g_answers.back());
  Send(1, 20 | kIp6Bit, "a");
  EXPECT_EQ("2 32788 a 1 1 5", g_answers.back());
}

TEST_F(ProtocolRowsTest, ScriptsAndLimitsApply) {
  routing_stack::Answer retry;
  control.Script(routing_stack::RowType::kProtocol, retry, 1);
  Send(1, 10, "a");
  EXPECT_EQ("2 10 a 1 1 5", g_answers.back());
  control.SetLimit(routing_stack::RowType::kProtocol, 1, 8);
  Send(1, 10, "a");
  Send(1, 10, "b");
  EXPECT_EQ("2 10 b 1 1 8", g_answers.back());
  Send(1, 10, "a", "again");
  EXPECT_EQ("2 10 a 1 1 1", g_answers.back());
}

}  // namespace
}  // namespace stack_test
