#include "platform/qxdb/driver.h"

#include "platform/qxdb/null_handle.h"
#include "platform/qxsplt/error_record.h"
#include "platform/qxsplt/errors.h"

namespace qxdb {

void ThrowText(const std::string& text) {
    Errors errors;
    errors.AddRecord(ErrorRecord(2, 0, 0, 0, text, std::string(), nullptr));
    throw errors;
}

BindValueImpl::~BindValueImpl() = default;

void BindValueImpl::SetIsUnicodeInstance(bool) {}

unsigned int BindValueImpl::GetNextBind() {
    return 1;
}

void BindValueImpl::Bind(DataType::Direction, unsigned int ordinal, const BoundStorage&, long*) {
    ThrowText("Storage can't be bound at position " + std::to_string(ordinal) + " of this binding");
}

CursorImpl::~CursorImpl() = default;

bool CursorImpl::IsComputeResultSet() {
    return false;
}

LobLocator CursorImpl::GetLocator(unsigned int, const std::string&, const std::string&, const std::string&,
                                  bool) {
    return LobLocator();
}

StatementImpl::~StatementImpl() = default;

ConnectionImpl::~ConnectionImpl() = default;

DBTYPE ConnectionImpl::GetServerType() const {
    return DBTYPE_UNSET;
}

std::shared_ptr<ConfigurationParametersImpl> ConnectionImpl::GetConfigurationParameters() {
    return nullptr;
}

Driver::~Driver() = default;

}  // namespace qxdb
