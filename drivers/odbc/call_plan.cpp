#include "drivers/odbc/call_plan.h"

#include <algorithm>
#include <utility>

#include "drivers/odbc/diagnostics.h"
#include "drivers/odbc/sql_scan.h"

namespace qxdrivers::odbc {

namespace {

using qxdb::DataType;

// Where the engine looks for outputs from position 0 on.
bool ReadsFromStart(qxdb::DBTYPE type, bool isFunction) {
    return type == qxdb::DBTYPE_SYBASE || type == qxdb::DBTYPE_DB2 || type == qxdb::DBTYPE_DB2OS390 ||
           (type == qxdb::DBTYPE_ORACLE && isFunction);
}

bool NamesArguments(Family family) {
    return family == Family::PostgreSQL || family == Family::Oracle || family == Family::DB2;
}

// Puts a call's arguments together.
class ArgumentList {
  public:
    ArgumentList(CallPlan& target, const ServerTraits& serverTraits) : plan(target), traits(serverTraits) {}

    void AddMarker(std::size_t slot, const std::string& name, bool asInput) {
        Add(name, "?");
        plan.markers.push_back({slot, asInput});
    }
    void Add(const std::string& name, const std::string& argument) {
        if (hasGap && NamesArguments(traits.family) && !name.empty()) {
            text += Separator() + QuoteName(name, traits) + " => " + argument;
            return;
        }
        // What was left out before this one has to be told by a word, where names can't.
        for (; gaps > 0; --gaps) {
            text += Separator() + "DEFAULT";
        }
        text += Separator() + argument;
    }
    void LeaveOut() {
        hasGap = true;
        ++gaps;
    }
    const std::string& Text() const { return text; }

  private:
    std::string Separator() const { return text.empty() ? "" : ", "; }

    CallPlan& plan;
    const ServerTraits& traits;
    std::string text;
    bool hasGap = false;
    int gaps = 0;
};

void AddShadow(std::vector<ParameterDescription>& descriptions, const ServerTraits& traits, bool isFunction) {
    if (descriptions.empty() || ReadsFromStart(traits.type, isFunction) ||
        descriptions.front().direction == DataType::DirectionIn) {
        return;
    }
    ParameterDescription shadow = descriptions.front();
    shadow.shadowOf = 0;
    auto shown = std::make_shared<qxdb::ColumnRecord>(*shadow.record);
    shown->direction = DataType::DirectionOut;
    shadow.record = shown;
    shadow.direction = DataType::DirectionOut;
    if (descriptions.front().direction == DataType::DirectionInOut) {
        auto input = std::make_shared<qxdb::ColumnRecord>(*descriptions.front().record);
        input->direction = DataType::DirectionIn;
        descriptions.front().record = input;
    }
    descriptions.push_back(std::move(shadow));
}

// Outputs of MySQL come back in variables of the session.
void PlanMySqlProcedure(const std::string& name, ParameterBinding& binding,
                        const qxdb::ExclusionIndex& excluded, const ServerTraits& traits, CallPlan& plan) {
    ArgumentList arguments(plan, traits);
    plan.outputs = CallPlan::Outputs::Variables;
    for (std::size_t i = 0; i < binding.Count(); ++i) {
        const ParameterSlot& slot = binding.Slot(i);
        if (slot.IsShadow() || slot.description.isReturnValue) {
            continue;
        }
        if (excluded.count(static_cast<unsigned int>(i)) > 0) {
            arguments.LeaveOut();
        } else if (!slot.IsOutput()) {
            arguments.AddMarker(i, std::string(), false);
        } else {
            arguments.Add(std::string(), CallPlan::VariableOf(i));
            plan.outputSlots.push_back(i);
            if (slot.IsInput()) {
                plan.variableInputs.push_back(i);
            }
        }
    }
    plan.sql = "CALL " + name + "(" + arguments.Text() + ")";
}

// A function as a query, or PostgreSQL's procedure: the outputs are the row.
void PlanRowCall(const std::string& name, bool isFunction, ParameterBinding& binding,
                 const qxdb::ExclusionIndex& excluded, const ServerTraits& traits, CallPlan& plan) {
    ArgumentList arguments(plan, traits);
    plan.outputs = CallPlan::Outputs::Row;
    for (std::size_t i = 0; i < binding.Count(); ++i) {
        const ParameterSlot& slot = binding.Slot(i);
        if (slot.IsShadow()) {
            continue;
        }
        if (slot.IsOutput()) {
            plan.outputSlots.push_back(i);
        }
        // A procedure wants a place for its outputs too.
        const bool isArgument = !slot.description.isReturnValue && (slot.IsInput() || !isFunction);
        if (isArgument && excluded.count(static_cast<unsigned int>(i)) > 0) {
            arguments.LeaveOut();
        } else if (isArgument) {
            arguments.AddMarker(i, slot.description.record->name, true);
        }
    }
    const char* const verb = !isFunction                           ? "CALL "
                             : traits.family == Family::PostgreSQL ? "SELECT * FROM "
                                                                   : "SELECT ";
    plan.sql = verb + name + "(" + arguments.Text() + ")";
}

// The escape syntax, which the driver translates.
void PlanEscapedCall(const std::string& name, ParameterBinding& binding, const qxdb::ExclusionIndex& excluded,
                     const ServerTraits& traits, CallPlan& plan) {
    ArgumentList arguments(plan, traits);
    std::string head = "{call ";
    for (std::size_t i = 0; i < binding.Count(); ++i) {
        const ParameterSlot& slot = binding.Slot(i);
        if (slot.description.isReturnValue && !slot.IsShadow()) {
            head = "{? = call ";
            plan.markers.insert(plan.markers.begin(), {i, false});
        } else if (excluded.count(static_cast<unsigned int>(i)) > 0) {
            arguments.LeaveOut();
        } else if (!slot.IsShadow()) {
            arguments.AddMarker(i, slot.description.record->name, false);
        }
    }
    plan.sql = head + name + "(" + arguments.Text() + ")}";
}

// A call text of MySQL, written anew so that its outputs go to variables.
CallPlan PlanMySqlCallText(const CallText& call, ParameterBinding& binding, const ServerTraits& traits) {
    CallPlan plan;
    ArgumentList arguments(plan, traits);
    std::size_t slot = 0;
    plan.outputs = CallPlan::Outputs::Variables;
    if (call.hasReturnValue) {
        plan.outputs = CallPlan::Outputs::Row;
        plan.hidesRow = true;
        plan.outputSlots.push_back(slot++);
    }
    for (const std::string& argument : call.arguments) {
        if (argument != "?") {
            SqlScanner scanner(argument, traits.family);
            for (SqlToken token = scanner.Next(); token.kind != SqlToken::End; token = scanner.Next()) {
                if (token.kind == SqlToken::Marker) {
                    plan.markers.push_back({slot++, false});
                }
            }
            arguments.Add(std::string(), argument);
        } else if (binding.Slot(slot).IsOutput()) {
            plan.outputSlots.push_back(slot);
            if (binding.Slot(slot).IsInput()) {
                plan.variableInputs.push_back(slot);
            }
            arguments.Add(std::string(), CallPlan::VariableOf(slot++));
        } else {
            arguments.AddMarker(slot++, std::string(), false);
        }
    }
    plan.sql = (call.hasReturnValue ? "SELECT " : "CALL ") + call.name + "(" + arguments.Text() + ")";
    return plan;
}

// The escape syntax of PostgreSQL, of which its driver knows functions only.
CallPlan PlanPostgresCallText(const CallText& call, ParameterBinding& binding, Session& session) {
    const ProcedureInfo procedure = FindProcedure(session, call.name, call.hasReturnValue,
                                                  static_cast<unsigned int>(call.arguments.size()));
    CallPlan plan;
    plan.outputs = CallPlan::Outputs::Row;
    std::size_t slot = 0;
    if (call.hasReturnValue) {
        plan.outputSlots.push_back(slot++);
    }
    std::string arguments;
    for (const std::string& argument : call.arguments) {
        const bool isMarker = argument == "?";
        const bool isOutput = isMarker && binding.Slot(slot).IsOutput();
        if (isOutput) {
            plan.outputSlots.push_back(slot);
        }
        if (!isOutput || binding.Slot(slot).IsInput() || !procedure.isFunction) {
            arguments += (arguments.empty() ? "" : ", ") + argument;
            if (isMarker) {
                plan.markers.push_back({slot, true});
            }
        }
        slot += isMarker ? 1 : 0;
    }
    plan.hidesRow = !plan.outputSlots.empty() && !procedure.returnsRows;
    plan.sql = (procedure.isFunction ? "SELECT * FROM " : "CALL ") + call.name + "(" + arguments + ")";
    return plan;
}

bool IsEscaped(const std::string& sql, Family family) {
    SqlScanner scanner(sql, family);
    return scanner.Next().text == "{";
}

}  // namespace

std::string CallPlan::VariableOf(std::size_t slot) {
    return "@qxodbc_" + std::to_string(slot + 1);
}

std::vector<ParameterDescription> DescribeCall(const ProcedureInfo& procedure, const ServerTraits& traits,
                                               bool showReturnCode) {
    std::vector<ParameterDescription> descriptions;
    std::vector<ParameterDescription> behind;
    for (const ProcedureParameter& parameter : procedure.parameters) {
        if (parameter.isReturnValue && !procedure.isFunction && !showReturnCode) {
            continue;
        }
        ParameterDescription description =
            DescriptionOf(parameter.name, parameter.direction, parameter.native, traits);
        description.isReturnValue = parameter.isReturnValue;
        const bool isLast = parameter.isReturnValue && procedure.isFunction &&
                            !ReadsFromStart(traits.type, procedure.isFunction);
        (isLast ? behind : descriptions).push_back(std::move(description));
    }
    std::move(behind.begin(), behind.end(), std::back_inserter(descriptions));
    AddShadow(descriptions, traits, procedure.isFunction);
    return descriptions;
}

CallPlan PlanCall(const std::string& name, bool isFunction, bool returnsRows, ParameterBinding& binding,
                  const qxdb::ExclusionIndex& excluded, const ServerTraits& traits) {
    CallPlan plan;
    if (traits.family == Family::MySQL && !isFunction) {
        PlanMySqlProcedure(name, binding, excluded, traits, plan);
    } else if (traits.family == Family::MySQL || traits.family == Family::PostgreSQL) {
        PlanRowCall(name, isFunction, binding, excluded, traits, plan);
        plan.hidesRow = isFunction ? !returnsRows : !plan.outputSlots.empty();
    } else {
        PlanEscapedCall(name, binding, excluded, traits, plan);
    }
    return plan;
}

CallPlan PlanText(const std::string& sql, ParameterBinding& binding, Session& session) {
    const ServerTraits& traits = session.Traits();
    const CallText call = ParseCall(sql, traits.family);
    if (call.isCall && traits.family == Family::MySQL) {
        return PlanMySqlCallText(call, binding, traits);
    }
    if (call.isCall && traits.family == Family::PostgreSQL && IsEscaped(sql, traits.family)) {
        return PlanPostgresCallText(call, binding, session);
    }
    CallPlan plan;
    plan.sql = sql;
    for (std::size_t i = 0; i < binding.Count(); ++i) {
        plan.markers.push_back({i, false});
    }
    if (binding.HasOutputs() && traits.family == Family::MySQL) {
        ThrowRefusal("MySQL gives outputs to calls only, and this is none", "0A000");
    }
    // PostgreSQL returns the outputs of a CALL as a row too.
    plan.hidesRow = call.isCall && binding.HasOutputs() && traits.family == Family::PostgreSQL;
    return plan;
}

}  // namespace qxdrivers::odbc
