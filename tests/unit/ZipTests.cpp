#include "companions/zip/ArchiveReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>

#include "companions/support/Fields.h"
#include "companions/support/File.h"
#include "companions/zip/ArchiveWriter.h"
#include "companions/zip/Extraction.h"

using namespace companions;
using zip::Paths;

namespace {

using Bytes = std::vector<std::uint8_t>;

class MemorySink final : public ByteSink {
public:
    void Write(std::span<const std::uint8_t> bytes) override {
        content.insert(content.end(), bytes.begin(), bytes.end());
    }
    Bytes content;
};

Bytes ReadAll(const std::filesystem::path& path) {
    const InputFile file(path);
    Bytes content(static_cast<std::size_t>(file.Size()));
    file.ReadAt(0, content);
    return content;
}

Bytes Text(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>("row of data "[i % 12] + i / 997 % 3);
    return bytes;
}

Bytes Noise(std::size_t size) {
    std::mt19937 random(7);
    Bytes bytes(size);
    std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

constexpr FileTime kTime{std::chrono::seconds(1'700'000'001)};

class Zip : public testing::Test {
protected:
    Zip() { std::filesystem::create_directory(m_folder); }
    ~Zip() override { std::filesystem::remove_all(m_folder); }

    struct File {
        std::string name;
        Bytes content;
    };

    Bytes Archive(const std::vector<File>& files, int level = 6, zip::Zip64Limits limits = {}) const {
        OutputFile out(m_archive);
        zip::ArchiveWriter writer(out, level, limits);
        for (const File& file : files)
            writer.Add(file.name, MemorySource(file.content), kTime);
        writer.Finish();
        out.Commit();
        return ReadAll(m_archive);
    }

    const std::filesystem::path m_folder =
        std::filesystem::temp_directory_path() / ("zip-tests-" + std::to_string(std::random_device()()));
    const std::filesystem::path m_archive = m_folder / "archive.mdb.afz";
};

void ExpectContent(const Bytes& archive, const std::vector<Bytes>& contents) {
    const MemorySource source(archive);
    const zip::ArchiveReader reader(source);
    ASSERT_EQ(reader.Members().size(), contents.size());
    for (std::size_t i = 0; i < contents.size(); ++i) {
        MemorySink sink;
        reader.Extract(reader.Members()[i], sink);
        EXPECT_EQ(sink.content, contents[i]) << reader.Members()[i].name;
        EXPECT_EQ(reader.Members()[i].time, kTime);
    }
}

TEST_F(Zip, RestoresWhatItPacked) {
    Bytes mixed = Noise(600'000);
    std::ranges::copy(Text(700'000), std::back_inserter(mixed));
    std::ranges::copy(Noise(300'000), std::back_inserter(mixed));
    const std::vector<Bytes> contents = {{}, {42}, Text(1'000'000), Noise(700'000), mixed};
    for (const int level : {0, 1, 6, 9})
        for (const zip::Zip64Limits limits : {zip::Zip64Limits{}, {1, 1}, {600'000, 3}}) {
            std::vector<File> files;
            for (const Bytes& content : contents)
                files.push_back({"file " + std::to_string(files.size()), content});
            const Bytes archive = Archive(files, level, limits);
            ExpectContent(archive, contents);
            EXPECT_LT(archive.size(), level == 0 ? 4'000'000U : 1'700'000U);
        }
}

TEST_F(Zip, StoresWhatDoesNotShrink) {
    const Bytes content = Noise(500'000);
    EXPECT_LT(Archive({{"noise", content}}).size(), content.size() + 200);
}

TEST_F(Zip, RefusesContentThatGrows) {
    class Growing final : public ByteSource {
    public:
        std::uint64_t Size() const override { return m_size++; }
        std::size_t ReadAt(std::uint64_t, std::span<std::uint8_t>) const override { return 0; }

    private:
        mutable std::uint64_t m_size = 10;
    };
    {
        OutputFile out(m_archive);
        zip::ArchiveWriter writer(out, 6);
        EXPECT_THROW(writer.Add("a", Growing(), kTime), Error);
    }
    EXPECT_TRUE(std::filesystem::is_empty(m_folder));
}

TEST_F(Zip, NoDamageGoesUnnoticed) {
    const Bytes content = Text(3'000);
    const Bytes archive = Archive({{"a", content}});
    for (std::size_t i = 0; i < archive.size(); ++i) {
        Bytes damaged = archive;
        damaged[i] ^= 0x5A;
        MemorySink sink;
        try {
            const MemorySource source(damaged);
            const zip::ArchiveReader reader(source);
            for (const zip::Member& member : reader.Members())
                reader.Extract(member, sink);
        } catch (const FormatError&) {
            continue;
        }
        EXPECT_TRUE(sink.content == content) << "byte " << i;
    }
    for (std::size_t size = 0; size < archive.size(); ++size) {
        const MemorySource source{std::span(archive).first(size)};
        EXPECT_THROW(zip::ArchiveReader{source}, FormatError) << size;
    }
}

/// Zeros, and the end of an archive behind them: as a file without disk space for them may be.
class SparseArchive final : public ByteSource {
public:
    SparseArchive(std::uint64_t size, Bytes end) : m_size(size), m_end(std::move(end)) {}

    std::uint64_t Size() const override { return m_size; }
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const override {
        const std::uint64_t zeros = m_size - m_end.size();
        std::ranges::fill(buffer, std::uint8_t{0});
        for (std::uint64_t at = std::max(offset, zeros); at < offset + buffer.size(); ++at)
            buffer[static_cast<std::size_t>(at - offset)] = m_end[static_cast<std::size_t>(at - zeros)];
        return buffer.size();
    }

private:
    std::uint64_t m_size;
    Bytes m_end;
};

TEST_F(Zip, RefusesADirectoryLargerThanItsMembers) {
    constexpr std::uint64_t kSize = std::uint64_t{1} << 46;
    // The ends of zip64 and of the archive, and the locator between them.
    constexpr std::size_t kEnds = 56 + 20 + 22;
    const Bytes archive = Archive({{"a", {}}}, 6, {1, 1});
    FieldWriter extent;
    extent.U64(kSize - kEnds).U64(0);
    FieldWriter position;
    position.U64(kSize - kEnds);
    Bytes end(archive.end() - kEnds, archive.end());
    std::ranges::copy(extent.Written(), end.begin() + 40);
    std::ranges::copy(position.Written(), end.begin() + 56 + 8);
    const SparseArchive source(kSize, end);
    EXPECT_THROW(zip::ArchiveReader{source}, FormatError);
}

TEST_F(Zip, RefusesNamesThatLeadElsewhere) {
    for (const char* name : {"../a",         "a/../../b", "/a",          "\\a",      "\\\\server\\share\\a",
                             "C:a",          "C:/a",      "a/..\\..\\b", "a:stream", "NUL",
                             "sub/com1.mdb", "lpt\u00B2", "conin$",      "a?",       "a*b",
                             "a\nb",         "a.",        "a ",          "sub./a",   "..",
                             "...",          "a|b",       "con .txt",    "\xFF"}) {
        EXPECT_THROW(zip::TargetPath(name, Paths::Keep), FormatError) << name;
    }
    EXPECT_EQ(zip::TargetPath("a/./b//c", Paths::Keep), std::filesystem::path("a") / "b" / "c");
    EXPECT_EQ(zip::TargetPath("../../a.mdb", Paths::Junk), std::filesystem::path("a.mdb"));
    for (const char* name :
         {"-a", "console", "com", "com10", ".hidden", "a b.mdb", "Gr\u00F6\u00DFe", "COM1x", "COM0", "CON x"})
        EXPECT_EQ(zip::TargetPath(name, Paths::Junk),
                  std::filesystem::path(std::u8string(name, name + std::string_view(name).size())));
}

TEST_F(Zip, RefusesToLoseAMember) {
    const auto plan = [&](const std::vector<std::string>& names, Paths paths) {
        std::vector<zip::Member> members;
        for (const std::string& name : names)
            members.emplace_back().name = name;
        return zip::PlanExtraction(members, paths).size();
    };
    EXPECT_EQ(plan({"a/", "a/x", "b/x"}, Paths::Keep), 3U);
    EXPECT_THROW(plan({"a/", "a/x", "b/x"}, Paths::Junk), FormatError);
    EXPECT_THROW(plan({"x", "x"}, Paths::Keep), FormatError);
#ifdef _WIN32
    EXPECT_THROW(plan({"x", "X"}, Paths::Keep), FormatError);
#endif
}

TEST_F(Zip, OtherCharacterSetsAreUnderstood) {
    EXPECT_EQ(zip::FromOemCharacters("Gr\x94\xE1"
                                     "e \xF1"),
              "Gr\u00F6\u00DFe \u00B1");
}

TEST_F(Zip, OutputAppearsOnlyWhenComplete) {
    Archive({{"old", Text(10)}});
    const Bytes old = ReadAll(m_archive);
    {
        OutputFile out(m_archive);
        out.Write(Text(100'000));
        EXPECT_EQ(ReadAll(m_archive), old);
    }
    EXPECT_EQ(ReadAll(m_archive), old);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder), {}), 1);
    EXPECT_THROW(OutputFile(m_folder / "no such folder" / "a"), Error);
    EXPECT_THROW(InputFile(m_folder / "no such file"), Error);
}

TEST_F(Zip, UnfinishedOutputReplacesNoOtherFile) {
    const std::filesystem::path other = m_archive.native() + std::filesystem::path(".unfinished").native();
    OutputFile first(other);
    first.Write(Text(10));
    first.Commit();
    const Bytes archive = Archive({{"a", Text(20)}});
    {
        OutputFile second(m_archive);
        OutputFile third(m_archive);
    }
    EXPECT_EQ(ReadAll(other), Text(10));
    EXPECT_EQ(ReadAll(m_archive), archive);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder), {}), 2);
}

}  // namespace
