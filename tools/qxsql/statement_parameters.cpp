#include "tools/qxsql/statement_parameters.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "platform/qxutils/qx_exception.h"

namespace qxsql {

using qxdbsqlengine::Parameter;
using qxdbsqlengine::ParameterList;

namespace {

using BindType = qxdb::Column::BindType;

[[noreturn]] void Refuse(const std::string& value, const std::string& why) {
    throw std::invalid_argument("--param: \"" + value + "\" " + why);
}

Parameter Make(const std::string& name, BindType type) {
    return Parameter(name, type, qxdb::DataType::DirectionIn, 0, 0);
}

Parameter FromString(const std::string& name, const std::string& value) {
    Parameter parameter = Make(name, qxdb::Column::BindString);
    parameter.Set(value);
    return parameter;
}

template <class T, BindType type>
Parameter FromWhole(const std::string& name, const std::string& value) {
    T number = 0;
    const char* const end = value.data() + value.size();
    const std::from_chars_result parsed = std::from_chars(value.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end) {
        Refuse(value, "is not a whole number from " + std::to_string(std::numeric_limits<T>::min()) + " to " +
                          std::to_string(std::numeric_limits<T>::max()));
    }
    Parameter parameter = Make(name, type);
    parameter.Set(number);
    return parameter;
}

template <class T, BindType type>
Parameter FromFloating(const std::string& name, const std::string& value) {
    T number = 0;
    const char* const end = value.data() + value.size();
    const std::from_chars_result parsed = std::from_chars(value.data(), end, number);
    if (parsed.ec == std::errc::result_out_of_range)
        Refuse(value, "is beyond the range of a " + std::string(sizeof(T) == 4 ? "float" : "double"));
    if (parsed.ec != std::errc() || parsed.ptr != end || !std::isfinite(number))
        Refuse(value, "is not a number");
    Parameter parameter = Make(name, type);
    parameter.Set(number);
    return parameter;
}

Parameter FromDecimal(const std::string& name, const std::string& value) {
    qxdb::Decimal number;
    if (!qxdb::Decimal::TryParse(value, number))
        Refuse(value, "is not a decimal number");
    Parameter parameter = Make(name, qxdb::Column::BindDecimal);
    parameter.Set(number);
    return parameter;
}

int HexDigitOf(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

Parameter FromBinary(const std::string& name, const std::string& value) {
    std::string_view digits(value);
    if (digits.size() >= 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X'))
        digits.remove_prefix(2);
    if (digits.size() % 2 != 0 ||
        std::any_of(digits.begin(), digits.end(), [](char c) { return HexDigitOf(c) < 0; }))
        Refuse(value, "is not made of pairs of hexadecimal digits");
    const auto size = static_cast<unsigned int>(digits.size() / 2);
    qxdb::DynBuffer bytes;
    bytes.SetLength(size);
    for (unsigned int i = 0; i < size; ++i) {
        bytes.GetBuffer()[i] =
            static_cast<unsigned char>(HexDigitOf(digits[2 * i]) * 16 + HexDigitOf(digits[2 * i + 1]));
    }
    Parameter parameter(name, qxdb::Column::BindBinary, qxdb::DataType::DirectionIn, size, size);
    parameter.Set(bytes);
    return parameter;
}

Parameter FromTimestamp(const std::string& name, const std::string& value) {
    qxdb::Timestamp time;
    if (!time.Parse(value))
        Refuse(value, "is not a time such as 2024-12-31 23:59:59.999");
    Parameter parameter = Make(name, qxdb::Column::BindTimestamp);
    parameter.Set(time);
    return parameter;
}

Parameter FromNothing(const std::string& name, const std::string& value, const char* what) {
    if (!value.empty())
        Refuse(value, std::string("stands where a parameter of type ") + what + " takes no value");
    return Make(name, qxdb::Column::BindString);
}

Parameter Null(const std::string& name, const std::string& value) {
    Parameter parameter = FromNothing(name, value, "null");
    parameter.SetNull();
    return parameter;
}

Parameter Default(const std::string& name, const std::string& value) {
    Parameter parameter = FromNothing(name, value, "default");
    parameter.SetDefault();
    return parameter;
}

const struct {
    const char* name;
    Parameter (*read)(const std::string& name, const std::string& value);
} types[] = {
    {"string", FromString},
    {"short", FromWhole<short, qxdb::Column::BindShort>},
    {"int", FromWhole<int, qxdb::Column::BindInt>},
    {"long", FromWhole<long, qxdb::Column::BindLong>},
    {"bigint", FromWhole<__int64, qxdb::Column::BindInt64>},
    {"float", FromFloating<float, qxdb::Column::BindFloat>},
    {"double", FromFloating<double, qxdb::Column::BindDouble>},
    {"decimal", FromDecimal},
    {"binary", FromBinary},
    {"timestamp", FromTimestamp},
    {"null", Null},
    {"default", Default},
};

bool IsNameByte(char c, bool first) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c & 0x80) != 0;
    const bool sign = c == '_' || c == '@' || c == '$' || c == '#';
    return letter || sign || (!first && ((c >= '0' && c <= '9') || c == '.'));
}

// "a, b", or "none". Throws std::invalid_argument when they have no names.
std::string NamesOf(const qxdb::Schema& wanted) {
    std::string names;
    for (unsigned int i = 0; i < wanted.GetNumberColumns(); ++i) {
        if (wanted[i].GetName().empty()) {
            throw std::invalid_argument(
                "--param: the statement has parameters without names, which can only be given without names");
        }
        names += (i == 0 ? "" : ", ") + wanted[i].GetName();
    }
    return names.empty() ? "none" : names;
}

const Parameter* FindByName(const ParameterList& parameters, const std::string& name) {
    for (const Parameter& parameter : parameters) {
        if (parameter.GetName() == name)
            return &parameter;
    }
    return nullptr;
}

void RefuseUnknownNames(const ParameterList& parameters, const qxdb::Schema& wanted) {
    const std::string names = NamesOf(wanted);
    for (const Parameter& parameter : parameters) {
        bool known = false;
        for (unsigned int i = 0; i < wanted.GetNumberColumns() && !known; ++i)
            known = wanted[i].GetName() == parameter.GetName();
        if (!known) {
            throw std::invalid_argument("--param: the statement has no parameter \"" + parameter.GetName() +
                                        "\"; it has " + names);
        }
    }
}

}  // namespace

std::string ParameterTypeNames() {
    std::string names;
    for (const auto& one : types)
        names += (names.empty() ? "" : ", ") + std::string(one.name);
    return names;
}

NameAndValue PartWord(const ParameterWord& word) {
    const std::string& text = word.text;
    const std::string::size_type begin = !text.empty() && text[0] == ':' ? 1 : 0;
    if (word.isOutput)
        return {text == "?" ? "" : text.substr(begin), ""};
    const std::string::size_type equals = text.find('=');
    if (equals == std::string::npos)
        return {"", text};
    for (std::string::size_type i = begin; i < equals; ++i) {
        if (!IsNameByte(text[i], i == begin))
            return {"", text};
    }
    if (equals == begin && begin == 1)  // ":=" is no name
        return {"", text};
    return {text.substr(begin, equals - begin), text.substr(equals + 1)};
}

Parameter ReadParameter(const std::string& type, const std::string& name, const std::string& value) {
    for (const auto& one : types) {
        if (type == one.name || (type.empty() && one.read == FromString))
            return one.read(name, value);
    }
    throw std::invalid_argument("--param-type: \"" + type + "\" is none of " + ParameterTypeNames());
}

ParameterList ReadParameters(const std::vector<ParameterWord>& words) {
    ParameterList parameters;
    bool named = false;
    for (const ParameterWord& word : words) {
        if (word.isOutput)
            throw std::invalid_argument("--param-out goes with --procedure and --function");
        const auto [name, value] = PartWord(word);
        const Parameter parameter = ReadParameter(word.type, name, value);
        if (parameters.GetParameterCount() == 0 && !name.empty()) {
            named = true;
            parameters.SetBindMethod(ParameterList::BindByName);
        } else if (named == name.empty()) {
            Refuse(word.text, named ? "has no name, but those before it have (a value that is meant to have "
                                      "none begins with \"=\")"
                                    : "has a name, but those before it have none (a value that contains "
                                      "\"=\" is written with a \"=\" in front)");
        }
        try {
            parameters.PushBack(parameter);
        } catch (const qxutils::QXException&) {
            throw std::invalid_argument("--param: the name \"" + name + "\" is given twice");
        }
    }
    return parameters;
}

ParameterList OrderParameters(const ParameterList& parameters, const qxdb::Schema& wanted) {
    const unsigned int count = wanted.GetNumberColumns();
    ParameterList ordered;
    if (parameters.GetBindMethod() == ParameterList::BindByOrdinal) {
        if (parameters.GetParameterCount() != count) {
            throw std::invalid_argument("--param: the statement has " + std::to_string(count) +
                                        " parameter(s), and " +
                                        std::to_string(parameters.GetParameterCount()) + " are given");
        }
        ordered = parameters;
        return ordered;
    }
    RefuseUnknownNames(parameters, wanted);
    for (unsigned int i = 0; i < count; ++i) {
        const Parameter* const parameter = FindByName(parameters, wanted[i].GetName());
        if (parameter == nullptr) {
            throw std::invalid_argument("--param: nothing is given for the parameter \"" +
                                        wanted[i].GetName() + "\" of the statement");
        }
        ordered.PushBack(*parameter);
    }
    return ordered;
}

qxdb::Schema DescribeParameters(const ParameterList& parameters) {
    qxdb::Schema::Columns columns;
    for (unsigned int i = 0; i < parameters.GetParameterCount(); ++i) {
        auto column = std::make_shared<qxdb::ColumnRecord>();
        column->name = parameters[i].GetName();
        column->type = parameters[i].GetType();
        columns.push_back(std::move(column));
    }
    return qxdb::Schema(std::move(columns));
}

}  // namespace qxsql
