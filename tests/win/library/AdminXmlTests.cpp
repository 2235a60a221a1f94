// The administration document: its exact text, what reads back from it, and which settings make none.
#include <gmock/gmock.h>

#include "base/Utf8.h"
#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/modMain.h"
#include "ftp/settings/XmlDocument.h"
#include "mobile/modMobileAdminXML.h"
#include "tests/win/support/Dll.h"
#include "tests/win/support/FrameworkDoubles.h"

using com::Bstr;
using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::HasSubstr;

/// What the document's own save method writes, without the line end that differs between parsers.
std::string Saved(IXMLDOMDocument* document) {
    ComPtr<IStream> stream;
    com::Check(CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    com::Check(document->save(com::Variant::Object(stream.Get()).Get()));
    STATSTG state{};
    com::Check(stream->Stat(&state, STATFLAG_NONAME));
    std::string text(state.cbSize.LowPart, '\0');
    com::Check(stream->Seek({}, STREAM_SEEK_SET, nullptr));
    com::Check(stream->Read(text.data(), state.cbSize.LowPart, nullptr));
    return text.substr(0, text.find_last_not_of("\r\n") + 1);
}

/// A setting of a document that was parsed from text, found as the readers of the document look for it.
std::wstring ReadBack(const std::string& text, const std::wstring& name) {
    const auto document = xml::NewXmlDocument();
    VARIANT_BOOL parsed = VARIANT_FALSE;
    com::Check(document->loadXML(Bstr(base::FromUtf8(text)).Get(), &parsed));
    EXPECT_TRUE(parsed) << text;
    const std::wstring path = L"/MOBILECONFIGURATIONROOT/MOBILECONFIGURATION[@KeyName='SENDERRECEIVER']"
                              L"//KEY[@KeyName='Transport']/SETTING[@KeyName='" +
                              name + L"']/@KeyValue";
    ComPtr<IXMLDOMNode> value;
    if (document->selectSingleNode(Bstr(path).Get(), &value) != S_OK) return L"(none)";
    return com::Get<std::wstring>(&IXMLDOMNode::get_text, value.Get());
}

std::string Document(const std::string& settings) {
    return R"(<MOBILECONFIGURATIONROOT><MOBILECONFIGURATION KeyName="SENDERRECEIVER">)"
           R"(<HKEY KeyName="ZN_LOCAL_MACHINE"><BASEKEY KeyName="znMobile"><KEY KeyName="Transport")" +
           settings + "</BASEKEY></HKEY></MOBILECONFIGURATION></MOBILECONFIGURATIONROOT>";
}

class AdminXml : public testing::Test {
protected:
    AdminXml() { Main(); }

    ComApartment apartment;
    Framework framework;
};

TEST_F(AdminXml, HoldsEveryValueAsGiven) {
    const auto document = GenerateFTPXML(3, L"Out & \"back\"", L"  In", L"<ftp>.example",
                                         L"Jörg Ł 漢 \xD83D\xDE00", L" it's 100% ");
    ASSERT_TRUE(document);
    const std::string text = Saved(document.Get());
    EXPECT_EQ(text,
              Document(">"
                       R"(<SETTING KeyName="FTPServer" KeyValue="&lt;ftp&gt;.example"/>)"
                       R"(<SETTING KeyName="FTPUser" KeyValue="Jörg Ł 漢 😀"/>)"
                       R"(<SETTING KeyName="FTPPassword" KeyValue=" it's 100% "/>)"
                       R"(<SETTING KeyName="FTPEnterpriseToField" KeyValue="Out &amp; &quot;back&quot;"/>)"
                       R"(<SETTING KeyName="FTPFieldtoEnterprise" KeyValue="  In"/>)"
                       "</KEY>"));
    EXPECT_EQ(ReadBack(text, L"FTPServer"), L"<ftp>.example");
    EXPECT_EQ(ReadBack(text, L"FTPUser"), L"Jörg Ł 漢 \xD83D\xDE00");
    EXPECT_EQ(ReadBack(text, L"FTPPassword"), L" it's 100% ");
    EXPECT_EQ(ReadBack(text, L"FTPEnterpriseToField"), L"Out & \"back\"");
    EXPECT_EQ(ReadBack(text, L"FTPFieldtoEnterprise"), L"  In");
    const auto lines = GenerateFTPXML(3, L"a\tb\r\nc", L"In", L"s", L"u", L"p");
    EXPECT_EQ(ReadBack(Saved(lines.Get()), L"FTPEnterpriseToField"), L"a\tb\r\nc");
    EXPECT_EQ(framework.LogText(), L"");
}

TEST_F(AdminXml, SidesDecideWhetherThereAreSettings) {
    const auto settings = [](LONG sides) {
        const auto document = GenerateFTPXML(sides, L"Out", L"In", L"server", L"user", L"password");
        return Saved(document.Get());
    };
    EXPECT_EQ(settings(4), Document("/>"));
    EXPECT_EQ(settings(0), Document("/>"));
    for (const LONG sides : {1L, 2L, 7L})
        EXPECT_EQ(ReadBack(settings(sides), L"FTPServer"), L"server") << sides;
}

TEST_F(AdminXml, VerifyAsksForFiveValuesAndTwoFolders) {
    const std::vector<std::wstring> good = {L"server", L"user", L"password", L"Out", L"out"};
    const auto verify = [](const std::vector<std::wstring>& values) {
        EXPECT_EQ(GenerateFTPXML(3, values[3], values[4], values[0], values[1], values[2]) != nullptr,
                  VerifyFTPSite(values[0], values[1], values[2], values[3], values[4]));
        return VerifyFTPSite(values[0], values[1], values[2], values[3], values[4]);
    };
    EXPECT_TRUE(verify(good)) << "letter case tells folders apart";
    EXPECT_TRUE(verify({L" s ", L" u", L"p ", L" a b", L"a  b"}));
    for (size_t i = 0; i < good.size(); ++i)
        for (const wchar_t* blank : {L"", L"   "}) {
            auto values = good;
            values[i] = blank;
            EXPECT_FALSE(verify(values)) << i;
        }
    EXPECT_FALSE(verify({L"s", L"u", L"p", L"Out", L"Out"}));
    EXPECT_FALSE(verify({L"s", L"u", L"p", L" Out", L"Out "}));
    EXPECT_EQ(framework.LogText(), L"");
}

TEST_F(AdminXml, CharactersThatCannotBeReadBackAreRefused) {
    for (const std::wstring bad : {L"a\x1", L"\xD800", L"\xDC00\xD800", L"\xFFFF"})
        EXPECT_EQ(GenerateFTPXML(3, L"Out", L"In", L"server", bad, L"password"), nullptr);
    EXPECT_THAT(framework.LogText(), HasSubstr(L"modMobileAdminXML.GenerateFTPXML\r\nThe value of KeyValue"));
}

TEST_F(AdminXml, ChildElementsGoToTheirParent) {
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
