// Values set in the text of a settings file.
#include <gtest/gtest.h>

#include "host/settings/IniText.h"

namespace {

/// Lines that end as given in place of each "/".
std::string Text(const std::string& lines, const std::string& end) {
    std::string text;
    for (const char character : lines)
        text += character == '/' ? end : std::string(1, character);
    return text;
}

std::string WithValue(std::string text) {
    EXPECT_TRUE(IniText::SetValue(text, L"b", L"x", L"new"));
    return text;
}

TEST(IniText, SetsAValueWhateverEndsTheLines) {
    struct Case {
        const char* before;
        const char* after;
    };
    for (const char* const end : {"\n", "\r\n", "\r"})
        for (const Case& each : {Case{"[a]/x = 0/[b]/x = 1/y = 2/", "[a]/x = 0/[b]/x = new/y = 2/"},
                                 Case{"[B]/y = 2//[c]/x = 3", "[B]/y = 2/x = new//[c]/x = 3"},
                                 Case{"[b]/y = 2", "[b]/y = 2/x = new/"}, Case{"[a]/", "[a]/[b]/x = new/"}})
            EXPECT_EQ(WithValue(Text(each.before, end)), Text(each.after, end));
    EXPECT_EQ(WithValue("[b]\r\ny = 2\r[c]\nx = 3"), "[b]\r\ny = 2\rx = new\r\n[c]\nx = 3");
}

}  // namespace
