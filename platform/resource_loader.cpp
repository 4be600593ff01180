#include "platform/resource_loader.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>
#include <mutex>

namespace qxdbsqlengine {

namespace {

// The engine's own messages. Texts are shown to users and tested by tools: they stay as they are, the double
// blank of row 120 and the spelling of row 124 included.
constexpr StringRow MessageRows[] = {
    {115, "row(s) affected."},
    {116, "Wrong Type Exception"},
    {117, "The Data Container is not editable"},
    {118, "Invalid ResultSet Type Exception"},
    {119, "Invalid ResultSet Index Exception"},
    {120, "Invalid ResultSet ID  Exception"},
    {121, "Unknown Error"},
    {122, "Type not supported exception"},
    {123, "Name is mandatory for binding by name"},
    {124, "Duplicated paramter name"},
    {125, "Unknown RequestType"},
    {126, "Failed to open file"},
    {127, "Unknown parameter"},
    {128, "Prepare before calling"},
    {129, "hit wrong resultset type"},
    {131, "Get null value exception"},
    {132, "Get default value exception"},
    {134, "The command completed with no results returned"},
    {146, "Datasource has not responded to the cancel request. Connection has been discarded."},
};

struct Table {
    const StringRow* rows;
    std::size_t count;
};

// Tables are only ever added, so readers walk the array without a lock up to the published count.
constexpr std::size_t MaxTables = 8;
std::array<Table, MaxTables> tables = {{{MessageRows, std::size(MessageRows)}}};
std::atomic<std::size_t> tableCount{1};
std::mutex addLock;

const char* FindRow(int id) {
    const std::size_t count = tableCount.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < count; ++i) {
        const StringRow* const end = tables[i].rows + tables[i].count;
        const StringRow* const row = std::lower_bound(
            tables[i].rows, end, id, [](const StringRow& left, int right) { return left.id < right; });
        if (row != end && row->id == id)
            return row->text;
    }
    return nullptr;
}

}  // namespace

bool ResourceLoader::LoadString(std::string& text, int id) {
    text.clear();
    if (id == -1)
        return false;
    if (const char* const found = FindRow(id))
        text = found;
    return !text.empty();
}

std::string ResourceLoader::LoadString(int id) {
    std::string text;
    LoadString(text, id);
    return text;
}

void ResourceLoader::AddTable(const StringRow* rows, std::size_t count) {
    const std::lock_guard<std::mutex> guard(addLock);
    const std::size_t used = tableCount.load(std::memory_order_relaxed);
    for (std::size_t i = 0; i < used; ++i) {
        if (tables[i].rows == rows)
            return;
    }
    tables.at(used) = Table{rows, count};
    tableCount.store(used + 1, std::memory_order_release);
}

}  // namespace qxdbsqlengine
