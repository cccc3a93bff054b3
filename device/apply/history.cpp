#include "history.h"

#include <cctype>
#include <ctime>
#include <utility>

#include "device/documents/digest.h"

namespace apply {

using documents::Digest;
using revisions::Revision;
using revisions::State;

namespace {

// "undo to revision 3 by alice at the socket".
std::string DescribeOrigin(const Revision& revision) {
  std::string text = revisions::WordOf(revision.cause);
  if (revision.of != 0) {
    text += " to revision " + std::to_string(revision.of);
  }
  return revision.asker.empty() ? text : text + " by " + revision.asker;
}

}  // namespace

const char* const FOLDER_DIFFERS =
    "The folder differs from what is in force: what it says was undone";

std::string DescribeTime(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm parts{};
  char text[64] = "";
  if (gmtime_r(&time, &parts) != nullptr) {
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%SZ", &parts);
  }
  return text;
}

History::History(Place&& place)
    : m_store(std::move(place.store)),
      m_reason(std::move(place.reason)),
      m_isExpected(place.isExpected),
      m_clock(std::move(place.clock)) {
  if (m_store) {
    m_state = m_store->GetState();
  }
}

const Revision* History::Find(unsigned int number) const {
  return m_store ? m_store->Find(number) : nullptr;
}

const Revision* History::FindBefore(unsigned int back) const {
  if (!m_store) {
    return nullptr;
  }
  const unsigned int from = m_inForce != 0 ? m_inForce : m_store->GetLast() + 1;
  return back < from ? m_store->Find(from - back) : nullptr;
}

std::set<std::string> History::FindExpected(unsigned int number) const {
  std::set<std::string> expected;
  for (const char* name : {documents::DEVICE_NAME, documents::VLANS_NAME}) {
    if (documents::LookAt(m_store->PathOf(number) + "/" + name)) {
      expected.insert(name);
    }
  }
  return expected;
}

// The folder goes on differing from what is in force until its content is in force again.
std::optional<Digest> History::UndoneWith(const Cause& cause, const Digest& digest) const {
  if (cause.of == 0) {
    return std::nullopt;
  }
  std::optional<Digest> folder = m_state.undone ? m_state.undone : m_applied;
  if (!folder && m_state.unconfirmed) {  // of the last daemon
    const Revision* const revision = Find(m_state.unconfirmed->revision);
    folder = revision == nullptr ? std::nullopt : std::optional(revision->digest);
  }
  if (!folder && m_inForce != 0) {  // the start could not read it
    folder = Find(m_inForce)->digest;
  }
  return folder == digest ? std::nullopt : folder;
}

History::Next History::Prepare(const Cause& cause, const documents::Reading& reading) const {
  Next next = PrepareNone(cause, reading);
  Revision& revision = next.revision;
  next.isNew = true;
  revision.number = (m_store ? m_store->GetLast() : 0) + 1;
  for (const auto& [name, stamp] : reading.folder.stamps) {
    const auto text = reading.texts.find(name);
    next.documents.push_back(
        {name, stamp.size, stamp.digest, text == reading.texts.end() ? nullptr : text->second});
  }
  next.state.inForce = revision.number;
  next.state.undone = UndoneWith(cause, revision.digest);
  next.state.unconfirmed.reset();
  if (m_state.undone == revision.digest) {  // what was undone is in force again
    next.folder = revision.digest;
  }
  if (cause.confirmSeconds != 0) {
    next.state.unconfirmed = revisions::Unconfirmed{
        revision.number, m_inForce, revision.time + cause.confirmSeconds, cause.asker};
  }
  return next;
}

History::Next History::PrepareNone(const Cause& cause, const documents::Reading& reading) const {
  Next next;
  next.isNew = false;
  next.revision.time = m_clock ? m_clock() : 0;
  next.revision.cause = cause.cause;
  next.revision.of = cause.of;
  next.revision.asker = cause.asker;
  next.revision.change = cause.change;
  next.revision.digest = documents::DigestOf(reading.folder);
  next.state = m_state;
  if (cause.of == 0) {
    next.state.undone.reset();
    next.folder = next.revision.digest;
  }
  return next;
}

History::Next History::PrepareToGoOn(const documents::Reading& reading, bool isFolder) const {
  Next next;
  next.isNew = false;
  next.revision.number = m_state.inForce;
  next.revision.change = "it was in force before";
  next.state = m_state;
  next.state.unconfirmed.reset();
  if (isFolder) {
    next.folder = documents::DigestOf(reading.folder);
    next.state.undone.reset();
  }
  return next;
}

bool History::IsToBeKept(const Next& next) const {
  return IsKept() && (next.isNew || next.state.undone != m_state.undone ||
                      next.state.unconfirmed.has_value() != m_state.unconfirmed.has_value());
}

std::string History::Keep(const Next& next) {
  return next.isNew ? m_store->Keep(next.revision, next.documents, next.state)
                    : m_store->Set(next.state);
}

void History::Take(const Next& next, bool isKept) {
  m_applied = next.folder ? next.folder : m_applied;
  const unsigned int written = isKept ? next.state.inForce : m_state.inForce;
  m_state = next.state;
  m_state.inForce = written;
  if (next.isNew || next.revision.number != 0) {
    m_inForce = isKept || !next.isNew ? next.revision.number : 0;
  }
}

State History::Confirmed() const {
  State state = m_state;
  state.unconfirmed.reset();
  return state;
}

std::vector<std::string> History::List(bool isFolderOther) const {
  std::vector<std::string> lines;
  for (const Revision& revision : m_store->GetRevisions()) {
    const bool isInForce = revision.number == m_inForce;
    std::string number = std::to_string(revision.number);
    number.insert(0, number.size() < 6 ? 6 - number.size() : 0, ' ');
    lines.push_back((isInForce ? "*" : " ") + number + "  " + DescribeTime(revision.time) + "  " +
                    DescribeOrigin(revision) + ": " + revision.change);
  }
  if (m_inForce == 0) {
    lines.push_back("What is in force could not be kept as a revision");
  }
  if (m_state.unconfirmed) {
    lines.push_back("Revision " + std::to_string(m_state.unconfirmed->revision) +
                    " waits for its confirmation until " +
                    DescribeTime(m_state.unconfirmed->until));
  }
  if (m_state.undone && isFolderOther) {
    lines.push_back(FOLDER_DIFFERS);
  }
  return lines;
}

std::string History::Describe(const Next& next, bool isKept) {
  std::string origin = DescribeOrigin(next.revision);
  if (isKept && next.revision.number != 0) {
    origin.insert(0, "Revision " + std::to_string(next.revision.number) + ", ");
  } else {
    origin[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(origin[0])));
  }
  return origin + ": " + next.revision.change;
}

std::vector<std::string> History::Show(const Revision& revision) const {
  return {"Revision " + std::to_string(revision.number) +
              (revision.number == m_inForce ? ", in force" : ""),
          "  made    " + DescribeTime(revision.time), "  by      " + DescribeOrigin(revision),
          "  change  " + revision.change, "  kept    " + m_store->PathOf(revision.number)};
}

}  // namespace apply
