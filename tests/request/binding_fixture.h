// What the tests of binding and of output values share: parameters, what a run did to them, and the callbacks
// that see them.
#pragma once

#include "request/request_fixture.h"

namespace qxtest {

using qxdb::Column;
using qxdb::DataType;
using qxdbsqlengine::Parameter;
using qxdbsqlengine::ParameterList;

constexpr unsigned int NoCapabilities = 0;
constexpr unsigned int ExclusionOnly = qxdb::StatementProperties::CapabilityExclusionIndex;
constexpr unsigned int CountOnly = qxdb::StatementProperties::CapabilityProcParamCount;

// All types that a parameter can have.
constexpr Column::BindType ParameterTypes[] = {
    Column::BindString, Column::BindInt,       Column::BindLong,       Column::BindShort,
    Column::BindFloat,  Column::BindDouble,    Column::BindDecimal,    Column::BindInt64,
    Column::BindBinary, Column::BindTimestamp, Column::BindOtherString};

inline qxdb::Timestamp Moment(const std::string& text = "2006-12-31 10:20:30") {
    return qxdb::Timestamp(text, "yyyy-MM-dd HH:mm:ss");
}

inline qxdb::DynBuffer Bytes(const std::string& text) {
    qxdb::DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(text.data()),
                  static_cast<unsigned int>(text.size()));
    return buffer;
}

inline qxdb::Schema MakeSchema(const std::vector<qxdb::ColumnRecord>& columns) {
    qxdb::Schema::Columns shared;
    for (const qxdb::ColumnRecord& column : columns)
        shared.push_back(std::make_shared<qxdb::ColumnRecord>(column));
    return qxdb::Schema(shared);
}

// A parameter that holds a value.
template <class T>
Parameter Value(const std::string& name, Column::BindType type, const T& value,
                DataType::Direction direction = DataType::DirectionIn) {
    Parameter parameter(name, type, direction, 0, 0);
    parameter.Set(value);
    return parameter;
}
inline Parameter Text(const std::string& name, const std::string& value,
                      DataType::Direction direction = DataType::DirectionIn) {
    return Value(name, Column::BindString, value, direction);
}
inline Parameter Number(const std::string& name, int value,
                        DataType::Direction direction = DataType::DirectionIn) {
    return Value(name, Column::BindInt, value, direction);
}
inline Parameter NullOf(const std::string& name, Column::BindType type,
                        DataType::Direction direction = DataType::DirectionIn) {
    Parameter parameter(name, type, direction, 0, 0);
    parameter.SetNull();
    return parameter;
}
inline Parameter DefaultOf(const std::string& name, Column::BindType type = Column::BindString) {
    Parameter parameter(name, type, DataType::DirectionIn, 0, 0);
    parameter.SetDefault();
    return parameter;
}
// 7, or what is nearest to it in the type.
inline Parameter Sample(const std::string& name, Column::BindType type,
                        DataType::Direction direction = DataType::DirectionIn) {
    switch (type) {
        case Column::BindFloat:
        case Column::BindDouble:
            return Value(name, type, 7.5, direction);
        case Column::BindDecimal:
            return Value(name, type, qxdb::Decimal(std::string("7.50")), direction);
        case Column::BindBinary:
            return Value(name, type, Bytes("\x07\xAB"), direction);
        case Column::BindTimestamp:
            return Value(name, type, Moment(), direction);
        default:
            return Value(name, type, std::string("7"), direction);
    }
}
inline ParameterList List(const std::vector<Parameter>& parameters) {
    ParameterList list;
    for (const Parameter& parameter : parameters)
        list.PushBack(parameter);
    return list;
}
inline ParameterList Named(const std::vector<Parameter>& parameters) {
    ParameterList list;
    list.SetBindMethod(ParameterList::BindByName);
    for (const Parameter& parameter : parameters)
        list.PushBack(parameter);
    return list;
}

// Writes down the schemas that it is told of and lets a test change them and the parameters.
class SchemaReceiver final : public qxdbsqlengine::SchemaCallback {
  public:
    void OnSchemaPrepared(qxdb::Schema* schema, ParameterList& parameters) override {
        std::string names;
        for (unsigned int i = 0; i < schema->GetNumberColumns(); ++i)
            names += (*schema)[i].GetName() + " ";
        told.push_back(names + std::to_string(parameters.GetParameterCount()));
        if (change)
            change(*schema, parameters);
    }

    Lines told;  // "<names> <number of parameters>"
    std::function<void(qxdb::Schema&, ParameterList&)> change;
};

// Keeps the output values of each batch item.
class OutputReceiver final : public qxdbsqlengine::BatchCallback {
  public:
    void OnBatchItemBegin(double, int, int) override {}
    void OnBatchItemEnd(double, int, const ParameterList& parameters) override {
        items.push_back(parameters);
    }

    std::vector<ParameterList> items;
};

class BindingTest : public RequestTest {
  protected:
    BindingTest() : RequestTest(&schemas) {
        notifications->Add(static_cast<qxdbsqlengine::BatchCallback&>(outputs));
        request.SetDoPrepare(true);
    }

    using RequestTest::Run;
    bool Run(const ParameterList& list, const std::string& sql,
             SQLRequest::RequestType type = SQLRequest::RequestSQL,
             qxdb::DBTYPE serverType = qxdb::DBTYPE_OTHER) {
        request.SetParameters(list);
        request.SetSQL(sql, type, false, false);
        return request.Execute(Def(serverType));
    }
    // What the run did to its statements: the log without the callback lines.
    Lines Steps() const {
        Lines lines;
        for (const std::string& line : server.Log()) {
            if (line.compare(0, 8, "callback") != 0)
                lines.push_back(line);
        }
        return lines;
    }
    // Lines of the log that begin with `prefix`.
    Lines LogOf(const std::string& prefix) const {
        Lines lines;
        for (const std::string& line : server.Log()) {
            if (line.compare(0, prefix.size(), prefix) == 0)
                lines.push_back(line);
        }
        return lines;
    }
    // Gives the request the type of a server and of a call without a statement of its own.
    void Become(qxdb::DBTYPE serverType, SQLRequest::RequestType type) {
        request.items = [](qxdb::Connection&) { return true; };
        request.SetSQL("p", type, false, false);
        ASSERT_TRUE(request.Execute(Def(serverType)));
        request.items = nullptr;
    }
    // The one error of the last run.
    std::string LastError() const { return TextOf(calls.LastErrors()); }

    SchemaReceiver schemas;
    OutputReceiver outputs;
};

}  // namespace qxtest
