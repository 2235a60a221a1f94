// What travels to WebDAV servers as text, and comes from them: paths of URLs, logins, and notes of digests.
#include <gtest/gtest.h>

#include "base/Utf8.h"
#include "http/HttpChallenge.h"
#include "http/HttpDate.h"
#include "http/UrlPath.h"
#include "webdav/PacketDigests.h"

namespace {

TEST(UrlPath, NamesArePercentEncodedUtf8) {
    EXPECT_EQ(UrlPath::Encode(L"aZ09-._~"), "aZ09-._~");
    EXPECT_EQ(UrlPath::Encode(L"50% & more #1;+=@/?.xml"), "50%25%20%26%20more%20%231%3B%2B%3D%40%2F%3F.xml");
    EXPECT_EQ(UrlPath::Encode(base::FromUtf8("\xC3\xBC\xE6\x97\xA5")), "%C3%BC%E6%97%A5");
    EXPECT_EQ(UrlPath::EncodePath(L"SUB/a b/"), "SUB/a%20b/");
}

TEST(UrlPath, TheLastNameOfAReferenceIsWhatCounts) {
    const std::wstring name = L"a b%.mdb";
    for (const char* reference : {"a%20b%25.mdb", "/dav/a%20b%25.mdb", "/dav/a%20b%25.mdb/", "a b%25.mdb",
                                  "https://server:8443/dav/%61%20b%25%2e%6D%64%62", "//server/a%20b%25.mdb"})
        EXPECT_EQ(UrlPath::LastName(reference), name) << reference;
    for (const char* reference :
         {"", "/", "https://server", "https://server/", "/a%2", "/a%zz", "/%ff", "/a%"})
        EXPECT_EQ(UrlPath::LastName(reference), std::nullopt) << reference;
}

TEST(HttpChallenge, HeadersHoldOneOrMany) {
    using Challenges = std::vector<HttpChallenge>;
    for (const auto& [header, expected] :
         {std::pair<const char*, Challenges>{"Basic realm=\"a, \\\"b\\\"=c\"",
                                             {{"basic", {{"realm", "a, \"b\"=c"}}}}},
          {"Digest realm=\"r\",QOP=auth , Nonce = \"n=\" , stale=TRUE",
           {{"digest", {{"realm", "r"}, {"qop", "auth"}, {"nonce", "n="}, {"stale", "TRUE"}}}}},
          {"Negotiate, NTLM,, Basic realm=x", {{"negotiate"}, {"ntlm"}, {"basic", {{"realm", "x"}}}}},
          {"NTLM TlRMTVNTUAAC==", {{"ntlm", {{"tlrmtvntuaac", "="}}}}},
          {"", {}},
          {"=a, \"", {{"a"}}},
          {"Basic realm=\"a", {{"basic", {{"realm", "a"}}}}}})
        EXPECT_EQ(ReadChallenges(header), expected) << header;
}

TEST(HttpDate, IsInTheOneFormThatServersMakeToday) {
    using namespace std::chrono;
    EXPECT_EQ(HttpDateIn("Sun, 06 Nov 1994 08:49:37 GMT"),
              sys_days(1994y / November / 6d) + 8h + 49min + 37s);
    for (const char* text :
         {"", "Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994", "Sun, 06 Nov 1994 08:49:37 CET",
          "Sun, 31 Nov 1994 08:49:37 GMT", "Sun, 06 Nox 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08:49:77 GMT"})
        EXPECT_EQ(HttpDateIn(text), std::nullopt) << text;
}

class PacketDigests : public testing::Test {
protected:
    const std::vector<PacketDigest> m_digests{
        {L"SUB/a b.mdb", L"PC-1~77", 20'000'000'000, base::FileTime(base::FileTime::duration(-5)),
         std::wstring(64, L'a')},
        {base::FromUtf8("\xC3\xBC.xml"), L"PC-1~78", 0, base::FileTime(), std::wstring(64, L'0')}};
};

TEST_F(PacketDigests, HalfOfASurrogatePairDoesNotTravel) {
    for (const char* name :
         {"SUB/a b.mdb", "\xC3\xBC\xE6\x97\xA5.xml", "\xF0\x9F\x93\xA6.mdb", "\xEF\xBF\xBD.mdb"})
        EXPECT_TRUE(KeepsItsName(base::FromUtf8(name))) << name;
    for (const wchar_t half : {wchar_t{0xD83D}, wchar_t{0xDCE6}})
        EXPECT_FALSE(KeepsItsName(L"SUB/" + std::wstring(1, half) + L".mdb"));
}

TEST_F(PacketDigests, ComeBackFromTheirNote) {
    EXPECT_EQ(DigestsIn(TextOf(m_digests)), m_digests);
    EXPECT_EQ(DigestsIn(TextOf({})), std::vector<PacketDigest>());
}

TEST_F(PacketDigests, OfAPartOrAnotherTextThereAreNone) {
    const std::string note = TextOf(m_digests);
    for (size_t length = 0; length < note.size(); ++length)
        EXPECT_EQ(DigestsIn(note.substr(0, length)), std::nullopt) << length;
    EXPECT_EQ(DigestsIn(note + " "), std::nullopt);
    for (const char* line : {"short 1 2 u p", "1 2 u p", "", " -1 2 u p", " 1 2  p", " 1 2 u ",
                             " 99999999999999999999 2 u p", " 1 x u p", " 1 2 u \xFF"})
        EXPECT_EQ(DigestsIn("znTransporter digests 1\n" + (*line == ' ' ? std::string(64, 'a') : "") + line +
                            "\nend\n"),
                  std::nullopt)
            << line;
}

}  // namespace
