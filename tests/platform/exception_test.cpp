#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "platform/os/debug_output.h"
#include "platform/qxutils/com_verify.h"
#include "platform/qxutils/java_string.h"
#include "platform/qxutils/qx_exception.h"
#include "platform/qxutils/step_timer.h"

namespace {

using qxutils::QXException;

TEST(QXExceptionTest, SameMessageNarrowAndWide) {
    const QXException failure("Fehler: \xC3\xBC");
    EXPECT_STREQ(failure.what(), "Fehler: \xC3\xBC");
    EXPECT_STREQ(failure.twhat(), "Fehler: \xC3\xBC");
    EXPECT_STREQ(failure.wwhat(), L"Fehler: \u00FC");
}

TEST(QXExceptionTest, IsCaughtByValueAndAsStandardException) {
    struct Local : QXException {
        Local() : QXException("local") {}
    };
    try {
        throw Local();
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "local");
    }
    QXException copy("other");
    copy = QXException("assigned");
    EXPECT_STREQ(copy.what(), "assigned");
    EXPECT_STREQ(copy.wwhat(), L"assigned");
}

TEST(COMVerifyTest, ThrowsForFailuresOnly) {
    EXPECT_NO_THROW(qxutils::COMVerify::Check(S_OK, "file.cpp", 1));
    EXPECT_NO_THROW(qxutils::COMVerify::Check(S_FALSE, "file.cpp", 1));
    for (const long code : {static_cast<long>(E_FAIL), 0x80004005L}) {
        try {
            qxutils::COMVerify::Check(code, "file.cpp", 7);
            ADD_FAILURE() << "no exception";
        } catch (const _com_error& failure) {
            EXPECT_EQ(failure.Error(), E_FAIL);
            EXPECT_STREQ(failure.ErrorMessage(), "Failure code 0x80004005");
        }
    }
}

std::string debugText;

TEST(COMVerifyTest, TellsThePlaceToTheDebugOutput) {
    qxos::SetDebugOutputHook([](const char* text) { debugText = text; });
    EXPECT_THROW(qxutils::COMVerify::Check(E_POINTER, "parser.cpp", 42), _com_error);
    qxos::SetDebugOutputHook(nullptr);
    EXPECT_EQ(debugText, "parser.cpp(42): component failure");
}

TEST(JavaStringTest, CarriesItsText) {
    const qxutils::JavaString text("copy a to b");
    EXPECT_EQ(qxutils::JavaString(text).GetText(), "copy a to b");
}

TEST(PerformanceStepTimerTest, GrowsInMilliseconds) {
    const qxutils::PerformanceStepTimer timer(true);
    double last = timer.GetElapseTime();
    EXPECT_GE(last, 0.0);
    EXPECT_LT(last, 1000.0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    for (int i = 0; i < 1000; ++i) {
        const double now = timer.GetElapseTime();
        EXPECT_GE(now, last);
        last = now;
    }
    EXPECT_GE(last, 20.0);
    EXPECT_LT(last, 10000.0);
}

TEST(PerformanceStepTimerTest, CopiesKeepTheBeginning) {
    qxutils::PerformanceStepTimer stopped(false);
    EXPECT_EQ(stopped.GetElapseTime(), 0.0);
    const qxutils::PerformanceStepTimer timer(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    stopped = timer;
    EXPECT_GE(stopped.GetElapseTime(), 10.0);
}

}  // namespace
