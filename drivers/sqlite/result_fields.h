// Fields of a result: one class for each kind of column.
#pragma once

#include <memory>
#include <string>

#include "drivers/sqlite/run.h"
#include "platform/qxdb/field.h"

namespace qxdrivers::sqlite {

// The field of a column of a run; with `asString` it reads every value as text. It keeps the run alive, and
// reads as NULL when the run is over.
std::unique_ptr<qxdb::Field> MakeResultField(const std::shared_ptr<Run>& run, int column, bool asString);

}  // namespace qxdrivers::sqlite
