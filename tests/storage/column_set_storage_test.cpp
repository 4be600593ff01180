#include "storage/column_set_storage.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <set>

#include "storage/binary_storage.h"
#include "storage/decimal_storage.h"
#include "storage/editable_binary_storage.h"
#include "storage/editable_decimal_storage.h"
#include "storage/editable_lob_storage.h"
#include "storage/editable_string_storage.h"
#include "storage/fixed_columns.h"
#include "storage/lob_storage.h"
#include "storage/storage_doubles.h"
#include "storage/store_exceptions.h"
#include "storage/string_storage.h"

namespace qxdbsqlengine {
namespace {

// What columns lie in.
struct Ground {
    OpenAlloc alloc;
    OpenAlloc heap{10, 100, false};
    CellAlloc cells{heap};
};

using MakeColumn = std::function<std::unique_ptr<ColumnSetStorage>(Ground&)>;

// A column class: what it reports, and the operations that it has of those that raise a failure in the base.
struct ColumnClass {
    const char* name;
    MakeColumn make;
    int dataType;
    AlignHint align;
    int precision;
    std::set<std::string> operations;
};

template <class T>
MakeColumn Plain() {
    return [](Ground& ground) { return std::make_unique<T>(ground.alloc); };
}

template <class T>
MakeColumn WithPrecision() {
    return [](Ground& ground) { return std::make_unique<T>(ground.alloc, 0); };
}

template <class T>
MakeColumn InCells() {
    return [](Ground& ground) { return std::make_unique<T>(ground.cells); };
}

const std::vector<ColumnClass>& Classes() {
    static const std::vector<ColumnClass> classes = {
        {"StringStorage",
         Plain<StringStorage>(),
         0,
         AlignLeft,
         0,
         {"AsString", "InsertString", "EqualsString"}},
        {"ShortStorage",
         Plain<ShortStorage>(),
         1,
         AlignRight,
         0,
         {"AsShort", "InsertShort", "InsertString", "SetShort"}},
        {"IntStorage",
         Plain<IntStorage>(),
         2,
         AlignRight,
         0,
         {"AsInt", "InsertInt", "InsertString", "SetInt"}},
        {"LongStorage",
         Plain<LongStorage>(),
         3,
         AlignRight,
         0,
         {"AsLong", "InsertLong", "InsertString", "SetLong"}},
        {"Int64Storage",
         Plain<Int64Storage>(),
         4,
         AlignRight,
         0,
         {"AsInt64", "InsertInt64", "InsertString", "SetInt64"}},
        {"FloatStorage",
         WithPrecision<FloatStorage>(),
         5,
         AlignRight,
         7,
         {"AsFloat", "InsertFloat", "InsertString", "SetFloat"}},
        {"DoubleStorage",
         WithPrecision<DoubleStorage>(),
         6,
         AlignRight,
         15,
         {"AsDouble", "InsertDouble", "InsertString", "SetDouble"}},
        {"DecimalStorage",
         WithPrecision<DecimalStorage>(),
         7,
         AlignRight,
         0,
         {"AsDecimal", "InsertDecimal", "InsertString"}},
        {"BinaryStorage",
         Plain<BinaryStorage>(),
         8,
         AlignLeft,
         0,
         {"AsString", "InsertBinary", "InsertString"}},
        {"TimestampSetStorage",
         [](Ground& ground) { return std::make_unique<TimestampSetStorage>(ground.alloc, ""); },
         9,
         AlignLeft,
         0,
         {"AsTimestamp", "InsertTimestamp", "InsertString", "SetTimestamp"}},
        {"LobStorage",
         [](Ground& ground) {
             return std::make_unique<LobStorage>(ground.alloc, 4000, qxdb::LobLocator(), false);
         },
         10,
         AlignLeft,
         4000,
         {"AsString", "InsertLobData", "GetLob", "GetLobFileName"}},
        {"NamedTypeStorage",
         Plain<NamedTypeStorage>(),
         11,
         AlignLeft,
         0,
         {"AsString", "InsertString", "EqualsString"}},
        {"EditableStringStorage",
         InCells<EditableStringStorage>(),
         0,
         AlignLeft,
         0,
         {"AsString", "InsertString", "EqualsString", "SetString"}},
        {"EditableDecimalStorage",
         [](Ground& ground) { return std::make_unique<EditableDecimalStorage>(ground.cells, 0); },
         7,
         AlignRight,
         0,
         {"AsDecimal", "InsertDecimal", "SetDecimal"}},
        {"EditableBinaryStorage",
         InCells<EditableBinaryStorage>(),
         8,
         AlignLeft,
         0,
         {"AsString", "InsertBinary", "SetBinary"}},
        {"EditableLobStorage",
         [](Ground& ground) {
             return std::make_unique<EditableLobStorage>(ground.cells, 4000, qxdb::LobLocator(), false,
                                                         false);
         },
         10,
         AlignLeft,
         4000,
         {"AsString", "InsertLobData", "GetLob", "GetLobFileName", "SetLobData", "SetLobData with locator"}},
        {"EditableNamedTypeStorage",
         InCells<EditableNamedTypeStorage>(),
         11,
         AlignLeft,
         0,
         {"AsString", "InsertString", "EqualsString", "SetString"}},
    };
    return classes;
}

using Operation = std::function<void(ColumnSetStorage&)>;

const std::map<std::string, Operation>& Operations() {
    static const std::map<std::string, Operation> operations = {
        {"AsString", [](ColumnSetStorage& c) { c.AsString(0); }},
        {"AsShort", [](ColumnSetStorage& c) { c.AsShort(0); }},
        {"AsInt", [](ColumnSetStorage& c) { c.AsInt(0); }},
        {"AsLong", [](ColumnSetStorage& c) { c.AsLong(0); }},
        {"AsInt64", [](ColumnSetStorage& c) { c.AsInt64(0); }},
        {"AsFloat", [](ColumnSetStorage& c) { c.AsFloat(0); }},
        {"AsDouble", [](ColumnSetStorage& c) { c.AsDouble(0); }},
        {"AsDecimal", [](ColumnSetStorage& c) { c.AsDecimal(0); }},
        {"AsBinary", [](ColumnSetStorage& c) { c.AsBinary(0); }},
        {"AsTimestamp", [](ColumnSetStorage& c) { c.AsTimestamp(0); }},
        {"GetLobFileName", [](ColumnSetStorage& c) { c.GetLobFileName(0); }},
        {"GetLob", [](ColumnSetStorage& c) { c.GetLob(0); }},
        {"EqualsString", [](ColumnSetStorage& c) { c.EqualsString(0, "x"); }},
        // A text that every column that parses takes.
        {"InsertString",
         [](ColumnSetStorage& c) {
             c.InsertString(c.GetDataType() == DataTypeTimestamp ? "2004-01-01" : "12");
         }},
        {"InsertShort", [](ColumnSetStorage& c) { c.InsertShort(1); }},
        {"InsertInt", [](ColumnSetStorage& c) { c.InsertInt(1); }},
        {"InsertLong", [](ColumnSetStorage& c) { c.InsertLong(1); }},
        {"InsertInt64", [](ColumnSetStorage& c) { c.InsertInt64(1); }},
        {"InsertFloat", [](ColumnSetStorage& c) { c.InsertFloat(1); }},
        {"InsertDouble", [](ColumnSetStorage& c) { c.InsertDouble(1); }},
        {"InsertDecimal", [](ColumnSetStorage& c) { c.InsertDecimal(qxdb::Decimal(1, 0)); }},
        {"InsertBinary", [](ColumnSetStorage& c) { c.InsertBinary(qxdb::DynBuffer(2, 2)); }},
        {"InsertTimestamp", [](ColumnSetStorage& c) { c.InsertTimestamp(qxdb::Timestamp()); }},
        {"InsertLobData", [](ColumnSetStorage& c) { c.InsertLobData("x", qxdb::DynBuffer()); }},
    };
    return operations;
}

using SetOperation = std::function<void(EditableSetStorage&)>;

const std::map<std::string, SetOperation>& SetOperations() {
    static const std::map<std::string, SetOperation> operations = {
        {"SetString", [](EditableSetStorage& c) { c.SetString(0, "x"); }},
        {"SetShort", [](EditableSetStorage& c) { c.SetShort(0, 1); }},
        {"SetInt", [](EditableSetStorage& c) { c.SetInt(0, 1); }},
        {"SetLong", [](EditableSetStorage& c) { c.SetLong(0, 1); }},
        {"SetInt64", [](EditableSetStorage& c) { c.SetInt64(0, 1); }},
        {"SetFloat", [](EditableSetStorage& c) { c.SetFloat(0, 1); }},
        {"SetDouble", [](EditableSetStorage& c) { c.SetDouble(0, 1); }},
        {"SetDecimal", [](EditableSetStorage& c) { c.SetDecimal(0, qxdb::Decimal()); }},
        {"SetBinary", [](EditableSetStorage& c) { c.SetBinary(0, qxdb::DynBuffer()); }},
        {"SetTimestamp", [](EditableSetStorage& c) { c.SetTimestamp(0, qxdb::Timestamp()); }},
        {"SetLobData", [](EditableSetStorage& c) { c.SetLobData(0, "x", "f"); }},
        {"SetLobData with locator",
         [](EditableSetStorage& c) { c.SetLobData(0, "x", qxdb::DynBuffer(), "f"); }},
    };
    return operations;
}

// What the operation raises; empty for nothing.
template <class Column, class Function>
std::string FailureOf(Column& column, const Function& operation) {
    try {
        operation(column);
    } catch (const BadTypeException& failure) {
        return failure.what();
    }
    return std::string();
}

TEST(ColumnSetStorageTest, EachClassHasItsOperationsAndNoOthers) {
    for (const ColumnClass& each : Classes()) {
        Ground ground;
        const std::unique_ptr<ColumnSetStorage> column = each.make(ground);
        column->InsertEmpty();
        for (const auto& [name, operation] : Operations()) {
            const std::string expected = each.operations.count(name) ? "" : "Wrong Type Exception";
            EXPECT_EQ(expected, FailureOf(*column, operation)) << each.name << " " << name;
        }
        auto* editable = dynamic_cast<EditableSetStorage*>(column.get());
        // Fixed-size values can be overwritten in place, so these classes serve both kinds of results.
        const bool isFixedSize = each.dataType == DataTypeTimestamp ||
                                 (each.align == AlignRight && each.dataType != DataTypeDecimal);
        EXPECT_EQ(isFixedSize || std::string(each.name).substr(0, 8) == "Editable", editable != nullptr)
            << each.name;
        if (editable == nullptr)
            continue;
        for (const auto& [name, operation] : SetOperations()) {
            const std::string expected = each.operations.count(name) ? "" : "Wrong Type Exception";
            EXPECT_EQ(expected, FailureOf(*editable, operation)) << each.name << " " << name;
        }
    }
}

TEST(ColumnSetStorageTest, EachClassReportsTypeAlignmentAndPrecision) {
    for (const ColumnClass& each : Classes()) {
        Ground ground;
        const std::unique_ptr<ColumnSetStorage> column = each.make(ground);
        EXPECT_EQ(each.dataType, column->GetDataType()) << each.name;
        EXPECT_EQ(each.align, column->GetAlignHint()) << each.name;
        EXPECT_EQ(each.precision, column->GetPrecision()) << each.name;
        EXPECT_EQ(nullptr, column->GetDataTimeFormat()) << each.name;
        EXPECT_FALSE(column->GetUseLobLocators()) << each.name;
        std::locale locale = std::locale::classic();
        RecordingMeasure measure;
        EXPECT_EQ(0, column->GetLargestColumnSize(locale, measure)) << each.name;
        EXPECT_TRUE(measure.texts.empty()) << each.name;
    }
}

TEST(ColumnSetStorageTest, PrecisionIsKeptByThoseThatHaveOne) {
    const std::set<int> withPrecision = {DataTypeFloat, DataTypeDouble, DataTypeDecimal, DataTypeLob};
    for (const ColumnClass& each : Classes()) {
        Ground ground;
        const std::unique_ptr<ColumnSetStorage> column = each.make(ground);
        column->SetPrecision(5);
        EXPECT_EQ(withPrecision.count(each.dataType) ? 5 : 0, column->GetPrecision()) << each.name;
    }
}

TEST(ColumnSetStorageTest, LabelAndNativeTypeAreKept) {
    for (const ColumnClass& each : Classes()) {
        Ground ground;
        const std::unique_ptr<ColumnSetStorage> column = each.make(ground);
        EXPECT_EQ(-1, column->GetNativeDataType());
        EXPECT_EQ("", column->GetNativeDataTypeName());
        EXPECT_EQ("", column->GetColumnLabel());
        column->SetNativeDataType(12);
        column->SetNativeDataTypeName("VARCHAR2");
        column->SetColumnLabel("Name");
        EXPECT_EQ(12, column->GetNativeDataType());
        EXPECT_EQ("VARCHAR2", column->GetNativeDataTypeName());
        EXPECT_EQ("Name", column->GetColumnLabel());
    }
}

TEST(ColumnSetStorageTest, EveryColumnHasATextOfEveryRow) {
    const std::map<int, std::string> emptyTexts = {{DataTypeTimestamp, "0000-00-00 00:00:00.000"}};
    for (const ColumnClass& each : Classes()) {
        Ground ground;
        const std::unique_ptr<ColumnSetStorage> column = each.make(ground);
        column->InsertEmpty();
        std::string expected = each.align == AlignRight ? "0" : "";
        if (emptyTexts.count(each.dataType))
            expected = emptyTexts.at(each.dataType);
        for (int row : {0, 1, -1, 2147483647}) {
            EXPECT_EQ(expected, column->AsString(row, std::locale::classic())) << each.name << " " << row;
            std::string text = "<";
            column->AppendString(row, CellFormat::Classic(), text);
            EXPECT_EQ("<" + expected, text);
            std::string scratch = "old";
            EXPECT_EQ(expected, column->ViewString(row, CellFormat::Classic(), scratch));
        }
        EXPECT_EQ(0, column->CompareItems(0, 1, 0)) << each.name;
    }
}

}  // namespace
}  // namespace qxdbsqlengine
