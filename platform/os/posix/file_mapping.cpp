// Why views are slices of one mapping, and why fresh ranges are written before they are mapped (Linux 6.18,
// ext4, 64 KiB views, 100 at a time, 250 MiB; microseconds a view, the touching of the view included):
//
//                                             fill fresh view   read again   write again
//   mmap and munmap for each view                    320              9.7          29
//   one mapping, MADV_DONTNEED                       170              4.0          24
//   the same, fresh ranges written first            16.5              3.9           6
//   no mapping, pread and pwrite                    11.5              8.2          14
//
// A fresh range that is met by a fault gets its page cache in pieces much larger than a view, and every later
// fault for writing pays for the whole piece. One write of the range makes pieces of its own size.
#include "platform/os/file_mapping.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

#include "platform/os/posix/open_names.h"

namespace qxos {

namespace {

#if defined(MADV_POPULATE_WRITE)
constexpr int populateWrite = MADV_POPULATE_WRITE;
#else
constexpr int populateWrite = 23;  // of newer kernels; older ones refuse it, and faults do the work
#endif

std::atomic<FaultInjector*> faultInjector{nullptr};

// False when a write was refused. The range is reserved, so that a full disk is no reason.
bool WriteZeros(int descriptor, __int64 offset, std::size_t length) {
    static const std::vector<unsigned char> zeros(FileMapping::ViewGranularity);
    while (length > 0) {
        const ssize_t written =
            ::pwrite(descriptor, zeros.data(), std::min(length, zeros.size()), static_cast<off_t>(offset));
        if (written <= 0) {
            return false;
        }
        offset += written;
        length -= static_cast<std::size_t>(written);
    }
    return true;
}

bool MapRefused(__int64 offset, std::size_t size) {
    FaultInjector* const injector = faultInjector;
    return injector != nullptr && injector->RefuseMap(offset, size);
}

}  // namespace

FaultInjector::~FaultInjector() = default;

void SetFileFaultInjector(FaultInjector* injector) {
    faultInjector = injector;
}

std::string TempDirectory() {
    const char* const configured = std::getenv("TMPDIR");
    std::string directory = configured != nullptr && configured[0] != '\0' ? configured : P_tmpdir;
    while (directory.size() > 1 && directory.back() == '/') {
        directory.pop_back();
    }
    return directory;
}

TempFile::TempFile() = default;

TempFile::~TempFile() {
    Close();
}

bool TempFile::Create(const std::string& prefix) {
    FaultInjector* const injector = faultInjector;
    if (injector != nullptr && injector->RefuseCreate()) {
        return false;
    }
    std::string name = TempDirectory() + "/" + prefix + "XXXXXX";
    // Opens with O_EXCL and 0600, and finds a name that is free.
    const int opened = ::mkostemp(name.data(), O_CLOEXEC);
    if (opened < 0) {
        return false;
    }
    descriptor = opened;
    path = std::move(name);
    AddOpenName(path);
    size = 0;
    return true;
}

bool TempFile::IsOpen() const {
    return descriptor >= 0;
}

const std::string& TempFile::GetPath() const {
    return path;
}

__int64 TempFile::GetSize() const {
    return size;
}

bool TempFile::Resize(__int64 newSize) {
    FaultInjector* const injector = faultInjector;
    if (descriptor < 0 || newSize < 0 || (injector != nullptr && injector->RefuseResize(newSize))) {
        return false;
    }
    if (newSize < size) {
        if (::ftruncate(descriptor, static_cast<off_t>(newSize)) != 0) {
            return false;
        }
    } else if (newSize > size) {
        if (::posix_fallocate(descriptor, static_cast<off_t>(size), static_cast<off_t>(newSize - size)) !=
            0) {
            // A part may have been reserved; what can't be given back costs only space.
            [[maybe_unused]] const int ignored = ::ftruncate(descriptor, static_cast<off_t>(size));
            return false;
        }
    }
    size = newSize;
    return true;
}

std::string TempFile::Keep() {
    if (descriptor >= 0) {
        RemoveOpenName(path);
        ::close(descriptor);
        descriptor = -1;
    }
    size = 0;
    std::string kept;
    kept.swap(path);
    return kept;
}

void TempFile::Close() {
    if (descriptor >= 0) {
        RemoveOpenName(path);
        ::unlink(path.c_str());
        ::close(descriptor);
        descriptor = -1;
        path.clear();
        size = 0;
    }
}

FileMapping::FileMapping() = default;

FileMapping::~FileMapping() {
    Close();
}

bool FileMapping::Open(TempFile& target, __int64 wantedSize) {
    if (wantedSize <= 0 || MapRefused(0, 0) ||
        (target.GetSize() < wantedSize && !target.Resize(wantedSize))) {
        return false;
    }
    file = &target;
    mappedSize = wantedSize;
    if (static_cast<std::uint64_t>(wantedSize) > std::numeric_limits<std::size_t>::max() / 2) {
        return true;
    }
    // A view must not share a large page of the mapping with its neighbours, or dropping it would not free
    // its memory: so the range starts at a multiple of the granularity and of nothing larger.
    const auto length = static_cast<std::size_t>(wantedSize);
    void* const range = ::mmap(nullptr, length + 2 * ViewGranularity, PROT_NONE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (range == MAP_FAILED) {
        return true;
    }
    auto start = (reinterpret_cast<std::uintptr_t>(range) + ViewGranularity - 1) & ~(ViewGranularity - 1);
    if ((start & (2 * ViewGranularity - 1)) == 0) {
        start += ViewGranularity;
    }
    void* const mapped = ::mmap(reinterpret_cast<void*>(start), length, PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_FIXED, target.descriptor, 0);
    if (mapped == MAP_FAILED) {
        ::munmap(range, length + 2 * ViewGranularity);
        return true;
    }
    reserved = range;
    reservedSize = length + 2 * ViewGranularity;
    base = static_cast<unsigned char*>(mapped);
    parkStamps.assign(length / ViewGranularity + 1, 0);
    return true;
}

bool FileMapping::IsOpen() const {
    return file != nullptr;
}

__int64 FileMapping::GetSize() const {
    return mappedSize;
}

void FileMapping::Close() {
    if (reserved != nullptr) {
        ::munmap(reserved, reservedSize);
    }
    file = nullptr;
    mappedSize = 0;
    base = nullptr;
    reserved = nullptr;
    reservedSize = 0;
    parked.clear();
    parkStamps.clear();
    parkedCount = 0;
}

void FileMapping::Park(std::size_t granule) {
    Unpark(granule);
    parkStamps[granule] = ++lastStamp;
    ++parkedCount;
    parked.push_back({granule, lastStamp});
    while (parkedCount > ParkedViews) {
        const ParkedView oldest = parked.front();
        parked.pop_front();
        if (IsParked(oldest)) {
            ::madvise(base + oldest.granule * ViewGranularity, ViewGranularity, MADV_DONTNEED);
            Unpark(oldest.granule);
        }
    }
    // Views that come and go leave entries behind.
    if (parked.size() > 4 * ParkedViews) {
        parked.erase(std::remove_if(parked.begin(), parked.end(),
                                    [this](const ParkedView& entry) { return !IsParked(entry); }),
                     parked.end());
    }
}

void FileMapping::Unpark(std::size_t granule) {
    if (parkStamps[granule] != 0) {
        parkStamps[granule] = 0;
        --parkedCount;
    }
}

void* FileMapping::MapView(__int64 offset, std::size_t length, bool fresh) {
    constexpr auto step = static_cast<__int64>(ViewGranularity);
    if (file == nullptr || length == 0 || offset < 0 || offset % step != 0 || offset >= mappedSize ||
        static_cast<std::uint64_t>(length) > static_cast<std::uint64_t>(mappedSize - offset) ||
        MapRefused(offset, length)) {
        return nullptr;
    }
    if (fresh && !WriteZeros(file->descriptor, offset, length)) {
        return nullptr;
    }
    void* view;
    if (base != nullptr) {
        view = base + offset;
        if (parkedCount > 0) {
            const auto last = static_cast<std::size_t>(offset) + length - 1;
            for (auto granule = static_cast<std::size_t>(offset / step); granule <= last / ViewGranularity;
                 ++granule)
                Unpark(granule);
        }
    } else {
        view = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, file->descriptor,
                      static_cast<off_t>(offset));
        if (view == MAP_FAILED) {
            return nullptr;
        }
    }
    if (fresh) {
        ::madvise(view, length, populateWrite);
    }
    return view;
}

void FileMapping::UnmapView(void* view, std::size_t length) {
    if (view == nullptr) {
        return;
    }
    if (base == nullptr) {
        ::munmap(view, length);
    } else if (length == ViewGranularity) {
        Park(static_cast<std::size_t>(static_cast<unsigned char*>(view) - base) / ViewGranularity);
    } else {
        ::madvise(view, length, MADV_DONTNEED);
    }
}

}  // namespace qxos
