// Which value goes where: parameters, their names, positions and the exclusions of a procedure call.
#include <string>
#include <utility>
#include <vector>

#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/string_utils.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxutils::WriteLockGuard;

}  // namespace

void SQLRequest::GenerateParameterList(const std::vector<std::string>& texts) {
    const WriteLockGuard guard(lock);
    // A list that binds by name refuses parameters without one, and a script has no names.
    parameters->SetBindMethod(ParameterList::BindByOrdinal);
    for (std::string text : texts) {
        qxutils::StringUtils::StringTrim(text);
        Parameter parameter(Column::BindString, DataType::DirectionIn, 0, 0);
        if (text == "?") {
            parameter.SetDirection(DataType::DirectionOut);
            parameter.SetNull();
        } else if (qxutils::StringUtils::StringICmp(text, "NULL") == 0) {
            parameter.SetNull();
        } else {
            parameter.Set(text);
        }
        parameters->PushBack(parameter);
    }
}

}  // namespace qxdbsqlengine
