// One row that the request itself writes into its store.
#pragma once

#include <string>

#include "storage/data_storage.h"
#include "storage/row_lock.h"

namespace qxdbsqlengine {

// Holds the row lock of a result set for its own life; the cells come column by column from 0 on. A row that
// a failure leaves half made is filled up, so that it and the rows behind it stay readable.
class RowWriter {
  public:
    RowWriter(DataStorage& target, int resultSet, int columns)
        : storage(target), set(resultSet), count(columns), lock(target.GetRowLock(resultSet)) {
        lock.Lock();
    }
    ~RowWriter() {
        if (next > 0) {
            try {
                while (next < count)
                    storage.InsertEmpty(set, next++);
            } catch (...) {
                // Out of room: the failure that led here is the one to report.
            }
        }
        lock.UnLock();
    }
    RowWriter(const RowWriter&) = delete;
    RowWriter& operator=(const RowWriter&) = delete;

    // Empty texts up to before `column`.
    void SkipTo(int column) {
        while (next < column) {
            storage.InsertString(set, next, std::string());
            ++next;
        }
    }

    // The next cell; `insert` gets the store, the result set and the column, and inserts one value there.
    template <class Insert>
    void Put(const Insert& insert) {
        insert(storage, set, next);
        ++next;
    }

  private:
    DataStorage& storage;
    int set;
    int count;
    int next = 0;
    RowLock lock;
};

}  // namespace qxdbsqlengine
