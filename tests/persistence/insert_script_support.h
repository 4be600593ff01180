// INSERT statements taken apart again by the script parser.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "persistence_support.h"
#include "scriptparser/dialect.h"
#include "scriptparser/item.h"
#include "scriptparser/script_source.h"
#include "scriptparser/script_text.h"

namespace qxdbsqlengine {

class CollectingSink final : public qxscriptparser::ItemSink {
  public:
    bool Put(const qxscriptparser::Item& item) override {
        items.emplace_back(item.text);
        return true;
    }
    std::vector<std::string> items;
};

inline std::vector<std::string> SplitScript(const std::string& script, const std::string& dialect,
                                            const std::string& separator) {
    const std::atomic<bool> stop{false};
    qxscriptparser::MemorySource source(script);
    qxscriptparser::ScriptText text(source, stop);
    CollectingSink sink;
    qxscriptparser::MakeSplitter(dialect, separator, text, sink)->Run();
    return sink.items;
}

}  // namespace qxdbsqlengine
