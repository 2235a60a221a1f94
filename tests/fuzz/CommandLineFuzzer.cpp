// Whatever the command line is, the parser invents nothing: each option and parameter stands in the text.
// What is put into quotes comes back as it was.
#include "cmdline/CommandLine.h"

#include <vector>

#include "cipher/TextBytes.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/Require.h"

namespace {

class Checker final : public CommandLine::Receiver {
public:
    explicit Checker(std::wstring_view text) : text_(text) {}
    void Option(const std::wstring& name, std::wstring value) override {
        Check(name);
        Check(value);
    }
    void Parameter(std::wstring value) override { Check(value); }

private:
    void Check(std::wstring_view part) const { Require(text_.find(part) != std::wstring_view::npos); }
    std::wstring_view text_;
};

/// An option, or without a name a parameter.
struct Item {
    std::wstring name;
    std::wstring value;

    std::wstring Text() const { return (name.empty() ? L"" : L"/" + name + L"=") + L'"' + value + L'"'; }
    bool operator==(const Item&) const = default;
};

class Collector final : public CommandLine::Receiver {
public:
    void Option(const std::wstring& name, std::wstring value) override {
        items.push_back({name, std::move(value)});
    }
    void Parameter(std::wstring value) override { items.push_back({L"", std::move(value)}); }

    std::vector<Item> items;
};

Item TakeItem(FuzzInput& input) {
    constexpr std::wstring_view kNameCharacters = L"aZ09_?";
    std::wstring name;
    for (auto letters = input.Between(0, 3); letters > 0; --letters)
        name += kNameCharacters[input.Between<std::size_t>(0, kNameCharacters.size() - 1)];
    return {name, input.WideTextWithout(L"\"")};
}

void RoundTrip(FuzzInput&& input) {
    std::vector<Item> items;
    std::wstring text = L'"' + input.WideTextWithout(L"\"") + L'"';
    while (!input.IsEmpty())
        text += L" " + items.emplace_back(TakeItem(input)).Text();
    Collector found;
    CommandLine::Parse(CommandLine::Arguments(text), found);
    Require(found.items == items);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring text = TextOf({data, size});
    Checker checker(CommandLine::Arguments(text));
    CommandLine::Parse(CommandLine::Arguments(text), checker);
    RoundTrip(FuzzInput(data, size));
    return 0;
}
