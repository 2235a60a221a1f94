// The one type of failure inside the programs, with everything that a report or a caller needs. Portable.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace base {

/// A place in the source. As std::source_location, which the compiler of the fuzzers lacks.
struct Place {
    unsigned line = 0;  ///< 0 when unknown, or told already
    const char* file = "";
    const char* function = "";

    static constexpr Place current(unsigned line = __builtin_LINE(), const char* file = __builtin_FILE(),
                                   const char* function = __builtin_FUNCTION()) noexcept {
        return {line, file, function};
    }
};

/// Where a function was called: functions that throw take it as their last parameter, so that a failure tells
/// the call and not the function.
using Where = Place;

/// One failure: what a caller gets as HRESULT and IErrorInfo, and what reports are made of.
struct Failure {
    std::int32_t number = 0;  ///< as an HRESULT
    std::wstring source;
    std::wstring description;
    Place place;  ///< of the throw
};

class Error : public std::exception {
public:
    /// number: an HRESULT.
    Error(std::int32_t number, std::wstring description, Where where = Where::current());
    /// description: UTF-8.
    Error(std::int32_t number, std::string_view description, Where where = Where::current());
    explicit Error(Failure failure);

    const Failure& failure() const noexcept { return m_failure; }
    /// The description in UTF-8.
    const char* what() const noexcept override { return m_text.c_str(); }

private:
    Failure m_failure;
    std::string m_text;
};

/// The number of a failure to understand data that somebody else made.
inline constexpr auto kInvalidData = static_cast<std::int32_t>(0x8007000Du);
/// The number of a failure to get memory.
inline constexpr auto kOutOfMemory = static_cast<std::int32_t>(0x8007000Eu);
/// The number of a failure whose cause is an argument.
inline constexpr auto kInvalidArgument = static_cast<std::int32_t>(0x80070057u);

}  // namespace base
