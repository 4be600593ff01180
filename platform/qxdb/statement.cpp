#include "platform/qxdb/statement.h"

#include <utility>

#include "platform/qxdb/driver.h"
#include "platform/qxdb/null_handle.h"

namespace qxdb {

StatementProperties::~StatementProperties() = default;

Statement::Statement() = default;
Statement::Statement(std::shared_ptr<StatementImpl> target) : impl(std::move(target)) {}
Statement::~Statement() = default;
Statement::Statement(const Statement&) = default;
Statement& Statement::operator=(const Statement&) = default;

void Statement::SetStatement(const std::string& sql) {
    Target(impl, "statement").SetStatement(sql);
}

void Statement::Prepare(const std::string& sqlOrProcedureName, PrepareType type) {
    Target(impl, "statement").Prepare(sqlOrProcedureName, type);
}

bool Statement::Execute() {
    return Target(impl, "statement").Execute();
}

bool Statement::ResultSetAvailable() {
    return Target(impl, "statement").ResultSetAvailable();
}

Cursor Statement::GetResults(unsigned int, const std::string&) {
    return Cursor(Target(impl, "statement").GetResults());
}

BindValue Statement::Bind() {
    return BindValue(Target(impl, "statement").Bind());
}

Schema Statement::GetBindHint() {
    return Target(impl, "statement").GetBindHint();
}

void Statement::SetBindHint(Schema& schema) {
    Target(impl, "statement").SetBindHint(schema);
}

StatementProperties& Statement::GetProperties() {
    return Target(impl, "statement").GetProperties();
}

void Statement::Cancel() {
    if (impl) {
        impl->Cancel();
    }
}

}  // namespace qxdb
