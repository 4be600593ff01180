#include "platform/os/variant.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>

#include "platform/os/com_error.h"

namespace {

std::string Text(const _variant_t& value) {
    return static_cast<const char*>(static_cast<_bstr_t>(value));
}

HRESULT FailureOf(const _variant_t& value, VARTYPE type) {
    _variant_t changed(value);
    try {
        changed.ChangeType(type);
    } catch (const _com_error& failure) {
        EXPECT_EQ(changed.vt, value.vt);
        return failure.Error();
    }
    return S_OK;
}

TEST(BstrTest, NarrowAndWide) {
    const _bstr_t text(
        "\xC3\xBC"
        "1");
    EXPECT_STREQ(static_cast<const wchar_t*>(text), L"\u00FC1");
    EXPECT_EQ(text.length(), 2u);
    const _bstr_t wide(L"\u00FC1");
    EXPECT_STREQ(static_cast<const char*>(wide),
                 "\xC3\xBC"
                 "1");
    EXPECT_TRUE(text == wide);
}

TEST(BstrTest, NoText) {
    const _bstr_t none;
    EXPECT_EQ(static_cast<const char*>(none), nullptr);
    EXPECT_EQ(static_cast<const wchar_t*>(none), nullptr);
    EXPECT_EQ(none.length(), 0u);
    EXPECT_TRUE(none == _bstr_t(""));
    EXPECT_EQ(static_cast<const char*>(_bstr_t(static_cast<const char*>(nullptr))), nullptr);
    EXPECT_FALSE(none < _bstr_t(""));
    EXPECT_TRUE(none < _bstr_t("a"));
}

TEST(BstrTest, ComparesAndJoins) {
    EXPECT_TRUE(_bstr_t("a") < _bstr_t("b"));
    EXPECT_FALSE(_bstr_t("b") < _bstr_t("a"));
    EXPECT_TRUE(_bstr_t("a") != _bstr_t("A"));
    _bstr_t text = _bstr_t("select ") + _bstr_t("1");
    EXPECT_STREQ(static_cast<const char*>(text), "select 1");
    text += _bstr_t();
    EXPECT_STREQ(static_cast<const char*>(text), "select 1");
    EXPECT_STREQ(static_cast<const char*>(_bstr_t() + _bstr_t("x")), "x");
}

TEST(VariantTest, TypesOfTheConstructors) {
    EXPECT_EQ(_variant_t().vt, VT_EMPTY);
    EXPECT_EQ(_variant_t(true).vt, VT_BOOL);
    EXPECT_EQ(_variant_t(5L).vt, VT_I4);
    EXPECT_EQ(_variant_t(5).vt, VT_INT);
    EXPECT_EQ(_variant_t(5, VT_I4).vt, VT_I4);
    EXPECT_EQ(_variant_t(1.5).vt, VT_R8);
    EXPECT_EQ(_variant_t("x").vt, VT_BSTR);
    EXPECT_EQ(_variant_t(L"x").vt, VT_BSTR);
    EXPECT_EQ(_variant_t(_bstr_t("x")).vt, VT_BSTR);
    EXPECT_THROW(_variant_t(5, VT_BSTR), _com_error);
    EXPECT_EQ(VT_EMPTY, 0);
    EXPECT_EQ(VT_I4, 3);
    EXPECT_EQ(VT_R8, 5);
    EXPECT_EQ(VT_BSTR, 8);
    EXPECT_EQ(VT_BOOL, 11);
    EXPECT_EQ(VT_INT, 22);
}

struct ReadCase {
    _variant_t value;
    bool asBool;
    int asInt;
    double asDouble;
    const char* asText;
};

class ReadTest : public testing::TestWithParam<ReadCase> {};

TEST_P(ReadTest, ConvertsToEachType) {
    const ReadCase& c = GetParam();
    EXPECT_EQ(static_cast<bool>(c.value), c.asBool);
    EXPECT_EQ(static_cast<int>(c.value), c.asInt);
    EXPECT_EQ(static_cast<long>(c.value), c.asInt);
    EXPECT_EQ(static_cast<double>(c.value), c.asDouble);
    EXPECT_EQ(Text(c.value), c.asText);
}

INSTANTIATE_TEST_SUITE_P(Values, ReadTest,
                         testing::Values(ReadCase{_variant_t(), false, 0, 0.0, ""},
                                         ReadCase{_variant_t(true), true, -1, -1.0, "-1"},
                                         ReadCase{_variant_t(false), false, 0, 0.0, "0"},
                                         ReadCase{_variant_t(7), true, 7, 7.0, "7"},
                                         ReadCase{_variant_t(-3L), true, -3, -3.0, "-3"},
                                         ReadCase{_variant_t("12"), true, 12, 12.0, "12"},
                                         ReadCase{_variant_t(" 12 "), true, 12, 12.0, " 12 "},
                                         ReadCase{_variant_t("+4"), true, 4, 4.0, "+4"},
                                         ReadCase{_variant_t("0"), false, 0, 0.0, "0"}));

TEST(VariantTest, RoundsHalvesToEven) {
    EXPECT_EQ(static_cast<int>(_variant_t(2.5)), 2);
    EXPECT_EQ(static_cast<int>(_variant_t(3.5)), 4);
    EXPECT_EQ(static_cast<int>(_variant_t("-2.5")), -2);
    EXPECT_EQ(Text(_variant_t(0.1)), "0.1");
    EXPECT_EQ(Text(_variant_t(1e20)), "1e+20");
    EXPECT_TRUE(static_cast<bool>(_variant_t(0.25)));
}

TEST(VariantTest, ReadsBoolTexts) {
    EXPECT_TRUE(static_cast<bool>(_variant_t("True")));
    EXPECT_FALSE(static_cast<bool>(_variant_t("FALSE")));
    EXPECT_TRUE(static_cast<bool>(_variant_t("2")));
}

TEST(VariantTest, RefusesWhatHasNoMeaning) {
    EXPECT_EQ(FailureOf(_variant_t("abc"), VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(FailureOf(_variant_t("12x"), VT_R8), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(FailureOf(_variant_t(""), VT_INT), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(FailureOf(_variant_t("maybe"), VT_BOOL), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(FailureOf(_variant_t("1e999"), VT_R8), DISP_E_OVERFLOW);
    EXPECT_EQ(FailureOf(_variant_t(1e300), VT_I4), DISP_E_OVERFLOW);
    EXPECT_EQ(FailureOf(_variant_t(std::numeric_limits<double>::quiet_NaN()), VT_I4), DISP_E_OVERFLOW);
    EXPECT_EQ(FailureOf(_variant_t(1e10), VT_INT), DISP_E_OVERFLOW);
    EXPECT_EQ(FailureOf(_variant_t(1), 99), DISP_E_TYPEMISMATCH);
}

TEST(VariantTest, LongIsStoredWhole) {
    const long big = std::numeric_limits<long>::max();
    EXPECT_EQ(static_cast<long>(_variant_t(big)), big);
    EXPECT_EQ(Text(_variant_t(big)), std::to_string(big));
    if (sizeof(long) > sizeof(int)) {
        EXPECT_THROW(static_cast<void>(static_cast<int>(_variant_t(big))), _com_error);
    }
}

TEST(VariantTest, ChangesInPlace) {
    _variant_t value("42");
    value.ChangeType(VT_I4);
    EXPECT_TRUE(value == _variant_t(42L));
    value.ChangeType(VT_INT);
    EXPECT_TRUE(value == _variant_t(42));
    value.ChangeType(VT_R8);
    EXPECT_TRUE(value == _variant_t(42.0));
    value.ChangeType(VT_BOOL);
    EXPECT_TRUE(value == _variant_t(true));
    value.ChangeType(VT_BSTR);
    EXPECT_TRUE(value == _variant_t("-1"));
    value.ChangeType(VT_EMPTY);
    EXPECT_TRUE(value == _variant_t());
    value = _variant_t("x");
    value.Clear();
    EXPECT_EQ(value.vt, VT_EMPTY);
}

TEST(VariantTest, EqualMeansTypeAndValue) {
    EXPECT_TRUE(_variant_t() == _variant_t());
    EXPECT_TRUE(_variant_t(1) != _variant_t(1L));
    EXPECT_TRUE(_variant_t(1) != _variant_t(2));
    EXPECT_TRUE(_variant_t("a") == _variant_t(L"a"));
    EXPECT_TRUE(_variant_t("a") != _variant_t("b"));
    EXPECT_TRUE(_variant_t(1.5) == _variant_t(1.5));
    EXPECT_TRUE(_variant_t(true) != _variant_t(false));
}

TEST(VariantTest, LivesInOptionMaps) {
    std::map<unsigned int, _variant_t> options;
    options[100] = _variant_t(true);
    options[101] = _variant_t("text");
    const std::map<unsigned int, _variant_t> copy(options);
    options.clear();
    EXPECT_TRUE(static_cast<bool>(copy.at(100)));
    EXPECT_EQ(Text(copy.at(101)), "text");
}

}  // namespace
