#include "drivers/sqlite/database.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <thread>
#include <utility>
#include <vector>

#include "platform/qxsplt/errors.h"

namespace qxdrivers::sqlite {

namespace {

// Instructions of SQLite's machine between two questions whether to stop: some 50 microseconds.
constexpr int progressInterval = 4000;
constexpr long defaultBusyTimeoutMs = 5000;
constexpr long maxBusyTimeoutMs = 24L * 60 * 60 * 1000;
constexpr const char* memoryName = ":memory:";

struct OpenOptions {
    bool create = false;
    bool readOnly = false;
    bool unlimitedIsLob = false;
    long busyTimeoutMs = defaultBusyTimeoutMs;
};

long ReadTimeout(const std::string& option, std::size_t begin) {
    long value = 0;
    bool good = begin < option.size();
    for (std::size_t i = begin; i < option.size() && good; ++i) {
        good = option[i] >= '0' && option[i] <= '9';
        value = std::min(value * 10 + (option[i] - '0'), maxBusyTimeoutMs);
    }
    if (!good) {
        ThrowRefusal("The option \"" + option + "\" has no number of milliseconds", "HY024");
    }
    return value;
}

void ApplyOption(const std::string& option, OpenOptions& options) {
    const std::string word = WordAt(option, 0);
    const bool hasValue = word.size() < option.size();
    if (word == "CREATE" && !hasValue) {
        options.create = true;
    } else if (word == "READONLY" && !hasValue) {
        options.readOnly = true;
    } else if (word == "TIMEOUT" && hasValue && option[word.size()] == '=') {
        options.busyTimeoutMs = ReadTimeout(option, word.size() + 1);
    } else if (word == "UNLIMITED" && option.size() == word.size() + 4 && option[word.size()] == '=' &&
               WordAt(option, word.size() + 1) == "LOB") {
        options.unlimitedIsLob = true;
    } else {
        ThrowRefusal(
            "Unknown option \"" + option + "\"; known are create, readonly, timeout=MS and unlimited=lob",
            "HY024");
    }
}

OpenOptions ParseOptions(const std::string& text) {
    constexpr const char* separators = " \t\r\n,;";
    OpenOptions options;
    std::size_t begin = text.find_first_not_of(separators);
    while (begin != std::string::npos) {
        const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
        ApplyOption(text.substr(begin, end - begin), options);
        begin = text.find_first_not_of(separators, end);
    }
    return options;
}

bool IsFile(const std::string& name) {
    return !name.empty() && name != memoryName;
}

[[noreturn]] void ThrowCantOpen(const std::string& name, int code, const std::string& why) {
    ThrowFailure(code, "The database \"" + name + "\" can't be opened: " + why,
                 SqlState(code, Stage::Run, why), Place());
}

// SQLite's own messages don't name the file.
void CheckFile(const std::string& name, const OpenOptions& options) {
    std::error_code failed;
    const std::filesystem::file_status status = std::filesystem::status(name, failed);
    if (std::filesystem::is_directory(status)) {
        ThrowCantOpen(name, SQLITE_CANTOPEN, "it is a directory");
    }
    if (status.type() == std::filesystem::file_type::not_found && (!options.create || options.readOnly)) {
        ThrowCantOpen(name, SQLITE_CANTOPEN, "the file does not exist");
    }
}

int OpenHandle(const std::string& name, int flags, sqlite3*& handle) {
    // A name that SQLite would take for a URI or for a special name is made a plain path.
    const bool plain = !IsFile(name) || (name[0] != ':' && name.compare(0, 5, "file:") != 0);
    const std::string path = plain ? name : "./" + name;
    const int code = sqlite3_open_v2(path.c_str(), &handle, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (handle) {
        sqlite3_extended_result_codes(handle, 1);
    }
    return code;
}

// Opens, or throws with the handle closed.
sqlite3* OpenOrThrow(const std::string& name, const OpenOptions& options) {
    int flags = options.readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    if (options.create && !options.readOnly) {
        flags |= SQLITE_OPEN_CREATE;
    }
    sqlite3* handle = nullptr;
    int code = OpenHandle(name, flags, handle);
    if ((code & 0xFF) == SQLITE_CANTOPEN && !options.readOnly && !options.create) {
        sqlite3_close_v2(handle);
        code = OpenHandle(name, SQLITE_OPEN_READONLY, handle);
    }
    if (code != SQLITE_OK) {
        const std::string why = handle ? sqlite3_errmsg(handle) : sqlite3_errstr(code);
        sqlite3_close_v2(handle);
        ThrowCantOpen(name, code, why);
    }
    return handle;
}

}  // namespace

bool RunControl::ShouldStop() {
    if (cancelled.load(std::memory_order_relaxed)) {
        return true;
    }
    if (timeoutSeconds == 0) {
        return false;
    }
    const auto now = std::chrono::steady_clock::now();
    if (timedCall != callNumber) {
        timedCall = callNumber;
        callStart = now;
    }
    timedOut = now - callStart >= std::chrono::seconds(timeoutSeconds);
    return timedOut;
}

std::shared_ptr<Database> Database::Open(const qxdb::ConnectionDef& definition) {
    const std::string& name = definition.GetDataSource();
    if (name.find('\0') != std::string::npos) {
        ThrowCantOpen(name.c_str(), SQLITE_CANTOPEN, "its name has a zero byte");
    }
    const OpenOptions options = ParseOptions(definition.GetOptions());
    if (IsFile(name)) {
        CheckFile(name, options);
    }
    sqlite3* handle = OpenOrThrow(name, options);
    std::shared_ptr<Database> database(
        new Database(handle, name, options.busyTimeoutMs, options.unlimitedIsLob));
    // SQLite looks into the file with the first statement only; a file that is no database is told here. A
    // locked one may be free when it is needed.
    const int code = sqlite3_exec(handle, "PRAGMA schema_version", nullptr, nullptr, nullptr);
    if (code != SQLITE_OK && (code & 0xFF) != SQLITE_BUSY) {
        ThrowCantOpen(name, code, sqlite3_errmsg(handle));
    }
    sqlite3_busy_handler(handle, &Database::OnBusy, database.get());
    return database;
}

Database::Database(sqlite3* opened, std::string fileName, long waitMs, bool unlimitedLobs)
    : handle(opened), name(std::move(fileName)), busyTimeoutMs(waitMs), unlimitedIsLob(unlimitedLobs) {
    sqlite3_progress_handler(handle, progressInterval, &Database::OnProgress, this);
}

Database::~Database() {
    sqlite3_close_v2(handle);
}

void Database::Begin(RunControl& control) {
    const std::lock_guard<std::mutex> guard(cancelLock);
    control.cancelled = false;
    control.active = true;
}

void Database::End(RunControl& control) {
    const std::lock_guard<std::mutex> guard(cancelLock);
    control.active = false;
}

void Database::ResultOpened() {
    const std::lock_guard<std::mutex> guard(cancelLock);
    ++openResults;
}

void Database::ResultClosed() {
    const std::lock_guard<std::mutex> guard(cancelLock);
    --openResults;
}

void Database::Cancel(RunControl& control) {
    const std::lock_guard<std::mutex> guard(cancelLock);
    if (!control.active) {
        return;
    }
    control.cancelled = true;
    // An interrupt hits every open result of the connection, and lasts until all of them are closed; the flag
    // alone, which the progress handler reads, hits only this one.
    if (starting == &control && openResults == 1) {
        sqlite3_interrupt(handle);
    }
}

sqlite3_stmt* Database::Compile(RunControl& control, const std::shared_ptr<const std::string>& text,
                                std::size_t& offset, unsigned int flags) {
    const std::size_t begin = SkipBlank(*text, offset);
    if (begin == text->size()) {
        offset = begin;
        return nullptr;
    }
    if (control.cancelled) {
        ThrowFailed(control, SQLITE_INTERRUPT, Stage::Compile, FindPlace(*text, begin));
    }
    const char* tail = nullptr;
    sqlite3_stmt* statement = nullptr;
    ++control.callNumber;
    control.timedOut = false;
    current = &control;
    // Without a length: with one SQLite copies all that is left of the text for each statement in it.
    const int code = sqlite3_prepare_v3(handle, text->c_str() + begin, -1, flags, &statement, &tail);
    current = nullptr;
    if (code != SQLITE_OK) {
        const int errorOffset = (code & 0xFF) == SQLITE_ERROR ? sqlite3_error_offset(handle) : -1;
        const std::size_t at = begin + static_cast<std::size_t>(std::max(errorOffset, 0));
        ThrowFailed(control, code, Stage::Compile, FindPlace(*text, at));
    }
    offset = static_cast<std::size_t>(tail - text->c_str());
    return statement;
}

int Database::Step(RunControl& control, sqlite3_stmt* statement, bool first) {
    ++control.callNumber;
    control.timedOut = false;
    if (control.cancelled.load(std::memory_order_relaxed)) {
        return SQLITE_INTERRUPT;
    }
    current = &control;
    if (first) {
        const std::lock_guard<std::mutex> guard(cancelLock);
        starting = &control;
    }
    const int code = sqlite3_step(statement);
    if (first) {
        const std::lock_guard<std::mutex> guard(cancelLock);
        starting = nullptr;
    }
    current = nullptr;
    return code;
}

void Database::ThrowFailed(const RunControl& control, int code, Stage stage, Place place) {
    const int primary = code & 0xFF;
    // A cancelled wait for a lock ends as a lock that could not be had.
    const bool stopped = primary == SQLITE_INTERRUPT || primary == SQLITE_BUSY;
    if (stopped && control.cancelled) {
        ThrowFailure(SQLITE_INTERRUPT, "The statement was cancelled", "HY008", place);
    }
    if (stopped && control.timedOut) {
        ThrowFailure(
            SQLITE_INTERRUPT,
            "The statement was stopped after " + std::to_string(control.timeoutSeconds) + " second(s)",
            "HYT00", place);
    }
    if (primary == SQLITE_BUSY) {
        const std::string message =
            std::string(sqlite3_errmsg(handle)) + ": \"" + name + "\" is in use by another connection";
        ThrowFailure(code, message, SqlState(code, stage, message), place);
    }
    ThrowLastFailure(handle, stage, place);
}

void Database::SetCurrentDatabase(const std::string& wanted) {
    for (int i = 0; const char* known = sqlite3_db_name(handle, i); ++i) {
        if (sqlite3_stricmp(known, wanted.c_str()) == 0) {
            return;  // names are looked up in all attached databases
        }
    }
    ThrowRefusal("Unknown database \"" + wanted + "\": it is not attached", "3D000");
}

int Database::OnProgress(void* self) {
    const Database& database = *static_cast<Database*>(self);
    return database.current && database.current->ShouldStop() ? 1 : 0;
}

int Database::OnBusy(void* self, int count) {
    static constexpr int pausesMs[] = {1, 2, 5, 10, 15, 20, 25};
    Database& database = *static_cast<Database*>(self);
    const auto now = std::chrono::steady_clock::now();
    if (count == 0) {
        database.busyStart = now;
    }
    const auto left = std::chrono::milliseconds(database.busyTimeoutMs) - (now - database.busyStart);
    if (left.count() <= 0 || (database.current && database.current->ShouldStop())) {
        return 0;
    }
    const int last = static_cast<int>(std::size(pausesMs)) - 1;
    const std::chrono::nanoseconds pause = std::chrono::milliseconds(pausesMs[std::min(count, last)]);
    std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(pause, left));
    return 1;
}

}  // namespace qxdrivers::sqlite
