#include "platform/qxdbop/jdbc_datacopy_handler.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using qxdbop::DatacopyImpl;
using qxdbop::JavaError;
using qxdbop::JavaString;
using qxdbop::JDBCDatacopyHandler;
using qxdbop::ServerIdentifier;

constexpr const char* noLibrary = "Data copy is not possible: no data-operations library is registered.";

std::string WhatIsThrown(const std::function<void()>& action) {
    try {
        action();
    } catch (const JavaError& failure) {
        EXPECT_EQ(failure.GetText(), failure.what());
        return failure.GetText();
    }
    return "nothing";
}

class Recorder final : public DatacopyImpl {
  public:
    Recorder(std::vector<std::string>& calls, const ServerIdentifier& server) : log(calls) {
        log.push_back("made " + server.GetDataSourceName());
    }
    ~Recorder() override { log.push_back("gone"); }
    void Init(const JavaString& command) override { log.push_back("init " + command.GetText()); }
    void Run() override {
        log.push_back("run");
        throw JavaError("no space");
    }

  private:
    std::vector<std::string>& log;
};

class DatacopyHandlerTest : public ::testing::Test {
  protected:
    ~DatacopyHandlerTest() override { qxdbop::RegisterDatacopy(nullptr); }
};

TEST_F(DatacopyHandlerTest, WithoutALibraryEverythingFails) {
    JDBCDatacopyHandler handler{ServerIdentifier("shop")};
    EXPECT_EQ(WhatIsThrown([&] { handler.init(JavaString("x")); }), noLibrary);
    EXPECT_EQ(WhatIsThrown([&] { handler.run(); }), noLibrary);
}

TEST_F(DatacopyHandlerTest, HandsServerAndCommandOn) {
    std::vector<std::string> log;
    qxdbop::RegisterDatacopy(
        [&log](const ServerIdentifier& server) { return std::make_unique<Recorder>(log, server); });
    {
        JDBCDatacopyHandler handler{ServerIdentifier("shop")};
        handler.init(JavaString("datacopy a b"));
        EXPECT_EQ(WhatIsThrown([&] { handler.run(); }), "no space");
        // A copy under way goes on without its library.
        qxdbop::RegisterDatacopy(nullptr);
        handler.init(JavaString("again"));
    }
    EXPECT_EQ(log, (std::vector<std::string>{"made shop", "init datacopy a b", "run", "init again", "gone"}));
    JDBCDatacopyHandler handler{ServerIdentifier("shop")};
    EXPECT_EQ(WhatIsThrown([&] { handler.run(); }), noLibrary);
}

TEST_F(DatacopyHandlerTest, LibraryThatMakesNothingIsNone) {
    qxdbop::RegisterDatacopy([](const ServerIdentifier&) { return nullptr; });
    JDBCDatacopyHandler handler{ServerIdentifier("shop")};
    EXPECT_EQ(WhatIsThrown([&] { handler.run(); }), noLibrary);
}

TEST_F(DatacopyHandlerTest, JavaErrorIsAStandardException) {
    try {
        throw JavaError("text");
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "text");
    }
}

}  // namespace
