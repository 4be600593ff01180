// A statement on a connection.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/qxdb/bind_value.h"
#include "platform/qxdb/cursor.h"
#include "platform/qxdb/schema.h"
#include "platform/qxdb/types.h"

namespace qxdb {

class StatementImpl;

// Settings of a statement. A driver that has no use for one ignores it and says so by SupportsProperty.
class QXSENG2_API StatementProperties {
  public:
    enum Capabilities : unsigned int {
        CapabilityMaxRows = 1,
        CapabilityNoScan = 2,
        CapabilityTimeout = 4,
        CapabilityDescribeOnly = 8,
        CapabilityExclusionIndex = 16,
        CapabilityProcParamCount = 32,
        CapabilityShowReturnCode = 64
    };

    virtual ~StatementProperties();
    virtual void SetMaxRows(unsigned int rows) = 0;
    virtual void SetNoScan(bool noScan) = 0;
    virtual void SetTimeout(unsigned int seconds) = 0;
    virtual void SetDescribeOnly(bool describeOnly) = 0;
    virtual void SetExclusionIndex(const std::map<unsigned int, unsigned int>& exclusion) = 0;
    virtual void SetProcParamCount(unsigned int count) = 0;
    virtual void SetShowReturnCode(bool show) = 0;
    virtual bool SupportsProperty(Capabilities capability) = 0;
};

// Handle; a copy is another handle on the same statement. Used on one thread, but for Cancel. Failures of the
// server are thrown as Errors.
class QXSENG2_API Statement {
  public:
    enum PrepareType : int { PrepareSQL = 0, PrepareProcedure = 1, PrepareFunction = 2 };

    Statement();
    explicit Statement(std::shared_ptr<StatementImpl> impl);
    ~Statement();
    Statement(const Statement&);
    Statement& operator=(const Statement&);

    // Text for direct execution.
    void SetStatement(const std::string& sql);
    void Prepare(const std::string& sqlOrProcedureName, PrepareType type);
    // Runs what was set or prepared. True when it ran.
    bool Execute();
    // True while a further result can be taken. Throws Errors when the next statement of the text fails.
    bool ResultSetAvailable();
    Cursor GetResults(unsigned int, const std::string&);
    // The parameters of a prepared statement.
    BindValue Bind();
    // The driver's description of the parameters, or the one set by the caller. Set before Prepare.
    Schema GetBindHint();
    void SetBindHint(Schema& schema);
    StatementProperties& GetProperties();
    // Any thread, also while Execute, ResultSetAvailable or Fetch run on the statement's thread, which then
    // throws Errors or ends early. Best effort; does nothing when nothing runs. Never throws.
    void Cancel();

  private:
    std::shared_ptr<StatementImpl> impl;
};

}  // namespace qxdb
