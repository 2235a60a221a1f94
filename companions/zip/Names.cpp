#include "companions/zip/Names.h"

#include <zlib.h>

#include <algorithm>
#include <ranges>
#include <vector>

#include "base/Path.h"

#ifdef _WIN32
#include "base/Text.h"
#endif

namespace companions::zip {

namespace {

/// Characters 128 to 255.
constexpr std::u16string_view kOemCharacters =
    u"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜ¢£¥₧ƒáíóúñÑªº¿⌐¬½¼¡«»░▒▓│┤╡╢╖╕╣║╗╝╜╛┐└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀"
    u"αßΓπΣσµτΦΘΩδ∞φε∩≡±≥≤⌠⌡÷≈°∙·√ⁿ²■\u00A0";
static_assert(kOemCharacters.size() == 128);

void AppendUtf8(std::string& text, char16_t character) {
    const auto tail = [&](int shift) { text += static_cast<char>(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
    } else {
        text += static_cast<char>(0xE0 | character >> 12);
        tail(6);
    }
    tail(0);
}

std::vector<std::string> Components(const std::string& name) {
    std::vector<std::string> components(1);
    for (const char character : name) {
        if (character == '/' || character == '\\')
            components.emplace_back();
        else
            components.back() += character;
    }
    return components;
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

std::filesystem::path CheckedPart(const std::string& component, const std::string& name) try {
    std::filesystem::path part(std::u8string(component.begin(), component.end()));
    // A wide string of it would depend on the locale.
    const std::u16string units = part.u16string();
    CheckComponent({units.begin(), units.end()}, name);
    return part;
} catch (const std::system_error&) {
    throw FormatError(name + " is not named in UTF-8");
}

}  // namespace

bool IsUtf8(std::string_view text) {
    std::size_t following = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool continues = (byte & 0xC0) == 0x80;
        if (continues != (following > 0)) return false;
        if (continues)
            --following;
        else if (byte >= 0x80)
            following = byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : 1;
    }
    return following == 0;
}

std::string FromOemCharacters(std::string_view name) {
    std::string text;
    for (const char character : name) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x80)
            text += character;
        else
            AppendUtf8(text, kOemCharacters[code - 0x80U]);
    }
    return text;
}

std::optional<std::string> UnicodePath(FieldReader field, std::span<const std::uint8_t> name) {
    constexpr std::size_t kVersionAndCrc = 5;
    if (field.Left() < kVersionAndCrc || field.Bytes(1)[0] != 1) return {};
    // Programs that know nothing of the field may have renamed the member.
    if (field.U32() != crc32(0, name.data(), static_cast<uInt>(name.size()))) return {};
    const auto text = field.Bytes(field.Left());
    return std::string(text.begin(), text.end());
}

std::filesystem::path TargetPath(const std::string& name, Paths paths) {
    std::vector<std::string> components = Components(name);
    if (paths == Paths::Junk) components.erase(components.begin(), components.end() - 1);
    if (components.size() > 1 && components.front().empty())
        throw FormatError(name + " leads out of the folder");
    std::filesystem::path path;
    for (const std::string& component : components) {
        if (component.empty() || component == ".") continue;
        path /= CheckedPart(component, name);
    }
    return path;
}

std::filesystem::path::string_type Folded(const std::filesystem::path& path) {
#ifdef _WIN32
    return base::Upper(path.native());
#else
    return path.native();
#endif
}

std::string MemberName(const std::filesystem::path& file, Paths paths) {
    if (paths == Paths::Junk) return Shown(file.filename());
    std::filesystem::path kept;
    for (const std::filesystem::path& component : file.lexically_normal().relative_path())
        if (component != "..") kept /= component;
    std::string name = Shown(kept);
    std::ranges::replace(name, static_cast<char>(std::filesystem::path::preferred_separator), '/');
    return name;
}

}  // namespace companions::zip
