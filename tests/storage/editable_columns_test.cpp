// Columns whose values can be changed: what they keep, and the bytes of their cells.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <stdexcept>

#include "storage/editable_binary_storage.h"
#include "storage/editable_decimal_storage.h"
#include "storage/editable_lob_storage.h"
#include "storage/editable_string_storage.h"
#include "storage/editable_var_length_storage.h"
#include "storage/storage_doubles.h"

namespace qxdbsqlengine {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

// Texts whose every position can be told from its neighbours.
std::string Text(std::size_t length, char first = 'a') {
    std::string text(length, ' ');
    for (std::size_t i = 0; i < length; ++i)
        text[i] = static_cast<char>(first + i % 23);
    return text;
}

qxdb::DynBuffer BufferOf(const std::string& bytes) {
    qxdb::DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<unsigned int>(bytes.size()));
    return buffer;
}

class CellsTest : public testing::Test {
  protected:
    // The bytes of a cell, and a 32-bit word of it.
    std::string CellBytesOf(int id) { return std::string(static_cast<const char*>(cells.GetCell(id)), 128); }
    int Word(int id, int byte) {
        int word;
        std::memcpy(&word, static_cast<const char*>(cells.GetCell(id)) + byte, sizeof word);
        return word;
    }

    OpenAlloc alloc{10, 100, false};
    CellAlloc cells{alloc};
};

class EditableValuesTest : public CellsTest {
  protected:
    void Append(const std::string& value) { values.Append(value.data(), value.size()); }
    void Set(int i, const std::string& value) { values.Set(i, value.data(), value.size()); }

    EditableVarLengthStorage values{cells};
};

TEST_F(EditableValuesTest, ShortValuesLieInTheirSlots) {
    for (std::size_t length = 0; length <= 15; ++length)
        Append(Text(length));
    // The directory is cell 0, the slot cells of values 0 to 7 and 8 to 15 are cells 1 and 2.
    EXPECT_EQ(3, cells.CellsInUse());
    EXPECT_EQ(1, Word(0, 0));
    EXPECT_EQ(2, Word(0, 4));
    for (std::size_t length = 0; length <= 15; ++length) {
        const std::string slot = CellBytesOf(1 + static_cast<int>(length / 8)).substr((length % 8) * 16, 16);
        EXPECT_EQ(static_cast<char>(length + 1), slot[0]) << length;
        EXPECT_EQ(Text(length), slot.substr(1, length));
    }
}

TEST_F(EditableValuesTest, LongValuesLieInChains) {
    const struct {
        std::size_t length;
        int dataCells;
    } table[] = {{15, 0}, {16, 1}, {123, 1}, {124, 1}, {125, 2}, {248, 2}, {249, 3}, {1240, 10}, {1241, 11}};
    for (const auto& each : table) {
        CellAlloc own(alloc);
        EditableVarLengthStorage column(own);
        const std::string value = Text(each.length);
        column.Append(value.data(), value.size());
        ASSERT_EQ(2 + each.dataCells, own.CellsInUse()) << each.length;
        if (each.dataCells == 0)
            continue;
        const char* const slot = static_cast<const char*>(own.GetCell(1));
        EXPECT_EQ("\0\0\0\0"s, std::string(slot, 4));
        unsigned int length;
        std::memcpy(&length, slot + 4, 4);
        EXPECT_EQ(each.length, length);
        int id;
        std::memcpy(&id, slot + 8, 4);
        EXPECT_EQ(2, id);
        std::string chained;
        for (int cell = 0; cell < each.dataCells; ++cell) {
            const char* const bytes = static_cast<const char*>(own.GetCell(id));
            chained.append(bytes + 4, std::min<std::size_t>(124, each.length - chained.size()));
            if (cell + 1 < each.dataCells) {
                std::memcpy(&id, bytes, 4);
                EXPECT_EQ(3 + cell, id);  // the lowest free cells, one after the other
            }
        }
        EXPECT_EQ(value, chained);
    }
}

TEST_F(EditableValuesTest, DirectoriesListThirtyTwoSlotCells) {
    for (int i = 0; i < 256; ++i)
        Append(std::to_string(i));
    EXPECT_EQ(1 + 32, cells.CellsInUse());
    for (int cell = 0; cell < 32; ++cell)
        EXPECT_EQ(1 + cell, Word(0, cell * 4));
    Append("256");  // needs a directory and a slot cell
    EXPECT_EQ(2 + 33, cells.CellsInUse());
    EXPECT_EQ(34, Word(33, 0));
    EXPECT_EQ(
        "\x04"
        "256",
        CellBytesOf(34).substr(0, 4));
    for (int i = 0; i < 257; ++i)
        EXPECT_EQ(std::to_string(i), values.Read(i));
}

TEST_F(EditableValuesTest, RemoveLastFreesWhatNobodyNeeds) {
    for (int i = 0; i < 257; ++i)
        Append(i == 7 || i == 256 ? Text(300) : "x");
    EXPECT_EQ(2 + 33 + 3 + 3, cells.CellsInUse());
    values.RemoveLast();  // the chain, the slot cell and the directory, whose first place it had
    EXPECT_EQ(1 + 32 + 3, cells.CellsInUse());
    for (int count = 255; count > 248; --count) {
        values.RemoveLast();
        EXPECT_EQ(count, values.Count());
        EXPECT_EQ(1 + 32 + 3, cells.CellsInUse());
    }
    values.RemoveLast();  // value 248 was the first of its slot cell
    EXPECT_EQ(1 + 31 + 3, cells.CellsInUse());
    Append("again");  // takes a slot cell again
    EXPECT_EQ(1 + 32 + 3, cells.CellsInUse());
    EXPECT_EQ("again", values.Read(248));
    while (values.Count() > 8)
        values.RemoveLast();
    EXPECT_EQ(1 + 1 + 3, cells.CellsInUse());
    values.RemoveLast();
    EXPECT_EQ(1 + 1, cells.CellsInUse());
    while (values.Count() > 0)
        values.RemoveLast();
    EXPECT_EQ(0, cells.CellsInUse());
    EXPECT_EQ(10, alloc.memoryBlocksLeft);  // the page went back with its last cell
    values.RemoveLast();
    EXPECT_EQ(0, values.Count());
}

TEST_F(EditableValuesTest, SetFreesTheOldChainFirst) {
    Append(Text(300));  // cells 2, 3, 4
    Append(Text(16));   // cell 5
    EXPECT_EQ(6, cells.CellsInUse());
    Set(1, "short");
    EXPECT_EQ(5, cells.CellsInUse());
    EXPECT_EQ("\x06short", CellBytesOf(1).substr(16, 6));
    Set(0, Text(500, 'A'));  // five cells: its own three, then 5 and 6
    EXPECT_EQ(7, cells.CellsInUse());
    EXPECT_EQ(2, Word(1, 8));
    EXPECT_EQ(3, Word(2, 0));
    EXPECT_EQ(4, Word(3, 0));
    EXPECT_EQ(5, Word(4, 0));
    EXPECT_EQ(6, Word(5, 0));
    EXPECT_EQ(Text(500, 'A'), values.Read(0));
    Set(0, "");
    EXPECT_EQ(2, cells.CellsInUse());
    EXPECT_EQ('\x01', CellBytesOf(1)[0]);
    EXPECT_EQ("", values.Read(0));
    EXPECT_EQ("short", values.Read(1));
}

TEST_F(EditableValuesTest, ValuesThatDoNotExistAreEmpty) {
    Append("abc");
    for (int i : {1, 7, 8, 1000, 2147483647, -1}) {
        EXPECT_EQ("", values.Read(i));
        EXPECT_EQ(0, values.Length(i));
        EXPECT_TRUE(values.Equals(i, ""));
        EXPECT_FALSE(values.Equals(i, "a"));
        char byte = 0;
        EXPECT_EQ(0u, values.ReadPart(i, 0, &byte, 1));
        std::string_view view = "old";
        EXPECT_TRUE(values.ViewInPlace(i, view));
        EXPECT_EQ("", view);
    }
}

TEST_F(EditableValuesTest, ReadsPartsAndPieces) {
    const std::string value = Text(1000);
    Append("front");
    Append(value);
    for (std::size_t offset : {0u, 1u, 123u, 124u, 125u, 247u, 248u, 500u, 999u, 1000u, 1001u}) {
        for (std::size_t count : {0u, 1u, 124u, 125u, 999u, 2000u}) {
            std::string part(count, '-');
            const std::size_t read = values.ReadPart(1, static_cast<__int64>(offset), &part[0], count);
            ASSERT_EQ(offset > 1000 ? "" : value.substr(offset, count), part.substr(0, read));
        }
    }
    EXPECT_EQ(0u, values.ReadPart(1, -1, nullptr, 5));
    EXPECT_EQ(value, std::string(values.Begin(1), values.End(1)));
    std::string_view view;
    EXPECT_FALSE(values.ViewInPlace(1, view));
    EXPECT_TRUE(values.ViewInPlace(0, view));
    EXPECT_EQ("front", view);
    std::string scratch;
    EXPECT_EQ(value, values.View(1, scratch));
    EXPECT_EQ(value, scratch);
    // A reader that goes back begins anew.
    CellSortSource source(values, 1);
    for (std::size_t offset : {0u, 64u, 900u, 200u, 0u, 990u}) {
        char bytes[64];
        const std::size_t read = source.ReadBytes(static_cast<__int64>(offset), bytes, sizeof bytes);
        ASSERT_EQ(value.substr(offset, 64), std::string(bytes, read));
    }
    EXPECT_EQ(0u, source.ReadBytes(1000, &scratch[0], 1));
}

TEST_F(EditableValuesTest, AgainstAModel) {
    std::mt19937 random(61);
    std::vector<std::string> model;
    for (int step = 0; step < 30000; ++step) {
        const unsigned choice = random() % 10;
        std::size_t length = random() % 40;
        if (choice == 9)
            length = random() % 1500;
        std::string value(length, ' ');
        for (char& c : value)
            c = static_cast<char>(random());
        if (model.empty() || choice < 4) {
            Append(value);
            model.push_back(value);
        } else if (choice < 7 || choice == 9) {
            const std::size_t i = random() % model.size();
            Set(static_cast<int>(i), value);
            model[i] = value;
        } else {
            values.RemoveLast();
            model.pop_back();
        }
        ASSERT_EQ(static_cast<int>(model.size()), values.Count());
        if (model.empty())
            continue;
        const std::size_t i = random() % model.size();
        const int row = static_cast<int>(i);
        ASSERT_EQ(static_cast<__int64>(model[i].size()), values.Length(row));
        ASSERT_EQ(model[i], values.Read(row));
        ASSERT_TRUE(values.Equals(row, model[i]));
        ASSERT_FALSE(values.Equals(row, model[i] + "x"));
        if (!model[i].empty()) {
            std::string other = model[i];
            other.back() = static_cast<char>(other.back() + 1);
            ASSERT_FALSE(values.Equals(row, other));
        }
    }
    int needed = 0;
    for (const std::string& value : model)
        needed += value.size() < 16 ? 0 : static_cast<int>((value.size() + 123) / 124);
    const int slotCells = (static_cast<int>(model.size()) + 7) / 8;
    EXPECT_EQ(needed + slotCells + (slotCells + 31) / 32, cells.CellsInUse());
}

TEST_F(EditableValuesTest, DestructionGivesTheCellsBack) {
    {
        EditableVarLengthStorage other(cells);
        const std::string value = Text(400);
        for (int i = 0; i < 700; ++i)
            other.Append(value.data(), value.size());
        EXPECT_GT(cells.PagesInUse(), 5);
    }
    EXPECT_EQ(0, cells.CellsInUse());
    EXPECT_EQ(0, cells.PagesInUse());
    EXPECT_EQ(10, alloc.memoryBlocksLeft);
}

// Every request for memory of an append and of a replacement is refused once.
TEST_F(EditableValuesTest, RefusedMemory) {
    const std::string great = Text(200000);  // 1613 cells: four pages
    bool reached = true;
    for (int n = 0; reached; ++n) {
        OpenAlloc ownAlloc(10, 100, false);
        CellAlloc own(ownAlloc);
        EditableVarLengthStorage column(own);
        bool thrown = false;
        {
            RefusedMemory refused(n);
            try {
                column.Append(great.data(), great.size());
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            reached = refused.WasReached();
        }
        EXPECT_EQ(reached, thrown);
        ASSERT_EQ(thrown ? 0 : 1, column.Count()) << n;
        EXPECT_EQ(thrown ? 0 : 2 + 1613, own.CellsInUse()) << n;
        column.Append("last", 4);
        EXPECT_EQ("last", column.Read(column.Count() - 1));
    }
    reached = true;
    for (int n = 0; reached; ++n) {
        OpenAlloc ownAlloc(10, 100, false);
        CellAlloc own(ownAlloc);
        EditableVarLengthStorage column(own);
        column.Append(great.data(), 100);
        column.Append("other", 5);
        bool thrown = false;
        {
            RefusedMemory refused(n);
            try {
                column.Set(0, great.data(), great.size());
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            reached = refused.WasReached();
        }
        EXPECT_EQ(thrown ? "" : great, column.Read(0)) << n;
        EXPECT_EQ(thrown ? 2 : 2 + 1613, own.CellsInUse()) << n;
        EXPECT_EQ("other", column.Read(1));
    }
}

TEST_F(EditableValuesTest, FourGigabytesAreRefused) {
    Append("kept");
    EXPECT_THROW(values.Append("x", 1ULL << 32), std::length_error);
    EXPECT_THROW(values.Set(0, "x", 1ULL << 32), std::length_error);
    EXPECT_EQ(1, values.Count());
    EXPECT_EQ("kept", values.Read(0));
}

using EditableColumnsTest = CellsTest;

TEST_F(EditableColumnsTest, TextsCanBeReplaced) {
    EditableStringStorage column(cells);
    column.InsertString("first");
    column.InsertEmpty();
    column.SetString(1, Text(1000));
    column.SetEmpty(0);
    column.InsertString("third");
    EXPECT_EQ("", column.AsString(0));
    EXPECT_EQ(Text(1000), column.AsString(1));
    EXPECT_EQ(Text(1000), column.AsString(1, std::locale::classic()));
    EXPECT_TRUE(column.EqualsString(1, Text(1000)));
    EXPECT_FALSE(column.EqualsString(1, Text(999)));
    EXPECT_FALSE(column.EqualsString(1, Text(999) + "!"));
    std::string scratch;
    EXPECT_EQ(Text(1000), column.ViewString(1, CellFormat::Classic(), scratch));
    column.RemoveLast();
    EXPECT_EQ("", column.AsString(2));
}

// Texts of editable results compare digit runs by their value, whatever is asked for.
TEST_F(EditableColumnsTest, TextsCompareWithoutTheOption) {
    EditableStringStorage column(cells);
    const std::string front = Text(300);  // the texts differ behind their first cells
    for (const std::string& text : {"12"s, "2"s, "x9"s, "x10"s, "a"s, "A"s, "007"s, "7"s, front + "x9",
                                    front + "x10", front + "a", front + "A"})
        column.InsertString(text);
    for (int option : {0, 1}) {
        EXPECT_GT(column.CompareItems(0, 1, option), 0);
        EXPECT_LT(column.CompareItems(2, 3, option), 0);
        EXPECT_EQ(column.CompareItems(4, 5, option), 0);
        EXPECT_LT(column.CompareItems(6, 7, option), 0);
        EXPECT_LT(column.CompareItems(8, 9, option), 0);
        EXPECT_EQ(column.CompareItems(10, 11, option), 0);
        EXPECT_NE(column.CompareItems(2, 8, option), 0);
    }
}

TEST_F(EditableColumnsTest, TextsMeasureValuesLongerThanHalfOfTheLongest) {
    EditableStringStorage column(cells);
    for (const char* text : {"0123456789", "0123", "012345"})
        column.InsertString(text);
    RecordingMeasure measure;
    std::locale locale = std::locale::classic();
    EXPECT_EQ(10, column.GetLargestColumnSize(locale, measure));
    EXPECT_THAT(measure.texts, ElementsAre("0123456789", "012345"));
}

TEST_F(EditableColumnsTest, BinariesAreHexadecimalText) {
    EditableBinaryStorage column(cells);
    column.InsertBinary(BufferOf("\xFF\0"s));
    column.InsertEmpty();
    column.InsertBinary(BufferOf(std::string(130, '\x2A')));
    std::string expected;
    for (int i = 0; i < 130; ++i)
        expected += "2A";
    EXPECT_EQ("FF00", column.AsString(0));
    EXPECT_EQ("", column.AsString(1));
    EXPECT_EQ(expected, column.AsString(2));
    EXPECT_EQ(expected, column.AsString(2, std::locale::classic()));
    column.SetBinary(1, BufferOf("\x01"s));
    column.SetEmpty(2);
    EXPECT_EQ("01", column.AsString(1));
    EXPECT_EQ("", column.AsString(2));
    column.RemoveLast();
    column.RemoveLast();
    EXPECT_EQ("", column.AsString(1));
    EXPECT_EQ("FF00", column.AsString(0));
    RecordingMeasure measure;
    std::locale locale = std::locale::classic();
    EXPECT_EQ(4, column.GetLargestColumnSize(locale, measure));
}

TEST_F(EditableColumnsTest, ShorterBinariesAreLessThenUnsignedBytes) {
    EditableBinaryStorage column(cells);
    const std::vector<std::string> ascending = {"",
                                                "\0"s,
                                                "\x7F",
                                                "\x80",
                                                "\0\0"s,
                                                "ab",
                                                "\xFF\x01",
                                                "\xFF\x80",
                                                std::string(300, 'a'),
                                                std::string(299, 'a') + "\x80"};
    for (const std::string& bytes : ascending)
        column.InsertBinary(BufferOf(bytes));
    const int count = static_cast<int>(ascending.size());
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            EXPECT_EQ(i < j, column.CompareItems(i, j, 0) < 0) << i << " " << j;
            EXPECT_EQ(i > j, column.CompareItems(i, j, 0) > 0) << i << " " << j;
        }
    }
}

TEST_F(EditableColumnsTest, DecimalSlotsAreScaleCountAndDigits) {
    EditableDecimalStorage column(cells, 0);
    const struct {
        const char* value;
        std::string slot;  // without what is unspecified
    } table[] = {
        {"0", "\0\0\x01\0\0"s},
        {"1.5", "\x01\0\x01\0\x0F"s},
        {"-1.5", "\x01\x80\x01\0\x0F"s},
        {"-2", "\0\x80\x01\0\x02"s},
        {"256.00", "\x02\0\x02\0\x64\0"s},
        {"72057594037927935", "\0\0\x07\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s},
        {"18446744073709551615", "\0\0\x08\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s},
        // Nine digit bytes and more lie in a chain.
        {"18446744073709551616", "\0\0\x09\0\x02\0\0\0"s},
        {"-18446744073709551616.5", "\x01\x80\x09\0\x03\0\0\0"s},
        {"3", "\0\0\x01\0\x03"s},
        // The eleventh is the first of the next slot cell.
        {"4.0", "\x01\0\x01\0\x28"s},
    };
    for (const auto& each : table)
        column.InsertDecimal(qxdb::Decimal(std::string(each.value)));
    EXPECT_EQ(1 + 2 + 2, cells.CellsInUse());
    EXPECT_EQ(1, Word(0, 0));
    EXPECT_EQ(4, Word(0, 4));
    int row = 0;
    for (const auto& each : table) {
        const std::string slot =
            CellBytesOf(row < 10 ? 1 : 4).substr(static_cast<std::size_t>(row % 10) * 12, each.slot.size());
        EXPECT_EQ(each.slot, slot) << each.value;
        EXPECT_EQ(each.value, column.AsDecimal(row).AsString(false, -1));
        ++row;
    }
    EXPECT_EQ("\x01\0\0\0\0\0\0\0\0"s, CellBytesOf(2).substr(4, 9));
    EXPECT_EQ("\x0A\0\0\0\0\0\0\0\x05"s, CellBytesOf(3).substr(4, 9));
}

TEST_F(EditableColumnsTest, DecimalsCanBeReplaced) {
    EditableDecimalStorage column(cells, 2);
    const std::string great = "-" + std::string(2000, '7') + ".25";  // some 830 digit bytes: 7 cells
    column.InsertDecimal(qxdb::Decimal(great));
    column.InsertEmpty();
    EXPECT_EQ(2 + 7, cells.CellsInUse());
    EXPECT_EQ(great, column.AsDecimal(0).AsString(false, -1));
    column.SetDecimal(1, qxdb::Decimal(std::string("-0.005")));
    EXPECT_EQ("-0.01", column.AsString(1, std::locale::classic()));
    EXPECT_EQ("-0.005", column.AsDecimal(1).AsString(false, -1));
    column.SetDecimal(0, qxdb::Decimal(7, 0));
    EXPECT_EQ(2, cells.CellsInUse());
    EXPECT_EQ("7.00", column.AsString(0, std::locale::classic()));
    column.SetDecimal(1, qxdb::Decimal(great));
    EXPECT_EQ(great, column.AsDecimal(1).AsString(false, -1));
    column.SetEmpty(1);
    EXPECT_EQ("0", column.AsDecimal(1).AsString(false, -1));
    EXPECT_EQ(2, cells.CellsInUse());
    column.SetDecimal(1, qxdb::Decimal(great));
    column.RemoveLast();
    EXPECT_EQ(2, cells.CellsInUse());
    column.RemoveLast();
    EXPECT_EQ(0, cells.CellsInUse());
    column.RemoveLast();
    EXPECT_EQ("0", column.AsDecimal(0).AsString(false, -1));
    EXPECT_EQ(2, column.GetPrecision());
    column.SetPrecision(-3);
    EXPECT_EQ(0, column.GetPrecision());
}

TEST_F(EditableColumnsTest, DecimalThatIsRefusedMemoryIsZero) {
    const qxdb::Decimal great(std::string(2000, '7') + ".25");
    bool reached = true;
    for (int n = 0; reached; ++n) {
        OpenAlloc ownAlloc(10, 100, false);
        CellAlloc own(ownAlloc);
        EditableDecimalStorage column(own, 0);
        column.InsertDecimal(qxdb::Decimal(-15, 1));
        // Leaves less than the chain needs in the page.
        std::vector<int> taken(511 - 2 - 3);
        for (int& id : taken)
            own.Allocate(id);
        bool thrown = false;
        {
            RefusedMemory refused(n);
            try {
                column.SetDecimal(0, great);
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            reached = refused.WasReached();
        }
        EXPECT_EQ(reached, thrown);
        EXPECT_EQ(0, column.AsDecimal(0).Compare(thrown ? qxdb::Decimal(0, 0) : great)) << n;
        EXPECT_EQ(static_cast<int>(taken.size()) + 2 + (thrown ? 0 : 7), own.CellsInUse()) << n;
    }
}

TEST_F(EditableColumnsTest, DecimalsCompareByValueWhateverTheScale) {
    EditableDecimalStorage column(cells, 0);
    const char* const values[] = {"-18446744073709551616.5",
                                  "-256",
                                  "-1.50",
                                  "-1.5",
                                  "0",
                                  "0.00",
                                  "0.001",
                                  "1",
                                  "1.5",
                                  "1.50",
                                  "9",
                                  "10",
                                  "255",
                                  "18446744073709551616"};
    for (const char* value : values)
        column.InsertDecimal(qxdb::Decimal(std::string(value)));
    for (int i = 0; i < 14; ++i) {
        for (int j = 0; j < 14; ++j) {
            const int expected =
                qxdb::Decimal(std::string(values[i])).Compare(qxdb::Decimal(std::string(values[j])));
            const int c = column.CompareItems(i, j, 0);
            EXPECT_EQ(expected < 0, c < 0) << values[i] << " " << values[j];
            EXPECT_EQ(expected > 0, c > 0) << values[i] << " " << values[j];
        }
    }
    RecordingMeasure measure;
    std::locale locale = std::locale::classic();
    EXPECT_EQ(23, column.GetLargestColumnSize(locale, measure));
    EXPECT_THAT(measure.texts, ElementsAre("-18446744073709551616.5", "18446744073709551616"));
}

TEST_F(EditableColumnsTest, DecimalsBeyondTheCountOfDigitBytesAreRefused) {
    EditableDecimalStorage column(cells, 0);
    qxdb::BigInteger great(std::vector<unsigned char>(65536, 0x11), qxdb::BigInteger::NumberPlain);
    EXPECT_THROW(column.InsertDecimal(qxdb::Decimal(great, 0)), std::length_error);
    EXPECT_EQ(0, cells.CellsInUse());
    qxdb::BigInteger greatest(std::vector<unsigned char>(65535, 0x11), qxdb::BigInteger::NumberPlain);
    column.InsertDecimal(qxdb::Decimal(greatest, 32767));
    EXPECT_EQ(0, column.AsDecimal(0).Compare(qxdb::Decimal(greatest, 32767)));
    EXPECT_EQ(32767, column.AsDecimal(0).GetScale());
    EXPECT_FALSE(column.AsDecimal(0).IsNegative());
}

// Keeps its locator data, which the rows of a column differ in.
class RowLocator : public qxdb::LobLocatorImp {
  public:
    explicit RowLocator(const std::string& newBytes) : bytes(newBytes) {}
    std::unique_ptr<LobLocatorImp> Clone() const override { return std::make_unique<RowLocator>(bytes); }
    qxdb::DynBuffer GetLocatorData() const override { return BufferOf(bytes); }
    void SetLocatorData(const qxdb::DynBuffer& data) override {
        bytes.assign(reinterpret_cast<const char*>(data.GetData()), data.GetLength());
    }
    bool IsValid(bool) const override { return true; }
    bool IsReadOnly() const override { return false; }
    bool EditAsClob() const override { return false; }
    std::string TableName() const override { return "photos"; }
    void SetAsXMLType() override {}
    void Import(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
    void Export(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}

  private:
    std::string bytes;
};

std::string DataOf(const qxdb::LobLocator& locator) {
    const qxdb::DynBuffer data = locator.GetLocatorData();
    return std::string(reinterpret_cast<const char*>(data.GetData()), data.GetLength());
}

TEST_F(EditableColumnsTest, LobsKeepPreviewLocatorDataAndFileName) {
    const std::string columnData = "01234567890123456789";
    EditableLobStorage column(cells, 4000, qxdb::LobLocator(new RowLocator(columnData)), true, true);
    EXPECT_TRUE(column.GetUseLobLocators());
    column.InsertLobData("preview", BufferOf("row zero row zero 20"));
    column.InsertEmpty();
    EXPECT_EQ("preview", column.AsString(0));
    EXPECT_EQ("", column.GetLobFileName(0));
    EXPECT_EQ("row zero row zero 20", DataOf(column.GetLob(0)));
    EXPECT_EQ("photos", column.GetLob(0).TableName());
    EXPECT_EQ("", column.AsString(1));
    EXPECT_EQ(std::string(20, '\0'), DataOf(column.GetLob(1)));  // as long as the column's
    column.SetLobData(1, "changed", "/files/one");
    EXPECT_EQ("changed", column.AsString(1, std::locale::classic()));
    EXPECT_EQ("/files/one", column.GetLobFileName(1));
    EXPECT_EQ(std::string(20, '\0'), DataOf(column.GetLob(1)));
    column.SetLobData(1, "again", BufferOf("row one"), "/files/two");
    EXPECT_EQ("again", column.AsString(1));
    EXPECT_EQ("/files/two", column.GetLobFileName(1));
    EXPECT_EQ("row one", DataOf(column.GetLob(1)));
    EXPECT_EQ("row zero row zero 20", DataOf(column.GetLob(0)));
    column.SetEmpty(0);
    EXPECT_EQ("", column.AsString(0));
    EXPECT_EQ(std::string(20, '\0'), DataOf(column.GetLob(0)));
    column.SetLobData(1, "last", "/files/three");
    column.SetEmpty(1);
    EXPECT_EQ("", column.GetLobFileName(1));
    column.RemoveLast();
    column.RemoveLast();
    EXPECT_EQ(0, cells.CellsInUse());
}

TEST_F(EditableColumnsTest, LobsWithoutLocatorDataOfTheirOwn) {
    EditableLobStorage column(cells, 0, qxdb::LobLocator(new RowLocator("column")), false, false);
    EXPECT_FALSE(column.GetUseLobLocators());
    column.InsertLobData("preview", BufferOf("row"));
    EXPECT_EQ("column", DataOf(column.GetLob(0)));
    column.SetLobData(0, "other", BufferOf("row"), "file");
    EXPECT_EQ("column", DataOf(column.GetLob(0)));
    EXPECT_EQ("other", column.AsString(0));
    // Previews and file names have a directory and a slot cell each, locator data has nothing.
    EXPECT_EQ(4, cells.CellsInUse());
    EditableLobStorage none(cells, 0, qxdb::LobLocator(), false, true);
    none.InsertLobData("preview", BufferOf("row"));
    EXPECT_FALSE(none.GetLob(0).IsValid(true));
    EXPECT_EQ(8, cells.CellsInUse());
}

TEST_F(EditableColumnsTest, LobsAreAllEqual) {
    EditableLobStorage column(cells, 0, qxdb::LobLocator(), false, false);
    column.InsertLobData("b", qxdb::DynBuffer());
    column.InsertLobData("a", qxdb::DynBuffer());
    EXPECT_EQ(0, column.CompareItems(0, 1, 0));
    EXPECT_EQ(0, column.CompareItems(1, 0, 1));
    RecordingMeasure measure;
    std::locale locale = std::locale::classic();
    EXPECT_EQ(0, column.GetLargestColumnSize(locale, measure));
    EXPECT_TRUE(measure.texts.empty());
}

// A row gets all its values or none, whatever is refused.
TEST_F(EditableColumnsTest, RefusedMemoryAppendsNoPartOfALob) {
    const std::string text = Text(100000);
    bool reached = true;
    for (int n = 0; reached; ++n) {
        OpenAlloc ownAlloc(10, 100, false);
        CellAlloc own(ownAlloc);
        EditableLobStorage column(own, 0, qxdb::LobLocator(new RowLocator("01234567890123456789")), true,
                                  true);
        column.InsertLobData("kept", BufferOf("kept kept kept kept "));
        const int before = own.CellsInUse();
        for (int i = 1; i < 8; ++i)
            column.InsertEmpty();
        const int filled = own.CellsInUse();
        const qxdb::DynBuffer data = BufferOf("row zero row zero 20");
        {
            RefusedMemory refused(n);
            try {
                column.InsertLobData(text, data);
            } catch (const std::bad_alloc&) {
            }
            reached = refused.WasReached();
        }
        if (reached) {
            EXPECT_EQ(filled, own.CellsInUse()) << n;
            column.InsertLobData("next", BufferOf("next next next next "));
            EXPECT_EQ("next", column.AsString(8));
            EXPECT_EQ("next next next next ", DataOf(column.GetLob(8)));
        } else {
            EXPECT_EQ(text, column.AsString(8));
        }
        EXPECT_GT(filled, before);
        EXPECT_EQ("kept", column.AsString(0));
    }
}

TEST_F(EditableColumnsTest, NamedTypesAreTexts) {
    EditableNamedTypeStorage column(cells);
    column.InsertString("(1, 2)");
    EXPECT_EQ(DataTypeNamedType, column.GetDataType());
    column.SetString(0, "(3)");
    EXPECT_EQ("(3)", column.AsString(0));
}

}  // namespace
}  // namespace qxdbsqlengine
