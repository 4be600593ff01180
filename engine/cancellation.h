// How a cancelled run ends.
#pragma once

#include "platform/export.h"

namespace qxdbsqlengine {

// Ends a run that was cancelled. It carries nothing and has no base, so that no handler of failures takes it
// for one; thrown and caught by value. Only Request::CheckCancelled throws it.
class QXSENG2_API CancelledException {};

}  // namespace qxdbsqlengine
