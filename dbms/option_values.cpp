#include "dbms/option_values.h"

#include "platform/os/com_error.h"
#include "platform/qxutils/qx_exception.h"

namespace qxdbsqlengine {

namespace {

[[noreturn]] void RefuseValue(unsigned int option) {
    throw qxutils::QXException("Query option " + std::to_string(option) + " has a value of a wrong type");
}

// A variant of a type that does not convert raises an error of the component world, which says nothing to the
// user of a request.
template <class T>
std::optional<T> FindOption(const OptionMap& options, unsigned int option) {
    const auto found = options.find(option);
    if (found == options.end())
        return std::nullopt;
    try {
        return static_cast<T>(found->second);
    } catch (const _com_error&) {
        RefuseValue(option);
    }
}

}  // namespace

std::optional<int> FindIntOption(const OptionMap& options, unsigned int option) {
    return FindOption<int>(options, option);
}

std::optional<bool> FindBoolOption(const OptionMap& options, unsigned int option) {
    return FindOption<bool>(options, option);
}

std::optional<std::string> FindTextOption(const OptionMap& options, unsigned int option) {
    const auto found = options.find(option);
    if (found == options.end())
        return std::nullopt;
    if (found->second.vt != VT_BSTR && found->second.vt != VT_EMPTY)
        RefuseValue(option);
    return NarrowText(found->second);
}

int ReadIntOption(const OptionMap& defaults, const OptionMap& options, unsigned int option, int fallback) {
    if (const std::optional<int> value = FindIntOption(options, option))
        return *value;
    return FindIntOption(defaults, option).value_or(fallback);
}

bool IsOptionOn(const OptionMap& options, unsigned int option) {
    const auto found = options.find(option);
    return found != options.end() && found->second.vt == VT_BOOL && static_cast<bool>(found->second);
}

std::string NarrowText(const _variant_t& value) {
    const _bstr_t text = value;
    const char* const narrow = text;
    return narrow == nullptr ? std::string() : std::string(narrow);
}

}  // namespace qxdbsqlengine
