// See DemoPackets.h.
#include "host/demo/DemoPackets.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"

namespace {

constexpr size_t kPageSize = 4096;
constexpr std::uint64_t kSurveyPages = (64ull << 20) / kPageSize;

constexpr const char* kWords[] = {"pole",        "cable",    "meter", "valve",     "transformer",
                                  "inspected",   "replaced", "rusty", "Lindenweg", "Bahnhofstrasse",
                                  "street lamp", "closed",   "open",  "good"};

/// A page of a database: records of words and measured values, and the space that they leave.
std::string MakePage(std::uint64_t number, std::mt19937& random) {
    std::string page = "PAGE" + std::to_string(number) + ";";
    while (page.size() < kPageSize * 3 / 4) {
        for (int word = 0; word < 4; ++word)
            page.append(kWords[random() % std::size(kWords)]).append(" ");
        page += std::to_string(random()) + ";" + std::to_string(random() % 1000) + "\n";
    }
    page.resize(kPageSize);
    return page;
}

void WriteDatabase(const std::wstring& path, std::uint64_t pages, unsigned seed) {
    base::File file = base::File::CreateNew(path);
    std::mt19937 random(seed);
    for (std::uint64_t number = 0; number < pages; ++number)
        file.Write(MakePage(number, random));
}

std::string XmlText(unsigned seed) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<packet number=\"" + std::to_string(seed) +
           "\">Größe 5 µm, Zürich, Łódź, 東京, Αθήνα</packet>\n";
}

}  // namespace

std::vector<std::wstring> WriteDemoPackets(const std::wstring& outbox, const std::wstring& otherInbox,
                                           unsigned seed) {
    const auto path = [&](const wchar_t* name) { return Path::Join(outbox, name); };
    WriteDatabase(path(L"survey.mdb"), kSurveyPages, seed);
    base::WriteNewFile(path(L"Größen.xml"), XmlText(seed));
    base::WriteNewFile(path(L"empty.xml"), "");
    WriteDatabase(path(L"work order 17.mdb"), 75, seed + 1);
    WriteDatabase(path(L"4711~2.mdb"), 3, seed + 2);
    FileSystem::CreateFolders(path(L"district 5"));
    WriteDatabase(path(L"district 5\\poles.mdb"), 17, seed + 3);
    base::WriteNewFile(Path::Join(otherInbox, L"settings.xml"), "<settings version=\"older\"/>\n");
    base::WriteNewFile(path(L"settings.xml"), "<settings version=\"" + std::to_string(seed) + "\"/>\n");
    return {L"survey.mdb",        L"Größen.xml", L"empty.xml",
            L"work order 17.mdb", L"4711~2.mdb", L"district 5\\poles.mdb",
            L"settings.xml"};
}

std::vector<std::wstring> WriteServerDemoPackets(const std::wstring& outbox, unsigned seed) {
    const auto path = [&](const wchar_t* name) { return Path::Join(outbox, name); };
    WriteDatabase(path(L"inspection.mdb"), 500, seed);
    base::WriteNewFile(path(L"route.xml"), XmlText(seed));
    FileSystem::CreateFolders(path(L"district7"));
    WriteDatabase(path(L"district7\\4712~1.mdb"), 20, seed + 1);
    return {L"inspection.mdb", L"route.xml", L"district7\\4712~1.mdb"};
}

void ChangeDatabase(const std::wstring& path, unsigned seed) {
    constexpr std::uint64_t kStep = 100;
    const std::uint64_t pages = FileSystem::FileSize(path) / kPageSize;
    base::File file = base::File::Open(path, GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING);
    std::mt19937 random(seed);
    for (std::uint64_t number = random() % kStep; number < pages; number += kStep) {
        const std::string page = MakePage(number, random);
        file.WriteAt(number * kPageSize, {reinterpret_cast<const std::uint8_t*>(page.data()), page.size()});
    }
}
