#include "storage/main_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "storage/storage_doubles.h"

namespace qxdbsqlengine {
namespace {

class MainIndexTest : public testing::Test {
  protected:
    std::vector<int> Items() {
        std::vector<int> items;
        for (int pos = 0; pos < index.Size(); ++pos)
            items.push_back(index.GetMappedValue(pos));
        return items;
    }
    void Fill(int rows) {
        for (int row = 0; row < rows; ++row) {
            EXPECT_EQ(row, index.AddRow());
            EXPECT_TRUE(index.ValueInserted());
        }
    }

    StorageAlloc<65536> alloc{10, 100, false};
    MainIndex index{alloc};
};

TEST_F(MainIndexTest, DeletedRowIsUsedAgainOnce) {
    Fill(3);
    EXPECT_EQ(1, index.DeleteRow(1));
    EXPECT_EQ((std::vector<int>{0, 2}), Items());
    EXPECT_EQ(1, index.AddRow());
    EXPECT_FALSE(index.ValueInserted());
    EXPECT_EQ((std::vector<int>{0, 2, 1}), Items());
    EXPECT_EQ(3, index.AddRow());
    EXPECT_TRUE(index.ValueInserted());
}

TEST_F(MainIndexTest, SmallestFreeRowComesFirst) {
    Fill(6);
    EXPECT_EQ(5, index.DeleteRow(5));
    EXPECT_EQ(2, index.DeleteRow(2));
    EXPECT_EQ(2, index.AddRow());
    EXPECT_FALSE(index.ValueInserted());
    EXPECT_EQ(5, index.AddRow());
    EXPECT_FALSE(index.ValueInserted());
    EXPECT_EQ(6, index.AddRow());
    EXPECT_TRUE(index.ValueInserted());
}

TEST_F(MainIndexTest, DeletedLastRowIsUsedAgain) {
    Fill(3);
    EXPECT_EQ(2, index.DeleteRow(2));
    EXPECT_EQ(2, index.AddRow());
    EXPECT_FALSE(index.ValueInserted());
}

TEST_F(MainIndexTest, AllRowsDeletedAreUsedAgainInOrder) {
    Fill(4);
    for (int i = 0; i < 4; ++i)
        index.DeleteRow(0);
    EXPECT_EQ(0, index.Size());
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(i, index.AddRow());
        EXPECT_FALSE(index.ValueInserted());
    }
    EXPECT_EQ(4, index.AddRow());
    EXPECT_TRUE(index.ValueInserted());
}

TEST_F(MainIndexTest, InsertRowMovesLaterRowsUp) {
    Fill(3);
    EXPECT_EQ(3, index.InsertRow(1));
    EXPECT_EQ((std::vector<int>{0, 3, 1, 2}), Items());
    EXPECT_EQ(4, index.InsertRow(0));
    EXPECT_EQ((std::vector<int>{4, 0, 3, 1, 2}), Items());
    EXPECT_EQ(5, index.InsertRow(5));
    EXPECT_EQ((std::vector<int>{4, 0, 3, 1, 2, 5}), Items());
}

TEST_F(MainIndexTest, InsertRowUsesAFreeRow) {
    Fill(3);
    index.DeleteRow(0);
    EXPECT_EQ(0, index.InsertRow(1));
    EXPECT_FALSE(index.ValueInserted());
    EXPECT_EQ((std::vector<int>{1, 0, 2}), Items());
}

TEST_F(MainIndexTest, DeletingBehindTheEndChangesNothing) {
    Fill(2);
    EXPECT_EQ(-1, index.DeleteRow(2));
    EXPECT_EQ(-1, index.DeleteRow(-1));
    EXPECT_EQ((std::vector<int>{0, 1}), Items());
    EXPECT_EQ(2, index.AddRow());
}

TEST_F(MainIndexTest, FindValueIsThePositionOrTheSize) {
    Fill(4);
    index.DeleteRow(1);
    EXPECT_EQ(0, index.FindValue(0));
    EXPECT_EQ(1, index.FindValue(2));
    EXPECT_EQ(3, index.FindValue(1));
    EXPECT_EQ(3, index.FindValue(99));
    EXPECT_EQ(0, index.GetMappedValue(3));
}

TEST_F(MainIndexTest, AddRowCanBeTakenBack) {
    Fill(3);
    EXPECT_EQ(3, index.AddRow());
    index.UndoAddRow();
    EXPECT_EQ(3, index.PhysicalRows());
    EXPECT_FALSE(index.HasOpenRow());
    index.DeleteRow(0);
    index.DeleteRow(0);
    EXPECT_TRUE(index.HasOpenRow());
    EXPECT_EQ(0, index.AddRow());
    index.UndoAddRow();
    EXPECT_EQ(0, index.AddRow());
    EXPECT_EQ(1, index.AddRow());
    EXPECT_EQ(3, index.AddRow());
    EXPECT_TRUE(index.ValueInserted());
    EXPECT_EQ(4, index.PhysicalRows());
}

TEST_F(MainIndexTest, RefusedMemoryChangesNothing) {
    for (const bool reuse : {false, true}) {
        bool reached = true;
        for (int n = 0; reached; ++n) {
            StorageAlloc<65536> ownAlloc(10, 100, false);
            MainIndex own(ownAlloc);
            for (int row = 0; row < 256; ++row)  // the next row needs a chunk and a word
                own.AddRow();
            if (reuse)
                own.DeleteRow(0);
            const int rows = own.Size();
            {
                RefusedMemory refused(n);
                try {
                    own.InsertRow(1);
                } catch (const std::bad_alloc&) {
                    EXPECT_EQ(rows, own.Size());
                    EXPECT_EQ(256, own.PhysicalRows());
                    EXPECT_EQ(reuse, own.HasOpenRow());
                }
                reached = refused.WasReached();
            }
            if (reached) {
                EXPECT_EQ(reuse ? 0 : 256, own.AddRow());
            }
        }
    }
}

TEST_F(MainIndexTest, AgainstAModel) {
    std::mt19937 random(11);
    std::vector<int> model;
    std::vector<bool> used;
    for (int step = 0; step < 20000; ++step) {
        const unsigned choice = random() % 5;
        if (choice < 2 || model.empty()) {
            const auto open = std::find(used.begin(), used.end(), false);
            const int expected = static_cast<int>(open - used.begin());
            const bool isNew = open == used.end();
            if (isNew)
                used.push_back(true);
            else
                used[static_cast<std::size_t>(expected)] = true;
            if (choice == 0) {
                ASSERT_EQ(expected, index.AddRow());
                model.push_back(expected);
            } else {
                const int pos = static_cast<int>(random() % (model.size() + 1));
                ASSERT_EQ(expected, index.InsertRow(pos));
                model.insert(model.begin() + pos, expected);
            }
            ASSERT_EQ(isNew, index.ValueInserted());
        } else if (choice < 4 || model.size() > 200) {
            const int pos = static_cast<int>(random() % model.size());
            const int removed = model[static_cast<std::size_t>(pos)];
            used[static_cast<std::size_t>(removed)] = false;
            model.erase(model.begin() + pos);
            ASSERT_EQ(removed, index.DeleteRow(pos));
        } else {
            const int wanted = static_cast<int>(random() % (used.size() + 1));
            const auto found = std::find(model.begin(), model.end(), wanted);
            ASSERT_EQ(static_cast<int>(found - model.begin()), index.FindValue(wanted));
        }
        ASSERT_EQ(static_cast<int>(model.size()), index.Size());
    }
    EXPECT_EQ(model, Items());
}

}  // namespace
}  // namespace qxdbsqlengine
