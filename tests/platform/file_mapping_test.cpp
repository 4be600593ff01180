#include "platform/os/file_mapping.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using qxos::FileMapping;
using qxos::TempFile;

constexpr std::size_t page = FileMapping::ViewGranularity;

bool Exists(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

// Refuses the n-th operation of each kind, counted from 0; negative refuses none.
struct RefuseNth : qxos::FaultInjector {
    RefuseNth() { qxos::SetFileFaultInjector(this); }
    ~RefuseNth() override { qxos::SetFileFaultInjector(nullptr); }

    bool RefuseCreate() override { return creates++ == refusedCreate; }
    bool RefuseResize(__int64 newSize) override {
        lastResize = newSize;
        return resizes++ == refusedResize;
    }
    bool RefuseMap(__int64, std::size_t) override { return maps++ == refusedMap; }

    int refusedCreate = -1, refusedResize = -1, refusedMap = -1;
    int creates = 0, resizes = 0, maps = 0;
    __int64 lastResize = 0;
};

// TMPDIR for a scope; null removes it.
class TempDirScope {
  public:
    explicit TempDirScope(const char* value) {
        const char* const old = std::getenv("TMPDIR");
        had = old != nullptr;
        previous = had ? old : "";
        Set(value);
    }
    ~TempDirScope() { Set(had ? previous.c_str() : nullptr); }

  private:
    static void Set(const char* value) {
        if (value != nullptr) {
            ::setenv("TMPDIR", value, 1);
        } else {
            ::unsetenv("TMPDIR");
        }
    }
    bool had;
    std::string previous;
};

// Of mapped files alone: a sanitizer's own memory does not count.
long ResidentKilobytes() {
    std::ifstream status("/proc/self/status");
    long total = 0;
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("RssFile:", 0) == 0 || line.rfind("RssShmem:", 0) == 0) {
            total += std::stol(line.substr(line.find(':') + 1));
        }
    }
    return total;
}

TEST(TempFileTest, HasANameOfItsOwnForThisUserAlone) {
    TempFile first;
    TempFile second;
    ASSERT_TRUE(first.Create("QXHV_"));
    ASSERT_TRUE(second.Create("QXHV_"));
    EXPECT_NE(first.GetPath(), second.GetPath());
    EXPECT_EQ(first.GetPath().rfind(qxos::TempDirectory() + "/QXHV_", 0), 0u);
    struct stat status {};
    ASSERT_EQ(::stat(first.GetPath().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(status.st_size, 0);
    EXPECT_EQ(first.GetSize(), 0);
}

TEST(TempFileTest, IsRemovedWithItsObject) {
    std::string path;
    {
        TempFile file;
        ASSERT_TRUE(file.Create("QXHV_"));
        path = file.GetPath();
        EXPECT_TRUE(Exists(path));
    }
    EXPECT_FALSE(Exists(path));
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    path = file.GetPath();
    file.Close();
    EXPECT_FALSE(Exists(path));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.GetPath(), "");
    EXPECT_TRUE(file.Create("QXHV_"));
}

TEST(TempFileTest, NamesOfOpenFilesCanBeRemovedBeforeTheirTime) {
    TempFile open;
    ASSERT_TRUE(open.Create("QXHV_"));
    TempFile kept;
    ASSERT_TRUE(kept.Create("QXHV_"));
    const std::string keptPath = kept.Keep();
    qxos::RemoveOpenTempFiles();
    EXPECT_FALSE(Exists(open.GetPath()));
    EXPECT_TRUE(Exists(keptPath));
    EXPECT_TRUE(open.Resize(1000));
    open.Close();
    EXPECT_FALSE(open.IsOpen());
    ::unlink(keptPath.c_str());
}

TEST(TempFileTest, DirectoryFollowsTheEnvironment) {
    {
        const TempDirScope scope("/some/where//");
        EXPECT_EQ(qxos::TempDirectory(), "/some/where");
        TempFile file;
        EXPECT_FALSE(file.Create("QXHV_"));
        EXPECT_FALSE(file.IsOpen());
    }
    for (const char* const value : {static_cast<const char*>(nullptr), ""}) {
        const TempDirScope scope(value);
        EXPECT_EQ(qxos::TempDirectory(), P_tmpdir);
    }
}

TEST(TempFileTest, ResizeReservesTheSpace) {
    TempFile file;
    EXPECT_FALSE(file.Resize(1024));
    ASSERT_TRUE(file.Create("QXHV_"));
    ASSERT_TRUE(file.Resize(1 << 20));
    EXPECT_EQ(file.GetSize(), 1 << 20);
    struct stat status {};
    ASSERT_EQ(::stat(file.GetPath().c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 1 << 20);
    EXPECT_GE(status.st_blocks * 512, 1 << 20);
    EXPECT_TRUE(file.Resize(1000));
    EXPECT_EQ(file.GetSize(), 1000);
    EXPECT_FALSE(file.Resize(-1));
    EXPECT_EQ(file.GetSize(), 1000);
}

// A limit of the file size stands in for a full disk: the growth is refused, and the file stays usable.
TEST(TempFileTest, RefusedGrowthLeavesTheFile) {
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    ASSERT_TRUE(file.Resize(2 * page));
    EXPECT_FALSE(file.Resize(__int64{1} << 60));
    EXPECT_EQ(file.GetSize(), static_cast<__int64>(2 * page));
    struct stat status {};
    ASSERT_EQ(::stat(file.GetPath().c_str(), &status), 0);
    EXPECT_EQ(status.st_size, static_cast<off_t>(2 * page));
    FileMapping mapping;
    ASSERT_TRUE(mapping.Open(file, 2 * page));
    void* const view = mapping.MapView(page, page, true);
    ASSERT_NE(view, nullptr);
    std::memset(view, 1, page);
}

TEST(FileMappingTest, BytesStayInTheFile) {
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    FileMapping mapping;
    ASSERT_TRUE(mapping.Open(file, 8 * page));
    EXPECT_EQ(mapping.GetSize(), static_cast<__int64>(8 * page));
    EXPECT_EQ(file.GetSize(), static_cast<__int64>(8 * page));
    for (int i = 0; i < 8; ++i) {
        auto* const view = static_cast<unsigned char*>(mapping.MapView(i * page, page, true));
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(view[0], 0);
        EXPECT_EQ(view[page - 1], 0);
        std::memset(view, 'a' + i, page);
        mapping.UnmapView(view, page);
    }
    for (int i = 7; i >= 0; --i) {
        auto* const view = static_cast<unsigned char*>(mapping.MapView(i * page, page));
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(view[0], 'a' + i);
        EXPECT_EQ(view[page - 1], 'a' + i);
        view[1] = 'X';
        mapping.UnmapView(view, page);
    }
    std::FILE* const raw = std::fopen(file.GetPath().c_str(), "rb");
    ASSERT_NE(raw, nullptr);
    std::vector<char> bytes(8 * page);
    EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), raw), bytes.size());
    std::fclose(raw);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(bytes[i * page], 'a' + i);
        EXPECT_EQ(bytes[i * page + 1], 'X');
    }
}

TEST(FileMappingTest, FreshViewHoldsZeros) {
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    FileMapping mapping;
    ASSERT_TRUE(mapping.Open(file, 4 * page));
    auto* view = static_cast<unsigned char*>(mapping.MapView(page, 2 * page));
    ASSERT_NE(view, nullptr);
    std::memset(view, 7, 2 * page);
    mapping.UnmapView(view, 2 * page);
    view = static_cast<unsigned char*>(mapping.MapView(page, 2 * page, true));
    ASSERT_NE(view, nullptr);
    for (std::size_t i = 0; i < 2 * page; ++i) {
        ASSERT_EQ(view[i], 0) << i;
    }
    mapping.UnmapView(view, 2 * page);
}

TEST(FileMappingTest, ViewsOfOneRangeShareTheirBytes) {
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    FileMapping mapping;
    ASSERT_TRUE(mapping.Open(file, 2 * page));
    auto* const one = static_cast<char*>(mapping.MapView(0, page));
    auto* const other = static_cast<char*>(mapping.MapView(0, page));
    one[100] = 'z';
    EXPECT_EQ(other[100], 'z');
}

TEST(FileMappingTest, RefusesWhatIsNoViewOfIt) {
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    FileMapping mapping;
    EXPECT_EQ(mapping.MapView(0, page), nullptr);
    EXPECT_FALSE(mapping.Open(file, 0));
    EXPECT_FALSE(mapping.Open(file, -5));
    EXPECT_FALSE(mapping.IsOpen());
    ASSERT_TRUE(mapping.Open(file, 2 * page));
    EXPECT_EQ(mapping.MapView(0, 0), nullptr);
    EXPECT_EQ(mapping.MapView(1, page), nullptr);
    EXPECT_EQ(mapping.MapView(-static_cast<__int64>(page), page), nullptr);
    EXPECT_EQ(mapping.MapView(page, 2 * page), nullptr);
    EXPECT_EQ(mapping.MapView(2 * page, page), nullptr);
    EXPECT_EQ(mapping.MapView(0, static_cast<std::size_t>(-1)), nullptr);
    EXPECT_NE(mapping.MapView(page, page), nullptr);
    mapping.UnmapView(nullptr, page);
    mapping.Close();
    EXPECT_EQ(mapping.MapView(0, page), nullptr);
    EXPECT_EQ(mapping.GetSize(), 0);
}

TEST(FileMappingTest, GrowsByOpeningAgain) {
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    FileMapping mapping;
    ASSERT_TRUE(mapping.Open(file, 16 * page));
    std::memset(mapping.MapView(15 * page, page, true), 'q', page);
    mapping.Close();
    ASSERT_TRUE(mapping.Open(file, 32 * page));
    EXPECT_EQ(static_cast<char*>(mapping.MapView(15 * page, page))[page - 1], 'q');
    EXPECT_EQ(static_cast<char*>(mapping.MapView(31 * page, page))[page - 1], 0);
}

TEST(FileMappingTest, UnmappedViewsLeaveTheProcess) {
    constexpr int pages = 1024;  // 64 MiB
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    FileMapping mapping;
    ASSERT_TRUE(mapping.Open(file, static_cast<__int64>(pages) * static_cast<__int64>(page)));
    const long before = ResidentKilobytes();
    for (int pass = 0; pass < 2; ++pass) {
        for (int i = 0; i < pages; ++i) {
            void* const view =
                mapping.MapView(static_cast<__int64>(i) * static_cast<__int64>(page), page, pass == 0);
            ASSERT_NE(view, nullptr);
            std::memset(view, i, page);
            mapping.UnmapView(view, page);
        }
    }
    const long parked = static_cast<long>(FileMapping::ParkedViews * page / 1024);
    EXPECT_LT(ResidentKilobytes() - before, parked + 4096);
}

// More views in turn than are in use at a time, but fewer than stay parked: none of them is given back, so
// all their memory is still there. This is how the open ends of many columns are written.
TEST(FileMappingTest, ViewsInTurnStayParked) {
    constexpr int pages = 1024;
    constexpr int inTurn = 200;
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    FileMapping mapping;
    ASSERT_TRUE(mapping.Open(file, static_cast<__int64>(pages) * static_cast<__int64>(page)));
    const auto offset = [](int number) { return static_cast<__int64>(number) * static_cast<__int64>(page); };
    for (int number = 0; number < inTurn; ++number) {
        void* const view = mapping.MapView(offset(number), page, true);
        std::memset(view, number, page);
        mapping.UnmapView(view, page);
    }
    const long filled = ResidentKilobytes();
    for (int turn = 0; turn < 50; ++turn) {
        for (int number = 0; number < inTurn; ++number) {
            void* const view = mapping.MapView(offset(number), page, false);
            ASSERT_NE(nullptr, view);
            mapping.UnmapView(view, page);  // untouched: what was given back would not come back
        }
    }
    const long viewKilobytes = static_cast<long>(page / 1024);
    EXPECT_GT(ResidentKilobytes(), filled - 20 * viewKilobytes);
}

// Views come and go at random, a few of them in use at a time, as a reader of a large result makes them.
TEST(FileMappingTest, ViewsMappedAgainAtRandomKeepTheirBytes) {
    constexpr int pages = 1024;
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    FileMapping mapping;
    ASSERT_TRUE(mapping.Open(file, static_cast<__int64>(pages) * static_cast<__int64>(page)));
    const long before = ResidentKilobytes();
    std::vector<int> content(pages, 0);
    std::deque<std::pair<int, void*>> inUse;
    std::mt19937 random(11);
    for (int step = 0; step < 20000; ++step) {
        // Mostly a few neighbours, so that views are mapped again soon, and now and then anywhere.
        const int number = static_cast<int>(random() % 4 == 0 ? random() % pages : random() % 300);
        auto* const view = static_cast<int*>(
            mapping.MapView(static_cast<__int64>(number) * static_cast<__int64>(page), page, false));
        ASSERT_NE(nullptr, view);
        ASSERT_EQ(content[static_cast<std::size_t>(number)], view[page / sizeof(int) - 1])
            << "view " << number;
        view[page / sizeof(int) - 1] = content[static_cast<std::size_t>(number)] = step + 1;
        const bool alreadyUsed =
            std::any_of(inUse.begin(), inUse.end(), [&](const auto& used) { return used.first == number; });
        if (!alreadyUsed)
            inUse.emplace_back(number, view);
        if (inUse.size() > 100) {
            mapping.UnmapView(inUse.front().second, page);
            inUse.pop_front();
        }
    }
    const long most = static_cast<long>((FileMapping::ParkedViews + 101) * page / 1024);
    EXPECT_LT(ResidentKilobytes() - before, most + 4096);
}

TEST(FileMappingTest, InjectedFaults) {
    RefuseNth faults;
    TempFile file;
    faults.refusedCreate = 0;
    EXPECT_FALSE(file.Create("QXHV_"));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_TRUE(file.Create("QXHV_"));

    FileMapping mapping;
    faults.refusedResize = 0;
    EXPECT_FALSE(mapping.Open(file, 2 * page));
    EXPECT_FALSE(mapping.IsOpen());
    EXPECT_EQ(file.GetSize(), 0);
    EXPECT_EQ(faults.lastResize, static_cast<__int64>(2 * page));

    faults.refusedMap = faults.maps;
    EXPECT_FALSE(mapping.Open(file, 2 * page));
    EXPECT_TRUE(mapping.Open(file, 2 * page));

    faults.refusedMap = faults.maps + 1;
    EXPECT_NE(mapping.MapView(0, page), nullptr);
    EXPECT_EQ(mapping.MapView(0, page), nullptr);
    EXPECT_NE(mapping.MapView(0, page), nullptr);

    // No growth where the file is large enough.
    mapping.Close();
    faults.refusedResize = faults.resizes;
    EXPECT_TRUE(mapping.Open(file, page));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Where the address space is too small for the whole file, each view is mapped by itself.
TEST(FileMappingTest, WorksWithoutTheWholeRange) {
    TempFile file;
    ASSERT_TRUE(file.Create("QXHV_"));
    ASSERT_TRUE(file.Resize(512 * 1024 * 1024));
    rlimit old{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &old), 0);
    rlimit narrow = old;
    narrow.rlim_cur = 384 * 1024 * 1024;
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &narrow), 0);
    FileMapping mapping;
    const bool opened = mapping.Open(file, 512 * 1024 * 1024);
    auto* const view = static_cast<char*>(mapping.MapView(100 * page, page, true));
    ::setrlimit(RLIMIT_AS, &old);
    EXPECT_TRUE(opened);
    ASSERT_NE(view, nullptr);
    std::memset(view, 'v', page);
    mapping.UnmapView(view, page);
    auto* const again = static_cast<char*>(mapping.MapView(100 * page, page));
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again[page - 1], 'v');
    mapping.UnmapView(again, page);
}
#endif

}  // namespace
