#include "platform/os/posix/open_names.h"

#include <unistd.h>

#include <mutex>
#include <set>

#include "platform/os/file_mapping.h"

namespace qxos {

namespace {

struct OpenNames {
    std::mutex lock;
    std::set<std::string> paths;
};

// Never destroyed: files may be closed after the static objects have gone.
OpenNames& Names() {
    static auto* const names = new OpenNames();
    return *names;
}

}  // namespace

void AddOpenName(const std::string& path) {
    OpenNames& names = Names();
    const std::lock_guard<std::mutex> guard(names.lock);
    names.paths.insert(path);
}

void RemoveOpenName(const std::string& path) {
    OpenNames& names = Names();
    const std::lock_guard<std::mutex> guard(names.lock);
    names.paths.erase(path);
}

void RemoveOpenTempFiles() {
    OpenNames& names = Names();
    const std::lock_guard<std::mutex> guard(names.lock);
    for (const std::string& path : names.paths) {
        ::unlink(path.c_str());
    }
}

}  // namespace qxos
