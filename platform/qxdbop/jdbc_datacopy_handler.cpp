#include "platform/qxdbop/jdbc_datacopy_handler.h"

#include <mutex>
#include <utility>

namespace qxdbop {

namespace {

struct Registry {
    std::mutex mutex;
    DatacopyFactory factory;
};

Registry& GetRegistry() {
    static Registry registry;
    return registry;
}

DatacopyFactory CurrentFactory() {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.mutex);
    return registry.factory;
}

}  // namespace

DatacopyImpl::~DatacopyImpl() = default;

void RegisterDatacopy(DatacopyFactory factory) {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.mutex);
    registry.factory.swap(factory);
}

JDBCDatacopyHandler::JDBCDatacopyHandler(const ServerIdentifier& server) {
    if (const DatacopyFactory factory = CurrentFactory())
        impl = factory(server);
}

JDBCDatacopyHandler::~JDBCDatacopyHandler() = default;

DatacopyImpl& JDBCDatacopyHandler::Impl() {
    if (!impl)
        throw JavaError("Data copy is not possible: no data-operations library is registered.");
    return *impl;
}

void JDBCDatacopyHandler::init(const JavaString& command) {
    Impl().Init(command);
}

void JDBCDatacopyHandler::run() {
    Impl().Run();
}

}  // namespace qxdbop
