#include "storage/null_indicator.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <utility>
#include <vector>

namespace qxdbsqlengine {
namespace {

class NullIndicatorTest : public testing::Test {
  protected:
    StorageAlloc<65536> alloc{10, 100, true};
};

// Looks at the bits themselves.
class OpenIndicator : public NullIndicator {
  public:
    using NullIndicator::ClearBit;
    using NullIndicator::NullIndicator;
    using NullIndicator::SetBit;
    using NullIndicator::TestBit;
};

TEST_F(NullIndicatorTest, NothingIsNullAndNothingIsStoredAtFirst) {
    NullIndicator nulls(alloc, 3);
    EXPECT_TRUE(nulls.IsUnused());
    EXPECT_FALSE(nulls.IsNull(0, 0));
    EXPECT_FALSE(nulls.IsNull(2, 1000000));
    EXPECT_FALSE(nulls.IsNull(2, -1));
    nulls.ClearNull(2, 5);
    EXPECT_TRUE(nulls.IsUnused());
}

TEST_F(NullIndicatorTest, BitIsRowTimesColumnsPlusColumn) {
    OpenIndicator nulls(alloc, 3);
    nulls.SetNull(1, 4);
    for (int bit = 0; bit < 16; ++bit)
        EXPECT_EQ(bit == 13, nulls.TestBit(bit)) << bit;
    EXPECT_FALSE(nulls.TestBit(16));
    EXPECT_FALSE(nulls.IsUnused());
    nulls.ClearNull(1, 4);
    EXPECT_FALSE(nulls.IsNull(1, 4));
}

TEST_F(NullIndicatorTest, SetAndClearLeaveTheNeighboursAlone) {
    OpenIndicator nulls(alloc, 8);
    for (int bit = 0; bit < 24; ++bit)
        nulls.SetBit(bit);
    nulls.ClearNull(7, 1);
    nulls.ClearBit(1000000);
    for (int bit = 0; bit < 24; ++bit)
        EXPECT_EQ(bit != 15, nulls.TestBit(bit)) << bit;
}

TEST_F(NullIndicatorTest, RowsTellWhatTheirCellsTell) {
    std::mt19937 random(11);
    for (int columns : {1, 3, 8, 11, 56, 57, 58, 64, 65, 200}) {
        NullIndicator nulls(alloc, columns);
        EXPECT_FALSE(NullRow(&nulls, 0).IsNull(0));
        const int rows = 3 * 65536 * 8 / columns;  // beyond the second page
        const int border = 2 * 65536 * 8 / columns;
        std::vector<int> looked = {0, 1, 2, rows - 2, rows - 1, rows};
        for (int row = border - 20; row < border + 20; ++row)
            looked.push_back(row);
        for (int row : looked)
            for (int column = 0; column < columns && row < rows; ++column)
                if (random() % 2)
                    nulls.SetNull(column, row);
        nulls.SetNull(columns - 1, rows - 1);  // the last byte of all
        for (int row : looked) {
            const NullRow own(&nulls, row);
            for (int column = 0; column < columns; ++column)
                ASSERT_EQ(nulls.IsNull(column, row), own.IsNull(column))
                    << columns << ' ' << row << ' ' << column;
        }
    }
    EXPECT_FALSE(NullRow(nullptr, 5).IsNull(3));
}

TEST_F(NullIndicatorTest, DeletingTheLastOfTwoColumnsKeepsTheOthersNulls) {
    NullIndicator nulls(alloc, 2);
    nulls.SetNull(0, 3);
    nulls.SetNull(1, 1);
    EXPECT_TRUE(nulls.DeleteColumn(1));
    for (int row = 0; row < 16; ++row)
        EXPECT_EQ(row == 3, nulls.IsNull(0, row)) << row;
}

TEST_F(NullIndicatorTest, DeletingTheOnlyColumnSucceeds) {
    NullIndicator nulls(alloc, 1);
    nulls.SetNull(0, 3);
    EXPECT_TRUE(nulls.DeleteColumn(0));
}

TEST_F(NullIndicatorTest, DeleteColumnAgainstAModelForAllShapes) {
    std::mt19937 random(7);
    for (int columns = 2; columns <= 10; ++columns) {
        for (int rows = 0; rows <= 20; ++rows) {
            for (int deleted = 0; deleted < columns; ++deleted) {
                NullIndicator nulls(alloc, columns);
                std::set<std::pair<int, int>> model;  // column, row
                for (int row = 0; row < rows; ++row) {
                    for (int column = 0; column < columns; ++column) {
                        if (random() % 3 == 0) {
                            nulls.SetNull(column, row);
                            model.insert({column, row});
                        }
                    }
                }
                ASSERT_TRUE(nulls.DeleteColumn(deleted));
                for (int row = 0; row < rows + 10; ++row) {
                    for (int column = 0; column < columns - 1; ++column) {
                        const int before = column < deleted ? column : column + 1;
                        ASSERT_EQ(model.count({before, row}) == 1, nulls.IsNull(column, row))
                            << columns << " columns, deleted " << deleted << ", row " << row << ", column "
                            << column;
                    }
                }
            }
        }
    }
}

TEST_F(NullIndicatorTest, ColumnsCanBeDeletedOneAfterTheOther) {
    NullIndicator nulls(alloc, 5);
    for (int row = 0; row < 50; ++row)
        nulls.SetNull(row % 5, row);
    nulls.DeleteColumn(0);
    nulls.DeleteColumn(3);
    nulls.DeleteColumn(1);  // columns 1 and 3 of the first five are left
    for (int row = 0; row < 50; ++row) {
        EXPECT_EQ(row % 5 == 1, nulls.IsNull(0, row)) << row;
        EXPECT_EQ(row % 5 == 3, nulls.IsNull(1, row)) << row;
    }
}

}  // namespace
}  // namespace qxdbsqlengine
