// A revision in JSON.
#ifndef DEVICE_VIEWS_REVISION_JSON_H
#define DEVICE_VIEWS_REVISION_JSON_H

#include "device/revisions/revision.h"
#include "json.h"

namespace views {

/// A value of its own.
void AddRevision(Json& json, const revisions::Revision& revision);

}  // namespace views

#endif
