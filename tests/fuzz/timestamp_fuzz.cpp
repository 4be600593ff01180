// The first byte picks a format, the others are the text. What is read must come back from a text with all
// fields and, unless the format leaves fields out, from the format's own.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/check.h"
#include "platform/qxdb/timestamp.h"

using qxdb::Timestamp;

namespace {

constexpr char kFull[] = "yyyy-MM-dd HH:mm:ss.fffffffff";
const char* const kFormats[] = {"",
                                kFull,
                                "MM/dd/yyyy HH:mm:ss.fff",
                                "MM-dd-yyyy HH:mm:ss.fff",
                                "dd.MM.yyyy HH:mm:ss.fff",
                                "MM/dd/yyyy hh:mm:ss a",
                                "yyyy-MM-ddTHH:mm:ss.fff",
                                "yyyy-MM-dd",
                                "HH:mm:ss",
                                "yyyyMMddHHmmssffffff",
                                "fffffffffff a hh",
                                "[yyyy",
                                "abc"};
constexpr std::size_t kFormatCount = sizeof(kFormats) / sizeof(kFormats[0]);

std::string TextIn(Timestamp value, const std::string& format) {
    value.SetFormat(format);
    return value.AsString();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string format = kFormats[data[0] % kFormatCount];
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);

    Timestamp value;
    value.SetDate(1, 2, 3);
    value.SetFormat(format);
    const Timestamp before(value);
    if (value.Parse(text)) {
        Timestamp back;
        back.SetFormat(kFull);
        QX_FUZZ_CHECK(back.Parse(TextIn(value, kFull)) && back == value);
        back.SetFormat(format);
        QX_FUZZ_CHECK(back.Parse(value.AsString()));
    } else {
        QX_FUZZ_CHECK(value == before);
    }

    // The quick reader and the one that goes by the format's letters agree.
    Timestamp quick;
    Timestamp slow;
    slow.SetFormat("yyyy-MM-dd HH:mm:ss.ffff");
    const bool quickRead = Timestamp::ParseIso(text, quick);
    QX_FUZZ_CHECK(slow.Parse(text) == quickRead);
    QX_FUZZ_CHECK(quick == slow);
    return 0;
}
