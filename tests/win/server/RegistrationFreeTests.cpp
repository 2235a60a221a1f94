// A C++ host that creates the classes without any registration: its manifest names the assemblies.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "base/Module.h"
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

/// The ProgIDs of the classes that the manifest of an assembly beside this program lists.
std::vector<std::wstring> ProgIdsOf(const wchar_t* assembly) {
    std::ifstream file(std::filesystem::path(base::ModulePath()).replace_filename(assembly));
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const std::regex progId("progid=\"([^\"]+)\"");
    std::vector<std::wstring> found;
    for (std::sregex_iterator match(text.begin(), text.end(), progId), end; match != end; ++match)
        found.emplace_back((*match)[1].first, (*match)[1].second);
    return found;
}

TEST(RegistrationFree, EveryClassOfTheManifestsCanBeCreated) {
    const ComApartment apartment;
    for (const wchar_t* assembly : {L"znTransporter.manifest", L"znFramework.manifest"}) {
        const auto progIds = ProgIdsOf(assembly);
        EXPECT_FALSE(progIds.empty()) << testing::PrintToString(assembly);
        for (const std::wstring& progId : progIds) {
            CLSID clsid{};
            ComPtr<IUnknown> object;
            EXPECT_EQ(CLSIDFromProgID(progId.c_str(), &clsid), S_OK) << testing::PrintToString(progId);
            EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)), S_OK)
                << testing::PrintToString(progId);
        }
    }
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
