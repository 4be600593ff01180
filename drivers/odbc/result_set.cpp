#include "drivers/odbc/result_set.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "drivers/odbc/catalog_text.h"

namespace qxdrivers::odbc {

namespace {

using qxdb::Column;

constexpr std::size_t blockBytes = 4 * 1024 * 1024;
// Cells above this are not bound where a value can be read from any row of a block instead...
constexpr std::size_t cellBytesInBlocks = 1024;
// ...and above this where reading a value means blocks of one row.
constexpr std::size_t cellBytesAlone = 16 * 1024;
constexpr std::size_t timeTextBytes = 48;  // "2024-02-29 12:34:56.123456789 +01:00 BC"
constexpr std::size_t defaultTextLength = 255;
constexpr SQLSMALLINT untouchedYear = -32768;  // no driver delivers it
constexpr unsigned int firstBlockRows = 10;

void SetFixed(ResultColumn& column, SQLSMALLINT cType, std::size_t bytes) {
    column.cType = cType;
    column.cellBytes = bytes;
}

void SetText(ResultColumn& column, const ServerTraits& traits) {
    const std::size_t length = column.native.size > 0 ? column.native.size : defaultTextLength;
    column.cType = traits.narrowText ? SQL_C_CHAR : SQL_C_WCHAR;
    column.cellBytes = (std::min<std::size_t>(length, longestPlainValue) + 1) * 4;
}

// How the values of a column are delivered.
void ChooseCell(ResultColumn& column, const ServerTraits& traits) {
    switch (column.type.kind) {
        case ValueKind::Bit:
            return SetFixed(column, SQL_C_BIT, sizeof(unsigned char));
        case ValueKind::Short:
            return SetFixed(column, SQL_C_SSHORT, sizeof(SQLSMALLINT));
        case ValueKind::Int:
            return SetFixed(column, SQL_C_SLONG, sizeof(SQLINTEGER));
        case ValueKind::Int64:
            return SetFixed(column, SQL_C_SBIGINT, sizeof(SQLBIGINT));
        case ValueKind::UnsignedInt64:
            return SetFixed(column, SQL_C_UBIGINT, sizeof(SQLUBIGINT));
        case ValueKind::Float:
            // MariaDB's driver writes the floats of a block eight bytes apart, behind the end of their
            // memory.
            return traits.family == Family::MySQL ? SetFixed(column, SQL_C_DOUBLE, sizeof(SQLDOUBLE))
                                                  : SetFixed(column, SQL_C_FLOAT, sizeof(SQLREAL));
        case ValueKind::Double:
            return SetFixed(column, SQL_C_DOUBLE, sizeof(SQLDOUBLE));
        case ValueKind::Decimal:
            // Sign, point and terminator, and some more for numbers without a declared precision.
            return SetFixed(column, SQL_C_CHAR, std::clamp<std::size_t>(column.native.size, 44, 996) + 4);
        case ValueKind::Timestamp:
            return traits.TimestampsAsText()
                       ? SetFixed(column, SQL_C_CHAR, timeTextBytes)
                       : SetFixed(column, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT));
        case ValueKind::TimeOfDay:
            return SetFixed(column, SQL_C_CHAR, timeTextBytes);
        case ValueKind::Binary:
        case ValueKind::BinaryLob:
            return SetFixed(column, SQL_C_BINARY,
                            std::min<std::size_t>(column.native.size, longestPlainValue));
        default:
            return SetText(column, traits);
    }
}

bool IsVariable(const ResultColumn& column) {
    return column.cType == SQL_C_CHAR || column.cType == SQL_C_WCHAR || column.cType == SQL_C_BINARY;
}

std::size_t TerminatorBytes(SQLSMALLINT cType) {
    return cType == SQL_C_CHAR ? 1 : cType == SQL_C_WCHAR ? sizeof(SQLWCHAR) : 0;
}

LongReader::Form FormOf(const ResultColumn& column) {
    return column.cType == SQL_C_BINARY  ? LongReader::Form::Bytes
           : column.cType == SQL_C_WCHAR ? LongReader::Form::Wide
                                         : LongReader::Form::Narrow;
}

}  // namespace

ResultSet::ResultSet(std::shared_ptr<StatementCore> owner, int number, std::unique_ptr<ServerCursor> rows,
                     bool described)
    : core(std::move(owner)), resultSetNumber(number), source(std::move(rows)), isOpen(!described) {
    SQLSMALLINT count = 0;
    core->Call("SQLNumResultCols", [&] { return SQLNumResultCols(core->Raw(), &count); });
    Describe(static_cast<std::size_t>(std::max<SQLSMALLINT>(count, 0)));
}

ResultSet::~ResultSet() {
    Close();
}

void ResultSet::Describe(std::size_t count) {
    columns.reserve(count);
    for (std::size_t i = 1; i <= count; ++i) {
        columns.push_back(DescribeColumn(static_cast<SQLUSMALLINT>(i)));
    }
}

ResultColumn ResultSet::DescribeColumn(SQLUSMALLINT ordinal) const {
    SQLWCHAR name[512] = {};
    SQLSMALLINT length = 0;
    SQLSMALLINT nullable = 0;
    ResultColumn column;
    NativeType& native = column.native;
    core->Call("SQLDescribeCol", [&] {
        return SQLDescribeColW(core->Raw(), ordinal, name, static_cast<SQLSMALLINT>(std::size(name)), &length,
                               &native.sqlType, &native.size, &native.digits, &nullable);
    });
    SQLLEN isUnsigned = SQL_FALSE;
    SQLColAttributeW(core->Raw(), ordinal, SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &isUnsigned);
    native.isUnsigned = isUnsigned == SQL_TRUE;
    native.typeName = ReadColumnText(core->Raw(), ordinal, SQL_DESC_TYPE_NAME);
    column.type = TypeOf(native, core->Traits());

    auto record = std::make_shared<qxdb::ColumnRecord>();
    AppendTerminated(name, std::min<std::size_t>(static_cast<std::size_t>(length), std::size(name) - 1),
                     record->name);
    record->direction = qxdb::DataType::DirectionOut;
    DescribeType(native, column.type, *record);
    const std::string& format = core->GetSession().timestampFormat;
    if (column.type.part == TimePart::DateTime && !format.empty()) {
        record->dateTimeFormat = format;
        column.ownFormat = false;
    }
    column.record = std::move(record);
    ChooseCell(column, core->Traits());
    return column;
}

// Decides which columns have memory of their own and how many rows that is for, and tells the driver.
void ResultSet::Bind() {
    const ServerTraits& traits = core->Traits();
    const std::size_t largestCell = traits.getDataInBlocks ? cellBytesInBlocks : cellBytesAlone;
    firstLong = columns.size();
    std::size_t rowBytes = sizeof(SQLUSMALLINT);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        ResultColumn& column = columns[i];
        const bool isLong = column.IsLob() || (IsVariable(column) && column.cellBytes > largestCell);
        // In a block a long value needs no cell either, but most values are short whatever was declared.
        column.isBound = !column.IsLob() && (!isLong || traits.getDataInBlocks);
        if (!traits.getDataAnywhere && firstLong < i) {
            column.isBound = false;  // such a driver reads from left to right
        }
        if (!column.isBound) {
            firstLong = std::min(firstLong, i);
            continue;
        }
        column.cellBytes = std::max<std::size_t>(std::min(column.cellBytes, largestCell), 1);
        rowBytes += column.cellBytes + sizeof(SQLLEN);
    }
    const bool oneByOne = firstLong < columns.size() && !traits.getDataInBlocks;
    const std::size_t fitting = std::max<std::size_t>(blockBytes / rowBytes, 1);
    blockLimit = oneByOne ? 1
                          : static_cast<unsigned int>(
                                std::min<std::size_t>(fitting, core->GetSession().Options().blockRows));
    for (std::size_t i = 0; i < columns.size(); ++i) {
        ResultColumn& column = columns[i];
        const unsigned int rows = column.isBound ? blockLimit : 1;
        if (column.isBound || !IsVariable(column)) {
            column.cells = std::make_unique<unsigned char[]>(column.cellBytes * rows);
            column.indicators.assign(rows, SQL_NULL_DATA);
        }
        if (column.isBound) {
            core->Call("SQLBindCol", [&] {
                return SQLBindCol(core->Raw(), static_cast<SQLUSMALLINT>(i + 1), column.cType,
                                  column.cells.get(), static_cast<SQLLEN>(column.cellBytes),
                                  column.indicators.data());
            });
            if (column.cType == SQL_C_TYPE_TIMESTAMP && traits.zeroDatesTold) {
                timestampColumns.push_back(i);
            } else if (column.cType == SQL_C_BIT) {
                bitColumns.push_back(i);
            }
        }
    }
    rowStatus.assign(blockLimit, SQL_ROW_SUCCESS);
    SQLSetStmtAttrW(core->Raw(), SQL_ATTR_ROWS_FETCHED_PTR, &rowsFetched, SQL_IS_POINTER);
    SQLSetStmtAttrW(core->Raw(), SQL_ATTR_ROW_STATUS_PTR, rowStatus.data(), SQL_IS_POINTER);
    SetBlockRows(std::min(firstBlockRows, blockLimit));
    isBound = true;
}

void ResultSet::SetBlockRows(unsigned int rows) {
    if (rows != blockRows && SQL_SUCCEEDED(SQLSetStmtAttrW(core->Raw(), SQL_ATTR_ROW_ARRAY_SIZE,
                                                           AttributeValue(rows), SQL_IS_UINTEGER))) {
        blockRows = rows;
    }
}

bool ResultSet::Fetch() {
    if (!isOpen || (core->maxRows > 0 && row >= core->maxRows)) {
        Close();
        return false;
    }
    if (row > 0 && blockRow + 1 < rowsFetched) {
        ++blockRow;
        core->Control().CheckCancelled();
    } else if (!NextBlock()) {
        Close();
        return false;
    }
    ++row;
    ++position;
    CheckRow();
    return true;
}

bool ResultSet::NextBlock() {
    struct Closer {
        ResultSet* result;
        ~Closer() {
            if (result) {
                result->Close();
            }
        }
    } closer{this};  // of a result that fails
    if (!isBound) {
        Bind();
    } else {
        SetBlockRows(std::min(blockRows * 10, blockLimit));
    }
    bool found = FetchBlock();
    while (!found && source && source->FetchMore()) {
        found = FetchBlock();
    }
    if (!found && source) {
        source->Finish();
    }
    closer.result = nullptr;
    return found;
}

bool ResultSet::FetchBlock() {
    PrepareCells();
    blockErrors.reset();
    blockRow = positionedRow = 0;
    rowsFetched = 0;
    const SQLRETURN code = core->Call("SQLFetch", [&] { return SQLFetch(core->Raw()); });
    if (code == SQL_NO_DATA) {
        rowsFetched = 0;
        return false;
    }
    const auto statusEnd = rowStatus.begin() + static_cast<std::ptrdiff_t>(rowsFetched);
    if (code == SQL_SUCCESS_WITH_INFO &&
        std::find(rowStatus.begin(), statusEnd, SQL_ROW_ERROR) != statusEnd) {
        blockErrors = ReadErrors({SQL_HANDLE_STMT, core->Raw()}, "SQLFetch", core->Context());
    }
    if (source) {
        CountBytes();
    }
    return rowsFetched > 0;
}

// Makes the memory of a block ready for what MariaDB's driver does: a date of zeros comes as NULL like NULL
// itself, but is written to the cell; and the length of a bit is not written at all.
void ResultSet::PrepareCells() {
    for (const std::size_t i : timestampColumns) {
        auto* const cells = reinterpret_cast<SQL_TIMESTAMP_STRUCT*>(columns[i].cells.get());
        for (unsigned int k = 0; k < blockRows; ++k) {
            cells[k].year = untouchedYear;
        }
    }
    for (const std::size_t i : bitColumns) {
        std::fill_n(columns[i].indicators.begin(), blockRows, SQLLEN{1});
    }
}

void ResultSet::CountBytes() {
    __int64 bytes = 0;
    for (const ResultColumn& column : columns) {
        if (!column.isBound || !IsVariable(column)) {
            continue;
        }
        for (SQLULEN k = 0; k < rowsFetched; ++k) {
            bytes += std::max<SQLLEN>(column.indicators[k], 0);
        }
    }
    source->CountBytes(static_cast<__int64>(rowsFetched), bytes);
}

void ResultSet::CheckRow() {
    if (blockErrors && rowStatus[blockRow] == SQL_ROW_ERROR) {
        const Errors errors = *blockErrors;
        Close();
        throw errors;
    }
}

void ResultSet::Close() {
    if (!isOpen) {
        return;
    }
    isOpen = false;
    ++position;
    source.reset();
    if (isBound) {
        isBound = false;
        SQLFreeStmt(core->Raw(), SQL_UNBIND);
        SQLSetStmtAttrW(core->Raw(), SQL_ATTR_ROWS_FETCHED_PTR, nullptr, SQL_IS_POINTER);
        SQLSetStmtAttrW(core->Raw(), SQL_ATTR_ROW_STATUS_PTR, nullptr, SQL_IS_POINTER);
        SQLSetStmtAttrW(core->Raw(), SQL_ATTR_ROW_ARRAY_SIZE, AttributeValue(1), SQL_IS_UINTEGER);
    }
}

const unsigned char* ResultSet::Cell(std::size_t column) {
    const ResultColumn& target = columns[column];
    if (target.isBound) {
        return target.cells.get() + target.cellBytes * blockRow;
    }
    Load(column);
    return target.cells.get();
}

SQLLEN ResultSet::Indicator(std::size_t column) {
    const ResultColumn& target = columns[column];
    if (!target.isBound) {
        Load(column);
        return target.indicators[0];
    }
    const SQLLEN indicator = target.indicators[blockRow];
    if (indicator == SQL_NULL_DATA && target.cType == SQL_C_TYPE_TIMESTAMP && !timestampColumns.empty()) {
        const auto* const cell = reinterpret_cast<const SQL_TIMESTAMP_STRUCT*>(Cell(column));
        return cell->year == untouchedYear ? SQL_NULL_DATA : static_cast<SQLLEN>(sizeof *cell);
    }
    return indicator;
}

const char* ResultSet::Variable(std::size_t column, std::size_t& bytes, bool& isWide) {
    const ResultColumn& target = columns[column];
    if (target.isBound) {
        const SQLLEN indicator = target.indicators[blockRow];
        if (indicator == SQL_NULL_DATA) {
            return nullptr;
        }
        if (!IsCut(target, indicator)) {
            bytes = static_cast<std::size_t>(indicator);
            isWide = target.IsWide();
            return reinterpret_cast<const char*>(target.cells.get() + target.cellBytes * blockRow);
        }
        const bool oneByOne = blockLimit == 1 && core->Traits().getDataAnywhere;
        if (!oneByOne && !core->Traits().getDataInBlocks) {
            ThrowRefusal("Row " + std::to_string(row) + ", column \"" + target.record->name +
                             "\": the driver cut a value of " + std::to_string(indicator) + " bytes to " +
                             std::to_string(target.cellBytes),
                         "01004");
        }
    }
    Load(column);
    bytes = target.loaded.size();
    isWide = false;
    return target.loadedNull ? nullptr : target.loaded.data();
}

bool ResultSet::IsCut(const ResultColumn& column, SQLLEN indicator) const {
    return indicator == SQL_NO_TOTAL ||
           static_cast<std::size_t>(indicator) > column.cellBytes - TerminatorBytes(column.cType);
}

void ResultSet::PointAtRow() {
    if (blockLimit > 1 && positionedRow != blockRow + 1) {
        core->Call("SQLSetPos", [&] {
            return SQLSetPos(core->Raw(), static_cast<SQLSETPOSIROW>(blockRow + 1), SQL_POSITION,
                             SQL_LOCK_NO_CHANGE);
        });
        positionedRow = blockRow + 1;
    }
}

// Reads a value that is not in its cell, once for each row.
void ResultSet::Load(std::size_t column) {
    ResultColumn& target = columns[column];
    if (target.loadedPosition == position) {
        return;
    }
    if (!core->Traits().getDataAnywhere) {
        // What stands in front can't be read any more once this one was.
        for (std::size_t i = firstLong; i < column; ++i) {
            if (!columns[i].IsLob()) {
                Load(i);
            }
        }
    }
    PointAtRow();
    if (IsVariable(target)) {
        LongReader reader;
        reader.Open(*core, static_cast<SQLUSMALLINT>(column + 1), FormOf(target));
        target.loaded.clear();
        target.loadedNull = reader.IsNull();
        reader.ReadAll(target.loaded);
    } else {
        const SQLRETURN code = core->Call("SQLGetData", [&] {
            return SQLGetData(core->Raw(), static_cast<SQLUSMALLINT>(column + 1), target.cType,
                              target.cells.get(), static_cast<SQLLEN>(target.cellBytes),
                              target.indicators.data());
        });
        if (code == SQL_NO_DATA) {
            target.indicators[0] = SQL_NULL_DATA;
        }
    }
    target.loadedPosition = position;
}

void ResultSet::OpenLob(std::size_t column, LongReader& reader) {
    PointAtRow();
    reader.Open(*core, static_cast<SQLUSMALLINT>(column + 1), FormOf(columns[column]));
}

void ResultSet::ThrowMisfit(std::size_t column, const std::string& value) const {
    const ResultColumn& target = columns[column];
    ThrowRefusal("Result set " + std::to_string(resultSetNumber) + ", row " + std::to_string(row) +
                     ", column \"" + target.record->name + "\": the value '" + value +
                     "' does not fit the type " + target.native.typeName,
                 "22018");
}

}  // namespace qxdrivers::odbc
