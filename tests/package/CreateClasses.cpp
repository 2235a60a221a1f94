// Creates every class of the product by its ProgID; prints what fails, and which DLLs serve them.
#include <initguid.h>  // the identifiers of the type libraries come from the contracts' headers

#include <cstdio>

#include "com/ComApartment.h"
#include "tests/win/server/ProgIds.h"
#include "znFramework.h"
#include "znTransporter.h"

namespace {

using Microsoft::WRL::ComPtr;

int failures = 0;

void Expect(HRESULT result, const wchar_t* what) {
    if (SUCCEEDED(result)) return;
    ++failures;
    std::printf("%ls: 0x%08lX\n", what, static_cast<unsigned long>(result));
}

HRESULT CreateByProgId(const wchar_t* progId, IUnknown** object) {
    CLSID clsid;
    const HRESULT known = CLSIDFromProgID(progId, &clsid);
    return FAILED(known) ? known
                         : CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(object));
}

/// Other apartments get the interfaces of scripts through the registered type library.
HRESULT Marshal(IUnknown* object, REFIID id) {
    ComPtr<IStream> stream;
    const HRESULT created = CreateStreamOnHGlobal(nullptr, TRUE, &stream);
    return FAILED(created)
               ? created
               : CoMarshalInterface(stream.Get(), id, object, MSHCTX_INPROC, nullptr, MSHLFLAGS_NORMAL);
}

void PrintPlaceOf(const wchar_t* dll) {
    wchar_t path[MAX_PATH]{};
    GetModuleFileNameW(GetModuleHandleW(dll), path, MAX_PATH);
    std::printf("%ls\n", path);
}

}  // namespace

int main() {
    const ComApartment apartment;
    for (const auto& progIds : tests::kProgIds) {
        for (const wchar_t* progId : progIds) {
            ComPtr<IUnknown> object;
            Expect(CreateByProgId(progId, &object), progId);
        }
    }
    ComPtr<IUnknown> parser;
    Expect(CreateByProgId(L"znTransporter.clsCmdLine", &parser), L"the command line");
    if (parser) Expect(Marshal(parser.Get(), IID__clsCmdLine), L"marshalling");
    for (const GUID& id : {LIBID_znTransporter, LIBID_znSystem, LIBID_znFramework, LIBID_znFrameworkUI})
        Expect(tests::LoadedTypeLibrary(id) == com::Text(id) ? S_OK : TYPE_E_LIBNOTREGISTERED,
               L"a type library");
    for (const wchar_t* dll : {L"znTransporter.dll", L"znFramework.dll"})
        PrintPlaceOf(dll);
    return failures;
}
