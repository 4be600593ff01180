// The place of one large object on the server.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/qxdb/buffer.h"

namespace qxdb {

class Connection;

// What a driver supplies behind a LobLocator. Import and Export run on the thread of the connection that they
// are given; the rest may be called on any thread, one at a time.
class QXSENG2_API LobLocatorImp {
  public:
    virtual ~LobLocatorImp();
    virtual std::unique_ptr<LobLocatorImp> Clone() const = 0;
    // Bytes that find the object of one row; all rows of a column have the same length.
    virtual DynBuffer GetLocatorData() const = 0;
    virtual void SetLocatorData(const DynBuffer& data) = 0;
    virtual bool IsValid(bool) const = 0;
    virtual bool IsReadOnly() const = 0;
    virtual bool EditAsClob() const = 0;
    virtual std::string TableName() const = 0;
    virtual void SetAsXMLType() = 0;
    // `rowValues`: the texts of the row's cells, to find the row by. Both throw Errors.
    virtual void Import(const std::string& fileName, Connection& connection,
                        std::list<std::string>* rowValues) = 0;
    virtual void Export(const std::string& fileName, Connection& connection,
                        std::list<std::string>* rowValues) = 0;
};

// Owner of one locator, or empty. Copying clones the implementation. An empty locator is not valid, read-only
// and has no data; Import and Export of it throw Errors.
class QXSENG2_API LobLocator {
  public:
    LobLocator();
    // Takes ownership; null gives an empty locator.
    explicit LobLocator(LobLocatorImp* implementation);
    LobLocator(const LobLocator& other);
    LobLocator& operator=(const LobLocator& other);
    ~LobLocator();

    LobLocator Clone() const;
    DynBuffer GetLocatorData() const;
    void SetLocatorData(DynBuffer& data);
    bool IsValid(bool check) const;
    bool IsReadOnly() const;
    bool EditAsClob() const;
    std::string TableName() const;
    void SetAsXMLType();
    void Import(const std::string& fileName, Connection& connection, std::list<std::string>* rowValues);
    void Export(const std::string& fileName, Connection& connection, std::list<std::string>* rowValues);

  private:
    std::unique_ptr<LobLocatorImp> implementation;
};

}  // namespace qxdb
