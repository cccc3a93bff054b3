#include "channel_poll.h"

#include <uv.h>

#include <utility>

namespace kernel {

ChannelPoll::ChannelPoll(uv_loop_s* loop, const Channel& channel, std::function<void()> readable)
    : m_poll(loop, channel.GetDescriptor()), m_readable(std::move(readable)) {
  Watch();
}

void ChannelPoll::Watch() {
  m_poll.Start(UV_READABLE, [this](int events) {
    if (events < 0) {
      Watch();
    }
    m_readable();
  });
}

}  // namespace kernel
