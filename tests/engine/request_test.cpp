#include "engine/request.h"

#include <gtest/gtest.h>

#include <exception>
#include <type_traits>

#include "platform/qxdb/connection.h"

namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::ConnectionDefElement;
using qxdbsqlengine::Request;
using qxdbsqlengine::RequestPtr;

struct Checking : Request {
    void Check() { CheckCancelled(); }
    void OnCancelled() override { ++told; }
    int told = 0;
};

TEST(RequestTest, DoesNothingItself) {
    Request request;
    qxdb::Connection connection;
    EXPECT_FALSE(request.Execute(ConnectionDefElement()));
    EXPECT_FALSE(request.Execute(ConnectionDefElement(), connection));
    EXPECT_FALSE(request.IsCancelled());
}

TEST(RequestTest, CancelSetsTheFlagForGood) {
    Request request;
    EXPECT_TRUE(request.Cancel());
    EXPECT_TRUE(request.IsCancelled());
    EXPECT_TRUE(request.Cancel());
    EXPECT_TRUE(request.IsCancelled());
}

TEST(RequestTest, CheckThrowsOnlyWhenCancelled) {
    Checking request;
    EXPECT_NO_THROW(request.Check());
    EXPECT_EQ(request.told, 0);
    request.Cancel();
    EXPECT_THROW(request.Check(), CancelledException);
    EXPECT_EQ(request.told, 1);
    EXPECT_THROW(request.Check(), CancelledException);
    EXPECT_EQ(request.told, 2);
}

TEST(RequestTest, OnCancelledOfTheBaseDoesNothing) {
    Request request;
    EXPECT_NO_THROW(request.OnCancelled());
    EXPECT_FALSE(request.IsCancelled());
}

TEST(CancelledExceptionTest, IsEmptyAndOfNoFamily) {
    static_assert(std::is_empty<CancelledException>::value, "it carries nothing");
    static_assert(!std::is_base_of<std::exception, CancelledException>::value, "no failure");
    CancelledException one;
    one = CancelledException();
    EXPECT_THROW(throw one, CancelledException);
}

TEST(RequestPtrTest, LastHandleDeletes) {
    struct Counted : Request {
        explicit Counted(int& count) : living(count) { ++living; }
        ~Counted() override { --living; }
        int& living;
    };
    int living = 0;
    {
        RequestPtr first(new Counted(living));
        {
            const RequestPtr second(first);
            first = RequestPtr();
            EXPECT_EQ(living, 1);
            EXPECT_FALSE(first);
        }
        EXPECT_EQ(living, 0);
    }
}

}  // namespace
