#include "storage/row_sorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <new>
#include <numeric>
#include <random>

#include "storage/container_support.h"
#include "storage/sort_reference.h"
#include "storage/storage_doubles.h"

namespace qxdbsqlengine {
namespace {

// One column of random values and, independent of the store, their order.
struct Model {
    EnumDataType type;
    std::vector<bool> nulls;
    std::function<void(DataStorage&, int col, int row)> insert;
    std::function<int(int, int)> compare;
};

template <class T, class Insert>
Model NumberModel(EnumDataType type, std::vector<T> values, Insert insert) {
    const auto shared = std::make_shared<std::vector<T>>(std::move(values));
    Model model;
    model.type = type;
    model.insert = [shared, insert](DataStorage& store, int col, int row) {
        insert(store, col, (*shared)[static_cast<std::size_t>(row)]);
    };
    model.compare = [shared](int a, int b) {
        const T& x = (*shared)[static_cast<std::size_t>(a)];
        const T& y = (*shared)[static_cast<std::size_t>(b)];
        return x < y ? -1 : y < x ? 1 : 0;
    };
    return model;
}

template <class T, class Make>
std::vector<T> Values(int rows, Make make) {
    std::vector<T> values;
    for (int row = 0; row < rows; ++row)
        values.push_back(make());
    return values;
}

Model TextModel(std::vector<std::string> values, EnumDataType type = DataTypeString) {
    const auto shared = std::make_shared<std::vector<std::string>>(std::move(values));
    Model model;
    model.type = type;
    model.insert = [shared](DataStorage& store, int col, int row) {
        store.InsertString(0, col, (*shared)[static_cast<std::size_t>(row)]);
    };
    model.compare = [shared](int a, int b) {
        return ReferenceCompareTexts((*shared)[static_cast<std::size_t>(a)],
                                     (*shared)[static_cast<std::size_t>(b)]);
    };
    return model;
}

Model RandomModel(EnumDataType type, int rows, std::mt19937& random) {
    // Few different values, so that many rows tie.
    const auto small = [&random] { return static_cast<int>(random() % 41) - 20; };
    switch (type) {
        case DataTypeShort:
            return NumberModel(type, Values<short>(rows, [&] { return static_cast<short>(small()); }),
                               [](DataStorage& s, int c, short v) { s.InsertShort(0, c, v); });
        case DataTypeInt:
            return NumberModel(type, Values<int>(rows, [&] { return small() * 100000000; }),
                               [](DataStorage& s, int c, int v) { s.InsertInt(0, c, v); });
        case DataTypeLong:
            return NumberModel(type, Values<long>(rows, [&] { return static_cast<long>(small()) * 12345; }),
                               [](DataStorage& s, int c, long v) { s.InsertLong(0, c, v); });
        case DataTypeInt64:
            return NumberModel(type, Values<__int64>(rows, [&] { return small() * 400000000000000000LL; }),
                               [](DataStorage& s, int c, __int64 v) { s.InsertInt64(0, c, v); });
        case DataTypeFloat:
            return NumberModel(type, Values<float>(rows, [&] { return static_cast<float>(small()) / 8; }),
                               [](DataStorage& s, int c, float v) { s.InsertFloat(0, c, v); });
        case DataTypeDouble:
            return NumberModel(type, Values<double>(rows, [&] { return small() * 1e200 / 7; }),
                               [](DataStorage& s, int c, double v) { s.InsertDouble(0, c, v); });
        case DataTypeDecimal: {
            const auto units = std::make_shared<std::vector<int>>(Values<int>(rows, small));
            Model model;
            model.type = type;
            // The same value in several scales.
            model.insert = [units](DataStorage& s, int c, int row) {
                qxdb::Decimal value((*units)[static_cast<std::size_t>(row)], 1);
                if (row % 3 == 0)
                    value.SetScale(4, qxdb::Decimal::RoundHalfUp);
                s.InsertDecimal(0, c, value);
            };
            model.compare = [units](int a, int b) {
                return Sign((*units)[static_cast<std::size_t>(a)] - (*units)[static_cast<std::size_t>(b)]);
            };
            return model;
        }
        case DataTypeTimestamp: {
            const auto parts = std::make_shared<std::vector<std::vector<int>>>();
            for (int row = 0; row < rows; ++row) {
                const auto pick = [&random] { return static_cast<int>(random() % 2); };
                parts->push_back(
                    {2020 + pick(), 1 + pick(), 1 + pick(), pick(), pick(), pick(), pick() * 500});
            }
            Model model;
            model.type = type;
            model.insert = [parts](DataStorage& s, int c, int row) {
                const std::vector<int>& p = (*parts)[static_cast<std::size_t>(row)];
                qxdb::Timestamp value;
                value.SetDate(p[0], p[1], p[2]);
                value.SetTime(p[3], p[4], p[5]);
                value.SetFraction(p[6]);
                s.InsertTimestamp(0, c, value);
            };
            model.compare = [parts](int a, int b) {
                const std::vector<int>& x = (*parts)[static_cast<std::size_t>(a)];
                const std::vector<int>& y = (*parts)[static_cast<std::size_t>(b)];
                return x < y ? -1 : y < x ? 1 : 0;
            };
            return model;
        }
        case DataTypeBinary:
        case DataTypeLob: {
            const auto bytes =
                std::make_shared<std::vector<std::string>>(Values<std::string>(rows, [&random] {
                    std::string value(random() % 25, '\0');
                    for (char& byte : value)
                        byte = static_cast<char>(random() % 2 ? 0xFE : random() % 3);
                    return value;
                }));
            Model model;
            model.type = type;
            model.insert = [bytes, type](DataStorage& s, int c, int row) {
                const std::string& value = (*bytes)[static_cast<std::size_t>(row)];
                qxdb::DynBuffer buffer;
                buffer.Assign(reinterpret_cast<const unsigned char*>(value.data()),
                              static_cast<unsigned int>(value.size()));
                if (type == DataTypeBinary)
                    s.InsertBinary(0, c, buffer);
                else
                    s.InsertLobData(0, c, value, qxdb::DynBuffer());
            };
            model.compare = [bytes, type](int a, int b) {
                const std::string& x = (*bytes)[static_cast<std::size_t>(a)];
                const std::string& y = (*bytes)[static_cast<std::size_t>(b)];
                if (type == DataTypeBinary && x.size() != y.size())
                    return x.size() < y.size() ? -1 : 1;
                return Sign(x.compare(y));
            };
            return model;
        }
        default:
            return TextModel(Values<std::string>(rows,
                                                 [&random] {
                                                     std::string text(random() % 5, ' ');
                                                     for (char& byte : text)
                                                         byte = "aAb10"[random() % 5];
                                                     return text;
                                                 }),
                             type);
    }
}

class SortedStore {
  public:
    SortedStore(std::vector<Model> columnModels, int rows) : models(std::move(columnModels)) {
        std::vector<EnumDataType> types;
        for (const Model& model : models)
            types.push_back(model.type);
        store.AddResultSet(Columns(types), ResultSetNormal);
        for (int row = 0; row < rows; ++row) {
            for (std::size_t col = 0; col < models.size(); ++col) {
                if (!models[col].nulls.empty() && models[col].nulls[static_cast<std::size_t>(row)])
                    store.InsertNull(0, static_cast<int>(col));
                else
                    models[col].insert(store, static_cast<int>(col), row);
            }
        }
    }

    int Compare(const std::vector<DataSort>& keys, int a, int b) const {
        for (const DataSort& key : keys) {
            const Model& model = models[static_cast<std::size_t>(key.column)];
            const bool aNull = !model.nulls.empty() && model.nulls[static_cast<std::size_t>(a)];
            const bool bNull = !model.nulls.empty() && model.nulls[static_cast<std::size_t>(b)];
            int c = aNull || bNull ? static_cast<int>(bNull) - static_cast<int>(aNull) : model.compare(a, b);
            if (c != 0)
                return key.ascending ? c : -c;
        }
        return 0;
    }

    // Sorts and checks: the same rows as before, and each not greater than the next, as the reference sort
    // has it.
    void SortAndCheck(const std::vector<DataSort>& keys) {
        std::vector<int> expected = PhysicalRows(store);
        std::sort(expected.begin(), expected.end());
        std::stable_sort(expected.begin(), expected.end(),
                         [this, &keys](int a, int b) { return Compare(keys, a, b) < 0; });
        store.Sort(0, keys, nullptr, 0);
        const std::vector<int> sorted = PhysicalRows(store);
        ASSERT_EQ(expected.size(), sorted.size());
        for (std::size_t i = 0; i < sorted.size(); ++i)
            ASSERT_EQ(0, Compare(keys, expected[i], sorted[i])) << "position " << i;
        std::vector<int> rows = sorted;
        std::sort(rows.begin(), rows.end());
        std::sort(expected.begin(), expected.end());
        ASSERT_EQ(expected, rows);
    }

    DataStorage store = DataStorage::CreateResultsStorage(false);
    std::vector<Model> models;
};

std::vector<bool> RandomNulls(int rows, unsigned oneOf, std::mt19937& random) {
    std::vector<bool> nulls;
    for (int row = 0; row < rows; ++row)
        nulls.push_back(random() % oneOf == 0);
    return nulls;
}

class RowSorterTypeTest : public testing::TestWithParam<EnumDataType> {};

TEST_P(RowSorterTypeTest, SortsAsTheReference) {
    std::mt19937 random(static_cast<unsigned>(GetParam()) + 100);
    for (const int rows : {1, 2, 3, 17, 100, 3000}) {
        Model plain = RandomModel(GetParam(), rows, random);
        Model withNulls = RandomModel(GetParam(), rows, random);
        withNulls.nulls = RandomNulls(rows, 4, random);
        SortedStore sorted({plain, withNulls}, rows);
        sorted.SortAndCheck({DataSort(0, true)});
        sorted.SortAndCheck({DataSort(0, false)});
        sorted.SortAndCheck({DataSort(1, true)});
        sorted.SortAndCheck({DataSort(1, false)});
        sorted.SortAndCheck({DataSort(1, false), DataSort(0, true)});
        sorted.SortAndCheck({DataSort(0, true), DataSort(1, true)});
    }
}

INSTANTIATE_TEST_SUITE_P(AllTypes, RowSorterTypeTest,
                         testing::Values(DataTypeString, DataTypeShort, DataTypeInt, DataTypeLong,
                                         DataTypeInt64, DataTypeFloat, DataTypeDouble, DataTypeDecimal,
                                         DataTypeBinary, DataTypeTimestamp, DataTypeLob, DataTypeNamedType));

TEST(RowSorterTest, ManyKeysOfManyTypesWithHiddenRows) {
    std::mt19937 random(5);
    const EnumDataType types[] = {DataTypeString, DataTypeInt, DataTypeTimestamp, DataTypeDecimal,
                                  DataTypeShort};
    for (int round = 0; round < 60; ++round) {
        const int rows = 50 + static_cast<int>(random() % 2000);
        std::vector<Model> models;
        for (const EnumDataType type : types) {
            models.push_back(RandomModel(type, rows, random));
            if (random() % 2 == 0)
                models.back().nulls = RandomNulls(rows, 1 + random() % 5, random);
        }
        SortedStore sorted(models, rows);
        for (int again = 0; again < 3; ++again) {
            std::vector<DataSort> keys;
            for (unsigned key = 0; key <= random() % 5; ++key)
                keys.emplace_back(static_cast<int>(random() % 5), random() % 2 == 0);
            ASSERT_NO_FATAL_FAILURE(sorted.SortAndCheck(keys));
            for (unsigned hidden = 0; hidden < random() % 10; ++hidden)
                sorted.store.HideRow(0, static_cast<int>(random() % 40));
        }
    }
}

TEST(RowSorterTest, EmptyKeysAreArrivalOrder) {
    std::mt19937 random(6);
    SortedStore sorted({RandomModel(DataTypeInt, 5000, random)}, 5000);
    sorted.SortAndCheck({DataSort(0, true)});
    sorted.store.HideRow(0, 17);
    sorted.store.Sort(0, {}, nullptr, 0);
    const std::vector<int> rows = PhysicalRows(sorted.store);
    EXPECT_EQ(4999U, rows.size());
    EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end()));
}

TEST(RowSorterTest, LongTextsThatBeginAlike) {
    std::mt19937 random(7);
    const auto suffix = [&random](std::size_t length) {
        std::string text(length, ' ');
        for (char& byte : text)
            byte = "ab019Z"[random() % 6];
        return text;
    };
    const std::string shared = suffix(500);
    const std::string other = shared.substr(0, 300) + "#" + suffix(100);
    const std::function<std::string()> shapes[] = {
        [&] { return shared + suffix(random() % 4); },
        [&] { return (random() % 2 ? shared : other) + suffix(random() % 3); },
        [&] { return shared.substr(0, random() % 500); },
        [&] { return std::string(20, 'p') + suffix(6); },
        [&] {
            return std::string(20, 'p') + std::to_string(random() % 50) + std::string(80, 'q') + suffix(1);
        },
        [&] { return std::string(random() % 300, '7'); },
        [&] { return std::string(random() % 600, '0') + "5"; },
        [&] { return std::string(random() % 40, static_cast<char>(0x80 + random() % 2)); },
        [&] { return shared; },
        [&] { return std::string(70, 'k') + std::to_string(random() % 700) + std::string(200, 'k'); },
    };
    for (std::size_t shape = 0; shape < std::size(shapes); ++shape) {
        SCOPED_TRACE(shape);
        const int rows = 2500;
        Model texts = TextModel(Values<std::string>(rows, shapes[shape]));
        if (shape % 2 == 1)
            texts.nulls = RandomNulls(rows, 10, random);
        SortedStore sorted({texts, RandomModel(DataTypeInt, rows, random)}, rows);
        ASSERT_NO_FATAL_FAILURE(sorted.SortAndCheck({DataSort(0, true)}));
        ASSERT_NO_FATAL_FAILURE(sorted.SortAndCheck({DataSort(0, false), DataSort(1, true)}));
        ASSERT_NO_FATAL_FAILURE(sorted.SortAndCheck({DataSort(1, true), DataSort(0, true)}));
    }
}

TEST(RowSorterTest, TextsAcrossPages) {
    std::mt19937 random(8);
    const int rows = 30000;
    SortedStore sorted({TextModel(Values<std::string>(rows,
                                                      [&random] {
                                                          return std::string(50 + random() % 100, 'x') +
                                                                 std::to_string(random() % 1000000);
                                                      })),
                        TextModel(Values<std::string>(rows, [&random] { return std::to_string(random()); }))},
                       rows);
    sorted.SortAndCheck({DataSort(0, true)});
    sorted.SortAndCheck({DataSort(1, false)});
}

TEST(RowSorterTest, NotANumberIsLowest) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(Columns({DataTypeDouble}), ResultSetNormal);
    const double values[] = {1, std::nan(""), -1e300, std::nan(""), 0};
    for (const double value : values)
        store.InsertDouble(0, 0, value);
    store.Sort(0, {DataSort(0, true)}, nullptr, 0);
    EXPECT_EQ((std::vector<int>{1, 3, 2, 4, 0}), PhysicalRows(store));
    // By comparison, where such a value contradicts itself, all rows are still there.
    store.Sort(0, {DataSort(0, true)}, nullptr, 1);
    std::vector<int> rows = PhysicalRows(store);
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ((std::vector<int>{0, 1, 2, 3, 4}), rows);
}

TEST(RowSorterTest, ComparisonThatContradictsItselfKeepsAllRows) {
    std::mt19937 random(9);
    std::vector<std::string> texts;
    for (int row = 0; row < 5000; ++row) {
        std::string text(random() % 6, ' ');
        for (char& byte : text)
            byte = "aA01"[random() % 4];
        texts.push_back(text);
    }
    DataStorage store = TextStore(texts);
    store.Sort(0, {DataSort(0, true)}, nullptr, 1);
    std::vector<int> rows = PhysicalRows(store);
    std::sort(rows.begin(), rows.end());
    for (int row = 0; row < 5000; ++row)
        ASSERT_EQ(row, rows[static_cast<std::size_t>(row)]);
}

TEST(RowSorterTest, OptionSortIsStable) {
    std::mt19937 random(10);
    Model model = RandomModel(DataTypeInt, 3000, random);
    model.nulls = RandomNulls(3000, 7, random);
    SortedStore sorted({model}, 3000);
    std::vector<int> expected(3000);
    std::iota(expected.begin(), expected.end(), 0);
    const std::vector<DataSort> keys = {DataSort(0, false)};
    std::stable_sort(expected.begin(), expected.end(),
                     [&](int a, int b) { return sorted.Compare(keys, a, b) < 0; });
    sorted.store.Sort(0, keys, nullptr, 1);
    EXPECT_EQ(expected, PhysicalRows(sorted.store));
}

TEST(RowSorterTest, RefusedMemoryLeavesTheOrderAsItWas) {
    for (const int option : {0, 1}) {
        std::mt19937 random(11);
        std::vector<std::string> texts;
        for (int row = 0; row < 500; ++row)
            texts.push_back(std::string(90, 's') + std::to_string(random() % 20));
        DataStorage store = TextStore(texts);
        store.Sort(0, {}, nullptr, 0);
        bool refused = true;
        for (int n = 0; refused; ++n) {
            refused = false;
            try {
                const RefusedMemory memory(n);
                store.Sort(0, {DataSort(0, true)}, nullptr, option);
            } catch (const std::bad_alloc&) {
                refused = true;
            }
            const std::vector<int> rows = PhysicalRows(store);
            ASSERT_EQ(500U, rows.size());
            ASSERT_EQ(refused, std::is_sorted(rows.begin(), rows.end())) << n;
            ASSERT_EQ(refused, !store.IsSorted(0)) << n;
            ASSERT_LT(n, 10000);
        }
    }
}

}  // namespace
}  // namespace qxdbsqlengine
