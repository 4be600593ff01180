// qxsql over a server that stops answering: connections are "stuck:", and the statement "rows" gives 20,000
// rows, then nothing, and takes no cancel. With QXSQL_STUCK_TALKS in the environment it says so on standard
// error when it gets there ("stuck", "cancel"). A run is given up after half a second, unless
// QXSQL_STUCK_PATIENCE asks for the usual time.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <thread>

#include "engine/cancel_times.h"
#include "scriptparser/script_parser_component.h"
#include "support/scripted_driver.h"
#include "tools/qxsql/program.h"

namespace {

void Say(const char* text) {
    if (std::getenv("QXSQL_STUCK_TALKS") != nullptr)
        std::fputs(text, stderr);
}

[[noreturn]] void SleepForEver() {
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

void MakeServer(qxtest::ScriptedServer& server) {
    std::vector<qxtest::Row> rows;
    for (int i = 0; i < 20000; ++i)
        rows.push_back({i, "some text that fills the pages of the store and more of it"});
    const int end = static_cast<int>(rows.size());
    server.SetVersion(1.0);
    server.Expect("rows").Returns(
        qxtest::Rows({qxtest::IntColumn("id"), qxtest::TextColumn("t")}, std::move(rows)).AtRow(end, [] {
            Say("stuck\n");
            SleepForEver();
        }));
    server.OnCancel([] {
        Say("cancel\n");
        SleepForEver();
    });
    qxtest::RegisterScriptedDriver("stuck", qxdb::DBTYPE_OTHER, server);
}

}  // namespace

int main(int argc, char** argv) {
    auto* const server = new qxtest::ScriptedServer();  // its statements never come back
    MakeServer(*server);
    qxscriptparser::RegisterScriptParser();
    std::optional<qxdbsqlengine::ScopedCancelTimes> times;
    if (std::getenv("QXSQL_STUCK_PATIENCE") == nullptr) {
        qxdbsqlengine::CancelTimes shorter;
        shorter.driverCancelMs = 50;
        shorter.watchPasses = 10;
        shorter.watchPassMs = 50;
        times.emplace(shorter);
    }
    qxsql::EndProcess(qxsql::Main(argc, argv));
}
