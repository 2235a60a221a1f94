// See Options.h.
#include "services/Options.h"

#include <optional>

#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/Apartment.h"

namespace {

/// The value of a command-line option of the host, when it was given.
std::optional<std::wstring> CommandLineOption(const std::wstring& name) {
    auto& commandLine = ThisApartment().commandLine;
    if (!commandLine) commandLine = com::Make<clsCmdLine>();
    return commandLine->Option(name);
}

}  // namespace

std::wstring OptionOrSetting(const std::wstring& Name, IZNRegistry* Store) {
    if (const auto option = CommandLineOption(Name)) return *option;
    return com::Get<com::Variant>(&IZNRegistry::Read, Store, com::Bstr(Name).Get(), com::Variant(L"").Get())
        .Text();
}

std::wstring OptionOrSetting(const std::wstring& Name, const FolderLocator& Store, const std::wstring& Key,
                             bool Flag) {
    if (const auto option = CommandLineOption(Name)) return *option;
    return Store.FolderPath(!Flag, Key.c_str());
}
