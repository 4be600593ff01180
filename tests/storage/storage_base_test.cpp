#include "storage/storage_base.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "storage/storage_doubles.h"

namespace qxdbsqlengine {
namespace {

template <class T>
T ItemOf(int i) {
    return static_cast<T>(i * 7 + 1);
}
template <>
ResultsTimestamp ItemOf<ResultsTimestamp>(int i) {
    ResultsTimestamp value;
    value.year = i;
    value.fraction = -i;
    return value;
}

template <class Array>
class StorageBaseTest : public testing::Test {};
using Arrays = testing::Types<PagedArray<char>, PagedArray<short>, PagedArray<int>, PagedArray<long>,
                              PagedArray<__int64>, PagedArray<float>, PagedArray<double>,
                              PagedArray<ResultsTimestamp>, BigPagedArray<char>, BigPagedArray<__int64>>;
TYPED_TEST_SUITE(StorageBaseTest, Arrays, );

TYPED_TEST(StorageBaseTest, KeepsItemsThroughChunksPagesAndDroppedViews) {
    using T = typename TypeParam::value_type;
    using Index = typename TypeParam::size_type;
    OpenAlloc alloc(1, 2, true);
    TypeParam array(alloc);
    const Index count = TypeParam::kPageItems * 6 + 3;
    for (Index i = 0; i < count; ++i) {
        EXPECT_EQ(i, array.Size());
        array.PushBack(ItemOf<T>(static_cast<int>(i)));
    }
    ASSERT_EQ(count, array.Size());
    EXPECT_EQ(2, alloc.mappedCount);
    int wrong = 0;
    for (Index i = 0; i < count; ++i)
        wrong += array.GetItem(i) == ItemOf<T>(static_cast<int>(i)) ? 0 : 1;
    EXPECT_EQ(0, wrong);

    std::vector<T> read(static_cast<std::size_t>(count));
    array.Read(0, read.data(), count);
    for (Index i = 0; i < count; ++i)
        wrong += read[static_cast<std::size_t>(i)] == ItemOf<T>(static_cast<int>(i)) ? 0 : 1;
    EXPECT_EQ(0, wrong);
}

TYPED_TEST(StorageBaseTest, TakesNoPageForTheFirst64Kilobytes) {
    using T = typename TypeParam::value_type;
    OpenAlloc alloc(1, 2, true);
    TypeParam array(alloc);
    for (int i = 0; i < TypeParam::kPageItems; ++i)
        array.PushBack(T());
    EXPECT_EQ(1, alloc.memoryBlocksLeft);
    array.PushBack(T());
    EXPECT_EQ(0, alloc.memoryBlocksLeft);
    // The items of a chunk, and those of the page, lie side by side.
    EXPECT_EQ(TypeParam::kChunkItems - 1, &array.GetItem(TypeParam::kChunkItems - 1) - &array.GetItem(0));
    typename TypeParam::size_type count = 0;
    EXPECT_NE(nullptr, array.Span(TypeParam::kPageItems - 1, count));
    EXPECT_EQ(1, count);
}

TYPED_TEST(StorageBaseTest, ReadsBeyondTheEndGiveTheZeroItem) {
    using T = typename TypeParam::value_type;
    OpenAlloc alloc;
    TypeParam array(alloc);
    EXPECT_EQ(T(), array.GetItem(0));
    array.PushBack(ItemOf<T>(3));
    EXPECT_EQ(T(), array.GetItem(1));
    EXPECT_EQ(T(), array.GetItem(-1));
    EXPECT_EQ(T(), array.GetItem(2147483647));
    EXPECT_EQ(ItemOf<T>(3), array.GetItem(0));
    // One item for all arrays of this kind, and it can be written.
    TypeParam other(alloc);
    array.GetItem(1) = ItemOf<T>(5);
    EXPECT_EQ(ItemOf<T>(5), other.GetItem(9));
    array.GetItem(1) = T();
}

TYPED_TEST(StorageBaseTest, WriteTakesAnyStartAndLength) {
    using T = typename TypeParam::value_type;
    using Index = typename TypeParam::size_type;
    OpenAlloc alloc(1, 2, true);
    TypeParam array(alloc);
    std::vector<T> source(3000);
    for (std::size_t i = 0; i < source.size(); ++i)
        source[i] = ItemOf<T>(static_cast<int>(i));
    std::size_t total = 0;
    for (Index length : {0, 1, 23, 1000, 1024, 3000, 255, 1, 2999, 0, 512}) {
        array.Write(source.data(), length);
        total += static_cast<std::size_t>(length);
        ASSERT_EQ(static_cast<Index>(total), array.Size());
    }
    Index at = 0;
    int wrong = 0;
    for (Index length : {0, 1, 23, 1000, 1024, 3000, 255, 1, 2999, 0, 512}) {
        for (Index i = 0; i < length; ++i, ++at)
            wrong += array.GetItem(at) == source[static_cast<std::size_t>(i)] ? 0 : 1;
    }
    EXPECT_EQ(0, wrong);
}

TYPED_TEST(StorageBaseTest, RemoveBackGivesNoMemoryBackAndAppendsGoOn) {
    using T = typename TypeParam::value_type;
    using Index = typename TypeParam::size_type;
    OpenAlloc alloc(2, 2, true);
    TypeParam array(alloc);
    const Index count = TypeParam::kPageItems + 5;
    for (Index i = 0; i < count; ++i)
        array.PushBack(ItemOf<T>(static_cast<int>(i)));
    EXPECT_EQ(1, alloc.memoryBlocksLeft);
    for (Index i = 0; i < TypeParam::kChunkItems + 10; ++i)
        array.RemoveBack();
    EXPECT_EQ(1, alloc.memoryBlocksLeft);
    EXPECT_EQ(count - TypeParam::kChunkItems - 10, array.Size());
    while (array.Size() < count)
        array.PushBack(ItemOf<T>(static_cast<int>(array.Size()) + 11));
    for (Index i = 0; i < count; ++i) {
        const int expected = static_cast<int>(i) + (i >= count - TypeParam::kChunkItems - 10 ? 11 : 0);
        ASSERT_EQ(ItemOf<T>(expected), array.GetItem(i)) << i;
    }
    array.ShrinkTo(3);
    array.PushBack(ItemOf<T>(99));
    EXPECT_EQ(ItemOf<T>(99), array.GetItem(3));
    EXPECT_EQ(ItemOf<T>(2), array.GetItem(2));
    EXPECT_EQ(1, alloc.memoryBlocksLeft);
}

TYPED_TEST(StorageBaseTest, RemoveBackOfAnEmptyArrayDoesNothing) {
    using T = typename TypeParam::value_type;
    OpenAlloc alloc;
    TypeParam array(alloc);
    array.RemoveBack();
    EXPECT_EQ(0, array.Size());
    array.PushBack(ItemOf<T>(1));
    EXPECT_EQ(ItemOf<T>(1), array.GetItem(0));
}

TYPED_TEST(StorageBaseTest, RefusedMemoryLeavesTheArrayAsItWas) {
    using T = typename TypeParam::value_type;
    using Index = typename TypeParam::size_type;
    OpenAlloc alloc(100, 2, false);
    const Index count = TypeParam::kPageItems * 2 + 1;
    std::vector<T> source(static_cast<std::size_t>(count));
    for (Index i = 0; i < count; ++i)
        source[static_cast<std::size_t>(i)] = ItemOf<T>(static_cast<int>(i));
    for (int n : {0, 1, 2, 62, 63, 64, 65, 66, 67, 68}) {
        TypeParam array(alloc);
        bool thrown = false;
        Index size = 0;
        {
            RefusedMemory refused(n);
            try {
                for (const T& item : source)
                    array.PushBack(item);
            } catch (const std::bad_alloc&) {
                thrown = true;
                size = array.Size();
            }
        }
        if (thrown) {
            for (Index i = size; i < count; ++i)
                array.PushBack(source[static_cast<std::size_t>(i)]);
        }
        std::vector<T> read(source.size());
        ASSERT_EQ(count, array.Size());
        array.Read(0, read.data(), count);
        EXPECT_TRUE(std::equal(read.begin(), read.end(), source.begin())) << n;
        EXPECT_EQ(n < 66, thrown) << n;  // 64 chunks and two pages
    }
}

TEST(StorageBaseLayoutTest, CharItem65535IsTheLastOfTheChunks) {
    OpenAlloc alloc;
    PagedArray<char> array(alloc);
    for (int i = 0; i < 65537; ++i)
        array.PushBack(static_cast<char>(i % 100));
    EXPECT_EQ(1023, &array.GetItem(65535) - &array.GetItem(63 * 1024));
    EXPECT_EQ(9, alloc.memoryBlocksLeft);
    int count = 0;
    array.Span(65536, count);
    EXPECT_EQ(1, count);
    EXPECT_EQ(65535 % 100, array.GetItem(65535));
    EXPECT_EQ(65536 % 100, array.GetItem(65536));
}

TEST(StorageBaseLayoutTest, TimestampsHave64AChunkAnd4096APage) {
    EXPECT_EQ(64, (PagedArray<ResultsTimestamp>::kChunkItems));
    EXPECT_EQ(4096, (PagedArray<ResultsTimestamp>::kPageItems));
    OpenAlloc alloc;
    PagedArray<ResultsTimestamp> array(alloc);
    for (int i = 0; i < 4096; ++i)
        array.PushBack(ItemOf<ResultsTimestamp>(i));
    EXPECT_EQ(10, alloc.memoryBlocksLeft);
    array.PushBack(ItemOf<ResultsTimestamp>(4096));
    EXPECT_EQ(9, alloc.memoryBlocksLeft);
    EXPECT_EQ(4096, array.GetItem(4096).year);
    EXPECT_EQ(63, &array.GetItem(63) - &array.GetItem(0));
}

TEST(StorageBaseLayoutTest, WriteOf3000BytesAtSize1000) {
    OpenAlloc alloc;
    PagedArray<char> array(alloc);
    for (int i = 0; i < 1000; ++i)
        array.PushBack('x');
    std::string bytes(3000, ' ');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i % 127);
    array.Write(bytes.data(), 3000);
    EXPECT_EQ(4000, array.Size());
    for (int i = 0; i < 4000; ++i)
        ASSERT_EQ(i < 1000 ? 'x' : bytes[static_cast<std::size_t>(i - 1000)], array.GetItem(i)) << i;
}

TEST(StorageBaseLayoutTest, PagesLieInTheFileAsTheyAreInMemory) {
    OpenAlloc alloc(0, 2, true);
    PagedArray<int> array(alloc);
    for (int i = 0; i < 16384 * 3; ++i)
        array.PushBack(i);
    alloc.Clear();
    const std::string bytes = alloc.FileBytes();
    for (int i : {0, 1, 16383, 16384, 32767}) {
        int item = 0;
        bytes.copy(reinterpret_cast<char*>(&item), 4, static_cast<std::size_t>(i) * 4);
        EXPECT_EQ(16384 + i, item);
    }
}

TEST(StorageBaseTailTest, AppendsFollowAViewThatWasDroppedAndMappedElsewhere) {
    OpenAlloc alloc(0, 2, true);
    PagedArray<int> first(alloc);
    PagedArray<int> second(alloc);
    PagedArray<int> third(alloc);
    for (int i = 0; i < 16384 * 4; ++i) {
        first.PushBack(i);
        second.PushBack(-i);
        third.PushBack(i * 2);
        if (i % 1000 == 0) {
            EXPECT_EQ(i / 2, first.GetItem(i / 2));
            alloc.Clear();
        }
    }
    int wrong = 0;
    for (int i = 0; i < 16384 * 4; ++i)
        wrong += (first.GetItem(i) == i && second.GetItem(i) == -i && third.GetItem(i) == i * 2) ? 0 : 1;
    EXPECT_EQ(0, wrong);
}

TEST(StorageBaseTailTest, AppendOfAnOwnItemAtTheEndOfAPage) {
    OpenAlloc alloc(0, 2, true);
    PagedArray<int> array(alloc);
    for (int i = 0; i < 16384 * 3; ++i)
        array.PushBack(i);
    array.PushBack(array.GetItem(16384));  // lies in the view that the new page pushes out
    EXPECT_EQ(16384, array.GetItem(16384 * 3));
}

TEST(StorageBaseTest, DestructionGivesThePagesBack) {
    OpenAlloc alloc(3, 2, true);
    {
        PagedArray<int> array(alloc);
        for (int i = 0; i < 16384 * 3; ++i)
            array.PushBack(i);
        EXPECT_EQ(1, alloc.memoryBlocksLeft);
    }
    EXPECT_EQ(3, alloc.memoryBlocksLeft);
    OpenAlloc filed(0, 4, true);
    {
        PagedArray<int> array(filed);
        for (int i = 0; i < 16384 * 3; ++i)
            array.PushBack(i);
        EXPECT_EQ(2, filed.nextFileBlock);
    }
    EXPECT_EQ(2u, filed.freeBlocks.size());
    PagedArray<int> again(filed);
    for (int i = 0; i < 16384 * 3; ++i)
        again.PushBack(-i);
    EXPECT_EQ(2, filed.nextFileBlock);
    EXPECT_EQ(-40000, again.GetItem(40000));
}

// Standard algorithms while only two views are mapped at a time.
TEST(StorageIteratorTest, ServesTheStandardAlgorithms) {
    OpenAlloc alloc(0, 2, true);
    PagedArray<int> array(alloc);
    const int count = 16384 * 6 + 7;
    std::vector<int> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), -20);
    std::mt19937 random(1);
    std::shuffle(values.begin(), values.end(), random);
    for (int value : values)
        array.PushBack(value);
    EXPECT_EQ(count, array.end() - array.begin());
    EXPECT_TRUE(std::equal(array.begin(), array.end(), values.begin()));

    std::sort(array.begin(), array.end());
    std::sort(values.begin(), values.end());
    EXPECT_TRUE(std::equal(array.begin(), array.end(), values.begin()));
    EXPECT_EQ(50000 + 20, std::find(array.begin(), array.end(), 50000) - array.begin());
    EXPECT_EQ(array.end(), std::find(array.begin(), array.end(), -21));

    std::vector<int> copied;
    std::copy(array.begin() + 5, array.begin() + 9, std::back_inserter(copied));
    EXPECT_EQ((std::vector<int>{-15, -14, -13, -12}), copied);
    copied.assign(std::reverse_iterator<PagedArray<int>::Iterator>(array.end()),
                  std::reverse_iterator<PagedArray<int>::Iterator>(array.begin()));
    std::reverse(values.begin(), values.end());
    EXPECT_EQ(values, copied);

    auto i = array.begin();
    i[3] = 77;
    *++i = static_cast<int>(array.begin()[3]);
    EXPECT_EQ(77, array.GetItem(1));
    EXPECT_TRUE(i > array.begin() && i >= array.begin() && array.begin() < i && array.begin() <= i);
    EXPECT_TRUE(i-- != array.begin());
    EXPECT_TRUE(i++ == array.begin());
    EXPECT_EQ(1, i - array.begin());
}

TEST(StorageIteratorTest, SortsTimestamps) {
    OpenAlloc alloc(0, 2, true);
    PagedArray<ResultsTimestamp> array(alloc);
    for (int i = 0; i < 20000; ++i)
        array.PushBack(ItemOf<ResultsTimestamp>((i * 7919) % 20000));
    std::sort(array.begin(), array.end(),
              [](const ResultsTimestamp& a, const ResultsTimestamp& b) { return a < b; });
    for (int i = 0; i < 20000; ++i)
        ASSERT_EQ(i, array.GetItem(i).year);
}

// Items move over the borders of chunks and of pages with two views.
TYPED_TEST(StorageBaseTest, EraseAndMoveLastTo) {
    using T = typename TypeParam::value_type;
    using Index = typename TypeParam::size_type;
    OpenAlloc alloc(0, 2, true);
    TypeParam array(alloc);
    std::vector<T> model;
    const Index count = TypeParam::kPageItems * 2 + 30;
    for (Index i = 0; i < count; ++i) {
        array.PushBack(ItemOf<T>(static_cast<int>(i)));
        model.push_back(ItemOf<T>(static_cast<int>(i)));
    }
    const Index border = TypeParam::kPageItems;
    for (const Index at : {Index{0}, TypeParam::kChunkItems - 1, TypeParam::kChunkItems, border - 1, border,
                           border + 1, 2 * border - 1, Index{1}}) {
        array.Erase(at);
        model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
        array.MoveLastTo(at);
        model.insert(model.begin() + static_cast<std::ptrdiff_t>(at), model.back());
        model.pop_back();
    }
    array.Erase(array.Size() - 1);
    model.pop_back();
    array.MoveLastTo(array.Size() - 1);
    ASSERT_EQ(static_cast<Index>(model.size()), array.Size());
    std::vector<T> items(model.size());
    array.Read(0, items.data(), array.Size());
    EXPECT_TRUE(items == model);
    array.ShrinkTo(1);
    array.Erase(0);
    array.PushBack(ItemOf<T>(5));
    EXPECT_TRUE(array.GetItem(0) == ItemOf<T>(5));
}

}  // namespace
}  // namespace qxdbsqlengine
