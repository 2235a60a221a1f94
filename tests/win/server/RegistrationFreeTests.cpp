// A C++ host that creates the classes without any registration: its manifest names the assemblies.
#include <gtest/gtest.h>

#include "tests/win/support/Dll.h"
#include "tests/win/support/ScratchHives.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

TEST(RegistrationFree, ManifestsServeTheClassesByProgId) {
    const ComApartment apartment;
    CLSID clsid;
    ASSERT_EQ(CLSIDFromProgID(L"znTransporter.clsCmdLine", &clsid), S_OK);
    ComPtr<_clsCmdLine> parser;
    ASSERT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&parser)), S_OK);
    EXPECT_EQ(parser->Parse(com::Bstr(L"/a=1 x").Get()), S_OK);
    ComPtr<_Dictionary> options;
    ASSERT_EQ(parser->get_Options(&options), S_OK);
    EXPECT_EQ(com::Get<std::wstring>(&_Dictionary::get_Item, options.Get(), com::Bstr(L"a").Get()), L"1");

    ComPtr<IZNSenderReceiver> remote;
    EXPECT_EQ(
        CoCreateInstance(__uuidof(clsXCOPYSndRcv), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&remote)),
        S_OK);
    ComPtr<IZNTransporter> transporter;
    EXPECT_EQ(
        CoCreateInstance(__uuidof(clsTransporter), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&transporter)),
        S_OK);
}

TEST(RegistrationFree, TheFolderLocatorAnswersFromTheMobileConfiguration) {
    const ScratchHives hives;
    const ComApartment apartment;
    const DWORD mode = 1;
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\znMobile", L"MobileConfigValue", REG_DWORD, &mode,
                    sizeof mode);
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\znMobile", L"FieldHome", REG_SZ, L"D:\\M",
                    sizeof L"D:\\M");
    ComPtr<IZNMobileFolders> folders;
    ASSERT_EQ(
        CoCreateInstance(__uuidof(ZNMobileFolders), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&folders)),
        S_OK);
    ASSERT_EQ(folders->put_ApplicationName(com::Bstr(L"Designer").Get()), S_OK);
    const auto path = [&](const wchar_t* kind) {
        return com::Get<std::wstring>(&IZNMobileFolders::FolderPath, folders.Get(), VARIANT_FALSE,
                                      com::Bstr(kind).Get());
    };
    EXPECT_EQ(path(L"Incoming"), L"D:\\M\\Transport\\Incoming");
    EXPECT_EQ(path(L"XDeltaRefPath"), L"D:\\M\\Transport\\Designer\\XDeltaReferenceFiles\\");
}

}  // namespace
}  // namespace tests
