// Which parameter belongs to which position: names, exclusions, and the arguments of calls out of scripts.
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/qx_exception.h"
#include "platform/qxutils/string_utils.h"
#include "platform/resource_loader.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxutils::QXException;
using qxutils::WriteLockGuard;

bool HasAt(const std::string& text, std::size_t position, char character) {
    return position < text.size() && text[position] == character;
}

// Day and month have one or two digits, so the first separator tells how a date is written.
std::string GuessTimestampFormat(const std::string& text) {
    const auto isSeparator = [&text](char character) {
        return HasAt(text, 2, character) || HasAt(text, 1, character);
    };
    if (isSeparator('/'))
        return "MM/dd/yyyy HH:mm:ss.fff";
    if (isSeparator('-'))
        return "MM-dd-yyyy HH:mm:ss.fff";
    if (isSeparator('.'))
        return "dd.MM.yyyy HH:mm:ss.fff";
    return "yyyy-MM-dd HH:mm:ss.fff";
}

}  // namespace

void SQLRequest::ThrowUnknownParameter(const std::string& name) {
    throw QXException(ResourceLoader::LoadString(127) + " : " + name);
}

int SQLRequest::GetParameterIndexByName(const std::string& name) {
    if (!CurrentSchema())
        throw QXException(ResourceLoader::LoadString(128) + " GetParameterIndexByName");
    const auto found = nameMap.find(name);
    return found == nameMap.end() ? -1 : found->second;
}

void SQLRequest::BuildNameMap(const qxdb::Schema& parameterSchema) {
    nameMap.clear();
    for (unsigned int i = 0; i < parameterSchema.GetNumberColumns(); ++i)
        nameMap.emplace(parameterSchema[i].GetName(), static_cast<int>(i));
}

void SQLRequest::BuildNameMap(std::unique_ptr<qxdb::Fields>& fields) {
    nameMap.clear();
    if (!fields)
        return;
    for (unsigned int i = 0; i < fields->GetFieldCount(); ++i)
        nameMap.emplace((*fields)[i].GetName(), static_cast<int>(i));
}

bool SQLRequest::IsStatementWithOutputParameter() {
    if (GetPrepareType() != qxdb::Statement::PrepareSQL)
        return false;
    const std::shared_ptr<const ParameterList> list = CurrentParameters();
    return std::any_of(list->begin(), list->end(), [](const Parameter& parameter) {
        return parameter.GetDirection() != DataType::DirectionIn;
    });
}

bool SQLRequest::IncludeInputParameterOnly() {
    const std::shared_ptr<const ParameterList> list = CurrentParameters();
    return std::none_of(list->begin(), list->end(), [](const Parameter& parameter) {
        return parameter.GetDirection() == DataType::DirectionOut;
    });
}

void SQLRequest::SyncParametersWithSchema(const qxdb::Schema& parameterSchema) {
    unsigned int position = CountUnnamedReturnValues(parameterSchema);
    const WriteLockGuard guard(lock);
    for (Parameter& parameter : *parameters) {
        if (position >= parameterSchema.GetNumberColumns())
            break;
        const Column& column = parameterSchema[position++];
        parameter.SetName(column.GetName());
        parameter.SetDirection(column.GetDirection());
        if (column.GetType() != Column::BindTimestamp)
            continue;
        // The format that these servers report is not the one in which their users write a timestamp.
        const bool isGuessed = dbType == qxdb::DBTYPE_DB2 || dbType == qxdb::DBTYPE_DB2OS390;
        parameter.SetDateTimeFormat(isGuessed ? GuessTimestampFormat(parameter.AsString())
                                              : column.GetDateTimeFormat());
    }
}

void SQLRequest::LookupParameter(Parameter& output) {
    const std::shared_ptr<const ParameterList> list = CurrentParameters();
    const auto found = std::find_if(list->begin(), list->end(), [&output](const Parameter& parameter) {
        return parameter.GetName() == output.GetName();
    });
    if (found != list->end() && found->GetType() == Column::BindTimestamp)
        output.SetDateTimeFormat(found->GetDateTimeFormat());
}

// Both set: the forced binding by ordinal wins.
bool SQLRequest::BindsByName() {
    const std::shared_ptr<const ParameterList> list = CurrentParameters();
    return list->GetBindMethod() == ParameterList::BindByName && !list->GetForceBindByOrdinal();
}

// A call is mostly written without the return value, which the server describes in front of the arguments. 1
// when that is so, and the parameters begin one column behind it; otherwise 0.
unsigned int SQLRequest::CountUnnamedReturnValues(const qxdb::Schema& columns) {
    const unsigned int count = columns.GetNumberColumns();
    const bool hasReturnValue =
        count > 0 && columns[0].GetDirection() == DataType::DirectionOut &&
        (GetPrepareType() == qxdb::Statement::PrepareFunction || GetStartOutputParamIndex() > 0);
    return hasReturnValue && CurrentParameters()->GetParameterCount() < count ? 1 : 0;
}

int SQLRequest::ConvertFieldIndexToParameterIndex(qxdb::Field& field, unsigned int fieldIndex,
                                                  bool inputOnly) {
    if (GetPrepareType() == qxdb::Statement::PrepareSQL)
        return static_cast<int>(fieldIndex);
    const std::shared_ptr<const ParameterList> list = CurrentParameters();
    const std::shared_ptr<const qxdb::Schema> columns = CurrentSchema();
    const unsigned int unnamed = columns ? CountUnnamedReturnValues(*columns) : 0;
    const unsigned int argument = fieldIndex - unnamed;
    if (list->GetForceBindByOrdinal())
        return static_cast<int>(argument);
    int position = 0;
    if (!inputOnly) {
        const std::string name = field.GetName();
        for (const Parameter& parameter : *list) {
            if (parameter.GetName() == name)
                return position;
            ++position;
        }
        return -1;
    }
    unsigned int seen = 0;
    for (const Parameter& parameter : *list) {
        if (HasField(parameter, static_cast<unsigned int>(position) + unnamed))
            ++seen;
        if (seen > argument)
            return position;
        ++position;
    }
    return -1;
}

// An input left to its default has none where the driver leaves it out.
bool SQLRequest::HasField(const Parameter& parameter, unsigned int column) {
    if (!parameter.IsDefault() || !excludesDefaults)
        return true;
    const std::shared_ptr<const qxdb::Schema> columns = CurrentSchema();
    return columns && column < columns->GetNumberColumns() &&
           (*columns)[column].GetDirection() != DataType::DirectionIn;
}

void SQLRequest::GetInputIndex(std::vector<unsigned int>& positions) {
    const std::shared_ptr<const qxdb::Schema> columns = CurrentSchema();
    for (unsigned int i = 0; columns && i < columns->GetNumberColumns(); ++i) {
        if ((*columns)[i].GetDirection() != DataType::DirectionOut)
            positions.push_back(i);
    }
}

void SQLRequest::GetProvidedNamedInputIndex(std::map<unsigned int, unsigned int>& provided) {
    const std::shared_ptr<const ParameterList> list = CurrentParameters();
    for (const Parameter& parameter : *list) {
        const int index = GetParameterIndexByName(parameter.GetName());
        if (index < 0)
            ThrowUnknownParameter(parameter.GetName());
        provided.emplace(static_cast<unsigned int>(index), static_cast<unsigned int>(index));
    }
}

void SQLRequest::BuildExcludeIndex(std::map<unsigned int, unsigned int>& exclude) {
    std::vector<unsigned int> inputs;
    GetInputIndex(inputs);
    if (inputs.empty())
        return;
    const std::shared_ptr<const ParameterList> list = CurrentParameters();
    const std::shared_ptr<const qxdb::Schema> columns = CurrentSchema();
    std::map<unsigned int, unsigned int> provided;
    const bool byName = BindsByName();
    if (byName)
        GetProvidedNamedInputIndex(provided);
    std::set<unsigned int> valued;
    unsigned int position = CountUnnamedReturnValues(*columns);
    for (const Parameter& parameter : *list) {
        if (!parameter.IsDefault()) {
            valued.insert(byName ? static_cast<unsigned int>(GetParameterIndexByName(parameter.GetName()))
                                 : position);
        }
        ++position;
    }
    for (unsigned int i = 0; i < columns->GetNumberColumns(); ++i) {
        if ((*columns)[i].GetDirection() == DataType::DirectionIn && valued.count(i) == 0)
            exclude.emplace(i, i);
    }
}

// A default of which the server takes care. Its name is known, though there is no field for it.
bool SQLRequest::IsExcludedDefault(const Parameter& parameter) {
    const std::shared_ptr<const qxdb::Schema> columns = CurrentSchema();
    if (!columns || !parameter.IsDefault())
        return false;
    for (unsigned int i = 0; i < columns->GetNumberColumns(); ++i) {
        if ((*columns)[i].GetName() == parameter.GetName())
            return true;
    }
    return false;
}

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
