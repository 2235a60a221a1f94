// The one type of failure inside the programs, with everything that a report or a caller needs. Portable.
#pragma once

#include <cstdint>
#include <exception>
#include <source_location>
#include <string>
#include <string_view>

namespace base {

/// Where a function was called: functions that throw take it as their last parameter, so that a failure tells
/// the call and not the function.
using Where = std::source_location;

/// A place in the source.
struct Place {
    unsigned line = 0;  ///< 0 when unknown, or told already
    const char* file = "";
    const char* function = "";

    static constexpr Place Of(Where where) noexcept {
        return {where.line(), where.file_name(), where.function_name()};
    }
};

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

}  // namespace base
