#include "companions/zip/Names.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <ranges>
#include <vector>

#ifdef _WIN32
#include "com/Text.h"
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

bool IsForbidden(char character) {
    constexpr std::string_view kForbidden = "<>:\"|?*";
    constexpr unsigned char kFirstPrintable = 32;
    return static_cast<unsigned char>(character) < kFirstPrintable ||
           kForbidden.find(character) != std::string_view::npos;
}

std::string Upper(std::string_view text) {
    std::string upper(text);
    for (char& character : upper)
        character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    return upper;
}

/// Windows opens a device by such a name in any folder, and with any extension.
bool IsDevice(std::string_view component) {
    const auto bare = component.substr(0, component.find_first_of(". "));
    const std::string name = Upper(bare);
    constexpr std::array<std::string_view, 6> kDevices = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
    if (std::ranges::find(kDevices, name) != kDevices.end()) return true;
    if (!name.starts_with("COM") && !name.starts_with("LPT")) return false;
    const std::string_view number = std::string_view(name).substr(3);
    constexpr std::array<std::string_view, 3> kSuperscripts = {"\u00B9", "\u00B2", "\u00B3"};
    return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') ||
           std::ranges::find(kSuperscripts, number) != kSuperscripts.end();
}

void CheckComponent(const std::string& component, const std::string& name) {
    if (component == "..") throw FormatError(name + " leads out of the folder");
    if (std::ranges::any_of(component, IsForbidden))
        throw FormatError(name + " has a character that no file name may have");
    // Windows drops them: the name would mean another file.
    if (component.ends_with('.') || component.ends_with(' '))
        throw FormatError(name + " has a name that ends with a dot or a blank");
    if (IsDevice(component)) throw FormatError(name + " has the name of a device");
}

std::filesystem::path FromUtf8(const std::string& text, const std::string& name) try {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
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
        CheckComponent(component, name);
        path /= FromUtf8(component, name);
    }
    return path;
}

std::filesystem::path::string_type Folded(const std::filesystem::path& path) {
#ifdef _WIN32
    return com::Upper(path.native());
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
