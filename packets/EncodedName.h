// Names of packets and of the files that carry them: what encoders add to a name, and what they find in it.
// Portable.
#pragma once

#include <array>
#include <string>
#include <string_view>

/// The name of the file that carries a packet's difference against a reference, without its extension:
/// "<packet>~<reference>".
std::wstring DifferenceName(std::wstring_view packet, std::wstring_view reference);

/// What an encoder adds to a packet's name. reference: of a difference; empty for a compressed packet.
std::wstring EncodedEnding(std::wstring_view reference, std::wstring_view extension);

/// What such a name says.
struct Difference {
    std::wstring packet;
    std::wstring reference;
};

/// Splits the name of a difference, without its extension, at the last "~". A name without one is taken as
/// its first character and a reference of the whole name; installations in the field rely on what that leads
/// to.
Difference SplitDifferenceName(std::wstring_view fileName);

/// How the names of packets end that a decoder restores: behind any other name it writes ".MDB".
inline constexpr std::array kPacketExtensions = {L".mdb", L".xml"};
/// Whether a packet comes out of a decoder under its own name.
bool IsDecodedUnderItsName(std::wstring_view fileName);

/// How the names of reference files end.
inline constexpr auto kReferenceExtension = L".AXR";
/// Whether the other side finds its own copy of a reference by the name of a difference, which holds that of
/// the file without its extension: "<reference>.AXR".
bool CanBeReference(std::wstring_view fileName);

/// How packets travel, by the extensions of the files that carry them.
struct TravelExtensions {
    std::wstring zip;         ///< of compressed packets: "<packet><zip>"
    std::wstring difference;  ///< of differences: "<packet>~<reference><difference>"
};

/// Whether the transporter hands a received file to the decoder of an extension: it compares the last four
/// characters of the name, whatever stands before them.
bool IsTakenForEncoded(std::wstring_view fileName, std::wstring_view extension);

/// The encoded file's name behind that of a backup which the difference encoder keeps when it replaces one,
/// "<packet>~<reference><extension>_bck"; empty for any other name.
std::wstring EncodedNameOfBackup(std::wstring_view fileName, std::wstring_view extension);

/// The packet that a file in the send or receive folder holds: "x.mdb" for "x.mdb.afz" and
/// "x.mdb~Base.axd", the name itself for a file that travels as it is.
std::wstring PacketOf(std::wstring_view fileName, const TravelExtensions& extensions);
