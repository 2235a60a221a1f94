// The folder locator: answers of the mobile configuration, and its failures.
#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "tests/win/framework/FrameworkTest.h"

using com::Bstr;
using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

/// Answers with what it is asked.
class ConfigDouble final : public com::Object<IZNMobileConfig> {
public:
    STDMETHODIMP put_ApplicationName(BSTR Value) override {
        return com::Call([&] {
            m_application = com::Text(Value);
            if (m_application == L"broken") throw base::Error(E_ACCESSDENIED, L"the settings are locked");
        });
    }
    STDMETHODIMP get_ApplicationName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetConfig(VARIANT_BOOL Enterprise, BSTR ConfigName, BSTR* Value) override {
        return com::Return(Value, [&] {
            return m_application + (Enterprise ? L" enterprise " : L" field ") + com::Text(ConfigName);
        });
    }
    STDMETHODIMP NextConfigName(VARIANT_BOOL, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP ResetConfigNames(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP SetConfig(VARIANT_BOOL, BSTR, BSTR) override { return E_NOTIMPL; }

private:
    std::wstring m_application;
};

/// Makes doubles, or fails as COM does.
class ConfigFactory final : public com::Object<IClassFactory> {
public:
    explicit ConfigFactory(const HRESULT& result) : m_result(result) {}

    STDMETHODIMP CreateInstance(IUnknown*, REFIID id, void** object) override {
        return FAILED(m_result) ? m_result : com::Make<ConfigDouble>().CopyTo(id, object);
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    const HRESULT& m_result;
};

class MobileFolders : public FrameworkTest {
protected:
    MobileFolders() : folders(Create<ZNMobileFolders, IZNMobileFolders>()) {
        const auto factory = com::Make<ConfigFactory>(creation);
        com::Check(CoRegisterClassObject(__uuidof(clsTranMobileConfig),
                                         static_cast<IClassFactory*>(factory.Get()), CLSCTX_INPROC_SERVER,
                                         REGCLS_MULTIPLEUSE, &cookie));
    }
    ~MobileFolders() override { CoRevokeClassObject(cookie); }

    HRESULT Open(const wchar_t* application) const {
        return folders->put_ApplicationName(Bstr(application).Get());
    }
    std::wstring Path(VARIANT_BOOL enterprise, const wchar_t* kind) const {
        return com::Get<std::wstring>(&IZNMobileFolders::FolderPath, folders.Get(), enterprise,
                                      Bstr(kind).Get());
    }

    HRESULT creation = S_OK;  ///< of the mobile configuration
    DWORD cookie = 0;
    ComPtr<IZNMobileFolders> folders;
};

TEST_F(MobileFolders, AnswerFromTheConfigurationOfTheApplication) {
    ASSERT_EQ(Open(L"Designer"), S_OK);
    EXPECT_EQ(Path(VARIANT_TRUE, L"Outgoing"), L"Designer enterprise Outgoing");
    EXPECT_EQ(Path(VARIANT_FALSE, L"FTPServer"), L"Designer field FTPServer");
    ASSERT_EQ(Open(L"Viewer"), S_OK);
    EXPECT_EQ(Path(VARIANT_FALSE, L"Incoming"), L"Viewer field Incoming");
}

TEST_F(MobileFolders, FailuresOfTheConfigurationAreTheirs) {
    Bstr path;
    EXPECT_EQ(folders->FolderPath(VARIANT_TRUE, Bstr(L"Outgoing").Get(), path.Put()), E_UNEXPECTED)
        << "no application is named";
    ASSERT_EQ(Open(L"Designer"), S_OK);
    const HRESULT refused = Open(L"broken");
    ASSERT_EQ(refused, E_ACCESSDENIED);
    try {
        com::Check(refused);
    } catch (const base::Error& error) {
        EXPECT_EQ(error.failure().description, L"the settings are locked");
    }
    for (const HRESULT failure : {E_OUTOFMEMORY, REGDB_E_CLASSNOTREG}) {
        creation = failure;
        EXPECT_EQ(Open(L"Viewer"), failure);
    }
    EXPECT_EQ(Path(VARIANT_TRUE, L"Outgoing"), L"Designer enterprise Outgoing") << "the last one that worked";
}

}  // namespace
}  // namespace tests
