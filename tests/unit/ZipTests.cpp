// Archives restore what was put into them, and what is damaged or means harm is refused.
#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <tuple>
#include <vector>

#include "companions/support/Fields.h"
#include "companions/zip/ArchiveReader.h"
#include "companions/zip/ArchiveWriter.h"
#include "companions/zip/DosTime.h"
#include "companions/zip/Extraction.h"
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
        std::string damaged = archive;
        damaged[i] ^= 0x5A;
        const base::MemorySource source = SourceOf(damaged);
        try {
            const ArchiveReader reader(source);
            base::MemorySink sink;
            for (const Entry& entry : reader.Entries())
                reader.Extract(entry, sink);
            EXPECT_TRUE(ContentOf(sink) == content) << "byte " << i;
        } catch (const FormatError&) {
        }
    }
}

/// An archive whose central directory, which holds so many entries, begins behind a local file header.
FieldWriter WithDirectory(base::Bytes directory, std::uint16_t entries) {
    FieldWriter archive;
    archive.Text(std::string(kLocalHeaderSize, '\0')).Bytes(directory).U32(signature::kEnd).U32(0);
    archive.U16(entries).U16(entries).U32(directory.size()).U32(kLocalHeaderSize).U16(0);
    return archive;
}

std::vector<Entry> Entries(const FieldWriter& archive) {
    const base::MemorySource source(archive.Written());
    return ArchiveReader(source).Entries();
}

TEST(Zip, RefusesACentralDirectoryLargerThanItsEntries) {
    EXPECT_THROW(Entries(WithDirectory(std::vector<std::uint8_t>(kLongestCentralHeader), 0)), FormatError);
}

/// madeBy: 0x0300 on Unix.
std::string NameOf(std::uint16_t madeBy, std::uint16_t flags, const std::string& name,
                   const FieldWriter& extras = {}) {
    FieldWriter header;
    header.U32(signature::kCentralHeader).U16(madeBy).U16(20).U16(flags).U16(0).U32(0);
    header.U32(0).U32(0).U32(0).U16(name.size()).U16(extras.Written().size());
    header.U16(0).U16(0).U16(0).U32(0).U32(0).Text(name).Bytes(extras.Written());
    return Entries(WithDirectory(header.Written(), 1)).at(0).name;
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

TEST(Zip, TimesOfTheFormatAreEvenAndLimited) {
    EXPECT_EQ(FromDosTime(ToDosTime(kTime)), kTime - std::chrono::seconds(1));
    EXPECT_EQ(ToDosTime(base::FileTime()).date, 1 << 5 | 1);
    EXPECT_EQ(ToDosTime(kTime + std::chrono::years(200)).date, 127 << 9 | 12 << 5 | 31);
}

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
