// Splits a command line into named options and positional parameters. Portable.
#pragma once

#include <string>
#include <string_view>

namespace CommandLine {

/// Takes what Parse finds, in the order of the text.
class Receiver {
public:
    virtual void Option(const std::wstring& name, std::wstring value) = 0;
    virtual void Parameter(std::wstring value) = 0;

protected:
    ~Receiver() = default;
};

/// Options begin with a hyphen or slash; their value follows after blanks or equals signs. An option
/// without a value is stored when another option follows it; at the end of the text it is dropped.
void Parse(std::wstring_view text, Receiver& receiver);

/// What follows the program in a process's command line.
std::wstring_view Arguments(std::wstring_view processCommandLine);

}  // namespace CommandLine
