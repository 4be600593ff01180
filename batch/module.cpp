#include "batch/module.h"

#include "platform/os/loaded_module.h"

CQXDBSQLModule& CQXDBSQLModule::Instance() {
    static CQXDBSQLModule module;
    return module;
}

void* QXDBSQLEngine_GetInstanceHandle() {
    return qxos::LoadedModuleAt(reinterpret_cast<const void*>(&QXDBSQLEngine_GetInstanceHandle));
}
