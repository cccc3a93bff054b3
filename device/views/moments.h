// Moments and spans of time, as views write them.
#ifndef DEVICE_VIEWS_MOMENTS_H
#define DEVICE_VIEWS_MOMENTS_H

#include <cstdint>
#include <string>

namespace views {

/// Of milliseconds since the epoch: "2026-11-22T10:15:00.123Z".
std::string DescribeMoment(std::int64_t milliseconds);

/// When it was by the clock, in seconds since the epoch, that another clock told the second `then`.
/// `now` and `clock` are what the two tell at the same moment, in milliseconds. Their seconds do not
/// begin together: this is the same whenever it is asked, except in the first second, and neither to
/// come nor before what led to it.
std::int64_t FindSecond(std::uint64_t then, std::uint64_t now, std::int64_t clock);

/// Of seconds, in eight characters or a little more: "00:01:05", "1d02h03m", "02w3d04h".
std::string DescribeSpan(std::uint64_t seconds);

}  // namespace views

#endif
