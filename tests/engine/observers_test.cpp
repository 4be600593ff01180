// Windows as observers: lists, kinds and payloads. The handlers are called directly, on the windows' own
// thread.
#include "engine/observers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "director_support.h"
#include "engine/director.h"
#include "observer_window.h"
#include "platform/qxutils/lock_fault.h"
#include "support/debug_texts.h"
#include "support/window_thread.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

// What the calls of the handlers below point to.
struct Arguments {
    Arguments() {
        parameters.PushBack(Parameter(qxdb::Column::BindInt, qxdb::DataType::DirectionIn, 0, 0));
        parameters.PushBack(Parameter(qxdb::Column::BindInt, qxdb::DataType::DirectionIn, 0, 0));
        errors.AddRecord(UserErrorRecord("first"));
        errors.AddRecord(UserErrorRecord("second"));
    }
    Errors errors;
    ParameterList parameters;
    int data = 77;
};

struct KindCase {
    int list;  // which ObserverType is told
    std::function<void(CSingleRequestDirector&, Arguments&)> call;
    const char* line;
};

const std::vector<KindCase>& AllKinds() {
    using D = CSingleRequestDirector;
    static const std::vector<KindCase> kinds = {
        {0, [](D& d, Arguments& a) { d.OnError(a.errors); }, "1 OnError first|second"},
        {1, [](D& d, Arguments&) { d.OnMessage("text", OutputMessageWarning); }, "2 OnMessage [text] 2"},
        {2, [](D& d, Arguments&) { d.OnRequestBegin(3.25); }, "3 OnRequestBegin 3.25"},
        {2, [](D& d, Arguments&) { d.OnRequestEnd(4.25); }, "4 OnRequestEnd 4.25"},
        {2, [](D& d, Arguments&) { d.OnCancelFailed(5.25); }, "5 OnCancelFailed 5.25"},
        {3, [](D& d, Arguments&) { d.OnExecuteBegin(6.25); }, "6 OnExecuteBegin 6.25"},
        {3, [](D& d, Arguments&) { d.OnExecuteEnd(7.25); }, "7 OnExecuteEnd 7.25"},
        {4, [](D& d, Arguments&) { d.OnPreResultSetBegin(8.25, 11, ResultSetStatistics); },
         "8 OnPreResultSetBegin 8.25 11 6"},
        {4, [](D& d, Arguments&) { d.OnResultSetBegin(9.25, 12, ResultSetMessage); },
         "9 OnResultSetBegin 9.25 12 2"},
        {4, [](D& d, Arguments&) { d.OnResultSetUpdate(10.25, 13, 14); }, "10 OnResultSetUpdate 10.25 13 14"},
        {4, [](D& d, Arguments&) { d.OnResultSetEnd(11.25, 15); }, "11 OnResultSetEnd 11.25 15"},
        {5, [](D& d, Arguments&) { d.OnBatchItemBegin(12.25, 16, 17); }, "12 OnBatchItemBegin 12.25 16 17"},
        {5, [](D& d, Arguments& a) { d.OnBatchItemEnd(13.25, 18, a.parameters); },
         "13 OnBatchItemEnd 13.25 18 2 parameters"},
        {6, [](D& d, Arguments&) { d.OnLobExtracted("a file", 14.25); }, "14 OnLobExtracted [a file] 14.25"},
        {6, [](D& d, Arguments&) { d.OnLobImported(15.25); }, "15 OnLobImported 15.25"},
        {8, [](D& d, Arguments& a) { d.OnDebugEvent(19, &a.data, 16.25); }, "16 OnDebugEvent 19 77 16.25"},
    };
    return kinds;
}

class ObserversTest : public DirectorTest {
  protected:
    std::vector<HWND> ListOf(int type) { return *director->GetObservers(static_cast<ObserverType>(type)); }
    std::vector<std::size_t> Sizes() {
        std::vector<std::size_t> sizes;
        for (int type = 0; type < 9; ++type) {
            sizes.push_back(ListOf(type).size());
        }
        return sizes;
    }

    Arguments arguments;
};

TEST_F(ObserversTest, NumbersAreFixed) {
    EXPECT_EQ(WM_ENGINE_NOTIFICATION, 5120u);
    EXPECT_EQ(KindError, 1);
    EXPECT_EQ(KindDebugEvent, 16);
    EXPECT_EQ(
        (std::vector<int>{ErrorObserver, MessageObserver, RequestObserver, ExecutionObserver,
                          ResultSetObserver, BatchObserver, LobObserver, SchemaObserver, DebugEventObserver}),
        (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

// The fields lie in the stated order from the beginning, and the director comes last.
template <class Payload, class... Field>
void ExpectOrder(Field Payload::*... fields) {
    const Payload payload{};
    const std::vector<const void*> places = {&(payload.*fields)..., &payload.director, &payload + 1};
    EXPECT_EQ(places.front(), &payload);
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end(), std::less<const void*>()));
}

TEST_F(ObserversTest, FieldsLieInOrder) {
    ExpectOrder(&ErrorNotification::errors);
    ExpectOrder(&MessageNotification::text, &MessageNotification::type);
    ExpectOrder(&RequestBeginNotification::elapsed);
    ExpectOrder(&RequestEndNotification::elapsed);
    ExpectOrder(&CancelFailedNotification::elapsed);
    ExpectOrder(&ExecuteBeginNotification::elapsed);
    ExpectOrder(&ExecuteEndNotification::elapsed);
    ExpectOrder(&PreResultSetBeginNotification::elapsed, &PreResultSetBeginNotification::resultSetId,
                &PreResultSetBeginNotification::type);
    ExpectOrder(&ResultSetBeginNotification::elapsed, &ResultSetBeginNotification::resultSetId,
                &ResultSetBeginNotification::type);
    ExpectOrder(&ResultSetUpdateNotification::elapsed, &ResultSetUpdateNotification::resultSetId,
                &ResultSetUpdateNotification::rows);
    ExpectOrder(&ResultSetEndNotification::elapsed, &ResultSetEndNotification::resultSetId);
    ExpectOrder(&BatchItemBeginNotification::elapsed, &BatchItemBeginNotification::itemIndex,
                &BatchItemBeginNotification::itemValue);
    ExpectOrder(&BatchItemEndNotification::elapsed, &BatchItemEndNotification::rowCount,
                &BatchItemEndNotification::parameters);
    ExpectOrder(&LobExtractedNotification::fileName, &LobExtractedNotification::elapsed);
    ExpectOrder(&LobImportedNotification::elapsed);
    ExpectOrder(&DebugEventNotification::event, &DebugEventNotification::data,
                &DebugEventNotification::elapsed);
}

// One window for each type: each notification reaches the window of its list and no other, with all its
// fields.
TEST_F(ObserversTest, EachKindGoesToItsList) {
    ObserverWindow windows[9];
    for (int type = 0; type < 9; ++type) {
        director->RegisterObserver(windows[type].Handle(), static_cast<ObserverType>(type));
    }
    ASSERT_EQ(AllKinds().size(), 16u);
    for (const KindCase& kind : AllKinds()) {
        kind.call(*director, arguments);
        for (int type = 0; type < 9; ++type) {
            EXPECT_EQ(windows[type].Lines(), type == kind.list ? Lines{kind.line} : Lines{}) << type;
            for (const void* const named : windows[type].Directors()) {
                EXPECT_EQ(named, static_cast<CSingleRequestDirector*>(director.get())) << kind.line;
            }
            windows[type].Clear();
        }
    }
}

TEST_F(ObserversTest, RegisteredForAllTypesGetsAllKindsOnce) {
    ObserverWindow window;
    director->RegisterObserver(window.Handle());
    director->RegisterObserver(window.Handle());
    director->RegisterObserver(window.Handle(), LobObserver);
    EXPECT_EQ(Sizes(), std::vector<std::size_t>(9, 1));
    Lines expected;
    for (const KindCase& kind : AllKinds()) {
        kind.call(*director, arguments);
        expected.push_back(kind.line);
    }
    EXPECT_EQ(window.Lines(), expected);
}

TEST_F(ObserversTest, PayloadIsACopyOfTexts) {
    std::string text = "before";
    ObserverWindow window;
    director->RegisterObserver(window.Handle());
    window.OnKind([&text](WPARAM) { text = "behind"; });
    ObserverWindow second;
    director->RegisterObserver(second.Handle());
    director->OnMessage(text.c_str(), OutputMessageServer);
    text = "before";
    director->OnLobExtracted(text.c_str(), 1.0);
    EXPECT_EQ(second.Lines(), (Lines{"2 OnMessage [before] 0", "14 OnLobExtracted [before] 1"}));
}

TEST_F(ObserversTest, NullTextsAreEmpty) {
    ObserverWindow window;
    director->RegisterObserver(window.Handle());
    director->OnMessage(nullptr, OutputMessageError);
    director->OnLobExtracted(nullptr, 2.5);
    EXPECT_EQ(window.Lines(), (Lines{"2 OnMessage [] 5", "14 OnLobExtracted [] 2.5"}));
}

TEST_F(ObserversTest, TypesOutsideTheNineChangeNothing) {
    ObserverWindow window;
    ObserverWindow other;
    director->RegisterObserver(other.Handle());
    for (const int type : {-1, 9, 100, -100}) {
        const auto none = static_cast<ObserverType>(type);
        director->RegisterObserver(window.Handle(), none);
        director->UnregisterObserver(other.Handle(), none);
        director->UnregisterAllObserver(none);
        EXPECT_EQ(director->GetObservers(none), nullptr) << type;
        EXPECT_EQ(Sizes(), std::vector<std::size_t>(9, 1)) << type;
    }
    for (const KindCase& kind : AllKinds()) {
        kind.call(*director, arguments);
    }
    EXPECT_EQ(window.Lines(), Lines{});
    EXPECT_EQ(other.Lines().size(), 16u);
}

TEST_F(ObserversTest, SchemaListIsFilledAndNeverTold) {
    ObserverWindow window;
    director->RegisterObserver(window.Handle(), SchemaObserver);
    EXPECT_EQ(ListOf(SchemaObserver), std::vector<HWND>{window.Handle()});
    for (const KindCase& kind : AllKinds()) {
        kind.call(*director, arguments);
    }
    EXPECT_EQ(window.Lines(), Lines{});
    director->UnregisterObserver(window.Handle(), SchemaObserver);
    EXPECT_EQ(ListOf(SchemaObserver), std::vector<HWND>{});
}

TEST_F(ObserversTest, WindowsAreToldInTheOrderOfRegistration) {
    std::vector<int> told;
    ObserverWindow windows[3];
    for (const int i : {2, 0, 1}) {
        windows[i].OnKind([&told, i](WPARAM) { told.push_back(i); });
        director->RegisterObserver(windows[i].Handle(), ExecutionObserver);
    }
    director->RegisterObserver(windows[2].Handle(), ExecutionObserver);  // keeps its place
    director->OnExecuteBegin(0.0);
    EXPECT_EQ(told, (std::vector<int>{2, 0, 1}));
    told.clear();
    director->UnregisterObserver(windows[2].Handle(), ExecutionObserver);
    director->RegisterObserver(windows[2].Handle(), ExecutionObserver);
    director->OnExecuteEnd(0.0);
    EXPECT_EQ(told, (std::vector<int>{0, 1, 2}));
}

TEST_F(ObserversTest, OrderHoldsAcrossThreads) {
    std::vector<int> told;
    const auto note = [&told](int i) {
        return [&told, i](HWND, UINT, WPARAM, LPARAM) -> LRESULT {
            told.push_back(i);
            return 0;
        };
    };
    const WindowThread first(note(1));
    const WindowThread third(note(3));
    const HWND second = qxos::CreateMessageWindow(note(2));
    for (const HWND window : {first.Window(), second, third.Window()}) {
        director->RegisterObserver(window, BatchObserver);
    }
    director->OnBatchItemBegin(0.0, 0, 0);
    EXPECT_EQ(told, (std::vector<int>{1, 2, 3}));
    DestroyWindow(second);
}

TEST_F(ObserversTest, DestroyedWindowIsSkippedAndStaysInTheList) {
    ObserverWindow first;
    ObserverWindow second;
    ObserverWindow third;
    const std::vector<HWND> handles = {first.Handle(), second.Handle(), third.Handle(), nullptr};
    for (const HWND handle : handles) {
        director->RegisterObserver(handle);
    }
    second.Destroy();
    for (const KindCase& kind : AllKinds()) {
        kind.call(*director, arguments);
    }
    EXPECT_EQ(first.Lines().size(), 16u);
    EXPECT_EQ(second.Lines(), Lines{});
    EXPECT_EQ(third.Lines(), first.Lines());
    EXPECT_EQ(ListOf(ErrorObserver), handles);
}

TEST_F(ObserversTest, WindowDestroyedByTheOneBeforeIsSkipped) {
    ObserverWindow first;
    ObserverWindow second;
    ObserverWindow third;
    for (ObserverWindow* const window : {&first, &second, &third}) {
        director->RegisterObserver(window->Handle());
    }
    first.OnKind([&second](WPARAM) { second.Destroy(); });
    director->OnExecuteBegin(1.0);
    EXPECT_EQ(second.Lines(), Lines{});
    EXPECT_EQ(third.Lines(), Lines{"6 OnExecuteBegin 1"});
}

TEST_F(ObserversTest, UnregisterRemovesEveryOccurrenceInItsList) {
    ObserverWindow window;
    ObserverWindow other;
    director->RegisterObserver(other.Handle());
    director->RegisterObserver(window.Handle());
    director->GetObservers(LobObserver)->push_back(window.Handle());
    ASSERT_EQ(ListOf(LobObserver).size(), 3u);
    director->UnregisterObserver(window.Handle(), LobObserver);
    EXPECT_EQ(ListOf(LobObserver), std::vector<HWND>{other.Handle()});
    EXPECT_EQ(Sizes(), (std::vector<std::size_t>{2, 2, 2, 2, 2, 2, 1, 2, 2}));
    director->UnregisterObserver(window.Handle(), LobObserver);  // no fault
    director->OnLobImported(1.0);
    director->OnExecuteBegin(1.0);
    EXPECT_EQ(window.Lines(), Lines{"6 OnExecuteBegin 1"});
    EXPECT_EQ(other.Lines(), (Lines{"15 OnLobImported 1", "6 OnExecuteBegin 1"}));
}

TEST_F(ObserversTest, UnregisterAllEmptiesAListAWindowOrEverything) {
    ObserverWindow window;
    ObserverWindow other;
    const auto fill = [&] {
        director->RegisterObserver(window.Handle());
        director->RegisterObserver(other.Handle());
    };
    for (int type = 0; type < 9; ++type) {
        fill();
        director->UnregisterAllObserver(static_cast<ObserverType>(type));
        std::vector<std::size_t> expected(9, 2);
        expected[static_cast<std::size_t>(type)] = 0;
        EXPECT_EQ(Sizes(), expected);
    }
    fill();
    director->UnregisterAllObserver(window.Handle());
    EXPECT_EQ(Sizes(), std::vector<std::size_t>(9, 1));
    EXPECT_EQ(ListOf(SchemaObserver), std::vector<HWND>{other.Handle()});
    fill();
    director->UnregisterAllObserver();
    EXPECT_EQ(Sizes(), std::vector<std::size_t>(9, 0));
    for (const KindCase& kind : AllKinds()) {
        kind.call(*director, arguments);
    }
    EXPECT_EQ(window.Lines(), Lines{});
    EXPECT_EQ(other.Lines(), Lines{});
}

// Each window walks the records from the first, however far the one before it came; the list given stays as
// it is.
TEST_F(ObserversTest, ErrorsAreWalkedFromTheFirstByEachWindow) {
    ObserverWindow dead;
    ObserverWindow whole;
    ObserverWindow last;
    std::vector<std::string> firstOnly;
    const HWND partial =
        qxos::CreateMessageWindow([&firstOnly](HWND, UINT, WPARAM, LPARAM lParam) -> LRESULT {
            const auto& payload = NotificationAs<ErrorNotification>(lParam);
            firstOnly.push_back(payload.errors.GetNextError().GetErrorDescription());
            return 0;
        });
    for (const HWND handle : {partial, whole.Handle(), dead.Handle(), last.Handle()}) {
        director->RegisterObserver(handle, ErrorObserver);
    }
    dead.Destroy();
    director->OnError(arguments.errors);
    EXPECT_EQ(firstOnly, (std::vector<std::string>{"first"}));
    EXPECT_EQ(whole.Lines(), Lines{"1 OnError first|second"});
    EXPECT_EQ(last.Lines(), Lines{"1 OnError first|second"});
    EXPECT_EQ(arguments.errors.GetNextError().GetErrorDescription(), "first");
    // The copy carries the read position along, for the first window; the send rewinds it.
    director->OnError(arguments.errors);
    EXPECT_EQ(firstOnly, (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(whole.Lines().back(), "1 OnError first|second");
    DestroyWindow(partial);
}

// A list that is rewound only by sends: a skipped window does not rewind it.
TEST_F(ObserversTest, SkippedWindowDoesNotRewindTheErrors) {
    ObserverWindow dead;
    ObserverWindow living;
    director->RegisterObserver(dead.Handle(), ErrorObserver);
    director->RegisterObserver(living.Handle(), ErrorObserver);
    dead.Destroy();
    arguments.errors.GetNextError();
    director->OnError(arguments.errors);
    EXPECT_EQ(living.Lines(), Lines{"1 OnError second"});
}

TEST_F(ObserversTest, ParametersAndDataAreHandedOnAsTheyAre) {
    const ParameterList* parameters = nullptr;
    void* data = nullptr;
    const HWND window = qxos::CreateMessageWindow([&](HWND, UINT, WPARAM kind, LPARAM lParam) -> LRESULT {
        if (kind == KindBatchItemEnd) {
            parameters = NotificationAs<BatchItemEndNotification>(lParam).parameters;
        } else {
            data = NotificationAs<DebugEventNotification>(lParam).data;
        }
        return 0;
    });
    director->RegisterObserver(window);
    director->OnBatchItemEnd(0.0, 0, arguments.parameters);
    director->OnDebugEvent(1, &arguments, 0.0);
    EXPECT_EQ(parameters, &arguments.parameters);
    EXPECT_EQ(data, &arguments);
    DestroyWindow(window);
}

// The list is copied first: what a window registers or unregisters counts from the next notification on.
TEST_F(ObserversTest, WindowsRegisterAndUnregisterFromWithin) {
    ObserverWindow first;
    ObserverWindow second;
    ObserverWindow late;
    director->RegisterObserver(first.Handle());
    director->RegisterObserver(second.Handle());
    first.OnKind([&](WPARAM) {
        director->RegisterObserver(late.Handle());
        director->UnregisterAllObserver(second.Handle());
        director->UnregisterObserver(first.Handle(), ExecutionObserver);
    });
    director->OnExecuteBegin(1.0);
    EXPECT_EQ(first.Lines(), Lines{"6 OnExecuteBegin 1"});
    EXPECT_EQ(second.Lines(), Lines{"6 OnExecuteBegin 1"});
    EXPECT_EQ(late.Lines(), Lines{});
    director->OnExecuteEnd(2.0);
    EXPECT_EQ(first.Lines(), Lines{"6 OnExecuteBegin 1"});
    EXPECT_EQ(second.Lines(), Lines{"6 OnExecuteBegin 1"});
    EXPECT_EQ(late.Lines(), Lines{"7 OnExecuteEnd 2"});
    first.OnKind([&](WPARAM) { director->UnregisterAllObserver(); });
    director->OnLobImported(3.0);
    EXPECT_EQ(late.Lines(), (Lines{"7 OnExecuteEnd 2", "15 OnLobImported 3"}));
    EXPECT_EQ(Sizes(), std::vector<std::size_t>(9, 0));
}

TEST_F(ObserversTest, NotificationWithinANotification) {
    ObserverWindow window;
    director->RegisterObserver(window.Handle());
    window.OnKind([this](WPARAM kind) {
        if (kind == KindExecuteBegin) {
            director->OnLobImported(2.0);
        }
    });
    director->OnExecuteBegin(1.0);
    EXPECT_EQ(window.Lines(), (Lines{"6 OnExecuteBegin 1", "15 OnLobImported 2"}));
}

TEST_F(ObserversTest, ClonesHaveNoObservers) {
    ObserverWindow window;
    director->RegisterObserver(window.Handle());
    const std::unique_ptr<CSingleRequestDirector> clone(director->CloneDirector());
    clone->OnExecuteBegin(1.0);
    EXPECT_EQ(window.Lines(), Lines{});
}

// Clear is for callbacks alone.
TEST_F(ObserversTest, ClearKeepsTheObservers) {
    ObserverWindow window;
    director->RegisterObserver(window.Handle());
    director->Clear();
    EXPECT_EQ(Sizes(), std::vector<std::size_t>(9, 1));
}

TEST_F(ObserversTest, DestructionWithinADirectCallEndsTheRest) {
    ObserverWindow first;
    ObserverWindow second;
    director->RegisterObserver(first.Handle());
    director->RegisterObserver(second.Handle());
    first.OnKind([this](WPARAM) { director.reset(); });
    director->OnError(arguments.errors);
    EXPECT_EQ(first.Lines(), Lines{"1 OnError first|second"});
    EXPECT_EQ(second.Lines(), Lines{});
}

// Refuses one lock from now on; the first one asked for when none is named.
class Refusal final : public qxutils::LockFaultInjector {
  public:
    explicit Refusal(const void* lock = nullptr) : target(lock) { qxutils::SetLockFaultInjector(this); }
    ~Refusal() override { qxutils::SetLockFaultInjector(nullptr); }
    bool RefuseLock(const void* lock) override {
        const void* none = nullptr;
        target.compare_exchange_strong(none, lock);
        return lock == target;
    }
    const void* Target() const { return target; }

  private:
    std::atomic<const void*> target;
};

std::string ThrownBy(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return "nothing";
}

TEST_F(ObserversTest, RefusedLockIsReported) {
    ObserverWindow window;
    director->RegisterObserver(window.Handle());
    const void* lock = nullptr;
    {
        const Refusal first;
        EXPECT_EQ(ThrownBy([&] { director->RegisterObserver(window.Handle()); }), "Unable to acquire lock!");
        lock = first.Target();
    }
    const Refusal refusal(lock);
    const HWND handle = window.Handle();
    const std::vector<std::function<void()>> operations = {
        [&] { director->RegisterObserver(handle, ErrorObserver); },
        [&] { director->UnregisterObserver(handle, ErrorObserver); },
        [&] { director->UnregisterAllObserver(ErrorObserver); },
        [&] { director->UnregisterAllObserver(handle); },
        [&] { director->UnregisterAllObserver(); },
    };
    for (const std::function<void()>& operation : operations) {
        EXPECT_EQ(ThrownBy(operation), "Unable to acquire lock!");
    }
    const DebugTexts debug;
    for (const KindCase& kind : AllKinds()) {
        kind.call(*director, arguments);
    }
    EXPECT_EQ(debug.Texts(), std::vector<std::string>(16, "The windows of a director could not be read."));
    EXPECT_EQ(window.Lines(), Lines{});
    EXPECT_EQ(Sizes(), std::vector<std::size_t>(9, 1));
}

// The end of a run is not lost with the lock.
TEST_F(ObserversTest, RefusedLockStillEndsTheRun) {
    ObserverWindow window;
    const void* lock = nullptr;
    {
        const Refusal first;
        EXPECT_EQ(ThrownBy([&] { director->RegisterObserver(window.Handle()); }), "Unable to acquire lock!");
        lock = first.Target();
    }
    server.AcceptOthers();
    {
        const Refusal refusal(lock);
        Execute("x");
        ASSERT_TRUE(WaitEnd());
    }
    EXPECT_EQ(calls.LinesOf("OnError"), Lines{});
    Execute("x");
    ASSERT_TRUE(WaitEnd(2));
    EXPECT_EQ(director->engines, 2);
}

}  // namespace
