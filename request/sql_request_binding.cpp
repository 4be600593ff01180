// How a statement is prepared and how values get into it.
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/qx_exception.h"
#include "platform/resource_loader.h"
#include "request/sql_request.h"
#include "storage/store_exceptions.h"

namespace qxdbsqlengine {

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxdb::StatementProperties;
using qxutils::WriteLockGuard;

template <class T>
T& ItemOf(Parameter& parameter) {
    return *static_cast<T*>(parameter.GetItemPtr());
}

// Reads the value as `type` and writes it as that. The read comes first, so that a value that can't be read
// leaves the field as it was.
void WriteValue(qxdb::Field& field, Column::BindType type, const Parameter& parameter) {
    switch (type) {
        case Column::BindString:
        case Column::BindOtherString:
            return field.SetString(parameter.AsString());
        case Column::BindInt:
            return field.SetInt(parameter.AsInt());
        case Column::BindLong:
            return field.SetLong(parameter.AsLong());
        case Column::BindShort:
            return field.SetShort(parameter.AsShort());
        case Column::BindFloat:
            return field.SetFloat(parameter.AsFloat());
        case Column::BindDouble:
            return field.SetDouble(parameter.AsDouble());
        case Column::BindDecimal:
            return field.SetDecimal(parameter.AsDecimal());
        case Column::BindInt64:
            return field.SetBigInt(parameter.AsBigInt());
        case Column::BindBinary: {
            const qxdb::DynBuffer& bytes = parameter.AsBinary();
            // The empty text makes the field a value; its buffer takes the bytes without a further copy.
            field.SetString(std::string());
            field.GetBuffer().Assign(static_cast<const qxdb::BufferBase&>(bytes));
            return;
        }
        case Column::BindTimestamp:
            return field.SetTimestamp(parameter.AsTimestamp());
        default:
            // A LOB is not bound, and cursors only come back.
            return;
    }
}

// A field whose type the server leaves open takes the value as it is.
Column::BindType TypeFor(qxdb::Field& field, const Parameter& parameter) {
    const Column::BindType type = field.GetType();
    return type == Column::BindUnknown ? parameter.GetType() : type;
}

void BindParameter(qxdb::Field& field, Column::BindType type, const Parameter& parameter) {
    if (parameter.IsNull())
        field.SetNull();
    else if (!parameter.IsDefault())
        WriteValue(field, type, parameter);
}

// Markers without names can only be bound by position.
bool HasNamesOnly(qxdb::Fields& fields) {
    for (unsigned int i = 0; i < fields.GetFieldCount(); ++i) {
        if (fields[i].GetName().empty())
            return false;
    }
    return true;
}

void BindStorage(qxdb::BindValue& binding, Parameter& parameter) {
    const DataType::Direction direction =
        parameter.GetDirection() == DataType::DirectionIn ? DataType::DirectionIn : DataType::DirectionOut;
    const unsigned int ordinal = binding.GetNextBind();
    switch (parameter.GetType()) {
        case Column::BindString:
        case Column::BindOtherString: {
            qxdb::BasicFixedString<char> text(ItemOf<std::string>(parameter), -1, 0);
            return binding.Bind(direction, ordinal, text, nullptr);
        }
        case Column::BindInt:
            return binding.Bind(direction, ordinal, ItemOf<int>(parameter), nullptr);
        case Column::BindLong:
            return binding.Bind(direction, ordinal, ItemOf<long>(parameter), nullptr);
        case Column::BindShort:
            return binding.Bind(direction, ordinal, ItemOf<short>(parameter), nullptr);
        case Column::BindFloat:
            return binding.Bind(direction, ordinal, ItemOf<float>(parameter), nullptr);
        case Column::BindDouble:
            return binding.Bind(direction, ordinal, ItemOf<double>(parameter), nullptr);
        case Column::BindDecimal: {
            qxdb::FixedDecimal decimal(ItemOf<qxdb::Decimal>(parameter), -1, -1);
            return binding.Bind(direction, ordinal, decimal, nullptr);
        }
        case Column::BindInt64:
            return binding.Bind(direction, ordinal, ItemOf<__int64>(parameter), nullptr);
        case Column::BindBinary: {
            qxdb::BufferBase& bytes = ItemOf<qxdb::DynBuffer>(parameter);
            return binding.Bind(direction, ordinal, bytes, nullptr);
        }
        case Column::BindTimestamp:
            return binding.Bind(direction, ordinal, ItemOf<qxdb::Timestamp>(parameter), nullptr);
        default:
            throw BadTypeException();
    }
}

}  // namespace

void SQLRequest::PrepareForExecution(qxdb::Statement& running, std::unique_ptr<qxdb::Fields>& fields) {
    const qxdb::Statement::PrepareType type = GetPrepareType();
    if (const std::shared_ptr<qxdb::Schema> given = CurrentSchema())
        running.SetBindHint(*given);
    if (type != qxdb::Statement::PrepareSQL &&
        running.GetProperties().SupportsProperty(StatementProperties::CapabilityProcParamCount)) {
        running.GetProperties().SetProcParamCount(CurrentParameters()->GetParameterCount());
    }
    running.Prepare(GetSQL(), type);
    if (type == qxdb::Statement::PrepareSQL)
        return PrepareSQL(running, fields);
    if (CurrentParameters()->GetForceBindByOrdinal())
        SyncParametersWithSchema(running.Bind().GetSchema());
    PrepareProcedure(running, fields);
}

void SQLRequest::PrepareSQL(qxdb::Statement& running, std::unique_ptr<qxdb::Fields>& fields) {
    qxdb::BindValue binding = running.Bind();
    if (binding.GetSchema().GetNumberColumns() == 0)
        return;
    if (!IsStatementWithOutputParameter()) {
        TellSchema(*NeedSchema(running));
        fields =
            std::make_unique<qxdb::Fields>(binding, bindAsStrings, qxdb::ExclusionIndex(), false, nullptr);
    }
    // Asked again: whoever was told of the schema may have changed the parameters.
    if (IsStatementWithOutputParameter())
        BindStatementWithOutputPatameter(binding);
    else if (fields && BindsByName() && HasNamesOnly(*fields))
        BindStatementByName(*fields);
    else
        BindParametersByOrdinal(fields);
}

// A text may have a name in several places, and each of them takes the value.
void SQLRequest::BindStatementByName(qxdb::Fields& fields) {
    const std::shared_ptr<ParameterList> list = CurrentParameters();
    std::multimap<std::string, qxdb::Field*> byName;
    for (unsigned int i = 0; i < fields.GetFieldCount(); ++i)
        byName.emplace(fields[i].GetName(), &fields[i]);
    for (const Parameter& parameter : *list) {
        const auto places = byName.equal_range(parameter.GetName());
        if (places.first == places.second)
            ThrowUnknownParameter(parameter.GetName());
        for (auto place = places.first; place != places.second; ++place)
            BindParameter(*place->second, parameter.GetType(), parameter);
    }
}

void SQLRequest::PrepareProcedure(qxdb::Statement& running, std::unique_ptr<qxdb::Fields>& fields) {
    const std::shared_ptr<qxdb::Schema> columns = NeedSchema(running);
    BuildNameMap(*columns);
    TellSchema(*columns);
    qxdb::ExclusionIndex exclude;
    excludesDefaults =
        running.GetProperties().SupportsProperty(StatementProperties::CapabilityExclusionIndex);
    if (excludesDefaults) {
        BuildExcludeIndex(exclude);
        running.GetProperties().SetExclusionIndex(exclude);
    }
    // Once more, now with the exclusions in force.
    running.Prepare(GetSQL(), GetPrepareType());
    qxdb::BindValue binding = running.Bind();
    fields = std::make_unique<qxdb::Fields>(binding, bindAsStrings, exclude, false, nullptr);
    // From here on names mean positions in the fields, which can be fewer than those in the schema.
    BuildNameMap(fields);
    if (BindsByName())
        BindParametersByName(fields);
    else
        BindParametersByOrdinal(fields);
}

// The schema that was set, otherwise the statement's description of its parameters, which is kept.
std::shared_ptr<qxdb::Schema> SQLRequest::NeedSchema(qxdb::Statement& running) {
    if (const std::shared_ptr<qxdb::Schema> known = CurrentSchema())
        return known;
    auto hint = std::make_shared<qxdb::Schema>(running.GetBindHint());
    const WriteLockGuard guard(lock);
    schema = hint;
    return hint;
}

void SQLRequest::TellSchema(qxdb::Schema& columns) {
    if (schemaCallback == nullptr)
        return;
    const std::shared_ptr<ParameterList> list = CurrentParameters();
    schemaCallback->OnSchemaPrepared(&columns, *list);
}

void SQLRequest::BindStatementWithOutputPatameter(qxdb::BindValue& binding) {
    boundParameters = CurrentParameters();
    for (Parameter& parameter : *boundParameters)
        BindStorage(binding, parameter);
}

void SQLRequest::BindParametersByOrdinal(std::unique_ptr<qxdb::Fields>& fields) {
    const std::shared_ptr<ParameterList> list = CurrentParameters();
    if (!fields || fields->GetFieldCount() == 0 || list->GetParameterCount() == 0)
        return;
    std::vector<const Parameter*> byPosition;
    for (const Parameter& parameter : *list)
        byPosition.push_back(&parameter);
    const bool inputOnly = IncludeInputParameterOnly();
    for (unsigned int i = 0; i < fields->GetFieldCount(); ++i) {
        qxdb::Field& field = (*fields)[i];
        if (field.GetDirection() == DataType::DirectionOut)
            continue;
        const int position = ConvertFieldIndexToParameterIndex(field, i, inputOnly);
        if (position < 0 || position >= static_cast<int>(byPosition.size()))
            return;
        const Parameter& parameter = *byPosition[static_cast<std::size_t>(position)];
        BindParameter(field, TypeFor(field, parameter), parameter);
    }
}

void SQLRequest::BindParametersByName(std::unique_ptr<qxdb::Fields>& fields) {
    const std::shared_ptr<ParameterList> list = CurrentParameters();
    if (!fields || fields->GetFieldCount() == 0 || list->GetParameterCount() == 0)
        return;
    for (const Parameter& parameter : *list) {
        const int index = GetParameterIndexByName(parameter.GetName());
        if (index < 0) {
            if (IsExcludedDefault(parameter))
                continue;
            ThrowUnknownParameter(parameter.GetName());
        }
        // By the type of the parameter, and not of the field as by ordinal: a caller that names a parameter
        // has given it the type that the value is to go as.
        BindParameter((*fields)[static_cast<unsigned int>(index)], parameter.GetType(), parameter);
    }
}

}  // namespace qxdbsqlengine
