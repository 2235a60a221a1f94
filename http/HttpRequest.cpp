// See HttpRequest.h.
#include "http/HttpRequest.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "base/Number.h"
#include "base/SystemError.h"
#include "base/WindowsTime.h"
#include "com/MessagePump.h"
#include "http/HttpError.h"

namespace {

constexpr DWORD kSlice = 100;  // milliseconds
// The limits of the system come before it, except where Wine does not know them.
constexpr ULONGLONG kLongestWait = 150'000;  // milliseconds
// A server that sends less than this in that time holds the line, and nothing else.
constexpr ULONGLONG kRateWindow = 60'000;  // milliseconds
constexpr std::uint64_t kLeastBytes = 6'000;

}  // namespace

/// What the system's threads tell. It belongs to both sides: the system's last word on a request can come
/// after the request is gone here.
class HttpRequest::Signal {
public:
    Signal() : m_event(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {
        if (!m_event) base::ThrowWin32(GetLastError(), L"event");
    }

    void Complete(DWORD error, DWORD bytes) {
        m_error = error;
        m_bytes = bytes;
        SetEvent(m_event.Get());
    }
    bool Wait(DWORD milliseconds) const {
        return WaitForSingleObject(m_event.Get(), milliseconds) == WAIT_OBJECT_0;
    }
    /// Those of what has completed.
    DWORD Error() const noexcept { return m_error; }
    DWORD Bytes() const noexcept { return m_bytes; }

    DWORD certificate = 0;  ///< what is wrong with it
    std::array<std::uint8_t, 65'536> buffer;

private:
    base::KernelHandle m_event;
    DWORD m_error = ERROR_SUCCESS;
    DWORD m_bytes = 0;
};

HttpRequest::HttpRequest(WinHttpHandle handle, std::wstring server, GoOn goOn)
    : m_server(std::move(server)),
      m_goOn(std::move(goOn)),
      m_signal(std::make_shared<Signal>()),
      m_handle(std::move(handle)) {
    auto context = std::make_unique<std::shared_ptr<Signal>>(m_signal);
    auto value = reinterpret_cast<DWORD_PTR>(context.get());
    if (!WinHttpSetOption(m_handle.Get(), WINHTTP_OPTION_CONTEXT_VALUE, &value, sizeof value) ||
        WinHttpSetStatusCallback(m_handle.Get(), &OnStatus, WINHTTP_CALLBACK_FLAG_ALL_NOTIFICATIONS, 0) ==
            WINHTTP_INVALID_STATUS_CALLBACK)
        Fail(GetLastError());
    context.release();  // the notification that the handle closes deletes it
}

HttpRequest::~HttpRequest() = default;

void CALLBACK HttpRequest::OnStatus(HINTERNET, DWORD_PTR context, DWORD status, void* information,
                                    DWORD length) {
    auto* const signal = reinterpret_cast<std::shared_ptr<Signal>*>(context);
    if (!signal) return;
    switch (status) {
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
        return (*signal)->Complete(ERROR_SUCCESS, 0);
    case WINHTTP_CALLBACK_STATUS_WRITE_COMPLETE:
        return (*signal)->Complete(ERROR_SUCCESS, *static_cast<DWORD*>(information));
    case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
        return (*signal)->Complete(ERROR_SUCCESS, length);
    case WINHTTP_CALLBACK_STATUS_SECURE_FAILURE:
        (*signal)->certificate = *static_cast<DWORD*>(information);
        return;
    case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
        return (*signal)->Complete(static_cast<WINHTTP_ASYNC_RESULT*>(information)->dwError, 0);
    case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING:
        delete signal;
        return;
    default:
        return;
    }
}

void HttpRequest::Fail(DWORD error) const { throw HttpError(error, m_server, m_signal->certificate); }

void HttpRequest::Await(BOOL begun) {
    if (!begun) Fail(GetLastError());
    const ULONGLONG start = GetTickCount64();
    while (!m_signal->Wait(kSlice)) {
        AttendToHost();
        if (GetTickCount64() - start > kLongestWait) Fail(ERROR_WINHTTP_TIMEOUT);
    }
    if (m_signal->Error() != ERROR_SUCCESS) Fail(m_signal->Error());
    // Of a long file each part may come at once.
    if (GetTickCount64() - m_attended >= kSlice) AttendToHost();
}

void HttpRequest::AttendToHost() {
    com::ProcessPendingMessages();
    if (!m_goOn()) Fail(ERROR_CANCELLED);
    m_attended = GetTickCount64();
}

void HttpRequest::AddHeader(const std::wstring& header) {
    if (!WinHttpAddRequestHeaders(m_handle.Get(), header.c_str(), static_cast<DWORD>(header.size()),
                                  WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE))
        Fail(GetLastError());
}

void HttpRequest::SetOption(DWORD option, DWORD value) {
    if (!WinHttpSetOption(m_handle.Get(), option, &value, sizeof value)) Fail(GetLastError());
}

void HttpRequest::Begin() {
    if (!WinHttpSendRequest(m_handle.Get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0,
                            WINHTTP_IGNORE_REQUEST_TOTAL_LENGTH, 0))
        Fail(GetLastError());
    m_isSending = true;
}

void HttpRequest::AwaitSent() {
    if (std::exchange(m_isSending, false)) Await(TRUE);
}

void HttpRequest::Send() {
    Begin();
    AwaitSent();
}

/// The length is told in a header: the parameter for it ends at 4 GB.
void HttpRequest::SendHead(std::uint64_t bodySize) {
    AddHeader(L"Content-Length: " + std::to_wstring(bodySize));
    Send();
}

std::span<std::uint8_t> HttpRequest::Buffer() const noexcept { return m_signal->buffer; }

void HttpRequest::Write(std::size_t bytes) {
    Await(WinHttpWriteData(m_handle.Get(), m_signal->buffer.data(), static_cast<DWORD>(bytes), nullptr));
    if (m_signal->Bytes() != bytes) Fail(ERROR_WINHTTP_CONNECTION_ERROR);
}

DWORD HttpRequest::Receive() {
    AwaitSent();
    Await(WinHttpReceiveResponse(m_handle.Get(), nullptr));
    DWORD status = 0;
    DWORD size = sizeof status;
    if (!WinHttpQueryHeaders(m_handle.Get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                             WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX))
        Fail(GetLastError());
    m_windowStart = GetTickCount64();
    m_windowBytes = 0;
    return status;
}

std::optional<std::wstring> HttpRequest::Header(const wchar_t* name) const {
    constexpr DWORD kLongest = 4096;
    std::wstring text(kLongest, L'\0');
    DWORD bytes = kLongest * sizeof(wchar_t);
    if (!WinHttpQueryHeaders(m_handle.Get(), WINHTTP_QUERY_CUSTOM, name, text.data(), &bytes,
                             WINHTTP_NO_HEADER_INDEX))
        return std::nullopt;
    text.resize(bytes / sizeof(wchar_t));
    return text;
}

std::optional<base::FileTime> HttpRequest::Date() const {
    SYSTEMTIME date{};
    DWORD size = sizeof date;
    FILETIME time;
    if (!WinHttpQueryHeaders(m_handle.Get(), WINHTTP_QUERY_DATE | WINHTTP_QUERY_FLAG_SYSTEMTIME,
                             WINHTTP_HEADER_NAME_BY_INDEX, &date, &size, WINHTTP_NO_HEADER_INDEX) ||
        !SystemTimeToFileTime(&date, &time))
        return std::nullopt;
    return base::FromWindowsTime(time);
}

/// Read as text: as a number the system tells no more than 32 bits.
std::optional<std::uint64_t> HttpRequest::BodySize() const {
    const std::optional<std::wstring> text = Header(L"Content-Length");
    return text ? base::NumberIn<std::uint64_t>(*text) : std::nullopt;
}

/// "bytes 5-9/10", of which only an answer that is a part tells.
std::uint64_t HttpRequest::RangeStart() const {
    constexpr std::wstring_view kUnit = L"bytes ";
    const std::wstring range = Header(L"Content-Range").value_or(std::wstring());
    if (!range.starts_with(kUnit)) return 0;
    const std::wstring_view start(range.begin() + kUnit.size(),
                                  range.begin() + std::min(range.find(L'-'), range.size()));
    return base::NumberIn<std::uint64_t>(start).value_or(0);
}

bool HttpRequest::MayBePart() const { return Header(L"Accept-Ranges") == L"bytes"; }

base::Bytes HttpRequest::Read() {
    Await(WinHttpReadData(m_handle.Get(), m_signal->buffer.data(),
                          static_cast<DWORD>(m_signal->buffer.size()), nullptr));
    if (m_signal->Bytes() > 0) CheckRate();
    return base::Bytes(m_signal->buffer).first(m_signal->Bytes());
}

void HttpRequest::CheckRate() {
    m_windowBytes += m_signal->Bytes();
    const ULONGLONG now = GetTickCount64();
    if (now - m_windowStart < kRateWindow) return;
    if (m_windowBytes < kLeastBytes) Fail(ERROR_WINHTTP_TIMEOUT);
    m_windowStart = now;
    m_windowBytes = 0;
}
