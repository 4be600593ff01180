#include "drivers/odbc/parameter_value.h"

#include <charconv>
#include <limits>
#include <type_traits>

#include "drivers/odbc/diagnostics.h"
#include "drivers/odbc/value_text.h"

namespace qxdrivers::odbc {

namespace {

using qxdb::Column;

template <class... T>
struct Overloaded : T... {
    using T::operator()...;
};
template <class... T>
Overloaded(T...) -> Overloaded<T...>;

template <class T>
bool ParseAll(const std::string& text, T& value) {
    const char* const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, value);
    return read.ec == std::errc() && read.ptr == end && !text.empty();
}

[[noreturn]] void ThrowUnfit(const ParameterValue& value) {
    ThrowRefusal("The output value '" + TextOf(value) + "' does not fit the bound variable", "22003");
}

template <class T>
T WholeFrom(const ParameterValue& value) {
    __int64 whole = 0;
    const bool good = std::visit(Overloaded{
                                     [&](__int64 number) {
                                         whole = number;
                                         return true;
                                     },
                                     [&](const std::string& text) { return ParseAll(text, whole); },
                                     [&](const qxdb::Decimal& number) {
                                         whole = number.AsBigInt();
                                         return number.Compare(qxdb::Decimal(whole, 0)) == 0;
                                     },
                                     [&](std::monostate) { return true; },
                                     [](const auto&) { return false; },
                                 },
                                 value);
    if (!good || whole < std::numeric_limits<T>::min() || whole > std::numeric_limits<T>::max()) {
        ThrowUnfit(value);
    }
    return static_cast<T>(whole);
}

double RealFrom(const ParameterValue& value) {
    double real = 0;
    const bool good = std::visit(Overloaded{
                                     [&](__int64 number) {
                                         real = static_cast<double>(number);
                                         return true;
                                     },
                                     [&](double number) {
                                         real = number;
                                         return true;
                                     },
                                     [&](const std::string& text) { return ParseAll(text, real); },
                                     [&](const qxdb::Decimal& number) {
                                         real = number.AsDouble();
                                         return true;
                                     },
                                     [](std::monostate) { return true; },
                                     [](const auto&) { return false; },
                                 },
                                 value);
    if (!good) {
        ThrowUnfit(value);
    }
    return real;
}

void StoreBytes(const ParameterValue& value, qxdb::BufferBase& target) {
    if (const auto* const bytes = std::get_if<qxdb::DynBuffer>(&value)) {
        target.Assign(*bytes);
        return;
    }
    const std::string text = IsNullValue(value) ? std::string() : TextOf(value);
    qxdb::DynBuffer bytes;
    bytes.Assign(reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned int>(text.size()));
    target.Assign(bytes);
}

void StoreTime(const ParameterValue& value, qxdb::Timestamp& target) {
    if (const auto* const time = std::get_if<qxdb::Timestamp>(&value)) {
        const std::string format = target.GetFormat();
        target = *time;
        target.SetFormat(format);
    } else if (IsNullValue(value)) {
        target.SetDate(0, 0, 0);
        target.SetTime(0, 0, 0);
        target.SetFraction(0);
    } else if (!qxdb::Timestamp::ParseIso(TextOf(value), target)) {
        ThrowUnfit(value);
    }
}

void StoreDecimal(const ParameterValue& value, qxdb::Decimal& target) {
    qxdb::Decimal number;
    if (!IsNullValue(value) && !qxdb::Decimal::TryParse(TextOf(value), number)) {
        ThrowUnfit(value);
    }
    target = number;
}

}  // namespace

std::string TextOf(const ParameterValue& value) {
    std::string out;
    std::visit(Overloaded{
                   [](std::monostate) {},
                   [&](__int64 whole) { AppendWhole(whole, out); },
                   [&](double real) { AppendReal(real, out); },
                   [&](const std::string& text) { out = text; },
                   [&](const qxdb::Decimal& decimal) { decimal.AppendTo(out, '.', false, -1); },
                   [&](const qxdb::Timestamp& time) { time.AppendTo(out); },
                   [&](const qxdb::DynBuffer& bytes) {
                       qxdb::BufferBase::AppendHex(out, bytes.GetData(), bytes.GetLength());
                   },
               },
               value);
    return out;
}

ParameterValue ValueFromText(const std::string& text, const ValueType& type, const std::string& timeFormat) {
    switch (type.bindType) {
        case Column::BindShort:
        case Column::BindInt:
        case Column::BindLong:
        case Column::BindInt64: {
            __int64 whole = 0;
            return ParseAll(text, whole) ? ParameterValue(whole) : ParameterValue(text);
        }
        case Column::BindFloat:
        case Column::BindDouble: {
            double real = 0;
            return ParseAll(text, real) ? ParameterValue(real) : ParameterValue(text);
        }
        case Column::BindDecimal: {
            qxdb::Decimal decimal;
            return qxdb::Decimal::TryParse(text, decimal) ? ParameterValue(decimal) : ParameterValue(text);
        }
        case Column::BindTimestamp: {
            qxdb::Timestamp time;
            time.SetFormat(timeFormat);
            return ReadTime(text, type.part, true, time) ? ParameterValue(time) : ParameterValue(text);
        }
        case Column::BindBinary:
            return ValueFromBytes(text);
        default:
            return text;
    }
}

ParameterValue ValueFromBytes(const std::string& bytes) {
    qxdb::DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<unsigned int>(bytes.size()));
    return buffer;
}

ParameterValue ValueFromStorage(qxdb::BoundStorage storage) {
    return std::visit(Overloaded{
                          [](float* value) -> ParameterValue { return static_cast<double>(*value); },
                          [](double* value) -> ParameterValue { return *value; },
                          [](qxdb::BufferBase* value) -> ParameterValue {
                              qxdb::DynBuffer copy;
                              copy.Assign(*value);
                              return copy;
                          },
                          [](qxdb::Timestamp* value) -> ParameterValue { return *value; },
                          [](qxdb::BasicFixedString<char>& value) -> ParameterValue { return value.Text(); },
                          [](qxdb::FixedDecimal& value) -> ParameterValue { return value.Value(); },
                          [](auto* value) -> ParameterValue { return static_cast<__int64>(*value); },
                      },
                      storage);
}

void StoreValue(const ParameterValue& value, qxdb::BoundStorage storage) {
    std::visit(Overloaded{
                   [&](float* target) { *target = static_cast<float>(RealFrom(value)); },
                   [&](double* target) { *target = RealFrom(value); },
                   [&](qxdb::BufferBase* target) { StoreBytes(value, *target); },
                   [&](qxdb::Timestamp* target) { StoreTime(value, *target); },
                   [&](qxdb::BasicFixedString<char>& target) { target.Text() = TextOf(value); },
                   [&](qxdb::FixedDecimal& target) { StoreDecimal(value, target.Value()); },
                   [&](auto* target) { *target = WholeFrom<std::remove_pointer_t<decltype(target)>>(value); },
               },
               storage);
}

}  // namespace qxdrivers::odbc
