// Archives restore what was put into them, and what is damaged or means harm is refused.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cwctype>
#include <string>
#include <tuple>
#include <vector>

#include "companions/support/Fields.h"
#include "companions/zip/ArchiveReader.h"
#include "companions/zip/ArchiveWriter.h"
#include "companions/zip/DosTime.h"
#include "companions/zip/Extraction.h"
#include "companions/zip/PacketArchive.h"
#include "tests/unit/Content.h"

using namespace companions::zip;
using namespace tests;
using companions::FieldWriter;
using companions::FormatError;

namespace {

constexpr base::FileTime kTime{std::chrono::seconds(1'700'000'001)};

std::string Rows(std::size_t size) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        content[i] = static_cast<char>("row of data "[i % 12] + i / 997 % 3);
    return content;
}

/// Of files that are named by their numbers.
std::string Archive(const std::vector<std::string>& contents, int level = 6, Zip64Limits limits = {}) {
    base::MemorySink out;
    ArchiveWriter writer(out, level, limits);
    for (std::size_t i = 0; i < contents.size(); ++i)
        writer.Add(std::to_string(i), SourceOf(contents[i]), kTime);
    writer.Finish();
    return ContentOf(out);
}

std::vector<std::string> Extracted(const std::string& archive) {
    const base::MemorySource source = SourceOf(archive);
    const ArchiveReader reader(source);
    std::vector<std::string> contents;
    for (const Entry& entry : reader.Entries()) {
        base::MemorySink sink;
        reader.Extract(entry, sink);
        contents.push_back(ContentOf(sink));
        EXPECT_EQ(entry.time, kTime);
    }
    return contents;
}

TEST(Zip, RestoresWhatItCompressed) {
    const std::vector<std::string> contents = {"", "x", Rows(1'000'000), Noise(700'000),
                                               Noise(600'000) + Rows(700'000) + Noise(300'000)};
    for (const int level : {0, 1, 6, 9})
        for (const Zip64Limits limits : {Zip64Limits{}, {1, 1}, {600'000, 3}}) {
            const std::string archive = Archive(contents, level, limits);
            EXPECT_TRUE(Extracted(archive) == contents) << level;
            EXPECT_LT(archive.size(), level == 0 ? 4'000'000U : 1'700'000U);
        }
    EXPECT_LT(Archive({Noise(500'000)}).size(), 500'200U) << "what does not shrink is stored";
}

TEST(Zip, RefusesContentThatGrows) {
    base::MemorySink out;
    EXPECT_THROW(ArchiveWriter(out, 6).Add("a", GrowingSource(), kTime), base::Error);
}

TEST(Zip, NoDamageGoesUnnoticed) {
    const std::string content = Rows(3'000);
    const std::string archive = Archive({content});
    for (std::size_t i = 0; i < archive.size(); ++i) {
        EXPECT_THROW(Extracted(archive.substr(0, i)), FormatError) << i;
        for (const int bits : {0x5A, 1, 0x20}) {
            std::string damaged = archive;
            damaged[i] = static_cast<char>(damaged[i] ^ bits);
            const base::MemorySource source = SourceOf(damaged);
            try {
                const ArchiveReader reader(source);
                base::MemorySink sink;
                for (const Entry& entry : reader.Entries()) {
                    EXPECT_EQ(entry.name, "0") << "byte " << i;
                    reader.Extract(entry, sink);
                }
                EXPECT_TRUE(ContentOf(sink) == content) << "byte " << i;
            } catch (const FormatError&) {
            }
        }
    }
}

/// What both headers of a member tell; it has four bytes of content.
struct Header {
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint32_t crc = 1;
    std::uint32_t compressedSize = 4;
    std::uint32_t size = 4;
    std::string name = "a";
    FieldWriter extras = {};
};

void Append(FieldWriter& record, const Header& header) {
    record.U16(20).U16(header.flags).U16(header.method).U32(0).U32(header.crc);
    record.U32(header.compressedSize).U32(header.size).U16(header.name.size());
    record.U16(header.extras.Written().size());
}

/// An archive of members that lie before its directory, which holds so many entries.
FieldWriter WithDirectory(const FieldWriter& members, base::Bytes directory, std::uint16_t entries) {
    FieldWriter archive = members;
    archive.Bytes(directory).U32(signature::kEnd).U32(0).U16(entries).U16(entries);
    archive.U32(directory.size()).U32(members.Written().size()).U16(0);
    return archive;
}

/// madeBy: 0x0300 on Unix.
FieldWriter ArchiveOf(const Header& local, const Header& central, std::uint16_t madeBy = 0) {
    FieldWriter member;
    Append(member.U32(signature::kLocalHeader), local);
    member.Text(local.name).Bytes(local.extras.Written()).Text("four");
    FieldWriter directory;
    Append(directory.U32(signature::kCentralHeader).U16(madeBy), central);
    directory.U16(0).U32(0).U32(0).U32(0).Text(central.name).Bytes(central.extras.Written());
    return WithDirectory(member, directory.Written(), 1);
}

std::vector<Entry> Entries(const FieldWriter& archive, CodePage oem = nullptr) {
    const base::MemorySource source(archive.Written());
    return ArchiveReader(source, oem).Entries();
}

TEST(Zip, RefusesADirectoryOfAnotherSizeThanItsEntries) {
    const FieldWriter member = FieldWriter().Text(std::string(kLocalHeaderSize, '\0'));
    EXPECT_THROW(Entries(WithDirectory(member, std::vector<std::uint8_t>(kLongestCentralHeader), 0)),
                 FormatError);
    FieldWriter header;
    header.U32(signature::kCentralHeader).Text(std::string(kCentralHeaderSize - 4, '\0'));
    EXPECT_THROW(Entries(WithDirectory(member, header.Written(), 0)), FormatError);
}

std::string NameOf(std::uint16_t madeBy, std::uint16_t flags, const std::string& name,
                   const FieldWriter& extras = {}, CodePage oem = nullptr) {
    const Header header{.flags = flags, .name = name, .extras = extras};
    return Entries(ArchiveOf(header, header, madeBy), oem).at(0).name;
}

std::wstring Upper(std::wstring_view text) {
    std::wstring upper(text);
    for (wchar_t& character : upper)
        character = static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(character)));
    return upper;
}

/// As code page 866 has them.
std::optional<std::wstring> Russian(std::string_view text) {
    if (text == "\x8F\xAE.mdb") return L"\u041F\u043E.mdb";
    return std::nullopt;
}

FieldWriter UnicodePath(const std::string& replaced, const std::string& name, std::uint8_t version = 1) {
    const auto crc = crc32(0, base::BytesOf(replaced).data(), static_cast<uInt>(replaced.size()));
    FieldWriter field;
    field.U16(extra::kUnicodePath).U16(5 + name.size()).Bytes({&version, 1}).U32(crc).Text(name);
    return field;
}

TEST(Zip, NamesAreInOneOfThreeCharacterSets) {
    const std::string ibm = "Gr\x94\xE1";
    const std::string utf8 = "Gr\u00F6\u00DF";
    EXPECT_EQ(NameOf(0, 0, ibm), utf8);
    EXPECT_EQ(NameOf(0x0300, 0, ibm), utf8);
    EXPECT_EQ(NameOf(0x0300, 0, utf8), utf8) << "a system whose names are UTF-8";
    EXPECT_EQ(NameOf(0, flag::kUtf8, utf8, UnicodePath(utf8, "x")), utf8);
    EXPECT_EQ(NameOf(0, 0, "?", FieldWriter().U16(1).U16(0).Bytes(UnicodePath("?", "\u6F22").Written())),
              "\u6F22");
    EXPECT_EQ(NameOf(0, 0, ibm, UnicodePath("?", "x")), utf8) << "the entry was renamed";
    EXPECT_EQ(NameOf(0, 0, ibm, UnicodePath(ibm, "x", 2)), utf8) << "a field of another version";
    for (const std::uint64_t size : {4U, 9U})
        EXPECT_EQ(NameOf(0, 0, ibm, FieldWriter().U16(extra::kUnicodePath).U16(size).U32(1)), utf8);
}

TEST(Zip, NamesOfMsDosAreInTheCodePageOfTheSystem) {
    const std::string name = "\x8F\xAE.mdb";
    const std::string russian = "\u041F\u043E.mdb";
    const std::string ibm = "\u00C5\u00AB.mdb";
    for (const std::uint16_t madeBy : std::initializer_list<std::uint16_t>{0x0014, 0x0A00, 0x0B00, 0x0E00})
        EXPECT_EQ(NameOf(madeBy, 0, name, {}, &Russian), russian);
    EXPECT_EQ(NameOf(0x0300, 0, name, {}, &Russian), ibm) << "of Unix";
    EXPECT_EQ(NameOf(0, 0, name), ibm);
    EXPECT_EQ(NameOf(0, 0, "\x94", {}, &Russian), "\u00F6") << "no text of the code page";
    EXPECT_EQ(NameOf(0, flag::kUtf8, russian, {}, &Russian), russian);
    EXPECT_EQ(NameOf(0, 0, name, UnicodePath(name, "x"), &Russian), "x");
    const Header header{.name = name};
    const FieldWriter archive = ArchiveOf(header, header);
    const auto objection = [&](CodePage oem) {
        return PacketObjection(base::MemorySource(archive.Written()), L"\u041F\u043E.mdb", &Upper, oem);
    };
    EXPECT_EQ(objection(&Russian), std::nullopt);
    EXPECT_NE(objection(nullptr), std::nullopt) << "the reader writes another file";
}

FieldWriter WideSizes(std::uint64_t size) {
    return FieldWriter().U16(extra::kZip64).U16(16).U64(size).U64(size);
}

TEST(Zip, RefusesHeadersThatContradictEachOther) {
    const FieldWriter unicode = UnicodePath("a", "\u6F22");
    const Header central{.extras = unicode};
    const auto accepts = [&](const Header& local) {
        return Entries(ArchiveOf(local, central)).at(0).name == "\u6F22";
    };
    for (const Header& local :
         {Header(central), Header(),
          Header{.flags = flag::kDescriptor, .crc = 0, .compressedSize = 0, .size = 0},
          Header{.compressedSize = kSeeWider32, .size = kSeeWider32, .extras = WideSizes(4)},
          Header{.flags = flag::kDescriptor,
          .crc = 0,
          .compressedSize = kSeeWider32,
          .size = kSeeWider32,
          .extras = WideSizes(0)}})
        EXPECT_TRUE(accepts(local)) << "other programs write this";
    for (const Header& local :
         {Header{.name = "b"}, Header{.extras = UnicodePath("a", "b")}, Header{.method = 8}, Header{.crc = 0},
          Header{.flags = flag::kUtf8}, Header{.flags = flag::kEncrypted}, Header{.size = 5},
          Header{.size = 0}, Header{.compressedSize = 3}, Header{.flags = flag::kDescriptor, .size = 5},
          Header{.compressedSize = kSeeWider32, .size = kSeeWider32, .extras = WideSizes(5)}})
        EXPECT_THROW(accepts(local), FormatError);
}

TEST(Zip, RefusesSizesThatDeflateCannotReach) {
    const auto entries = [](std::uint32_t size) {
        const Header header{.method = 8, .size = size};
        return Entries(ArchiveOf(header, header)).size();
    };
    EXPECT_EQ(entries(4 * 1032), 1U);
    EXPECT_THROW(entries(5 * 1032), FormatError);
    const Header huge{.method = 8,
                      .size = kSeeWider32,
                      .extras = FieldWriter().U16(extra::kZip64).U16(8).U64(std::uint64_t{1} << 60)};
    EXPECT_THROW(Entries(ArchiveOf(huge, huge)), FormatError);
}

TEST(Zip, ReadsAnArchiveThatOtherBytesFollow) {
    const std::vector<std::string> contents = {Rows(3'000), "x"};
    const std::string archive = Archive(contents);
    std::string commented = archive;
    commented[archive.size() - 2] = 100;
    commented += archive.substr(archive.size() - kEndSize) + std::string(100 - kEndSize, 'c');
    for (const std::string& whole : {archive, commented})
        for (const std::size_t size : {0U, 1U, 2U, 65'000U})
            EXPECT_TRUE(Extracted(whole + Noise(size)) == contents) << size;
    EXPECT_THROW(Extracted(commented.substr(0, archive.size() + 10)), FormatError);
    EXPECT_THROW(Extracted(archive + Noise(66'000)), FormatError);
}

TEST(Zip, RefusesAPartOfAnArchiveInSeveralFiles) {
    const std::string archive = Archive({"x"});
    for (const std::size_t field : {4U, 6U, 8U}) {  // its number, that of the directory's, entries in it
        std::string part = archive;
        part[archive.size() - kEndSize + field] ^= 2;
        EXPECT_THROW(Extracted(part), FormatError) << field;
    }
}

TEST(Zip, AnArchiveOfAPacketHoldsNothingElse) {
    const auto objection = [](const std::vector<std::string>& names) {
        base::MemorySink out;
        ArchiveWriter writer(out, 0);
        for (const std::string& name : names)
            writer.Add(name, SourceOf(""), kTime);
        writer.Finish();
        return PacketObjection(base::MemorySource(out.Written()), L"\u00D6.mdb", &Upper).value_or(L"");
    };
    for (const char* name : {"\u00D6.mdb", "\u00D6.MDB", "sub/\u00D6.mdb"})
        EXPECT_EQ(objection({name}), L"");
    for (const auto& [names, other] : {std::pair(std::vector<std::string>(), L"0 members"),
                                       {{"\u00D6.mdb", "other.mdb"}, L"2 members"},
                                       {{"sub/", "\u00D6.mdb"}, L"2 members"},
                                       {{"other.mdb"}, L"other.mdb"},
                                       {{"\u00D6.mdb/"}, L"the folder \u00D6.mdb/"}})
        EXPECT_EQ(objection(names), L"the archive holds " + std::wstring(other) +
                                        L" in the place of \u00D6.mdb; ask its sender for an archive of "
                                        L"\u00D6.mdb alone.");
    EXPECT_THROW(objection({"nul"}), FormatError);
    EXPECT_THROW(PacketObjection(SourceOf("x"), L"x", &Upper), FormatError);
}

TEST(Zip, TimesOfTheFormatAreEvenAndLimited) {
    EXPECT_EQ(FromDosTime(ToDosTime(kTime)), kTime - std::chrono::seconds(1));
    EXPECT_EQ(ToDosTime(base::FileTime()).date, 1 << 5 | 1);
    EXPECT_EQ(ToDosTime(kTime + std::chrono::years(200)).date, 127 << 9 | 12 << 5 | 31);
}

#ifdef _WIN32
TEST(Zip, TimesFollowTheSystemAndNotAVariable) {
    const std::uint16_t time = ToDosTime(kTime).time;
    _putenv_s("TZ", "AAA-7:30");
    _tzset();
    EXPECT_EQ(ToDosTime(kTime).time, time);
    EXPECT_EQ(FromDosTime(ToDosTime(kTime)), kTime - std::chrono::seconds(1));
    _putenv_s("TZ", "");
    _tzset();
}
#endif

TEST(Zip, RefusesNamesThatLeadElsewhere) {
    for (const char* name : {"../a",         "a/../../b", "/a",          "\\a",      "\\\\server\\share\\a",
                             "C:a",          "C:/a",      "a/..\\..\\b", "a:stream", "NUL",
                             "sub/com1.mdb", "a?",        "a*b",         "a\nb",     "a.",
                             "a ",           "sub./a",    "..",          "...",      "a|b",
                             "\xFF"})
        EXPECT_THROW(TargetPath(name, Paths::Keep), FormatError) << name;
    EXPECT_EQ(TargetPath("a/./b\u00F6//.c", Paths::Keep), L"a\\b\u00F6\\.c");
    EXPECT_EQ(TargetPath("../\xFF/a b.mdb", Paths::Junk), L"a b.mdb");
    EXPECT_EQ(TargetPath("a/", Paths::Junk), L"");
}

TEST(Zip, FilesAreAddedUnderTheirPathsBehindTheRoot) {
    for (const auto& [path, name, bareName] : {std::tuple(L"a\\b/c", "a/b/c", "c"),
                                               {L"C:\\a\\.\\b", "a/b", "b"},
                                               {L"C:a", "a", "a"},
                                               {L"\\\\server\\share\\a", "share/a", "a"},
                                               {L"..\\a\\..\\..\\\u00F6", "\u00F6", "\u00F6"},
                                               {L"a\\", "a", ""},
                                               {L"C:\\", "", ""},
                                               {L"", "", ""}}) {
        EXPECT_EQ(EntryName(path, Paths::Keep), name);
        EXPECT_EQ(EntryName(path, Paths::Junk), bareName);
    }
}

TEST(Zip, RefusesToLoseAnEntry) {
    const auto plan = [](const std::vector<std::string>& names, Paths paths) {
        std::vector<Entry> entries;
        for (const std::string& name : names)
            entries.emplace_back().name = name;
        const auto firstLetter = [](std::wstring_view path) { return std::wstring(path.substr(0, 1)); };
        return PlanExtraction(entries, paths, firstLetter).size();
    };
    EXPECT_EQ(plan({"a/", "b/x", "c"}, Paths::Keep), 3U);
    EXPECT_EQ(plan({"a/", "a/x", "a/y"}, Paths::Junk), 2U);
    EXPECT_THROW(plan({"a/x", "b/x"}, Paths::Junk), FormatError);
    EXPECT_THROW(plan({"xa", "xb"}, Paths::Keep), FormatError) << "the same after folding";
    EXPECT_THROW(plan({"."}, Paths::Keep), FormatError) << "no name";
}

}  // namespace
