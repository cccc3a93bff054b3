// The answer to `version`.
#ifndef DEVICE_VIEWS_VERSION_VIEW_H
#define DEVICE_VIEWS_VERSION_VIEW_H

#include "host.h"
#include "questions.h"

namespace views {

AnyView ShowVersion(const Host& host, Format format);

}  // namespace views

#endif
