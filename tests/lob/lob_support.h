// A locator that writes down what is asked of it, and answers as the test says.
#pragma once

#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/qxdb/connection.h"
#include "platform/qxdb/lob_locator.h"

namespace qxtest {

// What all clones of a locator share. Any thread.
struct LocatorScript {
    // "export <file> <values>", "import <file> <values>"; the values joined by "|".
    std::vector<std::string> Calls() const {
        const std::lock_guard<std::mutex> guard(mutex);
        return calls;
    }

    // Runs within each transfer: to wait, to write, to throw.
    std::function<void(const std::string& file, qxdb::Connection& connection)> transfer;
    bool readOnly = false;

    mutable std::mutex mutex;
    std::vector<std::string> calls;  // guarded by mutex
};

class ScriptedLocator final : public qxdb::LobLocatorImp {
  public:
    explicit ScriptedLocator(std::shared_ptr<LocatorScript> shared) : script(std::move(shared)) {}

    std::unique_ptr<LobLocatorImp> Clone() const override { return std::make_unique<ScriptedLocator>(*this); }
    qxdb::DynBuffer GetLocatorData() const override { return qxdb::DynBuffer(); }
    void SetLocatorData(const qxdb::DynBuffer&) override {}
    bool IsValid(bool) const override { return true; }
    bool IsReadOnly() const override { return script->readOnly; }
    bool EditAsClob() const override { return false; }
    std::string TableName() const override { return "docs"; }
    void SetAsXMLType() override {}
    void Import(const std::string& fileName, qxdb::Connection& connection,
                std::list<std::string>* rowValues) override {
        Transfer("import", fileName, connection, rowValues);
    }
    void Export(const std::string& fileName, qxdb::Connection& connection,
                std::list<std::string>* rowValues) override {
        Transfer("export", fileName, connection, rowValues);
    }

  private:
    void Transfer(const std::string& what, const std::string& fileName, qxdb::Connection& connection,
                  const std::list<std::string>* rowValues) {
        std::string line = what + " " + fileName + " ";
        for (const std::string& value : *rowValues) {
            line += &value == &rowValues->front() ? value : "|" + value;
        }
        {
            const std::lock_guard<std::mutex> guard(script->mutex);
            script->calls.push_back(line);
        }
        if (script->transfer) {
            script->transfer(fileName, connection);
        }
    }

    const std::shared_ptr<LocatorScript> script;
};

}  // namespace qxtest
