// See Questions.h.
#include "probe/Questions.h"

#include <windows.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <optional>

#include "base/Path.h"
#include "base/Text.h"
#include "com/ComApartment.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"

namespace probe {

namespace {

using Microsoft::WRL::ComPtr;

/// One of the type libraries that a DLL carries as its resources.
struct TypeLibrary {
    std::wstring dll;
    int number;

    std::wstring Path() const { return dll + L"\\" + std::to_wstring(number); }
};

ComPtr<ITypeLib> Load(const TypeLibrary& library) {
    ComPtr<ITypeLib> types;
    com::Check(LoadTypeLibEx(library.Path().c_str(), REGKIND_NONE, &types), library.Path());
    return types;
}

std::wstring NameOf(ITypeLib* types, int index) {
    com::Bstr name;
    com::Check(types->GetDocumentation(index, name.Put(), nullptr, nullptr, nullptr));
    return name.Text();
}

/// Nothing for a type that is no class.
std::optional<CLSID> ClassOf(ITypeLib* types, UINT index) {
    ComPtr<ITypeInfo> type;
    TYPEATTR* attributes = nullptr;
    com::Check(types->GetTypeInfo(index, &type));
    com::Check(type->GetTypeAttr(&attributes));
    const bool isClass = attributes->typekind == TKIND_COCLASS;
    const CLSID id = attributes->guid;
    type->ReleaseTypeAttr(attributes);
    return isClass ? std::optional(id) : std::nullopt;
}

/// Whether the code of an object is that of a DLL.
bool IsServedBy(IUnknown* object, const std::wstring& dll) {
    HMODULE server = nullptr;
    const auto* const functions = *reinterpret_cast<const wchar_t* const*>(object);
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       functions, &server);
    return server && server == GetModuleHandleW(dll.c_str());
}

/// Empty where a class is created as it should be.
std::wstring FaultOf(const CLSID& id, const std::wstring& dll) {
    ComPtr<IUnknown> object;
    const HRESULT result = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object));
    if (FAILED(result)) return L"error " + base::Hexadecimal(static_cast<DWORD>(result));
    return IsServedBy(object.Get(), dll) ? L"" : L"from elsewhere";
}

std::wstring CreateEach(const TypeLibrary& library) {
    const ComPtr<ITypeLib> types = Load(library);
    std::vector<std::wstring> created;
    std::vector<std::wstring> faults;
    for (UINT index = 0; index < types->GetTypeInfoCount(); ++index) {
        const std::optional<CLSID> id = ClassOf(types.Get(), index);
        if (!id) continue;
        const std::wstring name = NameOf(types.Get(), static_cast<int>(index));
        const std::wstring fault = FaultOf(*id, library.dll);
        fault.empty() ? created.push_back(name) : faults.push_back(name + L" " + fault);
    }
    if (!faults.empty()) return Joined(faults);
    return L"all: " + (created.empty() ? L"there are none" : Joined(created));
}

}  // namespace

std::vector<Question> RegistrationQuestions(const std::wstring& folder) {
    std::vector<Question> questions = {{L"The assemblies beside the program", L"done", [] {
                                            const std::wstring failure = AssembliesFailure();
                                            return failure.empty() ? L"done" : failure;
                                        }}};
    const std::wstring transporter = Path::Join(folder, L"znTransporter.dll");
    const std::wstring framework = Path::Join(folder, L"znFramework.dll");
    for (const TypeLibrary& library : {TypeLibrary{transporter, 1}, TypeLibrary{framework, 1},
                                       TypeLibrary{framework, 2}, TypeLibrary{framework, 3}}) {
        const std::wstring name =
            Path::FileName(library.dll) + L", type library " + std::to_wstring(library.number);
        questions.push_back({name, L"loaded", [=] { return L"loaded, " + NameOf(Load(library).Get(), -1); }});
        questions.push_back(
            {name + L": its classes, created from there", L"all", [=] { return CreateEach(library); }});
    }
    return questions;
}

}  // namespace probe
