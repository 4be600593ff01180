// The module that the library's component objects count against.
#pragma once

#include "platform/export.h"
#include "platform/os/component.h"

// One object, with the library's life. Any thread.
class QXSENG2_API CQXDBSQLModule : public qxos::ComponentModule {
  public:
    static CQXDBSQLModule& Instance();

    CQXDBSQLModule(const CQXDBSQLModule&) = delete;
    CQXDBSQLModule& operator=(const CQXDBSQLModule&) = delete;

  private:
    CQXDBSQLModule() = default;
};

// What the operating system knows the loaded library by: the address at which it was loaded.
QXSENG2_API void* QXDBSQLEngine_GetInstanceHandle();
