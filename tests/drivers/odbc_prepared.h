// A prepared statement of the ODBC driver with the fields of its parameters.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "drivers/odbc_support.h"

namespace qxtest {

struct Prepared {
    Prepared(qxdb::Connection connection, const std::string& sql,
             qxdb::Statement::PrepareType type = qxdb::Statement::PrepareSQL,
             const qxdb::ExclusionIndex& excluded = {}, qxdb::Schema hint = qxdb::Schema(),
             unsigned int parameterCount = 0)
        : statement(connection.CreateStatement(qxdb::CursorDefault, 1)) {
        statement.GetProperties().SetExclusionIndex(excluded);
        statement.GetProperties().SetProcParamCount(parameterCount);
        if (hint.GetNumberColumns() > 0) {
            statement.SetBindHint(hint);
        }
        statement.Prepare(sql, type);
        binding = statement.Bind();
        fields = std::make_unique<qxdb::Fields>(binding, false, excluded, false, nullptr);
    }
    qxdb::Field& operator[](unsigned int index) { return (*fields)[index]; }

    // The rows of all results.
    std::vector<std::vector<std::string>> Run() {
        statement.Execute();
        std::vector<std::vector<std::string>> results;
        while (statement.ResultSetAvailable()) {
            results.push_back(TakeResult(statement.GetResults(1, ""), false));
        }
        return results;
    }

    // The parameters as "name:type:direction".
    std::vector<std::string> Shape() {
        const qxdb::Schema schema = binding.GetSchema();
        std::vector<std::string> shape;
        for (unsigned int i = 0; i < schema.GetNumberColumns(); ++i) {
            shape.push_back(schema[i].GetName() + ":" + std::to_string(schema[i].GetType()) + ":" +
                            std::to_string(schema[i].GetDirection()));
        }
        return shape;
    }

    // The values of the fields that are outputs, in their order, NULL for null.
    std::vector<std::string> Outputs() {
        std::vector<std::string> values;
        for (unsigned int i = 0; i < fields->GetFieldCount(); ++i) {
            qxdb::Field& field = (*fields)[i];
            if (field.GetDirection() != qxdb::DataType::DirectionIn) {
                values.push_back(field.IsNull() ? "NULL" : field.AsString());
            }
        }
        return values;
    }

    qxdb::Statement statement;
    qxdb::BindValue binding;
    std::unique_ptr<qxdb::Fields> fields;
};

// A parameter as a caller describes it.
inline qxdb::Schema HintOf(const std::vector<qxdb::ColumnRecord>& columns) {
    qxdb::Schema::Columns shared;
    for (const qxdb::ColumnRecord& column : columns) {
        shared.push_back(std::make_shared<qxdb::ColumnRecord>(column));
    }
    return qxdb::Schema(std::move(shared));
}
inline qxdb::ColumnRecord Described(const std::string& name, qxdb::Column::BindType type,
                                    qxdb::DataType::Direction direction = qxdb::DataType::DirectionIn) {
    qxdb::ColumnRecord record;
    record.name = name;
    record.type = type;
    record.direction = direction;
    return record;
}

}  // namespace qxtest
