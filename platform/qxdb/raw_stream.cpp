#include "platform/qxdb/raw_stream.h"

namespace qxdb {

RawStream::~RawStream() = default;

}  // namespace qxdb
