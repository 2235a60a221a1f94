// See HttpRequest.h.
#include "http/HttpRequest.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <string_view>
#include <utility>

#include "base/Number.h"
#include "base/SystemError.h"
#include "base/WindowsTime.h"
#include "com/MessagePump.h"
#include "http/ClientCertificate.h"
#include "http/HttpError.h"

namespace {

constexpr DWORD kSlice = 100;  // milliseconds
// A server that sends less than this in that time holds the line, and nothing else.
constexpr ULONGLONG kRateWindow = 60'000;  // milliseconds
constexpr std::uint64_t kLeastBytes = 6'000;
// Each must be through within the longest wait: slower lines would never bring a packet over.
constexpr std::uint64_t kLargestPiece = 64 << 10;
// Of what comes fast. Wine, too, fills all of a buffer before it hands it over.
constexpr std::uint64_t kLargestRead = 256 << 10;
constexpr ULONGLONG kFast = 1000;  // milliseconds
// Of an answer that does not tell its length.
constexpr std::uint64_t kUsualBuffer = 16 << 10;

/// Nothing as long as there is a connection to a proxy alone, which leads to the server; some text that is no
/// pin where none can be found out. No exception may reach the system.
std::optional<std::wstring> PinOfServer(HINTERNET request) try {
    Certificate certificate;
    DWORD size = sizeof(PCCERT_CONTEXT);
    if (WinHttpQueryOption(request, WINHTTP_OPTION_SERVER_CERT_CONTEXT, certificate.Put(), &size))
        return PinOf(*certificate.Get());
    if (GetLastError() == ERROR_WINHTTP_INCORRECT_HANDLE_STATE) return std::nullopt;
    return L"unknown";
} catch (...) {
    return L"unknown";
}

}  // namespace

/// What the system's threads tell. It belongs to both sides: the system's last word on a request can come
/// after the request is gone here.
class HttpRequest::Signal {
public:
    void Complete(DWORD error, DWORD bytes) {
        AcquireSRWLockExclusive(&m_lock);
        m_error = error;
        m_bytes = bytes;
        m_isComplete = true;
        ReleaseSRWLockExclusive(&m_lock);
        WakeConditionVariable(&m_completion);
    }
    /// False when nothing has completed since the last time.
    bool Wait(DWORD milliseconds) {
        AcquireSRWLockExclusive(&m_lock);
        while (!m_isComplete && SleepConditionVariableSRW(&m_completion, &m_lock, milliseconds, 0)) {
        }
        const bool isComplete = std::exchange(m_isComplete, false);
        ReleaseSRWLockExclusive(&m_lock);
        return isComplete;
    }
    /// Those of what has completed.
    DWORD Error() const noexcept { return m_error; }
    DWORD Bytes() const noexcept { return m_bytes; }

    /// Called by one of the system's threads when the connection is there, and nothing has been sent. A
    /// server with another key gets nothing: the handle is closed, as the one way to end a request there.
    void LookAtServer(HINTERNET handle);
    /// The pin of a key that is none of those that are allowed; empty otherwise.
    const std::wstring& RefusedPin() const noexcept { return m_refusedPin; }
    /// Whether the server may learn what travels.
    bool IsTrusted() const noexcept { return !pins || m_isKnown; }
    /// For who closes the handle first.
    bool Closes() noexcept { return !m_isClosed.exchange(true); }

    std::shared_ptr<const PublicKeyPins> pins;
    DWORD certificate = 0;  ///< what is wrong with it
    /// One is handed over while the system fills the other.
    std::array<std::vector<std::uint8_t>, 2> buffers;
    std::size_t current = 0;

private:
    // They cost no call of the kernel, as events would for each part of each request.
    SRWLOCK m_lock = SRWLOCK_INIT;
    CONDITION_VARIABLE m_completion = CONDITION_VARIABLE_INIT;
    bool m_isComplete = false;
    DWORD m_error = ERROR_SUCCESS;
    DWORD m_bytes = 0;
    bool m_isKnown = false;  ///< the key is one of those that are pinned
    std::wstring m_refusedPin;
    std::atomic<bool> m_isClosed = false;
};

void HttpRequest::Signal::LookAtServer(HINTERNET handle) {
    if (!pins || !m_refusedPin.empty()) return;
    const std::optional<std::wstring> pin = PinOfServer(handle);
    if (!pin) return;
    m_isKnown = pins->Hold(*pin);
    if (m_isKnown) return;
    m_refusedPin = *pin;
    // First: once the other thread knows, the system's thread may go on.
    if (Closes()) WinHttpCloseHandle(handle);
    Complete(ERROR_WINHTTP_SECURE_FAILURE, 0);
}

HttpRequest::HttpRequest(WinHttpHandle handle, std::wstring server, std::shared_ptr<const PublicKeyPins> pins,
                         GoOn goOn)
    : m_server(std::move(server)),
      m_goOn(std::move(goOn)),
      m_signal(std::make_shared<Signal>()),
      m_handle(std::move(handle)) {
    m_signal->pins = std::move(pins);
    auto context = std::make_unique<std::shared_ptr<Signal>>(m_signal);
    auto value = reinterpret_cast<DWORD_PTR>(context.get());
    if (!WinHttpSetOption(m_handle.Get(), WINHTTP_OPTION_CONTEXT_VALUE, &value, sizeof value) ||
        WinHttpSetStatusCallback(m_handle.Get(), &OnStatus, WINHTTP_CALLBACK_FLAG_ALL_NOTIFICATIONS, 0) ==
            WINHTTP_INVALID_STATUS_CALLBACK)
        Fail(GetLastError());
    static_cast<void>(context.release());  // the notification that the handle closes deletes it
    SetPatience(kLongestWait);
}

HttpRequest::~HttpRequest() {
    // Closed by the check of the server, it may be somebody else's by now.
    if (m_signal && !m_signal->Closes()) m_handle.Release();
}

void CALLBACK HttpRequest::OnStatus(HINTERNET handle, DWORD_PTR context, DWORD status, void* information,
                                    DWORD length) {
    auto* const owner = reinterpret_cast<std::shared_ptr<Signal>*>(context);
    if (!owner) return;
    if (status == WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING) {
        delete owner;
        return;
    }
    // What it tells may end the request in the other thread, and with the handle goes what the context points
    // to.
    const std::shared_ptr<Signal> signal = *owner;
    switch (status) {
    case WINHTTP_CALLBACK_STATUS_SENDING_REQUEST:
        return signal->LookAtServer(handle);
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
        return signal->Complete(ERROR_SUCCESS, 0);
    case WINHTTP_CALLBACK_STATUS_WRITE_COMPLETE:
        return signal->Complete(ERROR_SUCCESS, *static_cast<DWORD*>(information));
    case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
        return signal->Complete(ERROR_SUCCESS, length);
    case WINHTTP_CALLBACK_STATUS_SECURE_FAILURE:
        signal->certificate = *static_cast<DWORD*>(information);
        return;
    case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
        return signal->Complete(static_cast<WINHTTP_ASYNC_RESULT*>(information)->dwError, 0);
    default:
        return;
    }
}

void HttpRequest::Fail(DWORD error) const {
    if (!m_signal->RefusedPin().empty()) throw HttpError::OfPin(m_server, m_signal->RefusedPin());
    throw HttpError(error, m_server, m_signal->certificate);
}

void HttpRequest::Await() {
    if (const DWORD error = Outcome(kLongestWait)) Fail(error);
}

DWORD HttpRequest::Outcome(DWORD patience) {
    const ULONGLONG start = Now();
    while (!m_signal->Wait(kSlice)) {
        AttendToHost();
        if (Now() - start > patience) Fail(ERROR_WINHTTP_TIMEOUT);
    }
    // Of a long file each part may come at once.
    if (GetTickCount64() - m_attended >= kSlice) AttendToHost();
    // Under Wine a request goes on whose handle was closed while it was sent.
    return m_signal->RefusedPin().empty() ? m_signal->Error() : ERROR_WINHTTP_SECURE_FAILURE;
}

void HttpRequest::AttendToHost() {
    const ULONGLONG start = GetTickCount64();
    com::ProcessPendingMessages();
    if (!m_goOn()) Fail(ERROR_CANCELLED);
    m_attended = GetTickCount64();
    m_hostsTime += m_attended - start;
}

void HttpRequest::AddHeader(const std::wstring& header) {
    if (!WinHttpAddRequestHeaders(m_handle.Get(), header.c_str(), static_cast<DWORD>(header.size()),
                                  WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE))
        Fail(GetLastError());
}

void HttpRequest::SetOption(DWORD option, DWORD value) {
    if (!TrySetOption(option, value)) Fail(GetLastError());
}

bool HttpRequest::TrySetOption(DWORD option, DWORD value) {
    return WinHttpSetOption(m_handle.Get(), option, &value, sizeof value);
}

/// The system has a limit of its own for the head of an answer, which begins while the end of a body is still
/// on its way, and ends no silence. Under Wine it does, and has to: there a wait goes on, and the connection
/// with it, when its request is gone.
void HttpRequest::SetPatience(DWORD patience) {
    SetOption(WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, patience);
    m_patience = patience;
}

void HttpRequest::SetClientCertificate(PCCERT_CONTEXT certificate) {
    m_hasClientCertificate = true;
    const DWORD size = certificate ? sizeof *certificate : 0;
    // The system only reads it.
    if (!WinHttpSetOption(m_handle.Get(), WINHTTP_OPTION_CLIENT_CERT_CONTEXT,
                          const_cast<CERT_CONTEXT*>(certificate), size))
        Fail(GetLastError());
}

void HttpRequest::SetCredentials(DWORD target, DWORD scheme, const std::wstring& user,
                                 const std::wstring& password) {
    if (!WinHttpSetCredentials(m_handle.Get(), target, scheme, user.empty() ? nullptr : user.c_str(),
                               user.empty() ? nullptr : password.c_str(), nullptr))
        Fail(GetLastError());
}

void HttpRequest::Send() { SendWith(0); }

void HttpRequest::SendBody(std::size_t bytes) {
    // Beside pinned keys, a body waits until the server is known.
    if (bytes > 0 && !m_signal->pins) return SendWith(bytes);
    SendHead(bytes);
    if (bytes == 0) return;
    BeginWrite(bytes);
    FinishWrite();
}

void HttpRequest::SendWith(std::size_t bodyBytes) {
    BeginSend(bodyBytes);
    AwaitSent(bodyBytes);
}

void HttpRequest::Begin() { BeginSend(0); }

void HttpRequest::BeginSend(std::size_t bodyBytes) {
    const auto bytes = static_cast<DWORD>(bodyBytes);
    // Of the answer before, something is still coming into a buffer.
    if (m_isReading) Fail(ERROR_WINHTTP_CONNECTION_ERROR);
    if (!WinHttpSendRequest(m_handle.Get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                            bytes > 0 ? Buffer(bytes).data() : WINHTTP_NO_REQUEST_DATA, bytes,
                            bytes > 0 ? bytes : WINHTTP_IGNORE_REQUEST_TOTAL_LENGTH, 0))
        Fail(GetLastError());
    m_isSending = true;
}

/// A server may ask for a certificate and do without it: what is told that there is none goes on.
bool HttpRequest::TellsOfNoCertificate(DWORD error) {
    if (error != ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED || m_hasClientCertificate) return false;
    SetClientCertificate(WINHTTP_NO_CLIENT_CERT_CONTEXT);
    return true;
}

void HttpRequest::AwaitSent(std::size_t bodyBytes) {
    if (!std::exchange(m_isSending, false)) return;
    const DWORD error = Outcome(kLongestWait);
    if (TellsOfNoCertificate(error)) {
        BeginSend(bodyBytes);
        m_isSending = false;
        if (Outcome(kLongestWait) == ERROR_SUCCESS) return;
    }
    if (error != ERROR_SUCCESS) Fail(error);
}

/// The length is told in a header: the parameter for it ends at 4 GB.
void HttpRequest::SendHead(std::uint64_t bodySize) {
    AddHeader(L"Content-Length: " + std::to_wstring(bodySize));
    Send();
}

std::span<std::uint8_t> HttpRequest::Buffer(std::uint64_t wanted) {
    return BufferOf(static_cast<std::size_t>(std::min(wanted, kLargestPiece)));
}

std::span<std::uint8_t> HttpRequest::BufferOf(std::size_t size) {
    std::vector<std::uint8_t>& buffer = m_signal->buffers[m_signal->current];
    if (buffer.size() < size) buffer.resize(size);
    return std::span(buffer).first(size);
}

void HttpRequest::BeginWrite(std::size_t bytes) {
    if (!m_signal->IsTrusted()) Fail(ERROR_WINHTTP_SECURE_FAILURE);
    if (!WinHttpWriteData(m_handle.Get(), Buffer(bytes).data(), static_cast<DWORD>(bytes), nullptr))
        Fail(GetLastError());
    m_writing = bytes;
}

void HttpRequest::FinishWrite() {
    Await();
    if (m_signal->Bytes() != m_writing) Fail(ERROR_WINHTTP_CONNECTION_ERROR);
}

DWORD HttpRequest::Receive() {
    AwaitSent(0);
    const DWORD error =
        WinHttpReceiveResponse(m_handle.Get(), nullptr) ? Outcome(m_patience) : GetLastError();
    // Some servers ask for a certificate once they know which folder is meant.
    if (error == ERROR_WINHTTP_RESEND_REQUEST || TellsOfNoCertificate(error)) return 0;
    if (error != ERROR_SUCCESS) Fail(error);
    DWORD status = 0;
    DWORD size = sizeof status;
    if (!WinHttpQueryHeaders(m_handle.Get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                             WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX))
        Fail(GetLastError());
    m_windowStart = Now();
    m_windowBytes = 0;
    m_bodyRead = 0;
    m_bodySize = LengthTold();
    return status;
}

std::vector<std::wstring> HttpRequest::Headers(DWORD query) const {
    std::vector<std::wstring> headers;
    for (DWORD index = 0;;) {
        constexpr DWORD kLongest = 16'384;
        std::wstring text(kLongest, L'\0');
        DWORD bytes = kLongest * sizeof(wchar_t);
        if (!WinHttpQueryHeaders(m_handle.Get(), query, WINHTTP_HEADER_NAME_BY_INDEX, text.data(), &bytes,
                                 &index))
            return headers;
        text.resize(bytes / sizeof(wchar_t));
        headers.push_back(std::move(text));
    }
}

DWORD HttpRequest::OfferedSchemes() const {
    DWORD offered = 0;
    DWORD first = 0;
    DWORD target = 0;
    return WinHttpQueryAuthSchemes(m_handle.Get(), &offered, &first, &target) ? offered : 0;
}

void HttpRequest::Drain() {
    constexpr std::size_t kMost = 64 << 10;
    for (std::size_t read = 0; read < kMost && m_bodyRead != m_bodySize;) {
        const std::size_t length = ReadPart().size();
        if (length == 0) return;
        read += length;
    }
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
std::optional<std::uint64_t> HttpRequest::LengthTold() const {
    const std::optional<std::wstring> text = Header(L"Content-Length");
    return text ? base::NumberIn<std::uint64_t>(*text) : std::nullopt;
}

/// "bytes 5-9/10", of which only an answer that is a part tells.
std::uint64_t HttpRequest::RangeStart() const {
    constexpr std::wstring_view kUnit = L"bytes ";
    const std::wstring range = Header(L"Content-Range").value_or(std::wstring());
    if (!range.starts_with(kUnit)) return 0;
    const std::wstring_view bytes = std::wstring_view(range).substr(kUnit.size());
    return base::NumberIn<std::uint64_t>(bytes.substr(0, bytes.find(L'-'))).value_or(0);
}

std::optional<std::uint64_t> HttpRequest::RangeTotal() const {
    const std::wstring range = Header(L"Content-Range").value_or(std::wstring());
    const std::size_t slash = range.find(L'/');
    if (slash == std::wstring::npos) return std::nullopt;
    return base::NumberIn<std::uint64_t>(std::wstring_view(range).substr(slash + 1));
}

bool HttpRequest::MayBePart() const { return Header(L"Accept-Ranges") == L"bytes"; }

/// While its caller works on what it returns, the next bytes come.
base::Bytes HttpRequest::Read() {
    const base::Bytes bytes = ReadPart();
    if (!bytes.empty() && m_bodySize && m_bodyRead < *m_bodySize) BeginRead();
    return bytes;
}

base::Bytes HttpRequest::ReadPart() {
    if (!m_isReading) BeginRead();
    const ULONGLONG start = Now();
    Await();
    m_isReading = false;
    m_comesFast = Now() - start < kFast;
    const base::Bytes bytes = BufferOf(m_signal->Bytes());
    if (bytes.empty()) return bytes;
    CheckRate();
    m_bodyRead += bytes.size();
    m_signal->current ^= 1;
    return bytes;
}

void HttpRequest::BeginRead() {
    const std::uint64_t expected =
        m_bodySize && *m_bodySize > m_bodyRead ? *m_bodySize - m_bodyRead : kUsualBuffer;
    const std::span<std::uint8_t> buffer =
        BufferOf(static_cast<std::size_t>(std::min(expected, m_comesFast ? kLargestRead : kLargestPiece)));
    if (!WinHttpReadData(m_handle.Get(), buffer.data(), static_cast<DWORD>(buffer.size()), nullptr))
        Fail(GetLastError());
    m_isReading = true;
}

void HttpRequest::CheckRate() {
    m_windowBytes += m_signal->Bytes();
    const ULONGLONG now = Now();
    if (now - m_windowStart < kRateWindow) return;
    if (m_windowBytes < kLeastBytes) Fail(ERROR_WINHTTP_TIMEOUT);
    m_windowStart = now;
    m_windowBytes = 0;
}
