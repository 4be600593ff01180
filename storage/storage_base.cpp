#include "storage/storage_base.h"

namespace qxdbsqlengine {

template class StorageBase<char, int, 65536>;
template class StorageBase<short, int, 65536>;
template class StorageBase<int, int, 65536>;
template class StorageBase<long, int, 65536>;
template class StorageBase<__int64, int, 65536>;
template class StorageBase<float, int, 65536>;
template class StorageBase<double, int, 65536>;
template class StorageBase<ResultsTimestamp, int, 65536>;
template class StorageBase<char, __int64, 65536>;
template class StorageBase<__int64, __int64, 65536>;

}  // namespace qxdbsqlengine
