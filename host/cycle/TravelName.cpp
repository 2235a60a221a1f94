// See TravelName.h.
#include "host/cycle/TravelName.h"

#include "base/Text.h"

namespace {

bool HasExtension(const std::wstring& name, const std::wstring& extension) {
    return name.size() > extension.size() &&
           base::EqualsIgnoringCase(std::wstring_view(name).substr(name.size() - extension.size()),
                                    extension);
}

}  // namespace

bool IsEncoded(const Settings& settings, const std::wstring& fileName) {
    const EncoderSettings* const encoder = settings.ChosenEncoder();
    return encoder && HasExtension(fileName, encoder->inExtension);
}

std::wstring PacketOf(const Settings& settings, const std::wstring& fileName) {
    if (HasExtension(fileName, settings.zip.outExtension))
        return fileName.substr(0, fileName.size() - settings.zip.outExtension.size());
    if (HasExtension(fileName, settings.xdelta.outExtension)) return fileName.substr(0, fileName.rfind(L'~'));
    return fileName;
}
