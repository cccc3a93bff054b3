// What the machine's kernel refuses is told wherever somebody looks for the route.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/views/state_fixture.h"
#include "tests/unit/views/view_fixture.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using views::Format;
using views::KernelRefusal;
using views::Prefix;
using views::ReadPrefix;
using views::RouteQuery;

const char* const SHOWN = R"("kernel_refusal":{"deletion":false,"reason_text":"Bad \"hop\"",)"
                          R"("next_try_seconds":2})";

class RefusedByKernel : public views_test::ViewFixture {
 protected:
  RefusedByKernel() {
    m_host.findKernelRefusal = [this](unsigned short vlan, const Prefix& prefix) {
      return vlan == 10 && prefix == *ReadPrefix(m_prefix) ? std::optional(m_refusal)
                                                           : std::nullopt;
    };
  }
  static std::string Two() {
    return Entry(10, Route("a", "20.1.0.0", "255.255.0.0", R"("gateway": "10.1.2.1")") + "," +
                         Route("b", "20.2.0.0", "255.255.0.0", R"("gateway": "10.1.2.1")"));
  }
  std::string About(const char* prefix, Format format = Format::TEXT) {
    views::ExplainQuery query;
    query.vlan = 10;
    query.prefix = ReadPrefix(prefix);
    return ViewFixture::Explain(query, format);
  }
  static RouteQuery Refused() {
    RouteQuery query = All();
    query.state = RouteQuery::State::REFUSED;
    return query;
  }

  const char* m_prefix = "20.1.0.0/16";
  KernelRefusal m_refusal{"a route", "Bad \"hop\"", 2, false};
};

TEST_F(RefusedByKernel, IsShownUnderItsRow) {
  StartWith(Two());
  EXPECT_EQ(Routes(All()),
            "> 10.1.0.0/16        [0/0]     -               eth0     00:00:00 connected\n"
            "> 20.1.0.0/16        [1/1]     10.1.2.1        eth0     00:00:00 static\n"
            "    the kernel refuses it: Bad \"hop\", next try in 2 s\n"
            "> 20.2.0.0/16        [1/1]     10.1.2.1        eth0     00:00:00 static\n");
  const std::vector<std::string> rows = Lines(Routes(All(), Format::JSON));
  ASSERT_EQ(4u, rows.size());
  EXPECT_THAT(rows[2], AllOf(HasSubstr(R"("state":"installed")"), HasSubstr(SHOWN)));
  EXPECT_THAT(rows[1] + rows[3], Not(HasSubstr("kernel")));
}

TEST_F(RefusedByKernel, IsAmongWhatIsRefused) {
  StartWith(Two());
  EXPECT_EQ(Lines(Routes(Refused())).size(), 2u);
  RouteQuery query = Refused();
  query.address = views::ReadAddress("20.1.1.1");
  EXPECT_THAT(Routes(query), HasSubstr("> 20.1.0.0/16 "));
  query.address = views::ReadAddress("20.2.1.1");
  EXPECT_EQ(Routes(query), "No IPv4 route to 20.2.1.1 in VLAN 10 matches\n");
  query = All();
  query.isSummary = true;
  EXPECT_THAT(
      Routes(query, Format::JSON),
      HasSubstr(R"({"protocol":"static","routes":2,"installed":2,"waiting":0,"refused":1})"));
  m_prefix = "10.1.0.0/16";
  EXPECT_THAT(Routes(Refused()),
              AllOf(HasSubstr("connected\n    the kernel refuses it"), Not(HasSubstr("20.1.0.0"))));
}

// One that is not installed is not the kernel's matter, but an old one of its prefix may be.
TEST_F(RefusedByKernel, IsNoMatterOfACandidate) {
  m_refusal.isOfDeletion = true;
  StartWith(Entry(10, Route("a", "20.1.0.0", "255.255.0.0", R"("gateway": "10.9.2.1")")));
  EXPECT_THAT(Routes(All()), Not(HasSubstr("kernel")));
  EXPECT_THAT(
      About("20.1.0.0/16"),
      HasSubstr("\nKernel       does not give up an old route: Bad \"hop\", next try in 2 s\n"));
  EXPECT_THAT(About("20.1.0.0/16", Format::JSON),
              HasSubstr(R"("handed_on":[],"kernel_refusal":{"deletion":true,"reason_text":)"));
}

TEST_F(RefusedByKernel, IsExplained) {
  StartWith(Two());
  EXPECT_THAT(About("20.1.0.0/16"),
              HasSubstr("\nKernel       refuses it: Bad \"hop\", next try in 2 s\n"));
  EXPECT_THAT(About("20.1.0.0/16", Format::JSON), HasSubstr(SHOWN));
  EXPECT_THAT(About("20.2.0.0/16") + About("20.2.0.0/16", Format::JSON), Not(HasSubstr("ernel")));
  m_refusal.nextTry = 0;
  EXPECT_THAT(About("20.1.0.0/16"), HasSubstr(", next try now\n"));
}

class RefusalsInAll : public views_test::StateFixture {
 protected:
  RefusalsInAll() {
    m_kernel.isWritten = true;
    m_host.listKernelRefusals = [this](std::size_t most) {
      std::vector<KernelRefusal> refusals;
      for (std::size_t i = 0; i < most && i < m_kernel.refused; ++i) {
        refusals.push_back({"route " + std::to_string(i), "No", i, i == 1});
      }
      return refusals;
    };
    m_host.retryKernel = [this](const std::optional<Prefix>& prefix) {
      m_asked.push_back(prefix ? Describe(*prefix) : "all");
      return views::KernelRetry{m_kernel.refused, prefix ? 0 : m_kernel.rules.refused};
    };
  }
  std::string Retry(const char* prefix = nullptr) {
    const views::Retried retried =
        Ask().Retry(prefix != nullptr ? ReadPrefix(prefix) : std::nullopt);
    m_count = retried.count;
    return retried.text;
  }

  std::vector<std::string> m_asked;
  std::size_t m_count = 0;
};

TEST_F(RefusalsInAll, TheFirstOnesAreInTheStatus) {
  StartWith(WITH_ROUTE);
  m_kernel.refused = 2;
  EXPECT_THAT(Read(Ask().Status(Format::TEXT)),
              HasSubstr(", 2 refused\n"
                        "                route 0: the kernel refuses it: No, next try now\n"
                        "                route 1: the kernel does not give up an old route: No, "
                        "next try in 1 s\n"
                        "longest turn"));
  const Json::Value refusals = ReadJson(Ask().Status(Format::JSON))["kernel"]["refusals"];
  ASSERT_EQ(refusals.size(), 2u);
  EXPECT_EQ(refusals[0]["deletion"], false);
  EXPECT_EQ(refusals[1]["route"], "route 1");
  EXPECT_EQ(refusals[1]["deletion"], true);
  EXPECT_EQ(refusals[1]["reason_text"], "No");
  EXPECT_EQ(refusals[1]["next_try_seconds"], 1);
  m_kernel.refused = 5;
  EXPECT_THAT(Read(Ask().Status(Format::TEXT)),
              HasSubstr("next try in 2 s\n                and 2 more (`verify` lists them)\n"));
  EXPECT_EQ(ReadJson(Ask().Status(Format::JSON))["kernel"]["refusals"].size(), 3u);
}

TEST_F(RefusalsInAll, AreAskedForAgain) {
  StartWithARefusedRoute();
  EXPECT_EQ(Retry("10.9.0.0/16"), "1 row of 10.9.0.0/16 is asked for again now\n");
  m_kernel.refused = 2;
  Control().ClearScripts();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetDifferences().Count() == 0; }));
  EXPECT_EQ(Retry(), "The kernel is asked again now for 2 routes\n");
  EXPECT_EQ(m_count, 2u);
  EXPECT_EQ(Retry("10.9.0.0/16"), "The kernel is asked again now for 2 routes of 10.9.0.0/16\n");
  EXPECT_THAT(m_asked, ElementsAre("10.9.0.0/16", "all", "10.9.0.0/16"));
  m_kernel.rules.refused = 1;
  EXPECT_EQ(Retry(), "The kernel is asked again now for 2 routes and 1 rule\n");
  EXPECT_EQ(m_count, 3u);
  m_kernel.refused = 0;
  EXPECT_EQ(Retry(), "The kernel is asked again now for 1 rule\n");
}

TEST_F(RefusalsInAll, AreAskedForAgainBesideTheStacks) {
  StartWithARefusedRoute();
  m_kernel.refused = 1;
  EXPECT_EQ(Retry(), "1 row is asked for again now\nThe kernel is asked again now for 1 route\n");
  EXPECT_EQ(m_count, 2u);
}

}  // namespace
