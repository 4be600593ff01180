// What a driver implements. The handles of connection.h, statement.h, cursor.h and bind_value.h forward here.
//
// To add a driver: derive Driver and the five implementation classes, derive Field for each kind of value,
// and hand one Driver object to Manager::RegisterDriver. No file of the library changes. Objects are shared
// by counted pointers: a cursor keeps its statement alive and a statement its connection, whatever the caller
// drops first. Everything runs on the thread that uses the connection, but StatementImpl::Cancel; and a
// statement goes on the thread of its cancel when that took longer than the library waits for it (2 seconds).
#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/bind_value.h"
#include "platform/qxdb/callback.h"
#include "platform/qxdb/connection.h"
#include "platform/qxdb/field.h"
#include "platform/qxdb/lob_locator.h"
#include "platform/qxdb/manager.h"
#include "platform/qxdb/schema.h"
#include "platform/qxdb/statement.h"
#include "platform/qxdb/types.h"

namespace qxdb {

// Storage that a caller bound to a parameter; stays the caller's.
using BoundStorage = std::variant<short*, int*, long*, __int64*, float*, double*, BufferBase*, Timestamp*,
                                  BasicFixedString<char>, FixedDecimal>;

class QXSENG2_API BindValueImpl {
  public:
    virtual ~BindValueImpl();
    virtual Schema GetSchema() = 0;
    virtual void SetIsUnicodeInstance(bool isUnicode);
    virtual unsigned int GetNextBind();
    // The default refuses with Errors.
    virtual void Bind(DataType::Direction direction, unsigned int ordinal, const BoundStorage& value,
                      long* indicator);
    // One field for each column that is not excluded, in order.
    virtual std::vector<std::unique_ptr<Field>> MakeFields(bool bindAsStrings,
                                                           const ExclusionIndex& exclusion) = 0;
};

class QXSENG2_API CursorImpl {
  public:
    virtual ~CursorImpl();
    virtual bool Fetch() = 0;
    virtual std::shared_ptr<BindValueImpl> Bind() = 0;
    virtual bool IsComputeResultSet();
    virtual unsigned int GetRowCount() = 0;
    // The default is an empty locator.
    virtual LobLocator GetLocator(unsigned int fieldIndex, const std::string& tableName,
                                  const std::string& sqlText, const std::string& whereClause,
                                  bool useSpecificImpl);
};

class QXSENG2_API StatementImpl {
  public:
    virtual ~StatementImpl();
    virtual void SetStatement(const std::string& sql) = 0;
    virtual void Prepare(const std::string& sqlOrProcedureName, Statement::PrepareType type) = 0;
    virtual bool Execute() = 0;
    virtual bool ResultSetAvailable() = 0;
    virtual std::shared_ptr<CursorImpl> GetResults() = 0;
    virtual std::shared_ptr<BindValueImpl> Bind() = 0;
    virtual Schema GetBindHint() = 0;
    virtual void SetBindHint(const Schema& schema) = 0;
    virtual StatementProperties& GetProperties() = 0;
    // Any thread; must not throw.
    virtual void Cancel() noexcept = 0;
};

class QXSENG2_API ConnectionImpl {
  public:
    virtual ~ConnectionImpl();
    virtual double GetServerVersionNumber() const = 0;
    // The default can't tell.
    virtual DBTYPE GetServerType() const;
    virtual bool HasUnicodeSupport() const = 0;
    virtual ConnectionProperties& GetProperties() = 0;
    virtual void SetCallback(Callback* callback) = 0;
    virtual std::shared_ptr<StatementImpl> CreateStatement() = 0;
    // Null where the server has no configuration to read, which is the default.
    virtual std::shared_ptr<ConfigurationParametersImpl> GetConfigurationParameters();
};

class QXSENG2_API Driver {
  public:
    virtual ~Driver();
    // The name in front of the colon of a connection text, such as "sqlite".
    virtual std::string GetName() const = 0;
    // True when connections of this server type go to this driver if none is named.
    virtual bool Serves(DBTYPE type) const = 0;
    // Throws Errors.
    virtual std::shared_ptr<ConnectionImpl> Connect(const ConnectionDef& definition) = 0;
};

}  // namespace qxdb
