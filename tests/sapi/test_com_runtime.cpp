// The COM and Win32 behaviour the back end and its tests rely on. On
// Windows this is the system's own; elsewhere the stand-in must match it.

#include <gtest/gtest.h>

#include <thread>

#include "com_memory.h"
#include "fake_class_factory.h"
#include "fake_result.h"

namespace {

// A class id no system registers.
const CLSID kUnknownClass = {0x6b1c0f42, 0x5a1e, 0x4c9b, {0x9d, 0x0e, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66}};

}  // namespace

TEST(ComRuntime, CreationNeedsComOnTheCallingThread)
{
    IUnknown* object = reinterpret_cast<IUnknown*>(0x1);
    EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_ALL, IID_IUnknown, reinterpret_cast<void**>(&object)),
              CO_E_NOTINITIALIZED);
    EXPECT_EQ(object, nullptr);
}

TEST(ComRuntime, UnregisteredClassIsNotRegistered)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    IUnknown* object = nullptr;
    EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_ALL, IID_IUnknown, reinterpret_cast<void**>(&object)),
              REGDB_E_CLASSNOTREG);
    CoUninitialize();
}

TEST(ComRuntime, RegisteredClassObjectCreatesInstancesUntilRevoked)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    auto* factory = new SapiFakes::FakeClassFactory("Test", []() -> IUnknown* {
        return static_cast<ISpRecoResult*>(new SapiFakes::FakeResult({}));
    });
    DWORD cookie = 0;
    ASSERT_EQ(CoRegisterClassObject(kUnknownClass, static_cast<IClassFactory*>(factory), CLSCTX_INPROC_SERVER,
                                    REGCLS_MULTIPLEUSE, &cookie),
              S_OK);
    EXPECT_EQ(factory->references(), 2u);

    ISpRecoResult* result = nullptr;
    EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_ALL, IID_ISpRecoResult, reinterpret_cast<void**>(&result)),
              S_OK);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(SapiFakes::liveObjects(), 1);
    result->Release();
    EXPECT_EQ(SapiFakes::liveObjects(), 0);

    IUnknown* wrong = nullptr;
    EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_ALL, IID_ISpRecognizer, reinterpret_cast<void**>(&wrong)),
              E_NOINTERFACE);

    EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
    EXPECT_EQ(factory->references(), 1u);
    IUnknown* none = nullptr;
    EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_ALL, IID_IUnknown, reinterpret_cast<void**>(&none)),
              REGDB_E_CLASSNOTREG);
    factory->Release();
    CoUninitialize();
}

TEST(ComRuntime, SecondInitialisationOfAThreadAnswersFalse)
{
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    CoUninitialize();
    CoUninitialize();
}

TEST(ComRuntime, TaskMemoryIsCountedUntilFreed)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    {
        SapiFakes::TaskMemoryWatch watch;
        void* block = CoTaskMemAlloc(16);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(watch.blocksInUse(), 1u);
        CoTaskMemFree(block);
        EXPECT_EQ(watch.blocksInUse(), 0u);
        CoTaskMemFree(nullptr);
    }
    CoUninitialize();
}

TEST(ComRuntime, AutoResetEventIsConsumedByOneWait)
{
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(SetEvent(event));
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(CloseHandle(event));
}

TEST(ComRuntime, ManualResetEventStaysSetUntilReset)
{
    HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    CloseHandle(event);
}

TEST(ComRuntime, WaitEndsWhenAnotherThreadSetsTheEvent)
{
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::thread setter([event]() { SetEvent(event); });
    EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
    setter.join();
    CloseHandle(event);
}

TEST(ComRuntime, VariantHoldsAFourByteInteger)
{
    VARIANT value;
    VariantInit(&value);
    EXPECT_EQ(value.vt, VT_EMPTY);
    value.vt = VT_I4;
    value.lVal = -7;
    EXPECT_EQ(value.lVal, -7);
    EXPECT_EQ(VariantClear(&value), S_OK);
    EXPECT_EQ(value.vt, VT_EMPTY);
}
