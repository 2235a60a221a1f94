#include "companions/support/Error.h"

#include "base/Utf8.h"

namespace companions {

namespace {

const char* WayOut(std::errc kind) {
    switch (kind) {
    case std::errc::no_such_file_or_directory:
        return "; check the name and the folder";
    case std::errc::permission_denied:
        return "; check that it is no folder, that it is not read-only, and that you may use it";
    case std::errc::device_or_resource_busy:
        return "; it is in use by another program: close that, and try again";
    case std::errc::no_space_on_device:
        return "; make room on that volume, and try again";
    case std::errc::filename_too_long:
        return "; choose a shorter name";
    default:
        return "";
    }
}

}  // namespace

std::string Shown(const std::filesystem::path& path) {
#ifdef _WIN32
    // The standard conversion throws on half a surrogate pair, which Windows allows in names.
    return base::ToUtf8(path.native());
#else
    return path.native();
#endif
}

void ThrowFileError(std::string_view verb, const std::filesystem::path& path, const std::string& reason,
                    std::errc kind) {
    throw Error("cannot " + std::string(verb) + " " + Shown(path) + ": " + reason + WayOut(kind));
}

}  // namespace companions
