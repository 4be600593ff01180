#include "engine/single_connection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "platform/qxdb/driver.h"
#include "platform/qxsplt/errors.h"
#include "platform/qxutils/qx_exception.h"

namespace qxdbsqlengine {
namespace {

std::atomic<int> openConnections{0};

class CountedConnection final : public qxdb::ConnectionImpl {
  public:
    CountedConnection() { ++openConnections; }
    ~CountedConnection() override { --openConnections; }
    double GetServerVersionNumber() const override { return 4.11; }
    bool HasUnicodeSupport() const override { return true; }
    qxdb::ConnectionProperties& GetProperties() override { throw Errors(); }
    void SetCallback(qxdb::Callback*) override {}
    std::shared_ptr<qxdb::StatementImpl> CreateStatement() override { return nullptr; }
};

// Connects to anything but "refuse".
class CountingDriver final : public qxdb::Driver {
  public:
    std::string GetName() const override { return "counting"; }
    bool Serves(qxdb::DBTYPE) const override { return false; }
    std::shared_ptr<qxdb::ConnectionImpl> Connect(const qxdb::ConnectionDef& definition) override {
        if (definition.GetDataSource() == "refuse") {
            Errors errors;
            errors.AddRecord(UserErrorRecord("refused"));
            throw errors;
        }
        return std::make_shared<CountedConnection>();
    }
};

qxdb::ConnectionDef Definition(const std::string& source) {
    qxdb::Manager::Instance().RegisterDriver(std::make_shared<CountingDriver>());
    return {qxdb::DBTYPE_OTHER, source, "", "", "counting", ""};
}

TEST(SingleConnection, OpensAtOnceAndClosesWithItself) {
    {
        SingleConnection connections(Definition("x"));
        EXPECT_EQ(1, openConnections);
        EXPECT_EQ(4.11, connections.GetConnection().GetServerVersionNumber());
    }
    EXPECT_EQ(0, openConnections);
}

TEST(SingleConnection, RefusedConnectionThrowsTheDriversErrors) {
    try {
        SingleConnection connections(Definition("refuse"));
        FAIL() << "connected";
    } catch (const Errors& errors) {
        EXPECT_EQ("refused", errors.GetNextError().GetErrorDescription());
    }
}

TEST(SingleConnection, LendsToOneAtATime) {
    SingleConnection connections(Definition("x"));
    qxdb::Connection* const first = connections.RequestConnection("x", true, false);
    EXPECT_EQ(&connections.GetConnection(), first);
    std::atomic<bool> lent{false};
    std::thread second([&] {
        qxdb::Connection* const borrowed = connections.RequestConnection("other", true, false);
        lent = true;
        connections.ReleaseConnection(borrowed);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(lent);
    connections.ReleaseConnection(first);
    second.join();
    EXPECT_TRUE(lent);
    EXPECT_NE(nullptr, connections.RequestConnection("x", true, false));
}

TEST(SingleConnection, KnowsNoServerForDataCopies) {
    SingleConnection connections(Definition("x"));
    try {
        connections.GetServerIdentifier("shop", true);
        FAIL() << "a server was named";
    } catch (const qxutils::QXException& error) {
        EXPECT_STREQ("No server is known for a data copy from shop", error.what());
    }
}

}  // namespace
}  // namespace qxdbsqlengine
