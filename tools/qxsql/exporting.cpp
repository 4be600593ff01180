#include "tools/qxsql/exporting.h"

#include <cerrno>
#include <filesystem>
#include <iostream>

#include "platform/qxsplt/error_record.h"
#include "tools/qxsql/interrupt.h"

namespace qxsql {

using qxdbsqlengine::Persistence;
using qxdbsqlengine::ResultFileType;

namespace {

// Shows the percentage and prints what the writer or reader reports.
class FileProgress : public qxdbsqlengine::IQXPersistenceProgressCallback {
  public:
    FileProgress(const char* action, bool quiet)
        : what(action), percent(quiet ? ProgressLine::Never : ProgressLine::OnTerminal) {}

    void OnProgress(float done) override {
        // Called for each row: most of the time only this counter moves.
        if (++calls % 4096 == 0)
            percent.ShowPercent(what, done);
    }
    void OnTotalRows(int) override {}
    void OnRecord(const ErrorRecord& record) override {
        percent.Wipe();
        reported = true;
        // Who reads through a pipe and has seen enough needs no message.
        if (record.GetErrorCode() != EPIPE)
            std::cerr << record.GetErrorDescription() << '\n';
    }
    void OnRowsDone(int) override {}

    bool Reported() const { return reported; }

  private:
    const char* what;
    ProgressLine percent;
    unsigned calls = 0;
    bool reported = false;
};

void Configure(const CommandLine& line, Persistence& writer) {
    if (line.delimiter)
        writer.SetDelimiter(*line.delimiter);
    writer.SetIncludeHeaders(line.headers);
    writer.SetUseQuotingLogic(line.quoting);
    writer.SetExpandTabs(line.expandTabs);
    writer.SetColumnList(line.columns);
}

}  // namespace

ResultFileType FileTypeFor(const CommandLine& line, const std::string& fileName) {
    if (line.format == "delimited" || (line.delimiter && line.format.empty()))
        return qxdbsqlengine::ResultFileDelimited;
    if (line.format == "tab")
        return qxdbsqlengine::ResultFileTab;
    if (line.format == "comma")
        return qxdbsqlengine::ResultFileComma;
    if (line.format == "pipe")
        return qxdbsqlengine::ResultFilePipe;
    std::string extension = std::filesystem::path(fileName).extension().string();
    for (char& c : extension)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    if (extension == ".csv")
        return qxdbsqlengine::ResultFileComma;
    if (extension == ".psv" || extension == ".pipe")
        return qxdbsqlengine::ResultFilePipe;
    return qxdbsqlengine::ResultFileTab;
}

bool ExportToFile(const CommandLine& line, const StorePtr& store, const std::deque<int>& resultSets) {
    FileProgress progress("Exporting", line.quiet);
    // An empty list means all result sets to the writer; without results the file is empty all the same.
    Persistence writer(FileTypeFor(line, line.outputFile), Interrupted(), &progress,
                       resultSets.empty() ? StorePtr(new qxdbsqlengine::DataStorage(
                                                qxdbsqlengine::DataStorage::CreateResultsStorage(false)))
                                          : store);
    Configure(line, writer);
    writer.SetFileName(line.outputFile.c_str());
    if (writer.WriteResultSets(resultSets))
        return true;
    if (!progress.Reported())
        std::cerr << "Cannot write " << line.outputFile << '\n';
    return false;
}

bool WriteToStream(const CommandLine& line, const StorePtr& store, int resultSet, std::ostream& out) {
    FileProgress progress("Writing", line.quiet);
    Persistence writer(FileTypeFor(line, ""), Interrupted(), &progress, store);
    Configure(line, writer);
    writer.SetOutputStream(&out);
    const bool written = writer.WriteResultSet(resultSet, true) && out.flush().good();
    if (!written && !progress.Reported())
        std::cerr << "Cannot write to standard output\n";
    return written;
}

bool LoadFile(const CommandLine& line, const StorePtr& store) {
    FileProgress progress("Reading", line.quiet);
    Persistence reader(FileTypeFor(line, line.readFile), Interrupted(), &progress, store);
    Configure(line, reader);
    reader.SetFileName(line.readFile.c_str());
    if (reader.ReadAllResultSets())
        return true;
    if (!progress.Reported())
        std::cerr << "Cannot read " << line.readFile << '\n';
    return false;
}

}  // namespace qxsql
