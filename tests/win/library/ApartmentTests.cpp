// The DLL as a COM server: class factories, identity, start-up in each apartment, release, unloading.
#include <array>
#include <future>
#include <thread>

#include "com/Object.h"
#include "tests/win/support/Library.h"

namespace tests {
namespace {

class ServerTest : public LibraryTest {};

TEST_F(ServerTest, FactoriesServeTheKnownClassesOnly) {
    auto* object = Poison();
    EXPECT_EQ(library.GetClassObject(__uuidof(ZNLocale), IID_IClassFactory, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(library.GetClassObject(__uuidof(clsCmdLine), IID_IClassFactory, nullptr), E_POINTER);
    object = Poison();
    EXPECT_EQ(library.GetClassObject(__uuidof(clsCmdLine), IID_IPersist, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);

    ComPtr<IClassFactory> factory;
    ASSERT_EQ(library.GetClassObject(__uuidof(clsCmdLine), IID_PPV_ARGS(&factory)), S_OK);
    object = Poison();
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IPersist, &object), E_NOINTERFACE);
}

TEST_F(ServerTest, EachInterfaceOfAnObjectLeadsToEachOther) {
    const auto object = Create<clsXCOPYSndRcv, IUnknown>();
    ExpectOneIdentity(object.Get(),
                      std::array{IID_IUnknown, IID_IDispatch, __uuidof(_clsXCOPYSndRcv),
                                 __uuidof(IZNSenderReceiver), __uuidof(IZNSenderReceiver2),
                                 __uuidof(IZNMobileAdminProperties), __uuidof(IZNMobileAdminPropertiesEx),
                                 __uuidof(IZNRegInCat), IID_ISupportErrorInfo});
    ComPtr<ISupportErrorInfo> errors;
    ASSERT_EQ(object.As(&errors), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(__uuidof(IZNSenderReceiver)), S_OK);
}

TEST_F(ServerTest, ObjectsOfAClassShareTheirDescription) {
    ComPtr<ITypeInfo> descriptions[2];
    for (auto& description : descriptions) {
        const auto parser = Create<clsCmdLine, _clsCmdLine>();
        UINT count = 0;
        EXPECT_EQ(parser->GetTypeInfoCount(&count), S_OK);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(parser->GetTypeInfo(1, 0, &description), DISP_E_BADINDEX);
        ASSERT_EQ(parser->GetTypeInfo(0, 0, &description), S_OK);
    }
    EXPECT_EQ(descriptions[0].Get(), descriptions[1].Get());
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(descriptions[0]->GetTypeAttr(&attributes), S_OK);
    EXPECT_TRUE(attributes->guid == __uuidof(_clsCmdLine));
    descriptions[0]->ReleaseTypeAttr(attributes);
}

TEST_F(ServerTest, StartUpNamesTheToolOnce) {
    Create<clsTransporter, IUnknown>();
    EXPECT_EQ(std::exchange(framework.title, L""), L"library_tests");
    EXPECT_EQ(framework.startUp, L"log, service, texts, entry, text 145");
    Create<clsCmdLine, IUnknown>();
    EXPECT_EQ(framework.title, L"");
}

TEST_F(ServerTest, AFailedStartUpReachesTheHostAndIsTriedAgain) {
    framework.Remove(__uuidof(ZNStartup));
    auto* object = Poison();
    const std::wstring why = WhyFailed(library.TryCreate(__uuidof(clsCmdLine), IID_IUnknown, &object));
    EXPECT_EQ(object, nullptr);
    EXPECT_THAT(why,
                AllOf(StartsWith(L"modZNStartup::znMain\r\n"), HasSubstr(com::Text(__uuidof(ZNStartup)))));
    EXPECT_THAT(framework.TakeLog(), ElementsAre(Field(&LogEntry::text, L"library_tests:\r\n" + why)));

    framework.Remove(__uuidof(ZNEventLog));
    EXPECT_EQ(library.TryCreate(__uuidof(clsCmdLine), IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
    EXPECT_THAT(framework.TakeLog(), SizeIs(1)) << "by the log that was there before";
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
    EXPECT_EQ(library.CanUnloadNow(), S_FALSE) << "the next object may come of it at any time";
    factory->LockServer(TRUE);
    factory.Reset();
    EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
    ASSERT_EQ(library.GetClassObject(__uuidof(clsCmdLine), IID_PPV_ARGS(&factory)), S_OK);
    factory->LockServer(FALSE);
    factory.Reset();
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST_F(ServerTest, AnObjectThatIsDroppedInTheMiddleOfACallStaysUntilItsEnd) {
    auto encoder = Create<clsZipEncoder, IZNEncoder>();
    HRESULT unloading = S_OK;
    framework.onLog = [&] {
        encoder.Reset();
        unloading = library.CanUnloadNow();
    };
    VARIANT_BOOL done = VARIANT_TRUE;
    EXPECT_EQ(encoder->Encode(In(L"in"), In(L"out"), In(L"x.mdb"), &done), S_OK);
    EXPECT_EQ(done, VARIANT_FALSE) << "there is no program";
    EXPECT_EQ(encoder, nullptr);
    EXPECT_EQ(unloading, S_FALSE);
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
    framework.TakeLog();
}

/// Refers to itself at its end, as by something that it releases.
class Touched final : public com::Object<IPersist> {
public:
    explicit Touched(int& ends) : m_ends(ends) {}
    ~Touched() override {
        if (++m_ends > 1) return;
        AddRef();
        Release();
    }
    STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }

private:
    int& m_ends;
};

TEST(Object, EndsOnce) {
    int ends = 0;
    com::Make<Touched>(ends);
    EXPECT_EQ(ends, 1);
}

TEST(Object, ACallAsksNobodyToPutADiskInAndLeavesTheThreadAsItWas) {
    const DWORD before = GetThreadErrorMode();
    DWORD within = 0;
    com::Call([&] { within = GetThreadErrorMode(); });
    EXPECT_EQ(within, before | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    EXPECT_NE(within, before);
    EXPECT_EQ(GetThreadErrorMode(), before);
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
    std::promise<void> created;
    std::promise<void> leave;
    std::thread other([&] {
        const ComApartment apartment;
        const Framework own;
        library.Create<clsCmdLine, IUnknown>();
        created.set_value();
        leave.get_future().wait();
    });
    created.get_future().wait();
    EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
    leave.set_value();
    other.join();
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(Apartment, ObjectsThatOutliveComAreHarmlessAndServeAgainOnceItIsEnteredAgain) {
    const Library library;
    ComPtr<IZNTransporter> transporter;
    ComPtr<IZNEncoder> encoder;
    {
        const ComApartment apartment;
        const Framework framework;
        transporter = library.Create<clsTransporter, IZNTransporter>();
        transporter->putref_SenderReceiver(library.Create<clsXCOPYSndRcv, IZNSenderReceiver>().Get());
        encoder = library.Create<clsZipEncoder, IZNEncoder>();
    }
    transporter.Reset();
    {
        const ComApartment apartment;
        Framework framework;
        framework.resources[140] = L"Zip";
        EXPECT_FALSE(Ask<bool>(&IZNEncoder::Encode, encoder, L"in", L"out", L"x.mdb"));
        EXPECT_THAT(framework.log,
                    OneReport(L"clsZipEncoder.cls.ProgramExists", L"program \\Zip.exe does not exist"));
        EXPECT_EQ(Administration(encoder), L"Zip in {category 134}");
    }
    encoder.Reset();
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

}  // namespace
}  // namespace tests
