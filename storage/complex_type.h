// Values of cells that are too large or too structured for a plain value.
#pragma once

#include <list>
#include <string>

#include "platform/export.h"
#include "platform/qxdb/lob_locator.h"
#include "storage/column_definition.h"

namespace qxdbsqlengine {

// What stands for one such cell after it was read: a copy, independent of the container. One thread at a
// time.
class QXSENG2_API ComplexType {
  public:
    virtual ~ComplexType();
    virtual EnumDataType GetDataType() const = 0;
    virtual bool EditAsClob() const;
    virtual bool IsReadOnly() const;
    // The file with the value; empty when there is none yet.
    virtual std::string GetFileName() const;
    // True when the object was made without a file name: a file that it names is temporary, and belongs to
    // the caller, who deletes it.
    virtual bool IsTempFileName() const;
    // Assigns the bytes of the file; false, and `text` left alone, when the file cannot be opened.
    virtual bool AsString(std::string& text);

    // Place of the cell, 0-based, set by who made the object.
    int GetRow() const { return row; }
    void SetRow(int newRow) { row = newRow; }
    int GetCol() const { return col; }
    void SetCol(int newCol) { col = newCol; }

  protected:
    explicit ComplexType(const std::string& file);
    ComplexType(const ComplexType&) = default;
    ComplexType& operator=(const ComplexType&) = default;

    std::string fileName;
    bool isTempFileName;

  private:
    int row;
    int col;
};

// A large object: its locator and the texts of its row, by which a request finds the row again.
class QXSENG2_API LobExtract : public ComplexType {
  public:
    LobExtract(const qxdb::LobLocator& locator, const std::list<std::string>& rowTexts,
               const std::string& file);

    EnumDataType GetDataType() const override;
    bool EditAsClob() const override;
    bool IsReadOnly() const override;
    std::string GetFileName() const override;

    bool IsValid(bool check) const;
    std::string TableName() const;
    void SetAsXMLType();
    // The file is no longer temporary from here on.
    void SetFileName(const std::string& file);
    qxdb::LobLocator& GetLobLocator() { return lobLocator; }
    // One text for each column of the row in order, "[NULL]" for a null.
    std::list<std::string>& GetValueList() { return rowValues; }

  private:
    std::list<std::string> rowValues;
    qxdb::LobLocator lobLocator;
};

// A named (object) type, as its rendered text.
class QXSENG2_API NamedTypeExtract : public ComplexType {
  public:
    // Takes the text over and leaves the argument empty.
    explicit NamedTypeExtract(std::string& value);

    EnumDataType GetDataType() const override;
    bool AsString(std::string& value) override;
    // Writes the text to the file `name`, or to a new temporary file "VAR_..." when it is empty; GetFileName
    // gives the name then. False when the file cannot be written.
    bool WriteToFile(const std::string& name);

  private:
    std::string text;
};

}  // namespace qxdbsqlengine
