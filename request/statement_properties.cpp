#include "request/statement_properties.h"

namespace qxdbsqlengine {

RequestStatementProperties::RequestStatementProperties() = default;
RequestStatementProperties::RequestStatementProperties(const RequestStatementProperties&) = default;
RequestStatementProperties& RequestStatementProperties::operator=(const RequestStatementProperties&) =
    default;
RequestStatementProperties::~RequestStatementProperties() = default;

const RequestStatementProperties& RequestStatementProperties::Empty() {
    static const RequestStatementProperties empty;
    return empty;
}

void RequestStatementProperties::SetMaxRows(unsigned int rows) {
    maxRows = rows;
    setMask |= CapabilityMaxRows;
}

void RequestStatementProperties::SetNoScan(bool newNoScan) {
    noScan = newNoScan;
    setMask |= CapabilityNoScan;
}

void RequestStatementProperties::SetTimeout(unsigned int seconds) {
    timeout = seconds;
    setMask |= CapabilityTimeout;
}

void RequestStatementProperties::SetDescribeOnly(bool newDescribeOnly) {
    describeOnly = newDescribeOnly;
    setMask |= CapabilityDescribeOnly;
}

void RequestStatementProperties::SetExclusionIndex(const std::map<unsigned int, unsigned int>& exclusion) {
    exclusionIndex = exclusion;
    setMask |= CapabilityExclusionIndex;
}

void RequestStatementProperties::SetProcParamCount(unsigned int count) {
    procParamCount = count;
    setMask |= CapabilityProcParamCount;
}

void RequestStatementProperties::SetShowReturnCode(bool show) {
    showReturnCode = show;
    setMask |= CapabilityShowReturnCode;
}

bool RequestStatementProperties::SupportsProperty(Capabilities) {
    return false;
}

void RequestStatementProperties::ApplyProperties(qxdb::StatementProperties& target) const {
    if (setMask & CapabilityMaxRows)
        target.SetMaxRows(maxRows);
    if (setMask & CapabilityNoScan)
        target.SetNoScan(noScan);
    if (setMask & CapabilityTimeout)
        target.SetTimeout(timeout);
    if (setMask & CapabilityDescribeOnly)
        target.SetDescribeOnly(describeOnly);
    if (setMask & CapabilityExclusionIndex)
        target.SetExclusionIndex(exclusionIndex);
    if (setMask & CapabilityProcParamCount)
        target.SetProcParamCount(procParamCount);
    if (setMask & CapabilityShowReturnCode)
        target.SetShowReturnCode(showReturnCode);
}

}  // namespace qxdbsqlengine
