#include "http_request.h"

#include "device/views/exposition.h"

namespace vantacored {

namespace {

constexpr std::string_view PATH = "/metrics";

const char* ReasonOf(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 431:
      return "Request Header Fields Too Large";
    case 503:
      return "Service Unavailable";
    default:
      return "Bad Request";
  }
}

bool IsVersion(std::string_view text) { return text == "HTTP/1.0" || text == "HTTP/1.1"; }

}  // namespace

// Lines may end without a carriage return, each for itself.
bool IsRequestComplete(std::string_view received) {
  return received.find("\n\r\n") != std::string_view::npos ||
         received.find("\n\n") != std::string_view::npos;
}

int JudgeRequest(std::string_view request) {
  std::string_view line = request.substr(0, request.find('\n'));
  if (!line.empty() && line.back() == '\r') {
    line.remove_suffix(1);
  }
  const std::size_t first = line.find(' ');
  const std::size_t last = line.rfind(' ');
  if (first == std::string_view::npos || first == 0 || first == last ||
      !IsVersion(line.substr(last + 1))) {
    return 400;
  }
  const std::string_view target = line.substr(first + 1, last - first - 1);
  if (target.empty() || target.front() != '/' || target.find(' ') != std::string_view::npos) {
    return 400;
  }
  if (target.substr(0, target.find('?')) != PATH) {
    return 404;
  }
  return line.substr(0, first) == "GET" ? 200 : 405;
}

std::string MakeAnswer(int status, const std::string& body) {
  const std::string reason = ReasonOf(status);
  const std::string content = status == 200 ? body : reason + "\n";
  std::string answer = "HTTP/1.0 " + std::to_string(status) + ' ' + reason + "\r\nContent-Type: ";
  answer += status == 200 ? views::EXPOSITION_TYPE : "text/plain; charset=utf-8";
  answer += "\r\nContent-Length: " + std::to_string(content.size()) + "\r\n";
  answer += status == 405 ? "Allow: GET\r\n" : "";
  answer += "Connection: close\r\n\r\n";
  return answer + content;
}

}  // namespace vantacored
