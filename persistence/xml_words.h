// The vocabulary of XML results files, shared by writer and reader.
//
//   <resultset>
//       <rowset id="1">
//           <row id="1">
//               <column id="1" name="N" type="Int">1</column>
//               <column id="2" name="S"><![CDATA[text]]></column>
//               <column id="3" name="T" type="Timestamp" format="yyyy-MM-dd" null="true" />
//
// Numbers ("id") are 1-based. A column without a type is a text.
#pragma once

#include <string_view>

#include "storage/column_definition.h"

namespace qxdbsqlengine {
namespace xml {

constexpr std::string_view kResultSet = "resultset";  // the document element
constexpr std::string_view kRowSet = "rowset";        // one result set
constexpr std::string_view kRow = "row";
constexpr std::string_view kColumn = "column";  // one cell
constexpr std::string_view kId = "id";
constexpr std::string_view kName = "name";
constexpr std::string_view kType = "type";
constexpr std::string_view kNull = "null";  // "true" on a cell that is NULL
constexpr std::string_view kTrue = "true";
constexpr std::string_view kFormat = "format";        // of timestamps
constexpr std::string_view kPrecision = "precision";  // width of the column

// By EnumDataType; empty for a text.
constexpr std::string_view kTypeWords[] = {"",      "Short",  "Int",     "Long",   "BigInt",
                                           "Float", "Double", "Decimal", "Binary", "Timestamp"};
constexpr int kTypeWordCount = static_cast<int>(sizeof kTypeWords / sizeof kTypeWords[0]);

// Empty for all types that are written as texts.
inline std::string_view TypeWord(EnumDataType type) {
    return type > DataTypeString && type < kTypeWordCount ? kTypeWords[type] : std::string_view();
}

// An unknown or absent word is a text.
inline EnumDataType TypeOf(std::string_view word) {
    for (int type = 1; type < kTypeWordCount; ++type)
        if (word == kTypeWords[type])
            return static_cast<EnumDataType>(type);
    return DataTypeString;
}

}  // namespace xml
}  // namespace qxdbsqlengine
