// The machine's links and their addresses, as the kernel has them.
#ifndef DEVICE_KERNEL_LINK_WATCH_H
#define DEVICE_KERNEL_LINK_WATCH_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "channel_poll.h"
#include "device/loop/loop_handles.h"
#include "link.h"
#include "netlink_socket.h"

namespace kernel {

/// Knows all links of the network namespace. It hears what changes, and reads everything again when
/// something was lost (an overrun), when it is asked to, and every ten minutes. What a reading shows
/// that nobody had told is taken like any news, and counted.
///
/// Belongs to the loop's thread; calls back from the loop only.
class LinkWatch {
 public:
  using Log = std::function<void(const std::string& line)>;

  /// `open` throws std::runtime_error if there is no way to the kernel, and so does the constructor
  /// then. `changed` is called when TakeChanged has something and no reading is under way, which shows
  /// what comes before what goes; once for what one turn has brought. And it is called when all links
  /// have been read for the first time.
  /// The first reading is begun.
  LinkWatch(uv_loop_s* loop, const OpenChannel& open, Log log, std::function<void()> changed);
  LinkWatch(const LinkWatch&) = delete;
  LinkWatch& operator=(const LinkWatch&) = delete;
  ~LinkWatch();

  /// Ends the first reading inside this call, as long as the kernel answers, but not longer than a
  /// second: at a start nobody waits for the loop, and everything that follows needs the links.
  void ReadNow();

  /// By index.
  using Links = std::map<std::uint32_t, Link>;
  const Links& GetLinks() const { return m_links; }
  /// The indexes of at most so many links that have come, changed or gone and have not been taken.
  std::vector<std::uint32_t> TakeChanged(std::size_t most);
  bool HasChanged() const { return !m_changed.empty(); }

  /// Reads everything from now on. `done` is called when that is over, from the loop, with how many
  /// links and addresses nobody had told of, or nothing if they could not be read; not if the object
  /// goes before.
  void Compare(std::function<void(std::optional<std::size_t> untold)> done);

  /// Whether all links have been read once.
  bool HasRead() const { return m_hasRead; }
  /// Whether a reading is under way.
  bool IsReading() const { return m_readingOf != Reading::NOTHING; }
  /// How often more came from the kernel than the socket holds.
  std::uint64_t CountOverruns() const { return m_overruns; }
  /// How many links and addresses only a reading has shown, or has shown to be gone.
  std::uint64_t CountUntold() const { return m_allUntold; }

 private:
  enum class Reading { NOTHING, LINKS, ADDRESSES };

  void Hear();
  bool HearPacket();
  void Take(const FoundLink& found);
  void Take(const FoundAddress& found);
  void End(std::uint32_t sequence, int error);
  void BeginReading();
  void Read(Reading what);
  void Fail();
  void DropUnseenLinks();
  void TakeSeenAddresses();
  void EndReading(bool isComplete);
  void Change(std::uint32_t index);
  void Untold(bool isByDump);
  void CallBack();

  const Log m_log;
  const std::function<void()> m_hasChanged;
  const std::unique_ptr<Channel> m_channel;
  ChannelPoll m_news;
  loop::Task m_calling;
  loop::Timer m_pause;  // before the next reading
  Links m_links;
  std::set<std::uint32_t> m_changed;
  Reading m_readingOf = Reading::NOTHING;
  std::uint32_t m_dump = 0;  // the sequence number of what is read
  bool m_isLosing = false;   // news, until the socket is empty
  bool m_isToRead = false;   // then
  bool m_isInterrupted = false;
  unsigned int m_interruptions = 0;
  bool m_hasRead = false;  // once
  bool m_hasToldRead = false;
  bool m_hasToldFailure = false;
  // What the present dump has shown, or news since it began.
  std::set<std::uint32_t> m_seenLinks;
  std::map<std::uint32_t, std::vector<LinkAddress>> m_seenAddresses;
  std::size_t m_untold = 0;  // by the present reading
  std::uint64_t m_allUntold = 0;
  std::uint64_t m_overruns = 0;
  using Asker = std::function<void(std::optional<std::size_t>)>;
  std::vector<Asker> m_askers;      // of the present reading
  std::vector<Asker> m_nextAskers;  // of the one after it
};

}  // namespace kernel

#endif
