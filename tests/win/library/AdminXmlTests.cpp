// The administration document: its exact text, what reads back from it, and which settings make none.
#include <gmock/gmock.h>

#include "base/Utf8.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"
#include "common/modMain.h"
#include "ftp/settings/AdminXml.h"
#include "ftp/settings/XmlDocument.h"
#include "mobile/modMobileAdminXML.h"
#include "tests/win/support/Dll.h"
#include "tests/win/support/FrameworkDoubles.h"

using namespace modMobileAdminXML;
using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::HasSubstr;

/// What the document's own save method writes, without the line end that differs between parsers.
std::string Saved(IXMLDOMDocument* document) {
    ComPtr<IStream> stream;
    com::Check(CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    com::Check(document->save(com::Variant::Object(stream.Get()).Get()));
    com::Check(stream->Seek({}, STREAM_SEEK_SET, nullptr));
    std::string text(4096, '\0');
    ULONG size = 0;
    com::Check(stream->Read(text.data(), 4096, &size));
    return text.substr(0, text.find_last_not_of("\r\n", size - 1) + 1);
}

/// The settings of a document that is parsed from text.
FtpSite ReadBack(const std::string& text) {
    const auto document = xml::NewXmlDocument();
    VARIANT_BOOL parsed = VARIANT_FALSE;
    com::Check(document->loadXML(com::Bstr(base::FromUtf8(text)).Get(), &parsed));
    EXPECT_TRUE(parsed) << text;
    FtpSite site;
    AdminXml::ReadSettings(document.Get(), site);
    return site;
}

std::string Document(const std::string& settings) {
    return R"(<MOBILECONFIGURATIONROOT><MOBILECONFIGURATION KeyName="SENDERRECEIVER">)"
           R"(<HKEY KeyName="ZN_LOCAL_MACHINE"><BASEKEY KeyName="znMobile"><KEY KeyName="Transport")" +
           settings + "</BASEKEY></HKEY></MOBILECONFIGURATION></MOBILECONFIGURATIONROOT>";
}

class AdminXmlTest : public testing::Test {
protected:
    AdminXmlTest() { Main(); }

    std::string Generate(LONG sides = 3) const {
        const auto document = GenerateFTPXML(sides, site);
        return document ? Saved(document.Get()) : "no document";
    }

    ComApartment apartment;
    Framework framework;
    FtpSite site{L"server", L"user", L"password", L"Out", L"In"};
};

TEST_F(AdminXmlTest, HoldsEveryValueAsGiven) {
    site = {L"<ftp>.example", L"Jörg Ł 漢 \xD83D\xDE00", L" it's 100% ", L"Out & \"back\"", L"  In"};
    const std::string text = Generate();
    EXPECT_EQ(text,
              Document(">"
                       R"(<SETTING KeyName="FTPServer" KeyValue="&lt;ftp&gt;.example"/>)"
                       R"(<SETTING KeyName="FTPUser" KeyValue="Jörg Ł 漢 😀"/>)"
                       R"(<SETTING KeyName="FTPPassword" KeyValue=" it's 100% "/>)"
                       R"(<SETTING KeyName="FTPEnterpriseToField" KeyValue="Out &amp; &quot;back&quot;"/>)"
                       R"(<SETTING KeyName="FTPFieldtoEnterprise" KeyValue="  In"/>)"
                       "</KEY>"));
    EXPECT_EQ(ReadBack(text), site);
    site.enterpriseToField = L"a\tb\r\nc";
    EXPECT_EQ(ReadBack(Generate()), site);
    EXPECT_EQ(framework.LogText(), L"");
}

TEST_F(AdminXmlTest, SidesDecideWhetherThereAreSettings) {
    EXPECT_EQ(Generate(4), Document("/>"));
    EXPECT_EQ(Generate(0), Document("/>"));
    for (const LONG sides : {1L, 2L, 7L})
        EXPECT_EQ(ReadBack(Generate(sides)), site) << sides;
}

TEST_F(AdminXmlTest, AsksForFiveValuesAndTwoFolders) {
    const auto isGood = [&](const FtpSite& settings) {
        site = settings;
        EXPECT_EQ(Generate() != "no document", VerifyFTPSite(settings));
        return VerifyFTPSite(settings);
    };
    const FtpSite good{L" s ", L" u", L"p ", L" a b", L"a  b"};
    EXPECT_TRUE(isGood(good));
    EXPECT_TRUE(isGood({L"s", L"u", L"p", L"Out", L"out"})) << "letter case tells folders apart";
    for (const auto setting : {&FtpSite::server, &FtpSite::user, &FtpSite::password,
                               &FtpSite::enterpriseToField, &FtpSite::fieldToEnterprise})
        for (const wchar_t* blank : {L"", L"   "}) {
            FtpSite bad = good;
            bad.*setting = blank;
            EXPECT_FALSE(isGood(bad));
        }
    EXPECT_FALSE(isGood({L"s", L"u", L"p", L" Out", L"Out "}));
    EXPECT_EQ(framework.LogText(), L"");
}

TEST_F(AdminXmlTest, CharactersThatCannotBeReadBackAreRefused) {
    for (const wchar_t* bad : {L"a\x1", L"\xD800", L"\xDC00\xD800", L"\xFFFF"}) {
        site.user = bad;
        EXPECT_EQ(Generate(), "no document");
    }
    EXPECT_THAT(framework.LogText(), HasSubstr(L"modMobileAdminXML.GenerateFTPXML\r\nThe value of KeyValue"));
}

TEST_F(AdminXmlTest, ChildElementsGoToTheirParent) {
    const auto document = xml::NewXmlDocument();
    const auto root = GenerateChildElement(L"Root", document.Get(), nullptr, L"", L"");
    ASSERT_TRUE(root);
    EXPECT_TRUE(GenerateChildElement(L"Größe", document.Get(), root.Get(), L"a-1", L"x"));
    EXPECT_TRUE(GenerateChildElement(L"NoName", document.Get(), root.Get(), L"", L"x"));
    EXPECT_TRUE(GenerateChildElement(L"NoValue", document.Get(), root.Get(), L"a", L""));
    const std::string before = Saved(document.Get());
    EXPECT_EQ(before, "<Root><Größe a-1=\"x\"/><NoName/><NoValue/></Root>");
    EXPECT_FALSE(GenerateChildElement(L"", document.Get(), root.Get(), L"", L""));
    EXPECT_FALSE(GenerateChildElement(L"Name", nullptr, root.Get(), L"", L""));
    EXPECT_EQ(framework.LogText(), L"");
    for (const wchar_t* name : {L"two words", L"1st", L"a b='c'", L"a><b/", L"a/", L"<a"})
        EXPECT_FALSE(GenerateChildElement(name, document.Get(), root.Get(), L"", L""));
    EXPECT_FALSE(GenerateChildElement(L"Name", document.Get(), root.Get(), L"two words", L"x"));
    EXPECT_FALSE(GenerateChildElement(L"Name", document.Get(), root.Get(), L"a", L"\x2"));
    EXPECT_FALSE(GenerateChildElement(L"Second", document.Get(), nullptr, L"", L"")) << "one root only";
    EXPECT_EQ(Saved(document.Get()), before) << "nothing was appended";
    EXPECT_EQ(framework.log.size(), 9u);
    EXPECT_THAT(framework.LogText(),
                HasSubstr(L"modMobileAdminXML.GenerateChildElement\r\n\"two words\" is no XML name."));
}

}  // namespace
}  // namespace tests
