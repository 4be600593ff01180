#include "tools/qxsql/call_parameters.h"

#include <algorithm>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "tools/qxsql/statement_parameters.h"

namespace qxsql {

using qxdb::Column;
using qxdb::DataType;
using qxdbsqlengine::Parameter;
using qxdbsqlengine::ParameterList;

namespace {

std::string Lower(std::string text) {
    for (char& c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

// SQL Server's parameters have a sign in front that nobody likes to type.
std::string Plain(const std::string& name) {
    return Lower(!name.empty() && name[0] == '@' ? name.substr(1) : name);
}

// The type in which a value without one of its own goes to a parameter.
const char* TypeNameOf(Column::BindType type) {
    switch (type) {
        case Column::BindShort:
            return "short";
        case Column::BindInt:
            return "int";
        case Column::BindLong:
            return "long";
        case Column::BindInt64:
            return "bigint";
        case Column::BindFloat:
            return "float";
        case Column::BindDouble:
            return "double";
        case Column::BindDecimal:
            return "decimal";
        case Column::BindBinary:
            return "binary";
        default:
            return "string";
    }
}

// One parameter of the call, and the word that stands for it.
struct Place {
    const Column* column;
    const ParameterWord* word = nullptr;

    bool IsOutput() const { return column->GetDirection() == DataType::DirectionOut; }
};

std::vector<Place> PlacesOf(const qxdb::Schema& described) {
    std::vector<Place> places;
    std::set<std::string> names;
    for (unsigned int i = 0; i < described.GetNumberColumns(); ++i) {
        const std::string& name = described[i].GetName();
        // A driver may show an output in a second place.
        if (name.empty() || names.insert(name).second)
            places.push_back({&described[i]});
    }
    return places;
}

std::string NamesOf(const std::vector<Place>& places) {
    std::string names;
    for (const Place& place : places)
        names += (names.empty() ? "" : ", ") + place.column->GetName();
    return names.empty() ? "none" : names;
}

Place& FindPlace(std::vector<Place>& places, const std::string& name) {
    Place* found = nullptr;
    for (Place& place : places) {
        if (place.column->GetName() == name)
            return place;
        if (Plain(place.column->GetName()) == Plain(name)) {
            if (found != nullptr)
                throw std::invalid_argument("--param: \"" + name +
                                            "\" can be several parameters: " + NamesOf(places));
            found = &place;
        }
    }
    if (found == nullptr)
        throw std::invalid_argument("--param: there is no parameter \"" + name + "\"; the call has " +
                                    NamesOf(places));
    return *found;
}

void CheckDirection(const Place& place, const ParameterWord& word, const std::string& name) {
    if (place.IsOutput() && !word.isOutput)
        throw std::invalid_argument("--param: " + name + " is an output and takes no value (--param-out)");
    if (word.isOutput && place.column->GetDirection() == DataType::DirectionIn)
        throw std::invalid_argument("--param-out: " + name + " is an input, and needs a value (--param)");
}

void MatchByName(const std::vector<ParameterWord>& words, std::vector<Place>& places) {
    for (const ParameterWord& word : words) {
        const std::string name = PartWord(word).name;
        Place& place = FindPlace(places, name);
        if (place.word != nullptr)
            throw std::invalid_argument("--param: the name \"" + name + "\" is given twice");
        CheckDirection(place, word, "\"" + name + "\"");
        place.word = &word;
    }
}

void MatchByPosition(const std::vector<ParameterWord>& words, std::vector<Place>& places) {
    auto place = places.begin();
    for (const ParameterWord& word : words) {
        while (place != places.end() && place->IsOutput() && !word.isOutput)
            ++place;
        if (place == places.end())
            throw std::invalid_argument("--param: there are more than the call has parameters: " +
                                        NamesOf(places));
        CheckDirection(*place, word, "parameter " + std::to_string(place - places.begin() + 1));
        place->word = &word;
        ++place;
    }
}

bool AreNamed(const std::vector<Place>& places) {
    return std::none_of(places.begin(), places.end(),
                        [](const Place& place) { return place.column->GetName().empty(); });
}

// Without names values go to the inputs in their order, which an output among them would disturb.
void DropOutputs(std::vector<Place>& places) {
    const auto isOutput = [](const Place& place) { return place.IsOutput(); };
    const auto firstOutput = std::find_if(places.begin(), places.end(), isOutput);
    if (!std::all_of(firstOutput, places.end(), isOutput))
        throw std::invalid_argument("--param: this call has a parameter without a name behind an output");
    places.erase(firstOutput, places.end());
}

// True when the words go by name.
bool HaveNames(const std::vector<ParameterWord>& words) {
    const auto named = std::count_if(words.begin(), words.end(),
                                     [](const ParameterWord& word) { return !PartWord(word).name.empty(); });
    if (named != 0 && static_cast<std::size_t>(named) != words.size())
        throw std::invalid_argument(
            "--param: some have a name and others have none (a value that contains \"=\" is written with a "
            "\"=\" in front)");
    return named != 0;
}

Parameter Without(const Column& column, DataType::Direction direction) {
    return Parameter(column.GetName(), Column::BindString, direction, 0, 0);
}

// A time as the server's clients write it need not be one that all servers share: it goes as text then.
Parameter ReadTime(const std::string& name, const std::string& value) {
    try {
        return ReadParameter("timestamp", name, value);
    } catch (const std::invalid_argument&) {
        return ReadParameter("string", name, value);
    }
}

// Servers with a type for truth values take them as numbers.
std::string NumberOfTruth(const std::string& value) {
    return value == "true" ? "1" : value == "false" ? "0" : value;
}

Parameter ValueOf(const Place& place) {
    const Column& column = *place.column;
    if (place.IsOutput()) {
        Parameter output = Without(column, DataType::DirectionOut);
        output.SetNull();
        return output;
    }
    if (place.word == nullptr || place.word->isOutput) {
        Parameter parameter = Without(column, column.GetDirection());
        // The server's default, where an input has one; what also comes back is empty on its way there.
        if (place.word == nullptr)
            parameter.SetDefault();
        else
            parameter.SetNull();
        return parameter;
    }
    std::string value = PartWord(*place.word).value;
    if (place.word->type.empty() && column.GetType() == Column::BindShort)
        value = NumberOfTruth(value);
    Parameter parameter =
        place.word->type.empty() && column.GetType() == Column::BindTimestamp
            ? ReadTime(column.GetName(), value)
            : ReadParameter(place.word->type.empty() ? TypeNameOf(column.GetType()) : place.word->type,
                            column.GetName(), value);
    parameter.SetDirection(column.GetDirection());
    return parameter;
}

}  // namespace

ParameterList MatchCallParameters(const std::vector<ParameterWord>& words, const qxdb::Schema& described) {
    std::vector<Place> places = PlacesOf(described);
    if (places.empty() && !words.empty())
        throw std::invalid_argument("--param: the server knows no such call, or one without parameters");
    if (HaveNames(words))
        MatchByName(words, places);
    else
        MatchByPosition(words, places);
    ParameterList list;
    if (AreNamed(places))
        list.SetBindMethod(ParameterList::BindByName);
    else
        DropOutputs(places);
    for (const Place& place : places)
        list.PushBack(ValueOf(place));
    return list;
}

qxdb::Schema DescribeCall(const CommandLine& line, qxdb::Connection& connection) {
    const qxdb::Statement::PrepareType type = line.call == CallKind::Function
                                                  ? qxdb::Statement::PrepareFunction
                                                  : qxdb::Statement::PrepareProcedure;
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    // Servers may have several of one name.
    if (statement.GetProperties().SupportsProperty(qxdb::StatementProperties::CapabilityProcParamCount)) {
        statement.GetProperties().SetProcParamCount(static_cast<unsigned int>(line.parameterWords.size()));
    }
    statement.Prepare(line.callName, type);
    return statement.GetBindHint();
}

}  // namespace qxsql
