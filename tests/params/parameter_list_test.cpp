#include "params/parameter_list.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/qxutils/qx_exception.h"

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxdbsqlengine::Parameter;
using qxdbsqlengine::ParameterList;

Parameter Named(const std::string& name, int value = 0) {
    Parameter parameter(name, Column::BindInt, DataType::DirectionIn, 0, 0);
    parameter.Set(value);
    return parameter;
}

std::string NamesOf(const ParameterList& list) {
    std::string names;
    for (unsigned int i = 0; i < list.GetParameterCount(); ++i)
        names += list[i].GetName() + ";";
    return names;
}

std::string FailureOfPush(ParameterList& list, const std::string& name) {
    Parameter parameter = Named(name);
    try {
        list.PushBack(parameter);
    } catch (const qxutils::QXException& e) {
        return e.what();
    }
    return "";
}

TEST(ParameterList, ANewOneIsEmptyAndBindsByOrdinal) {
    const ParameterList list;
    EXPECT_EQ(list.GetParameterCount(), 0U);
    EXPECT_EQ(list.GetBindMethod(), ParameterList::BindByOrdinal);
    EXPECT_FALSE(list.GetForceBindByOrdinal());
    EXPECT_EQ(static_cast<int>(ParameterList::BindByOrdinal), 0);
    EXPECT_EQ(static_cast<int>(ParameterList::BindByName), 1);
}

TEST(ParameterList, ByOrdinalNamesAreNotChecked) {
    ParameterList list;
    EXPECT_EQ(FailureOfPush(list, ""), "");
    EXPECT_EQ(FailureOfPush(list, "a"), "");
    EXPECT_EQ(FailureOfPush(list, "a"), "");
    EXPECT_EQ(FailureOfPush(list, ""), "");
    EXPECT_EQ(NamesOf(list), ";a;a;;");
}

TEST(ParameterList, ByNameNamesAreMandatoryAndUnique) {
    ParameterList list;
    list.SetBindMethod(ParameterList::BindByName);
    EXPECT_EQ(FailureOfPush(list, "a"), "");
    EXPECT_EQ(FailureOfPush(list, ""), "Name is mandatory for binding by name");
    EXPECT_EQ(FailureOfPush(list, "a"), "Duplicated paramter name");
    EXPECT_EQ(NamesOf(list), "a;");
    EXPECT_EQ(FailureOfPush(list, "A"), "");
    EXPECT_EQ(FailureOfPush(list, "b"), "");
    EXPECT_EQ(FailureOfPush(list, "b"), "Duplicated paramter name");
    EXPECT_EQ(NamesOf(list), "a;A;b;");
}

TEST(ParameterList, SwitchingToNamesDoesNotCheckWhatIsThere) {
    ParameterList list;
    list.PushBack(Named("a"));
    list.PushBack(Named("a"));
    list.SetBindMethod(ParameterList::BindByName);
    EXPECT_EQ(list.GetBindMethod(), ParameterList::BindByName);
    EXPECT_EQ(NamesOf(list), "a;a;");
    EXPECT_EQ(FailureOfPush(list, "a"), "Duplicated paramter name");
}

TEST(ParameterList, BindingByNameEndsTheForcedOrdinal) {
    ParameterList list;
    list.SetForceBindByOrdinal(true);
    EXPECT_TRUE(list.GetForceBindByOrdinal());
    list.SetBindMethod(ParameterList::BindByOrdinal);
    EXPECT_TRUE(list.GetForceBindByOrdinal());
    list.SetBindMethod(ParameterList::BindByName);
    EXPECT_FALSE(list.GetForceBindByOrdinal());
    list.SetForceBindByOrdinal(true);
    EXPECT_TRUE(list.GetForceBindByOrdinal());
    EXPECT_EQ(list.GetBindMethod(), ParameterList::BindByName);
}

TEST(ParameterList, ElementsAreCopies) {
    ParameterList list;
    Parameter parameter = Named("a", 1);
    list.PushBack(parameter);
    parameter.Set(2);
    EXPECT_EQ(list[0].AsInt(), 1);
    list.GetParameter(0).Set(3);
    EXPECT_EQ(list[0].AsInt(), 3);
    EXPECT_EQ(parameter.AsInt(), 2);
}

TEST(ParameterList, PositionsCountFromTheStart) {
    ParameterList list;
    for (int i = 0; i < 5; ++i)
        list.PushBack(Named(std::to_string(i), i * 10));
    const ParameterList& constant = list;
    for (unsigned int i = 0; i < 5; ++i) {
        EXPECT_EQ(list[i].AsInt(), static_cast<int>(i) * 10);
        EXPECT_EQ(&list[i], &list.GetParameter(i));
        EXPECT_EQ(&constant[i], &constant.GetParameter(i));
        EXPECT_EQ(&constant[i], &list[i]);
    }
}

TEST(ParameterList, AddressesStayWhileOthersComeAndGo) {
    ParameterList list;
    list.PushBack(Named("a", 1));
    const void* item = list[0].GetItemPtr();
    for (int i = 0; i < 100; ++i)
        list.PushBack(Named("b", i));
    list.RemoveBack();
    EXPECT_EQ(list[0].GetItemPtr(), item);
}

TEST(ParameterList, RemoveBackTakesTheLast) {
    ParameterList list;
    list.PushBack(Named("a"));
    list.PushBack(Named("b"));
    list.RemoveBack();
    EXPECT_EQ(NamesOf(list), "a;");
}

TEST(ParameterList, ClearKeepsTheBindMethodAndTheForcedOrdinal) {
    ParameterList list;
    list.SetBindMethod(ParameterList::BindByName);
    list.SetForceBindByOrdinal(true);
    list.PushBack(Named("a"));
    list.Clear();
    EXPECT_EQ(list.GetParameterCount(), 0U);
    EXPECT_EQ(list.GetBindMethod(), ParameterList::BindByName);
    EXPECT_TRUE(list.GetForceBindByOrdinal());
    EXPECT_EQ(FailureOfPush(list, "a"), "");
}

TEST(ParameterList, CopiesTakeElementsAndMethodButNotTheForcedOrdinal) {
    ParameterList list;
    list.PushBack(Named("a", 1));
    list.PushBack(Named("b", 2));
    list.SetBindMethod(ParameterList::BindByName);
    list.SetForceBindByOrdinal(true);
    const ParameterList copy(list);
    EXPECT_EQ(NamesOf(copy), "a;b;");
    EXPECT_EQ(copy[1].AsInt(), 2);
    EXPECT_EQ(copy.GetBindMethod(), ParameterList::BindByName);
    EXPECT_FALSE(copy.GetForceBindByOrdinal());
    EXPECT_NE(copy[0].AsString(), "");

    ParameterList assigned;
    assigned.PushBack(Parameter("old", Column::BindString, DataType::DirectionOut, 0, 0));
    assigned.SetForceBindByOrdinal(true);
    assigned = list;
    EXPECT_EQ(NamesOf(assigned), "a;b;");
    EXPECT_EQ(assigned[0].GetType(), Column::BindInt);
    EXPECT_EQ(assigned[0].GetDirection(), DataType::DirectionIn);
    EXPECT_EQ(assigned.GetBindMethod(), ParameterList::BindByName);
    EXPECT_TRUE(assigned.GetForceBindByOrdinal());
    list.GetParameter(0).Set(9);
    EXPECT_EQ(assigned[0].AsInt(), 1);
}

TEST(ParameterList, AssigningToItselfDoesNothing) {
    ParameterList list;
    list.PushBack(Named("a", 1));
    const ParameterList& alias = list;
    list = alias;
    EXPECT_EQ(NamesOf(list), "a;");
}

}  // namespace
