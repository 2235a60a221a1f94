// The folder locator: answers of the mobile configuration, and its failures.
#include "com/Object.h"
#include "tests/win/support/Dll.h"
#include "tests/win/support/ServedClass.h"

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

TEST_F(FrameworkTest, FoldersAreThoseOfTheMobileConfiguration) {
    HRESULT creation = S_OK;
    const ServedClass served(__uuidof(clsTranMobileConfig), [&](REFIID id, void** object) {
        return FAILED(creation) ? creation : com::Make<ConfigDouble>().CopyTo(id, object);
    });
    const auto folders = Create<ZNMobileFolders, IZNMobileFolders>();
    const auto path = [&](VARIANT_BOOL enterprise, const wchar_t* kind) {
        return Ask<std::wstring>(&IZNMobileFolders::FolderPath, folders, enterprise, kind);
    };
    EXPECT_EQ(FailureOf([&] { path(VARIANT_TRUE, L"Outgoing"); }).number, E_UNEXPECTED)
        << "no application is named";
    ASSERT_EQ(folders->put_ApplicationName(In(L"Viewer")), S_OK);
    EXPECT_EQ(path(VARIANT_FALSE, L"Incoming"), L"Viewer field Incoming");
    ASSERT_EQ(folders->put_ApplicationName(In(L"Designer")), S_OK);
    const HRESULT refused = folders->put_ApplicationName(In(L"broken"));
    EXPECT_EQ(refused, E_ACCESSDENIED);
    EXPECT_EQ(WhyFailed(refused), L"the settings are locked");
    for (const HRESULT failure : {E_OUTOFMEMORY, REGDB_E_CLASSNOTREG}) {
        creation = failure;
        EXPECT_EQ(folders->put_ApplicationName(In(L"Viewer")), failure);
    }
    EXPECT_EQ(path(VARIANT_TRUE, L"Outgoing"), L"Designer enterprise Outgoing") << "the last one that worked";
}

}  // namespace
}  // namespace tests
