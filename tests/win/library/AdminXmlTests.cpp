// The administration document: its exact text, what reads back from it, and which settings make none.
#include "base/Utf8.h"
#include "common/modMain.h"
#include "ftp/settings/AdminXml.h"
#include "ftp/settings/XmlDocument.h"
#include "mobile/modMobileAdminXML.h"
#include "tests/win/support/Library.h"

using namespace modMobileAdminXML;

namespace tests {
namespace {

/// What the document's own save method writes, without the line end that differs between parsers.
std::string Saved(IXMLDOMDocument* document) {
    ComPtr<IStream> stream;
    com::Check(CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    VARIANT target{};
    target.vt = VT_UNKNOWN;
    target.punkVal = stream.Get();
    com::Check(document->save(target));
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
    com::Check(document->loadXML(In(base::FromUtf8(text)), &parsed));
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

class AdminXmlTest : public PartTest {
protected:
    AdminXmlTest() { Main(); }

    std::string Generate(LONG sides = 3) const {
        const auto document = GenerateFTPXML(sides, site);
        return document ? Saved(document.Get()) : "no document";
    }

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
}

TEST_F(AdminXmlTest, SidesDecideWhetherThereAreSettings) {
    EXPECT_EQ(Generate(4), Document("/>"));
    EXPECT_EQ(Generate(0), Document("/>"));
    for (const LONG sides : {1L, 2L, 7L})
        EXPECT_EQ(ReadBack(Generate(sides)), site) << sides;
}

TEST_F(AdminXmlTest, HoldsNoSiteWhoseSettingsAreRefused) {
    site = {L" s ", L" u", L"p ", L" a b", L"a  b"};
    EXPECT_TRUE(VerifyFTPSite(site));
    site.user = L"   ";
    EXPECT_FALSE(VerifyFTPSite(site));
    EXPECT_EQ(Generate(), "no document");
}

TEST_F(AdminXmlTest, CharactersThatCannotBeReadBackAreRefused) {
    for (const wchar_t* bad : {L"a\x1", L"\xD800", L"\xDC00\xD800", L"\xFFFF"}) {
        site.user = bad;
        EXPECT_EQ(Generate(), "no document");
        EXPECT_THAT(framework.TakeLog(),
                    OneReport(L"modMobileAdminXML.GenerateFTPXML",
                              L"The value of KeyValue holds characters that XML does not allow.\r\n"));
    }
}

TEST_F(AdminXmlTest, ChildElementsGoToTheirParent) {
    const auto document = xml::NewXmlDocument();
    const auto root = GenerateChildElement(L"Root", document.Get(), nullptr, L"", L"");
    const auto isAdded = [&](const wchar_t* name, const wchar_t* attribute = L"",
                             const wchar_t* value = L"") {
        return GenerateChildElement(name, document.Get(), root.Get(), attribute, value) != nullptr;
    };
    EXPECT_TRUE(isAdded(L"Größe", L"a-1", L"x"));
    EXPECT_TRUE(isAdded(L"NoName", L"", L"x"));
    EXPECT_TRUE(isAdded(L"NoValue", L"a", L""));
    EXPECT_FALSE(isAdded(L""));
    EXPECT_FALSE(GenerateChildElement(L"Name", nullptr, root.Get(), L"", L""));
    for (const std::wstring name : {L"two words", L"1st", L"a b='c'", L"a><b/", L"a/", L"<a"}) {
        EXPECT_FALSE(isAdded(name.c_str()));
        EXPECT_FALSE(isAdded(L"Name", name.c_str(), L"x"));
        const auto report =
            Reported(L"modMobileAdminXML.GenerateChildElement", L"\"" + name + L"\" is no XML name.\r\n");
        EXPECT_THAT(framework.TakeLog(), ElementsAre(report, report));
    }
    EXPECT_FALSE(isAdded(L"Name", L"a", L"\x2"));
    EXPECT_FALSE(GenerateChildElement(L"Second", document.Get(), nullptr, L"", L"")) << "one root only";
    EXPECT_THAT(framework.TakeLog(), SizeIs(2));
    EXPECT_EQ(Saved(document.Get()), "<Root><Größe a-1=\"x\"/><NoName/><NoValue/></Root>");
}

}  // namespace
}  // namespace tests
