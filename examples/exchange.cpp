// One cycle of a field computer: exchange.exe C:\Transport \\server\share
// Built with the headers that come with the library:
// g++ -std=c++17 -municode -static -I include exchange.cpp -o exchange.exe -lole32 -loleaut32 -luuid
#include <initguid.h>

#include <znTransporter.h>

#include <cstdio>
#include <string>

namespace {

int failures = 0;

class Text {
public:
    explicit Text(const std::wstring& text) : m_text(SysAllocString(text.c_str())) {}
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { SysFreeString(m_text); }
    operator BSTR() const { return m_text; }

private:
    BSTR m_text;
};

// What a step cannot do stays where it is, for the next run.
bool Succeeds(HRESULT result) {
    if (SUCCEEDED(result)) return true;
    failures = 1;
    IErrorInfo* error = nullptr;
    BSTR description = nullptr;
    if (GetErrorInfo(0, &error) == S_OK) {
        error->GetDescription(&description);
        error->Release();
    }
    std::fwprintf(stderr, L"%08lX %ls\n", static_cast<unsigned long>(result),
                  description ? description : L"");
    SysFreeString(description);
    return false;
}

void Deliver(const VARIANT& item, const std::wstring& folder) {
    _Packet* packet = nullptr;
    if (!Succeeds(item.pdispVal->QueryInterface(IID__Packet, reinterpret_cast<void**>(&packet)))) return;
    BSTR file = nullptr;
    if (Succeeds(packet->Deliver(Text(folder), &file))) std::wprintf(L"%ls\n", file);
    SysFreeString(file);
    packet->Release();
}

void RunCycle(_clsTransporter* transport, const std::wstring& home) {
    LONG moved = 0;
    Succeeds(transport->MoveAll(Text(home + L"\\outbox"), &moved));
    VARIANT none;
    VariantInit(&none);
    VARIANT_BOOL everything = VARIANT_FALSE;
    Succeeds(transport->SendReceive(none, none, &everything));
    _Collection* packets = nullptr;
    if (!Succeeds(transport->get_Received(&packets))) return;
    LONG count = 0;
    packets->get_Count(&count);
    for (LONG i = 1; i <= count; ++i) {
        VARIANT item;
        VariantInit(&item);
        if (Succeeds(packets->get_Item(i, &item))) Deliver(item, home + L"\\inbox");
        VariantClear(&item);
    }
    packets->Release();
}

template <class Interface>
Interface* Create(REFCLSID type, REFIID id) {
    void* object = nullptr;
    return Succeeds(CoCreateInstance(type, nullptr, CLSCTX_INPROC_SERVER, id, &object))
               ? static_cast<Interface*>(object)
               : nullptr;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 3) return 2;
    const std::wstring home = arguments[1];
    const std::wstring share = arguments[2];
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    auto* const transport = Create<_clsTransporter>(CLSID_clsTransporter, IID__clsTransporter);
    auto* const remote = Create<_clsXCOPYSndRcv>(CLSID_clsXCOPYSndRcv, IID__clsXCOPYSndRcv);
    if (transport && remote && Succeeds(remote->put_SendFolder(Text(home + L"\\send"))) &&
        Succeeds(remote->put_ReceiveFolder(Text(home + L"\\receive"))) &&
        Succeeds(remote->put_RemoteSendFolder(Text(share + L"\\to-enterprise"))) &&
        Succeeds(remote->put_RemoteReceiveFolder(Text(share + L"\\to-field"))) &&
        Succeeds(transport->putref_SenderReceiver(remote)))
        RunCycle(transport, home);
    if (remote) remote->Release();
    if (transport) transport->Release();
    CoUninitialize();
    return failures;
}
