#include "batch/batch_limits.h"

namespace qxbatch {

Limits limits{300000, 4096, std::size_t{16} << 20};

}  // namespace qxbatch
