#include "storage/decimal_parts.h"

#include <exception>

#include "platform/os/debug_output.h"
#include "platform/qxdb/big_integer.h"

namespace qxdbsqlengine {

void AppendDecimalText(const qxdb::Decimal& value, char decimalPoint, int precision, std::string& out) {
    const std::size_t before = out.size();
    try {
        value.AppendTo(out, decimalPoint, precision < 1, precision < 1 ? -1 : precision);
    } catch (const std::exception& failure) {
        qxos::OutputDebugStringA((std::string(failure.what()) + "\n").c_str());
        const std::string text =
            "Error for HEX value: " + value.GetMagnitude().AsString(16, qxdb::BigInteger::NumberPlain) +
            " Scale: " + std::to_string(value.GetScale());
        qxos::OutputDebugStringA(text.c_str());
        out.resize(before);
        out += text;
    }
}

std::string_view ViewDecimalText(const qxdb::Decimal& value, char decimalPoint, int precision,
                                 std::string& buffer) {
    std::uint64_t small = 0;
    if (value.GetSmall(small))  // cannot fail
        return value.View(buffer, decimalPoint, precision < 1, precision < 1 ? -1 : precision);
    buffer.clear();
    AppendDecimalText(value, decimalPoint, precision, buffer);
    return buffer;
}

}  // namespace qxdbsqlengine
