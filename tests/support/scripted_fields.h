// The fields of the scripted server. Only for the sources of this folder.
#pragma once

#include <memory>
#include <string>

#include "platform/qxdb/cursor.h"
#include "support/scripted_driver.h"

namespace qxtest {

// What the fields of a cursor share: the row that was fetched last.
struct CurrentRow {
    const Row* cells = nullptr;
    unsigned int number = 0;  // changes with each fetch
};

class CellStream : public qxdb::RawStream {
  public:
    void Start(const LobCell& newLob);
    unsigned int Read(unsigned char* buffer, unsigned int length) override;

    bool wasRead = false;

  private:
    const LobCell* lob = nullptr;
    std::size_t position = 0;
};

// Reads one cell of the current row.
class ScriptField : public qxdb::Field {
  public:
    ScriptField(std::shared_ptr<const qxdb::Column> fieldColumn, std::shared_ptr<CurrentRow> currentRow,
                unsigned int fieldIndex, bool bindAsString);

    std::string GetName() override { return column->GetName(); }
    qxdb::Column::BindType GetType() override {
        return asString ? qxdb::Column::BindString : column->GetType();
    }
    qxdb::DataType::Direction GetDirection() override { return column->GetDirection(); }
    bool IsNull() override;
    qxdb::RawStream* GetStream() override;
    qxdb::DynBuffer& GetBuffer() override;
    qxdb::Cursor& GetCursor() override;
    std::string AsString() override;
    short AsShort() override { return Number<short>(); }
    int AsInt() override { return Number<int>(); }
    long AsLong() override { return Number<long>(); }
    __int64 AsBigInt() override { return Number<__int64>(); }
    float AsFloat() override { return Number<float>(); }
    double AsDouble() override { return Number<double>(); }
    qxdb::Decimal AsDecimal() override;
    qxdb::Timestamp AsTimestamp() override;

  protected:
    unsigned int Index() const { return index; }
    // Throws what a failing cell has.
    const Cell::Value& Value();

  private:
    template <class T>
    T Number();

    std::shared_ptr<const qxdb::Column> column;
    std::shared_ptr<CurrentRow> row;
    unsigned int index;
    bool asString;
    CellStream stream;
    unsigned int streamRow = 0;
    qxdb::DynBuffer buffer;
    qxdb::Cursor nested;
};

}  // namespace qxtest
