#include "device/daemon/http_request.h"

#include <gtest/gtest.h>

namespace {

using vantacored::IsRequestComplete;
using vantacored::JudgeRequest;
using vantacored::MakeAnswer;

TEST(HttpRequest, IsCompleteWithAnEmptyLine) {
  EXPECT_TRUE(IsRequestComplete("GET /metrics HTTP/1.0\r\n\r\n"));
  EXPECT_TRUE(IsRequestComplete("GET /metrics HTTP/1.0\n\n"));
  EXPECT_TRUE(IsRequestComplete("GET /metrics HTTP/1.0\n\r\n"));
  EXPECT_TRUE(IsRequestComplete("GET /metrics HTTP/1.0\r\n\n"));
  EXPECT_FALSE(IsRequestComplete("GET /metrics HTTP/1.0\r\n"));
  EXPECT_FALSE(IsRequestComplete("GET /metrics HTTP/1.0\r\nHost: a\r\n\r"));
  EXPECT_FALSE(IsRequestComplete(""));
}

TEST(HttpRequest, IsForTheMetrics) {
  for (const char* request :
       {"GET /metrics HTTP/1.0\r\n\r\n", "GET /metrics HTTP/1.1\r\nHost: a b\r\n\r\n",
        "GET /metrics?a=b HTTP/1.1\n\n", "GET /metrics? HTTP/1.0\r\nGET / HTTP/1.0\r\n\r\n"}) {
    EXPECT_EQ(JudgeRequest(request), 200) << request;
  }
}

TEST(HttpRequest, IsForSomethingElse) {
  for (const char* request : {"GET / HTTP/1.0\r\n\r\n", "GET /metrics/ HTTP/1.0\r\n\r\n",
                              "GET /metricsx HTTP/1.0\r\n\r\n", "GET /?/metrics HTTP/1.0\r\n\r\n",
                              "POST /other HTTP/1.0\r\n\r\n", "GET //metrics HTTP/1.0\r\n\r\n"}) {
    EXPECT_EQ(JudgeRequest(request), 404) << request;
  }
  for (const char* request : {"POST /metrics HTTP/1.0\r\n\r\n", "HEAD /metrics HTTP/1.0\r\n\r\n",
                              "get /metrics HTTP/1.0\r\n\r\n", "GETS /metrics HTTP/1.0\r\n\r\n"}) {
    EXPECT_EQ(JudgeRequest(request), 405) << request;
  }
}

TEST(HttpRequest, IsNone) {
  for (const std::string& request :
       {std::string("\r\n\r\n"), std::string("GET\r\n\r\n"), std::string("GET /metrics\r\n\r\n"),
        std::string("GET  HTTP/1.0\r\n\r\n"), std::string(" /metrics HTTP/1.0\r\n\r\n"),
        std::string("GET /metrics HTTP/2.0\r\n\r\n"), std::string("GET /metrics HTTP/1.0 \r\n\r\n"),
        std::string("GET metrics HTTP/1.0\r\n\r\n"), std::string("GET /metrics x HTTP/1.0\r\n\r\n"),
        std::string("\0GET \0/metrics HTTP\xff\n\n", 22), std::string("   \n\n")}) {
    EXPECT_EQ(JudgeRequest(request), 400) << request;
  }
}

TEST(HttpRequest, IsAnswered) {
  EXPECT_EQ(MakeAnswer(200, "a 1\n"),
            "HTTP/1.0 200 OK\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\n"
            "Content-Length: 4\r\nConnection: close\r\n\r\na 1\n");
  EXPECT_EQ(MakeAnswer(405, "a 1\n"),
            "HTTP/1.0 405 Method Not Allowed\r\nContent-Type: text/plain; charset=utf-8\r\n"
            "Content-Length: 19\r\nAllow: GET\r\nConnection: close\r\n\r\nMethod Not Allowed\n");
  for (const auto& [status, reason] :
       {std::pair(400, "Bad Request"), std::pair(404, "Not Found"),
        std::pair(431, "Request Header Fields Too Large"), std::pair(503, "Service Unavailable")}) {
    EXPECT_EQ(MakeAnswer(status, "").find("HTTP/1.0 " + std::to_string(status) + " " + reason), 0u);
  }
}

}  // namespace
