#include "platform/os/component.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/qxparser/script_parser.h"

namespace {

constexpr CLSID testClass{0x12345678, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr IID otherInterface{0x12345678, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 9}};

class ICounter : public IUnknown {
  public:
    static constexpr IID Iid{0x22222222, 0x3333, 0x4444, {8, 7, 6, 5, 4, 3, 2, 1}};
    virtual int Count() = 0;

  protected:
    ~ICounter() = default;
};

std::atomic<int> living{0};

class Counter final : public qxos::ComponentObject<ICounter, &IID_IUnknown, &ICounter::Iid> {
  public:
    Counter() { ++living; }
    ~Counter() override { --living; }
    int Count() override { return ++count; }

  private:
    int count = 0;
};

class ComponentTest : public ::testing::Test {
  protected:
    ~ComponentTest() override {
        qxos::UnregisterComponent(testClass);
        EXPECT_EQ(living, 0);
    }
    static void Register() {
        qxos::RegisterComponent(
            testClass, [](REFIID iid, void** object) { return qxos::MakeComponent<Counter>(iid, object); });
    }
};

TEST_F(ComponentTest, IdsCompareByAllOfTheirParts) {
    EXPECT_TRUE(testClass == testClass);
    EXPECT_FALSE(testClass != testClass);
    const GUID variants[] = {
        {0x12345679, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}},
        {0x12345678, 0x1235, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}},
        {0x12345678, 0x1234, 0x5679, {1, 2, 3, 4, 5, 6, 7, 8}},
        {0x12345678, 0x1234, 0x5678, {0, 2, 3, 4, 5, 6, 7, 8}},
        {0x12345678, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 9}},
    };
    for (const GUID& variant : variants) {
        EXPECT_FALSE(testClass == variant);
        EXPECT_TRUE(testClass != variant);
    }
}

// What other programs know these by.
TEST_F(ComponentTest, IdsOfTheScriptParser) {
    const auto same = [](const GUID& id, unsigned int a, unsigned short b, unsigned short c,
                         const unsigned char(&d)[8]) {
        bool equal = id.Data1 == a && id.Data2 == b && id.Data3 == c;
        for (int i = 0; i < 8; ++i)
            equal = equal && id.Data4[i] == d[i];
        return equal;
    };
    EXPECT_TRUE(same(CLSID_QXScriptParserFactory, 0xF6E1AD6E, 0x4EAA, 0x469B,
                     {0x9F, 0xAD, 0xB0, 0xBF, 0x59, 0x71, 0x84, 0xA4}));
    EXPECT_TRUE(same(IQXScriptParserFactory::Iid, 0x6DD1D615, 0x8FE3, 0x4F50,
                     {0xA1, 0x17, 0x49, 0x47, 0xAC, 0x7C, 0x9C, 0x8E}));
    EXPECT_TRUE(same(IQXBatchProcessorSink::Iid, 0x2FA94896, 0x9705, 0x4C20,
                     {0x84, 0x68, 0xEB, 0x80, 0x73, 0xD5, 0xA6, 0xF6}));
    EXPECT_TRUE(same(IID_IUnknown, 0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}));
    EXPECT_TRUE(same(IID_IDispatch, 0x20400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}));
}

TEST_F(ComponentTest, UnregisteredClass) {
    void* object = &object;
    EXPECT_EQ(qxos::CreateComponent(testClass, ICounter::Iid, &object), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(qxos::CreateComponent(testClass, ICounter::Iid, nullptr), E_POINTER);
    EXPECT_FALSE(qxos::UnregisterComponent(testClass));
}

TEST_F(ComponentTest, ObjectLivesWithItsReferences) {
    Register();
    qxos::ComponentPtr<ICounter> first;
    ASSERT_EQ(qxos::CreateComponent(testClass, ICounter::Iid, reinterpret_cast<void**>(first.Receive())),
              S_OK);
    ASSERT_TRUE(first);
    EXPECT_EQ(living, 1);
    EXPECT_EQ(first->Count(), 1);
    EXPECT_EQ(first->AddRef(), 2U);
    EXPECT_EQ(first->Release(), 1U);

    void* unknown = nullptr;
    EXPECT_EQ(first->QueryInterface(IID_IUnknown, &unknown), S_OK);
    EXPECT_EQ(unknown, static_cast<IUnknown*>(first.Get()));
    EXPECT_EQ(first->Release(), 1U);
    EXPECT_EQ(first->QueryInterface(otherInterface, &unknown), E_NOINTERFACE);
    EXPECT_EQ(unknown, nullptr);
    EXPECT_EQ(first->QueryInterface(IID_IUnknown, nullptr), E_POINTER);

    // It lives on without its class.
    EXPECT_TRUE(qxos::UnregisterComponent(testClass));
    EXPECT_EQ(first->Count(), 2);
    first.Reset();
    EXPECT_FALSE(first);
    EXPECT_EQ(living, 0);
}

TEST_F(ComponentTest, UnknownInterfaceLeavesNoObject) {
    Register();
    void* object = &object;
    EXPECT_EQ(qxos::CreateComponent(testClass, otherInterface, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(living, 0);
}

TEST_F(ComponentTest, ReceivingDropsThePresentReference) {
    Register();
    qxos::ComponentPtr<ICounter> pointer;
    for (int i = 0; i < 3; ++i) {
        qxos::CreateComponent(testClass, ICounter::Iid, reinterpret_cast<void**>(pointer.Receive()));
        EXPECT_EQ(living, 1);
    }
}

TEST_F(ComponentTest, SecondRegistrationTakesThePlaceOfTheFirst) {
    Register();
    qxos::RegisterComponent(testClass, [](REFIID, void**) { return E_OUTOFMEMORY; });
    void* object = nullptr;
    EXPECT_EQ(qxos::CreateComponent(testClass, ICounter::Iid, &object), E_OUTOFMEMORY);
    EXPECT_TRUE(qxos::UnregisterComponent(testClass));
    EXPECT_EQ(qxos::CreateComponent(testClass, ICounter::Iid, &object), REGDB_E_CLASSNOTREG);
}

TEST_F(ComponentTest, WhatAFactoryThrowsLeavesAndFactoriesMayMakeComponents) {
    qxos::RegisterComponent(testClass, [](REFIID, void**) -> HRESULT { throw std::runtime_error("x"); });
    void* object = nullptr;
    EXPECT_THROW(qxos::CreateComponent(testClass, ICounter::Iid, &object), std::runtime_error);
    qxos::RegisterComponent(testClass, [](REFIID iid, void** made) {
        qxos::UnregisterComponent(testClass);
        return qxos::CreateComponent(testClass, iid, made);
    });
    EXPECT_EQ(qxos::CreateComponent(testClass, ICounter::Iid, &object), REGDB_E_CLASSNOTREG);
}

TEST_F(ComponentTest, CreationNeedsAnInitialisedThread) {
    Register();
    std::thread([] {
        qxos::ComponentPtr<ICounter> pointer;
        const auto create = [&pointer] {
            return CoCreateInstance(testClass, nullptr, CLSCTX_ALL, ICounter::Iid,
                                    reinterpret_cast<void**>(pointer.Receive()));
        };
        EXPECT_EQ(create(), CO_E_NOTINITIALIZED);
        EXPECT_EQ(CoInitialize(nullptr), S_OK);
        EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
        EXPECT_EQ(create(), S_OK);
        CoUninitialize();
        EXPECT_EQ(create(), S_OK);
        CoUninitialize();
        EXPECT_EQ(create(), CO_E_NOTINITIALIZED);
        CoUninitialize();
        EXPECT_EQ(CoInitialize(nullptr), S_OK);
        CoUninitialize();
    }).join();
}

TEST_F(ComponentTest, RefusedArgumentsOfCreation) {
    Register();
    CoInitialize(nullptr);
    Counter outer;
    void* object = &object;
    EXPECT_EQ(CoCreateInstance(testClass, &outer, CLSCTX_ALL, ICounter::Iid, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(CoCreateInstance(testClass, nullptr, CLSCTX_ALL, ICounter::Iid, nullptr), E_POINTER);
    CoUninitialize();
}

TEST_F(ComponentTest, ManyThreadsMakeAndRegister) {
    Register();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 500; ++i) {
                qxos::ComponentPtr<ICounter> pointer;
                EXPECT_EQ(qxos::CreateComponent(testClass, ICounter::Iid,
                                                reinterpret_cast<void**>(pointer.Receive())),
                          S_OK);
                if (i % 100 == 0)
                    Register();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ComponentErrorTextTest, IsTakenOnceAndBelongsToItsThread) {
    EXPECT_EQ(qxos::TakeComponentErrorText(), "");
    qxos::SetComponentErrorText("first");
    qxos::SetComponentErrorText("second");
    std::thread([] { EXPECT_EQ(qxos::TakeComponentErrorText(), ""); }).join();
    EXPECT_EQ(qxos::TakeComponentErrorText(), "second");
    EXPECT_EQ(qxos::TakeComponentErrorText(), "");
}

TEST(ComponentPtrTest, WhatReleaseThrowsIsDropped) {
    class Throwing final : public IUnknown {
      public:
        HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
        ULONG AddRef() override { return 1; }
        ULONG Release() override { throw std::runtime_error("released"); }
    };
    Throwing object;
    {
        qxos::ComponentPtr<IUnknown> pointer;
        *pointer.Receive() = &object;
        pointer.Reset();
        EXPECT_FALSE(pointer);
        *pointer.Receive() = &object;
    }
}

TEST(BstrTest, KeepsItsLength) {
    BSTR text = SysAllocStringLen(L"a\0b", 3);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(SysStringLen(text), 3U);
    EXPECT_EQ(std::wstring(text, 4), std::wstring(L"a\0b\0", 4));
    SysFreeString(text);

    text = SysAllocStringLen(nullptr, 5);
    EXPECT_EQ(SysStringLen(text), 5U);
    EXPECT_EQ(text[5], L'\0');
    SysFreeString(text);

    text = SysAllocStringLen(L"", 0);
    EXPECT_EQ(SysStringLen(text), 0U);
    EXPECT_STREQ(text, L"");
    SysFreeString(text);

    EXPECT_EQ(SysStringLen(nullptr), 0U);
    SysFreeString(nullptr);
}

}  // namespace
