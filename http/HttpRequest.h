// One request to a server, and the answer to it.
#pragma once

#include <windows.h>
#include <winhttp.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/ByteStream.h"
#include "base/FileTime.h"
#include "base/Handle.h"
#include "http/PublicKeyPins.h"

/// Sessions, connections and requests of WinHTTP.
struct WinHttpHandleTraits {
    using Value = HINTERNET;
    static Value None() noexcept { return nullptr; }
    static void Close(Value handle) noexcept { WinHttpCloseHandle(handle); }
};
using WinHttpHandle = base::UniqueHandle<WinHttpHandleTraits>;

/// The system works on it in threads of its own, and the caller's waits meanwhile: its host's messages are
/// processed, and it is asked whether to go on. Whatever gets no answer is an HttpError, in the end also what
/// a server drips or does not send at all.
class HttpRequest {
public:
    /// For any step of a request, in milliseconds. Other limits of the system come before it, except where
    /// Wine does not know them.
    static constexpr DWORD kLongestWait = 150'000;

    /// Asked now and then while the request waits; after False it is cancelled.
    using GoOn = std::function<bool()>;

    /// handle: a request that was opened and not sent. server: for errors. pins: of the server's key, that
    /// are looked at before anything is sent; nothing for any key.
    HttpRequest(WinHttpHandle handle, std::wstring server, std::shared_ptr<const PublicKeyPins> pins,
                GoOn goOn);
    HttpRequest(HttpRequest&&) noexcept = default;
    HttpRequest& operator=(HttpRequest&&) = delete;
    ~HttpRequest();

    /// "Name: value"
    void AddHeader(const std::wstring& header);
    void SetOption(DWORD option, DWORD value);
    /// False where the system does not know the option.
    bool TrySetOption(DWORD option, DWORD value);
    /// How long Receive waits, in milliseconds; to be told before the request is sent.
    void SetPatience(DWORD patience);
    void SetClientCertificate(PCCERT_CONTEXT certificate);
    /// For the system's own logins. target, scheme: WINHTTP_AUTH_*. user: empty for that of the program.
    void SetCredentials(DWORD target, DWORD scheme, const std::wstring& user, const std::wstring& password);

    /// Begins to send a request without a body. Receive waits for the rest: requests that are begun together
    /// travel at the same time.
    void Begin();
    /// Sends a request without a body.
    void Send();
    /// Where the caller puts what is sent, as long as is wanted, or less. It belongs to the request: the
    /// system may still read or fill it when a request is given up.
    std::span<std::uint8_t> Buffer(std::uint64_t wanted);
    /// Sends a request whose body is in the buffer.
    void SendBody(std::size_t bytes);
    /// Sends the head of a request. bodySize: of what is written after it, in bytes.
    void SendHead(std::uint64_t bodySize);
    /// Begins to send what is in the buffer, which may be read meanwhile.
    void BeginWrite(std::size_t bytes);
    void FinishWrite();
    /// Waits for the head of the answer and returns its status; 0 when the system wants the request to be
    /// sent again, in the middle of a login.
    DWORD Receive();
    /// Of the head of the answer.
    std::optional<std::wstring> Header(const wchar_t* name) const;
    /// When the server answered, by its own clock.
    std::optional<base::FileTime> Date() const;
    /// Each of a kind that the answer holds. query: WINHTTP_QUERY_*
    std::vector<std::wstring> Headers(DWORD query) const;
    /// Those logins of an answer that the system knows, as WINHTTP_AUTH_SCHEME_*.
    DWORD OfferedSchemes() const;
    /// Reads what is left of the answer: only then the next request can take the connection.
    void Drain();
    /// Of the body of the answer; nothing when the server tells none, or no number.
    std::optional<std::uint64_t> BodySize() const noexcept { return m_bodySize; }
    /// Where the body begins in the file that was asked for, in bytes: 0 where it is all of it.
    std::uint64_t RangeStart() const;
    /// How long that file is; nothing where the answer does not tell.
    std::optional<std::uint64_t> RangeTotal() const;
    /// Whether the server sends parts of it as well.
    bool MayBePart() const;
    /// The next bytes of the body of the answer, until the next call; none at its end.
    base::Bytes Read();

private:
    class Signal;

    static void CALLBACK OnStatus(HINTERNET handle, DWORD_PTR context, DWORD status, void* information,
                                  DWORD length);
    /// Waits for what was begun, and returns its error.
    DWORD Outcome(DWORD patience);
    void Await();
    void SendWith(std::size_t bodyBytes);
    void BeginSend(std::size_t bodyBytes);
    std::span<std::uint8_t> BufferOf(std::size_t size);
    base::Bytes ReadPart();
    void BeginRead();
    /// Its messages are processed, and it is asked whether to go on.
    void AttendToHost();
    /// Milliseconds, without those that the host took, as for a dialog: the server does not answer for them.
    ULONGLONG Now() const { return GetTickCount64() - m_hostsTime; }
    void AwaitSent(std::size_t bodyBytes);
    /// False where that is not what an error asks for, or was told already.
    bool TellsOfNoCertificate(DWORD error);
    void CheckRate();
    std::optional<std::uint64_t> LengthTold() const;
    [[noreturn]] void Fail(DWORD error) const;

    std::wstring m_server;
    GoOn m_goOn;
    std::shared_ptr<Signal> m_signal;
    WinHttpHandle m_handle;
    DWORD m_patience = kLongestWait;
    bool m_isSending = false;
    bool m_isReading = false;
    bool m_comesFast = false;      ///< the answer
    std::size_t m_writing = 0;     ///< bytes
    std::uint64_t m_bodyRead = 0;  ///< bytes of the answer
    std::optional<std::uint64_t> m_bodySize;
    bool m_hasClientCertificate = false;
    ULONGLONG m_attended = GetTickCount64();
    ULONGLONG m_hostsTime = 0;        ///< milliseconds
    ULONGLONG m_windowStart = 0;      ///< of the rate, as Now tells
    std::uint64_t m_windowBytes = 0;  ///< read since then
};
