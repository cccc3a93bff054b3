// How the protocols' rows stand in the stack, and how the host asks for them once more.
//
// The routers send a row when its document changes, and again when the stack asks for a retry: ten
// requests in all, a tenth of a second between two. After that, and after any other refusal, they
// send nothing more. A host that compares what is wanted with what the stack has finds the rows
// here that documents configure, those that the routers have asked the stack to remove, and those
// that they have left behind: when a protocol is withdrawn or disabled, its router drops its rows
// without a word to the stack. The routers themselves never ask for the removal of these.
//
// Everything is called on the thread of the loop. The rows change with documents, answers and the
// routers' timer; none of these functions changes which there are, except that NextRow forgets
// those that were left behind and have gone when it is asked for the first one. None calls the stack
// for more than its getters.
#ifndef DEVICE_ROUTERS_ROW_UPKEEP_H
#define DEVICE_ROUTERS_ROW_UPKEEP_H

#include <cstddef>
#include <functional>
#include <optional>

#include "row_name.h"
#include "tarsel/export.h"

namespace routers {

/// How a row stands.
struct RowStanding {
  /// What the stack has.
  enum class Contents {
    AS_WANTED,  // also: not wanted, and not there
    MISSING,
    OTHER,    // another content or another admin status
    UNWANTED  // the removal was asked for, or nobody wants the row any more, and it is there
  };
  /// What is on its way.
  enum class Request {
    NONE,
    ASKED,  // the latest request has not been answered; if it never is, this stays
    DUE     // the next request will be made, or the row will be forgotten if it has gone
  };

  Contents contents = Contents::AS_WANTED;
  Request request = Request::NONE;
  /// The status of the latest answer if that was not a success, else 0.
  unsigned int status = 0;
};

/// How many rows documents want.
TARSEL_API std::size_t CountWantedRows();

/// Whether a document wants the row.
TARSEL_API bool IsRowWanted(const RowName& name);

/// The first row after `last`, which need not be there any more, or the very first for a null
/// pointer; nothing at the end.
TARSEL_API std::optional<RowName> NextRow(const RowName* last);

/// Of a row that the routers do not know: AS_WANTED, NONE.
TARSEL_API RowStanding LookAtRow(const RowName& name);

/// The row is asked for, or its removal, as soon as the routers' timer allows. The attempts begin
/// anew. A request that has not been answered is given up, so call it only if the stack has none
/// for this row any more.
TARSEL_API void AskForRowAgain(const RowName& name);

/// How many rows are ASKED or DUE, of those for which `counts` returns true. The cost grows with
/// the rows that are.
TARSEL_API std::size_t CountRowsUnderWay(
    const std::function<bool(const RowName& name, RowStanding::Request request)>& counts);

}  // namespace routers

#endif
