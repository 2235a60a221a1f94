// The DLL as a COM server: class factories, start-up in each apartment, release, unloading.
#include <gmock/gmock.h>

#include <thread>

#include "tests/win/support/Library.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

class ServerTest : public LibraryTest {};

TEST_F(ServerTest, FactoriesServeTheKnownClassesOnly) {
    ComPtr<IClassFactory> factory;
    void* poison = this;
    EXPECT_EQ(library.GetClassObject(__uuidof(ZNLocale), IID_IClassFactory, &poison),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(poison, nullptr);
    EXPECT_EQ(library.GetClassObject(__uuidof(clsCmdLine), IID_IClassFactory, nullptr), E_POINTER);
    poison = this;
    EXPECT_EQ(library.GetClassObject(__uuidof(clsCmdLine), IID_IPersist, &poison), E_NOINTERFACE);
    EXPECT_EQ(poison, nullptr);

    ASSERT_EQ(library.GetClassObject(__uuidof(clsCmdLine), IID_PPV_ARGS(&factory)), S_OK);
    poison = this;
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &poison), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(poison, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IPersist, &poison), E_NOINTERFACE);
}

TEST_F(ServerTest, EachInterfaceOfAnObjectLeadsToEachOther) {
    const auto first = Create<clsXCOPYSndRcv, IUnknown>();
    const IID ids[] = {IID_IUnknown,
                       IID_IDispatch,
                       __uuidof(_clsXCOPYSndRcv),
                       __uuidof(IZNSenderReceiver),
                       __uuidof(IZNSenderReceiver2),
                       __uuidof(IZNMobileAdminProperties),
                       __uuidof(IZNMobileAdminPropertiesEx),
                       __uuidof(IZNRegInCat),
                       IID_ISupportErrorInfo};
    for (const IID& from : ids) {
        ComPtr<IUnknown> face;
        ASSERT_EQ(first->QueryInterface(from, reinterpret_cast<void**>(face.ReleaseAndGetAddressOf())), S_OK);
        for (const IID& to : ids) {
            ComPtr<IUnknown> other;
            EXPECT_EQ(face->QueryInterface(to, reinterpret_cast<void**>(other.ReleaseAndGetAddressOf())),
                      S_OK);
        }
        ComPtr<IUnknown> identity;
        face.CopyTo(IID_IUnknown, reinterpret_cast<void**>(identity.ReleaseAndGetAddressOf()));
        EXPECT_EQ(identity.Get(), first.Get());
    }
    EXPECT_EQ(first->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ServerTest, StartUpNamesTheToolOnce) {
    const auto transporter = Create<clsTransporter, IZNTransporter>();
    EXPECT_EQ(framework.title, L"library_tests");
    framework.title.clear();
    const auto second = Create<clsCmdLine, IUnknown>();
    EXPECT_EQ(framework.title, L"");

    LONG count = -1;
    EXPECT_EQ(transporter->ResetLocalSendFiles(com::Bstr(L"").Get(), &count), S_OK);
    EXPECT_EQ(count, 0);
    ASSERT_EQ(framework.log.size(), 1u);
    EXPECT_EQ(framework.log[0].text,
              L"Test Tool:\r\nclsTransporter.cls.IZNTransporter_ResetLocalSendFiles\r\n"
              L"SenderReceiver object has not been set");
    EXPECT_EQ(framework.log[0].type, ZN_EVENTLOG_ERROR_TYPE);
}

TEST_F(ServerTest, AFailedStartUpReachesTheHostAndIsTriedAgain) {
    framework.Remove(__uuidof(ZNStartup));
    void* object = &framework;
    EXPECT_TRUE(FAILED(library.TryCreate(__uuidof(clsCmdLine), IID_IUnknown, &object)));
    EXPECT_EQ(object, nullptr);
    ComPtr<IErrorInfo> info;
    ASSERT_EQ(GetErrorInfo(0, &info), S_OK);
    com::Bstr description;
    info->GetDescription(description.Put());
    EXPECT_EQ(description.Text().find(L"modZNStartup::znMain\r\n"), 0u);
    EXPECT_THAT(description.Text(), testing::HasSubstr(com::Text(__uuidof(ZNStartup))));
    ASSERT_EQ(framework.log.size(), 1u);
    EXPECT_EQ(framework.log[0].text, L"library_tests:\r\n" + description.Text());

    framework.Remove(__uuidof(ZNEventLog));
    EXPECT_TRUE(FAILED(library.TryCreate(__uuidof(clsCmdLine), IID_IUnknown, &object)));
}

TEST_F(ServerTest, CanUnloadOnceNothingIsLeft) {
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
    {
        const auto object = Create<clsCmdLine, IUnknown>();
        EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
    }
    EXPECT_GT(framework.objects, 0);
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
    EXPECT_EQ(framework.objects, 0);

    ComPtr<IClassFactory> factory;
    ASSERT_EQ(library.GetClassObject(__uuidof(clsCmdLine), IID_PPV_ARGS(&factory)), S_OK);
    factory->LockServer(TRUE);
    EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
    factory->LockServer(FALSE);
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(Apartment, ReleasesTheFrameworkBeforeComIsGone) {
    const Library library;
    long left = -1;
    std::thread([&] {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        Framework framework;
        library.Create<clsCmdLine, IUnknown>();
        EXPECT_GT(framework.objects, 0);
        CoUninitialize();
        left = framework.objects;
    }).join();
    EXPECT_EQ(left, 0);
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(Apartment, AnotherThreadKeepsTheLibraryLoaded) {
    const Library library;
    const ComApartment here;
    const Framework framework;
    HANDLE created = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE leave = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread other([&] {
        const ComApartment apartment;
        const Framework own;
        library.Create<clsCmdLine, IUnknown>();
        SetEvent(created);
        WaitForSingleObject(leave, INFINITE);
    });
    WaitForSingleObject(created, INFINITE);
    EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
    SetEvent(leave);
    other.join();
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
    CloseHandle(created);
    CloseHandle(leave);
}

TEST(Apartment, AnObjectThatOutlivesComIsHarmless) {
    const Library library;
    ComPtr<IZNTransporter> transporter;
    {
        const ComApartment apartment;
        const Framework framework;
        transporter = library.Create<clsTransporter, IZNTransporter>();
        transporter->putref_SenderReceiver(library.Create<clsXCOPYSndRcv, IZNSenderReceiver>().Get());
    }
    transporter.Reset();
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

}  // namespace
}  // namespace tests
