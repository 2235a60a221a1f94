// See Questions.h.
#include "probe/Questions.h"

#include <windows.h>
#include <msxml2.h>
#include <objbase.h>
#include <wincrypt.h>

#include <array>
#include <cstring>
#include <thread>

#include "base/Path.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"

using Microsoft::WRL::ComPtr;

namespace probe {

namespace {

/// A function of a module, which may be missing.
template <class Function>
Function* Find(HMODULE module, const char* name) {
    return module ? reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)))
                  : nullptr;
}

template <class Function>
Function* Find(const wchar_t* module, const char* name) {
    return Find<Function>(GetModuleHandleW(module), name);
}

std::wstring WineVersion() {
    const auto version = Find<const char*()>(L"ntdll.dll", "wine_get_version");
    return version ? L", Wine " + base::FromUtf8(version()) : L"";
}

std::wstring WindowsVersion() {
    RTL_OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    const auto get = Find<LONG WINAPI(RTL_OSVERSIONINFOW*)>(L"ntdll.dll", "RtlGetVersion");
    if (!get || get(&version) != 0) return L"not told";
    constexpr std::array<DWORD, 2> kWindows7 = {6, 1};
    const bool isNewEnough = std::array{version.dwMajorVersion, version.dwMinorVersion} >= kWindows7;
    return (isNewEnough ? L"yes, " : L"no, ") + std::to_wstring(version.dwMajorVersion) + L"." +
           std::to_wstring(version.dwMinorVersion) + L"." + std::to_wstring(version.dwBuildNumber) +
           WineVersion();
}

std::wstring Bits() {
    BOOL isOnOther = FALSE;
    IsWow64Process(GetCurrentProcess(), &isOnOther);
    return std::to_wstring(8 * sizeof(void*)) + L"-bit" + (isOnOther ? L" on 64-bit Windows" : L"");
}

std::wstring HasThreadErrorMode() {
    return Find<void()>(L"kernel32.dll", "SetThreadErrorMode") ? L"yes" : L"no";
}

/// Tells whether it was called.
class Spy final : public com::Unbound<IInitializeSpy> {
public:
    explicit Spy(bool& called) : m_called(called) {}

    STDMETHODIMP PreInitialize(DWORD, DWORD) override { return S_OK; }
    STDMETHODIMP PostInitialize(HRESULT result, DWORD, DWORD) override { return result; }
    STDMETHODIMP PreUninitialize(DWORD count) override {
        if (count == 1) m_called = true;
        return S_OK;
    }
    STDMETHODIMP PostUninitialize(DWORD) override { return S_OK; }

private:
    bool& m_called;
};

std::wstring Watch(bool& called) {
    ULARGE_INTEGER cookie{};
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const HRESULT result = CoRegisterInitializeSpy(com::Make<Spy>(called).Get(), &cookie);
    CoUninitialize();
    if (FAILED(result)) return L"error " + base::Hexadecimal(static_cast<DWORD>(result));
    CoRevokeInitializeSpy(cookie);
    return called ? L"called" : L"not called";
}

std::wstring SpyOfApartment() {
    std::wstring answer;
    bool called = false;
    std::thread([&] { answer = Watch(called); }).join();
    return answer;
}

HRESULT CreateXmlParser(ComPtr<IXMLDOMDocument>& document) {
    CLSID id{};
    const HRESULT result = CLSIDFromProgID(L"MSXML2.DOMDocument.6.0", &id);
    if (FAILED(result)) return result;
    return CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                            reinterpret_cast<void**>(document.GetAddressOf()));
}

std::wstring XmlParser() {
    ComPtr<IXMLDOMDocument> document;
    const HRESULT result = CreateXmlParser(document);
    return SUCCEEDED(result) ? L"created" : L"error " + base::Hexadecimal(static_cast<DWORD>(result));
}

/// The value of an attribute with blanks at its ends.
std::wstring XmlValue() {
    ComPtr<IXMLDOMDocument> document;
    com::Check(CreateXmlParser(document), L"the XML parser");
    VARIANT_BOOL parsed = VARIANT_FALSE;
    com::Check(document->loadXML(com::Bstr(L"<x a=' up '/>").Get(), &parsed), L"the document");
    ComPtr<IXMLDOMNode> attribute;
    com::Check(document->selectSingleNode(com::Bstr(L"/x/@a").Get(), &attribute), L"the attribute");
    if (!attribute) return L"no attribute";
    return L"\"" + com::Get<com::Variant>(&IXMLDOMNode::get_nodeValue, attribute.Get()).Text() + L"\"";
}

/// By its path: one of that name beside the program is not meant. It stays for the rest of the process.
HMODULE LoadSystemLibrary(const wchar_t* name) {
    std::array<wchar_t, MAX_PATH> folder{};
    GetSystemDirectoryW(folder.data(), folder.size());
    return LoadLibraryW(Path::Join(folder.data(), name).c_str());
}

std::wstring ProtectData() {
    const HMODULE library = LoadSystemLibrary(L"crypt32.dll");
    const auto protect = Find<decltype(CryptProtectData)>(library, "CryptProtectData");
    const auto restore = Find<decltype(CryptUnprotectData)>(library, "CryptUnprotectData");
    if (!protect || !restore) return L"missing";
    BYTE secret[] = "secret";
    DATA_BLOB plain{sizeof secret, secret};
    DATA_BLOB hidden{};
    DATA_BLOB back{};
    if (!protect(&plain, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &hidden))
        return Outcome(false);
    const bool done =
        restore(&hidden, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &back) != FALSE;
    const std::wstring outcome = Outcome(done);
    const bool same =
        done && back.cbData == sizeof secret && std::memcmp(back.pbData, secret, sizeof secret) == 0;
    LocalFree(hidden.pbData);
    LocalFree(back.pbData);
    return same || !done ? outcome : L"other data came back";
}

}  // namespace

std::vector<Question> SystemQuestions() {
    return {
        {L"Windows 7 or later", L"yes", &WindowsVersion},
        {L"The program's bits", kAny, &Bits},
        {L"The 8-bit code page", kAny, [] { return std::to_wstring(GetACP()); }},
        {L"The error mode", kAny, [] { return base::Hexadecimal(GetErrorMode()); }},
        {L"There is SetThreadErrorMode", L"yes", &HasThreadErrorMode},
        {L"A spy of the apartment is called before COM ends", L"called", &SpyOfApartment},
        {L"The XML parser MSXML2.DOMDocument.6.0", L"created", &XmlParser},
        {L"It keeps the blanks at the ends of a value", L"\" up \"", &XmlValue},
        {L"CryptProtectData, taken from the system's folder", L"done", &ProtectData},
    };
}

}  // namespace probe
