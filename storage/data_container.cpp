#include "storage/data_container.h"

#include "platform/qxutils/lock_guard.h"

namespace qxdbsqlengine {

using IndexGuard = qxutils::LockGuard<SQLEngineCriticalSection>;

DataContainer::DataContainer() : nextIndexId(0), indexCount(0) {}

DataContainer::~DataContainer() = default;

int DataContainer::CreateNewIndex() {
    const IndexGuard guard(indexLock);
    ++indexCount;
    return nextIndexId++;
}

int DataContainer::CreateNewIndexAsCopyOfIndex(int) {
    return DataContainer::CreateNewIndex();
}

bool DataContainer::DestroyIndex(int) {
    const IndexGuard guard(indexLock);
    return --indexCount == 0;
}

void DataContainer::CleanUp() {}

EditableDataContainer::~EditableDataContainer() = default;

}  // namespace qxdbsqlengine
