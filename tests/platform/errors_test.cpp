#include "platform/qxsplt/errors.h"

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "platform/qxutils/qx_exception.h"

namespace {

TEST(ErrorRecordTest, CarriesItsFields) {
    int mark = 0;
    const ErrorRecord record(10, 1045, 3, 7, "Access denied", "28000", &mark);
    ErrorRecord copy(0, 0, 0, 0, "", "", nullptr);
    copy = record;
    for (const ErrorRecord& each : {record, ErrorRecord(record), copy}) {
        EXPECT_EQ(each.GetSeverity(), 10);
        EXPECT_EQ(each.GetErrorCode(), 1045);
        EXPECT_EQ(each.GetLineNumber(), 3);
        EXPECT_EQ(each.GetErrorPosition(), 7);
        EXPECT_EQ(each.GetErrorDescription(), "Access denied");
        EXPECT_EQ(each.GetSQLState(), "28000");
        EXPECT_EQ(each.GetUserData(), &mark);
    }
}

TEST(ErrorRecordTest, TextForPeople) {
    EXPECT_EQ(ErrorRecord(2, 1045, 3, 7, "Denied", "28000", nullptr).AsString(),
              "Denied (error 1045, state 28000, line 3, position 7)");
    EXPECT_EQ(UserErrorRecord("Out of luck").AsString(), "Out of luck");
}

TEST(ErrorRecordTest, UserRecordHasTextOnly) {
    const UserErrorRecord record("Unknown Error");
    EXPECT_EQ(record.GetSeverity(), 0);
    EXPECT_EQ(record.GetErrorCode(), 0);
    EXPECT_EQ(record.GetLineNumber(), 0);
    EXPECT_EQ(record.GetErrorPosition(), 0);
    EXPECT_EQ(record.GetErrorDescription(), "Unknown Error");
    EXPECT_EQ(record.GetSQLState(), "");
    EXPECT_EQ(record.GetUserData(), nullptr);
}

Errors TwoErrors() {
    Errors errors;
    errors.AddRecord(UserErrorRecord("first"));
    errors.AddRecord(ErrorRecord(2, 5, 0, 0, "second", "", nullptr));
    return errors;
}

TEST(ErrorsTest, ReadsInOrderAndAgainAfterReset) {
    const Errors errors = TwoErrors();
    EXPECT_EQ(errors.GetNumberErrors(), 2u);
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_TRUE(errors.MoreErrors());
        EXPECT_EQ(errors.GetNextError().GetErrorDescription(), "first");
        EXPECT_TRUE(errors.MoreErrors());
        EXPECT_EQ(errors.GetNextError().GetErrorDescription(), "second");
        EXPECT_FALSE(errors.MoreErrors());
        EXPECT_THROW(errors.GetNextError(), std::out_of_range);
        EXPECT_EQ(errors.GetNumberErrors(), 2u);
        errors.Reset();
    }
}

TEST(ErrorsTest, EmptyListHasNothing) {
    const Errors errors;
    EXPECT_EQ(errors.GetNumberErrors(), 0u);
    EXPECT_FALSE(errors.MoreErrors());
}

TEST(ErrorsTest, CopiesAreIndependent) {
    const Errors errors = TwoErrors();
    errors.GetNextError();
    Errors copy(errors);
    EXPECT_EQ(copy.GetNextError().GetErrorDescription(), "second");
    copy.AddRecord(UserErrorRecord("third"));
    EXPECT_EQ(errors.GetNumberErrors(), 2u);
    EXPECT_EQ(errors.GetNextError().GetErrorDescription(), "second");
}

TEST(ErrorsTest, AddedRecordIsCopied) {
    Errors errors;
    {
        const std::string text = "gone by now";
        errors.AddRecord(UserErrorRecord(text));
    }
    EXPECT_EQ(errors.GetNextError().GetErrorDescription(), "gone by now");
}

TEST(ErrorsTest, IsAnExceptionOfItsOwnKind) {
    static_assert(!std::is_base_of<std::exception, Errors>::value, "catch clauses tell them apart");
    static_assert(std::is_base_of<qxutils::ExceptionListT<ErrorRecord>, Errors>::value, "the list");
    try {
        throw TwoErrors();
    } catch (const std::exception&) {
        FAIL() << "caught as a standard exception";
    } catch (const Errors& errors) {
        EXPECT_EQ(errors.GetNumberErrors(), 2u);
    }
}

}  // namespace
