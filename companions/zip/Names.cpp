// See Names.h.
#include "companions/zip/Names.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "base/Path.h"
#include "base/Utf8.h"
#include "companions/support/Fields.h"

namespace companions::zip {

namespace {

/// Characters 128 to 255.
constexpr std::wstring_view kCodePage437 =
    L"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜ¢£¥₧ƒáíóúñÑªº¿⌐¬½¼¡«»░▒▓│┤╡╢╖╕╣║╗╝╜╛┐└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀"
    L"αßΓπΣσµτΦΘΩδ∞φε∩≡±≥≤⌠⌡÷≈°∙·√ⁿ²■\u00A0";
static_assert(kCodePage437.size() == 128);

constexpr std::wstring_view kSeparators = L"/\\";

bool IsSeparator(wchar_t character) { return kSeparators.find(character) != std::wstring_view::npos; }

std::vector<std::wstring> Components(std::wstring_view path) {
    std::vector<std::wstring> components(1);
    for (const wchar_t character : path) {
        if (IsSeparator(character))
            components.emplace_back();
        else
            components.back() += character;
    }
    return components;
}

/// What stands behind the drive or the server.
std::wstring_view BehindRoot(std::wstring_view path) {
    if (path.size() >= 2 && path[1] == L':') return path.substr(2);
    const bool hasServer =
        path.size() > 2 && IsSeparator(path[0]) && IsSeparator(path[1]) && !IsSeparator(path[2]);
    if (!hasServer) return path;
    return path.substr(std::min(path.size(), path.find_first_of(kSeparators, 2)));
}

bool IsForbidden(wchar_t character) {
    constexpr std::wstring_view kForbidden = L"<>:\"|?*";
    constexpr wchar_t kFirstPrintable = 32;
    return character < kFirstPrintable || kForbidden.find(character) != std::wstring_view::npos;
}

void CheckComponent(const std::wstring& component, const std::string& name) {
    if (component == L"..") throw FormatError(name + " leads out of the folder");
    if (std::ranges::any_of(component, IsForbidden))
        throw FormatError(name + " has a character that no file name may have");
    // Windows drops them: the name would mean another file.
    if (component.ends_with(L'.') || component.ends_with(L' '))
        throw FormatError(name + " has a name that ends with a dot or a blank");
    if (Path::IsDeviceName(component)) throw FormatError(name + " has the name of a device");
}

}  // namespace

std::string FromCodePage437(std::string_view name) {
    std::wstring text;
    for (const char character : name) {
        const auto code = static_cast<unsigned char>(character);
        text += code < 0x80 ? static_cast<wchar_t>(code) : kCodePage437[code - 0x80U];
    }
    return base::ToUtf8(text);
}

std::wstring TargetPath(const std::string& name, Paths paths) {
    std::string_view kept(name);
    if (paths == Paths::Junk) kept.remove_prefix(kept.find_last_of("/\\") + 1);
    const std::optional<std::wstring> text = base::DecodedUtf8(kept);
    if (!text) throw FormatError(name + " is not named in UTF-8");
    const std::vector<std::wstring> components = Components(*text);
    if (components.size() > 1 && components.front().empty())
        throw FormatError(name + " leads out of the folder");
    std::wstring path;
    for (const std::wstring& component : components) {
        if (component.empty() || component == L".") continue;
        CheckComponent(component, name);
        path = Path::Join(path, component);
    }
    return path;
}

std::string EntryName(std::wstring_view file, Paths paths) {
    const std::vector<std::wstring> components = Components(BehindRoot(file));
    if (paths == Paths::Junk) return base::ToUtf8(components.back());
    std::vector<std::wstring> kept;
    for (const std::wstring& component : components) {
        if (component == L".." && !kept.empty()) kept.pop_back();
        if (!component.empty() && component != L"." && component != L"..") kept.push_back(component);
    }
    std::wstring name;
    for (const std::wstring& component : kept)
        name.append(name.empty() ? L"" : L"/").append(component);
    return base::ToUtf8(name);
}

}  // namespace companions::zip
