#include "platform/os/component.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace qxos {

namespace {

struct Registration {
    CLSID classId;
    std::shared_ptr<const ComponentFactory> factory;
};

struct Registry {
    std::mutex mutex;
    std::vector<Registration> entries;

    std::vector<Registration>::iterator Find(REFCLSID classId) {
        return std::find_if(entries.begin(), entries.end(),
                            [&classId](const Registration& entry) { return entry.classId == classId; });
    }
};

// Never destroyed: components may be asked for while the process ends.
Registry& GetRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

std::string& ErrorText() {
    thread_local std::string text;
    return text;
}

}  // namespace

void RegisterComponent(REFCLSID classId, ComponentFactory factory) {
    auto shared = std::make_shared<const ComponentFactory>(std::move(factory));
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.mutex);
    const auto found = registry.Find(classId);
    if (found != registry.entries.end())
        found->factory.swap(shared);
    else
        registry.entries.push_back({classId, std::move(shared)});
}

bool UnregisterComponent(REFCLSID classId) {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.mutex);
    const auto found = registry.Find(classId);
    if (found == registry.entries.end())
        return false;
    registry.entries.erase(found);
    return true;
}

HRESULT CreateComponent(REFCLSID classId, REFIID iid, void** object) {
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    std::shared_ptr<const ComponentFactory> factory;
    {
        Registry& registry = GetRegistry();
        const std::lock_guard<std::mutex> guard(registry.mutex);
        const auto found = registry.Find(classId);
        if (found == registry.entries.end())
            return REGDB_E_CLASSNOTREG;
        factory = found->factory;
    }
    // Outside the lock: a factory may make other components.
    return (*factory)(iid, object);
}

void SetComponentErrorText(const std::string& text) {
    ErrorText() = text;
}

std::string TakeComponentErrorText() {
    return std::exchange(ErrorText(), std::string());
}

}  // namespace qxos
