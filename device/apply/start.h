// What a device is started with: the folder or a revision.
#ifndef DEVICE_APPLY_START_H
#define DEVICE_APPLY_START_H

#include <string>

#include "device/documents/config_folder.h"
#include "history.h"

namespace apply {

/// What a start has chosen, and why.
struct Choice {
  enum class Why {
    FOLDER,       // the folder, which is new or has changed
    SAME,         // the folder, which says what the revision in force says
    ERRORS,       // the revision in force: the folder has errors
    UNDONE,       // the revision in force: what the folder says was undone
    UNCONFIRMED,  // the revision before the one in force, which was not confirmed
    NOTHING       // there is nothing that could be taken
  };
  Why why = Why::FOLDER;
  unsigned int revision = 0;     // whose documents are taken; 0 for the folder's
  documents::Findings findings;  // of what is not taken
};

/// Reads what the device is to be started with. With a revision in force, a folder with errors,
/// without a file of the revision (outside remote/) or without any document is not taken, but that
/// revision. With `isFresh` the folder is taken, whatever was in force. Reads files: for the thread
/// pool.
Choice ReadForStart(const documents::ConfigFolder& folder,
                    const documents::ConfigFolder::Options& howToRead, const History& history,
                    bool isFresh, documents::Reading& reading);

/// Why it is not the folder that is in force, for an operator; empty if it is.
std::string DescribeChoice(const Choice& choice);

/// Reads a revision for a device in which `inForce` is in force. A revision that does not say any
/// more what it said has an error. For the thread pool.
documents::Reading ReadRevision(const History& history, const revisions::Revision& revision,
                                const documents::ConfigFolder::Options& howToRead,
                                const documents::Folder& inForce);

}  // namespace apply

#endif
