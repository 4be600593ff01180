#include <cstdlib>
#include <new>

#include "storage/storage_doubles.h"

namespace {

thread_local int allocationsLeft = -1;  // -1: nothing is refused
thread_local bool reached = false;

void* Allocate(std::size_t size) {
    if (allocationsLeft == 0) {
        allocationsLeft = -1;
        reached = true;
        throw std::bad_alloc();
    }
    if (allocationsLeft > 0)
        --allocationsLeft;
    void* memory = std::malloc(size > 0 ? size : 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
// The standard algorithms take their buffers this way.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return Allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace qxdbsqlengine {

RefusedMemory::RefusedMemory(int n) {
    reached = false;
    allocationsLeft = n;
}

RefusedMemory::~RefusedMemory() {
    allocationsLeft = -1;
}

bool RefusedMemory::WasReached() const {
    return reached;
}

}  // namespace qxdbsqlengine
