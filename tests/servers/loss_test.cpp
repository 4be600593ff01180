// Servers that go away under a run.
#include <unistd.h>

#include <cstdlib>

#include "servers/server_run.h"

namespace qxtest {
namespace {

using Lines = std::vector<std::string>;

class LostServer : public testing::TestWithParam<const char*> {
  protected:
    static int Script(const std::string& arguments) {
        return std::system((std::string(QX_SERVERS_SCRIPT) + " " + arguments).c_str());
    }
    void SetUp() override {
        file = testing::TempDir() + "qx_lost_" + GetParam() + "_" + std::to_string(getpid()) + ".env";
        setenv("QX_SERVERS_OWNER", std::to_string(getpid()).c_str(), 1);
        ASSERT_EQ(Script("start " + file + " " + GetParam()), 0);
    }
    void TearDown() override { Script("stop " + file); }

    std::string file;
};

TEST_P(LostServer, TheRunTellsItAndTheNextOneWorks) {
    const bool mariadb = GetParam() == std::string("mariadb");
    const Servers servers(file);
    qxdrivers::RegisterODBC();
    const qxdb::ConnectionDef definition(qxdb::DBTYPE_UNSET,
                                         servers.Get(mariadb ? "QX_MARIADB_DRIVER" : "QX_POSTGRES_DRIVER"),
                                         "qx", servers.Get("QX_SERVERS_PASSWORD"), "odbc", "");
    ServerRun run(mariadb, definition);
    qxdb::Connection watcher = definition.Connect();
    run.Start(mariadb ? "SELECT /* goes */ SLEEP(60)" : "SELECT /* goes */ pg_sleep(60)");
    ASSERT_TRUE(Await([&] { return RunsOnServer(watcher, mariadb, "/* goes */"); }));
    ASSERT_EQ(Script("kill " + file + " " + GetParam()), 0);
    run.Wait();
    ASSERT_EQ(run.Errors().size(), 1u);
    EXPECT_NE(run.Errors()[0].find(mariadb ? "Lost connection" : "server closed the connection"),
              std::string::npos)
        << run.Errors()[0];
    EXPECT_EQ(run.calls.LinesOf("OnRequestEnd").size(), 1u);
    // While it is gone, a run tells that there is none.
    run.Run("SELECT 1 AS a");
    EXPECT_EQ(run.Errors().size(), 1u);
    EXPECT_EQ(run.Sets(), Lines());
    ASSERT_EQ(Script("restart " + file + " " + GetParam()), 0);
    run.Run("SELECT 2 AS a");
    EXPECT_EQ(run.Errors(), Lines());
    EXPECT_EQ(run.Rows(), Lines{"2"});
}

INSTANTIATE_TEST_SUITE_P(Each, LostServer, testing::Values("mariadb", "postgres"),
                         [](const auto& each) { return std::string(each.param); });

}  // namespace
}  // namespace qxtest
