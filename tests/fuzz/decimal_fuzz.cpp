// The bytes are the text of a decimal. What is read must come back from each of its texts and from its bytes.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/check.h"
#include "platform/qxdb/decimal.h"

using qxdb::BigInteger;
using qxdb::Decimal;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Decimal value(77, 1);
    if (!Decimal::TryParse(text, value)) {
        QX_FUZZ_CHECK(value.Compare(Decimal(77, 1)) == 0 && value.GetScale() == 1);
        return 0;
    }
    QX_FUZZ_CHECK(value.GetScale() >= 0 && value.GetScale() <= static_cast<int>(Decimal::MaxScale));
    if (value.GetScale() > 1000 || value.AppendMagnitudeBytes(nullptr, 0) > 500)
        return 0;  // read, but the arithmetic on such lengths would take the time of a thousand short ones

    Decimal back;
    QX_FUZZ_CHECK(Decimal::TryParse(value.AsString(false, -1), back));
    QX_FUZZ_CHECK(back.Compare(value) == 0 && back.GetScale() == value.GetScale());
    QX_FUZZ_CHECK(Decimal::TryParse(value.AsString(true, -1), back) && back.Compare(value) == 0);
    QX_FUZZ_CHECK(Decimal::TryParse(value.AsStringSN(true, -1), back) && back.Compare(value) == 0);
    QX_FUZZ_CHECK(!value.IsNegative() || value.Compare(Decimal()) < 0);

    std::vector<unsigned char> bytes(value.AppendMagnitudeBytes(nullptr, 0));
    QX_FUZZ_CHECK(value.AppendMagnitudeBytes(bytes.data(), bytes.size()) == bytes.size());
    back.SetFromBytes(value.IsNegative(), static_cast<unsigned int>(value.GetScale()), bytes.data(),
                      bytes.size());
    QX_FUZZ_CHECK(back.Compare(value) == 0);

    Decimal rounded(value);
    rounded.SetScale(2, Decimal::RoundHalfUp);
    QX_FUZZ_CHECK(rounded.AsString(false, -1) == value.AsString(false, 2));
    Decimal twice(value);
    twice += value;
    QX_FUZZ_CHECK(value.IsNegative() ? twice.Compare(value) < 0 : twice.Compare(value) >= 0);
    const Decimal fromDouble(value.AsDouble());
    std::string floating;
    Decimal::AppendDouble(value.AsDouble(), floating);
    QX_FUZZ_CHECK(floating == fromDouble.AsStringSN(true, -1));
    QX_FUZZ_CHECK(fromDouble.AsDouble() == value.AsDouble());
    return 0;
}
