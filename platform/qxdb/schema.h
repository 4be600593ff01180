// What a result or a parameter list looks like: columns and their order.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/qxdb/types.h"

namespace qxdb {

// One column of a result or one parameter of a statement, as the server describes it. Drivers derive from it
// when they need more than the plain record below. Immutable once its schema is made, so any thread may read.
class QXSENG2_API Column {
  public:
    // The type in which a value is bound. The numbers are part of the interface.
    enum BindType : int {
        BindUnknown = 0,
        BindString = 1,
        BindInt = 2,
        BindLong = 3,
        BindShort = 4,
        BindFloat = 5,
        BindDouble = 6,
        BindDecimal = 7,
        BindLob = 8,
        BindInt64 = 9,
        BindBinary = 10,
        BindTimestamp = 11,
        BindCursor = 12,
        BindOtherCursor = 13,
        BindOtherString = 14
    };

    virtual ~Column();

    virtual const std::string& GetName() const = 0;
    virtual BindType GetType() const = 0;
    virtual DataType::Direction GetDirection() const = 0;
    // The server's own type number, -1 when it has none.
    virtual int GetNativeType() const = 0;
    virtual std::string GetNativeTypeName() const = 0;
    // Digits behind the point; negative when unknown.
    virtual int GetScale() const = 0;
    // Of a compute result set: the 1-based position of the select-list column that this aggregate belongs
    // under.
    virtual int GetComputeColumn() const = 0;
    // Bit 0 set: binary large object, clear: character large object. Bit 1 and bit 4 (16): wide characters.
    virtual unsigned int GetLobFlags() const = 0;
    // The format of a timestamp column, empty for the default format.
    virtual std::string GetDateTimeFormat() const = 0;
};

// A column as a plain record; what most drivers use.
class QXSENG2_API ColumnRecord : public Column {
  public:
    std::string name;
    BindType type = BindString;
    DataType::Direction direction = DataType::DirectionIn;
    int nativeType = -1;
    std::string nativeTypeName;
    int scale = 0;
    int computeColumn = 0;
    unsigned int lobFlags = 0;
    std::string dateTimeFormat;

    const std::string& GetName() const override;
    BindType GetType() const override;
    DataType::Direction GetDirection() const override;
    int GetNativeType() const override;
    std::string GetNativeTypeName() const override;
    int GetScale() const override;
    int GetComputeColumn() const override;
    unsigned int GetLobFlags() const override;
    std::string GetDateTimeFormat() const override;
};

// Handle on an immutable list of columns; a copy is another handle on the same list.
class QXSENG2_API Schema {
  public:
    using Columns = std::vector<std::shared_ptr<const Column>>;

    Schema();
    explicit Schema(Columns columns);
    ~Schema();
    Schema(const Schema&);
    Schema& operator=(const Schema&);

    unsigned int GetNumberColumns() const;
    // 0-based; throws std::out_of_range.
    const Column& operator[](unsigned int index) const;

  private:
    std::shared_ptr<const Columns> columns;
};

}  // namespace qxdb
