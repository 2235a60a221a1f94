// The library under test, with stand-ins for the host framework around each test.
#pragma once

#include "com/Create.h"
#include "tests/win/support/Dll.h"
#include "tests/win/support/FrameworkDoubles.h"

namespace tests {

/// Drives the library's classes.
class LibraryTest : public DllTest {
protected:
    LibraryTest() : DllTest(L"znTransporter.dll") {}
    ~LibraryTest() override {
        EXPECT_THAT(framework.log, IsEmpty()) << "a test takes the reports that it expects";
    }

    Framework framework;
};

/// The same, with a scratch folder that the log shows as "T:".
class ScratchTest : public LibraryTest {
protected:
    ScratchTest() { framework.scratch = &temp; }

    TempFolder temp;
};

/// Drives the library's parts, which are linked into the test program, likewise.
class PartTest : public testing::Test {
protected:
    PartTest() { framework.scratch = &temp; }
    ~PartTest() override {
        EXPECT_THAT(framework.log, IsEmpty()) << "a test takes the reports that it expects";
    }

    ComApartment apartment;
    Framework framework;
    TempFolder temp;
};

/// What an administration tool learns of a component: its display name, its only category, and whether it has
/// properties.
template <class Interface>
std::wstring Administration(const ComPtr<Interface>& component) {
    const auto administration = com::As<IZNMobileAdminProperties>(component.Get());
    const auto registration = com::As<IZNRegInCat>(component.Get());
    const auto value = Ask<Variant>(&IZNRegInCat::get_CategoriesToReg, registration);
    EXPECT_EQ(value.Get().vt, VT_DISPATCH) << "for scripts";
    const auto categories = com::As<_Collection>(value.Get().pdispVal);
    EXPECT_EQ(Ask<LONG>(&_Collection::get_Count, categories), 1);
    const bool hasProperties = Ask<bool>(&IZNMobileAdminProperties::get_HasProperties, administration);
    return Ask<std::wstring>(&IZNMobileAdminProperties::get_Name, administration) + L" in " +
           Ask<Variant>(&_Collection::get_Item, categories, LONG{1}).Text() +
           (hasProperties ? L" with properties" : L"");
}

/// A report under the tool's name. text: what follows the name of the procedure or member; one that ends with
/// a line's end is followed by more.
inline testing::Matcher<LogEntry> Reported(const std::wstring& source, const std::wstring& text = {},
                                           LONG type = ZN_EVENTLOG_ERROR_TYPE) {
    const std::wstring report = L"Test Tool:\r\n" + source + L"\r\n" + text;
    const testing::Matcher<std::wstring> isReport =
        report.ends_with(L"\n") ? testing::Matcher<std::wstring>(StartsWith(report)) : testing::Eq(report);
    return AllOf(Field(&LogEntry::text, isReport), Field(&LogEntry::type, type));
}

/// A report that holds a text.
inline testing::Matcher<LogEntry> Tells(const std::wstring& text, LONG type = ZN_EVENTLOG_ERROR_TYPE) {
    return AllOf(Field(&LogEntry::text, HasSubstr(text)), Field(&LogEntry::type, type));
}

/// A log that holds one report only.
inline testing::Matcher<std::vector<LogEntry>>
OneReport(const std::wstring& source, const std::wstring& text = {}, LONG type = ZN_EVENTLOG_ERROR_TYPE) {
    return ElementsAre(Reported(source, text, type));
}

}  // namespace tests
