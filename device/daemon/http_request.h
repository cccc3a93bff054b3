// The little that is understood of HTTP.
#ifndef DEVICE_DAEMON_HTTP_REQUEST_H
#define DEVICE_DAEMON_HTTP_REQUEST_H

#include <string>
#include <string_view>

namespace vantacored {

/// Whether the head of a request is complete: an empty line has come.
bool IsRequestComplete(std::string_view received);

/// The status that a complete request is answered with: 200 for `GET /metrics`, else 400, 404 or
/// 405. Nothing of the request except its first line counts.
int JudgeRequest(std::string_view request);

/// The whole answer. `body` is that of status 200; the others say in a line what they mean.
std::string MakeAnswer(int status, const std::string& body);

}  // namespace vantacored

#endif
