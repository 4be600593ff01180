// What the tests of the SQL Server and Sybase handlers share.
#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "engine/cancellation.h"
#include "family_fixture.h"

namespace qxtest {

inline qxdb::RawMessage ServerMessage(int severity, int code, const std::string& text) {
    qxdb::RawMessage message;
    message.severity = severity;
    message.code = code;
    message.line = 7;
    message.position = 3;
    message.text = text;
    message.sqlState = "ZZZZZ";
    return message;
}

// What became of a server's message.
struct Outcome {
    Lines messages;  // the notifications of messages
    Lines errors;    // the notifications of errors
    Lines saved;     // the rows of the message result set
};
inline bool operator==(const Outcome& left, const Outcome& right) {
    return left.messages == right.messages && left.errors == right.errors && left.saved == right.saved;
}
inline std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    for (const auto& part :
         {std::make_pair("messages", &outcome.messages), std::make_pair("errors", &outcome.errors),
          std::make_pair("saved", &outcome.saved)}) {
        stream << part.first << ":";
        for (const std::string& line : *part.second)
            stream << " \"" << line << "\"";
        stream << "; ";
    }
    return stream;
}

struct MessageCase {
    int severity;
    int code;
    const char* text;
    Outcome outcome;
};

template <class Handler, qxdb::DBTYPE Type>
class TsqlTest : public FamilyTest<Handler, Type> {
  protected:
    using FamilyTest<Handler, Type>::calls;
    using FamilyTest<Handler, Type>::request;
    using FamilyTest<Handler, Type>::server;
    using FamilyTest<Handler, Type>::store;
    using FamilyTest<Handler, Type>::handler;

    // Expects `before` to be all that is sent ahead of a run, and `after` all that is sent behind it.
    void ExpectSent(const Lines& before, const Lines& after, const OptionMap& options,
                    const OptionMap& defaults = {}) {
        for (const std::string& one : before)
            server.Expect(one);
        server.Expect("x");
        for (const std::string& one : after)
            server.Expect(one);
        EXPECT_TRUE(this->Run("x", options, defaults));
        server.Verify();
    }

    // Lines of `prefix`, without it.
    Lines Texts(const std::string& prefix) {
        Lines texts;
        for (const std::string& line : calls.LinesOf(prefix))
            texts.push_back(line.substr(prefix.size()));
        return texts;
    }
    // The outcome of what a run has sent that returned one result set of rows.
    Outcome OutcomeOfRun() {
        Outcome outcome{Texts("OnMessage 0 "), Texts("OnError "), {}};
        EXPECT_EQ(outcome.messages.size(), calls.LinesOf("OnMessage").size());
        for (int id = 0; id < store->GetNumberOfResultSets(); ++id) {
            if (store->GetResultSetType(id) == qxdbsqlengine::ResultSetMessage) {
                const Lines rows = this->Column(id);
                outcome.saved.insert(outcome.saved.end(), rows.begin(), rows.end());
            }
        }
        return outcome;
    }
    // While no result set is open.
    Outcome OutcomeOf(const qxdb::RawMessage& message) {
        request.ClearStorage();
        calls.Clear();
        server.Expect("x").Message(message).Returns(Rows({IntColumn("A")}, {{1}}));
        EXPECT_TRUE(this->Run("x"));
        server.Verify();
        return OutcomeOfRun();
    }
    // While the rows of a result set come in, which holds messages back.
    Outcome OutcomeOfHeld(const std::vector<qxdb::RawMessage>& messages) {
        request.ClearStorage();
        calls.Clear();
        Result result = Rows({IntColumn("A")}, {{1}, {2}});
        for (const qxdb::RawMessage& message : messages)
            result.MessageAtRow(1, message);
        server.Expect("x").Returns(result);
        EXPECT_TRUE(this->Run("x"));
        server.Verify();
        EXPECT_EQ(store->GetNumberOfRows(0), 2);
        return OutcomeOfRun();
    }
    void ExpectOutcomes(const std::vector<MessageCase>& cases) {
        for (const MessageCase& one : cases) {
            const qxdb::RawMessage message = ServerMessage(one.severity, one.code, one.text);
            EXPECT_EQ(OutcomeOf(message), one.outcome) << one.severity << " " << one.code << " " << one.text;
            EXPECT_EQ(OutcomeOfHeld({message}), one.outcome)
                << "held: " << one.severity << " " << one.code << " " << one.text;
        }
    }
    // The first of two held messages cancels the run: both are told, none is saved, nothing more is sent.
    void ExpectCancelInReplay() {
        calls.OnLine([this](const std::string& line) {
            if (line == "OnMessage 0 first")
                request.Cancel();
        });
        Result rows = Rows({IntColumn("A")}, {{1}, {2}});
        rows.MessageAtRow(1, ServerMessage(0, 2528, "first")).MessageAtRow(2, ServerMessage(16, 1, "second"));
        server.Expect("x").Returns(rows).Returns(Rows({IntColumn("B")}, {{3}}));
        EXPECT_THROW(this->Run("x", {{50120, _variant_t(0.5)}},
                               {{50120, _variant_t(true)}, {50101, _variant_t(true)}}),
                     qxdbsqlengine::CancelledException);
        EXPECT_EQ(OutcomeOfRun(), (Outcome{{"first"}, {"second"}, {}}));
        EXPECT_EQ(this->Sets(), (Lines{"0:2"}));
        EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
    }

    // Straight to the handler of the fixture, outside a run.
    int Send(const qxdb::RawMessage& message) {
        static_cast<qxdb::Callback&>(handler).HandleRawMessage(message);
        return store->GetNumberOfResultSets() == 0 ? 0 : store->GetNumberOfRows(0);
    }

    // The steps of a whole run, with the request cancelled in step `last`; nothing behind it may be sent.
    void ExpectCancelAt(const Lines& steps, std::size_t last, const OptionMap& options,
                        const OptionMap& defaults, bool explains) {
        SCOPED_TRACE(std::to_string(last) + " " + steps[last]);
        FamilyRequest<Handler> one(this->notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(),
                                   store, nullptr, "");
        one.SetDoExplainPlan(explains);
        one.SetSQL("x", SQLRequest::RequestSQL, false, false);
        one.SetQueryOptions(options, defaults);
        const std::size_t before = server.Executed().size();
        for (std::size_t i = 0; i <= last; ++i) {
            Step& step = server.Expect(steps[i]);
            if (i == last)
                step.Does([&one] { one.Cancel(); });
        }
        qxdb::Connection connection = server.Connect();
        const qxdbsrd::ConnectionDefElement def(Type, "", 0.0, "scott", "");
        if (last + 1 < steps.size())
            EXPECT_THROW(one.Execute(def, connection), qxdbsqlengine::CancelledException);
        else
            EXPECT_TRUE(one.Execute(def, connection));  // nothing is left to be cancelled
        EXPECT_EQ(server.Executed().size(), before + last + 1);
        server.Verify();
    }
};

}  // namespace qxtest
