// Statement settings that a caller prepares and a request hands to each of its statements.
#pragma once

#include <map>

#include "platform/export.h"
#include "platform/qxdb/statement.h"

namespace qxdbsqlengine {

// Remembers which settings were made, so that a setting never made is never touched on the statement. A
// value: filled by the caller before a run, one thread at a time.
class QXSENG2_API RequestStatementProperties : public qxdb::StatementProperties {
  public:
    RequestStatementProperties();
    RequestStatementProperties(const RequestStatementProperties&);
    RequestStatementProperties& operator=(const RequestStatementProperties&);
    ~RequestStatementProperties() override;

    // An object without any setting, to be passed where nothing is wanted.
    static const RequestStatementProperties& Empty();

    // Rows that a statement returns at most.
    void SetMaxRows(unsigned int rows) override;
    void SetNoScan(bool newNoScan) override;
    // Seconds.
    void SetTimeout(unsigned int seconds) override;
    void SetDescribeOnly(bool newDescribeOnly) override;
    void SetExclusionIndex(const std::map<unsigned int, unsigned int>& exclusion) override;
    void SetProcParamCount(unsigned int count) override;
    void SetShowReturnCode(bool show) override;
    // Always false: this is a record, and no statement stands behind it.
    bool SupportsProperty(Capabilities capability) override;

    // Makes the settings that were made here on `target`, in the order above. Throws what its setters throw.
    void ApplyProperties(qxdb::StatementProperties& target) const;

  private:
    unsigned int maxRows = 0;
    bool noScan = false;
    unsigned int timeout = 0;
    bool describeOnly = false;
    std::map<unsigned int, unsigned int> exclusionIndex;
    unsigned int procParamCount = 0;
    bool showReturnCode = false;
    unsigned int setMask = 0;  // one bit of Capabilities for each setting made
};

}  // namespace qxdbsqlengine
