// What the tests of scripts share: a parser that plays what a test wrote down, beside the scripted server.
#pragma once

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "batch/module.h"
#include "dbms/option_table.h"
#include "platform/os/file_mapping.h"
#include "request/request_fixture.h"
#include "support/fake_parser.h"

namespace qxtest {

class ScriptTest : public RequestTest {
  protected:
    // No batch thread outlives its run.
    ~ScriptTest() override { EXPECT_EQ(CQXDBSQLModule::Instance().GetLockCount(), 0); }

    bool RunScript(const std::string& text = "the script") { return Run(text, SQLRequest::RequestScript); }
    bool RunScript(const qxdbsrd::ConnectionDefElement& def) {
        request.SetSQL("the script", SQLRequest::RequestScript, false, false);
        return request.Execute(def);
    }
    // A run sets its limits by the options.
    void LimitErrors(int count) {
        request.SetQueryOptions({{qxdbsqlengine::MaxErrorCountOption, _variant_t(count)}}, {});
    }
    // A script file, which the run deletes unless `deletes` is false.
    std::string MakeFile() {
        qxos::TempFile file;
        EXPECT_TRUE(file.Create("script_"));
        return file.Keep();
    }
    static bool Exists(const std::string& path) { return std::ifstream(path).is_open(); }
    // "0xcode text", or "none".
    std::string ScriptFailure() {
        HRESULT code = S_OK;
        std::string reason;
        if (!request.GetScriptFailure(code, reason))
            return "none";
        char number[16];
        std::snprintf(number, sizeof number, "0x%08X ", static_cast<unsigned int>(code));
        return number + reason;
    }
    bool ParserIsGone() const {
        const Lines all = parser.Calls();
        return !all.empty() && all.back() == "factory gone";
    }

    FakeParser parser;
};

}  // namespace qxtest
