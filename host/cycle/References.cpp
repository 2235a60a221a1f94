// See References.h.
#include "host/cycle/References.h"

#include "base/FileSystem.h"
#include "base/Path.h"
#include "packets/EncodedName.h"

std::wstring MissingReference(const std::wstring& fileName, const Settings& settings) {
    const std::wstring& current = settings.xdelta.referencePath;
    if (current.empty() || !IsTakenForEncoded(fileName, settings.xdelta.outExtension)) return {};
    const std::wstring reference = SplitDifferenceName(Path::BaseName(fileName)).reference;
    const std::wstring path = Path::Join(Path::ParentFolder(current), reference + kReferenceExtension);
    return FileSystem::FileIsThere(path) ? std::wstring() : path;
}
