// The list of diagnostics of one failure, which is also the exception that carries it.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <vector>

#include "platform/export.h"
#include "platform/qxsplt/error_record.h"

namespace qxutils {

// A list with a read position. Reading is declared constant, yet moves the position: one thread at a time,
// and Reset before a second reader starts. Copies carry the position along.
template <class Record>
class ExceptionListT {
  public:
    ExceptionListT() = default;
    ExceptionListT(const ExceptionListT&) = default;
    ExceptionListT& operator=(const ExceptionListT&) = default;
    virtual ~ExceptionListT() = default;

    // Appends a copy.
    virtual void AddRecord(const Record& record) { records.push_back(record); }
    virtual unsigned int GetNumberErrors() const { return static_cast<unsigned int>(records.size()); }
    // True while records lie beyond the read position.
    virtual bool MoreErrors() const { return position < records.size(); }
    // The record at the read position, which then advances; valid until the next AddRecord. Throws
    // std::out_of_range behind the last.
    virtual const Record& GetNextError() const {
        const Record& record = records.at(position);
        ++position;
        return record;
    }
    // Back to the first record.
    virtual void Reset() const { position = 0; }

  private:
    std::vector<Record> records;
    mutable std::size_t position = 0;
};

}  // namespace qxutils

// Thrown by value. Not derived from std::exception: catch clauses name it first and by itself.
class QXSENG2_API Errors : public qxutils::ExceptionListT<ErrorRecord> {
  public:
    Errors();
    Errors(const Errors&);
    Errors& operator=(const Errors&);
    ~Errors() override;
};
