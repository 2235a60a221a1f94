// Whatever the command line is, the parser invents nothing: each option and parameter stands in the text.
#include "cmdline/CommandLine.h"

#include <cstdint>
#include <cstdlib>

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
    void Check(std::wstring_view part) const {
        if (text_.find(part) == std::wstring_view::npos) abort();
    }
    std::wstring_view text_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::wstring text;
    for (size_t i = 0; i + 1 < size; i += 2)
        text += static_cast<wchar_t>(data[i] | data[i + 1] << 8);
    Checker checker(CommandLine::Arguments(text));
    CommandLine::Parse(CommandLine::Arguments(text), checker);
    return 0;
}
