#include "engine/connection_request.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "platform/qxdb/connection.h"

namespace {

using qxdbsqlengine::ConnectionRequestCallback;
using qxdbsqlengine::ConnectionRequestCallbackPtr;
using qxdbsqlengine::ConnectionWrapper;
using qxdbsqlengine::IConnectionRequestNotifyCallback;
using qxdbsqlengine::ServerIdentifier;

struct Lender : ConnectionRequestCallback {
    qxdb::Connection* RequestConnection(char const* dataSourceName, bool first, bool second) override {
        calls.push_back(std::string("request ") + dataSourceName + (first ? " 1" : " 0") +
                        (second ? " 1" : " 0"));
        return lent;
    }
    void ReleaseConnection(qxdb::Connection* returned) override {
        calls.push_back(returned == lent ? "release" : "release of another");
    }
    ServerIdentifier GetServerIdentifier(char const* dataSourceName, bool) override {
        return ServerIdentifier(dataSourceName);
    }

    qxdb::Connection connection;
    qxdb::Connection* lent = &connection;
    std::vector<std::string> calls;
};

using Calls = std::vector<std::string>;

TEST(ConnectionWrapperTest, BorrowsAndGivesBack) {
    auto* const lender = new Lender;
    const ConnectionRequestCallbackPtr callback(lender);
    {
        ConnectionWrapper wrapper(callback);
        EXPECT_EQ(wrapper.GetConnection("pubs", true, false), &lender->connection);
        EXPECT_EQ(lender->calls, Calls{"request pubs 1 0"});
    }
    EXPECT_EQ(lender->calls, (Calls{"request pubs 1 0", "release"}));
}

TEST(ConnectionWrapperTest, GivesBackWhenTheRunThrows) {
    auto* const lender = new Lender;
    const ConnectionRequestCallbackPtr callback(lender);
    try {
        ConnectionWrapper wrapper(callback);
        wrapper.GetConnection("pubs", true, false);
        throw std::runtime_error("run");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(lender->calls, (Calls{"request pubs 1 0", "release"}));
}

TEST(ConnectionWrapperTest, NothingBorrowedNothingReturned) {
    auto* const lender = new Lender;
    const ConnectionRequestCallbackPtr callback(lender);
    { ConnectionWrapper wrapper(callback); }
    EXPECT_EQ(lender->calls, Calls{});
    lender->lent = nullptr;
    {
        ConnectionWrapper wrapper(callback);
        EXPECT_EQ(wrapper.GetConnection("pubs", false, true), nullptr);
    }
    EXPECT_EQ(lender->calls, Calls{"request pubs 0 1"});
}

TEST(ConnectionWrapperTest, WithoutCallbackThereIsNoConnection) {
    ConnectionWrapper wrapper{ConnectionRequestCallbackPtr()};
    EXPECT_EQ(wrapper.GetConnection("pubs", true, false), nullptr);
}

TEST(ConnectionWrapperTest, KeepsTheCallbackAlive) {
    auto* const lender = new Lender;
    ConnectionRequestCallbackPtr callback(lender);
    ConnectionWrapper wrapper(callback);
    callback = ConnectionRequestCallbackPtr();
    EXPECT_NE(wrapper.GetConnection("pubs", true, false), nullptr);
    EXPECT_EQ(lender->calls.size(), 1u);
}

struct Notified final : IConnectionRequestNotifyCallback {
    void OnConnectionRequested(char const*) override {}
    void OnConnectionOpened(char const*, qxdb::Connection*) override {}
    void OnConnectionRefused(char const*) override {}
    void OnConnectionReleased(qxdb::Connection*) override {}
    void OnConnectionClosed(char const*) override {}
};

TEST(ConnectionRequestNotifyCallbackTest, IsCopiedAndAssigned) {
    Notified one;
    Notified other(one);
    one = other;
    static_assert(!std::is_base_of<IConnectionRequestNotifyCallback, ConnectionRequestCallback>::value,
                  "two separate interfaces");
}

}  // namespace
