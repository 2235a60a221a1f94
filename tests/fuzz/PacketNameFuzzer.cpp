// Names of packets come back from the names of the files that carry them, and paths from their parts.
#include "packets/PacketName.h"

#include "base/Path.h"
#include "packets/EncodedName.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/Require.h"

namespace {

const TravelExtensions kExtensions{L".afz", L".axd"};

void CarryAsArchive(const std::wstring& packet) {
    const std::wstring file = packet + kExtensions.zip;
    Require(IsTakenForEncoded(file, L".AFZ"));
    if (!packet.empty()) Require(PacketOf(file, kExtensions) == packet);
}

void CarryAsDifference(const std::wstring& packet, const std::wstring& reference) {
    const std::wstring name = DifferenceName(packet, reference);
    const Difference difference = SplitDifferenceName(name);
    Require(difference.packet == packet && difference.reference == reference);
    const std::wstring file = name + kExtensions.difference;
    Require(IsTakenForEncoded(file, L".AXD"));
    Require(PacketOf(file, kExtensions) == packet);
    Require(EncodedNameOfBackup(file + L"_bck", kExtensions.difference) == file);
    Require(EncodedNameOfBackup(file, kExtensions.difference).empty());
    if (packet.find(L'.') != packet.npos) Require(GetPacketId(file) == GetPacketId(packet));
}

/// What is told of a name that somebody else chose is a part of it.
void Read(const std::wstring& name) {
    const std::wstring id = GetPacketId(name);
    Require(name.starts_with(id) && id.find_first_of(L"~.") == id.npos);
    Require(name.starts_with(PacketOf(name, kExtensions)));
    Require(!IsKeptCopy(name) || name.size() > 4);
    const std::wstring backed = EncodedNameOfBackup(name, kExtensions.difference);
    if (!backed.empty()) Require(IsKeptCopy(name) && IsTakenForEncoded(backed, kExtensions.difference));
}

void JoinPath(const std::wstring& folder, const std::wstring& name) {
    if (!Path::IsPlainName(name)) return;
    const std::wstring path = Path::Join(folder, name);
    Require(Path::FileName(path) == name);
    Require(name.starts_with(Path::BaseName(path)));
    Require(path.starts_with(Path::ParentFolder(path)));
    Require(Path::Join(Path::ParentFolder(path), name).size() <= path.size());
    Require(Path::WithSeparator(Path::WithSeparator(folder)) == Path::WithSeparator(folder));
    Require(folder.starts_with(Path::Drive(folder)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    const std::wstring packet = input.WideText();
    const std::wstring reference = input.WideTextWithout(L"~");
    CarryAsArchive(packet);
    CarryAsDifference(packet, reference);
    Read(packet);
    JoinPath(packet, reference);
    return 0;
}
