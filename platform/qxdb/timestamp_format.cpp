#include "platform/qxdb/timestamp_format.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace qxdb {

namespace {

using Formats = std::unordered_map<std::string, std::unique_ptr<const TimestampFormat>>;

struct Letters {
    const char* letters;
    TimestampToken token;
};

constexpr Letters kLetters[] = {{"yyyy", TimestampToken::Year}, {"MM", TimestampToken::Month},
                                {"dd", TimestampToken::Day},    {"HH", TimestampToken::Hour24},
                                {"hh", TimestampToken::Hour12}, {"mm", TimestampToken::Minute},
                                {"ss", TimestampToken::Second}, {"a", TimestampToken::HalfOfDay}};

bool IsDate(TimestampToken token) {
    return token == TimestampToken::Year || token == TimestampToken::Month || token == TimestampToken::Day;
}

bool StartsWithDigits(const TimestampPart& part) {
    if (part.token == TimestampToken::Literal)
        return part.literal >= '0' && part.literal <= '9';
    return part.token != TimestampToken::HalfOfDay;
}

// The part that starts at `at`, and how many characters it takes.
TimestampPart PartAt(const std::string& text, std::size_t at, std::size_t& taken) {
    if (text[at] == 'f') {
        std::size_t end = text.find_first_not_of('f', at);
        if (end == std::string::npos)
            end = text.size();
        constexpr std::size_t most = std::numeric_limits<unsigned short>::max();
        taken = end - at < most ? end - at : most;
        return {TimestampToken::Fraction, 0, static_cast<unsigned short>(taken), false, false};
    }
    for (const Letters& known : kLetters) {
        const std::size_t length = std::char_traits<char>::length(known.letters);
        if (text.compare(at, length, known.letters) == 0) {
            taken = length;
            return {known.token, 0, 0, false, false};
        }
    }
    taken = 1;
    return {TimestampToken::Literal, text[at], 0, false, false};
}

std::size_t WidthOf(const TimestampPart& part) {
    switch (part.token) {
        case TimestampToken::Literal:
            return 1;
        case TimestampToken::Year:
            return 4;
        case TimestampToken::Fraction:
            return part.digits;
        default:
            return 2;
    }
}

std::unique_ptr<const TimestampFormat> Compile(const std::string& text) {
    auto format = std::make_unique<TimestampFormat>();
    format->text = text;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t taken = 0;
        format->parts.push_back(PartAt(text, at, taken));
        at += taken;
    }
    for (const TimestampPart& part : format->parts)
        format->width += WidthOf(part);
    if (format->width > TimestampFormat::MostWidth)
        format->width = 0;
    bool dateFollows = false;
    bool digitsFollow = false;
    for (auto part = format->parts.rbegin(); part != format->parts.rend(); ++part) {
        dateFollows = dateFollows || IsDate(part->token);
        part->dateFollows = dateFollows;
        part->digitsFollow = digitsFollow;
        digitsFollow = StartsWithDigits(*part);
    }
    return format;
}

}  // namespace

const TimestampFormat* TimestampFormat::Get(const std::string& text) {
    // Rows of one column ask for the same format again and again.
    thread_local const TimestampFormat* last = nullptr;
    if (last && last->text == text)
        return last;
    // Never destroyed: timestamps of static objects may still point into it.
    static std::mutex* const lock = new std::mutex;
    static Formats* const formats = new Formats;
    const std::lock_guard<std::mutex> guard(*lock);
    auto found = formats->find(text);
    if (found == formats->end())
        found = formats->emplace(text, Compile(text)).first;
    last = found->second.get();
    return last;
}

const TimestampFormat* TimestampFormat::Default() {
    static const TimestampFormat* const format = Get("yyyy-MM-dd HH:mm:ss.fff");
    return format;
}

}  // namespace qxdb
