// See DavServer.h.
#include "webdav/DavServer.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>

#include "base/Error.h"
#include "base/Number.h"
#include "base/SystemError.h"
#include "base/Utf8.h"
#include "http/HttpDate.h"
#include "http/HttpError.h"
#include "http/UrlPath.h"

namespace {

void SendNothing(HttpRequest& request) { request.Send(); }

/// Puts the bytes from an offset on into a buffer and returns their number.
using ReadBlock = std::function<std::size_t(std::uint64_t offset, std::span<std::uint8_t> buffer)>;
/// Sees each block that is sent.
using Watch = std::function<void(std::uint64_t offset, base::Bytes bytes)>;

void SendContent(HttpRequest& request, std::uint64_t size, const ReadBlock& read, const Watch& watch) {
    const std::span<std::uint8_t> buffer = request.Buffer(size);
    if (size == buffer.size()) {
        const std::size_t length = size > 0 ? read(0, buffer) : 0;
        watch(0, buffer.first(length));
        return request.SendBody(length);
    }
    request.SendHead(size);
    for (std::uint64_t offset = 0; offset < size;) {
        const std::size_t length = read(offset, buffer);
        request.BeginWrite(length);
        watch(offset, buffer.first(length));
        request.FinishWrite();
        offset += length;
    }
}

void SendText(HttpRequest& request, std::string_view text) {
    const auto read = [&](std::uint64_t offset, std::span<std::uint8_t> buffer) {
        const base::Bytes rest = base::BytesOf(text).subspan(static_cast<std::size_t>(offset));
        const base::Bytes block = rest.first(std::min(rest.size(), buffer.size()));
        std::ranges::copy(block, buffer.begin());
        return block.size();
    };
    SendContent(request, text.size(), read, [](std::uint64_t, base::Bytes) {});
}

/// watched: how much of the file has passed through watch, which a request that is sent again must not show
/// it twice.
void SendFile(HttpRequest& request, const base::File& file, const std::function<void(base::Bytes)>& watch,
              std::uint64_t& watched) {
    const std::uint64_t size = file.Size();
    const auto read = [&](std::uint64_t offset, std::span<std::uint8_t> buffer) {
        const std::uint64_t expected = std::min<std::uint64_t>(size - offset, buffer.size());
        const std::size_t length = file.ReadAt(offset, buffer.first(static_cast<std::size_t>(expected)));
        // A disk or share that has lost the rest need not say so; the server would wait for it.
        if (length != expected) throw base::SystemError(ERROR_READ_FAULT, "read", file.Path());
        return length;
    };
    const auto watchOnce = [&](std::uint64_t offset, base::Bytes bytes) {
        if (offset != watched) return;
        watch(bytes);
        watched += bytes.size();
    };
    SendContent(request, size, read, watchOnce);
}

/// What a status means where it is neither a success nor a matter of who was faster.
struct Meaning {
    DWORD status;
    const wchar_t* text;
};
constexpr Meaning kMeanings[] = {
    {401, L"it does not accept user and password. Check the login"},
    {403, L"the user has no right to do that there. Give the right to it on the server"},
    {404, L"there is nothing of that name. Check the address and the folders"},
    {405, L"it does not know that method there. Switch WebDAV on for that address"},
    {407, L"the proxy asks for a login, or refuses it. Set proxy_user and proxy_password"},
    {409, L"the folder for it is missing, or cannot be written"},
    {411, L"it wants to be told a length, which was told: a proxy takes it away"},
    {412, L"something else has that name"},
    {413, L"it is too large for the server. Raise the server's limit for the body of a request"},
    {423, L"it is locked by another program"},
    {429, L"it is busy. The next transfer tries again"},
    {500, L"it failed, and its log tells why: its disk may be full, or its account may not write there"},
    {501, L"it does not know that method. Switch WebDAV on, with all of its methods"},
    {502, L"the proxy before it got no answer from it"},
    {503, L"it is busy or being serviced. The next transfer tries again"},
    {504, L"the proxy before it waited for its answer in vain"},
    {507, L"it is out of space"},
};

std::wstring MeaningOf(DWORD status) {
    const auto meaning = std::ranges::find(kMeanings, status, &Meaning::status);
    if (meaning != std::end(kMeanings)) return meaning->text;
    if (status / 100 == 3)
        return L"it leads to another address, which is not followed. Use that address, if you trust it";
    if (status / 100 == 2)
        return L"something else answers in its place, such as the page of a login to the network";
    return L"it failed";
}

/// To a change, a list of what failed and a promise are none.
bool IsSuccess(DWORD status, std::wstring_view method) {
    constexpr DWORD kAccepted = 202;
    if (method == L"MOVE") return DavServer::HasMoved(status);
    return status / 100 == 2 && (method == L"PROPFIND" || (status != kMultistatus && status != kAccepted));
}

/// How long the server wants to be left alone, in seconds or to a moment; empty where it does not tell.
std::wstring WaitIn(const HttpRequest& answer) {
    const std::wstring wait = answer.Header(L"Retry-After").value_or(std::wstring());
    if (const auto seconds = base::NumberIn<std::uint32_t>(wait))
        return std::to_wstring(*seconds) + L" seconds";
    return HttpDateIn(base::ToUtf8(wait)) ? L"until " + wait : std::wstring();
}

/// What a status of a server that is busy means; nobody waits here.
std::wstring BusyMeaning(const HttpRequest& answer, DWORD status) {
    const std::wstring wait = WaitIn(answer);
    return wait.empty() ? std::wstring() : MeaningOf(status) + L". It asks to wait " + wait;
}

/// A file that comes in one answer, or in several.
class Download {
public:
    Download(const std::wstring& server, const std::wstring& path, std::uint64_t offset,
             const std::function<void(std::uint64_t)>& begin, const std::function<void(base::Bytes)>& take)
        : m_server(server), m_path(path), m_begin(begin), m_take(take), m_offset(offset) {}

    void Send(HttpRequest& request) const {
        // Of another version that had the name before, something between may still hold the content.
        request.AddHeader(L"Cache-Control: no-cache");
        if (m_offset > 0) request.AddHeader(L"Range: bytes=" + std::to_wstring(m_offset) + L"-");
        request.Send();
    }

    void Read(HttpRequest& answer) {
        const std::optional<std::uint64_t> size = answer.BodySize();
        const std::uint64_t start = answer.RangeStart();
        if (!size)
            m_failure = L"The server " + m_server + L" does not tell the length of " + m_path +
                        L", so that nobody would know whether all of it came. Switch off its compression.";
        else if (!IsRestOfTheFile(start, start + *size, answer.RangeTotal()))
            m_failure =
                L"The server " + m_server + L" sent another part of " + m_path + L" than it was asked for.";
        else
            ReadBody(answer, start, *size);
    }

    bool IsWhole() const noexcept { return m_isWhole; }
    /// Why what came is of no use; empty where it is.
    const std::wstring& Failure() const noexcept { return m_failure; }

private:
    /// Or all of it, from a server that knows no parts.
    bool IsRestOfTheFile(std::uint64_t start, std::uint64_t end, std::optional<std::uint64_t> told) {
        const bool isExpected = start == m_offset || (start == 0 && !m_total);
        const std::uint64_t total = told.value_or(end);
        return isExpected && end == total && std::exchange(m_total, total).value_or(total) == total;
    }

    void ReadBody(HttpRequest& answer, std::uint64_t start, std::uint64_t size) {
        // Wine ends each body at 2 GB. What is left of this one goes with its connection.
        constexpr std::uint64_t kLongest = 1 << 30;
        const std::uint64_t most = answer.MayBePart() ? kLongest : size;
        m_begin(start);
        std::uint64_t received = 0;
        while (received < most) {
            const base::Bytes bytes = answer.Read();
            if (bytes.empty()) break;
            m_take(bytes);
            received += bytes.size();
        }
        m_offset = start + received;
        m_isWhole = received == size;
        // The system ends a body that is cut off as it ends a whole one.
        if (received < std::min(size, most))
            m_failure = L"The server " + m_server + L" sent " + std::to_wstring(received) + L" of the " +
                        std::to_wstring(size) + L" bytes of " + m_path + L".";
    }

    const std::wstring& m_server;
    const std::wstring& m_path;
    const std::function<void(std::uint64_t)>& m_begin;
    const std::function<void(base::Bytes)>& m_take;
    std::uint64_t m_offset;                ///< where what comes next begins
    std::optional<std::uint64_t> m_total;  ///< bytes of the file, as the first answer told
    bool m_isWhole = false;
    std::wstring m_failure;
};

std::wstring LastName(const std::wstring& path) {
    const std::size_t end = path.find_last_not_of(L'/');
    const std::wstring trimmed = path.substr(0, end == std::wstring::npos ? 0 : end + 1);
    return trimmed.substr(trimmed.rfind(L'/') + 1);
}

/// Some servers lead a path without "/" at its end to the one with it.
std::wstring FolderPath(const std::wstring& folder) { return folder.empty() ? folder : folder + L"/"; }

}  // namespace

std::wstring DavServer::Explained(DWORD status, const wchar_t* method, const std::wstring& path,
                                  const std::wstring& reason) const {
    return L"The server " + m_connection.Server() + L" answers " + std::to_wstring(status) + L" to " +
           method + L" " + (path.empty() ? L"/" : path) + L": " +
           (reason.empty() ? MeaningOf(status) : reason) + L".";
}

DavReply DavServer::Ask(const wchar_t* method, const std::wstring& path, const Use& send,
                        const Use& use) const try {
    auto [request, status] = m_connection.Ask(method, UrlPath::EncodePath(path), send);
    const bool succeeded = IsSuccess(status, method);
    if (succeeded && use) use(request);
    const std::wstring reason = ReasonIn(request, status);
    request.Drain();
    if (succeeded) return {status, {}};
    return {status, Explained(status, method, path, reason)};
} catch (const HttpError& error) {
    if (error.IsCancelled()) throw;
    return {0, error.failure().description};
}

std::wstring DavServer::ReasonIn(const HttpRequest& answer, DWORD status) const {
    constexpr DWORD kTooMany = 429;
    if (status == HTTP_STATUS_DENIED) return m_connection.LoginMismatch(answer);
    if (status == kTooMany || status == HTTP_STATUS_SERVICE_UNAVAIL) return BusyMeaning(answer, status);
    return {};
}

DavReply DavServer::Find(const std::wstring& path, const wchar_t* depth, const Use& use) const {
    const auto send = [&](HttpRequest& request) {
        request.AddHeader(std::wstring(L"Depth: ") + depth);
        request.AddHeader(L"Content-Type: application/xml; charset=\"utf-8\"");
        SendText(request, kDavProperties);
    };
    DavReply reply = Ask(L"PROPFIND", path, send, use);
    // A page that says something else is no list of a folder.
    if (reply.Succeeded() && reply.status != kMultistatus)
        return {reply.status == 200 ? 405 : reply.status, Explained(reply.status, L"PROPFIND", path)};
    return reply;
}

std::optional<std::vector<DavEntry>> DavServer::ListUnless(const std::function<bool(const DavReply&)>& isNone,
                                                           const std::wstring& folder) const {
    std::vector<DavEntry> entries;
    const auto read = [&](HttpRequest& answer) { entries = ReadMultistatus(answer, LastName(folder)); };
    const DavReply reply = Find(FolderPath(folder), L"1", read);
    if (reply.Succeeded()) return entries;
    if (isNone(reply)) return std::nullopt;
    throw base::Error(E_FAIL, reply.failure);
}

std::optional<std::vector<DavEntry>> DavServer::List(const std::wstring& folder) const {
    return ListUnless(&DavReply::IsMissing, folder);
}

std::optional<std::vector<DavEntry>> DavServer::ListWhereAllowed(const std::wstring& folder) const {
    const auto isNone = [](const DavReply& reply) {
        return reply.IsMissing() || reply.IsDenied() || reply.IsForbidden();
    };
    return ListUnless(isNone, folder);
}

std::optional<DavEntry> DavServer::Look(const std::wstring& path) const {
    std::vector<DavEntry> entries;
    const auto read = [&](HttpRequest& answer) { entries = ReadMultistatus(answer, {}); };
    if (!Answers(path, read)) return std::nullopt;
    // Only the address itself has no name.
    return entries.empty() ? DavEntry{.name = {}, .isFolder = true} : entries.front();
}

bool DavServer::Answers(const std::wstring& path, const Use& use) const {
    const DavReply reply = Find(path, L"0", use);
    if (!reply.Succeeded() && !reply.IsMissing()) throw base::Error(E_FAIL, reply.failure);
    return reply.Succeeded();
}

/// Above its own folders an account may see nothing.
bool DavServer::IsThere(const std::wstring& folder) const {
    const DavReply reply = Find(FolderPath(folder), L"0", {});
    if (!reply.Succeeded() && !reply.MayLackFolder()) throw base::Error(E_FAIL, reply.failure);
    if (reply.Succeeded() || folder.empty()) return reply.Succeeded();
    const DavReply site = Find({}, L"0", {});
    if (!site.IsAnswered()) throw base::Error(E_FAIL, site.failure);
    return !site.MayLackFolder();
}

void DavServer::Check(const std::wstring& folder) const {
    if (!IsThere(folder))
        throw base::Error(E_FAIL, L"The server " + Name() + L" has no folder at that address: " + folder);
    constexpr int kMostUnanswered = 3;
    if (m_unansweredMoves >= kMostUnanswered)
        throw base::Error(E_FAIL, L"The server " + Name() +
                                      L" answers, but not to MOVE. The next transfer tries again. If that "
                                      L"goes on, see to what stands before the server.");
}

DavReply DavServer::ProvideFolder(const std::wstring& folder) const {
    const DavReply reply = Ask(L"MKCOL", FolderPath(folder), &SendNothing);
    constexpr DWORD kIsThere = 405;
    const bool isThere = reply.status == HTTP_STATUS_CREATED || reply.status == kIsThere ||
                         Find(FolderPath(folder), L"0", {}).Succeeded();
    return isThere ? DavReply{HTTP_STATUS_CREATED, {}} : reply;
}

DavReply DavServer::Put(const std::wstring& path, const base::File& file,
                        const std::function<void(base::Bytes)>& watch) const {
    std::uint64_t watched = 0;
    return Ask(L"PUT", path, [&](HttpRequest& request) { SendFile(request, file, watch, watched); });
}

DavReply DavServer::Put(const std::wstring& path, std::string_view text) const {
    return Ask(L"PUT", path, [&](HttpRequest& request) { SendText(request, text); });
}

/// The length is announced, and nothing is sent.
std::optional<DavReply> DavServer::RefusalOf(const std::wstring& path, std::uint64_t bytes,
                                             DWORD patience) const try {
    HttpRequest request = m_connection.Open(L"PUT", UrlPath::EncodePath(path));
    request.SetPatience(patience);
    request.SendHead(bytes);
    const DWORD status = request.Receive();
    const DavReply reply{status, Explained(status, L"PUT", path)};
    return reply.IsTooLarge() ? std::optional(reply) : std::nullopt;
} catch (const HttpError& error) {
    if (error.IsCancelled()) throw;
    return std::nullopt;
}

DavReply DavServer::Move(const std::wstring& from, const std::wstring& to, Other other) const {
    DavReply reply = MoveOnce(from, to, other, m_form);
    if (!reply.MayRefuseDestination() || std::exchange(m_hasTriedForms, true)) return reply;
    return MovedByAnotherForm(from, to, other).value_or(reply);
}

/// The first attempt may have been carried out: nothing is replaced before it is clear that it was not. And
/// the path may be another one to the server than to who stands before it: only what arrives at a place where
/// nothing was proves that a form is understood.
std::optional<DavReply> DavServer::MovedByAnotherForm(const std::wstring& from, const std::wstring& to,
                                                      Other other) const try {
    const bool wasThere = Exists(to);
    for (const Form form : {Form::Path, Form::PlainUrl}) {
        const DavReply reply = MoveOnce(from, to, Other::Stays, form);
        if (reply.Succeeded() && !wasThere && Exists(to)) {
            m_form = form;
            return reply;
        }
        if (!reply.IsTaken() || !wasThere || !Exists(from)) continue;
        m_hasTriedForms = false;
        if (other == Other::Stays) return reply;
        MoveOnce(from, to, other, form);
        return std::nullopt;
    }
    return std::nullopt;
} catch (const HttpError&) {
    throw;  // somebody wants an end
} catch (const base::Error&) {
    return std::nullopt;
}

DavReply DavServer::MoveOnce(const std::wstring& from, const std::wstring& to, Other other, Form form) const {
    DavReply reply = Ask(L"MOVE", from, [&](HttpRequest& request) {
        AddDestination(request, DestinationIn(form, to), other);
        request.Send();
    });
    m_unansweredMoves = reply.IsAnswered() ? 0 : m_unansweredMoves + 1;
    return reply;
}

std::wstring DavServer::DestinationIn(Form form, const std::wstring& path) const {
    const std::string encoded = UrlPath::EncodePath(path);
    if (form == Form::Path) return m_connection.PathOf(encoded);
    const std::wstring url = m_connection.UrlOf(encoded);
    return form == Form::PlainUrl ? L"http" + url.substr(url.find(L':')) : url;
}

void DavServer::AddDestination(HttpRequest& request, const std::wstring& destination, Other other) {
    request.AddHeader(L"Destination: " + destination);
    request.AddHeader(other == Other::IsReplaced ? L"Overwrite: T" : L"Overwrite: F");
}

DavReply DavServer::Delete(const std::wstring& path) const { return Ask(L"DELETE", path, &SendNothing); }

DavReply DavServer::Get(const std::wstring& path, const std::function<void(base::Bytes)>& take) const {
    return Get(
        path, 0, [](std::uint64_t) {}, take);
}

DavReply DavServer::Get(const std::wstring& path, std::uint64_t offset,
                        const std::function<void(std::uint64_t)>& begin,
                        const std::function<void(base::Bytes)>& take) const {
    Download download(Name(), path, offset, begin, take);
    for (;;) {
        DavReply reply = Ask(
            L"GET", path, [&](HttpRequest& request) { download.Send(request); },
            [&](HttpRequest& answer) { download.Read(answer); });
        if (!download.Failure().empty()) return {0, download.Failure()};
        if (!reply.Succeeded() || download.IsWhole()) return reply;
    }
}
