#include "tools/qxsql/script_report.h"

#include <charconv>
#include <cstdio>
#include <utility>

#include "platform/resource_loader.h"
#include "tools/qxsql/messages.h"
#include "tools/qxsql/progress_line.h"

namespace qxsql {

using qxdbsqlengine::ResourceLoader;

ScriptReport::ScriptReport(std::string scriptName)
    : name(std::move(scriptName)),
      affectedText(" " + ResourceLoader::LoadString(115)),
      noResultText(ResourceLoader::LoadString(134)) {}

void ScriptReport::ItemBegins(int line) {
    itemLine = line;
    failedNow = false;
}

bool ScriptReport::ItemEnds(bool hadWork) {
    if (failedNow)
        ++failed;
    const bool isRun = hadWork || failedNow;
    ++(isRun ? run : skipped);
    return isRun;
}

bool ScriptReport::TakesLine(const std::string& line) {
    if (line == noResultText)
        return true;
    long long count = 0;
    const char* const end = line.data() + line.size();
    const std::from_chars_result parsed = std::from_chars(line.data(), end, count);
    if (parsed.ec != std::errc() || std::string_view(parsed.ptr, end - parsed.ptr) != affectedText)
        return false;
    affected += count;
    return true;
}

std::string ScriptReport::Place() const {
    return name + ":" + std::to_string(itemLine);
}

std::string ScriptReport::ErrorLine(const ErrorRecord& record) const {
    const int line = itemLine + (record.GetLineNumber() > 1 ? record.GetLineNumber() - 1 : 0);
    std::string text = name + ":" + std::to_string(line) + ": " + ErrorTitle(record);
    if (record.GetErrorPosition() > 0)
        text += " at position " + std::to_string(record.GetErrorPosition());
    return text + ": " + record.GetErrorDescription();
}

std::string ScriptReport::Summary(std::chrono::duration<double> time) const {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f s", time.count());
    return "Items run: " + GroupedNumber(run) + ", failed: " + GroupedNumber(failed) +
           ", skipped: " + GroupedNumber(skipped) + ". Rows fetched: " + GroupedNumber(fetched) +
           ", affected: " + GroupedNumber(affected) + ". " + seconds;
}

}  // namespace qxsql
