#include "params/parameter_impl.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/qxutils/qx_exception.h"

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxdb::Decimal;
using qxdb::DynBuffer;
using qxdb::Timestamp;
using qxdbsqlengine::ParameterBaseImpl;
using qxdbsqlengine::ParameterImpl;

std::string FailureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const qxutils::QXException& e) {
        return e.what();
    }
    return "";
}

template <class T>
std::unique_ptr<ParameterBaseImpl> Make(Column::BindType type) {
    return std::make_unique<ParameterImpl<T>>(type, DataType::DirectionIn);
}

template <>
std::unique_ptr<ParameterBaseImpl> Make<DynBuffer>(Column::BindType type) {
    return std::make_unique<ParameterImpl<DynBuffer>>(type, DataType::DirectionIn, 4U, 0U);
}

template <class T>
std::function<void()> Reader(const ParameterBaseImpl& impl) {
    return [&impl] {
        T value{};
        impl.Get(value);
    };
}

// The typed readers and setters in the same order: binary, 64-bit, timestamp, decimal, double, float, long,
// int, short, text.
std::vector<std::function<void()>> Readers(const ParameterBaseImpl& impl) {
    return {Reader<DynBuffer>(impl), Reader<__int64>(impl),    Reader<Timestamp>(impl), Reader<Decimal>(impl),
            Reader<double>(impl),    Reader<float>(impl),      Reader<long>(impl),      Reader<int>(impl),
            Reader<short>(impl),     Reader<std::string>(impl)};
}

std::vector<std::function<void()>> Setters(ParameterBaseImpl& impl) {
    return {[&] { impl.SetBinary(DynBuffer()); },
            [&] { impl.SetBigInt(1); },
            [&] { impl.SetTimestamp(Timestamp()); },
            [&] { impl.SetDecimal(Decimal()); },
            [&] { impl.SetDouble(1); },
            [&] { impl.SetFloat(1); },
            [&] { impl.SetLong(1); },
            [&] { impl.SetInt(1); },
            [&] { impl.SetShort(1); },
            [&] { impl.SetString("1"); }};
}

struct Slice {
    std::unique_ptr<ParameterBaseImpl> impl;
    std::size_t own;
};

std::vector<Slice> AllSlices() {
    std::vector<Slice> slices;
    slices.push_back({Make<DynBuffer>(Column::BindBinary), 0});
    slices.push_back({Make<__int64>(Column::BindInt64), 1});
    slices.push_back({Make<Timestamp>(Column::BindTimestamp), 2});
    slices.push_back({Make<Decimal>(Column::BindDecimal), 3});
    slices.push_back({Make<double>(Column::BindDouble), 4});
    slices.push_back({Make<float>(Column::BindFloat), 5});
    slices.push_back({Make<long>(Column::BindLong), 6});
    slices.push_back({Make<int>(Column::BindInt), 7});
    slices.push_back({Make<short>(Column::BindShort), 8});
    slices.push_back({Make<std::string>(Column::BindString), 9});
    return slices;
}

TEST(ParameterImpl, EachTypeHasItsOwnSetterAndReaderOnly) {
    for (Slice& slice : AllSlices()) {
        const auto readers = Readers(*slice.impl);
        const auto setters = Setters(*slice.impl);
        for (std::size_t i = 0; i < readers.size(); ++i) {
            const bool textIntoBytes = slice.own == 0 && i == 9;
            EXPECT_EQ(FailureOf(readers[i]), i == slice.own ? "" : "Wrong Type Exception")
                << slice.own << " " << i;
            EXPECT_EQ(FailureOf(setters[i]), i == slice.own || textIntoBytes ? "" : "Wrong Type Exception")
                << slice.own << " " << i;
        }
    }
}

TEST(ParameterImpl, ReadersLookAtNullThenDefaultThenType) {
    for (Slice& slice : AllSlices()) {
        slice.impl->SetNull();
        for (const auto& reader : Readers(*slice.impl))
            EXPECT_EQ(FailureOf(reader), "Get null value exception");
        slice.impl->SetDefault();
        for (const auto& reader : Readers(*slice.impl))
            EXPECT_EQ(FailureOf(reader), "Get default value exception");
    }
}

TEST(ParameterImpl, OwnSettersEndNullAndDefault) {
    for (Slice& slice : AllSlices()) {
        slice.impl->SetNull();
        Setters(*slice.impl)[slice.own]();
        EXPECT_FALSE(slice.impl->IsNull());
        slice.impl->SetDefault();
        Setters(*slice.impl)[slice.own]();
        EXPECT_FALSE(slice.impl->IsDefault());
    }
}

TEST(ParameterImpl, TheBaseRefusesEverything) {
    ParameterBaseImpl base(Column::BindString, DataType::DirectionIn);
    for (const auto& reader : Readers(base))
        EXPECT_EQ(FailureOf(reader), "Wrong Type Exception");
    for (const auto& setter : Setters(base))
        EXPECT_EQ(FailureOf(setter), "Wrong Type Exception");
    const ParameterBaseImpl& constant = base;
    EXPECT_EQ(FailureOf([&] { base.AsString(); }), "Wrong Type Exception");
    EXPECT_EQ(FailureOf([&] { base.AsBinary(); }), "Wrong Type Exception");
    EXPECT_EQ(FailureOf([&] { constant.AsBinary(); }), "Wrong Type Exception");
    EXPECT_EQ(base.GetItemPtr(), nullptr);
    EXPECT_EQ(base.GetScale(), 0);
    base.SetSize(3);
    base.SetLength(3);
    EXPECT_EQ(base.GetSize(), 0U);
    EXPECT_EQ(base.GetLength(), 0U);
    base.SetDateTimeFormat("yyyy");
    EXPECT_EQ(base.GetDateTimeFormat(), "yyyy");
    base.SetType(Column::BindInt);
    EXPECT_EQ(base.GetType(), Column::BindInt);
}

// A driver may write either mark of "no value", and may write it in 32 bits.
class WithIndicators : public ParameterImpl<int> {
  public:
    WithIndicators(long null, long other) : ParameterImpl<int>(Column::BindInt, DataType::DirectionOut) {
        nullIndicator = null;
        defaultIndicator = other;
    }
};

TEST(ParameterImpl, MinusOneAndMinusTwoAreMarks) {
    for (long mark : {-1L, -2L, static_cast<long>(0xFFFFFFFFU), static_cast<long>(0xFFFFFFFEU)}) {
        EXPECT_TRUE(WithIndicators(mark, 0).IsNull()) << mark;
        EXPECT_TRUE(WithIndicators(0, mark).IsDefault()) << mark;
    }
    for (long length : {0L, 1L, 4L, 2147483647L, -3L, static_cast<long>(0xFFFFFFFDU)}) {
        EXPECT_FALSE(WithIndicators(length, 0).IsNull()) << length;
        EXPECT_FALSE(WithIndicators(0, length).IsDefault()) << length;
    }
}

}  // namespace
