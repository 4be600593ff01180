// Parameters on their way to the driver and back.
#pragma once

#include <memory>
#include <vector>

#include "drivers/odbc/parameters.h"
#include "drivers/odbc/statement_core.h"

namespace qxdrivers::odbc {

// The memory that a handle's parameters are bound to, for one execution: the driver reads it when the
// statement is executed and writes outputs until the last result was read. Bound on construction, unbound at
// the end. Used on the thread of the statement.
class ParameterBuffers {
  public:
    // One parameter marker. `asInput`: an output is passed as an input, since its value comes back elsewhere.
    struct Use {
        ParameterSlot* slot;
        bool asInput;
    };

    // Values go to the server in the type of the setter that set them, under the described SQL type where
    // there is one. `first`: how many parameters of the text stand in front of these. Throws Errors.
    ParameterBuffers(std::shared_ptr<StatementCore> owner, const std::vector<Use>& uses,
                     unsigned int first = 0);
    ~ParameterBuffers();
    ParameterBuffers(const ParameterBuffers&) = delete;
    ParameterBuffers& operator=(const ParameterBuffers&) = delete;

    // Hands what the driver wrote to the slots. Throws Errors for an output that the driver had to cut.
    void ReadOutputs();

  private:
    struct Buffer {
        ParameterSlot* slot = nullptr;
        bool isOutput = false;
        SQLSMALLINT direction = SQL_PARAM_INPUT;
        SQLSMALLINT cType = SQL_C_CHAR;
        SQLSMALLINT sqlType = SQL_VARCHAR;
        SQLULEN columnSize = 1;
        SQLSMALLINT digits = 0;
        std::vector<SQLWCHAR> data;  // of any type
        SQLLEN bytes = 0;            // of data
        SQLLEN indicator = SQL_NULL_DATA;
    };

    bool IsTextOfTime(const ParameterSlot& slot) const;
    void Fill(Buffer& buffer, const ParameterValue& value) const;
    void FillText(Buffer& buffer, const std::string& text, SQLSMALLINT defaultType, bool plainAscii) const;
    void FillTime(Buffer& buffer, const qxdb::Timestamp& time) const;
    void FillNull(Buffer& buffer) const;
    void MakeRoom(Buffer& buffer) const;
    ParameterValue ReadOutput(const Buffer& buffer) const;

    const std::shared_ptr<StatementCore> core;
    std::vector<Buffer> buffers;  // never moved once it is bound
};

}  // namespace qxdrivers::odbc
