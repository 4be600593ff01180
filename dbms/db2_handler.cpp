#include "dbms/db2_handler.h"

#include <optional>

#include "dbms/explain_pause.h"
#include "dbms/option_table.h"
#include "dbms/option_values.h"
#include "dbms/sql_batch.h"
#include "dbms/string_table.h"
#include "platform/qxutils/string_utils.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

const char* const SystemSchema = "SYSTOOLS";
constexpr int UsualLobStreamSize = 0;
constexpr double LastVersionWithoutIsolation = 8.01;

constexpr RowUse DropTable{2690, 2};
constexpr RowUse ExplainStatement{2687, 1};
constexpr RowUse SelectUser{2692, 0};
constexpr RowUse CountTable{2693, 2};
constexpr RowUse Isolations[] = {{19542, 0}, {19543, 0}, {19544, 0}, {19545, 0}, {19546, 0}};
constexpr RowUse PlanQuery[] = {{2794, 1}, {2795, 1}, {2796, 1}, {2797, 1}, {2798, 1}, {2799, 1}, {2800, 1}};

// Texts of one table; those of a list make one statement.
constexpr RowUse Instance7[] = {{2696, 1}, {2697, 0}, {2698, 0}, {2699, 0}};
constexpr RowUse Instance8[] = {{2818, 1}};
constexpr RowUse Statement7[] = {{2700, 1}, {2701, 0}, {2702, 0}, {2703, 1}};
constexpr RowUse Statement8[] = {{2813, 2}};
constexpr RowUse Argument7[] = {{2704, 1}, {2705, 0}, {2706, 1}};
constexpr RowUse Argument8[] = {{2814, 2}};
constexpr RowUse Object7[] = {{2707, 1}, {2708, 0}, {2709, 0}, {2710, 0}, {2711, 1}};
constexpr RowUse Object8[] = {{2815, 2}};
constexpr RowUse Object9[] = {{2841, 2}};
constexpr RowUse Operator7[] = {{2712, 1}, {2713, 0}, {2714, 0}, {2715, 1}};
constexpr RowUse Operator8[] = {{2816, 2}};
constexpr RowUse Predicate7[] = {{2716, 1}, {2717, 0}, {2718, 0}, {2719, 1}};
constexpr RowUse Predicate8[] = {{2817, 2}};
constexpr RowUse Predicate9[] = {{2842, 2}};
constexpr RowUse Stream7[] = {{2720, 1}, {2721, 0}, {2722, 0}, {2723, 0}, {2724, 1}};
constexpr RowUse Stream8[] = {{2849, 2}};
constexpr RowUse Stream9[] = {{2858, 2}};
constexpr RowUse AdviseInstance8[] = {{2850, 1}};
constexpr RowUse AdviseIndex7[] = {{2725, 1}, {2726, 0}, {2727, 0}, {2728, 0}, {2729, 0}, {2730, 0},
                                   {2731, 0}, {2732, 0}, {2733, 0}, {2734, 0}, {2735, 0}, {2736, 0}};
constexpr RowUse AdviseIndex8[] = {{2851, 1}, {2852, 1}};
constexpr RowUse AdviseIndex9[] = {{2856, 1}, {2857, 1}};
constexpr RowUse AdviseWorkload[] = {{2737, 1}, {2738, 0}};
constexpr RowUse AdviseMqt8[] = {{2853, 2}};
constexpr RowUse AdvisePartition8[] = {{2854, 2}};
constexpr RowUse AdviseTable8[] = {{2855, 2}};

struct RowList {
    const RowUse* begin_ = nullptr;
    const RowUse* end_ = nullptr;

    constexpr RowList() = default;
    template <std::size_t Count>
    constexpr RowList(const RowUse (&uses)[Count]) : begin_(uses), end_(uses + Count) {}

    const RowUse* begin() const { return begin_; }
    const RowUse* end() const { return end_; }
};

// Parents come before the tables that refer to them.
struct ExplainTable {
    const char* name;
    RowList below8;
    RowList from8;
    RowList from9;
    RowUse index{};  // row 0: none

    bool IsNewIn8() const { return below8.begin() == nullptr; }
    const RowList& TextFor(double version) const {
        if (version < 8.0)
            return below8;
        return version < 9.0 ? from8 : from9;
    }
};
constexpr RowList None;
constexpr ExplainTable ExplainTables[] = {
    {"EXPLAIN_INSTANCE", Instance7, Instance8, Instance8},
    {"EXPLAIN_STATEMENT", Statement7, Statement8, Statement8, {2739, 2}},
    {"EXPLAIN_ARGUMENT", Argument7, Argument8, Argument8, {2740, 2}},
    {"EXPLAIN_OBJECT", Object7, Object8, Object9, {2744, 2}},
    {"EXPLAIN_OPERATOR", Operator7, Operator8, Operator8, {2742, 2}},
    {"EXPLAIN_PREDICATE", Predicate7, Predicate8, Predicate9, {2741, 2}},
    {"EXPLAIN_STREAM", Stream7, Stream8, Stream9, {2743, 2}},
    {"ADVISE_INSTANCE", None, AdviseInstance8, AdviseInstance8},
    {"ADVISE_INDEX", AdviseIndex7, AdviseIndex8, AdviseIndex9},
    {"ADVISE_WORKLOAD", AdviseWorkload, AdviseWorkload, AdviseWorkload},
    {"ADVISE_MQT", None, AdviseMqt8, AdviseMqt8},
    {"ADVISE_PARTITION", None, AdvisePartition8, AdvisePartition8},
    {"ADVISE_TABLE", None, AdviseTable8, AdviseTable8},
};

// The statements' table is the last: the others' rows are found through it.
struct EraseText {
    RowUse text;
    bool isNewIn8 = false;
};
constexpr EraseText EraseTexts[] = {
    {{2663, 2}},       {{2677, 2}},       {{2680, 2}},       {{2682, 2}},
    {{2762, 2}},       {{2763, 2}},       {{2764, 2}, true}, {{2765, 2}, true},
    {{2766, 2}, true}, {{2767, 2}, true}, {{2768, 2}, true}, {{2769, 1}},
};

// On 8.0 itself the tables of the later advisor are neither looked for nor emptied.
bool HasTablesOf8(double version) {
    return version > 8.0;
}

}  // namespace

DB2Handler::DB2Handler(SQLRequest& owner) : DBMSHandler(owner, qxdb::DBTYPE_DB2) {}

std::vector<RowUse> DB2Handler::GetRowUses() {
    std::vector<RowUse> uses = {DropTable, ExplainStatement, SelectUser, CountTable};
    const auto add = [&uses](const RowList& list) { uses.insert(uses.end(), list.begin(), list.end()); };
    add(Isolations);
    add(PlanQuery);
    for (const ExplainTable& table : ExplainTables) {
        for (const RowList* const list : {&table.below8, &table.from8, &table.from9})
            add(*list);
        if (table.index.row != 0)
            uses.push_back(table.index);
    }
    for (const EraseText& erase : EraseTexts)
        uses.push_back(erase.text);
    return uses;
}

void DB2Handler::PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                            const OptionMap& options) {
    DBMSHandler::PreExecute(connection, defaults, options);
    if (request.GetDoExplainPlan())
        FindExplainSchema(connection);
    request.SetLobStreamSize(ReadIntOption(defaults, options, LobStreamSizeOption, UsualLobStreamSize));
    // Rows may be left of a run that was broken off.
    if (request.GetDoExplainPlan() && CreateExplainPlanTable(connection))
        EraseExplainPlanTables(connection);
}

void DB2Handler::FindExplainSchema(qxdb::Connection& connection) {
    explainSchema = GetStrQueryResults(connection, "", "", SelectUser.row);
    // Old servers fill the name up with blanks.
    qxutils::StringUtils::StringTrim(explainSchema);
    if (useSystemSchema) {
        user = explainSchema;
        explainSchema = SystemSchema;
    }
}

void DB2Handler::SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                            const OptionMap& options) {
    DBMSHandler::SetOptions(connection, defaults, options);
    if (const std::optional<int> rows = FindIntOption(options, DB2MaxRowCountOption))
        request.SetMaxRowCount(*rows);
    useSystemSchema = FindBoolOption(options, DB2SystemSchemaOption).value_or(false);
    createTables = FindBoolOption(options, DB2CreateTablesOption).value_or(false);
}

void DB2Handler::ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) {
    SqlBatch batch;
    for (const auto& option : options)
        batch.Add(GetQueryString(static_cast<int>(option.first), options));
    const std::optional<int> isolation = FindIntOption(options, DB2IsolationOption);
    if (isolation && connection.GetServerVersionNumber() > LastVersionWithoutIsolation)
        batch.Add(GetResultsFromIntComboOption(*isolation, Isolations[0].row));
    if (!batch.GetText().empty())
        ExecuteCommand(connection, batch.GetText(), ResultSetNormal);
}

std::string DB2Handler::GetResultsFromIntComboOption(int index, int baseStringId) {
    return GetChoiceText(baseStringId, index);
}

void DB2Handler::ExecuteCommand(qxdb::Connection& connection, const std::string& text, ResultSetType type) {
    StoreCommandResults(connection, text, type);
}

// The tables' places are all of the schema.
std::string DB2Handler::FillRow(const RowUse& use) {
    switch (use.arguments) {
        case 0:
            return ResourceLoader::LoadString(use.row);
        case 1:
            return GetResultsFromStrOption(use.row, explainSchema, "");
        default:
            return GetResultsFromStrOption(use.row, explainSchema, explainSchema);
    }
}

bool DB2Handler::CreateExplainPlanTable(qxdb::Connection& connection) {
    if (request.GetDoExplainPlan() && useSystemSchema)
        DropTablesOfUser(connection);
    const double version = connection.GetServerVersionNumber();
    std::vector<const ExplainTable*> missing;
    for (const ExplainTable& table : ExplainTables) {
        if (table.IsNewIn8() && !HasTablesOf8(version))
            continue;
        if (GetIntQueryResults(connection, explainSchema, table.name, CountTable.row) == 0)
            missing.push_back(&table);
    }
    if (missing.empty())
        return true;
    if (!createTables)
        return false;
    for (const ExplainTable* const table : missing) {
        std::string text;
        for (const RowUse& part : table->TextFor(version))
            text += FillRow(part);
        ExecuteCommand(connection, text, ResultSetNormal);
        if (table->index.row != 0)
            ExecuteCommand(connection, FillRow(table->index), ResultSetNormal);
    }
    return true;
}

// The server would prefer them to those of the system's schema.
void DB2Handler::DropTablesOfUser(qxdb::Connection& connection) {
    for (const ExplainTable& table : ExplainTables) {
        if (GetIntQueryResults(connection, user, table.name, CountTable.row) != 0) {
            DBMSHandler::ExecuteCommand(connection, GetResultsFromStrOption(DropTable.row, user, table.name),
                                        ResultSetNormal);
        }
    }
}

void DB2Handler::EraseExplainPlanTables(qxdb::Connection& connection) {
    if (!request.GetDoExplainPlan())
        return;
    const ExplainPause pause(request);
    const bool hasTablesOf8 = HasTablesOf8(connection.GetServerVersionNumber());
    for (const EraseText& erase : EraseTexts) {
        // How many rows went is of no interest to the user.
        if (hasTablesOf8 || !erase.isNewIn8)
            DBMSHandler::ExecuteCommand(connection, FillRow(erase.text), ResultSetNormal);
    }
}

void DB2Handler::PreExecuteBatch(qxdb::Connection& connection) {
    DBMSHandler::PreExecuteBatch(connection);
    if (request.GetDoExplainPlan()) {
        ReplaceSQL(GetResultsFromStrOption(ExplainStatement.row, request.GetSQL(), ""));
    }
}

void DB2Handler::PostExecuteBatch(qxdb::Connection& connection) {
    if (request.GetDoExplainPlan()) {
        std::string query;
        for (const RowUse& part : PlanQuery)
            query += FillRow(part);
        {
            const ExplainPause pause(request);
            ExecuteCommand(connection, query, ResultSetExplainPlan);
        }
        EraseExplainPlanTables(connection);
    }
    DBMSHandler::PostExecuteBatch(connection);
}

}  // namespace qxdbsqlengine
