#include "folder_watch.h"

#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "device/documents/config_folder.h"
#include "device/documents/remote_listing.h"

namespace vantacored {

namespace {

// Without the slash at its end. In a working directory that is gone it stays as it is.
std::filesystem::path PathOf(const std::string& directory) {
  std::error_code problem;
  const std::filesystem::path absolute = std::filesystem::absolute(directory, problem);
  const std::filesystem::path path =
      (problem ? std::filesystem::path(directory) : absolute).lexically_normal();
  return path.has_filename() ? path : path.parent_path();
}

bool Exists(const std::string& path) {
  std::error_code problem;
  return std::filesystem::exists(path, problem);
}

bool IsRemoteDocument(const std::string& name) {
  return name.empty() || (std::filesystem::path(name).extension() == ".json" && name[0] != '.');
}

}  // namespace

FolderWatch::FolderWatch(uv_loop_s* loop, const std::string& directory, Hooks hooks)
    : m_directory(PathOf(directory).string() + "/"),
      m_place(PathOf(directory).parent_path().string()),
      m_name(PathOf(directory).filename().string()),
      m_hooks(std::move(hooks)),
      m_placeWatch(loop),
      m_folderWatch(loop),
      m_remoteWatch(loop),
      m_looking(loop),
      m_quiet("FolderWatch quiet"),
      m_next("FolderWatch look") {
  using Callback = Tarsel::MemberCallback2<FolderWatch, unsigned int, void*>;
  m_quiet.SetCallback(new Callback(this, &FolderWatch::WhenQuiet));
  m_next.SetCallback(new Callback(this, &FolderWatch::WhenToLook));
}

void FolderWatch::Start() {
  m_hasStarted = true;
  WatchPlace();
  WatchFolder();
  m_seen = documents::ReadContent(m_directory);
  m_judged = m_seen.digest;
}

void FolderWatch::Begin() {
  if (m_hasStarted) {
    m_hasBegun = true;
    m_appliedThen = m_hooks.applied();
    m_next.Start(LOOK_MILLISECONDS);
  }
}

// The folder may go, and another one come under its name.
void FolderWatch::WatchPlace() {
  TellProblem(m_placeWatch.Start(m_place, [this](const std::string& name) {
    if (name == m_name) {
      WatchFolder();
      Changed(true);
    }
  }));
}

// Other names are of no interest, but a link of a document may lead to them; since somebody may
// write there all the time, they do not begin the wait anew.
void FolderWatch::WatchFolder() {
  const std::string problem = m_folderWatch.Start(m_directory, [this](const std::string& name) {
    if (name == documents::REMOTE_NAME) {
      WatchRemotes();
    }
    Changed(name == documents::REMOTE_NAME || name == documents::DEVICE_NAME ||
            name == documents::VLANS_NAME);
  });
  if (Exists(m_directory)) {
    TellProblem(problem);
  }
  WatchRemotes();
}

void FolderWatch::WatchRemotes() {
  const std::string path = m_directory + documents::REMOTE_NAME;
  const std::string problem = m_remoteWatch.Start(
      path, [this](const std::string& name) { Changed(IsRemoteDocument(name)); });
  if (Exists(path)) {
    TellProblem(problem);
  }
}

void FolderWatch::TellProblem(const std::string& problem) {
  if (!problem.empty() && problem != m_problem) {
    m_problem = problem;
    m_hooks.complain("Changes of the folder are found late, since it cannot be watched: " +
                     problem);
  }
}

void FolderWatch::Changed(bool isOfADocument) {
  m_isBeingWritten |= isOfADocument;
  if (isOfADocument || !m_isQuietAwaited) {
    m_isQuietAwaited = true;
    m_quiet.Start(QUIET_MILLISECONDS);
  }
}

void FolderWatch::WhenQuiet(unsigned int, void*) {
  m_isQuietAwaited = false;
  m_isDue = true;  // Look knows whether it may be looked at now
  Look();
}

void FolderWatch::WhenToLook(unsigned int, void*) {
  m_next.Start(LOOK_MILLISECONDS);
  if (!m_looking.IsUnderWay()) {
    WatchPlace();
    LookAtFolder(false);
  }
}

// It is watched first, so that what changes while it is read is told.
void FolderWatch::LookAtFolder(bool isQuiet) {
  m_isDue = m_isDue && !isQuiet;
  m_isBeingWritten = false;
  WatchFolder();
  const auto content = std::make_shared<documents::FolderContent>();
  const auto differs = std::make_shared<bool>(true);
  m_looking.Start(
      [content, differs, directory = m_directory, before = m_seen,
       check = m_hooks.makeFolderCheck()] {
        *content = documents::ReadContent(directory, before);
        *differs = check();
      },
      [this, content, differs, isQuiet](const std::optional<std::string>& problem) {
        if (!problem) {
          Seen(*content, *differs, isQuiet);
        }
      });
}

// A look that nothing has led to may have met somebody who is writing.
void FolderWatch::Seen(const documents::FolderContent& content, bool differs, bool isQuiet) {
  m_seen = content;
  if (isQuiet && !m_isBeingWritten) {
    LookAfterRefusal();
  }
  if (m_seen.digest == m_judged && m_hooks.applied() == m_appliedThen) {
    return;
  }
  if (!isQuiet) {
    Changed(false);
  } else if (m_hooks.isOnTrial()) {
    m_isDue = true;
  } else if (!m_isBeingWritten) {
    Judge(differs);
  }
}

// What was refused may have stood there in between only.
void FolderWatch::LookAfterRefusal() {
  if (m_refused && !std::exchange(m_refused, std::nullopt)->LooksLike(m_seen)) {
    m_judged = {};
  }
}

void FolderWatch::Judge(bool differs) {
  const documents::Digest before = std::exchange(m_judged, m_seen.digest);
  m_appliedThen = m_hooks.applied();
  const std::optional<documents::Digest> undone = m_hooks.undone();
  // A folder that says what is in force, after one that was undone: the reload, which changes nothing,
  // forgets what was undone, so that it counts when it comes again.
  if (undone ? *undone == m_seen.digest : !differs) {
    return;
  }
  m_hooks.reload([this, before, met = m_seen](bool hasPassed) {
    if (hasPassed && m_hooks.applied() == m_judged) {
      m_appliedThen = m_judged;
    } else if (!hasPassed && m_hooks.isOnTrial()) {  // somebody was quicker
      m_judged = before;
      m_isDue = true;
    } else if (!hasPassed) {
      m_refused = met;
      m_isDue = m_isDue || !m_isQuietAwaited;
    }
  });
}

}  // namespace vantacored
